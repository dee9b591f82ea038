#include "medium/imageBlocks.h"

#include "forms/foreignMarks.h"
#include "forms/keyRecord.h"
#include "support/failure.h"

#include <algorithm>
#include <array>
#include <cerrno>
#include <functional>
#include <memory>

#include <fcntl.h>
#include <unistd.h>

namespace velacreate {
namespace {
constexpr std::size_t PIECE_SIZE = 4 << 20;

/// Aligned as O_DIRECT demands.
struct alignas(KEY_BLOCK) Buffer {
    std::array<char, PIECE_SIZE> bytes;
};

std::string atByte(std::uint64_t offset) {
    return " at byte " + std::to_string(offset);
}

/// Calls a function with the blocks, piece by piece, until it returns false.
void forEachPiece(const Blocks& blocks, const std::function<bool(const ByteRange& piece)>& use) {
    for (const auto& range : blocks) {
        for (std::uint64_t done = 0; done < range.size; done += PIECE_SIZE) {
            if (!use({range.offset + done, std::min<std::uint64_t>(range.size - done, PIECE_SIZE)})) {
                return;
            }
        }
    }
}

void readImage(const ImageBlocks& image, const ByteRange& piece, Buffer& buffer) {
    const auto count = readAt(image.file.number(), buffer.bytes.data(), piece.size, piece.offset);
    check(count >= 0).orFail("the image cannot be read" + atByte(piece.offset));
    if (static_cast<std::uint64_t>(count) != piece.size) {
        throw Failure("the image has become shorter");
    }
}

void writePiece(const Descriptor& device, const ByteRange& piece, const Buffer& buffer) {
    for (std::uint64_t done = 0; done < piece.size;) {
        const auto count = pwrite(device.number(), buffer.bytes.data() + done, piece.size - done,
                                  static_cast<off_t>(piece.offset + done));
        check(count > 0 || (count < 0 && errno == EINTR)).orFail(rangeText(piece) + " cannot be written");
        done += static_cast<std::uint64_t>(std::max<ssize_t>(count, 0));
    }
}

/// Calls a function with the examination of an image or a key. What it finds is added to the differences.
template <typename Function>
auto examining(const Descriptor& file, Differences& differences, const Function& function) {
    MediumBytes bytes(file, sizeOf(file));
    SourceFiles sources(-1);
    const ReportVariation noReport;
    const Advance uncounted = [](std::uint64_t /*bytes*/) {};
    return function(Examination{bytes, sources, differences, uncounted, noReport});
}

std::string ownerIn(const Descriptor& image, std::uint64_t offset) {
    Differences unused;
    return examining(image, unused,
                     [&](const Examination& examination) { return ownerOf(examination, offset); });
}

void refuseMarks(const ImageBlocks& image, const Descriptor& key, Differences& differences) {
    MediumBytes bytes(image.file, sizeOf(image.file));
    const auto partition = keyPartition(bytes).value_or(ByteRange{});
    examining(key, differences, [&](const Examination& examination) {
        refuseForeignMarks(examination, partition, partition.offset, image.blocks);
    });
}
} // namespace

void writeBlocks(const ImageBlocks& image, const Descriptor& device) {
    const auto buffer = std::make_unique<Buffer>();
    forEachPiece(image.blocks, [&](const ByteRange& piece) {
        readImage(image, piece, *buffer);
        // The next piece is read while this one is written.
        posix_fadvise(image.file.number(), static_cast<off_t>(piece.offset + piece.size), PIECE_SIZE,
                      POSIX_FADV_WILLNEED);
        writePiece(device, piece, *buffer);
        return true;
    });
    check(fsync(device.number()) == 0).orFail("the disk could not take all that was written");
}

Differences compareBlocks(const ImageBlocks& image, const ReadMedium& key, const Advance& advance) {
    const auto wanted = std::make_unique<Buffer>();
    const auto found = std::make_unique<Buffer>();
    Differences differences;
    forEachPiece(image.blocks, [&](const ByteRange& piece) {
        readImage(image, piece, *wanted);
        const auto count = readAt(key.file.number(), found->bytes.data(), piece.size, piece.offset);
        check(count >= 0).orFail(rangeText(piece) + " cannot be read");
        const auto* const begin = wanted->bytes.cbegin();
        const auto* const end = begin + count;
        const auto* const parting = std::mismatch(begin, end, found->bytes.cbegin()).first;
        const auto at = piece.offset + static_cast<std::uint64_t>(parting - begin);
        if (parting != end) {
            differences.addForm(ownerIn(image.file, at) + " differs" + atByte(at));
        } else if (static_cast<std::uint64_t>(count) != piece.size) {
            differences.addForm("it ends" + atByte(key.size) + ", and its image has " +
                                std::to_string(sizeOf(image.file)) + " bytes");
        }
        advance(piece.size);
        return differences.count() == 0;
    });
    if (differences.count() == 0) {
        refuseMarks(image, key.file, differences);
    }
    return differences;
}

} // namespace velacreate
