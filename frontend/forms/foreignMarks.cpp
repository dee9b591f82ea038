#include "forms/foreignMarks.h"

#include "disks/probe.h"
#include "forms/fields.h"
#include "support/failure.h"

#include <algorithm>
#include <array>
#include <set>
#include <string>
#include <string_view>
#include <vector>

#include <fcntl.h>

namespace velacreate {
namespace {
using namespace std::literals;

/// A mark that is enough for a kernel, a boot loader or a firmware. For libblkid, other fields must agree
/// with it, or it does not look there: not for a RAID whose end is in a partition.
struct Mark {
    std::string_view bytes;
    const char* owner;    ///< in the words of libblkid
    std::uint64_t offset; ///< from the beginning; before the end if there is a unit
    std::uint64_t unit;   ///< to which the end is rounded down
};

constexpr std::array<Mark, 22> MARKS = {{{"LABELONE"sv, "LVM2_member", 0x200, 0},
                                         {"LABELONE"sv, "LVM2_member", 0x400, 0},
                                         {"LABELONE"sv, "LVM2_member", 0x600, 0},
                                         {"BD"sv, "hfs", 0x400, 0},
                                         {"H+"sv, "hfsplus", 0x400, 0},
                                         {"HX"sv, "hfsplus", 0x400, 0},
                                         {"\x10\x20\xf5\xf2"sv, "f2fs", 0x1400, 0},
                                         {"JFS1"sv, "jfs", 0x8000, 0},
                                         {"CD001"sv, "iso9660", 0x8001, 0},
                                         {"BEA01"sv, "udf", 0x8001, 0},
                                         {"BOOT2"sv, "udf", 0x8001, 0},
                                         {"CDW02"sv, "udf", 0x8001, 0},
                                         {"NSR0"sv, "udf", 0x8001, 0},
                                         {"TEA01"sv, "udf", 0x8001, 0},
                                         {"ReIsEr"sv, "reiserfs", 0x2034, 0},
                                         {"ReIsEr"sv, "reiserfs", 0x10034, 0},
                                         {"\xfc\x4e\x2b\xa9"sv, "linux_raid_member", 0x1000, 0},
                                         {"\xfc\x4e\x2b\xa9"sv, "linux_raid_member", 0x10000, 0x10000},
                                         {"\xa9\x2b\x4e\xfc"sv, "linux_raid_member", 0x10000, 0x10000},
                                         {"\xfc\x4e\x2b\xa9"sv, "linux_raid_member", 0x2000, 0x1000},
                                         {"GEOM::"sv, "GEOM", SECTOR_SIZE, SECTOR_SIZE},
                                         {"EFI PART"sv, "gpt", SECTOR_SIZE, SECTOR_SIZE}}};

/// @name A ZFS label, of which there are two at each end
/// GRUB needs only one block of its ring.
/// @{
constexpr std::uint64_t ZFS_LABEL_SIZE = 256U << 10U;
constexpr std::uint64_t ZFS_RING_OFFSET = 128U << 10U;
constexpr std::uint64_t ZFS_BLOCK_SIZE = 1024;
constexpr std::array<std::string_view, 2> ZFS_MARKS = {"\x0c\xb1\xba\0\0\0\0\0"sv,
                                                       "\0\0\0\0\0\xba\xb1\x0c"sv};
/// @}

/// libblkid cannot read past the cache.
class CachedReading {
public:
    explicit CachedReading(const Descriptor& disk) : m_disk(disk), m_flags(fcntl(disk.number(), F_GETFL)) {
        check(m_flags >= 0 && fcntl(m_disk.number(), F_SETFL, m_flags & ~O_DIRECT) == 0)
            .orFail("reading through the cache");
        posix_fadvise(m_disk.number(), 0, 0, POSIX_FADV_DONTNEED);
    }
    CachedReading(const CachedReading&) = delete;
    CachedReading& operator=(const CachedReading&) = delete;
    ~CachedReading() { fcntl(m_disk.number(), F_SETFL, m_flags); }

private:
    const Descriptor& m_disk;
    int m_flags;
};

class ForeignMarks {
public:
    ForeignMarks(const Examination& examination, std::uint64_t known, const std::vector<ByteRange>& compared)
        : m_examination(examination), m_known(known), m_compared(compared) {}

    /// @param range  of the disk or a partition, in which the marks have their places
    void refuseIn(const ByteRange& range) {
        probe(range);
        for (const auto& mark : MARKS) {
            const auto end = mark.unit == 0 ? 0 : range.size / mark.unit * mark.unit;
            if (mark.unit == 0 || end >= mark.offset) {
                seek(range, mark.unit == 0 ? mark.offset : end - mark.offset, mark.bytes, mark.owner);
            }
        }
        seekZfs(range);
    }

private:
    void probe(const ByteRange& range) {
        const CachedReading reading(m_examination.medium.file());
        const auto probe = signatureProbe(m_examination.medium.file(), range.offset, range.size);
        while (findSignature(probe)) {
            for (const auto& [kind, offset, size] : signaturesFound(probe)) {
                add({range.offset + offset, size}, kind);
            }
        }
    }

    void seek(const ByteRange& range, std::uint64_t offset, std::string_view mark, const char* owner) {
        if (offset + mark.size() > range.size || range.offset + offset < m_known) {
            return;
        }
        std::string found(mark.size(), '\0');
        m_examination.medium.read(range.offset + offset, found.data(), found.size());
        if (found == mark) {
            add({range.offset + offset, mark.size()}, owner);
        }
    }

    void seekZfs(const ByteRange& range) {
        const auto end = range.size / ZFS_LABEL_SIZE;
        for (const auto label : std::set<std::uint64_t>{0, 1, end - 2, end - 1}) {
            for (auto block = ZFS_RING_OFFSET; label < end && block < ZFS_LABEL_SIZE;
                 block += ZFS_BLOCK_SIZE) {
                for (const auto& mark : ZFS_MARKS) {
                    seek(range, label * ZFS_LABEL_SIZE + block, mark, "zfs_member");
                }
            }
        }
    }

    void add(const ByteRange& mark, const std::string& owner) {
        if (mark.offset >= m_known && !isCompared(mark.offset) && m_found.insert(mark.offset).second) {
            m_examination.differences.addForm(rangeText(mark) + " look like " + owner);
        }
    }

    bool isCompared(std::uint64_t offset) const {
        return std::any_of(m_compared.begin(), m_compared.end(), [&](const ByteRange& range) {
            return offset >= range.offset && offset - range.offset < range.size;
        });
    }

    const Examination& m_examination;
    std::uint64_t m_known;
    const std::vector<ByteRange>& m_compared;
    std::set<std::uint64_t> m_found;
};
} // namespace

void refuseForeignMarks(const Examination& examination, const ByteRange& partition, std::uint64_t known,
                        const std::vector<ByteRange>& compared) {
    ForeignMarks marks(examination, known, compared);
    marks.refuseIn({0, examination.medium.size()});
    if (partition.size > 0) {
        marks.refuseIn(partition);
    }
}

} // namespace velacreate
