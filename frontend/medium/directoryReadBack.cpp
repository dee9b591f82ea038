#include "medium/readBack.h"

#include "forms/examination.h"
#include "support/beneath.h"
#include "support/failure.h"

#include <algorithm>
#include <cerrno>

#include <fcntl.h>

namespace velacreate {
namespace {
void compareFile(const Comparison& comparison, const Descriptor& file, const std::string& place,
                 const Part& part, Differences& differences) {
    refuseSpecialMode(file, place, differences);
    const auto size = sizeOf(file);
    if (size != part.size) {
        differences.addDiffering(place, part);
        return;
    }
    MediumBytes bytes(file, size);
    const ReportVariation noReport;
    compareContent({bytes, comparison.sources, differences, comparison.advance, noReport}, place, part, 0);
}

void compare(const Comparison& comparison, Beneath& directory, const std::string& place, const Part& part,
             Differences& differences) {
    const auto what = quote(place);
    const auto opened = directory.open(place, part.isDirectory ? O_PATH | O_DIRECTORY | O_NOFOLLOW : TO_READ);
    if (opened.isOpen() && part.isDirectory) {
        return;
    }
    refuseOtherThanFile(opened, what);
    if (opened.isOpen()) {
        compareFile(comparison, opened, place, part, differences);
    } else if (errno == ENOENT) {
        differences.addMissing(place, part);
    } else {
        check(errno == ENOTDIR).orFail(what);
        differences.addDiffering(place, part);
    }
}

/// Does not look into unexpected directories.
void addUnexpected(const Descriptor& directory, const std::string& place, const Tree& expected,
                   const std::vector<std::string>& ignored, Differences& differences) {
    const auto here =
        openBeneath(directory.number(), place.empty() ? "." : place, O_RDONLY | O_DIRECTORY | O_NOFOLLOW);
    if (!here.isOpen() && (errno == ENOENT || errno == ENOTDIR)) {
        return; // this is known already
    }
    check(here.isOpen()).orFail("the directory " + quote(place));
    forEachEntry(here.number(), [&](const std::string& name) {
        const auto inner = pathBelow(place, name);
        const auto known = expected.find(inner);
        if (known != expected.end() && known->second.isDirectory) {
            addUnexpected(directory, inner, expected, {}, differences);
        } else if (known == expected.end() &&
                   std::find(ignored.begin(), ignored.end(), name) == ignored.end()) {
            differences.addUnexpected(inner);
        }
    });
}
} // namespace

void refuseSpecialMode(const Descriptor& file, const std::string& place, Differences& differences) {
    if ((file.status().st_mode & (S_ISUID | S_ISGID | S_ISVTX)) != 0) {
        differences.addForm(quote(place) + " has a mode with setuid, setgid or sticky");
    }
}

void compareDirectory(const Comparison& comparison, const Tree& expected,
                      const std::vector<std::string>& ignored, Differences& differences) {
    Beneath directory(comparison.medium.file.number());
    for (const auto& [place, part] : expected) {
        compare(comparison, directory, place, part, differences);
    }
    addUnexpected(comparison.medium.file, "", expected, ignored, differences);
}

} // namespace velacreate
