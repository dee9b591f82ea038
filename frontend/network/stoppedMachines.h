/// @file
/// When a machine has stopped, and what that usually means.
#pragma once

#include "network/startWays.h"

#include <chrono>
#include <cstdint>
#include <optional>
#include <set>
#include <string>

namespace velacreate {

/// What is served, as far as it tells how machines get on. Sizes are in bytes.
struct ServedSizes {
    std::uint64_t largestLooseFile = 0;
    std::uint64_t archive = 0; ///< 0 without a network-boot directory
    std::uint64_t image = 0;   ///< 0 when there is none
    bool isProxy = false;
    std::set<unsigned> withoutOffer = {}; ///< numbers of client architectures
};

/// How far a machine has come.
struct BootProgress {
    StartWay way;
    std::string lastFile;            ///< that it has fetched; empty when there is none
    std::string failedFile;          ///< that did not arrive; empty when there is none
    std::optional<unsigned> percent; ///< of the image; nothing when it did not ask for it
};

/// @return how long a machine may be silent before it is said to have stopped; the next file may take long
std::chrono::seconds patienceWith(const BootProgress& progress, const ServedSizes& served);

/// @return such as "stopped after grub.cfg: its menu waits for a choice, or ..."
std::string stopText(const BootProgress& progress, const ServedSizes& served);

} // namespace velacreate
