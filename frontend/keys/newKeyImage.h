/// @file
/// Makes the image of a key, without a key.
#pragma once

#include "job/reporter.h"
#include "medium/jobInputs.h"
#include "support/descriptor.h"

#include <cstdint>
#include <ctime>
#include <string>

namespace velacreate {

/// A size in which sticks are sold.
struct KeySize {
    std::string name;       ///< such as "8 GB"
    std::string cloneImage; ///< in the tool package
    std::uint64_t bytes;    ///< no stick of this name is smaller
};

/// @param gigabytes  1, 2, 4 or 8; 0 for the smallest for which the tool package has a clone image
/// @return a size that holds the files
/// @throw Refusal when there is none
KeySize chooseKeySize(std::size_t gigabytes, const Inputs& inputs);

/// In the job's process: makes the image from the staged files, and its block map beside it, at the place of
/// its kind.
/// @param time  of all files
/// @param sums  of the files, by their paths in the job directory
/// @throw Failure
void makeKeyImage(const KeySize& size, const Inputs& inputs, std::time_t time, const Sums& sums,
                  const Descriptor& jobDirectory, Reporter& reporter);

} // namespace velacreate
