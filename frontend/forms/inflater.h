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

    /// @return how many bytes there are; 0 at the end of the data, where they are damaged, and at an empty
    /// block
    /// @throw Failure when the medium cannot be read
    std::size_t read(unsigned char* data, std::size_t size);

    /// Whether the last block has been read to its end.
    bool isComplete() const { return m_result == Z_STREAM_END; }
    /// Whether bits without a use, before a stored block or behind the last block, are zero.
    bool hasZeroPadding() const { return m_hasZeroPadding; }
    /// Whether there is a block without content in front of the last one. zip writes none.
    bool hasEmptyBlock() const { return m_hasEmptyBlock; }
    /// What lies behind the last block.
    ByteRange rest() const;

private:
    void fill();
    void goOn();
    void endBlock(bool isLast);
    void checkPadding(bool isEnd, unsigned unusedBits);

    MediumBytes& m_medium;
    ByteRange m_left; ///< of the deflated data, not yet in the stream
    z_stream m_stream{};
    int m_result = Z_OK;
    unsigned m_lastByte = 0; ///< that was taken from the stream
    bool m_hasZeroPadding = true;
    uLong m_blockStart = 0; ///< where the content of the block begins
    bool m_hasEmptyBlock = false;
};

} // namespace velacreate
