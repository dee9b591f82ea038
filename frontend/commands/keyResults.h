/// @file
/// What is said and kept of keys in the end.
#ifndef VELACREATE_KEYRESULTS_H
#define VELACREATE_KEYRESULTS_H

#include "commands/keys.h"
#include "commands/report.h"
#include "display/summary.h"

#include <vector>

namespace velacreate {

/// Keeps the record; powers down what was made, when the user wants it; and says it all: of one key alone in
/// a line, of several in a table.
/// @param outcomes  of each key, in order
/// @return the exit status: 0 when all were made, else that of the first that was not
int concludeKeys(const std::vector<Key>& keys, const std::vector<Outcome>& outcomes,
                 const UsbChoices& choices, const UpdateSums& sums, Report& report, Console& console);

} // namespace velacreate

#endif
