#include "medium/readBack.h"

#include "support/failure.h"

#include <cerrno>

#include <fcntl.h>

namespace velacreate {

namespace {

const std::string ARCHIVE = "ks.zip";

} // namespace

std::vector<std::string> comparePackage(int workplace, const Contents& contents, const Descriptor& directory,
                                        const Advance& advance) {
    auto lines = compareDirectory(workplace, contents.loose, directory, {ARCHIVE}, advance);
    const auto archive = openBeneath(directory.number(), ARCHIVE, O_RDONLY | O_NONBLOCK | O_NOCTTY);
    if (!archive.isOpen()) {
        lines.push_back("the archive '" + ARCHIVE +
                        (errno == ENOENT ? "' is missing" : withError("' cannot be read")));
    } else if (!S_ISREG(archive.status().st_mode)) {
        lines.push_back("the archive '" + ARCHIVE + "' is not a file");
    } else {
        const auto inside = compareArchive(workplace, contents.tree, archive, contents.added, advance);
        lines.insert(lines.end(), inside.begin(), inside.end());
    }
    return lines;
}

} // namespace velacreate
