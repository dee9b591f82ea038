#include "forms/keyBlocks.h"

#include "forms/fatBootSector.h"
#include "forms/fatDirectory.h"
#include "forms/fatTable.h"
#include "forms/fields.h"
#include "forms/keyRecord.h"
#include "support/beneath.h"
#include "support/failure.h"

#include <mediaRules.h>

#include <algorithm>
#include <deque>

namespace velacreate {
namespace {

/// The file system of an image, with its table.
class KeyFileSystem {
public:
    explicit KeyFileSystem(const Examination& image)
        : m_image(image), m_partition(keyPartition(image.medium)), m_layout(layout()),
          m_table(image, m_layout),
          m_isSound(m_partition && m_layout.clusters != 0 && m_table.read(m_notes)) {}

    bool isSound() const { return m_isSound; }
    const FatLayout& place() const { return m_layout; }

    Blocks used() const {
        Blocks blocks;
        std::uint64_t done = 0;
        const auto use = [&](std::uint64_t end) {
            const auto first = done / KEY_BLOCK;
            const auto last = (end + KEY_BLOCK - 1) / KEY_BLOCK;
            if (end > done) {
                append(blocks, blocksOf(first, last, m_image.medium.size()));
            }
        };
        m_table.forEachFreeRange([&](const ByteRange& range) {
            use(range.offset);
            done = range.offset + range.size;
        });
        use(m_layout.end());
        return blocks;
    }

    /// @return the file or directory with a byte of the clusters
    std::string fileAt(std::uint64_t offset) {
        m_directories.clear();
        enter("", m_layout.isFat32() ? take(FIRST_CLUSTER) : topRange(), offset);
        while (m_found.empty() && !m_directories.empty()) {
            const auto next = m_directories.front();
            m_directories.pop_front();
            readDirectory(next, offset);
        }
        return m_found.empty() ? "the free space" : m_found;
    }

private:
    using Ranges = std::vector<ByteRange>;

    struct Directory {
        std::string place; ///< empty for the top
        Ranges ranges;
    };

    FatLayout layout() {
        if (!m_partition) {
            m_image.differences.addForm("there is no fourth partition");
            return {};
        }
        return examineFatBootSector(m_image, {*m_partition, false, true}, m_notes).value_or(FatLayout());
    }

    Ranges topRange() const { return {{m_layout.rootOffset(), m_layout.rootSize()}}; }
    Ranges take(std::uint32_t cluster) { return m_table.take(cluster).ranges; }

    void enter(const std::string& place, const Ranges& ranges, std::uint64_t offset) {
        if (holds(ranges, offset)) {
            m_found = place.empty() ? "the top directory" : "the directory " + quote(place);
        }
        m_directories.push_back({place, ranges});
    }

    static bool holds(const Ranges& ranges, std::uint64_t offset) {
        return std::any_of(ranges.begin(), ranges.end(), [&](const ByteRange& range) {
            return offset >= range.offset && offset - range.offset < range.size;
        });
    }

    void readDirectory(const Directory& directory, std::uint64_t offset) {
        std::vector<unsigned char> bytes;
        for (const auto& range : directory.ranges) {
            if (range.size > LARGEST_FAT_DIRECTORY - bytes.size()) {
                return;
            }
            bytes.resize(bytes.size() + range.size);
            m_image.medium.read(range.offset, &bytes[bytes.size() - range.size], range.size);
        }
        if (bytes.empty()) {
            return;
        }
        const FatDirectoryReports nobody = {[](std::size_t /*entry*/, const std::string& /*problem*/) {}, {}};
        FatDirectoryForm form;
        form.isTop = directory.place.empty();
        form.hasLabel = m_layout.hasLabel;
        form.isFat32 = m_layout.isFat32();
        form.isOfKernel = false;
        for (const auto& entry : readFatDirectory(bytes, form, nobody)) {
            const auto place = pathBelow(directory.place, entry.name);
            const auto ranges = take(entry.cluster);
            if (entry.isDirectory) {
                enter(place, ranges, offset);
            } else if (holds(ranges, offset)) {
                m_found = quote(place);
            }
        }
    }

    const Examination& m_image;
    std::vector<std::string> m_notes;
    std::optional<ByteRange> m_partition;
    FatLayout m_layout;
    FatTable m_table;
    bool m_isSound;
    std::deque<Directory> m_directories; ///< to be read
    std::string m_found;
};
} // namespace

ByteRange blocksOf(std::uint64_t first, std::uint64_t behind, std::uint64_t imageSize) {
    const auto offset = first * KEY_BLOCK;
    return {offset, std::min(behind * KEY_BLOCK, imageSize) - offset};
}

std::uint64_t sizeOf(const Blocks& blocks) {
    std::uint64_t size = 0;
    for (const auto& range : blocks) {
        size += range.size;
    }
    return size;
}

void append(Blocks& blocks, const ByteRange& range) {
    if (!blocks.empty() && range.offset <= blocks.back().offset + blocks.back().size) {
        blocks.back().size = range.offset + range.size - blocks.back().offset;
    } else {
        blocks.push_back(range);
    }
}

Blocks usedBlocks(const Examination& examination) {
    const KeyFileSystem files(examination);
    return files.isSound() ? files.used() : Blocks();
}

std::string ownerOf(const Examination& image, std::uint64_t offset) {
    if (offset < SECTOR_SIZE) {
        return "the boot record";
    }
    KeyFileSystem files(image);
    const auto& place = files.place();
    if (offset < place.offset) {
        return "the gap before the file system";
    }
    if (offset < place.tableOffset(0)) {
        return "the boot sector of the file system";
    }
    if (offset < place.rootOffset()) {
        return "the table of the file system";
    }
    return files.isSound() ? files.fileAt(offset) : "the file system";
}

bool areAmong(const Blocks& blocks, const Blocks& others) {
    auto other = others.begin();
    return std::all_of(blocks.begin(), blocks.end(), [&](const ByteRange& range) {
        while (other != others.end() && other->offset + other->size <= range.offset) {
            ++other;
        }
        return other != others.end() && range.offset >= other->offset &&
               range.offset + range.size <= other->offset + other->size;
    });
}

} // namespace velacreate
