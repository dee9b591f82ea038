#include "medium/readBack.h"

#include "disks/discDrive.h"
#include "support/failure.h"

#include <algorithm>
#include <cerrno>

#include <unistd.h>

namespace velacreate {
namespace {
std::string atByte(std::size_t offset) {
    return " at byte " + std::to_string(offset);
}

Differences only(const std::string& line) {
    Differences differences;
    differences.addForm(line);
    return differences;
}
} // namespace

void refuseLaterSession(const Descriptor& disc, Differences& differences) {
    if (const auto block = DiscDrive::lastSession(disc); block > 0) {
        differences.addForm("another session begins at block " + std::to_string(block) +
                            " of the disc, and machines read that one");
    }
}

Differences compareDisc(const Descriptor& image, const Descriptor& disc, const Advance& advance) {
    const auto size = static_cast<std::size_t>(image.status().st_size);
    std::vector<char> found(BLOCK_SIZE);
    std::vector<char> wanted(BLOCK_SIZE);
    for (std::size_t done = 0; done < size;) {
        const ssize_t count = pread(disc.number(), found.data(), std::min(size - done, found.size()),
                                    static_cast<off_t>(done)); // it may be shorter
        if (count < 0 && errno == EINTR) {
            continue;
        }
        if (count < 0) {
            throw Failure(SystemError().about("it cannot be read" + atByte(done)));
        }
        if (count == 0) {
            return only("it ends" + atByte(done) + ", and its image has " + std::to_string(size));
        }
        if (readAt(image.number(), wanted.data(), static_cast<std::size_t>(count), done) != count) {
            throw Failure("the image cannot be read" + atByte(done));
        }
        const auto parting = std::mismatch(found.begin(), found.begin() + count, wanted.begin());
        if (parting.first != found.begin() + count) {
            return only("it differs" +
                        atByte(done + static_cast<std::size_t>(parting.first - found.begin())));
        }
        done += static_cast<std::size_t>(count);
        advance(static_cast<std::uint64_t>(count));
    }
    Differences differences;
    refuseLaterSession(disc, differences);
    return differences;
}

} // namespace velacreate
