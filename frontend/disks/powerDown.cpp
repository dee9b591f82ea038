#include "disks/powerDown.h"

#include "disks/sysfs.h"
#include "support/descriptor.h"
#include "support/failure.h"

#include <fcntl.h>
#include <unistd.h>

namespace velacreate {

void powerDown(const Disk& disk) {
    const auto directory = deviceDirectory(disk.number);
    if (!exists(directory)) {
        throw Failure("it was pulled out already");
    }
    const auto usb = usbDevice(directory);
    if (usb.empty()) {
        throw Failure("it is not on USB");
    }
    if (attribute(usb / "removable") == "fixed") {
        throw Failure("its USB port is one inside the machine");
    }
    for (const auto& other : removableDisks()) { // a card reader may have several disks
        if (other.number != disk.number && usbDevice(deviceDirectory(other.number)) == usb) {
            throw Failure("it shares its USB port with " + other.node());
        }
    }
    const Descriptor remove(open((usb / "remove").c_str(), O_WRONLY | O_CLOEXEC));
    check(remove.isOpen() && write(remove.number(), "1", 1) == 1).orFail("its USB port cannot be turned off");
}

} // namespace velacreate
