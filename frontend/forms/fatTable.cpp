#include "forms/fatTable.h"

#include "forms/fields.h"

#include <algorithm>
#include <cstring>
#include <sstream>

namespace velacreate {
namespace {
/// Holds whole entries of each kind.
constexpr std::uint64_t PIECE_SIZE = 96 << 10;

constexpr std::size_t PAIR_SIZE = 3; ///< two entries of FAT 12

/// No key has files in so many pieces.
constexpr std::size_t MOST_RUNS = 4 << 20;

constexpr std::uint32_t END_BY_MKFS = 0x0ffffff8; ///< of the top directory of FAT 32
constexpr std::uint32_t MEDIA_BITS = 7;           ///< are zero in the first entry
} // namespace

bool FatTable::read(std::vector<std::string>& notes) {
    constexpr std::uint32_t bitsPerByte = 8;
    std::vector<unsigned char> piece;
    for (std::uint64_t offset = 0; offset < m_layout.tableSize(); offset += PIECE_SIZE) {
        const auto cluster = static_cast<std::uint32_t>(offset * bitsPerByte / m_layout.bits);
        if (!readPiece(offset, piece) || !useEntries(cluster, piece)) {
            return false;
        }
    }
    if (m_isDirty) {
        notes.emplace_back("the file system was not unmounted, as its table tells");
    }
    m_isTaken.resize(m_runs.size());
    return true;
}

bool FatTable::readPiece(std::uint64_t offset, std::vector<unsigned char>& piece) {
    piece.resize(std::min(PIECE_SIZE, m_layout.tableSize() - offset));
    m_examination.medium.read(m_layout.tableOffset(0) + offset, piece.data(), piece.size());
    for (std::size_t done = 0; done < piece.size();) {
        const auto place = m_layout.tableOffset(1) + offset + done;
        const auto bytes = m_examination.medium.view(place, piece.size() - done);
        if (std::memcmp(bytes.data, piece.data() + done, bytes.size) != 0) {
            m_examination.differences.addForm(
                "the second table of the file system differs from the first one in " +
                rangeText({place, bytes.size}));
            return false;
        }
        done += bytes.size;
    }
    m_examination.advance(0); // the tables of a large stick take a while
    return true;
}

bool FatTable::useEntries(std::uint32_t cluster, const std::vector<unsigned char>& piece) {
    const auto entrySize = m_layout.bits / 8;
    if (m_layout.bits != 12) {
        for (std::size_t at = 0; at < piece.size(); at += entrySize, ++cluster) {
            if (!use(cluster, littleEndian(&piece[at], entrySize))) {
                return false;
            }
        }
        return true;
    }
    for (std::size_t at = 0; at < piece.size(); at += PAIR_SIZE, cluster += 2) {
        const auto pair = littleEndian(&piece[at], std::min(PAIR_SIZE, piece.size() - at));
        if (!use(cluster, pair & m_layout.allOnes()) || !use(cluster + 1, pair >> 12U)) {
            return false;
        }
    }
    return true;
}

bool FatTable::use(std::uint32_t cluster, std::uint32_t value) {
    if (cluster < FIRST_CLUSTER) {
        return useReserved(cluster, value);
    }
    if (value == 0) {
        return true;
    }
    if (cluster > lastCluster()) {
        return refuse(cluster, value, "is behind the last cluster");
    }
    const bool ends = isEnd(cluster, value);
    if (!ends && (value < FIRST_CLUSTER || value > lastCluster())) {
        return refuse(cluster, value, "is neither a cluster nor an end");
    }
    const auto next = ends ? 0 : value;
    if (!m_runs.empty() && m_runs.back().next == cluster &&
        m_runs.back().first + m_runs.back().count == cluster) {
        ++m_runs.back().count;
        m_runs.back().next = next;
        return true;
    }
    if (m_runs.size() == MOST_RUNS) {
        return refuse(cluster, value, "comes after too many pieces of files");
    }
    m_runs.push_back({cluster, 1, next});
    return true;
}

/// The media byte, then two bits that are cleared while the file system is mounted, or after an error.
bool FatTable::useReserved(std::uint32_t cluster, std::uint32_t value) {
    if (cluster == 0) {
        return value == m_layout.allOnes() - MEDIA_BITS ||
               refuse(cluster, value, "is not the media byte of the boot sector");
    }
    const std::uint32_t flags = m_layout.bits == 12 ? 0 : (m_layout.allOnes() >> 2U) ^ m_layout.allOnes();
    if ((value | flags) != m_layout.allOnes()) {
        return refuse(cluster, value, "is not what mkfs.vfat writes");
    }
    m_isDirty = value != m_layout.allOnes();
    if (flags != 0) {
        const std::uint64_t entrySize = m_layout.bits / 8;
        for (const unsigned table : {0U, 1U}) {
            reportVariation(m_examination, Variation::dirtyBit,
                            {m_layout.tableOffset(table) + 2 * entrySize - 1, 1});
        }
    }
    return true;
}

bool FatTable::refuse(std::uint32_t cluster, std::uint32_t value, const std::string& reason) const {
    std::ostringstream text;
    text << "the table of the file system: the entry of cluster " << cluster << " (0x" << std::hex << value
         << ") " << reason;
    m_examination.differences.addForm(text.str());
    return false;
}

bool FatTable::isEnd(std::uint32_t cluster, std::uint32_t value) const {
    return value == m_layout.allOnes() ||
           (m_layout.isFat32() && cluster == FIRST_CLUSTER && value == END_BY_MKFS);
}

std::uint32_t FatTable::lastCluster() const {
    return static_cast<std::uint32_t>(m_layout.clusters) + FIRST_CLUSTER - 1;
}

ByteRange FatTable::rangeOf(const Run& run) const {
    return {m_layout.clusterOffset(run.first), run.count * m_layout.clusterSize()};
}

FatChain FatTable::take(std::uint32_t first) {
    FatChain chain;
    for (auto cluster = first; cluster != 0;) {
        const auto run =
            std::lower_bound(m_runs.begin(), m_runs.end(), cluster,
                             [](const Run& one, std::uint32_t wanted) { return one.first < wanted; });
        const auto index = static_cast<std::size_t>(run - m_runs.begin());
        if (run == m_runs.end() || run->first != cluster) {
            chain.fault = "leads to cluster " + std::to_string(cluster) +
                          ", which is free or in the middle of other clusters";
            return chain;
        }
        if (m_isTaken[index]) {
            chain.fault = "leads to cluster " + std::to_string(cluster) + ", which is already in use";
            return chain;
        }
        m_isTaken[index] = true;
        chain.ranges.push_back(rangeOf(*run));
        chain.clusters += run->count;
        cluster = run->next;
    }
    return chain;
}

void FatTable::reportUntaken() const {
    std::uint64_t clusters = 0;
    std::uint32_t first = 0;
    for (std::size_t index = 0; index < m_runs.size(); ++index) {
        if (!m_isTaken[index]) {
            first = clusters == 0 ? m_runs[index].first : first;
            clusters += m_runs[index].count;
        }
    }
    if (clusters > 0) {
        m_examination.differences.addForm(
            "clusters of the file system that belong to no file: " + std::to_string(clusters) +
            ", the first is " + std::to_string(first));
    }
}

void FatTable::forEachFreeRange(const std::function<void(const ByteRange&)>& use) const {
    auto done = m_layout.dataOffset();
    for (const auto& run : m_runs) {
        const auto range = rangeOf(run);
        if (range.offset > done) {
            use({done, range.offset - done});
        }
        done = range.offset + range.size;
    }
    if (m_layout.end() > done) {
        use({done, m_layout.end() - done});
    }
}

} // namespace velacreate
