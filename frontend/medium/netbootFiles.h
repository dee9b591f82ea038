/// @file
/// The files of a network-boot directory.
#pragma once

#include <array>

namespace velacreate {

constexpr const char* NETBOOT_LOADER = "pxelinux.0"; ///< what a machine fetches first
constexpr const char* NETBOOT_ARCHIVE = "ks.zip";    ///< with all that the loose boot files are not

/// The boot files that lie beside a package's archive, as a machine fetches them one by one before it can
/// read one.
constexpr std::array<const char*, 9> NETBOOT_BOOT_FILES = {"grub.cfg",     "img2a",       "img3a",
                                                           NETBOOT_LOADER, "ksrootfs",    "bsb1.lss",
                                                           "bsb.msg",      "unicode.pf2", "splash.xpm.gz"};

} // namespace velacreate
