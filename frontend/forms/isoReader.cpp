#include "forms/isoReader.h"

#include "forms/foundFiles.h"
#include "forms/isoBoot.h"
#include "forms/isoFiles.h"
#include "forms/isoPathTables.h"
#include "support/beneath.h"
#include "support/failure.h"

#include <mediaRules.h>

#include <algorithm>
#include <deque>

namespace velacreate {
namespace {
using namespace std::literals;

using VelaCreation::BOOT_CATALOG;
using VelaCreation::EFI_LOADER;
using VelaCreation::POWERPC_LOADER;

/// @return how many blocks the volume has; 0 when it cannot be examined
std::uint32_t examinedSize(const Examination& examination, BehindVolume behind) {
    const auto size = examination.medium.size();
    const auto blocks = isoVolumeSize(examination.medium);
    if (blocks < ISO_BEHIND_DESCRIPTORS + ISO_PADDING) {
        examination.differences.addForm("there is no volume descriptor, or the volume is too small");
        return 0;
    }
    if (offsetOf(blocks) > size) {
        examination.differences.addForm("the volume is larger than the medium");
        return 0;
    }
    if (behind == BehindVolume::nothing && offsetOf(blocks) < size) {
        examination.differences.addForm(rangeText({offsetOf(blocks), size - offsetOf(blocks)}) +
                                        " are behind the volume's end");
    }
    return blocks;
}

class IsoReader {
public:
    IsoReader(const Examination& examination, const Tree& expected, IsoPlatform platform,
              std::uint32_t blocks)
        : m_medium(examination, platform, blocks),
          m_nodes(isoNodesOf(expected, platform == IsoPlatform::efi ? std::vector<std::string>{BOOT_CATALOG}
                                                                    : std::vector<std::string>{})) {}

    void examine() {
        const auto volume = examineIsoDescriptors(m_medium);
        IsoTreeReader reader(m_medium, m_nodes);
        for (const auto& root : {volume.primary, volume.joliet}) {
            const auto directories = reader.read(root);
            if (reader.hasTooMany()) {
                m_medium.addUnknown();
                reportTooMany(m_medium.examination().differences);
                break;
            }
            if (!m_medium.hasUnknown()) {
                examineIsoPathTables(m_medium, root, directories);
            }
        }
        const bool isEfi = m_medium.platform() == IsoPlatform::efi;
        if (isEfi) {
            examineCatalog(volume.bootCatalog);
            examineGap(volume);
            m_medium.claimBytes("the system area", 0, ISO_FIRST_DESCRIPTOR, "");
        } else {
            examinePartitions();
        }
        examineIsoFiles(m_medium, m_nodes, isEfi ? std::optional(volume.bootCatalog - 1) : std::nullopt);
        examineEnd();
    }

private:
    void examineCatalog(std::uint32_t block) {
        const auto* const catalog = find(BOOT_CATALOG);
        if (catalog != nullptr && (catalog->block != block || catalog->size != ISO_BLOCK)) {
            m_medium.add(quote(BOOT_CATALOG), "it is not the boot catalog");
        }
        if (const auto* const file = startFile(EFI_LOADER); file != nullptr) {
            m_medium.claimBytes("the boot catalog", block, 1, isoBootCatalog(*file));
        }
    }

    /// One block for empty files, in front of the boot catalog. Files do not begin earlier than in a certain
    /// block.
    void examineGap(const IsoVolume& volume) {
        constexpr std::uint64_t firstOfFiles = 32;
        const auto begin =
            std::uint64_t{volume.joliet.bigEndianTable} + blocksOf(volume.joliet.pathTableSize);
        const auto end = std::max(begin, firstOfFiles) + 1;
        if (volume.bootCatalog == end) {
            m_medium.claimBytes("the block of the empty files", static_cast<std::uint32_t>(begin),
                                end - begin, "");
        } else {
            m_medium.add("the boot catalog", "unexpected place");
        }
    }

    void examinePartitions() {
        if (const auto* const loader = startFile(POWERPC_LOADER); loader != nullptr) {
            m_medium.claimBytes("the system area", 0, ISO_FIRST_DESCRIPTOR,
                                isoPowerPcPartitions(*loader, m_medium.blocks()));
        }
    }

