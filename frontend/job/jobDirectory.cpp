#include "job/jobDirectory.h"

#include "inputs/names.h"
#include "job/childProcess.h"
#include "support/beneath.h"
#include "support/failure.h"

#include <algorithm>
#include <array>
#include <cerrno>
#include <filesystem>
#include <system_error>
#include <utility>

#include <fcntl.h>
#include <sys/file.h>
#include <sys/mount.h>
#include <sys/random.h>
#include <sys/xattr.h>
#include <unistd.h>

namespace velacreate {
namespace {
constexpr const char* PREFIX = ".velacreate-";

std::string freshName() {
    std::array<unsigned char, 8> bytes{};
    check(getrandom(bytes.data(), bytes.size(), 0) == static_cast<ssize_t>(bytes.size()))
        .orFail("no name for the job directory");
    std::string name = PREFIX;
    for (const unsigned char byte : bytes) {
        name += "abcdefghijklmnopqrstuvwxyz234567"[byte & 31U];
    }
    return name;
}

/// The parent's owner may have replaced our directory. Some file systems do not keep modes, but nobody else
/// may be able to write to it.
bool isOurs(const Descriptor& directory) {
    const auto about = directory.status();
    return about.st_uid == geteuid() && (about.st_mode & (S_IWGRP | S_IWOTH)) == 0;
}

bool isEmpty(const Descriptor& directory) {
    bool isEmpty = true;
    forEachEntry(directory.number(), [&](const std::string& /*name*/) { isEmpty = false; });
    return isEmpty;
}

void removeJobDirectory(int parent, const std::string& name, const Descriptor& directory) {
    try {
        removeContents(directory);
    } catch (const Failure&) {
        return; // it cannot be listed
    }
    unlinkat(parent, name.c_str(), AT_REMOVEDIR);
}

/// Anybody can use the name, so only a directory with the library folder is removed.
void removeAbandoned(const Descriptor& parent) {
    forEachEntry(parent.number(), [&](const std::string& name) {
        if (name.rfind(PREFIX, 0) != 0) {
            return;
        }
        const auto directory = openBeneath(parent.number(), name, O_RDONLY | O_DIRECTORY);
        if (directory.isOpen() && isOurs(directory) &&
            faccessat(directory.number(), LIBRARY_FOLDER, F_OK, AT_SYMLINK_NOFOLLOW) == 0 &&
            flock(directory.number(), LOCK_EX | LOCK_NB) == 0) {
            removeJobDirectory(parent.number(), name, directory);
        }
    });
}
} // namespace

JobDirectory::JobDirectory(const NamedDirectory& parent) : m_parent(parent), m_name(freshName()) {
    removeAbandoned(parent.directory);
    check(mkdirat(m_parent.number(), m_name.c_str(), S_IRWXU) == 0)
        .orFail("no job directory can be made in " + quote(parent.path));
    try {
        m_directory = openBeneath(m_parent.number(), m_name, O_RDONLY | O_DIRECTORY);
        if (!m_directory.isOpen() || !isOurs(m_directory) || !isEmpty(m_directory)) {
            throw Failure("the job directory made in " + quote(parent.path) + " is not one's own");
        }
        flock(m_directory.number(), LOCK_EX | LOCK_NB);
        check(mkdirat(m_directory.number(), LIBRARY_FOLDER, S_IRWXU) == 0)
            .orFail("no folder in the job directory");
        // The output grows in the library folder and gets the rights that the parent passes on. The files of
        // a medium do not.
        fremovexattr(m_directory.number(), "system.posix_acl_default");
    } catch (const Failure&) {
        unlinkat(m_parent.number(), m_name.c_str(), AT_REMOVEDIR);
        throw;
    }
}

JobDirectory::~JobDirectory() {
    if (!m_name.empty()) {
        removeJobDirectory(m_parent.number(), m_name, m_directory);
    }
}

void JobDirectory::refresh() const {
    futimens(m_directory.number(), nullptr);
    visitTree(m_directory.number(),
              [](const Descriptor& parent, const std::string& /*path*/, const std::string& name) {
                  utimensat(parent.number(), name.c_str(), nullptr, AT_SYMLINK_NOFOLLOW);
                  return true;
              });
}

std::string JobDirectory::keep() {
    const auto name = std::exchange(m_name, "");
    const auto visible = name.substr(1);
    renameat(m_directory.number(), LIBRARY_FOLDER, m_directory.number(),
             LIBRARY_FOLDER + 1); // so it is no longer removed as abandoned
    const bool isRenamed = renameat(m_parent.number(), name.c_str(), m_parent.number(), visible.c_str()) == 0;
    return m_parent.pathOf(isRenamed ? visible : name);
}

NamedDirectory scratchDirectory(const std::string& chosen, const CallerEnvironment& caller) {
    const auto& preset = caller.temporaryDirectory;
    NamedDirectory scratch;
    scratch.path = absolutePath(!chosen.empty() ? chosen : !preset.empty() ? preset : "/var/tmp");
    scratch.directory = Descriptor(open(scratch.path.c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC));
    check(scratch.directory.isOpen() && faccessat(scratch.number(), ".", W_OK | X_OK, AT_EACCESS) == 0)
        .orRefuse("no job directory can be made in " + quote(scratch.path));
    return scratch;
}

void removeContents(const Descriptor& directory, const std::string& besides) {
    const auto removed = visitTree(
        directory.number(), [&](const Descriptor& parent, const std::string& path, const std::string& name) {
            const bool stays = path.empty() && name == besides;
            return !stays && unlinkat(parent.number(), name.c_str(), 0) != 0 && errno == EISDIR;
        });
    Beneath tree(directory.number());
    std::for_each(removed.rbegin(), removed.rend(),
                  [&](const std::string& path) { tree.removeDirectory(path); });
}

namespace {
/// Some file systems have no links.
void linkFile(int from, int to, const std::string& name) {
    if (linkat(from, name.c_str(), to, name.c_str(), 0) == 0) {
        return;
    }
    check(errno == EPERM || errno == EOPNOTSUPP || errno == EMLINK || errno == EXDEV).orFail(quote(name));
    const auto original = openWithin(from, name, O_RDONLY);
    check(original.isOpen()).orFail(quote(name));
    const auto copy = openWithin(to, name, O_WRONLY | O_CREAT | O_EXCL, S_IRWXU);
    check(copy.isOpen()).orFail(quote(name));
    copyContent(original, copy, name, [](std::uint64_t /*bytes*/) {});
}
} // namespace

void linkContents(const Descriptor& from, const Descriptor& to, const std::string& besides) {
    Beneath target(to.number());
    visitTree(from.number(), [&](const Descriptor& parent, const std::string& path, const std::string& name) {
        if (path.empty() && name == besides) {
            return false;
        }
        const auto place = pathBelow(path, name);
        if (openWithin(parent.number(), name, O_RDONLY | O_DIRECTORY).isOpen()) {
            check(target.makeDirectory(place, S_IRWXU)).orFail(quote(name));
            return true;
        }
        linkFile(parent.number(), target.enter(place), name);
        return false;
    });
}

std::uint64_t sizeBelow(int directory, const std::string& path) {
    std::uint64_t size = 0;
    const auto add = [&](int parent, const std::string& name) {
        struct stat about {};
        if (fstatat(parent, name.c_str(), &about, AT_SYMLINK_NOFOLLOW) != 0) {
            return false;
        }
        size += S_ISDIR(about.st_mode) ? 0 : static_cast<std::uint64_t>(about.st_size);
        return S_ISDIR(about.st_mode);
    };
    if (add(directory, path)) {
        const auto top = openBeneath(directory, path, O_RDONLY | O_DIRECTORY);
        visitTree(top.number(), [&](const Descriptor& parent, const std::string& /*path*/,
                                    const std::string& name) { return add(parent.number(), name); });
    }
    return size;
}

void enterJobDirectory() {
    if (hasOwnMounts()) {
        // The library runs "umount /mnt"; a mount below it makes that fail.
        check(mount("tmpfs", "/mnt", "tmpfs", MS_NOSUID | MS_NODEV, "mode=755,size=16m") == 0 &&
              mkdir(OWN_PLACE, S_IRWXU) == 0 && mount(".", OWN_PLACE, nullptr, MS_BIND, nullptr) == 0 &&
              chdir(OWN_PLACE) == 0)
            .orFail("no mounts for the job");
    }
    std::error_code error;
    const std::string here = std::filesystem::current_path(error).string();
    if (error || here.find_first_of(std::string(UNSAFE_IN_COMMANDS) + "\n") != std::string::npos) {
        throw Refusal("the job directory " + quote(here) +
                      " has a character in its path that no command can carry, and "
                      "mounts of its own cannot be had; choose another place");
    }
    check(chdir(LIBRARY_FOLDER) == 0).orFail("the job directory cannot be entered");
    // Update files lie in the job directory, where one could be read as a tool's start-up file.
    const auto home = here + "/" + LIBRARY_FOLDER;
    check(setenv("HOME", home.c_str(), 1) == 0)
        .orFail("no home for the job"); // NOLINT(concurrency-mt-unsafe)
}

Descriptor openAgain(const Descriptor& file, const std::string& path) {
    Descriptor again(open(path.c_str(), O_PATH | O_CLOEXEC));
    if (!again.isOpen() || !isSameFile(again.status(), file.status())) {
        throw Failure(quote(path) + " is no longer the file that it was");
    }
    return again;
}

void placeFile(const Descriptor& file, const std::string& path, const std::string& name) {
    if (!hasOwnMounts()) {
        check(symlink(path.c_str(), name.c_str()) == 0).orFail(quote(name));
        return;
    }
    const Descriptor place(open(name.c_str(), O_WRONLY | O_CREAT | O_EXCL | O_CLOEXEC, S_IRUSR));
    check(place.isOpen() && mount(file.path().c_str(), name.c_str(), nullptr, MS_BIND, nullptr) == 0)
        .orFail(quote(path) + " cannot be mounted for the job");
}

} // namespace velacreate
