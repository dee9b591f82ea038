#include "forms/isoFiles.h"

#include "support/failure.h"

#include <algorithm>
#include <set>

namespace velacreate {
namespace {
class Files {
public:
    Files(IsoMedium& medium, const std::vector<IsoNode>& nodes) : m_medium(medium) {
        for (const auto& node : nodes) {
            if (!node.isDirectory && node.part != nullptr && node.primary) {
                (node.primary->size == 0 ? m_empty : m_full).push_back(&node);
            }
        }
        std::sort(m_full.begin(), m_full.end(), [](const IsoNode* one, const IsoNode* other) {
            return one->primary->block < other->primary->block;
        });
    }

    void examine(std::optional<std::uint32_t> emptyBlock) {
        for (const auto* file : m_full) {
            examineFull(*file);
        }
        const auto places = emptyBlock ? std::set<std::uint32_t>{*emptyBlock} : followingBlocks();
        for (const auto* file : m_empty) {
            examineEmpty(*file, places.count(file->primary->block) > 0);
        }
    }

private:
    void examineFull(const IsoNode& file) {
        const auto [block, size] = *file.primary;
        const auto place = quote(file.path);
        const bool isIn = m_medium.claim(place, block, blocksOf(size));
        if (size != file.part->size) {
            m_medium.examination().differences.addDiffering(file.path, *file.part);
        } else if (isIn) {
            compareContent(m_medium.examination(), file.path, *file.part, offsetOf(block));
            m_medium.expectZero(place, offsetOf(block) + size, offsetOf(blocksOf(size)) - size);
        }
    }

    void examineEmpty(const IsoNode& file, bool isInPlace) {
        if (file.part->size != 0) {
            m_medium.examination().differences.addDiffering(file.path, *file.part);
        } else {
            compareContent(m_medium.examination(), file.path, *file.part, 0);
        }
        if (!isInPlace) {
            m_medium.add(quote(file.path), "unexpected place of an empty file");
        }
    }

    std::set<std::uint32_t> followingBlocks() const {
        std::set<std::uint32_t> places;
        for (const auto* file : m_full) {
            places.insert(file->primary->block);
        }
        if (!m_full.empty()) {
            const auto last = *m_full.back()->primary;
            places.insert(last.block + blocksOf(last.size));
        }
        return places;
    }

    IsoMedium& m_medium;
    std::vector<const IsoNode*> m_full;
    std::vector<const IsoNode*> m_empty;
};
} // namespace

void examineIsoFiles(IsoMedium& medium, const std::vector<IsoNode>& nodes,
                     std::optional<std::uint32_t> emptyBlock) {
    Files(medium, nodes).examine(emptyBlock);
}

} // namespace velacreate
