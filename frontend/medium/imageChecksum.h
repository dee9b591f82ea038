/// @file
/// The checksum that stands beside an image.
#pragma once

#include "job/reporter.h"

#include <atomic>
#include <cstdint>
#include <future>
#include <string>

namespace velacreate {

/// In the job's process.
class ImageChecksum {
public:
    /// Begins to sum an image up, beside what is done with it meanwhile.
    explicit ImageChecksum(std::string image);

    /// Waits for the sum, and writes it to a new file, flushed, for "sha256sum -c".
    /// @param name  the image's, where it will stand
    /// @throw Failure
    void writeTo(const std::string& path, const std::string& name, Reporter& reporter);

private:
    std::string m_image;
    std::atomic<std::uint64_t> m_done{0};
    std::future<std::string> m_sum; ///< waits for its end before what it uses goes
};

} // namespace velacreate
