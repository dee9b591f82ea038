#include "medium/isoImage.h"
#include "medium/readBack.h"
#include "medium/sources.h"
#include "support/failure.h"

#include <mediaRules.h>

#include <limits>
#include <optional>

namespace velacreate {
namespace {
using namespace std::literals;

constexpr std::uint64_t SECTOR = 512; ///< the unit of sizes

/// The bytes that a machine loads.
struct Extent {
    std::uint64_t offset;
    std::uint64_t size;
};

/// The 16-bit words of the first entry add up to 0.
bool isValidCatalog(const ImageBlock& catalog) {
    constexpr std::size_t entrySize = 32;
    std::uint64_t sum = 0;
    for (std::size_t at = 0; at < entrySize; at += 2) {
        sum += catalog.number(at, 2);
    }
    return catalog.has(0, "\x01"sv) && catalog.has(30, "\x55\xAA"sv) && sum % 0x10000 == 0;
}

/// Fewer than two sectors mean: to the end. The field is too small for large files.
Extent extentOfCatalog(const ImageBlock& catalog) {
    const auto sectors = catalog.number(38, 2);
    return {catalog.number(40, 4) * ImageBlock::SIZE,
            sectors < 2 ? std::numeric_limits<std::uint64_t>::max() : sectors * SECTOR};
}

std::optional<Extent> partitionOfType(const ImageBlock& table, std::uint64_t type) {
    constexpr std::size_t entrySize = 16;
    constexpr std::size_t end = 510;
    if (!table.has(end, "\x55\xAA"sv)) {
        return std::nullopt;
    }
    for (std::size_t entry = 446; entry < end; entry += entrySize) {
        if (table.number(entry + 4, 1) == type) {
            return Extent{table.number(entry + 8, 4) * SECTOR, table.number(entry + 12, 4) * SECTOR};
        }
    }
    return std::nullopt;
}

class BootRecordCheck {
public:
    /// @param lines  to which a line is added for each fault
    BootRecordCheck(int jobDirectory, const Tree& expected, const Descriptor& image,
                    std::vector<std::string>& lines)
        : m_expected(expected), m_image(image), m_sources(jobDirectory), m_lines(lines) {}

    void checkEfi() {
        const auto record = block(17);
        if (!record.has(0, "\0CD001\1EL TORITO SPECI"
                           "FICATION"sv)) {
            add("the boot record is missing");
            return;
        }
        const auto catalog = block(record.number(71, 4));
        if (!isValidCatalog(catalog)) {
            add("the boot catalog is missing or damaged");
        } else if (!catalog.has(1, "\xEF"sv)) {
            add("the boot catalog is not for EFI");
        } else if (!catalog.has(32, "\x88\0"sv)) { // bootable, without emulation
            add("the boot catalog has no entry that EFI starts from");
        } else {
            checkExtent("the boot record", extentOfCatalog(catalog), VelaCreation::EFI_LOADER);
        }
    }

    void checkPowerPc() {
        constexpr std::uint64_t wholeImage = 0x96;
        constexpr std::uint64_t loader = 0x41;
        const auto table = block(0);
        const auto whole = partitionOfType(table, wholeImage);
        if (!whole || whole->offset != 0) {
            add("the CHRP boot record is missing");
        }
        if (const auto extent = partitionOfType(table, loader); extent) {
            checkExtent("the PReP boot record", *extent, VelaCreation::POWERPC_LOADER);
        } else {
            add("the PReP boot record is missing");
        }
    }

private:
    ImageBlock block(std::uint64_t place) const {
        const auto block = ImageBlock::read(m_image, place);
        if (!block) {
            failReading();
        }
        return *block;
    }

    void checkExtent(const std::string& record, const Extent& extent, const std::string& place) {
        const auto part = m_expected.find(place);
        if (part == m_expected.end() || part->second.isDirectory) {
            add("there is no file " + quote(place) + " to start from");
            return;
        }
        m_sources.enter(part->second);
        const auto finding = compareBytes(m_image, extent.offset, m_sources, [](std::uint64_t) {});
        if (finding == Finding::unreadable) {
            failReading();
        }
        if (finding == Finding::different) {
            add(record + " does not point to the bytes of " + quote(place));
        } else if (extent.size < part->second.size) {
            add(record + " covers only a part of " + quote(place));
        }
    }

    [[noreturn]] static void failReading() {
        throw Failure(SystemError().about("reading back what a machine starts from"));
    }

    void add(const std::string& fault) { m_lines.push_back(fault); }

    const Tree& m_expected;
    const Descriptor& m_image;
    Sources m_sources;
    std::vector<std::string>& m_lines;
};
} // namespace

std::vector<std::string> compareEfiImage(int jobDirectory, const Contents& contents, const Descriptor& image,
                                         const Advance& advance) {
    auto lines = compareArchive(jobDirectory, contents.tree, image, contents.added, advance);
    BootRecordCheck(jobDirectory, contents.tree, image, lines).checkEfi();
    return lines;
}

std::vector<std::string> comparePowerPcImage(int jobDirectory, const Contents& contents,
                                             const Descriptor& image, const Advance& advance) {
    auto lines = compareArchive(jobDirectory, contents.tree, image, contents.added, advance);
    BootRecordCheck(jobDirectory, contents.tree, image, lines).checkPowerPc();
    return lines;
}

} // namespace velacreate
