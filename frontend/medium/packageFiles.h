/// @file
/// The files of a network-boot package.
#ifndef VELACREATE_PACKAGEFILES_H
#define VELACREATE_PACKAGEFILES_H

#include <array>

namespace velacreate {

constexpr const char* PACKAGE_LOADER = "pxelinux.0"; ///< what a machine fetches first
constexpr const char* PACKAGE_ARCHIVE = "ks.zip";    ///< with all that the loose boot files are not

/// The boot files that lie beside a package's archive, as a machine fetches them one by one before it can
/// read one.
constexpr std::array<const char*, 9> PACKAGE_BOOT_FILES = {"grub.cfg",     "img2a",       "img3a",
                                                           PACKAGE_LOADER, "ksrootfs",    "bsb1.lss",
                                                           "bsb.msg",      "unicode.pf2", "splash.xpm.gz"};

} // namespace velacreate

#endif
