#include "medium/readBack.h"

#include "disks/discDrive.h"
#include "disks/probe.h"
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

void refuseOtherMarks(const Descriptor& disc, bool hasPartitions, Differences& differences) {
    constexpr int mostErrors = 1000; // after each, libblkid goes on with the next kind
    const auto probe = probeOf(disc);
    check(probe && blkid_probe_enable_superblocks(probe.get(), 1) == 0 &&
          blkid_probe_set_superblocks_flags(probe.get(), BLKID_SUBLKS_TYPE) == 0 &&
          blkid_probe_enable_partitions(probe.get(), 1) == 0)
        .orFail("the disc cannot be searched for other file systems");
    const auto valueOf = [&](const char* name) {
        const char* value = nullptr;
        return std::string(blkid_probe_lookup_value(probe.get(), name, &value, nullptr) == 0 ? value : "");
    };
    for (int errors = 0; errors < mostErrors;) {
        const int result = blkid_do_probe(probe.get());
        if (result > 0) {
            return;
        }
        if (result < 0) { // a place that cannot be read, behind what was burned
            ++errors;
            continue;
        }
        const auto table = valueOf("PTTYPE");
        const auto type = table.empty() ? valueOf("TYPE") : table;
        if (type != "iso9660" && !(hasPartitions && table == "dos")) {
            differences.addForm("besides the volume, it has the mark of " + type);
        }
    }
}

Differences compareDisc(const Descriptor& image, const Descriptor& disc, const Advance& advance) {
    const auto size = static_cast<std::size_t>(image.status().st_size);
    std::vector<char> found(BUFFER_SIZE);
    std::vector<char> wanted(BUFFER_SIZE);
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
