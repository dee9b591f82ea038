#include "medium/burnTarget.h"

#include "disks/discDrive.h"
#include "disks/guard.h"
#include "disks/inventory.h"
#include "display/question.h"
#include "display/table.h"
#include "inputs/addedFiles.h"
#include "support/failure.h"
#include "support/texts.h"

#include <cerrno>
#include <utility>

#include <sys/sysmacros.h>
#include <unistd.h>

namespace velacreate {

namespace {
/// The name becomes part of a command.
void requirePlain(const std::string& device) {
    refuseIf(device.empty() || device.front() == '-' || !isPlain(device, "/_.,:=+-@"),
             "the drive " + quote(device) + " has a character in its name that no command can carry");
}

/// Whether it is /dev/null or /dev/zero, which take anything and keep nothing.
bool isSink(const struct stat& about) {
    return S_ISCHR(about.st_mode) && (about.st_rdev == makedev(1, 3) || about.st_rdev == makedev(1, 5));
}

std::optional<struct stat> statusOf(const std::string& path) {
    struct stat about {};
    return stat(path.c_str(), &about) == 0 ? std::optional(about) : std::nullopt;
}

void requireUnmounted(const Disk& disk) {
    const auto places = placesText(mountedPlaces(disk));
    refuseIf(!places.empty(), disk.node() + " is mounted on " + quote(places) + "; unmount it first");
}
} // namespace

BurnTarget::BurnTarget(std::string device) : m_device(std::move(device)) {
    requirePlain(m_device);
    if (!DiscDrive::isNode(m_device)) {
        m_content = "unknown"; // a burner's own notation
        return;
    }
    m_path = DiscDrive::pathOf(m_device);
    // The burner runs in another directory.
    refuseIf(m_path.rfind('/', 0) != 0, name() + " is not named by its path from the root");
    m_found = statusOf(m_path);
    check(m_found || (DiscDrive::isStandIn(m_device) && errno == ENOENT)).orRefuse(name());
    if (!m_found || !S_ISBLK(m_found->st_mode)) {
        takeFile();
        return;
    }
    refuseIf(access(m_path.c_str(), R_OK | W_OK) != 0, "burning needs the right to write to " +
                                                           quote(m_path) +
                                                           " (root has it, and the group of the drive)");
    if (isOpticalDrive(diskOf(m_found->st_rdev))) {
        takeDisc();
    } else {
        takeDisk();
    }
}

std::string BurnTarget::name() const {
    return "the drive " + quote(m_device);
}

void BurnTarget::takeFile() {
    if (DiscDrive::isStandIn(m_device) && m_found && isSink(*m_found)) {
        m_path.clear();
        return;
    }
    refuseIf(!DiscDrive::isStandIn(m_device) || (m_found && !S_ISREG(m_found->st_mode)),
             name() + " is no drive");
    // A link may lead elsewhere by then, and the number of a descriptor means another file to the burner.
    m_path = futurePath(m_path);
    refuseIf(m_path.empty(), name() + " has a path that cannot be followed");
    refuseIf(!m_found && m_path.rfind("/dev/", 0) == 0,
             name() + " does not exist, and no file is made in /dev");
    m_device = STAND_IN + m_path;
    requirePlain(m_device);
}

void BurnTarget::takeDisc() {
    m_isOptical = true;
    const DiscDrive drive(m_device);
    refuseIf(drive.isReadOnly(), name() + " cannot burn discs");
    if (const auto lack = drive.lacksDisc(); !lack.empty()) {
        throw Refusal(lack);
    }
    requireUnmounted(diskOf(m_found->st_rdev));
    m_content = drive.content();
}

void BurnTarget::takeDisk() {
    const auto disk = wholeDisk(m_path);
    const auto reason = ineligibilityReason(disk, false);
    refuseIf(!reason.empty(), disk.node() + " " + reason);
    requireUnmounted(disk);
    m_lock.emplace(disk);
    m_lock->unmount(); // refuses a disk that is mounted elsewhere
    m_path = disk.node();
    m_device = (DiscDrive::isStandIn(m_device) ? STAND_IN : "") + m_path;
    m_content = contentOf(disk);
}

DiskDescription BurnTarget::about() const {
    return m_found && S_ISBLK(m_found->st_mode) ? describe(diskOf(m_found->st_rdev)) : DiskDescription();
}

void BurnTarget::requireOthers(const ShowChoices& choices) const {
    for (const auto& file : addedFiles(choices)) {
        const auto found = statusOf(file.path);
        refuseIf(!m_path.empty() &&
                     ((found && m_found && isSameFile(*found, *m_found)) || futurePath(file.path) == m_path),
                 file.name() + " is the medium; choose another");
    }
}

std::string BurnTarget::table() const {
    Table table({"Drive", "Port", "Model", "Serial number", "Size", "Holds"});
    const auto drive = about();
    table.add(
        {m_device, drive.port, drive.name(), drive.serial, m_lock ? sizeText(drive.size) : "", m_content});
    return table.text();
}

int BurnTarget::askForConsent(const OverwriteChoices& choices, Console& console) {
    if (m_isAgreed) {
        return 0;
    }
    const bool isFile = m_found && S_ISREG(m_found->st_mode);
    refuseIf(isFile && m_found->st_size != 0 && !choices.force,
             quote(m_path) + " is not empty (--force overwrites it)");
    if (!m_content.empty()) {
        console.sayLines(table());
        console.say("Everything on it will be lost.");
    }
    if (!m_content.empty() && !choices.yes) {
        const std::string medium = m_lock ? "disk" : "disc";
        const HeldSignals signals;
        if (const int status = askForYes(signals, "a " + medium + " be changed",
                                         "the " + medium + " was left as it is", console);
            status != 0) {
            console.complain("interrupted; nothing was changed");
            return status;
        }
    }
    m_isAgreed = true;
    return 0;
}

void BurnTarget::requireUnchanged() const {
    if (m_path.empty() || m_lock) { // a locked disk keeps its name
        return;
    }
    if (m_isOptical) {
        refuseIf(DiscDrive(m_device).content() != m_content, "another disc is in " + name() + " by now");
        return;
    }
    const auto now = statusOf(m_path);
    const bool isAsItWas = m_found ? now && isSameFile(*now, *m_found) && now->st_size == m_found->st_size
                                   : !now || (S_ISREG(now->st_mode) && now->st_size == 0);
    refuseIf(!isAsItWas, quote(m_path) + " is another file by now");
}

} // namespace velacreate
