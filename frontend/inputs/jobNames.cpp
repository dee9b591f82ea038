#include "inputs/jobNames.h"

#include <bootableMedia.h>

#include <algorithm>
#include <array>

namespace velacreate {

using VelaCreation::BootableMedia;

namespace {

template <typename Names>
bool contains(const Names& names, const std::string& name) {
    return std::find(names.begin(), names.end(), name) != names.end();
}

} // namespace

bool isJobName(const std::string& name) {
    // The library drops its tools' names from every list of update files, and removes the files when it
    // cleans up.
    static const std::array<std::string, 15> OTHERS = {PACKAGE_NAME,
                                                       LIBRARY_FOLDER,
                                                       "stdout.txt",
                                                       BootableMedia::BOOT_FILE,
                                                       BootableMedia::ISO_DIR_NAME,
                                                       BootableMedia::TEMP_FILE,
                                                       BootableMedia::MINIUNZ_TOOL_NAME,
                                                       BootableMedia::ZIP_TOOL_NAME,
                                                       BootableMedia::CLONE_TOOL_NAME,
                                                       BootableMedia::MKISOFS_TOOL_NAME,
                                                       BootableMedia::CDRECORD_NAME,
                                                       BootableMedia::CYGWINZ_DLL_NAME,
                                                       BootableMedia::CYGWIN1_DLL_NAME,
                                                       BootableMedia::CYGICONV_DLL_NAME,
                                                       BootableMedia::CYGGCC_DLL_NAME};
    return isCloneImage(name) || contains(OTHERS, name);
}

bool isCloneImage(const std::string& name) {
    static const std::array<std::string, 4> IMAGES = {BootableMedia::IMAGE_1, BootableMedia::IMAGE_2,
                                                      BootableMedia::IMAGE_4, BootableMedia::IMAGE_8};
    return contains(IMAGES, name);
}

} // namespace velacreate
