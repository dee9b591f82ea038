#include "medium/packageFiles.h"
#include "medium/readBack.h"

#include "support/failure.h"

#include <cerrno>

#include <fcntl.h>

namespace velacreate {

std::vector<std::string> comparePackage(int workplace, const Contents& contents, const Descriptor& directory,
                                        const Advance& advance) {
    const std::string archiveName = "the archive " + shown(PACKAGE_ARCHIVE);
    auto lines = compareDirectory(workplace, contents.loose, directory, {PACKAGE_ARCHIVE}, advance);
    const auto archive = openBeneath(directory.number(), PACKAGE_ARCHIVE, O_RDONLY | O_NONBLOCK | O_NOCTTY);
    if (!archive.isOpen()) {
        lines.push_back(archiveName + (errno == ENOENT ? " is missing" : withError(" cannot be read")));
    } else if (!S_ISREG(archive.status().st_mode)) {
        lines.push_back(archiveName + " is not a file");
    } else {
        const auto inside = compareArchive(workplace, contents.tree, archive, contents.added, advance);
        lines.insert(lines.end(), inside.begin(), inside.end());
    }
    return lines;
}

} // namespace velacreate
