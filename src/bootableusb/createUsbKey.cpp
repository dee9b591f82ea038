#include "bootableusb.h"

#include "mediaRules.h"
#include "operation.h"
#include "shell.h"
#include "softKey.h"
#include "stage.h"

#include <cerrno>

namespace VelaCreation {

int BootableUSB::CreateUSBKey(bool format) {
    const Operation operation(*m_logger, "BootableUSB::CreateUSBKey()");

    if (!m_initialized) {
        return operation.failed(VELAERROR_NOT_INITIALIZED, "It is not initialized");
    }
    if (format) {
        announce(*this, {3, STAGE_FORMATTING});
        if (const int result = doDD(); result != VELAERROR_SUCCESS) {
            return operation.failedWithError(result, errno, "Doing dd function fails");
        }
    }

    unMountUsb();
    bool mounted = mountUsb() == VELAERROR_SUCCESS;
    if (const char* image = softKeyImage(); image != nullptr) {
        const std::string command = captured("mount " + std::string(image) + " " + MOUNT_POINT +
                                             " -o loop,offset=" + std::to_string(KEY_IMAGE_OFFSET));
        mounted = run(command);
        operation.progress(std::string("BootableUSB::CreateUSBKey:") + SOFT_KEY_VARIABLE +
                           ", cmd=" + command);
    }
    if (!mounted) {
        const int code = operation.failedWithError(VELAERROR_USB_ACCESS_ERROR, errno, "Mounting usb fails");
        saveFile(CAPTURE_FILE);
        return code;
    }
    if (const int veto = operation.checkpoint(); veto != 0) {
        return veto;
    }

    announce(*this, {4, STAGE_COPYING});
    if (const int result = copyFiles(BOOT_FILE, MOUNT_POINT, {}); result != VELAERROR_SUCCESS) {
        return operation.failedWithError(result, errno, "Copying BOOT_FILE directory fails");
    }
    for (const Removal& removal : KEY_REMOVALS) {
        run(removalCommand(removal, MOUNT_POINT));
    }

    announce(*this, {5, STAGE_COPYING_UPDATES});
    if (const int result = copyFiles("", MOUNT_POINT, m_updateFiles); result != VELAERROR_SUCCESS) {
        return operation.failedWithError(result, errno, "Copying source file list fails");
    }
    if (!runCaptured("chmod +x " + MOUNT_POINT + "/*")) {
        return operation.failedWithError(VELAERROR_CHANGE_MODE_ERROR, errno, "Changing mode fails");
    }
    unMountUsb();

    m_initialized = false;
    return operation.succeeded();
}

} // namespace VelaCreation
