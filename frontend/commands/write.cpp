#include "commands/commands.h"

#include "disks/cloning.h"
#include "display/summary.h"
#include "job/supervisor.h"
#include "keys/consent.h"
#include "keys/keyImage.h"
#include "keys/keyResults.h"
#include "keys/keys.h"
#include "keys/writeKey.h"
#include "medium/jobInputs.h"
#include "support/failure.h"
#include "support/programs.h"
#include "support/texts.h"

namespace velacreate {
namespace {
ChosenKeys chooseKeysToWrite(const WriteChoices& choices, const KeyImage& image,
                             const NamedDirectory& scratch, Console& console) {
    const auto requireUsable = [&](const Key& key) {
        refuseFor(key.disk, key.about.size < image.size()
                                ? "is smaller than " + image.name() + " (" + sizeText(image.size()) + ")"
                                : sectorIneligibilityReason(key.disk));
    };
    return chooseKeys(choices.keys, neededBy(image, scratch, choices.show), requireUsable, console);
}

std::vector<Outcome> writeToKeys(const WriteChoices& choices, const KeyImage& image,
                                 const std::vector<Key>& keys, const JobDirectory& jobDirectory,
                                 const HeldSignals& signals, KeyResults& results, Console& console) {
    std::vector<MediumJob> jobs;
    for (std::size_t index = 0; index < keys.size(); ++index) {
        const auto& key = keys[index];
        if (!isSelected(key)) {
            continue;
        }
        const auto work = [&](Reporter& reporter) {
            return writeKey(image, key.disk, key.lock->descriptor(), choices.verify, reporter);
        };
        const Gauge written{sizeOf(image.blocks().blocks),
                            [&key](pid_t /*job*/) { return trafficOf(key.disk).written * SECTOR; }};
        jobs.push_back({key.disk.node(),
                        jobDirectory.directory().number(),
                        work,
                        {{STAGE_WRITING_IMAGE, written}},
                        [&results, index](const Outcome& outcome) { results.settle(index, outcome); }});
    }
    return supervise(jobs, choices.keys.jobs != 0 ? choices.keys.jobs : jobs.size(), signals, console);
}
} // namespace

int writeKeys(const WriteChoices& choices, const CallerEnvironment& caller, Console& console) {
    requireRoot("a key is overwritten, which");
    KeyImage image(choices.image);
    const auto scratch = scratchDirectory("", caller);
    auto chosen = chooseKeysToWrite(choices, image, scratch, console);
    auto& keys = chosen.keys;
    image.requireOthers(choices.show);
    Report report(choices.show.report);
    openLog(console, choices.show, image.path());
    const HeldSignals signals;
    beginEvents(console, keys);
    KeyResults results(chosen, choices.keys.eject, choices.verify, report, console);
    if (countSelected(keys) == 0) {
        return results.conclude({});
    }
    const JobDirectory jobDirectory(scratch);
    const auto examination = image.examine(!choices.show.report.empty(), jobDirectory, signals, console);
    if (examination.status != 0) {
        return conclude(console, examination, image.name(), "");
    }
    results.sums.image = image.sum();
    if (const int status = askForConsent(keys, lossByErasing(keys), choices.keys.yes, signals, console);
        status != 0) {
        console.complain("interrupted; nothing was changed");
        return status;
    }
    unmountKeys(keys);
    console.say("Writing " + image.name() + " to " + mediaText(keys) + ", " +
                sizeText(sizeOf(image.blocks().blocks)));
    return results.conclude(writeToKeys(choices, image, keys, jobDirectory, signals, results, console));
}

} // namespace velacreate
