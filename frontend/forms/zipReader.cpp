#include "forms/zipReader.h"

#include "forms/zipData.h"
#include "forms/zipHeaders.h"
#include "inputs/names.h"
#include "support/failure.h"

#include <algorithm>
#include <optional>
#include <set>

namespace velacreate {
namespace {
std::string textAt(MediumBytes& medium, std::uint64_t offset, std::uint64_t size) {
    std::string text(size, '\0');
    medium.read(offset, text.data(), text.size());
    return text;
}

/// Reads the directory and the members side by side.
class ZipExamination {
public:
    ZipExamination(const Examination& examination, const Tree& expected)
        : m_examination(examination), m_expected(expected),
          m_directory(examination.medium.file(), examination.medium.size()) {}

    void run() {
        if (!readEnd()) {
            return;
        }
        while (m_entry < m_end.offset()) {
            if (!examineMember()) {
                return;
            }
        }
        examineEnd();
        addMissing();
    }

private:
    bool readEnd() {
        const auto size = m_directory.size();
        if (size < ZIP_END_SIZE) {
            addForm("the end record is missing");
            return false;
        }
        const auto count = std::min<std::uint64_t>(size, ZIP_LARGE_END_SIZE + ZIP_END_SIZE);
        const auto bytes = textAt(m_directory, size - count, count);
        m_end = endOf(bytes, size);
        const auto records = endRecords(m_end);
        if (const auto* field = records.findDiffering(bytes.substr(bytes.size() - records.size()))) {
            addForm(std::string("the end record differs in ") + field);
            return false;
        }
        if (m_end.directory.offset > size || m_end.directory.size > size ||
            m_end.offset() != size - records.size()) {
            addForm("the directory does not end where the end record begins");
            return false;
        }
        m_entry = m_end.directory.offset;
        return true;
    }

    /// A wrong header is the last that is read: where the next one should be is no longer known.
    /// @return whether to go on
    bool examineMember() {
        const auto found = readEntry();
        if (!found) {
            addForm(rangeText({m_entry, m_end.offset() - m_entry}) + " are no directory entry");
            return false;
        }
        adoptStyle(m_style, *found);
        const auto member = memberOf(*found, m_position, m_style);
        const auto entry = directoryEntry(member, m_style);
        if (!isAsExpected("the directory entry", member, entry, *found, m_entry)) {
            return false;
        }
        const auto header = localHeader(member, m_style, "");
        const auto room = m_end.directory.offset - m_position;
        if (header.size() > room || member.storedSize > room - header.size()) {
            addForm(quote(member.name) + " reaches into the directory");
            return false;
        }
        if (!hasLocalHeader(member, header.size())) {
            return false;
        }
        compareMember(member, m_position + header.size());
        if (m_unexpected > MOST_UNEXPECTED) {
            reportTooMany(m_examination.differences);
            return false;
        }
        ++m_count;
        m_needsLarge = m_needsLarge || member.isLarge();
        m_entry += entry.size();
        m_position += header.size() + member.storedSize;
        return true;
    }

    /// @return an entry with its name and extra fields; none when it is longer than the directory
    std::optional<std::string> readEntry() {
        const auto left = m_end.offset() - m_entry;
        if (left < ZIP_ENTRY_SIZE) {
            return std::nullopt;
        }
        const auto size = ZIP_ENTRY_SIZE + tailOf(textAt(m_directory, m_entry, ZIP_ENTRY_SIZE)).size();
        return size <= left ? std::optional(textAt(m_directory, m_entry, size)) : std::nullopt;
    }

    bool hasLocalHeader(const ZipMember& member, std::size_t size) {
        const auto found = textAt(m_examination.medium, m_position, size);
        return isAsExpected("the local header", member, localHeader(member, m_style, found), found,
                            m_position);
    }

    bool isAsExpected(const std::string& kind, const ZipMember& member, const ZipHeader& expected,
                      const std::string& found, std::uint64_t offset) {
        if (const auto* field = expected.findDiffering(found)) {
            addForm(kind + " of " + quote(member.name) + " differs in " + field);
            return false;
        }
        expected.reportVariations(m_examination, offset);
        return true;
    }

    void compareMember(const ZipMember& member, std::uint64_t data) {
        auto place = member.name;
        if (member.isDirectory) {
            place.pop_back();
        }
        auto& differences = m_examination.differences;
        const auto expected = m_expected.find(place);
        if (expected == m_expected.end()) {
            differences.addUnexpected(place);
            ++m_unexpected;
            return;
        }
        if (!m_seen.insert(place).second) {
            differences.addTwice(place);
            ++m_unexpected;
            return;
        }
        if (const auto above = ancestorsOf(place); !above.empty() && m_seen.count(above.back()) == 0) {
            addForm(quote(place) + " comes before its directory");
        }
        const auto& part = expected->second;
        if (part.isDirectory != member.isDirectory || (!part.isDirectory && part.size != member.size)) {
            differences.addDiffering(place, part);
        } else if (!part.isDirectory) {
            compareZipData(m_examination, member, place, part, data);
        }
    }

    void examineEnd() {
        if (m_position < m_end.directory.offset) {
            reportUnclaimed({m_position, m_end.directory.offset - m_position}, m_examination.differences);
        }
        if (m_count != m_end.count) {
            addForm("the end record differs in the number of members");
        }
        if (m_end.isLarge != (m_needsLarge || m_end.needsLarge())) {
            addForm("the end record does not have the form for the archive's size");
        }
    }

    void addMissing() {
        for (const auto& [place, part] : m_expected) {
            if (m_seen.count(place) == 0) {
                m_examination.differences.addMissing(place, part);
            }
        }
    }

    void addForm(const std::string& line) { m_examination.differences.addForm(line); }

    const Examination& m_examination;
    const Tree& m_expected;
    MediumBytes m_directory; ///< has a buffer of its own
    ZipEnd m_end{};
    ZipStyle m_style;
    bool m_needsLarge = false;
    std::uint64_t m_entry = 0;    ///< where the next entry of the directory begins
    std::uint64_t m_position = 0; ///< where the next member begins
    std::uint64_t m_count = 0;
    std::set<std::string> m_seen;
    std::size_t m_unexpected = 0;
};
} // namespace

void examineZip(const Examination& examination, const Tree& expected) {
    ZipExamination(examination, expected).run();
}

} // namespace velacreate
