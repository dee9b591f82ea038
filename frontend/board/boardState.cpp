#include "board/boardState.h"

#include <algorithm>

namespace velacreate {
namespace {
constexpr int VERSION = 1;
constexpr std::size_t SHOWN_ENDS = 20;

/// @return the field of the tally for a slot's state; empty when the state is no end
std::string talliedAs(const std::string& state) {
    return state == "done"                                                 ? "made"
           : state == "already" || state == "failed" || state == "refused" ? state
                                                                           : "";
}

void copyFields(const Json& from, Json& to, std::initializer_list<const char*> names) {
    for (const char* name : names) {
        const auto found = from.find(name);
        if (found != from.end()) {
            to[name] = *found;
        } else {
            to.erase(name);
        }
    }
}

Json stageOf(const Json& event, Json tile) {
    copyFields(event, tile, {"stage", "percent", "bytesPerSecond", "secondsLeft"});
    return tile;
}

Json progressOf(const Json& event, Json tile) {
    constexpr std::uint64_t ALL = 100;
    const auto expected = event.value("expected", std::uint64_t(0));
    const auto done = event.value("done", std::uint64_t(0));
    copyFields(event, tile, {"percent", "bytesPerSecond", "secondsLeft"});
    if (expected != 0) {
        tile["percent"] = std::min(done, expected) * ALL / expected;
    }
    return tile;
}
} // namespace

BoardState::BoardState(const std::vector<std::string>& slots) : m_whole(noNews()) {
    m_whole["slots"] = Json::array();
    for (const auto& name : slots) {
        m_whole["slots"].push_back({{"slot", name}, {"state", "empty"}});
    }
    m_whole["tally"] = {{"made", 0}, {"already", 0}, {"failed", 0}, {"refused", 0}};
    m_whole["ends"] = Json::array();
}

Json BoardState::wholeAsEvent() const {
    return {{"event", "state"}, {"state", m_whole}};
}

Json BoardState::take(const Json& event) {
    const auto kind = event.value("event", "");
    if (kind == "state") {
        m_whole = event.at("state");
        return m_whole;
    }
    auto* const tile = tileOf(event);
    if (tile == nullptr) {
        return nullptr;
    }
    if (kind == "slot") {
        return takeSlot(event, *tile);
    }
    const bool isWork = (kind == "stage" || kind == "progress") && (*tile)["state"] == "working";
    if (!isWork) {
        return nullptr;
    }
    *tile = kind == "stage" ? stageOf(event, *tile) : progressOf(event, *tile);
    auto news = noNews();
    news["slots"] = Json::array({*tile});
    return news;
}

Json* BoardState::tileOf(const Json& event) {
    const auto name = event.value("slot", "");
    auto& tiles = m_whole["slots"];
    const auto found =
        std::find_if(tiles.begin(), tiles.end(), [&](const Json& tile) { return tile["slot"] == name; });
    return found != tiles.end() ? &*found : nullptr;
}

Json BoardState::takeSlot(const Json& event, Json& tile) {
    tile = {{"slot", tile["slot"]}};
    copyFields(event, tile, {"state", "serial", "reason"});
    auto news = noNews();
    news["slots"] = Json::array({tile});
    const auto tallied = talliedAs(tile.value("state", ""));
    if (!tallied.empty()) {
        auto& count = m_whole["tally"][tallied];
        count = count.get<std::uint64_t>() + 1;
        Json end;
        copyFields(event, end, {"time", "slot", "state", "serial", "reason"});
        auto& ends = m_whole["ends"];
        ends.insert(ends.begin(), end);
        if (ends.size() > SHOWN_ENDS) {
            ends.erase(SHOWN_ENDS);
        }
        copyFields(m_whole, news, {"tally", "ends"});
    }
    return news;
}

Json noNews() {
    return {{"version", VERSION}};
}

} // namespace velacreate
