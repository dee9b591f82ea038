/// @file
/// Files on a key that are not of the job, and what other systems leave on a stick.
///
/// A stick that was only looked at is no longer the same. A system may also have written the disk signature
/// and FAT's dirty bits, which are never compared.
#pragma once

#include "forms/mediumBytes.h"

#include <string>

namespace velacreate {

/// Which files besides the expected ones may be on a key.
enum class OtherFiles {
    none,
    tracesOfSystems, ///< those of isTraceOfSystem(), and what is in such a directory
    any,
};

/// Whether other systems make a file or directory with this name by themselves.
/// @param isTop  whether it is at the top of the key
bool isTraceOfSystem(const std::string& name, bool isTop);

/// @return the name of the file that another system keeps attributes of in one with this name; empty for all
/// other names
std::string ownerOfAttributes(const std::string& name);

/// @return a sentence about the disk signature; empty when there is none
std::string noteOfDiskSignature(MediumBytes& key);

} // namespace velacreate
