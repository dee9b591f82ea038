#include "station/stickWork.h"

#include "disks/probe.h"
#include "support/exitStatus.h"
#include "support/failure.h"
#include "support/programs.h"

#include <algorithm>
#include <array>
#include <memory>

#include <sched.h>
#include <unistd.h>

namespace velacreate {
namespace {
constexpr std::uint64_t EDGE = 1U << 20U;
constexpr std::uint64_t SAMPLES = 1000;
constexpr std::size_t BLOCK = 4096;

struct alignas(BLOCK) Block {
    std::array<char, BLOCK> bytes;
};

/// Reads past the cache, so that a sample is not more than one block.
class Uniformity {
public:
    explicit Uniformity(const Descriptor& stick) : m_stick(openUncached(stick)) {}

    /// Whether all bytes of this block are those that were found in the first one.
    bool holds(std::uint64_t offset) {
        const auto count = readAt(m_stick.number(), m_block->bytes.data(), BLOCK, offset);
        check(count >= 0).orFail("the stick cannot be read at byte " + std::to_string(offset));
        if (!m_byte && count > 0) {
            m_byte = m_block->bytes.front();
        }
        return std::all_of(m_block->bytes.begin(), m_block->bytes.begin() + count,
                           [&](char byte) { return byte == *m_byte; });
    }

private:
    Descriptor m_stick;
    std::unique_ptr<Block> m_block = std::make_unique<Block>();
    std::optional<char> m_byte;
};

/// What is mounted must be unmounted where the supervisor is; it is mounted here as well.
int unmountOutside(const DiskLock& lock, const Descriptor& mounts, const Reporter& reporter) {
    const pid_t process = fork();
    check(process >= 0).orFail("no process to unmount the stick");
    if (process == 0) {
        const auto unmount = [&] {
            check(setns(mounts.number(), CLONE_NEWNS) == 0).orFail("the stick cannot be unmounted");
            lock.unmount();
            return 0;
        };
        _exit(exitStatusAfter(unmount, [&](const char* text) { reporter.reason(text); }));
    }
    return exitStatusOf(process);
}

int lockAndMake(const PluggedDisk& plugged, const StickWork& work, const Descriptor& mounts,
                const Descriptor& jobDirectory, Reporter& reporter) {
    Key stick{plugged.disk, describe(plugged.disk), std::nullopt, "", true};
    stick.lock.emplace(plugged.disk);
    refuseIf(!plugged.isThere(), "it is another stick by now");
    if (const int status = unmountOutside(*stick.lock, mounts, reporter); status != 0) {
        return status;
    }
    if (work.isRight(stick, reporter)) {
        reporter.alreadyRight();
        return 0;
    }
    return work.make(stick, jobDirectory, reporter);
}
} // namespace

int runStickJob(const PluggedDisk& plugged, const StickWork& work, const Descriptor& mounts,
                const Descriptor& jobDirectory, Reporter& reporter) {
    reporter.stage("Looking at the stick");
    try {
        return lockAndMake(plugged, work, mounts, jobDirectory, reporter);
    } catch (const Refusal& refusal) {
        if (!plugged.isThere()) {
            throw Failure(PULLED_OUT);
        }
        const auto node = plugged.disk.node() + " ";
        const std::string text = refusal.what();
        throw Refusal(text.rfind(node, 0) == 0 ? "the stick " + text.substr(node.size()) : text);
    } catch (const Failure&) {
        if (isPulledOut(plugged.disk)) {
            throw Failure(PULLED_OUT);
        }
        throw;
    }
}

bool isBlank(const Descriptor& stick) {
    const auto size = sizeOf(stick);
    const auto probe = signatureProbe(stick);
    if (findSignature(probe)) {
        return false;
    }
    Uniformity uniformity(stick);
    const auto end = (size - std::min(EDGE, size)) / BLOCK * BLOCK;
    for (std::uint64_t at = 0; at <= EDGE; at += BLOCK) { // the last block may be a part of one
        if (!uniformity.holds(at) || !uniformity.holds(end + at)) {
            return false;
        }
    }
    for (std::uint64_t sample = 1; sample <= SAMPLES; ++sample) {
        if (!uniformity.holds(end / SAMPLES * sample / BLOCK * BLOCK)) {
            return false;
        }
    }
    return true;
}

} // namespace velacreate
