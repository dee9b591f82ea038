#include "forms/keyBlocks.h"

#include "forms/fields.h"
#include "forms/foundFiles.h"
#include "forms/keyRecord.h"
#include "support/failure.h"

#include <algorithm>

namespace velacreate {
namespace {
bool holds(const std::vector<ByteRange>& ranges, std::uint64_t offset) {
    return std::any_of(ranges.begin(), ranges.end(), [&](const ByteRange& range) {
        return offset >= range.offset && offset - range.offset < range.size;
    });
}

/// @return the file or directory with a byte of the clusters
std::string fileAt(KeyFileSystem& files, std::uint64_t offset) {
    std::string owner;
    files.visit([&](const FoundFile& found) {
        if (holds(found.ranges, offset)) {
            owner = found.place.empty() ? "the top directory"
                    : found.isDirectory ? "the directory " + quote(found.place)
                                        : quote(found.place);
        }
        return owner.empty();
    });
    return owner.empty() ? "the free space" : owner;
}
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
    const KeyFileSystem files(examination, keyPartition(examination.medium));
    Blocks blocks;
    if (!files.isSound()) {
        return blocks;
    }
    std::uint64_t done = 0;
    const auto use = [&](std::uint64_t end) {
        const auto first = done / KEY_BLOCK;
        const auto last = (end + KEY_BLOCK - 1) / KEY_BLOCK;
        if (end > done) {
            append(blocks, blocksOf(first, last, examination.medium.size()));
        }
    };
    files.table().forEachFreeRange([&](const ByteRange& range) {
        use(range.offset);
        done = range.offset + range.size;
    });
    use(files.layout().end());
    return blocks;
}

std::string ownerOf(const Examination& image, std::uint64_t offset) {
    if (offset < SECTOR_SIZE) {
        return "the boot record";
    }
    KeyFileSystem files(image, keyPartition(image.medium));
    const auto& place = files.layout();
    if (offset < place.offset) {
        return "the gap before the file system";
    }
    if (offset < place.tableOffset(0)) {
        return "the boot sector of the file system";
    }
    if (offset < place.rootOffset()) {
        return "the table of the file system";
    }
    return files.isSound() ? fileAt(files, offset) : "the file system";
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
