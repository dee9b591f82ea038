#include "network/serverRoot.h"

#include "job/childProcess.h"
#include "support/failure.h"
#include "support/programs.h"

#include <cstdlib>
#include <filesystem>
#include <sstream>
#include <vector>

#include <fcntl.h>
#include <sys/mount.h>
#include <sys/stat.h>
#include <sys/syscall.h>
#include <unistd.h>

namespace velacreate {
namespace {
constexpr const char* NEW_ROOT = "/mnt";
constexpr const char* LIBRARY_CACHE = "/etc/ld.so.cache"; ///< names the directories of libraries
constexpr unsigned long PROGRAM = MS_RDONLY | MS_NOSUID | MS_NODEV;
constexpr unsigned long DEVICE = MS_RDONLY | MS_NOSUID | MS_NOEXEC;
constexpr unsigned long DATA = MS_RDONLY | MS_NOSUID | MS_NODEV | MS_NOEXEC | MS_NOSYMFOLLOW;
constexpr mode_t READABLE = S_IRUSR | S_IRGRP | S_IROTH;

/// @param path  absolute; the file gets the same one in the new root directory
/// @return its path until that is entered
std::string makeFile(const std::string& path, const std::string& text = "") {
    auto place = NEW_ROOT + path;
    std::filesystem::create_directories(std::filesystem::path(place).parent_path());
    const Descriptor file(open(place.c_str(), O_WRONLY | O_CREAT | O_EXCL | O_CLOEXEC, READABLE));
    check(file.isOpen() && writeText(file, text))
        .orFail("no place for " + quote(path) + " in the server's root directory");
    return place;
}

Checked mountAt(const std::string& file, const std::string& place) {
    return check(mount(file.c_str(), place.c_str(), nullptr, MS_BIND, nullptr) == 0);
}

void protect(const std::string& place, unsigned long flags) {
    check(mount(nullptr, place.c_str(), nullptr, MS_REMOUNT | MS_BIND | flags, nullptr) == 0)
        .orFail(quote(place) + " cannot be protected from the server");
}

void show(const std::string& path, unsigned long flags) {
    const auto place = makeFile(path);
    mountAt(path, place).orFail(quote(path) + " cannot be mounted for the server");
    protect(place, flags);
}

/// The loader's lines are such as "libc.so.6 => /lib/libc.so.6 (0x7f0000000000)".
std::vector<std::string> withLibraries(const std::string& program) {
    const auto listed = runProgram({"ldd", program});
    if (listed.status != 0) {
        throw Failure("the libraries of " + quote(program) + " are unknown: " + listed.output);
    }
    std::vector<std::string> files = {program};
    std::istringstream words(listed.output);
    for (std::string word; words >> word;) {
        if (word.front() == '/') {
            files.push_back(word);
        }
    }
    return files;
}
} // namespace

ServerRoot::ServerRoot() : m_forCopies(open(".", O_RDONLY | O_DIRECTORY | O_CLOEXEC)) {
    if (!hasOwnMounts()) {
        throw Failure("mounts of its own cannot be had for the server");
    }
    check(m_forCopies.isOpen()).orFail("no directory for the server's copies");
    check(mount("tmpfs", NEW_ROOT, "tmpfs", MS_NOSUID | MS_NODEV, "mode=755,size=1m") == 0)
        .orFail("no root directory for the server");
    if (access(LIBRARY_CACHE, F_OK) == 0) {
        show(LIBRARY_CACHE, DATA);
    }
    for (const char* device : {"/dev/null", "/dev/urandom"}) {
        show(device, DEVICE);
    }
}

void ServerRoot::addProgram(const std::string& path) const {
    for (const auto& file : withLibraries(path)) {
        if (access((NEW_ROOT + file).c_str(), F_OK) != 0) {
            show(file, PROGRAM);
        }
    }
}

// The copy is on a disk, because an archive can be large. Only a file with a name can be mounted. The name
// is removed before the file is filled, so that nothing can stay behind.
void ServerRoot::addCopy(const Descriptor& file, const std::string& place) const {
    const auto shown = makeFile(place);
    auto path = m_forCopies.path() + "/.velacreate-XXXXXX";
    const Descriptor copy(mkostemp(path.data(), O_CLOEXEC));
    check(copy.isOpen()).orFail("no copy for " + quote(place) + " can be made for the server");
    const auto bound = mountAt(path, shown);
    unlink(path.c_str());
    bound.orFail("the copy for " + quote(place) + " cannot be mounted for the server");
    copyContent(file, copy, place, [](std::uint64_t /*bytes*/) {});
    check(fchmod(copy.number(), READABLE) == 0).orFail("the copy for " + quote(place));
    protect(shown, DATA);
}

void ServerRoot::addText(const std::string& text, const std::string& place) const {
    makeFile(place, text);
}

void ServerRoot::addMount(const Descriptor& fileSystem, const std::string& place) const {
    const auto shown = NEW_ROOT + place;
    std::filesystem::create_directories(shown);
    check(move_mount(fileSystem.number(), "", AT_FDCWD, shown.c_str(), MOVE_MOUNT_F_EMPTY_PATH) == 0)
        .orFail(quote(place) + " cannot be mounted for the server");
    protect(shown, DATA);
}

// What was mounted before is unmounted.
void ServerRoot::enter() const {
    protect(NEW_ROOT, DATA);
    check(chdir(NEW_ROOT) == 0 && syscall(SYS_pivot_root, ".", ".") == 0 && umount2(".", MNT_DETACH) == 0 &&
          chdir("/") == 0)
        .orFail("the server's root directory cannot be entered");
}

} // namespace velacreate
