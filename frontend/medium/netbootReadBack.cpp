#include "medium/readBack.h"

#include "support/failure.h"

#include <mediaRules.h>

#include <cerrno>

#include <fcntl.h>

namespace velacreate {

std::vector<std::string> compareNetbootDirectory(int jobDirectory, const Contents& contents,
                                                 const Descriptor& directory, const Advance& advance) {
    const std::string archiveName = "the archive " + quote(VelaCreation::NETBOOT_ARCHIVE);
    auto lines = compareDirectory(jobDirectory, contents.besideArchive, directory,
                                  {VelaCreation::NETBOOT_ARCHIVE}, advance);
    const auto archive =
        openBeneath(directory.number(), VelaCreation::NETBOOT_ARCHIVE, O_RDONLY | O_NONBLOCK | O_NOCTTY);
    if (!archive.isOpen()) {
        lines.push_back(archiveName +
                        (errno == ENOENT ? " is missing" : SystemError().about(" cannot be read")));
    } else if (!S_ISREG(archive.status().st_mode)) {
        lines.push_back(archiveName + " is not a file");
    } else {
        const auto inside = compareArchive(jobDirectory, contents.tree, archive, contents.added, advance);
        lines.insert(lines.end(), inside.begin(), inside.end());
    }
    return lines;
}

} // namespace velacreate
