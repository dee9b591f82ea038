/// @file
/// What libblkid recognises on a disk.
#pragma once

#include "support/descriptor.h"

#include <cstdint>
#include <memory>
#include <string>
#include <vector>

#include <blkid/blkid.h>

namespace velacreate {

using Probe = std::unique_ptr<blkid_struct_probe, decltype(&blkid_free_probe)>;

/// @param offset  in bytes, like the size
/// @param size    0 for everything from the offset on
/// @return none when the disk has no such part
inline Probe probeOf(const Descriptor& disk, std::uint64_t offset = 0, std::uint64_t size = 0) {
    Probe probe(blkid_new_probe(), blkid_free_probe);
    if (probe && blkid_probe_set_device(probe.get(), disk.number(), static_cast<blkid_loff_t>(offset),
                                        static_cast<blkid_loff_t>(size)) != 0) {
        probe.reset();
    }
    return probe;
}

/// A mark by which libblkid recognises a file system, a RAID or a partition table.
struct Signature {
    std::string kind;         ///< in the words of libblkid
    std::uint64_t offset = 0; ///< in what is probed
    std::uint64_t size = 0;
};

/// Finds the same signatures as wipefs.
/// @param offset  as above, like the size
/// @throw Failure
Probe signatureProbe(const Descriptor& disk, std::uint64_t offset = 0, std::uint64_t size = 0);

/// Looks for the next signature.
/// @return false when there are no more
/// @throw Failure
bool findSignature(const Probe& probe);

/// @return what was found last, and perhaps what was found before
std::vector<Signature> signaturesFound(const Probe& probe);

} // namespace velacreate
