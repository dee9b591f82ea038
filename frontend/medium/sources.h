/// @file
/// The bytes that should be on a medium.
#pragma once

#include "inputs/checksum.h"
#include "medium/contents.h"
#include "support/beneath.h"
#include "support/descriptor.h"

#include <cstddef>
#include <cstdint>
#include <string>
#include <vector>

namespace velacreate {

/// Tells whether bytes of a medium are right, one part after the other.
class Sources {
public:
    Sources() = default;
    Sources(const Sources&) = delete;
    Sources& operator=(const Sources&) = delete;
    virtual ~Sources() = default;

    /// Begins with a part.
    /// @throw Failure when that cannot be
    virtual void enter(const Part& part) = 0;

    /// To be called with the bytes of the part, in order.
    /// @param offset  in the part
    /// @return false when they are known to be wrong
    /// @throw Failure when they cannot be compared
    virtual bool hold(std::uint64_t offset, const void* data, std::size_t size) = 0;

    /// Whether the part is right, after all its bytes.
    virtual bool isRight() = 0;
};

/// Compares the sums of parts.
class SourceSums : public Sources {
public:
    void enter(const Part& part) override;
    bool hold(std::uint64_t offset, const void* data, std::size_t size) override;
    bool isRight() override;

private:
    Sha256 m_sum;
    std::string m_expected;
};

/// Reads the sources of parts in a job directory. Compares the sum of a part that has one.
class SourceFiles : public Sources {
public:
    explicit SourceFiles(int jobDirectory) : m_workplace(jobDirectory) {}

    /// @throw Failure when the source is missing, or has another size
    void enter(const Part& part) override;
    bool hold(std::uint64_t offset, const void* data, std::size_t size) override;
    bool isRight() override;

private:
    Beneath m_workplace;
    Descriptor m_file;
    std::string m_name;
    std::vector<char> m_buffer;
    bool m_hasSum = false;
    SourceSums m_sums;
};

} // namespace velacreate