    void examineEnd() {
        const auto padding = m_medium.blocks() - ISO_PADDING;
        m_medium.claimBytes("the padding at the end", padding, ISO_PADDING, "");
        if (!m_medium.hasUnknown()) { // what is in an unknown directory is not named again
            reportUnclaimed(m_medium.map(), m_medium.examination().differences);
        }
    }

    /// @return a file's place, or null
    const IsoExtent* find(const std::string& path) const {
        const auto isIt = [&](const IsoNode& node) { return node.path == path && !node.isDirectory; };
        const auto node = std::find_if(m_nodes.begin(), m_nodes.end(), isIt);
        return node != m_nodes.end() && node->primary ? &*node->primary : nullptr;
    }

    const IsoExtent* startFile(const std::string& path) const {
        const auto* const file = find(path);
        if (file == nullptr) {
            m_medium.examination().differences.addForm("there is no file " + quote(path) + " to start from");
        }
        return file;
    }

    IsoMedium m_medium;
    std::vector<IsoNode> m_nodes;
};

/// Records of itself and of the parent.
constexpr std::size_t FIRST_RECORDS = 2;

class IsoVisit {
public:
    IsoVisit(const Examination& examination, IsoPlatform platform, std::uint32_t blocks)
        : m_medium(examination, platform, blocks), m_blocksLeft(blocks) {}

    void visit(const VisitFound& visit) {
        const auto root = examineIsoDescriptors(m_medium).primary;
        m_directories.push_back({"", {root.block, root.size}});
        while (!m_directories.empty()) {
            const auto directory = m_directories.front();
            m_directories.pop_front();
            visitEntries(directory, visit);
        }
    }

private:
    struct Directory {
        std::string place;
        IsoExtent extent;
    };

    /// Directories that overlap cannot hold this up: altogether, no more blocks are read than there are.
    void visitEntries(const Directory& directory, const VisitFound& visit) {
        const auto [first, size] = directory.extent;
        std::size_t records = 0;
        for (std::uint32_t block = first; block - first < blocksOf(size) && m_medium.has(block, 1); ++block) {
            if (m_blocksLeft == 0) {
                return;
            }
            --m_blocksLeft;
            const auto bytes = m_medium.read(offsetOf(block), ISO_BLOCK);
            for (std::size_t at = 0; at < bytes.size() && bytes[at] != '\0';) {
                const IsoRecord record(m_medium, IsoTreeKind::primary,
                                       {std::string_view(bytes).substr(at), offsetOf(block) + at});
                if (!record.isWhole()) {
                    return;
                }
                at += record.length();
                if (++records > FIRST_RECORDS) {
                    use(pathBelow(directory.place, nameOf(record)), record, visit);
                }
            }
        }
    }

    void use(const std::string& place, const IsoRecord& record, const VisitFound& visit) {
        const auto extent = record.extent();
        const bool isDirectory = record.isDirectory();
        FoundFile found = {place, isDirectory, isDirectory ? 0 : extent.size, {}};
        if (m_medium.has(extent.block, blocksOf(extent.size))) {
            found.ranges = {{offsetOf(extent.block), extent.size}};
        }
        if (visit(found) && isDirectory) {
            m_directories.push_back({place, extent});
        }
    }

    IsoMedium m_medium;
    std::uint64_t m_blocksLeft;
    std::deque<Directory> m_directories;
};
} // namespace

IsoPlatform platformOfImage(MediumBytes& medium) {
    if (medium.size() < offsetOf(ISO_BEHIND_DESCRIPTORS)) {
        return IsoPlatform::none;
    }
    if (hasIsoBootRecord(medium)) {
        return IsoPlatform::efi;
    }
    std::string firstBlock(ISO_BLOCK, '\0');
    medium.read(0, firstBlock.data(), firstBlock.size());
    return isPowerPcTable(firstBlock) ? IsoPlatform::powerPc : IsoPlatform::none;
}

void examineIso(const Examination& examination, const Tree& expected, IsoPlatform platform,
                BehindVolume behind) {
    if (const auto blocks = examinedSize(examination, behind); blocks > 0) {
        IsoReader(examination, expected, platform, blocks).examine();
    }
}

void visitIso(const Examination& image, const VisitFound& visit) {
    if (const auto blocks = examinedSize(image, BehindVolume::anything); blocks > 0) {
        const auto platform = platformOfImage(image.medium);
        IsoVisit(image, platform == IsoPlatform::none ? IsoPlatform::efi : platform, blocks).visit(visit);
    }
}

} // namespace velacreate
