/// @file
/// The keys that update files are copied to.
#pragma once

#include "keys/keys.h"
#include "medium/jobInputs.h"

#include <cstdint>
#include <string>
#include <vector>

namespace velacreate {

/// @param scratch  the parent of the job directories
std::vector<NeededFiles> neededBy(const UsbChoices& choices, const NamedDirectory& scratch);

/// Chooses keys that can be filled, or made from any stick.
/// @param scratch  the parent of the job directories
/// @throw Refusal as chooseKeys()
ChosenKeys chooseKeysToFill(const UsbChoices& choices, const Inputs& inputs, const NamedDirectory& scratch,
                            Console& console);

/// @name Refuse a locked key that a call cannot make from any stick, or fill
/// @{
void requireErasable(const Key& key, const Inputs& inputs);
void requireFillable(const Key& key, const UsbChoices& choices, const Inputs& inputs);
/// @}

/// Refuses a tool package whose clone image cannot be fitted to a key.
void requireFittable(const ToolPackage& package, const std::string& cloneImage);

/// Refuses files that do not fit.
/// @param medium  for the message, such as "partition 4 of /dev/sdb"
void requireFitting(const Contents& contents, std::uint64_t capacity, const std::string& medium);

/// @param size of a key, in bytes
/// @return the clone image's name in the tool package
std::string cloneImageFor(std::uint64_t size);

} // namespace velacreate
