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
std::string placeFor(const std::string& path) {
    auto place = NEW_ROOT + path;
    std::filesystem::create_directories(std::filesystem::path(place).parent_path());
    const Descriptor empty(open(place.c_str(), O_WRONLY | O_CREAT | O_EXCL | O_CLOEXEC, READABLE));
    check(empty.isOpen()).orFail("no place for " + quote(path) + " in the server's root directory");
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
    const auto place = placeFor(path);
    mountAt(path, place).orFail(quote(path) + " cannot be mounted for the server");
    protect(place, flags);
}

/// The copy is on a disk, because an archive can be large. Only a file with a name can be mounted. The name
/// is removed before the file is filled, so that nothing can stay behind.
void showCopy(const Descriptor& file, const std::string& name, const Descriptor& scratch) {
    const auto place = placeFor(SERVED_PLACE + ("/" + name));
    auto path = scratch.path() + "/.velacreate-XXXXXX";
    const Descriptor copy(mkostemp(path.data(), O_CLOEXEC));
    check(copy.isOpen()).orFail("no copy of " + quote(name) + " can be made for the server");
    const auto bound = mountAt(path, place);
    unlink(path.c_str());
    bound.orFail("a copy of " + quote(name) + " cannot be mounted for the server");
    copyContent(file, copy, name, [](std::uint64_t /*bytes*/) {});
    check(fchmod(copy.number(), READABLE) == 0).orFail("the copy of " + quote(name));
    protect(place, DATA);
}

/// The loader's lines are such as "libc.so.6 => /lib/libc.so.6 (0x7f0000000000)".
std::vector<std::string> librariesOf(const std::string& program) {
    const auto listed = runProgram({"ldd", program});
    if (listed.status != 0) {
        throw Failure("the libraries of " + quote(program) + " are unknown: " + listed.output);
    }
    std::vector<std::string> libraries;
    std::istringstream words(listed.output);
    for (std::string word; words >> word;) {
        if (word.front() == '/') {
            libraries.push_back(word);
        }
    }
    return libraries;
}

/// What was mounted before is unmounted.
void makeRoot(const std::string& directory) {
    check(chdir(directory.c_str()) == 0 && syscall(SYS_pivot_root, ".", ".") == 0 &&
          umount2(".", MNT_DETACH) == 0 && chdir("/") == 0)
        .orFail("the server's root directory cannot be entered");
}
} // namespace

void enterServerRoot(const std::string& program, const NetbootDirectory& directory,
                     const std::string& scratch) {
    if (!hasOwnMounts()) {
        throw Failure("mounts of its own cannot be had for the server");
    }
    // The new root directory may hide it.
    const Descriptor forCopies(open(scratch.c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC));
    check(forCopies.isOpen()).orFail(quote(scratch));
    const auto libraries = librariesOf(program);
    check(mount("tmpfs", NEW_ROOT, "tmpfs", MS_NOSUID | MS_NODEV, "mode=755,size=1m") == 0)
        .orFail("no root directory for the server");
    show(program, PROGRAM);
    for (const auto& library : libraries) {
        show(library, PROGRAM);
    }
    if (access(LIBRARY_CACHE, F_OK) == 0) {
        show(LIBRARY_CACHE, DATA);
    }
    for (const char* device : {"/dev/null", "/dev/urandom"}) {
        show(device, DEVICE);
    }
    directory.forEachFile(
        [&](const std::string& name, const Descriptor& file) { showCopy(file, name, forCopies); });
    protect(NEW_ROOT, DATA);
    makeRoot(NEW_ROOT);
}

} // namespace velacreate
