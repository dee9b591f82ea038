#include "disks/inventory.h"

#include "disks/probe.h"
#include "support/failure.h"
#include "support/texts.h"
#include "support/utf8.h"

#include <cerrno>

#include <fcntl.h>
#include <nlohmann/json.hpp>
#include <unistd.h>

namespace velacreate {
namespace {
constexpr int MOST_PARTITIONS = 6; // shown at most
constexpr std::size_t LONGEST_LABEL = 32;
std::string valueOf(const Probe& probe, const char* name) {
    const char* value = nullptr;
    return blkid_probe_lookup_value(probe.get(), name, &value, nullptr) == 0 ? value : "";
}

/// A label may be any text.
std::string labelText(const std::string& label) {
    auto text = printable(label);
    std::size_t end = 0;
    wchar_t character = 0;
    for (std::size_t count = 0; count < LONGEST_LABEL && end < text.size(); ++count) {
        end += readCharacter(text, end, character);
    }
    return " '" + text.substr(0, end) + (end < text.size() ? "...'" : "'");
}

/// @return the file system in a part of the disk, or another signature; empty when there is none
std::string fileSystem(const Probe& probe) {
    if (!probe) {
        return "";
    }
    const int result = blkid_do_safeprobe(probe.get());
    if (result < 0) {
        return result == -2 ? "several file systems at once" : "not readable";
    }
    const auto type = valueOf(probe, "TYPE");
    const auto label = valueOf(probe, "LABEL");
    return type + (label.empty() ? "" : labelText(label));
}

std::string partitionText(const Descriptor& disk, blkid_partition partition) {
    const auto text =
        fileSystem(probeOf(disk, static_cast<std::uint64_t>(blkid_partition_get_start(partition)) * SECTOR,
                           static_cast<std::uint64_t>(blkid_partition_get_size(partition)) * SECTOR));
    return text.empty() ? "no file system" : text;
}

std::string partitionsText(const Descriptor& disk, blkid_partlist partitions) {
    std::string text;
    int named = 0;
    int more = 0;
    for (int at = 0; at < blkid_partlist_numof_partitions(partitions); ++at) {
        auto* partition = blkid_partlist_get_partition(partitions, at);
        if (blkid_partition_is_extended(partition) != 0) {
            continue;
        }
        if (named == MOST_PARTITIONS) {
            ++more;
            continue;
        }
        const int number = blkid_partition_get_partno(partition);
        text += (named++ == 0 ? "" : ", ") + partitionText(disk, partition);
        text += number == at + 1 ? "" : " on " + std::to_string(number);
    }
    return (text.empty() ? "no partition" : text) + (more == 0 ? "" : ", " + std::to_string(more) + " more");
}

std::string tableName(const std::string& type) {
    return type == "dos" ? "MBR" : type == "gpt" ? "GPT" : type;
}

std::string fileSystemOf(const Descriptor& disk) {
    return fileSystem(probeOf(disk));
}

/// @return empty without a partition table
std::string partitioned(const Descriptor& disk) {
    const auto probe = probeOf(disk);
    auto* partitions = probe ? blkid_probe_get_partitions(probe.get()) : nullptr;
    auto* table = partitions == nullptr ? nullptr : blkid_partlist_get_table(partitions);
    if (table == nullptr) {
        return "";
    }
    // The boot sector of exFAT looks like an empty partition table.
    if (blkid_partlist_numof_partitions(partitions) == 0 && !fileSystemOf(disk).empty()) {
        return "";
    }
    return tableName(blkid_parttable_get_type(table)) + ": " + partitionsText(disk, partitions);
}

/// For a disk without a known signature.
std::string unrecognised(const Descriptor& disk) {
    std::string start(1U << 16U, '\0');
    const auto size = pread(disk.number(), start.data(), start.size(), 0);
    if (size <= 0) {
        return "not readable";
    }
    start.resize(static_cast<std::size_t>(size));
    return start.find_first_not_of(start.front()) == std::string::npos ? "blank" : "unrecognised";
}
} // namespace

std::string contentOf(const Disk& disk) {
    const Descriptor descriptor(open(disk.node().c_str(), O_RDONLY | O_NONBLOCK | O_CLOEXEC));
    if (!descriptor.isOpen()) {
        return errno == EACCES || errno == EPERM ? "unknown" : "not readable";
    }
    if (descriptor.status().st_rdev != disk.number) {
        return "not readable";
    }
    if (auto text = partitioned(descriptor); !text.empty()) {
        return text;
    }
    const auto text = fileSystemOf(descriptor);
    return text.empty() ? unrecognised(descriptor) : text + ", no partition table";
}

std::string contentOfDisc(const Descriptor& disc, std::uint64_t size) {
    const auto probe = probeOf(disc);
    const bool isKnown = probe && blkid_do_safeprobe(probe.get()) == 0;
    const auto label = isKnown ? valueOf(probe, "LABEL") : "";
    return (label.empty() ? "data without a name" : "volume" + labelText(label)) +
           (size == 0 ? "" : ", " + sizeText(size));
}

Json jsonOf(const std::string& node, const DiskDescription& about) {
    return {{"node", node},         {"port", about.port},     {"vendor", about.vendor},
            {"model", about.model}, {"serial", about.serial}, {"size", about.size}};
}

} // namespace velacreate
