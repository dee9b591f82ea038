#include "medium/listComparison.h"

#include "display/summary.h"
#include "job/supervisor.h"
#include "medium/identity.h"
#include "medium/listedMedium.h"
#include "support/texts.h"

#include <algorithm>

namespace velacreate {

std::vector<Outcome> compareWithLists(const ListCall& call, const Kind& kind,
                                      const std::vector<ComparedMedium>& media, const HeldSignals& signals) {
    const JobDirectory empty(call.scratch);
    std::vector<MediumJob> jobs;
    jobs.reserve(media.size());
    for (const auto& [name, medium] : media) {
        const auto work = [&, medium = medium](Reporter& reporter) {
            return compareWithList(kind, medium, call.trusted, empty.directory(), reporter);
        };
        jobs.push_back(
            {name, empty.directory().number(), work, {}, endsEvents(name, call.console), JobKind::checking});
    }
    return supervise(jobs, jobs.size(), signals, call.console);
}

std::string meaningText(const ListCall& call, const std::string& medium,
                        const std::vector<Outcome>& outcomes) {
    const bool isBootCodeCompared = std::all_of(outcomes.begin(), outcomes.end(), [](const Outcome& outcome) {
        return outcome.status != 0 || outcome.addition != BOOT_CODE_NOT_COMPARED;
    });
    return "Every byte of " + medium + " is explained by its " + (call.trusted ? "signed list" : "list") +
           (isBootCodeCompared ? "" : ", but its boot code was not compared") +
           (call.trusted ? "" : "; this tells of faults only, not of who made it");
}

int compareAloneWithList(const ListCall& call, const Kind& kind, const OpenMedium& medium,
                         const ReadMedium& read) {
    openLog(call.console, call.show, medium.path);
    const HeldSignals signals;
    call.console.events().begin({identityOf(medium.name, medium.path)});
    call.console.say("Comparing " + medium.name + " with its list of sums");
    const auto outcomes = compareWithLists(call, kind, {{medium.name, read}}, signals);
    const auto size = S_ISDIR(read.file.status().st_mode) ? sizeBelow(medium.file.number(), ".") : read.size;
    const int status = conclude(call.console, outcomes.front(), medium.name, sizeText(size));
    if (status == 0) {
        call.console.say(meaningText(call, read.isDisc ? "the volume on the disc" : kind.name, outcomes));
    }
    return status;
}

} // namespace velacreate
