#include "station/writtenSticks.h"

#include "disks/cloning.h"
#include "disks/fatVolume.h"
#include "keys/writeKey.h"
#include "support/failure.h"
#include "support/texts.h"

#include <array>

namespace velacreate {
namespace {
constexpr int MOST_PARTITIONS = 16;

/// Whether the stick has the one partition of a key, and no other.
bool isKey(const Disk& disk) {
    for (int partition = 1; partition <= MOST_PARTITIONS; ++partition) {
        if ((partitionNumber(disk, partition) != 0) != (partition == KEY_PARTITION)) {
            return false;
        }
    }
    const auto partition = disk.openKeyPartition();
    return partition.isOpen() && holdsFat(partition, 0);
}
} // namespace

std::string WrittenSticks::announcement() const {
    return "Everything on it is lost: " + m_image.name() + " is written to it." +
           (m_isForAll ? "" : " A stick that is neither a key nor blank is refused.");
}

std::map<std::string, Gauge> WrittenSticks::gauges(const Disk& disk) const {
    return {{STAGE_WRITING_IMAGE, {sizeOf(m_image.blocks().blocks), [disk](pid_t /*job*/) {
                                       return trafficOf(disk).written * SECTOR;
                                   }}}};
}

bool WrittenSticks::isRight(const Key& stick, Reporter& reporter) const {
    return stick.about.size >= m_image.size() &&
           isSameAsKeyImage(m_image, stick.lock->descriptor(), reporter);
}

int WrittenSticks::make(const Key& stick, const Descriptor& /*jobDirectory*/, Reporter& reporter) const {
    const auto& held = stick.lock->descriptor();
    refuseFor(stick.disk, stick.about.size < m_image.size()
                              ? "is smaller than " + m_image.name() + " (" + sizeText(m_image.size()) + ")"
                              : sectorIneligibilityReason(stick.disk));
    if (!m_isForAll && !isKey(stick.disk) && !isBlank(held)) {
        refuseFor(stick.disk, "is neither a key nor blank; --erase makes a key of any stick");
    }
    return writeKey(m_image, stick.disk, held, true, reporter);
}

} // namespace velacreate
