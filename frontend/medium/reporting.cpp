#include "medium/reporting.h"

#include "job/confinement.h"
#include "support/exitStatus.h"
#include "support/texts.h"

namespace velacreate {

Advance advanceIn(Reporter& reporter) {
    return [&reporter](std::uint64_t bytes) {
        reporter.advance(bytes);
        prolong();
    };
}

int report(const Differences& differences, JobKind kind, const Reporter& reporter) {
    if (differences.count() == 0) {
        return 0;
    }
    const bool isFailure = kind == JobKind::making;
    const auto lines = differences.lines();
    for (const auto& line : lines) {
        reporter.finding(line);
    }
    if (const auto unshown = differences.count() - lines.size(); unshown != 0) {
        reporter.finding("and " + std::to_string(unshown) + " more differences");
    }
    const auto others = differences.count() - 1;
    reporter.reason(lines.front() +
                    (isFailure || others == 0 ? "" : ", and " + std::to_string(others) + " more"));
    return EXIT_DIFFERENT;
}

void reportKept(const Findings& findings, const Reporter& reporter) {
    if (findings.keptFiles != 0) {
        reporter.addition(counted(findings.keptFiles, "other file") + " with " +
                          sizeText(findings.keptBytes) + " not looked at");
    }
}

int reportAll(const Findings& findings, JobKind kind, const Reporter& reporter) {
    for (const auto& note : findings.notes) {
        reporter.note(note);
    }
    reportKept(findings, reporter);
    return report(findings.differences, kind, reporter);
}

} // namespace velacreate
