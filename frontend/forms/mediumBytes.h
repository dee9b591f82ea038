/// @file
/// The bytes of a medium.
#pragma once

#include "support/descriptor.h"

#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <memory>

namespace velacreate {

/// Reads a file, or a disk past the cache. All offsets and sizes are in bytes.
class MediumBytes {
public:
    /// @param file  stays open; a disk may be opened with O_DIRECT
    MediumBytes(const Descriptor& file, std::uint64_t size);

    const Descriptor& file() const { return m_file; }
    std::uint64_t size() const { return m_size; }

    struct Bytes {
        const unsigned char* data;
        std::size_t size;
    };
    /// Bytes in a buffer of this object, until the next call.
    /// @return at least one byte, and at most as many as wanted
    /// @throw Failure when they cannot be read, or lie beyond the end
    Bytes view(std::uint64_t offset, std::uint64_t wanted);

    /// @throw Failure when not all can be read, or some lie beyond the end
    void read(std::uint64_t offset, void* data, std::size_t size);

    /// @throw Failure as above
    bool areZero(std::uint64_t offset, std::uint64_t size);

private:
    struct Free {
        void operator()(unsigned char* memory) const { std::free(memory); } // NOLINT(*-no-malloc)
    };

    const Descriptor& m_file;
    std::uint64_t m_size;
    std::unique_ptr<unsigned char, Free> m_buffer; ///< aligned, as O_DIRECT demands
    std::uint64_t m_start = 0;                     ///< of what is in the buffer
    std::size_t m_count = 0;
};

} // namespace velacreate
