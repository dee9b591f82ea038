#include "bootableusb.h"

#include "mediaRules.h"
#include "operation.h"
#include "shell.h"

#include <cerrno>

namespace VelaCreation {

int BootableUSB::mountUsb() {
    const Operation operation(*m_logger, "BootableUSB::mountUsb()");

    if (!createDirectory(MOUNT_POINT)) {
        return operation.failedWithError(VELAERROR_FILE_OR_DIR_CREATE_ERROR, errno,
                                         "Creating MOUNT_POINT directory fails");
    }
    if (!runCaptured("mount " + keyPartitionOf(m_usbDevice) + " " + MOUNT_POINT)) {
        return operation.failedWithError(VELAERROR_USB_ACCESS_ERROR, errno, "Mount usb key fails");
    }
    return operation.succeeded();
}

int BootableUSB::unMountUsb() {
    const Operation operation(*m_logger, "BootableUSB::unMountUsb()");

    // Most of these are not mounted, so failures are ignored.
    for (const char* partition : {"", "1", "2", "3", "4"}) {
        runCaptured("umount " + m_usbDevice + partition);
    }
    runCaptured("umount " + MOUNT_POINT);
    runCaptured("umount /mnt");
    return operation.succeeded();
}

} // namespace VelaCreation
