/// @file
/// In the job's process: tells what was found on a medium.
#pragma once

#include "job/outcome.h"
#include "job/reporter.h"
#include "medium/readBack.h"

namespace velacreate {

/// @return to be called with the bytes that have been compared, also in a confined process
Advance advanceIn(Reporter& reporter);

/// Reports each difference: as a failure when a medium is made, else as a finding.
/// @return EXIT_DIFFERENT, or 0 when there is no difference
int report(const Differences& differences, JobKind kind, const Reporter& reporter);

/// Reports that there are files on a key that are not of the job.
void reportKept(const Findings& findings, const Reporter& reporter);

/// Reports all that was found.
/// @return as report
int reportAll(const Findings& findings, JobKind kind, const Reporter& reporter);

} // namespace velacreate
