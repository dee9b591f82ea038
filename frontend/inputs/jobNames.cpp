#include "inputs/jobNames.h"

#include <mediaRules.h>

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
    static const std::array<std::string, 5> JOB_NAMES = {PACKAGE_NAME, LIBRARY_FOLDER,
                                                         VelaCreation::CAPTURE_FILE, BootableMedia::BOOT_FILE,
                                                         BootableMedia::ISO_DIR_NAME};
    static const auto WORKING_FILES = VelaCreation::removedWorkingFiles();
    return contains(JOB_NAMES, name) || contains(WORKING_FILES, name);
}

bool isCloneImage(const std::string& name) {
    static const std::array<std::string, 4> IMAGES = {BootableMedia::IMAGE_1, BootableMedia::IMAGE_2,
                                                      BootableMedia::IMAGE_4, BootableMedia::IMAGE_8};
    return contains(IMAGES, name);
}

} // namespace velacreate
