#include "keys/keyImage.h"

#include "forms/fields.h"
#include "inputs/addedFiles.h"
#include "inputs/checksum.h"
#include "job/confinement.h"
#include "job/supervisor.h"
#include "medium/imageKinds.h"
#include "support/exitStatus.h"
#include "support/failure.h"

#include <filesystem>

#include <fcntl.h>
#include <sys/mman.h>

namespace velacreate {
namespace {
constexpr std::uint64_t LARGEST_MAP = 16 << 20;
constexpr const char* SUM_PLACE = "image"; ///< of the event with the sum

std::string textOf(const Descriptor& map) {
    const auto size = sizeOf(map);
    refuseIf(size > LARGEST_MAP, "the map is not right: it is larger than 16 MiB");
    std::string text(size, '\0');
    check(readAt(map.number(), text.data(), size, 0) == static_cast<ssize_t>(size)).orFail("reading the map");
    return text;
}

/// Gives the blocks from one process to another.
void put(const Blocks& blocks, const Descriptor& file) {
    writeAll(file, reinterpret_cast<const char*>(blocks.data()), blocks.size() * sizeof(ByteRange),
             "the list of blocks");
}

Blocks blocksIn(const Descriptor& file, std::uint64_t imageSize) {
    const auto size = sizeOf(file);
    Blocks blocks(size / sizeof(ByteRange));
    check(readAt(file.number(), blocks.data(), size, 0) == static_cast<ssize_t>(size))
        .orFail("reading the list of blocks");
    std::uint64_t done = 0;
    for (const auto& range : blocks) { // the process has read what anybody may have made
        if (range.offset < done || range.offset > imageSize || range.size > imageSize - range.offset) {
            throw Failure("the list of blocks is not right");
        }
        done = range.offset + range.size;
    }
    return blocks;
}
} // namespace

KeyImage::KeyImage(const std::string& path)
    : m_path(absolutePath(path)), m_file(openChosen(path, O_RDONLY, S_IFREG)), m_status(m_file.status()) {
    refuseIf(isIsoImage(m_file),
             quote(path) + " is an ISO image, and no image of a key; burn writes it to a disc");
    refuseIf(size() % SECTOR_SIZE != 0, quote(path) + " is incomplete: it does not end with a whole sector");
    if (const auto map = path + BLOCK_MAP_ENDING; std::filesystem::exists(map)) {
        m_mapPath = absolutePath(map);
        m_map = openChosen(map, O_RDONLY, S_IFREG);
    }
}

void KeyImage::requireOthers(const ShowChoices& choices) const {
    for (const auto& file : addedFiles(choices)) {
        struct stat about {};
        if (stat(file.path.c_str(), &about) == 0) {
            refuseIf(isSameFile(about, m_status), file.name() + " is the image");
            refuseIf(m_map.isOpen() && isSameFile(about, m_map.status()),
                     file.name() + " is the map of the image");
        }
    }
}

Outcome KeyImage::examine(bool isSummedUp, const JobDirectory& jobDirectory, const HeldSignals& signals,
                          Console& console) {
    const Descriptor found(memfd_create("blocks", MFD_CLOEXEC));
    check(found.isOpen()).orFail("a list of blocks");
    const auto work = [&](Reporter& reporter) {
        reporter.stage("Examining the image");
        const int status = runConfined(
            jobDirectory.directory(), [&] { return readBlocks(found, reporter); }, reporter);
        if (status == 0 && isSummedUp) {
            reporter.stage("Summing up the image", size());
            reporter.sum(SUM_PLACE, sha256Of(m_file, [&](std::uint64_t bytes) { reporter.advance(bytes); }));
        }
        return status;
    };
    auto outcome =
        supervise({{name(), jobDirectory.directory().number(), work, {}, nullptr, JobKind::comparingKey}}, 1,
                  signals, console)
            .front();
    if (signals.hadOne()) {
        outcome.status = EXIT_INTERRUPTED;
    }
    if (outcome.status == 0) {
        m_blocks = blocksIn(found, size());
        m_sum = outcome.sums[SUM_PLACE];
    }
    return outcome;
}

int KeyImage::readBlocks(const Descriptor& found, Reporter& reporter) const {
    MediumBytes bytes(m_file, size());
    SourceFiles sources(-1);
    Differences differences;
    const Advance advance = [](std::uint64_t /*bytes*/) { prolong(); };
    const ReportVariation noReport;
    const auto used = usedBlocks({bytes, sources, differences, advance, noReport});
    if (differences.count() != 0) {
        throw Refusal(quote(m_path) + " is no image of a key: " + differences.lines().front());
    }
    if (!m_map.isOpen()) {
        put(used, found);
        return 0;
    }
    const auto ranges = readBlockMap(textOf(m_map), size());
    Blocks mapped;
    for (const auto& [range, sum] : ranges) {
        append(mapped, range);
    }
    refuseIf(!areAmong(used, mapped), "the map is not right: it leaves out blocks with data");
    checkSums(ranges, reporter);
    put(mapped, found);
    return 0;
}

void KeyImage::checkSums(const std::vector<MappedRange>& mapped, Reporter& reporter) const {
    std::uint64_t total = 0;
    std::vector<ByteRange> ranges;
    for (const auto& [range, sum] : mapped) {
        total += range.size;
        ranges.push_back(range);
    }
    reporter.stage("Checking the image", total);
    const auto sums = sumsOf(m_file, ranges, [&](std::uint64_t bytes) {
        reporter.advance(bytes);
        prolong();
    });
    for (std::size_t index = 0; index < mapped.size(); ++index) {
        refuseIf(sums[index] != mapped[index].sum, quote(m_path) + " is not the image of its map: " +
                                                       rangeText(ranges[index]) + " have another sum");
    }
}

void KeyImage::requireUnchanged() const {
    if (!isUnchanged(m_status, m_file.status())) {
        throw Failure("the image was changed meanwhile");
    }
}

std::vector<NeededFiles> neededBy(const KeyImage& image, const NamedDirectory& scratch,
                                  const ShowChoices& choices) {
    return neededFiles({{"the image", image.path()},
                        {"the map", image.mapPath()},
                        {"the parent of the job directory", scratch.path}},
                       choices);
}

} // namespace velacreate
