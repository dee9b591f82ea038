/// @file
/// What libblkid recognises on a disk.
#pragma once

#include "support/descriptor.h"

#include <cstdint>
#include <memory>

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

} // namespace velacreate
