#include "forms/fatDirectoryWriter.h"

#include "forms/fatEntry.h"
#include "forms/fatSectors.h"

#include <set>
#include <string>

namespace velacreate {
namespace {
/// As the fields hold it.
struct FatTime {
    unsigned hundredths; ///< of two seconds
    unsigned time;
    unsigned date;
};

FatTime fatTimeOf(std::time_t time) {
    constexpr int FIRST_YEAR = 80;
    tm parts{};
    gmtime_r(&time, &parts);
    const auto field = [](int value, unsigned shift) { return static_cast<unsigned>(value) << shift; };
    return {field(parts.tm_sec % 2 * 100, 0),
            field(parts.tm_hour, 11) | field(parts.tm_min, 5) | field(parts.tm_sec / 2, 0),
            field(parts.tm_year - FIRST_YEAR, 9) | field(parts.tm_mon + 1, 5) | field(parts.tm_mday, 0)};
}

class DirectoryWriter {
public:
    DirectoryWriter(const FatDirectoryForm& form, std::time_t time) : m_form(form), m_time(fatTimeOf(time)) {}

    std::vector<unsigned char> write(const std::vector<FatEntry>& entries) {
        addFirstEntries();
        takeWholeNames(entries);
        for (const auto& entry : entries) {
            add(entry);
        }
        return m_bytes;
    }

private:
    void addFirstEntries() {
        if (!m_form.isTop) {
            add(entryOf(shortNameOf("."), FAT_DIRECTORY, m_form.cluster));
            add(entryOf(shortNameOf(".."), FAT_DIRECTORY, m_form.parent));
        } else if (m_form.hasLabel) {
            add(entryOf(shortNameOf(FAT_LABEL), FAT_LABEL_ENTRY, 0));
        }
    }

    /// A name that is made up must be none of these.
    void takeWholeNames(const std::vector<FatEntry>& entries) {
        for (const auto& entry : entries) {
            const auto name = longNameOf(entry.name);
            if (fitsShortName(name)) {
                m_taken.insert(newShortName(name, m_taken));
            }
        }
    }

    void add(const FatEntry& entry) {
        const auto name = longNameOf(entry.name);
        const auto shortName = newShortName(name, m_taken);
        m_taken.insert(shortName);
        if (!needsNoLongName(name)) {
            addPieces(name, checkSum(shortName));
        }
        auto bytes = entryOf(shortName, entry.isDirectory ? FAT_DIRECTORY : FAT_ARCHIVE, entry.cluster);
        putLittleEndian(&bytes[SIZE_FIELD], 4, entry.size);
        add(bytes);
    }

    void addPieces(std::u16string name, unsigned char sum) {
        if (name.size() % PIECE_UNITS != 0) {
            name += u'\0';
            name.resize((name.size() + PIECE_UNITS - 1) / PIECE_UNITS * PIECE_UNITS, NAME_PADDING);
        }
        const auto count = name.size() / PIECE_UNITS;
        for (auto number = count; number > 0; --number) {
            FatEntryBytes piece{};
            piece[0] = static_cast<unsigned char>(number | (number == count ? LAST_PIECE : 0U));
            piece[ATTRIBUTES_FIELD] = FAT_LONG_NAME;
            piece[CHECK_SUM_FIELD] = sum;
            for (std::size_t unit = 0; unit < PIECE_UNITS; ++unit) {
                putLittleEndian(&piece[UNIT_FIELDS[unit]], 2, name[(number - 1) * PIECE_UNITS + unit]);
            }
            append(piece);
        }
    }

    void add(FatEntryBytes entry) {
        entry[CREATED_FIELD] = static_cast<unsigned char>(m_time.hundredths);
        putLittleEndian(&entry[CREATED_FIELD + 1], 2, m_time.time);
        putLittleEndian(&entry[CREATED_FIELD + 3], 2, m_time.date);
        putLittleEndian(&entry[CREATED_FIELD + 5], 2, m_time.date); // of the last access
        putLittleEndian(&entry[WRITTEN_FIELD], 2, m_time.time);
        putLittleEndian(&entry[WRITTEN_FIELD + 2], 2, m_time.date);
        append(entry);
    }

    void append(const FatEntryBytes& entry) { m_bytes.insert(m_bytes.end(), entry.begin(), entry.end()); }

    const FatDirectoryForm& m_form;
    FatTime m_time;
    std::set<FatShortName> m_taken;
    std::vector<unsigned char> m_bytes;
};
} // namespace

std::vector<unsigned char> fatDirectoryOf(const FatDirectoryForm& form, const std::vector<FatEntry>& entries,
                                          std::time_t time) {
    return DirectoryWriter(form, time).write(entries);
}

} // namespace velacreate
