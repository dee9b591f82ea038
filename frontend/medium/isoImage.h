/// @file
/// ISO 9660 images.
#pragma once

#include "support/descriptor.h"

#include <array>
#include <cstddef>
#include <cstdint>
#include <optional>
#include <string>
#include <string_view>

namespace velacreate {

/// A block of an image.
class ImageBlock {
public:
    static constexpr std::size_t SIZE = 2048;

    /// @return none, with errno set, when it cannot be read; zeros behind the end of the image
    static std::optional<ImageBlock> read(const Descriptor& image, std::uint64_t place);

    bool has(std::size_t at, std::string_view text) const;
    std::uint64_t number(std::size_t at, std::size_t bytes) const; ///< little-endian

private:
    std::array<unsigned char, SIZE> m_bytes{};
};

/// @param path  for the message
/// @return the least size of the whole image, by its own descriptor
/// @throw Refusal for another file
std::uint64_t requireIsoImage(const Descriptor& file, const std::string& path);

/// @throw Refusal when it is another file, or incomplete
void requireWholeIsoImage(const Descriptor& file, const std::string& path);

} // namespace velacreate
