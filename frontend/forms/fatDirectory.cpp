#include "forms/fatDirectory.h"

#include "forms/fatEntry.h"
#include "forms/fatNames.h"
#include "forms/fatSectors.h"
#include "support/failure.h"

#include <algorithm>
#include <array>
#include <utility>

namespace velacreate {
namespace {
constexpr std::size_t ENTRY_SIZE = FAT_ENTRY_SIZE;

constexpr unsigned char BY_OTHERS = 0x27; ///< read-only, hidden, system, archive
constexpr unsigned char CASE_BITS = 0x18;

std::string inSmallLetters(std::string text) {
    for (char& letter : text) {
        letter = letter >= 'A' && letter <= 'Z' ? static_cast<char>(letter - 'A' + 'a') : letter;
    }
    return text;
}

class DirectoryReader {
public:
    DirectoryReader(const std::vector<unsigned char>& bytes, const FatDirectoryForm& form,
                    const FatDirectoryReports& reports)
        : m_bytes(bytes), m_form(form), m_reports(reports) {}

    std::vector<FatEntry> read() {
        readFirstEntries();
        const auto count = m_bytes.size() / ENTRY_SIZE;
        for (; m_index < count && entry()[0] != 0; ++m_index) {
            readEntry();
        }
        demandNoPieces();
        const auto behind = m_bytes.begin() + static_cast<std::ptrdiff_t>(m_index * ENTRY_SIZE);
        if (std::any_of(behind, m_bytes.end(), [](unsigned char byte) { return byte != 0; })) {
            fault("there is something behind the end of the directory");
        }
        return std::move(m_entries);
    }

private:
    const unsigned char* entry() const { return m_bytes.data() + m_index * ENTRY_SIZE; }

    void fault(const std::string& problem) { m_reports.fault(m_index, problem); }

    void vary(Variation variation, std::size_t offset, std::size_t size) {
        if (m_reports.variation) {
            m_reports.variation(variation, m_index * ENTRY_SIZE + offset, size);
        }
    }

    /// The label in the top directory; "." and ".." in all others.
    void readFirstEntries() {
        if (!m_form.isTop) {
            demandEntry(shortNameOf("."), FAT_DIRECTORY, m_form.cluster);
            demandEntry(shortNameOf(".."), FAT_DIRECTORY, m_form.parent);
        } else if (m_form.hasLabel) {
            demandEntry(shortNameOf(FAT_LABEL), FAT_LABEL_ENTRY, 0);
        }
    }

    void demandEntry(const FatShortName& name, unsigned char attributes, std::uint32_t cluster) {
        auto expected = entryOf(name, attributes, cluster);
        std::copy_n(entry() + CREATED_FIELD, CREATED_SIZE, expected.begin() + CREATED_FIELD);
        std::copy_n(entry() + WRITTEN_FIELD, WRITTEN_SIZE, expected.begin() + WRITTEN_FIELD);
        if (!std::equal(expected.begin(), expected.end(), entry())) {
            fault("it is not that of " + quote(textOf(name)));
        }
        varyTimes();
        ++m_index;
    }

    void varyTimes() {
        vary(Variation::timeStamp, CREATED_FIELD, CREATED_SIZE);
        vary(Variation::timeStamp, WRITTEN_FIELD, WRITTEN_SIZE);
    }

    void readEntry() {
        if (entry()[0] == FAT_DELETED) {
            demandNoPieces();
            vary(Variation::freeSpace, 0, ENTRY_SIZE);
        } else if ((entry()[ATTRIBUTES_FIELD] & FAT_LONG_NAME) == FAT_LONG_NAME) {
            readPiece();
        } else {
            readShortEntry();
            m_longName.clear();
            m_pieces = 0;
        }
    }

    void demandNoPieces() {
        if (m_pieces != 0) {
            fault("it does not go on with the long name before it");
            m_longName.clear();
            m_pieces = 0;
        }
    }

    /// The last piece of a long name comes first.
    void readPiece() {
        const unsigned order = entry()[0];
        const unsigned number = order & (LAST_PIECE - 1U);
        if (m_longName.empty() && (order & LAST_PIECE) != 0) {
            m_pieces = number + 1;
            m_checkSum = entry()[CHECK_SUM_FIELD];
        }
        if (number == 0 || number > MOST_PIECES || number + 1 != m_pieces ||
            order != (m_longName.empty() ? LAST_PIECE | number : number)) {
            fault("the pieces of a long name are not in order");
            m_longName.clear();
            m_pieces = 0;
            return;
        }
        m_pieces = number;
        if (entry()[ATTRIBUTES_FIELD] != FAT_LONG_NAME || entry()[CASE_FIELD] != 0 ||
            entry()[CHECK_SUM_FIELD] != m_checkSum || littleEndian(entry() + LOW_CLUSTER_FIELD, 2) != 0) {
            fault("its fields are not those of a piece of a long name");
        }
        std::u16string piece;
        for (const auto field : UNIT_FIELDS) {
            piece += static_cast<char16_t>(littleEndian(entry() + field, 2));
        }
        m_longName = (m_longName.empty() ? withoutPadding(piece) : piece) + m_longName;
    }

