/// @file
/// Reads deflated data on a medium.
#pragma once

#include "forms/byteMap.h"
#include "forms/mediumBytes.h"

#include <cstddef>
#include <cstdint>

#include <zlib.h>

namespace velacreate {

/// Inflates data without a header, block for block. Needs the same memory for all data.
class Inflater {
public:
    /// @param deflated  must be on the medium
    Inflater(MediumBytes& medium, const ByteRange& deflated);
    Inflater(const Inflater&) = delete;
    Inflater& operator=(const Inflater&) = delete;
    ~Inflater();

    /// @return how many bytes there are; 0 at the end of the data, or where they are damaged
    /// @throw Failure when the medium cannot be read
    std::size_t read(unsigned char* data, std::size_t size);

    /// Whether the last block has been read to its end.
    bool isComplete() const { return m_result == Z_STREAM_END; }
    /// Whether bits without a use, before a stored block or behind the last block, are zero.
    bool hasZeroPadding() const { return m_hasZeroPadding; }
    /// What lies behind the last block.
    ByteRange rest() const;

private:
    void fill();
    void goOn();
    void checkPadding(bool isEnd, unsigned unusedBits);

    MediumBytes& m_medium;
    ByteRange m_left; ///< of the deflated data, not yet in the stream
    z_stream m_stream{};
    int m_result = Z_OK;
    unsigned m_lastByte = 0; ///< that was taken from the stream
    bool m_hasZeroPadding = true;
};

} // namespace velacreate
