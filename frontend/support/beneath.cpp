#include "support/beneath.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

namespace velacreate {
namespace {
std::string parentOf(const std::string& path) {
    const std::size_t slash = path.rfind('/');
    return slash == std::string::npos ? "" : path.substr(0, slash);
}

std::string nameOf(const std::string& path) {
    return path.substr(path.rfind('/') + 1);
}
} // namespace

int Beneath::enter(const std::string& path) {
    const std::string parent = parentOf(path);
    if (parent.empty()) {
        return m_top;
    }
    if (parent != m_where || !m_open.isOpen()) {
        m_where = parent;
        m_open = openBeneath(m_top, parent, O_PATH | O_DIRECTORY);
    }
    return m_open.number();
}

Descriptor Beneath::open(const std::string& path, int flags, unsigned mode) {
    const int directory = enter(path);
    return directory < 0 ? Descriptor() : openBeneath(directory, nameOf(path), flags, mode);
}

bool Beneath::makeDirectory(const std::string& path, unsigned mode) {
    const int directory = enter(path);
    return directory >= 0 && mkdirat(directory, nameOf(path).c_str(), mode) == 0;
}

void Beneath::removeDirectory(const std::string& path) {
    if (const int directory = enter(path); directory >= 0) {
        unlinkat(directory, nameOf(path).c_str(), AT_REMOVEDIR);
    }
}

std::vector<std::string> visitTree(int top, const VisitEntry& visit) {
    std::vector<std::string> directories = {""};
    for (std::size_t next = 0; next < directories.size(); ++next) {
        const auto path = directories[next];
        const auto directory = openWithin(top, path.empty() ? "." : path, O_RDONLY | O_DIRECTORY);
        if (!directory.isOpen()) {
            continue;
        }
        forEachEntry(directory.number(), [&](const std::string& name) {
            if (visit(directory, path, name)) {
                directories.push_back(pathBelow(path, name));
            }
        });
    }
    directories.erase(directories.begin());
    return directories;
}

std::string pathBelow(const std::string& directory, const std::string& name) {
    return directory + (directory.empty() ? "" : "/") + name;
}

} // namespace velacreate
