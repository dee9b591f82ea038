#include "bootableMedia.h"

#include "mediaRules.h"

#include <algorithm>

namespace VelaCreation {

void BootableMedia::filterFileList(std::vector<std::string>& files, std::string toolPackage) {
    std::vector<std::string> namesToDrop = workingNames();
    namesToDrop.insert(namesToDrop.end(), {toolPackage, ".", ".."});
    const auto isToDrop = [&namesToDrop](const std::string& file) {
        const auto name = std::find(namesToDrop.begin(), namesToDrop.end(), file);
        if (name == namesToDrop.end()) {
            return false;
        }
        namesToDrop.erase(name); // each name drops only one entry
        return true;
    };
    files.erase(std::remove_if(files.begin(), files.end(), isToDrop), files.end());
}

} // namespace VelaCreation
