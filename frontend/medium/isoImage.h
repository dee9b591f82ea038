/// @file
/// ISO 9660 images, by what they say of themselves.
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

    /// @return none, with errno set, when it cannot be read; all zeros when the image does not have all of it
    static std::optional<ImageBlock> read(const Descriptor& image, std::uint64_t place);

    bool has(std::size_t at, std::string_view text) const;
    std::uint64_t number(std::size_t at, std::size_t bytes) const; ///< the lowest byte first

private:
    std::array<unsigned char, SIZE> m_bytes{};
};

/// @return how many bytes an image has that is whole, at the least; 0 when the file is no ISO 9660 image
std::uint64_t isoImageSize(const Descriptor& file);

/// @param path  for the message
/// @throw Refusal when a file is none, or only the beginning of one
void requireWholeIsoImage(const Descriptor& file, const std::string& path);

} // namespace velacreate
