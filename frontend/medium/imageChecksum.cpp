#include "medium/imageChecksum.h"

#include "inputs/checksum.h"
#include "support/descriptor.h"
#include "support/failure.h"

#include <chrono>
#include <filesystem>
#include <utility>

#include <fcntl.h>
#include <unistd.h>

namespace velacreate {

ImageChecksum::ImageChecksum(std::string image)
    : m_image(std::move(image)), m_sum(std::async(std::launch::async, [this] {
          const Descriptor file(open(m_image.c_str(), O_RDONLY | O_CLOEXEC));
          check(file.isOpen()).orFail("the image cannot be summed up");
          return sha256Of(file, [this](std::uint64_t bytes) { m_done += bytes; });
      })) {}

std::string ImageChecksum::sum(Reporter& reporter) {
    reporter.stage("Summing up the image", std::filesystem::file_size(m_image));
    std::uint64_t told = 0;
    while (m_sum.wait_for(std::chrono::milliseconds(100)) == std::future_status::timeout) {
        const std::uint64_t done = m_done;
        reporter.advance(done - told);
        told = done;
    }
    return m_sum.get();
}

void writeChecksum(const std::string& path, const std::string& sum, const std::string& name) {
    const Descriptor file(open(path.c_str(), O_WRONLY | O_CREAT | O_EXCL | O_CLOEXEC, 0644));
    check(file.isOpen() && writeText(file, checksumLine(sum, name)) && fsync(file.number()) == 0)
        .orFail("the checksum cannot be written");
}

} // namespace velacreate
