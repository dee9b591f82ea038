#include "forms/zipHeaders.h"

#include "forms/fields.h"
#include "support/utf8.h"

#include <algorithm>

namespace velacreate {
namespace {
constexpr std::uint64_t LOCAL_HEADER = 0x04034b50;
constexpr std::uint64_t DIRECTORY_ENTRY = 0x02014b50;
constexpr std::uint64_t END = 0x06054b50;
constexpr std::uint64_t LARGE_END = 0x06064b50;
constexpr std::uint64_t LARGE_END_LOCATOR = 0x07064b50;
constexpr std::size_t LOCATOR_SIZE = 20;

constexpr std::uint64_t ZIP_3_0_ON_UNIX = 0x031e;
constexpr std::uint64_t VERSION_OF_STORED = 10;
constexpr std::uint64_t VERSION_OF_DEFLATED = 20;
constexpr std::uint64_t VERSION_OF_LARGE = 45;

// Fields of a directory entry.
constexpr std::size_t FLAGS = 8;
constexpr std::size_t METHOD = 10;
constexpr std::size_t TIME = 12;
constexpr std::size_t CHECKSUM = 16;
constexpr std::size_t STORED_SIZE = 20;
constexpr std::size_t SIZE = 24;
constexpr std::size_t NAME_LENGTH = 28;
constexpr std::size_t EXTRA_LENGTH = 30;
constexpr std::size_t TEXT_MARK = 36;
constexpr std::size_t MODE = 40;

// Fields of its extra fields.
constexpr std::size_t MODIFIED = 5;
constexpr std::size_t USER = 15;
constexpr std::size_t GROUP = 20;

constexpr std::uint64_t FAST = 1 << 2;
constexpr std::uint64_t UNICODE_NAME = 1 << 11;
constexpr std::uint64_t DEFLATED = 8;

constexpr std::uint64_t MAXIMUM_32 = 0xffffffff; // also stands for a number in a field of 64 bits
constexpr std::uint64_t MAXIMUM_16 = 0xffff;

constexpr std::uint64_t UNIX_TIMES = 0x5455;
constexpr std::uint64_t UNIX_OWNERS = 0x7875;
constexpr std::uint64_t LARGE_SIZES = 0x0001;
constexpr std::uint64_t MODIFIED_AND_ACCESSED = 3;
constexpr std::size_t DIRECTORY_UNIX_FIELDS_SIZE = 24;

constexpr std::uint32_t TYPE_REGULAR = 0100000;
constexpr std::uint32_t TYPE_DIRECTORY = 0040000;
constexpr std::uint32_t PERMISSIONS = 0777;
constexpr std::uint32_t PASSES_ON_GROUP = 02000; // of a directory, taken over from the one that it is made in
constexpr std::uint32_t MAY_WRITE = 0200;
constexpr std::uint64_t DOS_READ_ONLY = 0x01;
constexpr std::uint64_t DOS_DIRECTORY = 0x10;

/// @return 0 where a text is too short
std::uint64_t numberIn(const std::string& text, std::size_t offset, std::size_t size) {
    std::uint64_t number = 0;
    for (std::size_t i = size; i-- > 0;) {
        number = number << 8 | (offset + i < text.size() ? static_cast<unsigned char>(text[offset + i]) : 0);
    }
    return number;
}

std::uint32_t number32(const std::string& text, std::size_t offset) {
    return static_cast<std::uint32_t>(numberIn(text, offset, 4));
}

/// Decided by the size alone. An offset of 64 bits does not count.
std::uint64_t neededVersion(const ZipMember& member) {
    return member.isLarge() ? VERSION_OF_LARGE : member.isDeflated ? VERSION_OF_DEFLATED : VERSION_OF_STORED;
}

/// Whether zip marks a name as UTF-8, if it marks any.
bool isMarkable(const std::string& name) {
    const auto isAscii = [](char character) { return static_cast<unsigned char>(character) < 0x80; };
    return !std::all_of(name.begin(), name.end(), isAscii) && decoded(name);
}

/// What both headers of a member have alike.
void addCommon(ZipHeader& header, const ZipMember& member, const ZipStyle& style) {
    const bool isMarked = style.marksUnicode.value_or(false) && isMarkable(member.name);
    header.addNumber("the flags", 2, (isMarked ? UNICODE_NAME : 0) | (member.isFast ? FAST : 0));
    header.addNumber("the method", 2, member.isDeflated ? DEFLATED : 0);
    header.addVarying("the time", 4, member.time, Variation::timeStamp);
    header.addNumber("the checksum", 4, member.checksum);
}

void addOwners(ZipHeader& header, const ZipMember& member) {
    header.addNumber("the kind of the owners", 2, UNIX_OWNERS);
    header.addNumber("the size of the owners", 2, 11);
    header.addNumber("the version of the owners", 1, 1);
    header.addNumber("the size of the user", 1, 4);
    header.addVarying("the user", 4, member.user, Variation::owner);
    header.addNumber("the size of the group", 1, 4);
    header.addVarying("the group", 4, member.group, Variation::owner);
}

ZipHeader directoryExtra(const ZipMember& member, const ZipStyle& style) {
    ZipHeader extra;
    if (style.hasUnixFields.value_or(false)) {
        extra.addNumber("the kind of the Unix times", 2, UNIX_TIMES);
        extra.addNumber("the size of the Unix times", 2, 5);
        extra.addNumber("the list of the Unix times", 1, MODIFIED_AND_ACCESSED);
        extra.addVarying("the Unix time", 4, member.modified, Variation::timeStamp);
        addOwners(extra, member);
    }
    std::vector<std::uint64_t> large;
    for (const auto number : {member.size, member.storedSize, member.offset}) {
        if (number > MAXIMUM_32) {
            large.push_back(number);
        }
    }
    if (!large.empty()) {
        extra.addNumber("the kind of the large sizes", 2, LARGE_SIZES);
        extra.addNumber("the size of the large sizes", 2, large.size() * 8);
        for (const auto number : large) {
            extra.addNumber("the large sizes", 8, number);
        }
    }
    return extra;
}

ZipHeader localExtra(const ZipMember& member, const ZipStyle& style, std::uint32_t accessed) {
    ZipHeader extra;
    if (style.hasUnixFields.value_or(false)) {
        extra.addNumber("the kind of the Unix times", 2, UNIX_TIMES);
        extra.addNumber("the size of the Unix times", 2, 9);
        extra.addNumber("the list of the Unix times", 1, MODIFIED_AND_ACCESSED);
        extra.addVarying("the Unix time", 4, member.modified, Variation::timeStamp);
        extra.addVarying("the Unix time of access", 4, accessed, Variation::timeStamp);
        addOwners(extra, member);
    }
    if (member.isLarge()) {
        extra.addNumber("the kind of the large sizes", 2, LARGE_SIZES);
        extra.addNumber("the size of the large sizes", 2, 16);
        extra.addNumber("the large size", 8, member.size);
        extra.addNumber("the large stored size", 8, member.storedSize);
    }
    return extra;
}
} // namespace

void ZipHeader::addNumber(const char* field, std::size_t size, std::uint64_t value) {
    addText(field, littleEndian(value, size));
}

void ZipHeader::addText(const char* field, const std::string& text) {
    m_bytes += text;
    m_fields.push_back({field, m_bytes.size()});
}

void ZipHeader::addVarying(const char* field, std::size_t size, std::uint64_t value, Variation variation) {
    m_varying.push_back({variation, {m_bytes.size(), size}});
    addNumber(field, size, value);
}

void ZipHeader::addHeader(const ZipHeader& header) {
    const auto start = m_bytes.size();
    m_bytes += header.m_bytes;
    for (const auto& field : header.m_fields) {
        m_fields.push_back({field.name, start + field.end});
    }
    for (const auto& varying : header.m_varying) {
        m_varying.push_back({varying.variation, {start + varying.range.offset, varying.range.size}});
    }
}

const char* ZipHeader::findDiffering(const std::string& found) const {
    const auto shorter = std::min(m_bytes.size(), found.size());
    const auto place =
        std::mismatch(m_bytes.begin(), m_bytes.begin() + static_cast<std::ptrdiff_t>(shorter), found.begin());
    const auto same = static_cast<std::size_t>(place.first - m_bytes.begin());
    const auto field = std::find_if(m_fields.begin(), m_fields.end(),
                                    [same](const Field& candidate) { return candidate.end > same; });
    return field == m_fields.end() ? nullptr : field->name;
}

void ZipHeader::reportVariations(const Examination& examination, std::uint64_t offset) const {
    if (examination.variation) {
        for (const auto& varying : m_varying) {
            examination.variation(varying.variation, {offset + varying.range.offset, varying.range.size});
        }
    }
}

bool ZipMember::isLarge() const {
    return size > MAXIMUM_32;
}

ZipEntryTail tailOf(const std::string& entryStart) {
    return {numberIn(entryStart, NAME_LENGTH, 2), numberIn(entryStart, EXTRA_LENGTH, 2)};
}

void adoptStyle(ZipStyle& style, const std::string& entry) {
    const auto name = tailOf(entry).name;
    if (!style.hasUnixFields) {
        style.hasUnixFields = numberIn(entry, ZIP_ENTRY_SIZE + name, 2) == UNIX_TIMES;
    }
    if (!style.marksUnicode && isMarkable(entry.substr(ZIP_ENTRY_SIZE, name))) {
        style.marksUnicode = (numberIn(entry, FLAGS, 2) & UNICODE_NAME) != 0;
    }
}

ZipMember memberOf(const std::string& entry, std::uint64_t offset, const ZipStyle& style) {
    const auto tail = tailOf(entry);
    ZipMember member;
    member.name = entry.substr(ZIP_ENTRY_SIZE, tail.name);
    member.isDirectory = !member.name.empty() && member.name.back() == '/';
    member.offset = offset;
    member.time = number32(entry, TIME);
    member.mode = static_cast<std::uint32_t>(numberIn(entry, MODE, 2));
    const auto extra = entry.substr(ZIP_ENTRY_SIZE + tail.name, tail.extra);
    const bool hasUnixFields = style.hasUnixFields.value_or(false);
    if (hasUnixFields) {
        member.modified = number32(extra, MODIFIED);
        member.user = number32(extra, USER);
        member.group = number32(extra, GROUP);
    }
    if (member.isDirectory) {
        return member;
    }
    auto large = (hasUnixFields ? DIRECTORY_UNIX_FIELDS_SIZE : 0) + 4;
    const auto takeSize = [&](std::size_t field) {
        const auto size = numberIn(entry, field, 4);
        if (size != MAXIMUM_32 || extra.size() < large + 8) {
            return size;
        }
        large += 8;
        return numberIn(extra, large - 8, 8);
    };
    member.size = takeSize(SIZE);
    const auto storedSize = member.isLarge() ? takeSize(STORED_SIZE) : numberIn(entry, STORED_SIZE, 4);
    member.isDeflated = numberIn(entry, METHOD, 2) == DEFLATED;
    member.storedSize = member.isDeflated ? storedSize : member.size;
    member.checksum = number32(entry, CHECKSUM);
    member.isFast = member.size > 0 && (numberIn(entry, FLAGS, 2) & FAST) != 0;
    member.isText = member.size > 0 && (numberIn(entry, TEXT_MARK, 1) & 1) != 0;
    return member;
}

ZipHeader directoryEntry(const ZipMember& member, const ZipStyle& style) {
    const auto extra = directoryExtra(member, style);
    const auto type = member.isDirectory ? TYPE_DIRECTORY : TYPE_REGULAR;
    const auto variable = member.isDirectory ? PERMISSIONS | PASSES_ON_GROUP : PERMISSIONS;
    ZipHeader entry;
    entry.addNumber("the signature", 4, DIRECTORY_ENTRY);
    entry.addNumber("the version of the maker", 2, ZIP_3_0_ON_UNIX);
    entry.addNumber("the needed version", 2, neededVersion(member));
    addCommon(entry, member, style);
    entry.addNumber("the stored size", 4, std::min(member.storedSize, MAXIMUM_32));
    entry.addNumber("the size", 4, std::min(member.size, MAXIMUM_32));
    entry.addNumber("the length of the name", 2, member.name.size());
    entry.addNumber("the length of the extra fields", 2, extra.size());
    entry.addNumber("the length of the comment", 2, 0);
    entry.addNumber("the disk", 2, 0);
    entry.addVarying("the mark for text", 1, member.isText ? 1 : 0, Variation::textMark);
    entry.addNumber("the internal attributes", 1, 0);
    entry.addVarying("the attributes for MS-DOS", 1,
                     (member.isDirectory ? DOS_DIRECTORY : 0) |
                         ((member.mode & MAY_WRITE) == 0 ? DOS_READ_ONLY : 0),
                     Variation::mode);
    entry.addNumber("the unused attributes", 1, 0);
    entry.addVarying("the file type and mode", 2, type | (member.mode & variable), Variation::mode);
    entry.addNumber("the offset", 4, std::min(member.offset, MAXIMUM_32));
    entry.addText("the name", member.name);
    entry.addHeader(extra);
    return entry;
}

ZipHeader localHeader(const ZipMember& member, const ZipStyle& style, const std::string& found) {
    constexpr std::size_t FIXED_SIZE = 30;
    constexpr std::size_t ACCESSED = 9; // in the extra fields
    const auto extra = localExtra(member, style, number32(found, FIXED_SIZE + member.name.size() + ACCESSED));
    ZipHeader header;
    header.addNumber("the signature", 4, LOCAL_HEADER);
    header.addNumber("the needed version", 2, neededVersion(member));
    addCommon(header, member, style);
    header.addNumber("the stored size", 4, member.isLarge() ? MAXIMUM_32 : member.storedSize);
    header.addNumber("the size", 4, member.isLarge() ? MAXIMUM_32 : member.size);
    header.addNumber("the length of the name", 2, member.name.size());
    header.addNumber("the length of the extra fields", 2, extra.size());
    header.addText("the name", member.name);
    header.addHeader(extra);
    return header;
}

bool ZipEnd::needsLarge() const {
    return count > MAXIMUM_16 || directory.size > MAXIMUM_32 || directory.offset > MAXIMUM_32;
}

ZipEnd endOf(const std::string& bytes, std::uint64_t archiveSize) {
    const auto end = bytes.size() - ZIP_END_SIZE;
    const auto offset = archiveSize - ZIP_END_SIZE;
    ZipEnd small{
        numberIn(bytes, end + 10, 2), {numberIn(bytes, end + 16, 4), numberIn(bytes, end + 12, 4)}, false};
    if (small.offset() == offset || bytes.size() < ZIP_LARGE_END_SIZE + ZIP_END_SIZE ||
        numberIn(bytes, end - LOCATOR_SIZE, 4) != LARGE_END_LOCATOR) {
        return small;
    }
    return {numberIn(bytes, 32, 8), {numberIn(bytes, 48, 8), numberIn(bytes, 40, 8)}, true};
}

ZipHeader endRecords(const ZipEnd& end) {
    ZipHeader records;
    if (end.isLarge) {
        records.addNumber("the signature with 64 bits", 4, LARGE_END);
        records.addNumber("the size of the record with 64 bits", 8, 44);
        records.addNumber("the version of the maker", 2, ZIP_3_0_ON_UNIX);
        records.addNumber("the needed version", 2, VERSION_OF_LARGE);
        records.addNumber("the disks with 64 bits", 8, 0);
        records.addNumber("the number of members on this disk with 64 bits", 8, end.count);
        records.addNumber("the number of members with 64 bits", 8, end.count);
        records.addNumber("the size of the directory with 64 bits", 8, end.directory.size);
        records.addNumber("the offset of the directory with 64 bits", 8, end.directory.offset);
        records.addNumber("the signature of the locator", 4, LARGE_END_LOCATOR);
        records.addNumber("the disk in the locator", 4, 0);
        records.addNumber("the offset in the locator", 8, end.offset());
        records.addNumber("the number of disks in the locator", 4, 1);
    }
    records.addNumber("the signature", 4, END);
    records.addNumber("the disks", 4, 0);
    records.addNumber("the number of members on this disk", 2, std::min(end.count, MAXIMUM_16));
    records.addNumber("the number of members", 2, std::min(end.count, MAXIMUM_16));
    records.addNumber("the size of the directory", 4, std::min(end.directory.size, MAXIMUM_32));
    records.addNumber("the offset of the directory", 4, std::min(end.directory.offset, MAXIMUM_32));
    records.addNumber("the length of the comment", 2, 0);
    return records;
}

} // namespace velacreate
