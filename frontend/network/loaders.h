/// @file
/// The loaders that machines fetch before a network-boot directory's own files.
#pragma once

#include "network/addresses.h"
#include "network/netbootDirectory.h"

#include <string>
#include <vector>

namespace velacreate {

constexpr const char* MADE_FOR_X64 = "bootx64.efi";
constexpr const char* MADE_FOR_ARM64 = "bootaa64.efi";
constexpr const char* SHIM = "shimx64.efi";
constexpr const char* GRUB_OF_SHIM = "grubx64.efi";            ///< as shim asks for it
constexpr const char* CONFIGURATION_OF_GRUB = "grub/grub.cfg"; ///< as the signed GRUB asks for it
constexpr const char* LOADED_KERNEL = "img2a";

/// A file that is served beside those of the directory.
struct LoaderFile {
    std::string name; ///< a relative path, as a loader asks for it
    Descriptor content;
};

struct Loaders {
    std::vector<LoaderFile> files;
    std::string forX64; ///< the name of the first file of a UEFI machine; empty when there is none
    std::string forArm64;
    std::vector<std::string> notes; ///< which machines will not start, and why
};

/// Debian's signed loaders where they are installed and would start the kernel of the directory, and else a
/// GRUB that is made now. Either fetches its other files from one address.
/// @param isProxy  whether another server hands out addresses; the signed loaders would ask that one for
/// files
/// @param scratch  for copies
/// @throw Failure
Loaders loadersFor(const NetbootDirectory& directory, Address server, bool isProxy,
                   const Descriptor& scratch);

} // namespace velacreate
