#include "medium/differences.h"
#include "medium/readBack.h"
#include "medium/sources.h"

#include "inputs/names.h"
#include "support/beneath.h"
#include "support/failure.h"

#include <algorithm>
#include <cerrno>
#include <map>
#include <system_error>

#include <fcntl.h>

namespace velacreate {
namespace {
class DirectoryComparison {
public:
    DirectoryComparison(int jobDirectory, const Descriptor& directory, const Advance& advance)
        : m_sources(jobDirectory), m_medium(directory.number()), m_advance(advance) {}

    void compare(const std::string& place, const Part& part) {
        const int flags = part.isDirectory ? O_PATH | O_DIRECTORY : O_RDONLY | O_NONBLOCK | O_NOCTTY;
        const Descriptor copy = m_medium.open(place, flags | O_NOFOLLOW);
        if (!copy.isOpen()) {
            addClosed(place, part);
        } else if (!part.isDirectory) {
            compareContent(place, part, copy);
        }
    }

    Differences& differences() { return m_differences; }

private:
    void addClosed(const std::string& place, const Part& part) {
        if (errno == ENOENT) {
            m_differences.addMissing(place, part);
        } else if (errno == ENOTDIR || errno == ELOOP) { // a file instead of a directory, or a link
            m_differences.addDiffering(place, part);
        } else {
            addUnreadable(place, part);
        }
    }

    void addUnreadable(const std::string& place, const Part& part) {
        m_differences.addUnreadable(place, part, std::generic_category().message(errno));
    }

    void compareContent(const std::string& place, const Part& part, const Descriptor& copy) {
        m_sources.enter(part);
        const Finding finding = compareFile(copy, m_sources, m_advance);
        if (finding == Finding::different) {
            m_differences.addDiffering(place, part);
        } else if (finding == Finding::unreadable) {
            addUnreadable(place, part);
        }
    }

    Sources m_sources;
    Beneath m_medium;
    const Advance& m_advance;
    Differences m_differences;
};

/// Does not look into unexpected directories.
class UnexpectedFiles {
public:
    UnexpectedFiles(const Tree& expected, const Descriptor& directory) : m_directory(directory) {
        for (const auto& [place, part] : expected) {
            m_expected[inCapitals(place)] = part.isDirectory;
        }
    }

    std::vector<std::string> run() {
        look("");
        while (!m_pending.empty()) {
            const std::string place = m_pending.back();
            m_pending.pop_back();
            look(place);
        }
        std::sort(m_unexpected.begin(), m_unexpected.end());
        return m_unexpected;
    }

private:
    void look(const std::string& place) {
        const Descriptor directory = openBeneath(m_directory.number(), place.empty() ? "." : place,
                                                 O_RDONLY | O_DIRECTORY | O_NOFOLLOW);
        if (!directory.isOpen()) {
            if (errno == ENOTDIR || errno == ELOOP) { // it is no directory
                return;
            }
            throw Failure(SystemError().about("the directory " + quote(place)));
        }
        forEachEntry(directory.number(), [&](const std::string& name) {
            const std::string inner = place.empty() ? name : place + "/" + name;
            const auto known = m_expected.find(inCapitals(inner));
            if (known == m_expected.end()) {
                m_unexpected.push_back(inner);
            } else if (known->second) {
                m_pending.push_back(inner);
            }
        });
    }

    const Descriptor& m_directory;
    std::map<std::string, bool> m_expected; ///< whether it is a directory
    std::vector<std::string> m_pending;
    std::vector<std::string> m_unexpected;
};

bool isIgnored(const std::vector<std::string>& ignored, const std::string& place) {
    const auto isSame = [&](const std::string& name) { return inCapitals(name) == inCapitals(place); };
    return std::any_of(ignored.begin(), ignored.end(), isSame);
}
} // namespace

std::vector<std::string> compareDirectory(int jobDirectory, const Tree& expected, const Descriptor& directory,
                                          const std::vector<std::string>& ignored, const Advance& advance) {
    DirectoryComparison comparison(jobDirectory, directory, advance);
    for (const auto& [place, part] : expected) {
        comparison.compare(place, part);
    }
    for (const std::string& place : unexpectedFiles(expected, directory)) {
        if (!isIgnored(ignored, place)) {
            comparison.differences().addUnexpected(place);
        }
    }
    return comparison.differences().lines();
}

std::vector<std::string> compareKeyFiles(int jobDirectory, const Contents& contents,
                                         const Descriptor& directory, const Advance& advance) {
    return compareDirectory(jobDirectory, contents.tree, directory, {}, advance);
}

std::vector<std::string> unexpectedFiles(const Tree& expected, const Descriptor& directory) {
    return UnexpectedFiles(expected, directory).run();
}

} // namespace velacreate
