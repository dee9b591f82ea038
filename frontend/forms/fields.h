/// @file
/// The fields of a fixed structure on a medium.
#pragma once

#include <mediaRules.h>

#include <array>
#include <cstddef>
#include <cstdint>
#include <string>

namespace velacreate {

using VelaCreation::SECTOR_SIZE;
using Sector = std::array<unsigned char, SECTOR_SIZE>;

/// @name Fields of a boot record
/// @{
constexpr std::size_t DISK_SIGNATURE_FIELD = 440;
constexpr std::size_t DISK_SIGNATURE_SIZE = 4;
constexpr std::size_t PARTITIONS_FIELD = 446;
constexpr std::size_t PARTITION_SIZE = 16;
constexpr std::size_t FOURTH_PARTITION_FIELD = PARTITIONS_FIELD + 3 * PARTITION_SIZE;
constexpr std::size_t FOURTH_TYPE_FIELD = FOURTH_PARTITION_FIELD + 4;
constexpr std::size_t SIGNATURE_FIELD = 510;
constexpr std::array<unsigned char, 2> SIGNATURE = {0x55, 0xaa};
/// @}

struct Field {
    std::size_t offset; ///< in the structure; it ends where the next field begins
    const char* name;
};

/// @param fields  in order; the first one begins at 0
template <std::size_t COUNT>
const char* fieldAt(const std::array<Field, COUNT>& fields, std::size_t offset) {
    std::size_t index = COUNT - 1;
    while (fields[index].offset > offset) {
        --index;
    }
    return fields[index].name;
}

/// @return a number that is stored with its lowest byte first
inline std::uint32_t littleEndian(const unsigned char* data, std::size_t bytes) {
    std::uint32_t number = 0;
    while (bytes-- > 0) {
        number = number << 8U | data[bytes];
    }
    return number;
}

inline void putLittleEndian(unsigned char* data, std::size_t bytes, std::uint64_t number) {
    for (std::size_t at = 0; at < bytes; ++at) {
        data[at] = static_cast<unsigned char>(number >> 8U * at & 0xffU);
    }
}

/// @return the same as text
inline std::string littleEndian(std::uint64_t number, std::size_t bytes) {
    std::string text(bytes, '\0');
    putLittleEndian(reinterpret_cast<unsigned char*>(text.data()), bytes, number);
    return text;
}

} // namespace velacreate
