#include "display/eventStream.h"

#include "support/exitStatus.h"
#include "support/texts.h"

#include <cmath>
#include <utility>

#include <nlohmann/json.hpp>

namespace velacreate {
namespace {
constexpr int VERSION = 1;
constexpr std::chrono::milliseconds PROGRESS_EVERY(500);
constexpr const char* CUT = "..."; ///< at the end of a text that was cut

void addText(Json& object, const char* field, const std::string& text) {
    if (!text.empty()) {
        object[field] = text;
    }
}

Json fieldsOf(const MediumIdentity& identity) {
    auto fields = Json::object();
    addText(fields, "slot", identity.slot);
    addText(fields, "medium", identity.name);
    addText(fields, "node", identity.node);
    addText(fields, "port", identity.port);
    addText(fields, "serial", identity.serial);
    return fields;
}

std::uint64_t rounded(double number) {
    return static_cast<std::uint64_t>(std::llround(number));
}

/// Cuts a text by about so many bytes, at the end of a character.
void shorten(std::string& text, std::size_t bytes) {
    const std::string mark = CUT;
    auto end = text.size();
    end -= std::min(end, bytes);
    const auto isContinued = [&] { return (static_cast<unsigned char>(text[end]) & 0xc0U) == 0x80; };
    while (end > 0 && end < text.size() && isContinued()) {
        --end;
    }
    text.erase(end);
    text += mark;
}

/// @return a line in which the longest text is cut until the line is short enough
std::string fitted(Json line) {
    constexpr std::size_t LONGEST_ESCAPE = 6; // of a byte of a text
    auto text = textOf(line);
    while (text.size() > LONGEST_EVENT) {
        std::string* longest = nullptr;
        for (auto& value : line) {
            auto* const candidate = value.get_ptr<Json::string_t*>();
            if (candidate != nullptr && (longest == nullptr || candidate->size() > longest->size())) {
                longest = candidate;
            }
        }
        if (longest == nullptr) { // the rest is never so long
            break;
        }
        const auto excess = text.size() - LONGEST_EVENT;
        shorten(*longest, std::string(CUT).size() + 1 + excess / LONGEST_ESCAPE);
        text = textOf(line);
    }
    return text;
}
} // namespace

void EventStream::open(const std::string& path, const std::string& command, bool isHeld) {
    m_file.emplace(path);
    m_command = command;
    m_isHeld = isHeld;
}

void EventStream::begin(const std::vector<MediumIdentity>& media) {
    m_hasSeveral = m_hasSeveral || media.size() > 1;
    for (const auto& identity : media) {
        auto& medium = m_hasSeveral ? m_media[identity.name] : m_call;
        medium = Medium();
        medium.identity = identity;
        if (!m_hasSeveral) {
            medium.identity.name.clear();
        }
    }
    begin(m_call);
}

void EventStream::beginMedium(const std::string& name) {
    begin(named(name));
}

void EventStream::begin(Medium& medium) {
    if (!std::exchange(medium.hasBegun, true)) {
        medium.start = Clock::now();
        write("begin", medium.identity, Json::object());
    }
}

void EventStream::stage(const std::string& name, const std::string& text, std::uint64_t expected) {
    auto& medium = named(name);
    medium.pace = Pace{expected};
    write("stage", medium.identity, {{"stage", text}});
}

void EventStream::expect(const std::string& name, std::uint64_t bytes) {
    named(name).pace.expected = bytes;
}

void EventStream::done(const std::string& name, std::uint64_t bytes) {
    auto& medium = named(name);
    auto& pace = medium.pace;
    pace.done = bytes;
    const auto now = Clock::now();
    if (bytes == 0 || (medium.told && now - *medium.told < PROGRESS_EVERY)) {
        return;
    }
    medium.told = now;
    Json fields = {{"done", bytes}};
    if (pace.expected != 0) {
        fields = {{"done", std::min(bytes, pace.expected)}, {"expected", pace.expected}};
    }
    if (const auto rate = pace.bytesPerSecond()) {
        fields["bytesPerSecond"] = rounded(*rate);
    }
    if (const auto left = pace.secondsLeft()) {
        fields["secondsLeft"] = rounded(*left);
    }
    write("progress", medium.identity, fields);
}

void EventStream::note(const std::string& name, const std::string& text) {
    write("note", named(name).identity, {{"text", text}});
}

void EventStream::endMedium(const std::string& name, const JobResult& result) {
    auto& medium = named(name);
    const bool isCall = &medium == &m_call;
    m_results.insert_or_assign(result.status,
                               JobResult{result.word, result.status, isCall ? result.reason : ""});
    if (!isCall && !std::exchange(medium.hasEnded, true)) {
        begin(medium);
        writeEnd(medium, result);
    }
}

void EventStream::slot(const MediumIdentity& medium, const std::string& state, const std::string& reason) {
    Json fields = {{"state", state}};
    addText(fields, "reason", reason);
    write("slot", medium, fields);
}

void EventStream::end(int status, const std::string& reason) {
    const auto found = m_results.find(status);
    JobResult result = {status == EXIT_REFUSED       ? "refused"
                        : status == EXIT_INTERRUPTED ? "interrupted"
                                                     : "failed",
                        status, reason};
    if (found != m_results.end()) {
        result.word = found->second.word;
        result.reason = reason.empty() ? found->second.reason : reason;
    }
    writeEnd(m_call, result);
}

void EventStream::tellLost() {
    const Json count = {{"count", m_lost}};
    if (m_lost != 0 && m_file && m_file->write(lineOf("lost", {}, count))) {
        m_lost = 0;
    }
}

EventStream::Medium& EventStream::named(const std::string& name) {
    const auto found = m_media.find(name);
    return found != m_media.end() ? found->second : m_call;
}

void EventStream::writeEnd(const Medium& medium, const JobResult& result) {
    Json fields = {{"result", result.word}, {"status", result.status}};
    addText(fields, "reason", result.reason);
    if (medium.hasBegun) {
        constexpr double TENTHS = 10;
        const std::chrono::duration<double> taken = Clock::now() - medium.start;
        fields["seconds"] = std::round(taken.count() * TENTHS) / TENTHS;
    }
    write("end", medium.identity, fields);
}

void EventStream::write(const char* event, const MediumIdentity& identity, const Json& fields) {
    if (!isOpen()) {
        return;
    }
    const auto line = lineOf(event, identity, fields);
    if (m_listener) {
        m_listener(line);
    }
    if (!m_file || m_isHeld) {
        return;
    }
    tellLost();
    if (m_lost != 0 || !m_file->write(line)) {
        ++m_lost;
    }
}

std::string EventStream::lineOf(const char* event, const MediumIdentity& identity, const Json& fields) const {
    Json line = {
        {"version", VERSION}, {"time", universalTimeText()}, {"command", m_command}, {"event", event}};
    line.update(fieldsOf(identity));
    line.update(fields);
    return fitted(line);
}

} // namespace velacreate
