#include "medium/bootRecord.h"
#include "medium/readBack.h"
#include "medium/sources.h"

#include "support/failure.h"

#include <algorithm>
#include <cerrno>
#include <cstring>

#include <unistd.h>

namespace velacreate {

namespace {

constexpr std::size_t BLOCK = 128 << 10; ///< two of them stay in a processor's own cache

std::string atByte(std::size_t offset) {
    return " at byte " + std::to_string(offset);
}

} // namespace

std::vector<std::string> compareImage(int jobDirectory, const Contents& contents, const Descriptor& image,
                                      const Advance& advance) {
    auto lines = compareArchive(jobDirectory, contents.tree, image, contents.added, advance);
    const auto faults = faultsOfBootRecord(jobDirectory, contents, image);
    lines.insert(lines.end(), faults.begin(), faults.end());
    return lines;
}

std::vector<std::string> compareDisc(const Descriptor& image, const Descriptor& disc,
                                     const Advance& advance) {
    const auto size = static_cast<std::size_t>(image.status().st_size);
    std::vector<char> found(BLOCK);
    std::vector<char> wanted(BLOCK);
    for (std::size_t done = 0; done < size;) {
        const ssize_t count = pread(disc.number(), found.data(), std::min(size - done, found.size()),
                                    static_cast<off_t>(done)); // as far as it can be read
        if (count < 0 && errno == EINTR) {
            continue;
        }
        if (count < 0) {
            return {SystemError().about("it cannot be read" + atByte(done))};
        }
        if (count == 0) {
            return {"it ends" + atByte(done) + ", and its image has " + std::to_string(size)};
        }
        if (readAt(image.number(), wanted.data(), static_cast<std::size_t>(count), done) != count) {
            throw Failure("the image cannot be read" + atByte(done));
        }
        const auto parting = std::mismatch(found.begin(), found.begin() + count, wanted.begin());
        if (parting.first != found.begin() + count) {
            return {"it differs" + atByte(done + static_cast<std::size_t>(parting.first - found.begin()))};
        }
        done += static_cast<std::size_t>(count);
        advance(static_cast<std::uint64_t>(count));
    }
    return {};
}

} // namespace velacreate
