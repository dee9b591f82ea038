#include "station/station.h"

#include "disks/guard.h"
#include "disks/inventory.h"
#include "display/summary.h"
#include "support/exitStatus.h"
#include "support/failure.h"
#include "support/texts.h"

#include <algorithm>
#include <utility>

#include <mediaRules.h>

#include <fcntl.h>
#include <nlohmann/json.hpp>
#include <unistd.h>

namespace velacreate {
namespace {
using namespace std::chrono_literals;

constexpr auto LOOKED_EVERY = 1s;    // news can be lost
constexpr auto SETTLING = 200ms;     // until all disks of a device are there
constexpr auto CARD_SETTLING = 1s;   // until the kernel knows that a card was taken out
constexpr auto REFRESHED_EVERY = 1h; // far less than the age at which files are cleaned away
constexpr auto PULL_IT_OUT = ", pull it out";

bool isAmong(const PluggedDisk& plugged, const std::vector<PluggedDisk>& disks) {
    return std::any_of(disks.begin(), disks.end(),
                       [&](const auto& other) { return other.identity == plugged.identity; });
}

SlotState stateAfter(const Outcome& outcome) {
    return outcome.status == 0 ? (outcome.wasRight ? SlotState::already : SlotState::done)
           : outcome.status == EXIT_REFUSED && !outcome.hasChanged ? SlotState::refused
                                                                   : SlotState::failed;
}

const char* wordOf(SlotState state) {
    switch (state) {
    case SlotState::ignored:
        return "ignored";
    case SlotState::working:
        return "working";
    case SlotState::done:
        return "done";
    case SlotState::already:
        return "already";
    case SlotState::failed:
        return "failed";
    case SlotState::refused:
        return "refused";
    case SlotState::empty:
        break;
    }
    return "empty";
}

unsigned rankOf(SlotState state) {
    return state == SlotState::working   ? RANK_AT_WORK
           : state == SlotState::empty   ? RANK_IDLE
           : state == SlotState::ignored ? RANK_IDLE - 1
                                         : RANK_ENDED;
}

std::string textOf(SlotState state, const Outcome& outcome) {
    return state == SlotState::done ? "done" + std::string(PULL_IT_OUT) + ": " + resultText(outcome, true)
           : state == SlotState::already ? "already right" + std::string(PULL_IT_OUT)
                                         : resultText(outcome, false);
}
} // namespace

struct Station::View {
    SlotState state = SlotState::empty;
    std::vector<PluggedDisk> disks; ///< which the state is about
    DiskDescription about;
    std::unique_ptr<JobDirectory> jobDirectory; ///< while its job runs
    bool isWaiting = false;
    bool staysShown = false;         ///< also without the stick
    std::vector<PluggedDisk> coming; ///< until they have settled
    Clock::time_point seen;
};

Station::Station(const StationCall& call)
    : m_call(call), m_mounts(open("/proc/self/ns/mnt", O_RDONLY | O_CLOEXEC)),
      m_views(call.slots.all().size()) {
    check(m_mounts.isOpen()).orFail("the mounts of this machine");
    for (const auto& device : devicesWithoutDisk()) {
        if (call.slots.slotOf(device.substr(0, device.find(' ')))) {
            m_devicesBefore.insert(device);
        }
    }
    for (const auto& plugged : pluggedDisks()) {
        m_before.insert(plugged.device());
    }
}

Station::~Station() = default;

void Station::begin(Progress& progress) {
    m_progress = &progress;
    for (std::size_t slot = 0; slot < m_views.size(); ++slot) {
        progress.line(slot, "empty", RANK_IDLE);
        m_call.console.events().slot(identityOf(slot), wordOf(SlotState::empty));
    }
    showTally();
    look();
}

void Station::look() {
    if (m_call.board != nullptr) {
        m_call.board->look();
    }
    const bool isNew = m_news.take();
    const auto now = Clock::now();
    if (!isNew && now < m_nextLook) {
        return;
    }
    m_nextLook = now + LOOKED_EVERY;
    std::vector<std::vector<PluggedDisk>> found(m_views.size());
    const auto plugged = pluggedDisks();
    forgetOld(plugged);
    for (const auto& disk : plugged) {
        if (const auto slot = m_call.slots.slotOf(disk.port)) {
            found[*slot].push_back(disk);
        }
    }
    for (std::size_t slot = 0; slot < found.size(); ++slot) {
        update(slot, found[slot]);
    }
    for (const auto& reader : emptyReaders()) {
        if (m_call.slots.slotOf(reader.port)) {
            m_cards.ask(reader.disk.node());
        }
    }
    if (now >= m_nextRefresh) {
        m_call.work.refreshFiles();
        if (m_call.board != nullptr) {
            m_call.board->refreshFiles();
        }
        m_nextRefresh = now + REFRESHED_EVERY;
    }
}

/// A device counts as there before until it, or its medium, was seen to be gone: a drive that was reset gets
/// another identity. The numbers of devices come again.
void Station::forgetOld(const std::vector<PluggedDisk>& plugged) {
    std::set<std::string> present;
    for (const auto& disk : plugged) {
        present.insert(disk.device());
    }
    const auto devices = m_devicesBefore.empty() ? std::set<std::string>() : usbDevices();
    for (auto device = m_devicesBefore.begin(); device != m_devicesBefore.end();) {
        const bool hasDisk = present.count(*device) != 0;
        if (hasDisk) {
            m_before.insert(*device);
        }
        device = hasDisk || devices.count(*device) == 0 ? m_devicesBefore.erase(device) : std::next(device);
    }
    for (auto device = m_before.begin(); device != m_before.end();) {
        device = present.count(*device) != 0 ? std::next(device) : m_before.erase(device);
    }
}

void Station::update(std::size_t slot, const std::vector<PluggedDisk>& found) {
    auto& view = m_views[slot];
    const bool isAtWork = view.state == SlotState::working;
    if (isAtWork && !(view.isWaiting && !isAmong(view.disks.front(), found))) {
        return; // until its job has ended
    }
    if (isAtWork) {
        m_waiting.erase(std::find(m_waiting.begin(), m_waiting.end(), slot));
        finish(slot, {EXIT_UNFINISHED, PULLED_OUT, {}, false, 0});
        view.staysShown = true;
    }
    if (found.empty()) {
        view.disks.clear();
        view.coming.clear();
        if (view.state != SlotState::empty && !view.staysShown) {
            show(slot, SlotState::empty, "empty");
        }
        return;
    }
    const bool isKnown = std::all_of(found.begin(), found.end(),
                                     [&](const auto& plugged) { return isAmong(plugged, view.disks); });
    if (!isKnown && isSettled(view, found)) {
        take(slot, found);
    }
}

bool Station::isSettled(View& view, const std::vector<PluggedDisk>& found) {
    const bool isSame =
        std::equal(found.begin(), found.end(), view.coming.begin(), view.coming.end(),
                   [](const auto& one, const auto& other) { return one.identity == other.identity; });
    if (!isSame) {
        view.coming = found;
        view.seen = Clock::now();
    }
    const bool isOtherCard = !view.disks.empty() && view.disks.front().device() == found.front().device();
    if (isSame && Clock::now() - view.seen >= (isOtherCard ? CARD_SETTLING : SETTLING)) {
        return true;
    }
    if (isOtherCard) { // or none any more
        m_cards.ask(found.front().disk.node());
    }
    m_nextLook = Clock::now() + SETTLING;
    return false;
}

void Station::take(std::size_t slot, const std::vector<PluggedDisk>& found) {
    auto& view = m_views[slot];
    view.disks = found;
    view.coming.clear();
    view.staysShown = false;
    view.about = describe(found.front().disk);
    m_call.console.events().begin({identityOf(slot)});
    if (std::all_of(found.begin(), found.end(),
                    [&](const auto& plugged) { return wasThereBefore(plugged); })) {
        leaveAlone(slot, "was there before; pull it out and put it in again");
    } else if (m_isClosing) {
        leaveAlone(slot, "comes too late: the station is ending");
    } else if (const auto reason = reasonAgainst(found); !reason.empty()) {
        finish(slot, {EXIT_REFUSED, reason, {}, false, 0});
    } else {
        view.isWaiting = true;
        m_waiting.push_back(slot);
        show(slot, SlotState::working, "Waiting");
    }
}

void Station::leaveAlone(std::size_t slot, const std::string& reason) {
    show(slot, SlotState::ignored, reason, reason);
}

bool Station::wasThereBefore(const PluggedDisk& plugged) const {
    return m_before.count(plugged.device()) != 0;
}

std::string Station::reasonAgainst(const std::vector<PluggedDisk>& found) const {
    if (found.size() > 1) {
        return "there are several disks in it";
    }
    const auto& disk = found.front().disk;
    try {
        auto reason = ineligibilityReason(disk, false);
        if (reason.empty()) {
            reason = reasonOfNeed(disk, m_call.needed);
        }
        return !reason.empty()                        ? "the stick " + reason
               : !isRemovableMedium(disk)             ? "it is no removable medium"
               : describe(disk).size > m_call.largest ? "it is larger than " + sizeText(m_call.largest)
                                                      : "";
    } catch (const Refusal& refusal) {
        return refusal.what();
    }
}

std::optional<NextJob> Station::next() {
    while (!m_waiting.empty()) {
        const auto slot = m_waiting.front();
        m_waiting.pop_front();
        try {
            return jobFor(slot);
        } catch (const Failure& failure) {
            finish(slot, {EXIT_UNFINISHED, failure.what(), {}, false, 0});
        }
    }
    return std::nullopt;
}

NextJob Station::jobFor(std::size_t slot) {
    auto& view = m_views[slot];
    view.isWaiting = false;
    view.jobDirectory = std::make_unique<JobDirectory>(m_call.place);
    const auto& directory = view.jobDirectory->directory();
    const auto plugged = view.disks.front();
    MediumJob job = {m_call.slots.all()[slot].name, directory.number(),
                     [this, plugged, &directory](Reporter& reporter) {
                         return runStickJob(plugged, m_call.work, m_mounts, directory, reporter);
                     },
                     m_call.work.gauges(plugged.disk)};
    job.whatIsGone = [plugged] { return std::string(plugged.isThere() ? "" : PULLED_OUT); };
    return {slot, std::move(job)};
}

/// A drive that was reset may count as another plug, though the stick was never pulled out.
void Station::ended(std::size_t slot, const Outcome& outcome) {
    auto& view = m_views[slot];
    view.jobDirectory.reset();
    const auto& made = view.disks.front();
    bool isThere = false;
    for (const auto& plugged : pluggedDisks()) {
        if (plugged.device() == made.device() && plugged.disk.number == made.disk.number) {
            view.disks = {plugged};
            isThere = true;
            break;
        }
    }
    finish(slot, outcome);
    view.staysShown = outcome.status != 0 && !isThere;
    m_nextLook = Clock::now();
}

bool Station::close() {
    if (m_isClosing) {
        return false;
    }
    m_isClosing = true;
    if (m_call.board != nullptr) {
        m_call.board->showEnding();
    }
    showTally();
    if (!m_progress->isLive()) {
        m_call.console.say("Ending: no more sticks are taken; Ctrl-C once more ends all at once");
    }
    return true;
}

void Station::stop() {
    m_isClosing = true;
    for (const auto slot : std::exchange(m_waiting, {})) {
        m_views[slot].isWaiting = false;
        leaveAlone(slot, "the station ended before its turn");
    }
}

std::string Station::tallyText() const {
    const auto count = [&](SlotState state) {
        const auto found = m_tally.find(state);
        return std::to_string(found == m_tally.end() ? 0 : found->second);
    };
    return count(SlotState::done) + " made, " + count(SlotState::already) + " already right, " +
           count(SlotState::failed) + " failed, " + count(SlotState::refused) + " refused";
}

void Station::finish(std::size_t slot, const Outcome& ended) {
    const auto outcome = inOwnWords(ended);
    const auto state = stateAfter(outcome);
    const auto identity = identityOf(slot);
    const auto result = resultForPrograms(outcome);
    m_views[slot].isWaiting = false;
    ++m_tally[state];
    m_call.console.events().endMedium(identity.name, result);
    show(slot, state, textOf(state, outcome), result.reason);
    showTally();
    Json record = {{"slot", identity.slot}};
    record.update(jsonOf(identity.node, m_views[slot].about));
    m_call.report.append(record, outcome, m_call.sums, m_call.console);
    if (m_progress->isLive()) {
        m_call.console.screen().write(STDOUT_FILENO, "\a");
    }
}

void Station::show(std::size_t slot, SlotState state, const std::string& text, const std::string& reason) {
    m_views[slot].state = state;
    const auto identity = identityOf(slot);
    m_call.console.events().slot(identity, wordOf(state), reason);
    const auto line = identity.name + ": " + text;
    if (m_progress->isLive()) {
        m_progress->line(slot, text, rankOf(state));
        m_call.console.log(VelaCreation::LEVEL_PROGRESS, line);
    } else {
        m_call.console.say(line);
    }
}

/// Of the stick that the slot shows, if any.
MediumIdentity Station::identityOf(std::size_t slot) const {
    const auto& view = m_views[slot];
    const auto& name = m_call.slots.all()[slot].name;
    return view.disks.empty() ? MediumIdentity{name, "", "", "", name}
                              : MediumIdentity{name, view.disks.front().disk.node(), view.about.port,
                                               view.about.serial, name};
}

void Station::showTally() {
    m_progress->footer(m_isClosing ? "ending; Ctrl-C once more ends all at once; " + tallyText()
                                   : tallyText() + "; Ctrl-C ends");
}

} // namespace velacreate
