#include "forms/fatSectors.h"

#include <mediaRules.h>

#include <algorithm>

namespace velacreate {

const std::string FAT_LABEL = std::string(VelaCreation::KEY_LABEL) + "    ";

const std::string NO_FAT_LABEL = "NO NAME    ";

namespace {
constexpr std::size_t SECTOR_BYTES_FIELD = 11;
constexpr std::size_t CLUSTER_FIELD = 13;
constexpr std::size_t RESERVED_FIELD = 14;
constexpr std::size_t TABLES_FIELD = 16;
constexpr std::size_t ROOT_ENTRIES_FIELD = 17;
constexpr std::size_t SHORT_SECTORS_FIELD = 19;
constexpr std::size_t MEDIA_FIELD = 21;
constexpr std::size_t SHORT_TABLE_FIELD = 22;
constexpr std::size_t GEOMETRY_FIELD = 24; ///< sectors per track, heads, hidden sectors
constexpr std::size_t GEOMETRY_SIZE = 8;
constexpr std::size_t LONG_SECTORS_FIELD = 32;

constexpr std::size_t LONG_TABLE_FIELD = 36; ///< of FAT 32, as the next ones
constexpr std::size_t ROOT_CLUSTER_FIELD = 44;
constexpr std::size_t INFO_SECTOR_FIELD = 48;
constexpr std::size_t BACKUP_SECTOR_FIELD = 50;

constexpr std::size_t EXTENSION = 36; ///< of FAT 12 and 16
constexpr std::size_t EXTENSION_OF_32 = 64;
constexpr std::size_t STATE_FIELD = 1; ///< in the extension, as the next ones
constexpr std::size_t SERIAL_FIELD = 3;
constexpr std::size_t SERIAL_SIZE = 4;
constexpr std::size_t LABEL_FIELD = 7;
constexpr std::size_t TYPE_FIELD = 18;
constexpr std::size_t CODE_FIELD = 26;

constexpr std::uint64_t MOST_SHORT_SECTORS = 0xffff;
constexpr unsigned FLAWS = 3; ///< the state's bits for a file system that was not unmounted or had errors

constexpr std::array<Field, 12> COMMON_FIELDS = {{{0, "jump"},
                                                  {3, "OEM name"},
                                                  {SECTOR_BYTES_FIELD, "sector size"},
                                                  {CLUSTER_FIELD, "cluster size"},
                                                  {RESERVED_FIELD, "number of reserved sectors"},
                                                  {TABLES_FIELD, "number of tables"},
                                                  {ROOT_ENTRIES_FIELD, "number of root entries"},
                                                  {SHORT_SECTORS_FIELD, "16-bit number of sectors"},
                                                  {MEDIA_FIELD, "media byte"},
                                                  {SHORT_TABLE_FIELD, "16-bit table length"},
                                                  {GEOMETRY_FIELD, "geometry"},
                                                  {LONG_SECTORS_FIELD, "32-bit number of sectors"}}};
constexpr std::array<Field, 7> FIELDS_OF_32 = {{{0, "32-bit table length"},
                                                {4, "table flags"},
                                                {6, "version"},
                                                {8, "root cluster"},
                                                {12, "number of the FSInfo sector"},
                                                {14, "number of the backup sector"},
                                                {16, "reserved bytes"}}};
constexpr std::array<Field, 7> EXTENSION_FIELDS = {{{0, "drive number"},
                                                    {STATE_FIELD, "state"},
                                                    {2, "extended boot signature"},
                                                    {SERIAL_FIELD, "serial number"},
                                                    {LABEL_FIELD, "label"},
                                                    {TYPE_FIELD, "type text"},
                                                    {CODE_FIELD, "boot code"}}};

template <std::size_t SIZE>
void put(Sector& sector, std::size_t at, const std::array<unsigned char, SIZE>& bytes) {
    std::copy(bytes.begin(), bytes.end(), sector.begin() + at);
}

void put(Sector& sector, std::size_t at, const std::string& text) {
    std::copy(text.begin(), text.end(), sector.begin() + at);
}

std::uint64_t number(const Sector& sector, std::size_t at, std::size_t bytes) {
    return littleEndian(sector.data() + at, bytes);
}

std::size_t extensionOf(const FatLayout& layout) {
    return layout.isFat32() ? EXTENSION_OF_32 : EXTENSION;
}

/// Shows a message, and waits for a key.
void putCode(Sector& sector, std::size_t at) {
    constexpr std::array<unsigned char, 29> CODE = {
        0x0e, 0x1f, 0xbe, 0,    0x7c, 0xac, 0x22, 0xc0, 0x74, 0x0b, 0x56, 0xb4, 0x0e, 0xbb, 0x07,
        0,    0xcd, 0x10, 0x5e, 0xeb, 0xf0, 0x32, 0xe4, 0xcd, 0x16, 0xcd, 0x19, 0xeb, 0xfe};
    constexpr std::size_t MESSAGE_ADDRESS = 3;
    put(sector, at, CODE);
    sector[at + MESSAGE_ADDRESS] = static_cast<unsigned char>(at + CODE.size());
    put(sector, at + CODE.size(),
        std::string("This is not a bootable disk.  Please insert a bootable floppy and\r\n"
                    "press any key to try again ... \r\n"));
}

} // namespace

FatNumbers numbersIn(const Sector& bootSector) {
    FatNumbers numbers{};
    auto& layout = numbers.layout;
    const auto shortSectors = number(bootSector, SHORT_SECTORS_FIELD, 2);
    const auto shortTable = number(bootSector, SHORT_TABLE_FIELD, 2);
    layout.bits = shortTable != 0 ? 16 : 32;
    layout.sectors = shortSectors != 0 ? shortSectors : number(bootSector, LONG_SECTORS_FIELD, 4);
    layout.tableSectors = shortTable != 0 ? shortTable : number(bootSector, LONG_TABLE_FIELD, 4);
    layout.reservedSectors = number(bootSector, RESERVED_FIELD, 2);
    layout.rootEntries = number(bootSector, ROOT_ENTRIES_FIELD, 2);
    layout.clusterSectors = bootSector[CLUSTER_FIELD];
    numbers.sectorSize = number(bootSector, SECTOR_BYTES_FIELD, 2);
    numbers.tables = bootSector[TABLES_FIELD];
    numbers.trackSectors = number(bootSector, GEOMETRY_FIELD, 2);
    const auto* const extension = bootSector.data() + extensionOf(layout);
    numbers.label.assign(extension + LABEL_FIELD, extension + TYPE_FIELD);
    numbers.flaws = extension[STATE_FIELD] & FLAWS;
    return numbers;
}

Sector bootSectorOf(const FatLayout& layout, const Sector& found) {
    const auto extension = extensionOf(layout);
    const bool isShort = layout.sectors <= MOST_SHORT_SECTORS;
    auto sector = found;
    const auto clear = [&](std::size_t begin, std::size_t end) {
        std::fill(sector.begin() + begin, sector.begin() + end, 0);
    };
    clear(0, GEOMETRY_FIELD);
    clear(LONG_SECTORS_FIELD, extension + STATE_FIELD);
    clear(extension + STATE_FIELD + 1, extension + SERIAL_FIELD);
    clear(extension + LABEL_FIELD, SECTOR_SIZE);
    sector[extension + STATE_FIELD] &= FLAWS;
    put(sector, 0,
        std::array<unsigned char, 3>{0xeb, static_cast<unsigned char>(extension + CODE_FIELD - 2), 0x90});
    put(sector, 3, std::string("mkfs.fat"));
    putLittleEndian(&sector[SECTOR_BYTES_FIELD], 2, SECTOR_SIZE);
    putLittleEndian(&sector[CLUSTER_FIELD], 1, layout.clusterSectors);
    putLittleEndian(&sector[RESERVED_FIELD], 2, layout.reservedSectors);
    sector[TABLES_FIELD] = FAT_TABLES;
    putLittleEndian(&sector[ROOT_ENTRIES_FIELD], 2, layout.rootEntries);
    putLittleEndian(&sector[SHORT_SECTORS_FIELD], 2, isShort ? layout.sectors : 0);
    sector[MEDIA_FIELD] = 0xf8;
    putLittleEndian(&sector[LONG_SECTORS_FIELD], 4, isShort ? 0 : layout.sectors);
    if (layout.isFat32()) {
        putLittleEndian(&sector[LONG_TABLE_FIELD], 4, layout.tableSectors);
        putLittleEndian(&sector[ROOT_CLUSTER_FIELD], 4, FIRST_CLUSTER);
        putLittleEndian(&sector[INFO_SECTOR_FIELD], 2, INFO_SECTOR);
        putLittleEndian(&sector[BACKUP_SECTOR_FIELD], 2, BACKUP_SECTOR);
    } else {
        putLittleEndian(&sector[SHORT_TABLE_FIELD], 2, layout.tableSectors);
    }
    sector[extension] = 0x80;
    sector[extension + 2] = 0x29;
    put(sector, extension + LABEL_FIELD, layout.hasLabel ? FAT_LABEL : NO_FAT_LABEL);
    put(sector, extension + TYPE_FIELD, "FAT" + std::to_string(layout.bits) + "   ");
    putCode(sector, extension + CODE_FIELD);
    put(sector, SIGNATURE_FIELD, SIGNATURE);
    return sector;
}

const char* bootFieldAt(const FatLayout& layout, std::size_t at) {
    if (at >= SIGNATURE_FIELD) {
        return "signature";
    }
    const auto extension = extensionOf(layout);
    return at >= extension   ? fieldAt(EXTENSION_FIELDS, at - extension)
           : at >= EXTENSION ? fieldAt(FIELDS_OF_32, at - EXTENSION)
                             : fieldAt(COMMON_FIELDS, at);
}

std::vector<VaryingField> varyingBootFields(const FatLayout& layout) {
    const auto extension = extensionOf(layout);
    return {{Variation::fatGeometry, GEOMETRY_FIELD, GEOMETRY_SIZE},
            {Variation::serialNumber, extension + SERIAL_FIELD, SERIAL_SIZE},
            {Variation::dirtyBit, extension + STATE_FIELD, 1}};
}

Sector backupOf(const Sector& bootSector) {
    auto backup = bootSector;
    backup[EXTENSION_OF_32 + STATE_FIELD] = 0;
    return backup;
}

Sector infoSectorOf(const Sector& found) {
    constexpr std::size_t HINTS_SIGNATURE_FIELD = 484;
    Sector sector{};
    put(sector, 0, std::string("RRaA"));
    put(sector, HINTS_SIGNATURE_FIELD, std::string("rrAa"));
    std::copy_n(found.begin() + HINTS.offset, HINTS.size, sector.begin() + HINTS.offset);
    put(sector, SIGNATURE_FIELD, SIGNATURE);
    return sector;
}

} // namespace velacreate
