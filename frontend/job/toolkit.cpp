#include "job/toolkit.h"

#include "support/failure.h"

#include <bootableMedia.h>

#include <cstdlib>
#include <filesystem>

#include <fcntl.h>
#include <unistd.h>

namespace velacreate {

namespace fs = std::filesystem;

namespace {
using Media = VelaCreation::BootableMedia;

const std::string& BURNER = Media::CDRECORD_NAME;
const std::string& ZIP = Media::ZIP_TOOL_NAME;

/// In a build tree beside the executable; when installed, in libexec.
fs::path ownFolder() {
    const auto home = fs::read_symlink("/proc/self/exe").parent_path();
    return fs::exists(home / "toolkit") ? home / "toolkit" : home / VELACREATE_LIBEXEC;
}

/// By a descriptor that every command inherits: a colon in the path would split the search path.
void searchHereFirst() {
    const auto what = "no search path for the launcher " + quote(ZIP);
    Descriptor here(open(".", O_PATH | O_DIRECTORY));
    check(here.isOpen()).orFail(what);
    const auto searchPath = here.path() + ":" + SEARCH_PATH;
    check(setenv("PATH", searchPath.c_str(), 1) == 0).orFail(what); // NOLINT(concurrency-mt-unsafe)
    here.release();
}
} // namespace

Toolkit::Toolkit(const std::string& folder, Launchers launchers) : m_isOwn(folder.empty()) {
    const fs::path path = m_isOwn ? ownFolder() : fs::path(folder);
    m_folder = Descriptor(open(path.c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC));
    const bool isForDiscs = launchers == Launchers::ofDiscs;
    for (const auto& name : isForDiscs ? std::vector{Media::MKISOFS_TOOL_NAME, BURNER} : std::vector{ZIP}) {
        if (m_folder.isOpen() && faccessat(m_folder.number(), name.c_str(), X_OK, AT_EACCESS) == 0) {
            m_names.emplace_back(name);
        } else if (isForDiscs || m_isOwn || !m_folder.isOpen()) {
            throw Refusal("the launcher " + quote(path / name) + " is missing");
        }
    }
}

void Toolkit::requirePrograms(const std::vector<const char*>& names) const {
    if (m_isOwn) {
        velacreate::requirePrograms(names, "/usr/bin"); // where they look for them
    }
}

// Its interpreter opens it once more, and has not the descriptor.
ProgramResult Toolkit::runBurner(const std::vector<std::string>& arguments) const {
    const auto self = fs::path("/proc") / fs::read_symlink("/proc/self");
    std::vector<std::string> command = {self / "fd" / std::to_string(m_folder.number()) / BURNER};
    command.insert(command.end(), arguments.begin(), arguments.end());
    return runProgram(command);
}

void Toolkit::copyHere() const {
    for (const auto& name : m_names) {
        const Descriptor from(openat(m_folder.number(), name.c_str(), O_RDONLY | O_CLOEXEC));
        check(from.isOpen()).orFail("the launcher " + quote(name));
        const Descriptor to(open(name.c_str(), O_WRONLY | O_CREAT | O_EXCL | O_CLOEXEC, S_IRWXU));
        check(to.isOpen()).orFail("the launcher " + quote(name));
        copyContent(from, to, name, [](std::uint64_t /*bytes*/) {});
        if (name == ZIP) {
            searchHereFirst();
        }
    }
}

} // namespace velacreate
