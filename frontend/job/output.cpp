#include "job/output.h"

#include "support/failure.h"

#include <algorithm>
#include <cerrno>
#include <cstdio>
#include <filesystem>
#include <vector>

#include <fcntl.h>
#include <unistd.h>

namespace velacreate {

namespace fs = std::filesystem;

namespace {

constexpr mode_t ACCESS = S_IRWXU | S_IRWXG | S_IRWXO;

/// What a package's directory may hold besides, and nothing else, when it is to be replaced.
const std::vector<std::string> PACKAGE_FILES = {"ks.zip",     "grub.cfg",   "img2a",    "img3a",
                                                "pxelinux.0", "ksrootfs",   "bsb1.lss", "splash.xpm.gz",
                                                "bsb.msg",    "unicode.pf2"};

bool isEmptyOrPackage(const Descriptor& directory, bool& isEmpty, std::string& stranger) {
    bool hasArchive = false;
    isEmpty = true;
    forEachEntry(directory.number(), [&](const std::string& name) {
        isEmpty = false;
        hasArchive = hasArchive || name == PACKAGE_FILES.front();
        if (std::find(PACKAGE_FILES.begin(), PACKAGE_FILES.end(), name) == PACKAGE_FILES.end()) {
            stranger = name;
        }
    });
    return isEmpty || (hasArchive && stranger.empty());
}

} // namespace

Output::Output(const std::string& path) {
    const auto absolute = fs::path(path).has_filename() ? fs::path(path) : fs::path(path).parent_path();
    m_name = absolute.filename();
    if (m_name.empty() || m_name == "." || m_name == "..") {
        throw Refusal("the output " + shown(path) + " has no name of its own");
    }
    std::error_code error;
    m_parentPath = fs::canonical(absolute.has_parent_path() ? absolute.parent_path() : ".", error);
    if (!error) {
        m_parent = Descriptor(open(m_parentPath.c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC));
        error.assign(m_parent.isOpen() ? 0 : errno, std::generic_category());
    }
    if (error) {
        throw Refusal("the directory of the output " + shown(path) + ": " + error.message());
    }
    if (faccessat(m_parent.number(), ".", W_OK | X_OK, AT_EACCESS) != 0) {
        throw Refusal(withError("nothing can be written to " + shown(m_parentPath)));
    }
    struct stat about {};
    if (fstatat(m_parent.number(), m_name.c_str(), &about, AT_SYMLINK_NOFOLLOW) == 0) {
        m_present = about;
    }
}

Output Output::image(const std::string& path, bool force) {
    const std::string ending = ".iso";
    if (path.size() < ending.size() ||
        path.compare(path.size() - ending.size(), ending.size(), ending) != 0) {
        throw Refusal("the output " + shown(path) + " does not end in .iso");
    }
    Output output(path);
    if (output.m_present && !S_ISREG(output.m_present->st_mode)) {
        throw Refusal(shown(path) + " is no file and cannot be replaced by an image");
    }
    if (output.m_present && !force) {
        throw Refusal(shown(path) + " exists (--force replaces it)");
    }
    return output;
}

Output Output::package(const std::string& path, bool force) {
    Output output(path);
    if (!output.m_present) {
        return output;
    }
    if (!S_ISDIR(output.m_present->st_mode)) {
        throw Refusal(shown(path) + " is no directory and cannot be replaced by a package");
    }
    if (output.m_present->st_dev != output.m_parent.status().st_dev) {
        throw Refusal(shown(path) + " is a mount point; choose a directory below it");
    }
    const auto directory = openBeneath(output.m_parent.number(), output.m_name, O_RDONLY | O_DIRECTORY);
    if (!directory.isOpen()) {
        throw Refusal(withError(shown(path)));
    }
    bool isEmpty = false;
    std::string stranger;
    if (!isEmptyOrPackage(directory, isEmpty, stranger)) {
        throw Refusal(shown(path) + " is not empty, and no network-boot package" +
                      (stranger.empty() ? "" : ": it holds " + shown(stranger)));
    }
    if (!isEmpty && !force) {
        throw Refusal(shown(path) + " holds a network-boot package (--force replaces it)");
    }
    return output;
}

std::string Output::path() const {
    return (m_parentPath == "/" ? "" : m_parentPath) + "/" + m_name;
}

void Output::take(const Descriptor& directory, const std::string& name) const {
    const auto made = openBeneath(directory.number(), name, O_RDONLY);
    if (!made.isOpen()) {
        throw Failure(withError("what was made cannot be found any more"));
    }
    if (m_present) {
        [[maybe_unused]] const int owned = fchown(made.number(), m_present->st_uid, m_present->st_gid);
        fchmod(made.number(), m_present->st_mode & ACCESS);
    }
    const bool isThere = m_present ? exchange(directory, name)
                                   : renameat2(directory.number(), name.c_str(), m_parent.number(),
                                               m_name.c_str(), RENAME_NOREPLACE) == 0;
    if (!isThere) {
        throw Failure(withError(shown(path()) + " cannot be put in place"));
    }
    fsync(m_parent.number());
}

bool Output::exchange(const Descriptor& directory, const std::string& name) const {
    const auto swap = [&] {
        return renameat2(directory.number(), name.c_str(), m_parent.number(), m_name.c_str(),
                         RENAME_EXCHANGE) == 0;
    };
    if (!swap()) {
        return false;
    }
    struct stat replaced {};
    if (fstatat(directory.number(), name.c_str(), &replaced, AT_SYMLINK_NOFOLLOW) == 0 &&
        replaced.st_dev == m_present->st_dev && replaced.st_ino == m_present->st_ino) {
        return true;
    }
    swap(); // what has come there in the meantime is not ours to remove
    errno = EEXIST;
    return false;
}

} // namespace velacreate
