/// @file
/// What the workflows copy to media and remove from them. Code that checks media uses the same rules.
#ifndef VELACREATION_MEDIARULES_H
#define VELACREATION_MEDIARULES_H

#include "bootableMedia.h"

#include <array>
#include <cstdint>
#include <string>

namespace VelaCreation {

constexpr const char* CAPTURE_FILE = "stdout.txt"; ///< the output of the last command

/// @name Levels of messages
/// @{
constexpr int LEVEL_FAILURE = 0;
constexpr int LEVEL_PROGRESS = 2;
constexpr int LEVEL_CHECKPOINT = 6;
/// @}

/// @name The platforms of an image
/// @{
constexpr int PLATFORM_LINUX = 1;
constexpr int PLATFORM_PPC = 2;
/// @}

/// @name The texts of the stages
/// @{
constexpr const char* STAGE_ISO_TOOLS = "Copying tools for bootable iso creation";
constexpr const char* STAGE_ISO_TOOLS_ON_CONSOLE = "Copying tools for iso creation";
constexpr const char* STAGE_USB_TOOLS = "Copying tools for bootable USB key creation";
constexpr const char* STAGE_PXE_TOOLS = "Copying tools for bootable PXE creation";
constexpr const char* STAGE_EXTRACTING = "Extracting files to working directory";
constexpr const char* STAGE_COPYING = "Copying files to working directory";
constexpr const char* STAGE_COPYING_PXE = "Copying files to PXE directory";
constexpr const char* STAGE_COPYING_UPDATES = "Copying files to USB key";
constexpr const char* STAGE_FORMATTING = "Formatting USB key";
constexpr const char* STAGE_REMOVING = "Removing temporary files";
constexpr const char* STAGE_MAKING_ISO = "Creating iso file";
constexpr const char* STAGE_ZIPPING = "Zipping files";
constexpr const char* STAGE_BLANKING = "Blanking the CD/DVD media";
constexpr const char* STAGE_BURNING = "Burning the CD/DVD media";
/// @}

/// A name to remove from the top level of a medium, by "rm -rf" or by "rm -f", which keeps directories.
struct Removal {
    const char* name;
    bool isRecursive;
};

/// @name Boot files
/// @{
constexpr const char* BOOT_CATALOG = "boot.catalog"; ///< the ISO tool makes it
constexpr const char* INSTALLER = "zephyn";          ///< an update file that machines run
constexpr const char* EFI_LOADER = "efibootimg";
constexpr const char* POWERPC_LOADER = "ppc/chrp/yaboot";
/// @}

constexpr std::array<Removal, 2> IMAGE_REMOVALS = {{{"pxelinux.cfg", true}, {"pxelinux.0", false}}};

constexpr std::array<Removal, 4> KEY_REMOVALS = {
    {{"pxelinux.cfg", true}, {"pxelinux.0", false}, {BOOT_CATALOG, false}, {"isolinux.bin", false}}};

/// Removed from a network-boot archive. Differs from NETBOOT_FILES: grub.cfg stays in the archive.
constexpr std::array<Removal, 14> ARCHIVE_REMOVALS = {{{"pxelinux.cfg", true},
                                                       {"img2a", false},
                                                       {"img3a", false},
                                                       {"pxelinux.0", false},
                                                       {"isolinux.bin", false},
                                                       {"img1a.cfg", false},
                                                       {"ksrootfs", false},
                                                       {"bsb1.lss", false},
                                                       {"bsb.msg", false},
                                                       {"splash.xpm.gz", false},
                                                       {"unicode.pf2", false},
                                                       {EFI_LOADER, false},
                                                       {"boot", false},
                                                       {"EFI", false}}};

/// The boot files beside the archive of a network-boot directory. A machine fetches them one by one, before
/// it can read an archive.
constexpr std::array<const char*, 9> NETBOOT_FILES = {"grub.cfg",   "img2a",       "img3a",
                                                      "pxelinux.0", "ksrootfs",    "bsb1.lss",
                                                      "bsb.msg",    "unicode.pf2", "splash.xpm.gz"};
constexpr const char* NETBOOT_LOADER = "pxelinux.0"; ///< the first file that a machine fetches
constexpr const char* NETBOOT_ARCHIVE_STEM = "ks";   ///< zip adds the ending
constexpr const char* NETBOOT_ARCHIVE = "ks.zip";    ///< all other files

/// The working files that removeTempFilesAndDirs() removes by "rm -f", in this order.
inline std::array<std::string, 14> removedWorkingFiles() {
    using Media = BootableMedia;
    return {Media::MINIUNZ_TOOL_NAME, Media::IMAGE_1,           Media::IMAGE_2,
            Media::IMAGE_4,           Media::IMAGE_8,           Media::TEMP_FILE,
            Media::MKISOFS_TOOL_NAME, Media::CDRECORD_NAME,     Media::CYGWINZ_DLL_NAME,
            Media::CYGWIN1_DLL_NAME,  Media::CYGICONV_DLL_NAME, Media::CYGGCC_DLL_NAME,
            Media::CLONE_TOOL_NAME,   Media::ZIP_TOOL_NAME};
}

constexpr std::int64_t SECTORS_PER_GIB = 0x200000; // of 512 bytes

inline std::array<std::string, 4> cloneImages() {
    using Media = BootableMedia;
    return {Media::IMAGE_1, Media::IMAGE_2, Media::IMAGE_4, Media::IMAGE_8};
}

/// @param capacity  of the key, in sectors of 512 bytes
/// @return the name of the clone image in the tool package
inline const std::string& cloneImageFor(std::int64_t capacity) {
    return capacity <= SECTORS_PER_GIB       ? BootableMedia::IMAGE_1
           : capacity <= 2 * SECTORS_PER_GIB ? BootableMedia::IMAGE_2
           : capacity <= 4 * SECTORS_PER_GIB ? BootableMedia::IMAGE_4
                                             : BootableMedia::IMAGE_8;
}

/// @name Offsets in a clone image's boot record, of fields in the entry of the fourth partition
/// @{
constexpr std::int64_t END_ADDRESS_OFFSET = 499; ///< head, then sector and cylinder; the first sector follows
constexpr std::int64_t LENGTH_OFFSET = 0x1FA;
/// @}

/// @param sectorAndCylinder  the second byte of a CHS address
constexpr std::uint32_t sectorsPerTrack(std::uint8_t sectorAndCylinder) {
    return sectorAndCylinder & 0x3FU;
}

constexpr int KEY_PARTITION = 4; ///< the partition with a key's files

/// The environment variable with the path of an image, which is mounted instead of a key.
constexpr const char* SOFT_KEY_VARIABLE = "TALO_SOFT_USBKEY";

/// The offset in bytes of the file system in an image of a key. Such an image is mounted instead of a key.
constexpr std::uint64_t KEY_IMAGE_OFFSET = 32256;

inline bool endsWithIso(const std::string& name) {
    const std::string ending = ".iso";
    return name.size() >= ending.size() &&
           name.compare(name.size() - ending.size(), ending.size(), ending) == 0;
}

} // namespace VelaCreation

#endif
