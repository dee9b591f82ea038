/// @file
/// What the workflows copy to media and remove from them. Code that checks media uses the same rules.
#ifndef VELACREATION_MEDIARULES_H
#define VELACREATION_MEDIARULES_H

#include "bootableMedia.h"

#include <array>
#include <cstddef>
#include <cstdint>
#include <string>
#include <vector>

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

/// @name What stands before and after the text of a stage in its line on standard output
/// @{
constexpr const char* STAGE_LINE_START = " ";
constexpr const char* STAGE_LINE_END = "...";
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
constexpr const char* BIOS_LOADER = "isolinux.bin";
constexpr const char* POWERPC_LOADER = "ppc/chrp/yaboot";
constexpr const char* NETBOOT_LOADER = "pxelinux.0"; ///< the first file that a machine fetches
constexpr const char* NETBOOT_CONFIGURATION = "pxelinux.cfg";
constexpr const char* USB_BOOT_FILE = "img1a.sys"; ///< a key without it is formatted
/// @}

constexpr std::array<Removal, 2> IMAGE_REMOVALS = {{{NETBOOT_CONFIGURATION, true}, {NETBOOT_LOADER, false}}};

constexpr std::array<Removal, 4> KEY_REMOVALS = {
    {{NETBOOT_CONFIGURATION, true}, {NETBOOT_LOADER, false}, {BOOT_CATALOG, false}, {BIOS_LOADER, false}}};

/// Removed from a network-boot archive. Differs from NETBOOT_FILES: grub.cfg stays in the archive.
constexpr std::array<Removal, 14> ARCHIVE_REMOVALS = {{{NETBOOT_CONFIGURATION, true},
                                                       {"img2a", false},
                                                       {"img3a", false},
                                                       {NETBOOT_LOADER, false},
                                                       {BIOS_LOADER, false},
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
constexpr std::array<const char*, 9> NETBOOT_FILES = {"grub.cfg",     "img2a",       "img3a",
                                                      NETBOOT_LOADER, "ksrootfs",    "bsb1.lss",
                                                      "bsb.msg",      "unicode.pf2", "splash.xpm.gz"};
constexpr const char* NETBOOT_ARCHIVE_STEM = "ks"; ///< zip adds the ending
inline const std::string NETBOOT_ARCHIVE = std::string(NETBOOT_ARCHIVE_STEM) + ".zip"; ///< all other files

/// All that a network-boot directory can hold.
inline std::vector<std::string> netbootNames() {
    std::vector<std::string> names(NETBOOT_FILES.begin(), NETBOOT_FILES.end());
    names.push_back(NETBOOT_ARCHIVE);
    return names;
}

constexpr std::size_t SECTOR_SIZE = 512; ///< in bytes; the unit of all that is called a sector
constexpr std::int64_t SECTORS_PER_GIB = 0x200000;

/// The boot record of a key, as a file of the tool package.
struct CloneImage {
    std::int64_t largestKey; ///< in sectors; larger keys than all of them get the last one
    std::string name;
};
inline std::array<CloneImage, 4> cloneImages() {
    return {{{SECTORS_PER_GIB, BootableMedia::IMAGE_1},
             {2 * SECTORS_PER_GIB, BootableMedia::IMAGE_2},
             {4 * SECTORS_PER_GIB, BootableMedia::IMAGE_4},
             {8 * SECTORS_PER_GIB, BootableMedia::IMAGE_8}}};
}

/// @param capacity  of the key, in sectors
/// @return the name of the clone image in the tool package
inline std::string cloneImageFor(std::int64_t capacity) {
    const auto images = cloneImages();
    std::size_t index = 0;
    while (index + 1 < images.size() && capacity > images[index].largestKey) {
        ++index;
    }
    return images[index].name;
}

/// @name Names at the top of the working directory
/// removeTempFilesAndDirs() removes them in the order of these lists, and no selection of files holds them.
/// @{
inline std::vector<std::string> workingDirectories() {
    return {BootableMedia::BOOT_FILE, BootableMedia::ISO_DIR_NAME};
}
inline std::vector<std::string> workingFiles() {
    using Media = BootableMedia;
    std::vector<std::string> names = {Media::MINIUNZ_TOOL_NAME};
    for (const auto& image : cloneImages()) {
        names.push_back(image.name);
    }
    names.insert(names.end(), {Media::TEMP_FILE, Media::MKISOFS_TOOL_NAME, Media::CDRECORD_NAME,
                               Media::CYGWINZ_DLL_NAME, Media::CYGWIN1_DLL_NAME, Media::CYGICONV_DLL_NAME,
                               Media::CYGGCC_DLL_NAME, Media::CLONE_TOOL_NAME, Media::ZIP_TOOL_NAME});
    return names;
}
/// All of these, and the capture file.
inline std::vector<std::string> workingNames() {
    auto names = workingDirectories();
    const auto files = workingFiles();
    names.insert(names.end(), files.begin(), files.end());
    names.emplace_back(CAPTURE_FILE);
    return names;
}
/// @}

/// @name Offsets in a clone image's boot record, of fields in the entry of the fourth partition
/// @{
constexpr std::int64_t END_ADDRESS_OFFSET = 499; ///< head, then sector and cylinder
constexpr std::int64_t START_OFFSET = 502;
constexpr std::int64_t LENGTH_OFFSET = 0x1FA;
/// @}

/// @param sectorAndCylinder  the second byte of a CHS address
constexpr std::uint32_t sectorsPerTrack(std::uint8_t sectorAndCylinder) {
    return sectorAndCylinder & 0x3FU;
}

constexpr int KEY_PARTITION = 4; ///< the partition with a key's files
constexpr const char* KEY_LABEL = "MOXBOOT";

/// @param device  the node of a disk whose name does not end with a digit
inline std::string keyPartitionOf(const std::string& device) {
    return device + std::to_string(KEY_PARTITION);
}

/// The environment variable with the path of an image, which is mounted instead of a key.
constexpr const char* SOFT_KEY_VARIABLE = "TALO_SOFT_USBKEY";

/// The offset in bytes of the file system in an image of a key. Such an image is mounted instead of a key.
constexpr std::uint64_t KEY_IMAGE_OFFSET = 63 * SECTOR_SIZE;

constexpr const char* ISO_ENDING = ".iso"; ///< of an image's name

inline bool endsWithIso(const std::string& name) {
    const std::string ending = ISO_ENDING;
    return name.size() >= ending.size() &&
           name.compare(name.size() - ending.size(), ending.size(), ending) == 0;
}

} // namespace VelaCreation

#endif
