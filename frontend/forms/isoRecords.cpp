#include "forms/isoRecords.h"

#include <algorithm>

#include <sys/stat.h>

namespace velacreate {
namespace {
using namespace std::literals;

constexpr std::size_t HEADER = 33; ///< before the identifier
constexpr std::size_t ENTRY_HEADER = 4;
constexpr std::size_t NAME_HEADER = 5;
constexpr const char* VERSION = ";1";

std::string entryHeader(const char* signature, std::size_t size) {
    return signature + littleEndian(size, 1) + '\1';
}

std::string continuationEntry(const ByteRange& range) {
    return entryHeader("CE", 28) + bothEndian(range.offset / ISO_BLOCK, 4) +
           bothEndian(range.offset % ISO_BLOCK, 4) + bothEndian(range.size, 4);
}

std::string extensionEntry() {
    return entryHeader("ER", 237) +
           "\x0a\x54\x87\1RRIP_1991ATHE ROCK RIDGE INTERCHANGE PROTOCOL PROVIDES SUPPORT FOR POSIX FILE "
           "SYSTEM "
           "SEMANTICSPLEASE CONTACT DISC PUBLISHER FOR SPECI"
           "FICATION SOURCE.  SEE PUBLISHER IDENTIFIER IN "
           "PRIMARY VOLUME DESCRIPTOR FOR CONTACT INFORMATION.";
}

/// The Rock Ridge entries of one record.
class SystemUse {
public:
    SystemUse(IsoMedium& medium, IsoFields& fields, const std::vector<IsoContinuation>& continued,
              const std::string& place, IsoContinuations& continuations)
        : m_medium(medium), m_fields(fields), m_continued(continued), m_place(place),
          m_continuations(continuations) {}

    void examine(IsoEntry entry, const std::string& name, bool isDirectory, bool isTopItself) {
        const bool isNamed = entry == IsoEntry::named;
        if (isTopItself) {
            expect("the sharing protocol's entry", entryHeader("SP", 7) + "\xbe\xef\0"s);
        }
        if (!m_medium.isFromXorriso()) {
            expect("the Rock Ridge entry", entryHeader("RR", 5) + (isNamed ? '\x89' : '\x81'));
            examineName(name);
        }
        examineMode(isDirectory);
        expect("the entry of the times", entryHeader("TF", 26) + '\xe');
        m_fields.vary("the times", 21, Variation::timeStamp);
        if (m_medium.isFromXorriso()) {
            examineName(name);
        }
        if (isTopItself) {
            expect("the extension's entry", extensionEntry());
        }
        skipPadding();
    }

private:
    /// The next entry may be elsewhere.
    void expect(const char* field, const std::string& value) {
        follow();
        m_fields.expect(field, value);
    }

    void follow() {
        while (m_followed < m_continued.size() && m_fields.rest().substr(0, 2) == "CE") {
            const auto& [bytes, offset] = m_continued[m_followed];
            const ByteRange range{offset, bytes.size()};
            m_fields.expect("the entry of the continuation", continuationEntry(range));
            skipPadding();
            if (!m_fields.rest().empty()) {
                m_fields.fail("what is behind the entry of the continuation");
            }
            if (m_followed > 0 && range.offset % ISO_BLOCK != 0) {
                m_fields.fail("the place of the second continuation");
            }
            ++m_followed;
            m_continuations.add(m_medium, m_place, range);
            m_fields.continueAt({bytes, offset});
        }
    }

    /// Records have an even length.
    void skipPadding() {
        if (m_followed == 0 && m_fields.rest().size() == 1) {
            m_fields.expect("the padding", 1, '\0');
        }
    }

    /// A long name is in two entries.
    void examineName(std::string_view name) {
        for (int entry = 0; entry < 2 && !name.empty(); ++entry) {
            follow();
            const auto rest = m_fields.rest();
            const std::size_t size = rest.size() > NAME_HEADER ? numberIn(rest, 2, 1) : 0;
            const auto piece = name.substr(0, std::max(size, NAME_HEADER) - NAME_HEADER);
            name.remove_prefix(piece.size());
            m_fields.expect("the name", entryHeader("NM", NAME_HEADER + piece.size()) +
                                            (name.empty() ? '\0' : '\1') + std::string(piece));
        }
        if (!name.empty()) {
            m_fields.fail("the name");
        }
    }

    void examineMode(bool isDirectory) {
        constexpr std::uint32_t permissions = 0777;
        expect("the entry of the mode", entryHeader("PX", 36));
        m_fields.varyNumber("the mode", Variation::mode, ~permissions, isDirectory ? S_IFDIR : S_IFREG);
        for (const char* field : {"the number of links", "the owner", "the group"}) {
            m_fields.varyNumber(field, Variation::owner, 0, 0);
        }
    }

