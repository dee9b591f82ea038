#include "medium/kinds.h"

#include "choices.h"
#include "inputs/names.h"
#include "medium/readBack.h"

namespace velacreate {
namespace {
using namespace VelaCreation;

const std::string IMAGE_PLACE = std::string(LIBRARY_FOLDER) + "/image" + ISO_ENDING;
const std::string KEY_IMAGE_PLACE = std::string(LIBRARY_FOLDER) + "/key.img";
const std::string NETBOOT_PLACE = std::string(LIBRARY_FOLDER) + "/package";

template <typename Values>
std::vector<typename Values::value_type> listOf(const Values& values) {
    return {values.begin(), values.end()};
}

std::string inBoot(const char* place) {
    return BootableMedia::BOOT_FILE + "/" + place;
}

Kind image() {
    Kind kind;
    kind.name = "the image";
    kind.word = "image";
    kind.bootFiles = {{inBoot(EFI_LOADER), "the image starts from it"}};
    kind.toolkitPrograms = {"xorriso"};
    kind.place = IMAGE_PLACE;
    kind.stages = {{STAGE_COPYING, BootableMedia::ISO_DIR_NAME}, {STAGE_MAKING_ISO, IMAGE_PLACE}};
    kind.removals = listOf(IMAGE_REMOVALS);
    kind.removals.push_back({BOOT_CATALOG, true}); // the ISO tool overwrites it
    kind.fileSizeLimit = "an ISO image";
    kind.compare = compareEfiImage;
    return kind;
}

Kind powerPcImage() {
    Kind kind = image();
    kind.word = "powerpc-image";
    kind.bootFiles = {{inBoot(POWERPC_LOADER), "a PowerPC machine starts from it"}};
    kind.toolkitPrograms = {"genisoimage"};
    kind.isPlainJoliet = true;
    kind.removals = listOf(IMAGE_REMOVALS);
    kind.compare = comparePowerPcImage;
    return kind;
}

/// Its clone image depends on the key's size.
Kind key() {
    Kind kind;
    kind.name = "the key";
    kind.word = "key"; // also of its image
    kind.cloneImages = CloneImages::wanted;
    kind.programs.insert(kind.programs.end(), {"mount", "umount"});
    kind.stages = {{STAGE_COPYING, ""}, {STAGE_COPYING_UPDATES, ""}, {STAGE_WRITING_OUT, ""}};
    kind.removals = listOf(KEY_REMOVALS);
    kind.updatesComeLast = true;
    kind.isFat = true;
    kind.fileSizeLimit = "a FAT file system";
    kind.compare = compareKey;
    return kind;
}

/// Made without the library and without mounts.
Kind keyImage() {
    Kind kind = key();
    kind.name = "the key image";
    kind.programs = {"mkfs.vfat"};
    kind.place = KEY_IMAGE_PLACE;
    kind.stages = {};
    return kind;
}

Kind netbootDirectory() {
    Kind kind;
    kind.name = "the network-boot directory";
    kind.word = "netboot";
    kind.bootFiles = {{inBoot(NETBOOT_LOADER), "a machine on the network starts from it"}};
    kind.toolkitPrograms = {"zip"};
    kind.place = NETBOOT_PLACE;
    kind.stages = {{STAGE_COPYING_PXE, BootableMedia::ISO_DIR_NAME}, {STAGE_ZIPPING, ""}};
    kind.removals = listOf(ARCHIVE_REMOVALS);
    kind.besideArchive = listOf(NETBOOT_FILES);
    kind.compare = compareNetbootDirectory;
    return kind;
}
} // namespace

const Kind& kindOf(MediumKind kind) {
    static const Kind IMAGE = image();
    static const Kind POWER_PC_IMAGE = powerPcImage();
    static const Kind KEY = key();
    static const Kind KEY_IMAGE = keyImage();
    static const Kind NETBOOT_DIRECTORY = netbootDirectory();
    switch (kind) { // a missing kind does not compile
    case MediumKind::image:
        return IMAGE;
    case MediumKind::powerPcImage:
        return POWER_PC_IMAGE;
    case MediumKind::key:
        return KEY;
    case MediumKind::keyImage:
        return KEY_IMAGE;
    case MediumKind::netbootDirectory:
        break;
    }
    return NETBOOT_DIRECTORY;
}

MediumKind imageFor(const std::string& platform) {
    return platform == PLATFORM_NAME_PPC ? MediumKind::powerPcImage : MediumKind::image;
}

} // namespace velacreate
