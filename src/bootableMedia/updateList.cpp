#include "bootableMedia.h"

#include "shell.h"

#include <algorithm>

namespace VelaCreation {

void BootableMedia::filterFileList(std::vector<std::string>& files, std::string toolPackage) {
    const std::vector<std::string> namesToDrop = {
        ISO_DIR_NAME,      MINIUNZ_TOOL_NAME, IMAGE_1,         IMAGE_2,       IMAGE_4,
        IMAGE_8,           toolPackage,       BOOT_FILE,       TEMP_FILE,     MKISOFS_TOOL_NAME,
        CDRECORD_NAME,     CYGWINZ_DLL_NAME,  CLONE_TOOL_NAME, ZIP_TOOL_NAME, CYGWIN1_DLL_NAME,
        CYGICONV_DLL_NAME, CYGGCC_DLL_NAME,   CAPTURE_FILE,    ".",           "..",
    };
    for (const std::string& name : namesToDrop) {
        const auto found = std::find(files.begin(), files.end(), name);
        if (found != files.end()) {
            files.erase(found);
        }
    }
}

} // namespace VelaCreation
