#include "support/trustedPath.h"

#include "support/failure.h"

#include <array>
#include <cerrno>
#include <climits>
#include <filesystem>
#include <list>

#include <fcntl.h>
#include <unistd.h>

namespace velacreate {
namespace {
namespace fs = std::filesystem;

constexpr int MOST_LINKS = 40; // as in the kernel

bool isOpenToOthers(const Descriptor& directory) {
    const auto about = directory.status();
    return (about.st_mode & (S_IWGRP | S_IWOTH)) != 0 || (about.st_uid != 0 && about.st_uid != geteuid());
}

fs::path targetOf(const Descriptor& link) {
    std::array<char, PATH_MAX> target{};
    const auto size = readlinkat(link.number(), "", target.data(), target.size());
    check(size > 0).orRefuse("a link");
    return std::string(target.data(), static_cast<std::size_t>(size));
}
} // namespace

Descriptor openTrustedDirectoryOf(const std::string& path, const std::string& what) {
    const auto directory = fs::path(path).parent_path();
    std::list<fs::path> parts(directory.begin(), directory.end());
    Descriptor here(open(".", O_PATH | O_DIRECTORY | O_CLOEXEC));
    check(here.isOpen()).orRefuse("the current directory");
    for (int links = 0; !parts.empty();) {
        const auto part = parts.front();
        parts.pop_front();
        // A path from the root has "/" as its first part, one with a slash at the end an empty last part.
        Descriptor next(
            openat(here.number(), part.empty() ? "." : part.c_str(), O_PATH | O_NOFOLLOW | O_CLOEXEC));
        check(next.isOpen()).orRefuse(what);
        if (!S_ISLNK(next.status().st_mode)) {
            here = std::move(next);
            continue;
        }
        refuseIf(isOpenToOthers(here),
                 what + " lies behind the link " + quote(part) + ", in a directory that others can write to");
        refuseIf(++links > MOST_LINKS, what + " lies behind too many links");
        const auto target = targetOf(next);
        parts.insert(parts.begin(), target.begin(), target.end());
    }
    return here;
}

} // namespace velacreate
