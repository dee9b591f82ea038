/// @file
/// The headers of a zip archive, as Debian's zip 3.0 writes them.
#pragma once

#include "forms/examination.h"

#include <cstdint>
#include <optional>
#include <string>
#include <vector>

namespace velacreate {

/// The bytes that a header must have.
class ZipHeader {
public:
    void addNumber(const char* field, std::size_t size, std::uint64_t value);
    void addText(const char* field, const std::string& text);
    /// Like addNumber(), but any value does.
    void addVarying(const char* field, std::size_t size, std::uint64_t value, Variation variation);

    void addHeader(const ZipHeader& header);

    std::size_t size() const { return m_bytes.size(); }

    /// @return the first field that differs in other bytes, or nullptr
    const char* findDiffering(const std::string& found) const;

    /// @param offset  of the header on the medium
    void reportVariations(const Examination& examination, std::uint64_t offset) const;

private:
    struct Varying {
        Variation variation;
        ByteRange range; ///< in the header
    };
    struct Field {
        const char* name;
        std::size_t end;
    };

    std::string m_bytes;
    std::vector<Field> m_fields;
    std::vector<Varying> m_varying;
};

/// What is the same for all members of an archive, as far as it is known.
struct ZipStyle {
    std::optional<bool> hasUnixFields; ///< times and owners; not with "zip -X"
    std::optional<bool> marksUnicode;  ///< names beyond ASCII; only where zip's locale is installed
};

/// What the directory of an archive tells of a member.
struct ZipMember {
    std::string name; ///< of a directory: with a slash at its end
    bool isDirectory = false;
    bool isDeflated = false;
    bool isFast = false; ///< the level at which zip tried to deflate it
    bool isText = false;
    std::uint64_t size = 0;
    std::uint64_t storedSize = 0;
    std::uint64_t offset = 0; ///< of the local header
    std::uint32_t checksum = 0;
    std::uint32_t time = 0;     ///< as MS-DOS has it
    std::uint32_t modified = 0; ///< seconds since 1970
    std::uint32_t user = 0;
    std::uint32_t group = 0;
    std::uint32_t mode = 0;

    /// Whether its sizes have 64 bits.
    bool isLarge() const;
};

constexpr std::size_t ZIP_ENTRY_SIZE = 46; ///< of an entry in the directory, without name and extra fields

/// The sizes of what follows an entry's first bytes.
struct ZipEntryTail {
    std::size_t name;
    std::size_t extra;
    std::size_t size() const { return name + extra; }
};
ZipEntryTail tailOf(const std::string& entryStart);

/// Takes over what is not known yet from an entry of the directory.
void adoptStyle(ZipStyle& style, const std::string& entry);

/// Reads all that the form leaves open. A value without a place in the form is not taken over, so the header
/// that is made of the member differs.
ZipMember memberOf(const std::string& entry, std::uint64_t offset, const ZipStyle& style);

ZipHeader directoryEntry(const ZipMember& member, const ZipStyle& style);

/// @param found  the bytes in its place, for the time of the last access; no other header has it
ZipHeader localHeader(const ZipMember& member, const ZipStyle& style, const std::string& found);

struct ZipEnd {
    std::uint64_t count; ///< of all members
    ByteRange directory;
    bool isLarge; ///< has the records with 64 bits

    std::uint64_t offset() const { return directory.offset + directory.size; }
    /// Whether one of its numbers needs them.
    bool needsLarge() const;
};

constexpr std::size_t ZIP_END_SIZE = 22;       ///< of the end record
constexpr std::size_t ZIP_LARGE_END_SIZE = 76; ///< of the records with 64 bits before it

/// @param bytes  at the end of the archive, at most as many as both sizes together
ZipEnd endOf(const std::string& bytes, std::uint64_t archiveSize);

/// @return all records behind the directory
ZipHeader endRecords(const ZipEnd& end);

} // namespace velacreate
