/// @file
/// An ISO 9660 image or disc, as a row of blocks.
#pragma once

#include "forms/examination.h"
#include "forms/fields.h"

#include <cstdint>
#include <string>
#include <string_view>

namespace velacreate {

enum class IsoPlatform { none, efi, powerPc };

constexpr std::uint32_t ISO_BLOCK = 2048; ///< bytes

/// Numbers as a form holds them; see also littleEndian().
std::string bigEndian(std::uint64_t value, std::size_t bytes);
std::string bothEndian(std::uint64_t value, std::size_t bytes); ///< so many bytes twice

/// @return a little-endian number at the start of the bytes
std::uint32_t numberIn(std::string_view bytes, std::size_t at, std::size_t size = 4);

constexpr std::uint32_t blocksOf(std::uint64_t bytes) {
    return static_cast<std::uint32_t>((bytes + ISO_BLOCK - 1) / ISO_BLOCK);
}

constexpr std::uint64_t offsetOf(std::uint64_t block) {
    return block * ISO_BLOCK;
}

/// Where a file or directory is.
struct IsoExtent {
    std::uint32_t block;
    std::uint32_t size; ///< in bytes
};

class IsoMedium {
public:
    /// @param platform  whose tool wrote the image
    /// @param blocks    of the volume
    IsoMedium(const Examination& examination, IsoPlatform platform, std::uint32_t blocks)
        : m_examination(examination), m_platform(platform), m_blocks(blocks), m_map(offsetOf(blocks)) {}

    const Examination& examination() const { return m_examination; }
    IsoPlatform platform() const { return m_platform; }
    bool isFromXorriso() const { return m_platform == IsoPlatform::efi; }
    std::uint32_t blocks() const { return m_blocks; }
    const ByteMap& map() const { return m_map; }

    /// Notes a directory that is not entered.
    void addUnknown() { m_hasUnknown = true; }
    bool hasUnknown() const { return m_hasUnknown; }

    /// Adds a difference.
    void add(const std::string& place, const std::string& fault) const;

    /// Whether the volume has these blocks.
    bool has(std::uint32_t block, std::uint64_t count) const;

    /// Claims whole blocks. Adds a difference when they are not in the volume or belong to something else.
    bool claim(const std::string& place, std::uint32_t block, std::uint64_t count);

    /// Claims whole blocks, which must hold the bytes and zeros behind them.
    void claimBytes(const std::string& place, std::uint32_t block, std::uint64_t count,
                    const std::string& bytes);

    /// Adds a difference when the bytes are not zero.
    void expectZero(const std::string& place, std::uint64_t offset, std::uint64_t size) const;

    std::string read(std::uint64_t offset, std::size_t size) const;

private:
    const Examination& m_examination;
    IsoPlatform m_platform;
    std::uint32_t m_blocks;
    ByteMap m_map;
    bool m_hasUnknown = false;
};

} // namespace velacreate
