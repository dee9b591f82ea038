#include "forms/fatBootSector.h"

#include "forms/fatDefaults.h"
#include "forms/fatSectors.h"

#include <algorithm>
#include <sstream>

namespace velacreate {
namespace {
constexpr std::uint64_t LARGEST_TRACK = 63;

std::string at(std::uint64_t byte) {
    std::ostringstream text;
    text << " (byte 0x" << std::hex << byte << ")";
    return text.str();
}

class BootSector {
public:
    BootSector(const Examination& examination, const FatPlace& place)
        : m_examination(examination), m_place(place) {}

    std::optional<FatLayout> examine(std::vector<std::string>& notes) {
        if (m_place.range.size < SECTOR_SIZE) {
            return refuse("there is no room for one");
        }
        m_found = read(0);
        m_numbers = numbersIn(m_found);
        auto layout = m_numbers.layout;
        layout.offset = m_place.range.offset;
        layout.hasLabel = !m_place.mayLackLabel || m_numbers.label != NO_FAT_LABEL;
        for (const auto& problem : {sizeProblem(layout), clusterProblem(layout)}) {
            if (!problem.empty()) {
                return refuse(problem);
            }
        }
        compareBootSector(layout);
        if (m_numbers.flaws != 0) {
            notes.emplace_back("the file system was not unmounted, as its boot sector tells");
        }
        if (layout.isFat32()) {
            compareCopies();
        }
        demandZeros(layout);
        return layout;
    }

private:
    std::nullopt_t refuse(const std::string& reason) {
        m_examination.differences.addForm("the boot sector of the file system" + at(m_place.range.offset) +
                                          ": " + reason);
        return std::nullopt;
    }

    std::uint64_t offsetOf(std::uint64_t sector) const { return m_place.range.offset + sector * SECTOR_SIZE; }

    Sector read(std::uint64_t number) {
        Sector sector{};
        m_examination.medium.read(offsetOf(number), sector.data(), sector.size());
        return sector;
    }

    /// @return how the numbers do not agree with each other or with the place; empty when they do
    std::string sizeProblem(const FatLayout& layout) const {
        const auto room = m_place.range.size / SECTOR_SIZE;
        const bool rootFits = layout.isFat32()
                                  ? layout.rootEntries == 0
                                  : layout.rootEntries != 0 && layout.rootSize() % SECTOR_SIZE == 0;
        if (m_numbers.sectorSize != SECTOR_SIZE) {
            return "its sectors do not have 512 bytes";
        }
        if (layout.clusterSectors == 0 || (layout.clusterSectors & (layout.clusterSectors - 1)) != 0) {
            return "its cluster size is not a power of two";
        }
        if (layout.reservedSectors <= (layout.isFat32() ? BACKUP_SECTOR + INFO_SECTOR : 0)) {
            return "it has too few reserved sectors";
        }
        if (!rootFits) {
            return "it has a wrong number of root entries";
        }
        if (layout.sectors > room) {
            return "the file system has " + std::to_string(layout.sectors) +
                   " sectors, but there is only room for " + std::to_string(room);
        }
        if (m_place.isFilled && layout.sectors != room && layout.sectors != wholeTracks(room)) {
            return "the file system ends " + std::to_string(room - layout.sectors) +
                   " sectors before its partition";
        }
        return "";
    }

    std::uint64_t wholeTracks(std::uint64_t sectors) const {
        const auto track = m_numbers.trackSectors;
        return track == 0 || track > LARGEST_TRACK ? sectors : sectors - sectors % track;
    }

