#include "commands/commands.h"

#include "board/board.h"
#include "board/boardAddress.h"
#include "display/question.h"
#include "display/summary.h"
#include "display/table.h"
#include "job/supervisor.h"
#include "keys/keyImage.h"
#include "keys/keyJobs.h"
#include "keys/keysToFill.h"
#include "station/filledSticks.h"
#include "station/learnSlots.h"
#include "station/station.h"
#include "station/writtenSticks.h"
#include "support/exitStatus.h"
#include "support/failure.h"
#include "support/programs.h"
#include "support/texts.h"

#include <algorithm>
#include <optional>
#include <utility>

namespace velacreate {
namespace {
/// What both kinds of stations share.
struct Setting {
    const StationChoices& choices;
    const Slots& slots;
    const NamedDirectory& scratch;
    Report& report;
    Descriptor& listener; ///< of the board; closed when there is none
    Console& console;

    std::size_t atOnce() const {
        const auto jobs = choices.usb.keys.jobs;
        return jobs == 0 ? slots.all().size() : std::min(jobs, slots.all().size());
    }
    const ShowChoices& show() const { return choices.usb.job.show; }
    bool isReported() const { return !show().report.empty(); }
};

std::string presentText(const Slots& slots, std::size_t slot) {
    std::string text;
    for (const auto& plugged : pluggedDisks()) {
        if (slots.slotOf(plugged.port) == slot) {
            const auto about = describe(plugged.disk);
            text += (text.empty() ? "" : ", ") + about.name() + " " + sizeText(about.size);
        }
    }
    return text;
}

void showSlots(const Setting& setting, const std::string& announcement) {
    Table table({"Slot", "Ports", "In it, and left alone"});
    for (std::size_t slot = 0; slot < setting.slots.all().size(); ++slot) {
        const auto& about = setting.slots.all()[slot];
        table.add({about.name, portsText(about), presentText(setting.slots, slot)});
    }
    auto& console = setting.console;
    console.sayLines(table.text());
    console.say("What is plugged into a slot from now on, up to " + sizeText(setting.choices.largest) +
                ", is taken at once. " + announcement);
    console.say("What was there before is left alone until it is pulled out and put in again.");
    if (setting.listener.isOpen()) {
        console.say("The board is shown at " + setting.choices.board + ".");
    }
}

int run(const Setting& setting, const StickWork& work, const std::vector<NeededFiles>& needed,
        const InputSums& sums, const HeldSignals& signals) {
    auto& console = setting.console;
    showSlots(setting, work.announcement());
    const int status = setting.choices.usb.keys.yes
                           ? 0
                           : askForYes(signals, "sticks be changed", "no stick was changed", console);
    if (status != 0) {
        console.complain("interrupted; nothing was changed");
        return status;
    }
    console.neverWait(); // a reader must not hold up the sticks
    std::optional<Board> board;
    if (setting.listener.isOpen()) {
        board.emplace(std::move(setting.listener), setting.slots.names(), setting.scratch, console);
    }
    Station station({setting.slots, work, setting.choices.largest, needed, setting.scratch, setting.report,
                     sums, console, board ? &*board : nullptr});
    supervise(station, setting.atOnce(), signals, console);
    console.say(station.tallyText());
    console.events().endMedium("", {RESULT_SERVED, 0, ""}); // the call, whatever became of the sticks
    return 0;
}

int concludeEarly(const Outcome& outcome, Console& console) {
    if (outcome.status == EXIT_INTERRUPTED) {
        console.complain("interrupted; nothing was changed");
    } else {
        showFailures(console, outcome, "");
        console.complain(failureSentences(outcome));
    }
    return exitStatus(outcome.status).status;
}

void beginEvents(Console& console) {
    console.events().expectSeveral();
    console.events().begin({});
}

int fillSticks(const Setting& setting) {
    const auto& choices = setting.choices.usb;
    requirePrograms(kindOf(MediumKind::key).programs);
    requirePrograms({"mkfs", "mkfs.vfat", "sfdisk"});
    const Inputs inputs(choices.job, MediumKind::key, setting.scratch);
    requireFileSizes(inputs.contents, inputs.kind);
    inputs.requireRoom(setting.scratch, 2 + setting.atOnce(), 1);
    const HeldSignals signals;
    Signer signer;
    if (const int status = openSigner(signer, choices.job.manifest, inputs, signals, setting.console);
        status != 0) {
        setting.console.complain("interrupted; nothing was changed");
        return status;
    }
    openLog(setting.console, setting.show(), "", &inputs);
    beginEvents(setting.console);
    inputs.announce(setting.console, "Making keys from");
    const JobDirectory staged(setting.scratch);
    const JobDirectory unpacked(setting.scratch);
    const Call call{choices.job, inputs, setting.scratch, signals, setting.console};
    InputSums sums;
    auto outcome = stageForKeys(call, staged, signer, setting.isReported() ? &sums : nullptr);
    if (outcome.status == 0) {
        outcome = stageShared(call, unpacked, [&](const Descriptor& here, Reporter& reporter) {
            stageFiles(inputs, PackageForm::unpacked, here, nullptr, reporter);
            copyMediumList(inputs.contents.tree, staged.directory(), here);
        });
    }
    return outcome.status == 0 ? run(setting, FilledSticks(call, choices, staged, unpacked),
                                     neededBy(choices, setting.scratch), sums, signals)
                               : concludeEarly(outcome, setting.console);
}

int writeSticks(const Setting& setting) {
    const auto& choices = setting.choices;
    KeyImage image(choices.image);
    image.requireOthers(setting.show());
    openLog(setting.console, setting.show(), image.path());
    const HeldSignals signals;
    beginEvents(setting.console);
    const JobDirectory jobDirectory(setting.scratch);
    const auto outcome = image.examine(setting.isReported(), jobDirectory, signals, setting.console);
    InputSums sums;
    sums.image = image.sum();
    return outcome.status == 0 ? run(setting, WrittenSticks(image, choices.usb.erase),
                                     neededBy(image, setting.scratch, setting.show()), sums, signals)
                               : concludeEarly(outcome, setting.console);
}
} // namespace

int runStation(const StationChoices& choices, const CallerEnvironment& caller, Console& console) {
    if (!choices.learn.empty()) {
        return learnSlots(choices.learn, console);
    }
    requireRoot("keys are made, which");
    const Slots slots(choices.slots);
    const auto scratch = scratchDirectory(choices.usb.work, caller);
    Report report(choices.usb.job.show.report);
    auto listener = choices.board.empty() ? Descriptor() : listenAt(choices.board);
    const Setting setting = {choices, slots, scratch, report, listener, console};
    return choices.image.empty() ? fillSticks(setting) : writeSticks(setting);
}

} // namespace velacreate
