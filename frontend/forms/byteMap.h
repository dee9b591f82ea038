/// @file
/// Which bytes of a medium belong to something.
#pragma once

#include <cstdint>
#include <map>
#include <string>
#include <vector>

namespace velacreate {

struct ByteRange {
    std::uint64_t offset;
    std::uint64_t size;
};

/// @return such as "bytes 0x9000–0x97ff"
std::string rangeText(const ByteRange& range);

/// Needs memory for each gap, not for each claim.
class ByteMap {
public:
    explicit ByteMap(std::uint64_t size) : m_size(size) {}

    /// @return whether none of the bytes was claimed before, and none lies beyond the end; else none of them
    /// is claimed by this call
    bool claim(const ByteRange& range);

    /// @return what belongs to nothing, in order
    std::vector<ByteRange> unclaimed() const;

private:
    std::uint64_t m_size;
    std::map<std::uint64_t, std::uint64_t> m_ends; ///< of what is claimed, by its beginning
};

} // namespace velacreate
