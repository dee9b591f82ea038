/// @file
/// The fields of a fixed structure on a medium.
#pragma once

#include <array>
#include <cstddef>
#include <cstdint>

namespace velacreate {

constexpr std::size_t SECTOR_SIZE = 512;
using Sector = std::array<unsigned char, SECTOR_SIZE>;

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

} // namespace velacreate
