#include "disks/sysfs.h"

#include "support/failure.h"

#include <fstream>
#include <sstream>

#include <sys/stat.h>
#include <sys/sysmacros.h>

namespace velacreate {

namespace fs = std::filesystem;

namespace {
/// Without it, a machine would seem to have no disks, and none of them to be in use.
void requireSysfs() {
    if (!fs::exists("/sys/block") || !fs::exists("/sys/dev/block")) {
        throw Failure("'/sys' does not show the disks; mount sysfs there");
    }
}
} // namespace

fs::path deviceDirectory(dev_t device) {
    const fs::path link =
        "/sys/dev/block/" + std::to_string(major(device)) + ":" + std::to_string(minor(device));
    std::error_code error;
    const auto directory = fs::canonical(link, error);
    if (error) {
        requireSysfs();
    }
    return error ? link : directory;
}

std::vector<fs::path> diskDirectories() {
    requireSysfs();
    return entriesOf("/sys/block");
}

dev_t deviceNumber(const fs::path& directory) {
    std::istringstream text(attribute(directory / "dev"));
    unsigned major = 0;
    unsigned minor = 0;
    char colon = 0;
    return text >> major >> colon >> minor ? makedev(major, minor) : 0;
}

fs::path usbDevice(fs::path directory) {
    while (directory.has_relative_path() && !fs::exists(directory / "busnum")) {
        directory = directory.parent_path();
    }
    return directory.has_relative_path() ? directory : "";
}

std::string attribute(const fs::path& file) {
    const std::ifstream stream(file, std::ios::binary);
    std::ostringstream content;
    content << stream.rdbuf(); // throws nothing when the device was pulled out just now
    const auto text = content.str();
    const char* const blanks = " \t\n";
    const auto first = text.find_first_not_of(blanks);
    return first == std::string::npos ? "" : text.substr(first, text.find_last_not_of(blanks) + 1 - first);
}

std::vector<fs::path> entriesOf(const fs::path& directory) {
    std::vector<fs::path> entries;
    std::error_code error;
    for (fs::directory_iterator entry(directory, error), end; !error && entry != end;
         entry.increment(error)) {
        const auto target = fs::canonical(entry->path(), error);
        if (!error) { // else the device was pulled out just now
            entries.push_back(target);
        }
    }
    return entries;
}

dev_t blockDevice(const std::string& path) {
    struct stat about {};
    return stat(path.c_str(), &about) == 0 && S_ISBLK(about.st_mode) ? about.st_rdev : 0;
}

} // namespace velacreate
