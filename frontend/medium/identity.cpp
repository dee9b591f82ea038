#include "medium/identity.h"

namespace velacreate {

MediumIdentity identityOf(const std::string& name, const std::string& node, const DiskDescription& about) {
    return {name, node, about.port, about.serial, ""};
}

MediumIdentity identityOf(const std::string& name, const std::string& path) {
    struct stat found {};
    return stat(path.c_str(), &found) == 0 && S_ISBLK(found.st_mode)
               ? identityOf(name, path, describe(diskOf(found.st_rdev)))
               : MediumIdentity{name, "", "", "", ""};
}

} // namespace velacreate
