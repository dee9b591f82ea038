#include "forms/isoPathTables.h"

namespace velacreate {
namespace {
using ToBytes = std::string (*)(std::uint64_t value, std::size_t bytes);

std::string pathTable(const std::vector<IsoListedDirectory>& directories, ToBytes toBytes) {
    std::string table;
    for (const auto& directory : directories) {
        const auto size = directory.identifier.size();
        table += littleEndian(size, 1) + '\0' + toBytes(directory.block, 4) + toBytes(directory.parent, 2) +
                 directory.identifier + std::string(size % 2, '\0');
    }
    return table;
}
} // namespace

void examineIsoPathTables(IsoMedium& medium, const IsoRoot& root,
                          const std::vector<IsoListedDirectory>& directories) {
    const auto examine = [&](const std::string& order, std::uint32_t block, ToBytes toBytes) {
        const auto place =
            "the " + order + (root.kind == IsoTreeKind::joliet ? " Joliet" : "") + " path table";
        const auto table = pathTable(directories, toBytes);
        auto blocks = blocksOf(table.size());
        if (!medium.isFromXorriso()) {
            blocks += blocks % 2;
        }
        if (root.pathTableSize != table.size()) {
            medium.add(place, "unexpected size");
        }
        medium.claimBytes(place, block, blocks, table);
    };
    examine("little-endian", root.littleEndianTable, littleEndian);
    examine("big-endian", root.bigEndianTable, bigEndian);
}

} // namespace velacreate
