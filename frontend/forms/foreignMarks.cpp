#include "forms/foreignMarks.h"

#include "forms/fields.h"

#include <algorithm>
#include <array>
#include <set>
#include <string>
#include <string_view>

namespace velacreate {
namespace {
using namespace std::literals;

struct Mark {
    std::uint64_t offset; ///< in a disk or a partition
    std::string_view bytes;
    const char* owner;
};

/// Whatever lies in the first sector has been compared.
constexpr std::array<Mark, 12> MARKS = {{{0x200, "LABELONE"sv, "LVM"},
                                         {0x400, "BD"sv, "HFS"},
                                         {0x400, "H+"sv, "HFS+"},
                                         {0x400, "\x10\x20\xf5\xf2"sv, "F2FS"},
                                         {0x400, "\xe2\xe1\xf5\xe0"sv, "EROFS"},
                                         {0x438, "\x53\xef"sv, "ext2, ext3 or ext4"},
                                         {0x8000, "JFS1"sv, "JFS"},
                                         {0x8001, "CD001"sv, "ISO 9660"},
                                         {0x8001, "BEA01"sv, "UDF"},
                                         {0x8001, "NSR0"sv, "UDF"},
                                         {0x10034, "ReIsEr"sv, "ReiserFS"},
                                         {0x10040, "_BHRfS_M"sv, "Btrfs"}}};

bool holds(MediumBytes& medium, std::uint64_t offset, std::string_view mark) {
    if (offset + mark.size() > medium.size()) {
        return false;
    }
    std::string found(mark.size(), '\0');
    medium.read(offset, found.data(), found.size());
    return found == mark;
}

bool isAmong(const std::vector<ByteRange>& ranges, std::uint64_t offset) {
    return std::any_of(ranges.begin(), ranges.end(), [&](const ByteRange& range) {
        return offset >= range.offset && offset - range.offset < range.size;
    });
}
} // namespace

void refuseForeignMarks(const Examination& examination, std::uint64_t fileSystem,
                        const std::vector<ByteRange>& compared) {
    auto& medium = examination.medium;
    for (const auto base : std::set<std::uint64_t>{0, fileSystem}) {
        for (const auto& mark : MARKS) {
            const auto offset = base + mark.offset;
            if (offset >= fileSystem && !isAmong(compared, offset) && holds(medium, offset, mark.bytes)) {
                examination.differences.addForm(rangeText({offset, mark.bytes.size()}) + " are the mark of " +
                                                mark.owner);
            }
        }
    }
    const auto lastSector = (medium.size() / SECTOR_SIZE - 1) * SECTOR_SIZE;
    if (!isAmong(compared, lastSector) && holds(medium, lastSector, "EFI PART"sv)) {
        examination.differences.addForm("the last sector, " + rangeText({lastSector, SECTOR_SIZE}) +
                                        ", holds a second partition table (GPT)");
    }
}

} // namespace velacreate