    /// Counts the clusters. Demands a number that mkfs.vfat gives to the kind, as machines do not agree about
    /// those between, and tables of its length.
    std::string clusterProblem(FatLayout& layout) const {
        constexpr std::uint64_t FEWEST_OF_32 = 65529;
        constexpr std::uint64_t MOST_OF_32 = 268435446;
        const auto dataSector = (layout.dataOffset() - layout.offset) / SECTOR_SIZE;
        if (layout.clusterSectors != 0 && dataSector < layout.sectors) {
            layout.clusters = (layout.sectors - dataSector) / layout.clusterSectors;
        }
        if (!layout.isFat32() && layout.clusters <= MOST_CLUSTERS_OF_FAT_12) {
            layout.bits = 12;
        }
        const auto fewest = layout.bits == 12   ? 1
                            : layout.bits == 16 ? FEWEST_CLUSTERS_OF_FAT_16
                                                : FEWEST_OF_32;
        const auto count = std::to_string(layout.clusters);
        if (layout.clusters < fewest ||
            layout.clusters > (layout.isFat32() ? MOST_OF_32 : MOST_CLUSTERS_OF_FAT_16)) {
            return "FAT " + std::to_string(layout.bits) + " does not have " + count + " clusters";
        }
        const auto needed = neededTableSectors(layout.clusters, layout.bits);
        const auto forClusters = [&](const char* problem) {
            return std::string("its tables are too ") + problem + " for " + count + " clusters";
        };
        // mkfs.vfat rounds the length up, after it has counted up to three clusters too many.
        return layout.tableSectors < needed                                         ? forClusters("short")
               : layout.tableSectors > roundedUp(needed + 1, layout.clusterSectors) ? forClusters("long")
                                                                                    : defaultsProblem(layout);
    }

    /// Other numbers would leave room in free space for the marks of other file systems.
    std::string defaultsProblem(const FatLayout& layout) const {
        const auto expected = defaultFatLayout(layout.sectors, m_place.range.size);
        const auto* const field = layout.clusterSectors != expected.clusterSectors ? "cluster size"
                                  : layout.reservedSectors != expected.reservedSectors
                                      ? "number of reserved sectors"
                                  : layout.rootEntries != expected.rootEntries   ? "number of root entries"
                                  : layout.tableSectors != expected.tableSectors ? "table length"
                                                                                 : nullptr;
        return field == nullptr || !m_place.isFilled
                   ? ""
                   : std::string("its ") + field + " is not what mkfs.vfat gives to a file system of " +
                         std::to_string(layout.sectors) + " sectors";
    }

    void compareBootSector(const FatLayout& layout) {
        const auto expected = bootSectorOf(layout, m_found);
        const auto* const difference = std::mismatch(m_found.begin(), m_found.end(), expected.begin()).first;
        if (difference != m_found.end()) {
            const auto index = static_cast<std::size_t>(difference - m_found.begin());
            m_examination.differences.addForm("the boot sector of the file system" +
                                              at(m_place.range.offset + index) + ": its " +
                                              bootFieldAt(layout, index) + " is not what mkfs.vfat writes");
        }
        for (const auto& field : varyingBootFields(layout)) {
            vary(0, field);
        }
    }

    void vary(std::uint64_t sector, const VaryingField& field) {
        reportVariation(m_examination, field.variation, {offsetOf(sector) + field.offset, field.size});
    }

    void compareCopies() {
        demand(BACKUP_SECTOR, backupOf(m_found), "the backup of the boot sector");
        for (const auto sector : {INFO_SECTOR, BACKUP_SECTOR + INFO_SECTOR}) {
            demand(sector, infoSectorOf(read(sector)), "an FSInfo sector");
            vary(sector, HINTS);
        }
    }

    void demand(std::uint64_t sector, const Sector& expected, const char* name) {
        if (read(sector) != expected) {
            m_examination.differences.addForm(std::string(name) + at(offsetOf(sector)) +
                                              " is not what mkfs.vfat writes");
        }
    }

    void demandZeros(const FatLayout& layout) {
        for (std::uint64_t sector = 1; sector < layout.reservedSectors; ++sector) {
            const auto place = sector % BACKUP_SECTOR;
            const bool isUsed = layout.isFat32() && sector <= BACKUP_SECTOR + INFO_SECTOR &&
                                (place == 0 || place == INFO_SECTOR);
            if (!isUsed && !m_examination.medium.areZero(offsetOf(sector), SECTOR_SIZE)) {
                m_examination.differences.addForm(rangeText({offsetOf(sector), SECTOR_SIZE}) +
                                                  ", a reserved sector of the file system, are not zero");
                return;
            }
        }
    }

    const Examination& m_examination;
    const FatPlace& m_place;
    Sector m_found{};
    FatNumbers m_numbers{};
};
} // namespace

std::optional<FatLayout> examineFatBootSector(const Examination& examination, const FatPlace& place,
                                              std::vector<std::string>& notes) {
    return BootSector(examination, place).examine(notes);
}

} // namespace velacreate
