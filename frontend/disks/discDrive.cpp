#include "disks/discDrive.h"

#include "disks/inventory.h"
#include "support/failure.h"

#include <chrono>
#include <climits>
#include <optional>
#include <thread>

#include <fcntl.h>
#include <linux/cdrom.h>
#include <sys/ioctl.h>

namespace velacreate {
namespace {
using namespace std::chrono_literals;

/// A drive that does not know its state counts as loaded, and so does a device that is not a drive.
int stateOf(const Descriptor& drive) {
    const int state = ioctl(drive.number(), CDROM_DRIVE_STATUS, CDSL_CURRENT);
    return state < 0 || state == CDS_NO_INFO ? CDS_DISC_OK : state;
}

std::string lackText(int state, const std::string& name) {
    const std::string drive = "the drive " + quote(name);
    switch (state) {
    case CDS_DISC_OK:
        return "";
    case CDS_TRAY_OPEN:
        return "the tray of " + drive + " is open";
    case CDS_DRIVE_NOT_READY:
        return drive + " is not ready";
    default:
        return "there is no disc in " + drive;
    }
}
} // namespace

bool DiscDrive::isStandIn(const std::string& name) {
    return name.rfind(STAND_IN, 0) == 0;
}

std::string DiscDrive::pathOf(const std::string& name) {
    return isStandIn(name) ? name.substr(STAND_IN.size()) : name;
}

bool DiscDrive::isNode(const std::string& name) {
    return isStandIn(name) || name.rfind('/', 0) == 0;
}

void DiscDrive::requireOther(const std::string& name, const struct stat& image) {
    struct stat about {};
    refuseIf(stat(pathOf(name).c_str(), &about) == 0 && isSameFile(about, image),
             "the drive " + quote(name) + " is the image itself");
}

DiscDrive::DiscDrive(const std::string& name)
    : m_name(name), m_path(pathOf(name)),
      m_drive(open(m_path.c_str(), O_RDONLY | O_NONBLOCK | O_NOCTTY | O_CLOEXEC)) {
    check(m_drive.isOpen()).orRefuse("the drive " + quote(name));
    const auto mode = m_drive.status().st_mode;
    refuseIf(!S_ISBLK(mode) && !(isStandIn(name) && S_ISREG(mode)),
             "the drive " + quote(name) + " is no drive");
}

bool DiscDrive::isReadOnly() const {
    constexpr int BURNS = CDC_CD_R | CDC_CD_RW | CDC_DVD_R | CDC_DVD_RAM | CDC_MRW_W | CDC_RAM;
    const int capabilities = ioctl(m_drive.number(), CDROM_GET_CAPABILITY, 0);
    return capabilities >= 0 && (capabilities & BURNS) == 0;
}

std::string DiscDrive::lacksDisc() const {
    return lackText(stateOf(m_drive), m_name);
}

// A disc of music can be measured, but not read; some drives can read a disc that they cannot measure.
std::string DiscDrive::content() const {
    const Descriptor disc(open(m_path.c_str(), O_RDONLY | O_NOCTTY | O_CLOEXEC));
    constexpr std::uint64_t SECTOR_OF_DISC = 2048;
    long sectors = 0;
    if (ioctl(m_drive.number(), CDROM_LAST_WRITTEN, &sectors) != 0) {
        sectors = 0;
    }
    char first = 0;
    const bool isBlank = sectors <= 0 && readAt(disc.number(), &first, 1, 0) != 1;
    return isBlank ? "" : contentOfDisc(disc, static_cast<std::uint64_t>(sectors) * SECTOR_OF_DISC);
}

// A tray without a motor stays open. A drive may report a missing disc for a while after its tray was closed.
std::string DiscDrive::takeDiscIn() const {
    using Clock = std::chrono::steady_clock;
    const auto end = Clock::now() + 60s;
    std::optional<Clock::time_point> closed;
    for (;; std::this_thread::sleep_for(200ms)) {
        const int state = stateOf(m_drive);
        bool isHopeless = Clock::now() >= end;
        if (state != CDS_DISC_OK && state != CDS_DRIVE_NOT_READY) {
            isHopeless = isHopeless || (closed ? Clock::now() >= *closed + 10s
                                               : ioctl(m_drive.number(), CDROMCLOSETRAY, 0) != 0);
            closed = closed.value_or(Clock::now());
        }
        if (state == CDS_DISC_OK || isHopeless) {
            return lackText(state, m_name);
        }
    }
}

Descriptor DiscDrive::openDisc() const {
    Descriptor disc(open(m_drive.path().c_str(), O_RDONLY | O_NOCTTY | O_CLOEXEC));
    check(disc.isOpen()).orRefuse(discText(quote(m_name)));
    posix_fadvise(disc.number(), 0, 0, POSIX_FADV_DONTNEED);
    return disc;
}

std::uint32_t DiscDrive::lastSession(const Descriptor& disc) {
    cdrom_multisession session{};
    session.addr_format = CDROM_LBA;
    const bool isKnown = ioctl(disc.number(), CDROMMULTISESSION, &session) == 0 && session.addr.lba > 0;
    return isKnown ? static_cast<std::uint32_t>(session.addr.lba) : 0;
}

} // namespace velacreate
