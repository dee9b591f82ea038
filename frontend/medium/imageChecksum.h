/// @file
/// The checksum of an image.
#pragma once

#include "job/reporter.h"

#include <atomic>
#include <cstdint>
#include <future>
#include <string>

namespace velacreate {

/// Behind the name of the image.
constexpr const char* CHECKSUM_ENDING = ".sha256";

/// In the job's process.
class ImageChecksum {
public:
    /// Begins to read the image, in a thread of its own.
    explicit ImageChecksum(std::string image);

    /// Waits for the sum.
    /// @throw Failure
    std::string sum(Reporter& reporter);

private:
    std::string m_image;
    std::atomic<std::uint64_t> m_done{0};
    std::future<std::string> m_sum; ///< the last member: its thread uses the others
};

/// Writes a sum to a new file for "sha256sum -c".
/// @param name of the finished image
/// @throw Failure
void writeChecksum(const std::string& path, const std::string& sum, const std::string& name);

} // namespace velacreate