    std::u16string withoutPadding(const std::u16string& piece) {
        const auto end = piece.find(u'\0');
        if (end == std::u16string::npos) {
            return piece;
        }
        if (end == 0 || piece.find_first_not_of(NAME_PADDING, end + 1) != std::u16string::npos) {
            fault("the padding of its long name is wrong");
        }
        return end == 0 ? std::u16string(1, u'\0') : piece.substr(0, end);
    }

    void readShortEntry() {
        FatShortName shortName{};
        std::copy_n(entry(), shortName.size(), shortName.begin());
        FatEntry found;
        const auto text = textOf(shortName);
        const bool isAscii = text.find('?') == std::string::npos;
        found.shortName = isAscii ? text : text + "/" + std::string(shortName.begin(), shortName.end());
        found.name = m_longName.empty() ? withCase(text) : textOf(m_longName);
        found.isDirectory = (entry()[ATTRIBUTES_FIELD] & FAT_DIRECTORY) != 0;
        found.cluster = littleEndian(entry() + LOW_CLUSTER_FIELD, 2) |
                        littleEndian(entry() + HIGH_CLUSTER_FIELD, 2) << 16U;
        found.size = littleEndian(entry() + SIZE_FIELD, 4);
        m_isOfKernel = m_form.others == OtherFiles::none || (m_form.others == OtherFiles::tracesOfSystems &&
                                                             !isTraceOfSystem(found.name, m_form.isTop));
        const auto problem = nameProblem(shortName);
        if (!problem.empty()) {
            fault(problem);
        } else if (!hasAllowedAttributes()) {
            fault("the attributes of " + quote(found.name) + " are not those of a file or a directory");
        } else if (found.isDirectory && found.size != 0) {
            fault("the directory " + quote(found.name) + " has a size");
        }
        varyTimes();
        m_entries.push_back(std::move(found));
    }

    /// Other systems write no long name for a name in small letters.
    std::string withCase(const std::string& name) const {
        constexpr unsigned char SMALL_BASE = 0x08;
        constexpr unsigned char SMALL_EXTENSION = 0x10;
        const auto dot = std::min(name.find('.'), name.size());
        const auto base = name.substr(0, dot);
        const auto extension = name.substr(dot);
        return ((entry()[CASE_FIELD] & SMALL_BASE) != 0 ? inSmallLetters(base) : base) +
               ((entry()[CASE_FIELD] & SMALL_EXTENSION) != 0 ? inSmallLetters(extension) : extension);
    }

    std::string nameProblem(const FatShortName& shortName) const {
        const auto name = quote(textOf(shortName));
        if (m_pieces > 1) {
            return "a piece of its long name is missing";
        }
        if (!isShortName(shortName)) {
            return "its name is not allowed";
        }
        if (m_longName.empty()) {
            const bool isPlain = textOf(shortName).find('?') == std::string::npos;
            return isPlain || !m_isOfKernel ? "" : "its long name is missing";
        }
        if (!isLongName(m_longName)) {
            return "its long name is not allowed";
        }
        if (m_checkSum != checkSum(shortName)) {
            return "its short name " + name + " does not have the check sum in its long name";
        }
        return m_isOfKernel && !isFromLongName(shortName, m_longName)
                   ? "its short name " + name + " is not what the kernel makes of its long name"
                   : "";
    }

    bool hasAllowedAttributes() const {
        const unsigned char attributes = entry()[ATTRIBUTES_FIELD];
        if (!m_form.isFat32 && littleEndian(entry() + HIGH_CLUSTER_FIELD, 2) != 0) {
            return false;
        }
        if (m_isOfKernel) {
            return entry()[CASE_FIELD] == 0 && (attributes == FAT_ARCHIVE || attributes == FAT_DIRECTORY);
        }
        return (entry()[CASE_FIELD] & ~CASE_BITS) == 0 && (attributes & ~(BY_OTHERS | FAT_DIRECTORY)) == 0;
    }

    const std::vector<unsigned char>& m_bytes;
    const FatDirectoryForm& m_form;
    const FatDirectoryReports& m_reports;
    std::vector<FatEntry> m_entries;
    std::size_t m_index = 0;
    bool m_isOfKernel = true;  ///< whether only the kernel can have written the entry
    std::u16string m_longName; ///< as far as it has been read
    unsigned m_pieces = 0;     ///< the number of the last piece that was read; 0 before the first one
    unsigned char m_checkSum = 0;
};
} // namespace

std::vector<FatEntry> readFatDirectory(const std::vector<unsigned char>& bytes, const FatDirectoryForm& form,
                                       const FatDirectoryReports& reports) {
    return DirectoryReader(bytes, form, reports).read();
}

} // namespace velacreate
