#include "medium/differences.h"
#include "medium/readBack.h"
#include "medium/sources.h"

#include "inputs/names.h"
#include "support/archives.h"
#include "support/failure.h"

#include <algorithm>
#include <array>
#include <cerrno>
#include <climits>
#include <set>

#include <archive.h>
#include <archive_entry.h>
#include <unistd.h>

namespace velacreate {
namespace {
ArchiveReader::Format formatOf(const Descriptor& archive) {
    std::array<char, 4> start{};
    const bool isRead =
        pread(archive.number(), start.data(), start.size(), 0) == static_cast<ssize_t>(start.size());
    const bool isZip = isRead && start == std::array<char, 4>{'P', 'K', '\3', '\4'};
    return isZip ? ArchiveReader::Format::zip : ArchiveReader::Format::iso9660;
}

/// @return the name without a slash at the end
std::string placeOf(archive_entry* entry) {
    const char* name = archive_entry_pathname(entry);
    std::string place = name != nullptr ? name : "";
    if (!place.empty() && place.back() == '/') {
        place.pop_back();
    }
    return place;
}

class ArchiveComparison {
public:
    ArchiveComparison(int jobDirectory, const Tree& expected, const Descriptor& archive,
                      const std::vector<std::string>& ignored, const Advance& advance)
        : m_workplace(jobDirectory), m_expected(expected), m_ignored(ignored), m_advance(advance),
          m_sources(jobDirectory), m_reader(archive, formatOf(archive), BLOCK_SIZE) {}

    std::vector<std::string> run() {
        while (goOn()) {
            compareEntry();
        }
        compareLinked();
        addUnexpected();
        if (m_end.empty()) {
            addMissing();
            return m_differences.lines();
        }
        std::vector<std::string> lines = m_differences.lines();
        lines.push_back("it cannot be read to its end: " + m_end);
        return lines;
    }

private:
    /// A file that shares its stored bytes with a file before it.
    struct Linked {
        std::string place;
        std::string stored;
    };

    bool goOn() {
        if (!m_end.empty()) {
            return false;
        }
        const int result = m_reader.next();
        if (result < ARCHIVE_WARN) {
            m_end = problem();
        }
        return result == ARCHIVE_OK || result == ARCHIVE_WARN;
    }

    /// @return what is wrong with the archive. Errors of the file that holds it are failures.
    std::string problem() const {
        if (m_reader.problemNumber() == EIO) {
            throw Failure("reading it back: " + m_reader.problem());
        }
        return m_reader.problem();
    }

    void compareEntry() {
        const std::string place = placeOf(m_reader.entry());
        if (place.empty() || place == "." || isIgnored(place)) {
            return;
        }
        if (place.size() > PATH_MAX) { // nothing expected is that long, and memory is limited
            m_unexpected.insert(place);
            return;
        }
        for (const std::string& ancestor : ancestorsOf(place)) {
            m_implied.insert(ancestor);
        }
        if (!m_seen.insert(place).second) {
            m_differences.addTwice(place);
        } else if (const auto part = m_expected.find(place); part == m_expected.end()) {
            m_unexpected.insert(place);
        } else {
            comparePart(place, part->second);
        }
    }

    void comparePart(const std::string& place, const Part& part) {
        if (archive_entry_filetype(m_reader.entry()) != (part.isDirectory ? AE_IFDIR : AE_IFREG)) {
            m_differences.addDiffering(place, part);
        } else if (const char* stored = archive_entry_hardlink(m_reader.entry()); stored != nullptr) {
            m_linked.push_back({place, stored});
        } else if (!part.isDirectory) {
            compareContent(place, part);
        }
    }

    void compareContent(const std::string& place, const Part& part) {
        m_sources.enter(part);
        std::uint64_t position = 0;
        int result = ARCHIVE_OK;
        while (result == ARCHIVE_OK) {
            ArchiveReader::Block block{};
            result = m_reader.read(block);
            if (result < ARCHIVE_OK) {
                addUnreadable(place, part, result);
                return;
            }
            const bool isSame = block.size == 0 || (block.offset == position &&
                                                    m_sources.hold(position, block.data, block.size));
            if (!isSame) {
                m_differences.addDiffering(place, part);
                return;
            }
            position += block.size;
            m_advance(block.size);
        }
        if (position == part.size) {
            m_same.insert(place);
        } else {
            m_differences.addDiffering(place, part);
        }
    }

    void addUnreadable(const std::string& place, const Part& part, int result) {
        m_differences.addUnreadable(place, part, problem());
        if (result == ARCHIVE_FATAL) {
            m_end = problem();
        }
    }

    /// The bytes are stored once, and were right for the other file.
    void compareLinked() {
        Sources others(m_workplace);
        for (const auto& [place, stored] : m_linked) {
            const Part& part = m_expected.at(place);
            if (m_same.count(stored) == 0) {
                m_differences.addDiffering(place, part);
                continue;
            }
            m_sources.enter(part);
            others.enter(m_expected.at(stored));
            const Finding finding = compareFile(others.current(), m_sources, m_advance);
            if (finding == Finding::unreadable) {
                throw Failure(SystemError().about("reading the source " + quote(stored)));
            }
            if (finding == Finding::different) {
                m_differences.addDiffering(place, part);
            }
        }
    }

    void addUnexpected() {
        for (const std::string& place : m_unexpected) {
            m_differences.addUnexpected(place);
        }
    }

    /// A directory also exists when only the paths of its files name it. libarchive leaves out a directory
    /// with the name of the one for deep directories.
    void addMissing() {
        for (const auto& [place, part] : m_expected) {
            if (m_seen.count(place) > 0 || isIgnored(place) ||
                (part.isDirectory && m_implied.count(place) > 0)) {
                continue;
            }
            m_differences.addMissing(place, part);
        }
    }

    bool isIgnored(const std::string& place) const {
        return std::find(m_ignored.begin(), m_ignored.end(), topOf(place)) != m_ignored.end();
    }

    int m_workplace;
    const Tree& m_expected;
    const std::vector<std::string>& m_ignored;
    const Advance& m_advance;
    Sources m_sources;
    ArchiveReader m_reader;

    std::set<std::string> m_seen;
    std::set<std::string> m_implied; ///< directories that paths name
    std::set<std::string> m_same;
    std::set<std::string> m_unexpected;
    std::vector<Linked> m_linked;
    std::string m_end; ///< why the rest cannot be read
    Differences m_differences;
};
} // namespace

std::vector<std::string> compareArchive(int jobDirectory, const Tree& expected, const Descriptor& archive,
                                        const std::vector<std::string>& ignored, const Advance& advance) {
    return ArchiveComparison(jobDirectory, expected, archive, ignored, advance).run();
}

} // namespace velacreate
