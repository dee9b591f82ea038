#include "support/beneath.h"

#include <fcntl.h>
#include <sys/stat.h>

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

} // namespace velacreate
