#include "bootableusb.h"

#include "mediaRules.h"
#include "operation.h"
#include "shell.h"
#include "stage.h"

#include <unistd.h>

namespace VelaCreation {

const std::string BootableUSB::MOUNT_POINT = "/mnt/VelaCreationUSBKey";

BootableUSB::BootableUSB(VelaLoggerIfc& logger) : BootableMedia(logger) {}

BootableUSB::~BootableUSB() = default;

int BootableUSB::init(std::string sourceDir, std::string usbDevice, std::vector<std::string> updateFiles,
                      std::string toolPackage, bool& initialized) {
    const Operation operation(*m_logger, "BootableUSB::init()");
    m_initialized = false;

    announce(*this, {1, STAGE_USB_TOOLS});
    if (sourceDir.empty() || usbDevice.empty()) {
        return operation.failed(VELAERROR_FILE_OR_DIR_NOT_FOUND, "Be lack of source directory or usb volume");
    }
    filterFileList(updateFiles, toolPackage);
    if (updateFiles.empty()) {
        return operation.failed(VELAERROR_NO_UPDATE_FILES,
                                "There is no update files under specified directory after filterring");
    }
    m_usbDevice = usbDevice;
    m_sourceDir = sourceDir;
    m_updateFiles = updateFiles;

    if (chdir(m_sourceDir.c_str()) != 0) {
        return operation.failed(VELAERROR_FILE_OR_DIR_NOT_FOUND, "Changing working directory fails");
    }
    m_workDirEntered = true;
    operation.note("After changing, current working directory is " + m_sourceDir);
    if (!runCaptured("chmod +x *")) {
        return operation.failed(VELAERROR_CHANGE_MODE_ERROR, "Changing mode fails 1");
    }
    if (!isFileExist(toolPackage)) {
        return operation.failed(VELAERROR_FILE_OR_DIR_NOT_FOUND, "There is no tool.zip file");
    }

    announce(*this, {2, STAGE_EXTRACTING});
    if (!runCaptured(MINIUNZ_TOOL_NAME + " -xo " + toolPackage)) {
        return operation.failed(VELAERROR_UNZIP_ERROR, "Unzipping fails");
    }

    m_initialized = true;
    initialized = true;
    return operation.succeeded();
}

} // namespace VelaCreation
