#include "bootableMedia.h"

#include "shell.h"

#include <algorithm>
#include <string_view>

namespace VelaCreation {

void BootableMedia::filterFileList(std::vector<std::string>& files, std::string toolPackage) {
    std::vector<std::string_view> namesToDrop = {
        ISO_DIR_NAME,      MINIUNZ_TOOL_NAME, IMAGE_1,         IMAGE_2,       IMAGE_4,
        IMAGE_8,           toolPackage,       BOOT_FILE,       TEMP_FILE,     MKISOFS_TOOL_NAME,
        CDRECORD_NAME,     CYGWINZ_DLL_NAME,  CLONE_TOOL_NAME, ZIP_TOOL_NAME, CYGWIN1_DLL_NAME,
        CYGICONV_DLL_NAME, CYGGCC_DLL_NAME,   CAPTURE_FILE,    ".",           "..",
    };
    const auto isToDrop = [&namesToDrop](const std::string& file) {
        const auto name = std::find(namesToDrop.begin(), namesToDrop.end(), file);
        if (name == namesToDrop.end()) {
            return false;
        }
        namesToDrop.erase(name); // a name drops one entry only
        return true;
    };
    files.erase(std::remove_if(files.begin(), files.end(), isToDrop), files.end());
}

} // namespace VelaCreation
