/// @file
/// Compares media with the lists of sums that are on them.
#pragma once

#include "medium/comparison.h"
#include "medium/kinds.h"
#include "trust/signature.h"

#include <optional>
#include <string>
#include <vector>

namespace velacreate {

/// What a call that compares media in this way has.
struct ListCall {
    const ShowChoices& show;
    const std::optional<PublicKeys>& trusted; ///< none when signatures are not looked at
    const NamedDirectory& scratch;            ///< parent of an empty job directory
    Console& console;
};

/// Compares media with their lists side by side. Each difference is a line on standard output.
/// @return their outcomes, in order
std::vector<Outcome> compareWithLists(const ListCall& call, const Kind& kind,
                                      const std::vector<ComparedMedium>& media, const HeldSignals& signals);

/// Compares a medium with its list, and shows the result.
/// @return the exit status
int compareAloneWithList(const ListCall& call, const Kind& kind, const OpenMedium& medium,
                         const ReadMedium& read);

/// @param medium  such as "the image"
/// @return what it means that there is no difference, as a sentence
std::string meaningText(const ListCall& call, const std::string& medium,
                        const std::vector<Outcome>& outcomes);

} // namespace velacreate
