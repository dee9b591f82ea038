#include "disks/probe.h"

#include "support/failure.h"

#include <cstddef>
#include <cstdlib>

namespace velacreate {
namespace {
constexpr const char* LOOKING = "looking for what is on the disk";

/// @return the mark whose place and bytes have these names; without a kind when there is none
Signature signatureIn(const Probe& probe, const char* kind, const char* place, const char* bytes) {
    const char* kindFound = nullptr;
    const char* placeFound = nullptr;
    const char* bytesFound = nullptr;
    std::size_t size = 0;
    const auto lookUp = [&](const char* name, const char*& value) {
        return blkid_probe_lookup_value(probe.get(), name, &value, &size) == 0;
    };
    if (!lookUp(kind, kindFound) || !lookUp(place, placeFound) || !lookUp(bytes, bytesFound)) {
        return {};
    }
    constexpr int decimal = 10;
    return {kindFound, std::strtoull(placeFound, nullptr, decimal), size};
}
} // namespace

Probe signatureProbe(const Descriptor& disk, std::uint64_t offset, std::uint64_t size) {
    Probe probe = probeOf(disk, offset, size);
    check(probe && blkid_probe_enable_superblocks(probe.get(), 1) == 0 &&
          blkid_probe_set_superblocks_flags(probe.get(), BLKID_SUBLKS_TYPE | BLKID_SUBLKS_MAGIC |
                                                             BLKID_SUBLKS_BADCSUM) == 0 &&
          blkid_probe_enable_partitions(probe.get(), 1) == 0 &&
          blkid_probe_set_partitions_flags(probe.get(), BLKID_PARTS_MAGIC | BLKID_PARTS_FORCE_GPT) == 0)
        .orFail(LOOKING);
    return probe;
}

bool findSignature(const Probe& probe) {
    const int result = blkid_do_probe(probe.get());
    check(result == 0 || result == 1).orFail(LOOKING);
    return result == 0;
}

std::vector<Signature> signaturesFound(const Probe& probe) {
    std::vector<Signature> found;
    for (const auto& signature : {signatureIn(probe, "TYPE", "SBMAGIC_OFFSET", "SBMAGIC"),
                                  signatureIn(probe, "PTTYPE", "PTMAGIC_OFFSET", "PTMAGIC")}) {
        if (!signature.kind.empty()) {
            found.push_back(signature);
        }
    }
    return found;
}

} // namespace velacreate
