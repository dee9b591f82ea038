/// @file
/// SHA-256 sums.
#pragma once

#include "support/descriptor.h"

#include <cstddef>
#include <cstdint>
#include <map>
#include <memory>
#include <string>

struct evp_md_ctx_st;

namespace velacreate {

constexpr std::size_t SUM_DIGITS = 64; ///< of a SHA-256 sum

/// SHA-256 sums in hexadecimal digits, by path.
using Sums = std::map<std::string, std::string>;

/// A SHA-256 sum of bytes that come one after the other.
class Sha256 {
public:
    /// @throw Failure, as all others
    Sha256();

    void add(const void* data, std::size_t size);

    /// To be called once, when all has been added.
    /// @return the sum in hexadecimal digits
    std::string digits();

private:
    std::unique_ptr<evp_md_ctx_st, void (*)(evp_md_ctx_st*)> m_context;
};

/// @return the SHA-256 sum of a whole file, in hexadecimal digits
/// @throw Failure
std::string sha256Of(
    const Descriptor& file, const Advance& advance = [](std::uint64_t /*bytes*/) {});

/// @return that of a part of a file, or of what there is of it
/// @throw Failure
std::string sha256Of(const Descriptor& file, std::uint64_t offset, std::uint64_t size,
                     const Advance& advance);

/// @return that of a text
std::string sha256Of(const std::string& text);

/// Whether a text is such a sum.
bool isSum(const std::string& text);

/// @return the line that "sha256sum -c" reads, with the name escaped where necessary
std::string checksumLine(const std::string& sum, const std::string& name);

/// Whether a file holds just such a line, with any sum, for this name.
bool isChecksumOf(const Descriptor& file, const std::string& name);

} // namespace velacreate
