#include "job/output.h"

#include "support/failure.h"
#include "trust/mediumList.h"

#include <mediaRules.h>

#include <algorithm>
#include <cerrno>
#include <climits>
#include <cstdio>
#include <filesystem>

#include <fcntl.h>
#include <unistd.h>

namespace velacreate {

namespace fs = std::filesystem;

namespace {
constexpr mode_t ACCESS = S_IRWXU | S_IRWXG | S_IRWXO;

bool isRegularFile(const Descriptor& directory, const std::string& name) {
    struct stat about {};
    return fstatat(directory.number(), name.c_str(), &about, AT_SYMLINK_NOFOLLOW) == 0 &&
           S_ISREG(about.st_mode);
}

bool isNetbootName(const std::string& name) {
    const auto names = VelaCreation::netbootNames();
    return name == MEDIUM_LIST || name == MEDIUM_SIGNATURE ||
           std::find(names.begin(), names.end(), name) != names.end();
}

/// What is in a directory that is to be replaced by a network-boot directory.
struct Present {
    bool isEmpty = true;
    bool hasArchive = false;
    std::string foreignEntry; ///< an entry of no network-boot directory

    bool isReplaceable() const { return isEmpty || (hasArchive && foreignEntry.empty()); }
};

Present lookInto(const Descriptor& directory) {
    Present present;
    forEachEntry(directory.number(), [&](const std::string& name) {
        present.isEmpty = false;
        present.hasArchive = present.hasArchive || name == VelaCreation::NETBOOT_ARCHIVE;
        if (!isNetbootName(name) || !isRegularFile(directory, name)) {
            present.foreignEntry = name;
        }
    });
    return present;
}

bool rename(const Descriptor& from, const std::string& oldName, int to, const std::string& newName,
            unsigned flags) {
    return renameat2(from.number(), oldName.c_str(), to, newName.c_str(), flags) == 0;
}

/// Some file systems cannot exchange names, or always replace.
bool lacksFlags() {
    return errno == EINVAL || errno == EXDEV;
}

bool renameToFreePlace(const Descriptor& from, const std::string& oldName, int to,
                       const std::string& newName) {
    return rename(from, oldName, to, newName, RENAME_NOREPLACE) ||
           (lacksFlags() && rename(from, oldName, to, newName, 0));
}
} // namespace

Output::Output(const std::string& path) {
    const auto absolute = fs::path(path).has_filename() ? fs::path(path) : fs::path(path).parent_path();
    m_name = absolute.filename();
    refuseIf(m_name.empty() || m_name == "." || m_name == "..",
             "the output " + quote(path) + " has no name of its own");
    std::error_code error;
    m_parent.path = fs::canonical(absolute.has_parent_path() ? absolute.parent_path() : ".", error);
    if (!error) {
        m_parent.directory = Descriptor(open(m_parent.path.c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC));
        error.assign(m_parent.directory.isOpen() ? 0 : errno, std::generic_category());
    }
    refuseIf(bool{error}, "the directory of the output " + quote(path) + ": " + error.message());
    check(faccessat(m_parent.number(), ".", W_OK | X_OK, AT_EACCESS) == 0)
        .orRefuse("nothing can be written to " + quote(m_parent.path));
    struct stat about {};
    if (fstatat(m_parent.number(), m_name.c_str(), &about, AT_SYMLINK_NOFOLLOW) == 0) {
        m_present = about;
    } else if (errno != ENOENT) {
        throw Refusal(SystemError().about("the output " + quote(path)));
    }
}

Output Output::file(const std::string& path, bool force, const std::string& kind) {
    Output output(path);
    refuseIf(output.m_present && !S_ISREG(output.m_present->st_mode),
             quote(path) + " is no file and cannot be replaced by " + kind);
    refuseIf(output.m_present && !force, quote(path) + " exists (--force replaces it)");
    return output;
}

Output Output::image(const std::string& path, bool force) {
    refuseIf(!VelaCreation::endsWithIso(path), "the output " + quote(path) + " does not end in .iso");
    return file(path, force, "an image");
}

Output Output::keyImage(const std::string& path, bool force) {
    return file(path, force, "an image");
}

Output Output::blockMap(const std::string& path, bool force) {
    return file(path, force, "a block map");
}

Output Output::checksum(const std::string& path, bool force) {
    return file(path, force, "a checksum");
}

Output Output::directory(const std::string& path, const std::string& kind) {
    Output output(path);
    if (output.m_present) {
        refuseIf(!S_ISDIR(output.m_present->st_mode),
                 quote(path) + " is no directory and cannot be replaced by " + kind);
        refuseIf(output.m_present->st_dev != output.m_parent.directory.status().st_dev,
                 quote(path) + " is a mount point; choose a directory below it");
    }
    return output;
}

Output Output::emptyDirectory(const std::string& path) {
    auto output = directory(path, "one");
    refuseIf(output.m_present && !lookInto(output.openPresent()).isEmpty,
             quote(path) + " is not empty; name a new or an empty directory");
    output.m_staysEmpty = true;
    return output;
}

Output Output::netbootDirectory(const std::string& path, bool force) {
    auto output = directory(path, "a network-boot directory");
    if (!output.m_present) {
        return output;
    }
    const auto present = lookInto(output.openPresent());
    refuseIf(!present.isReplaceable(),
             quote(path) + " is not empty, and no network-boot directory" +
                 (present.foreignEntry.empty() ? "" : ": it holds " + quote(present.foreignEntry)));
    refuseIf(!present.isEmpty && !force,
             quote(path) + " holds a network-boot directory (--force replaces it)");
    return output;
}

Descriptor Output::openPresent() const {
    auto present = openBeneath(m_parent.number(), m_name, O_RDONLY);
    check(present.isOpen()).orRefuse(quote(path()));
    return present;
}

std::string Output::path() const {
    return m_parent.pathOf(m_name);
}

bool Output::moveHere(const Descriptor& directory, const std::string& name) const {
    if (!m_present) {
        return renameToFreePlace(directory, name, m_parent.number(), m_name);
    }
    // Without flags, a directory replaces only an empty one.
    return m_staysEmpty ? rename(directory, name, m_parent.number(), m_name, 0) : exchange(directory, name);
}

struct stat Output::take(const Descriptor& directory, const std::string& name) const {
    const auto made = openBeneath(directory.number(), name, O_RDONLY);
    check(made.isOpen()).orFail("what was made cannot be found any more");
    if (m_present) {
        [[maybe_unused]] const int owned = fchown(made.number(), m_present->st_uid, m_present->st_gid);
        fchmod(made.number(), m_present->st_mode & ACCESS);
    }
    const bool isThere = moveHere(directory, name);
    const SystemError error;
    if (!isThere && (error.number() == EEXIST || error.number() == ENOTEMPTY)) {
        throw Failure(quote(path()) +
                      " was made or changed meanwhile, perhaps by another job; look at it, and run "
                      "this job again" +
                      (m_staysEmpty ? "" : ", with --force to replace it"));
    }
    if (!isThere) {
        throw Failure(error.about(quote(path()) + " cannot be put in place"));
    }
    fsync(m_parent.number());
    return made.status();
}

bool Output::giveBack(const Descriptor& directory, const std::string& name, const struct stat& taken) const {
    struct stat found {};
    const bool isBack = fstatat(m_parent.number(), m_name.c_str(), &found, AT_SYMLINK_NOFOLLOW) == 0 &&
                        isSameFile(found, taken) &&
                        renameat2(m_parent.number(), m_name.c_str(), directory.number(), name.c_str(),
                                  m_present ? RENAME_EXCHANGE : 0) == 0;
    fsync(m_parent.number());
    return isBack;
}

bool Output::moveAway(const Descriptor& directory, const std::string& name) const {
    if (!rename(m_parent.directory, m_name, directory.number(), name, 0)) {
        return false;
    }
    if (isAsChecked(directory, name)) {
        return true;
    }
    moveBack(directory, name);
    return false;
}

void Output::moveBack(const Descriptor& directory, const std::string& name) const {
    renameToFreePlace(directory, name, m_parent.number(), m_name);
}

bool Output::isAsChecked(const Descriptor& directory, const std::string& name) const {
    struct stat found {};
    if (fstatat(directory.number(), name.c_str(), &found, AT_SYMLINK_NOFOLLOW) != 0 ||
        !isSameFile(found, *m_present)) {
        return false;
    }
    if (!S_ISDIR(found.st_mode)) {
        return true;
    }
    const auto present = openBeneath(directory.number(), name, O_RDONLY | O_DIRECTORY);
    return present.isOpen() && lookInto(present).isReplaceable();
}

bool Output::exchange(const Descriptor& directory, const std::string& name) const {
    const auto swap = [&] { return rename(directory, name, m_parent.number(), m_name, RENAME_EXCHANGE); };
    if (!swap()) {
        return lacksFlags() && replace(directory, name);
    }
    if (isAsChecked(directory, name)) {
        return true;
    }
    swap(); // it has come there meanwhile and is not ours
    errno = EEXIST;
    return false;
}

bool Output::replace(const Descriptor& directory, const std::string& name) const {
    if (!isAsChecked(m_parent.directory, m_name)) {
        errno = EEXIST;
        return false;
    }
    if (!S_ISDIR(m_present->st_mode)) {
        return rename(directory, name, m_parent.number(), m_name, 0);
    }
    // The old directory is moved aside first, so it can always be found.
    const std::string ending = ".replaced";
    const std::string replaced = m_name.substr(0, NAME_MAX - ending.size()) + ending;
    return rename(m_parent.directory, m_name, m_parent.number(), replaced, 0) &&
           rename(directory, name, m_parent.number(), m_name, 0) &&
           rename(m_parent.directory, replaced, directory.number(), "replaced", 0);
}

} // namespace velacreate