    IsoMedium& m_medium;
    IsoFields& m_fields;
    const std::vector<IsoContinuation>& m_continued;
    const std::string& m_place;
    IsoContinuations& m_continuations;
    std::size_t m_followed = 0;
};
} // namespace

void IsoContinuations::add(IsoMedium& medium, const std::string& place, const ByteRange& range) {
    const auto start = medium.isFromXorriso() ? m_end : m_end + m_end % 2;
    const bool isInPlace = range.offset == start || range.offset == offsetOf(blocksOf(start));
    if (!isInPlace || range.size == 0) {
        medium.add(place, "unexpected place of the continuation");
        return;
    }
    medium.expectZero(place, m_end, range.offset - m_end);
    m_end = range.offset + range.size;
}

void IsoContinuations::end(IsoMedium& medium, const std::string& place) const {
    const auto end = offsetOf(blocksOf(m_end));
    const auto count = end / ISO_BLOCK - m_first;
    if (medium.claim(place, m_first, count)) {
        medium.expectZero(place, m_end, end - m_end);
    }
}

IsoRecord::IsoRecord(const IsoMedium& medium, IsoTreeKind kind, const IsoBytes& bytes)
    : m_kind(kind), m_bytes(bytes) {
    const std::size_t length = numberIn(bytes.data, 0, 1);
    if (length <= HEADER || length > bytes.data.size()) {
        return;
    }
    m_bytes.data = bytes.data.substr(0, length);
    const std::size_t size = numberIn(m_bytes.data, HEADER - 1, 1);
    m_systemUse = HEADER + size + (size % 2 == 0 ? 1 : 0);
    if (size == 0 || m_systemUse > length) {
        return;
    }
    m_isWhole = true;
    m_rawIdentifier = m_bytes.data.substr(HEADER, size);
    m_extent = {numberIn(m_bytes.data, 2), numberIn(m_bytes.data, 10)};
    m_isDirectory = (numberIn(m_bytes.data, 25, 1) & 2) != 0;
    decodeIdentifier(medium.isFromXorriso());
    if (kind == IsoTreeKind::primary) {
        findName(medium);
    }
}

void IsoRecord::decodeIdentifier(bool hasVersions) {
    const std::size_t width = m_kind == IsoTreeKind::joliet ? 2 : 1;
    for (std::size_t at = 0; at + width <= m_rawIdentifier.size(); at += width) {
        m_identifier +=
            static_cast<char16_t>(numberIn(bigEndian(numberIn(m_rawIdentifier, at, width), width), 0, width));
    }
    const auto version = m_identifier.size() - std::min<std::size_t>(m_identifier.size(), 2);
    if (hasVersions && m_kind == IsoTreeKind::primary && !m_isDirectory &&
        m_identifier.substr(version) == u";1") {
        m_identifier.resize(version);
    }
}

void IsoRecord::findName(const IsoMedium& medium) {
    ByteRange next{};
    const auto read = [&](std::string_view entries) {
        next = {};
        while (entries.size() > ENTRY_HEADER) {
            const std::size_t size = numberIn(entries, 2, 1);
            if (size < NAME_HEADER - 1 || size > entries.size()) {
                return;
            }
            const auto signature = entries.substr(0, 2);
            if (signature == "NM" && size > NAME_HEADER) {
                m_name += entries.substr(NAME_HEADER, size - NAME_HEADER);
            } else if (signature == "CE" && size == 28 && numberIn(entries, 12) < ISO_BLOCK) {
                next = {offsetOf(numberIn(entries, 4)) + numberIn(entries, 12), numberIn(entries, 20)};
            }
            entries.remove_prefix(size);
        }
    };
    read(m_bytes.data.substr(m_systemUse));
    const std::size_t most = medium.isFromXorriso() ? 2 : 1;
    while (next.size > 0 && m_continued.size() < most) {
        const auto inBlock = next.offset % ISO_BLOCK;
        const bool isThere = inBlock + next.size <= ISO_BLOCK &&
                             medium.has(static_cast<std::uint32_t>(next.offset / ISO_BLOCK), 1);
        m_continued.push_back({isThere ? medium.read(next.offset, next.size) : "", next.offset});
        read(m_continued.back().bytes);
    }
}

void IsoRecord::examine(IsoMedium& medium, const std::string& place, IsoEntry entry, const IsoExtent& extent,
                        bool isTop, IsoContinuations& continuations) const {
    IsoFields fields(medium, place, m_bytes);
    fields.expect("the length", littleEndian(length() + length() % 2, 1));
    fields.expect("the length of the extended attributes", 1, '\0');
    fields.expect("the place", bothEndian(extent.block, 4));
    fields.expect("the size", bothEndian(extent.size, 4));
    fields.vary("the time", 7, Variation::timeStamp);
    fields.expect("the flags", 1, m_isDirectory ? '\2' : '\0');
    fields.expect("the interleaving", 2, '\0');
    fields.expect("the volume number", bothEndian(1, 2));
    const auto identifier = rawIdentifierOf(entry, medium.isFromXorriso());
    fields.expect("the length of the identifier", littleEndian(identifier.size(), 1));
    fields.expect("the identifier", identifier);
    if (identifier.size() % 2 == 0) {
        fields.expect("the padding", 1, '\0');
    }
    if (m_kind == IsoTreeKind::primary) {
        const bool isTopItself = isTop && entry == IsoEntry::self;
        const auto first = m_continued.empty() ? 0 : m_continued.front().offset;
        IsoContinuations apart(static_cast<std::uint32_t>(first / ISO_BLOCK));
        const bool isApart = isTopItself && !medium.isFromXorriso();
        SystemUse(medium, fields, m_continued, place, isApart ? apart : continuations)
            .examine(entry, m_name, m_isDirectory, isTopItself);
        apart.end(medium, place);
    }
    fields.end();
}

std::string IsoRecord::rawIdentifierOf(IsoEntry entry, bool hasVersions) const {
    std::string raw;
    if (entry != IsoEntry::named) {
        raw += entry == IsoEntry::self ? '\0' : '\1';
        return raw;
    }
    for (const auto character : m_identifier) {
        raw += bigEndian(character, m_kind == IsoTreeKind::joliet ? 2 : 1);
    }
    return raw + (m_kind == IsoTreeKind::primary && !m_isDirectory && hasVersions ? VERSION : "");
}

std::string asciiOf(const std::u16string& identifier) {
    std::string text;
    for (const auto character : identifier) {
        text += character < 0x80 ? static_cast<char>(character) : '?';
    }
    return text;
}

std::string nameOf(const IsoRecord& record) {
    return record.name().empty() ? asciiOf(record.identifier()) : record.name();
}

} // namespace velacreate
