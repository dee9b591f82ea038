#include "commandLine/namedFiles.h"

#include "disks/discDrive.h"
#include "forms/blockMap.h"
#include "medium/imageChecksum.h"
#include "support/descriptor.h"

#include <algorithm>
#include <filesystem>
#include <vector>

namespace velacreate {
namespace {
namespace fs = std::filesystem;

bool isAtOrBelow(const std::string& file, const std::string& place) {
    const auto path = futurePath(file);
    const auto above = futurePath(place);
    return isSameFile(file, place) || path.rfind(above + "/", 0) == 0 || path == above + BLOCK_MAP_ENDING ||
           path == above + CHECKSUM_ENDING;
}
} // namespace

bool isNamedOtherwise(const std::string& file, const CLI::App& command) {
    const auto* const directory = command.get_option_no_throw("--directory");
    const auto updates = directory == nullptr ? "." : directory->as<std::string>();
    const auto* const files = command.get_option_no_throw("FILE");
    std::vector<std::string> places;
    if (directory != nullptr && files != nullptr && files->empty()) {
        places.push_back(updates);
    }
    for (const auto* option : command.get_options()) {
        const auto& name = option->get_name();
        if (name != "--events" && name != "--directory" && name != "--work") {
            for (const auto& word : option->results()) {
                const auto path = word.rfind(STAND_IN, 0) == 0 ? word.substr(STAND_IN.size()) : word;
                places.insert(places.end(), {path, fs::path(updates) / path});
            }
        }
    }
    return std::any_of(places.begin(), places.end(),
                       [&](const std::string& place) { return isAtOrBelow(file, place); });
}

} // namespace velacreate
