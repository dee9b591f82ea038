#include "inputs/chosenPaths.h"

#include "inputs/names.h"
#include "support/failure.h"

#include <algorithm>
#include <filesystem>

namespace velacreate {
namespace {
namespace fs = std::filesystem;

/// @return the parts of a path without empty ones and "."
std::vector<std::string> significantParts(const std::string& path) {
    std::vector<std::string> parts = partsOf(path);
    const auto isNothing = [](const std::string& part) { return part.empty() || part == "."; };
    parts.erase(std::remove_if(parts.begin(), parts.end(), isNothing), parts.end());
    return parts;
}

std::string joined(const std::vector<std::string>& parts) {
    std::string path;
    for (const std::string& part : parts) {
        path += (path.empty() ? "" : "/") + part;
    }
    return path;
}

/// @return whether the parts began with the start, which is then removed
bool removeStart(std::vector<std::string>& parts, const std::vector<std::string>& start) {
    if (parts.size() < start.size() || !std::equal(start.begin(), start.end(), parts.begin())) {
        return false;
    }
    parts.erase(parts.begin(), parts.begin() + static_cast<std::ptrdiff_t>(start.size()));
    return true;
}
} // namespace

ChosenPaths::ChosenPaths(const std::string& directory, const Descriptor& open)
    : m_directory(directory), m_asNamed(significantParts(fs::absolute(directory).lexically_normal())),
      m_asItIs(significantParts(fs::read_symlink(open.path()))) {}

bool ChosenPaths::areEverything(const std::vector<std::string>& paths) const {
    return paths.empty() || (paths.size() == 1 && partsBelow(paths.front()).empty());
}

std::string ChosenPaths::below(const std::string& path) const {
    const auto parts = partsBelow(path);
    refuseIf(parts.empty(), "update file " + quote(path) +
                                " is the directory of the update files itself; name nothing else with it");
    return joined(parts);
}

std::vector<std::string> ChosenPaths::partsBelow(const std::string& path) const {
    const std::string text = "update file " + quote(path);
    refuseIf(path.empty(), "an update file has no name");
    std::vector<std::string> parts = significantParts(path);
    refuseIf(std::find(parts.begin(), parts.end(), "..") != parts.end(),
             text + " is not named by a path below " + quote(m_directory));
    refuseIf(path.front() == '/' && !removeStart(parts, m_asNamed) && !removeStart(parts, m_asItIs),
             text + " is not below " + quote(m_directory));
    return parts;
}

} // namespace velacreate
