#include "job/toolkit.h"

#include "support/failure.h"

#include <array>
#include <filesystem>

#include <fcntl.h>
#include <unistd.h>

namespace velacreate {

namespace fs = std::filesystem;

namespace {

constexpr std::array<const char*, 2> LAUNCHERS = {"xorriso", "cdrecord"};

/// In a build tree beside the executable, once installed in libexec.
fs::path ownFolder() {
    const auto home = fs::read_symlink("/proc/self/exe").parent_path();
    return fs::exists(home / "toolkit") ? home / "toolkit" : home / VELACREATE_LIBEXEC;
}

} // namespace

Toolkit::Toolkit(const std::string& folder) : m_isOwn(folder.empty()) {
    const fs::path path = m_isOwn ? ownFolder() : fs::path(folder);
    m_folder = Descriptor(open(path.c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC));
    for (const char* launcher : LAUNCHERS) {
        if (!m_folder.isOpen() || faccessat(m_folder.number(), launcher, X_OK, AT_EACCESS) != 0) {
            throw Refusal("the launcher " + shown(path / launcher) + " is missing");
        }
    }
}

void Toolkit::copyHere() const {
    for (const char* launcher : LAUNCHERS) {
        const Descriptor from(openat(m_folder.number(), launcher, O_RDONLY | O_CLOEXEC));
        const Descriptor to(open(launcher, O_WRONLY | O_CREAT | O_EXCL | O_CLOEXEC, S_IRWXU));
        if (!from.isOpen() || !to.isOpen()) {
            throw Failure(withError("the launcher " + shown(launcher)));
        }
        copyContent(from, to, launcher, [](std::uint64_t /*bytes*/) {});
    }
}

} // namespace velacreate
