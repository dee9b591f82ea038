/// @file
/// The bytes that should be on a medium.
#pragma once

#include "medium/contents.h"
#include "support/beneath.h"
#include "support/descriptor.h"

#include <cstddef>
#include <cstdint>
#include <string>
#include <vector>

namespace velacreate {

/// Reads the sources of parts in a job directory, one at a time.
class Sources {
public:
    explicit Sources(int jobDirectory) : m_workplace(jobDirectory) {}

    /// Opens the source of a part.
    /// @throw Failure when it is missing, or has another size
    void enter(const Part& part);

    /// Whether it has these bytes at an offset.
    /// @throw Failure when it cannot be read
    bool hold(std::uint64_t offset, const void* data, std::size_t size);

private:
    Beneath m_workplace;
    Descriptor m_file;
    std::string m_name;
    std::vector<char> m_buffer;
};

} // namespace velacreate
