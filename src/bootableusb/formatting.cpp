#include "bootableusb.h"

#include "mediaRules.h"
#include "operation.h"
#include "shell.h"
#include "softKey.h"

#include <cerrno>

#include <unistd.h>

namespace VelaCreation {

namespace {
constexpr unsigned int PARTITION_NODE_WAIT_SECONDS = 5;
}

int BootableUSB::doDD() {
    const Operation operation(*m_logger, "BootableUSB::doDD()");

    unMountUsb();
    const std::string formatCommand =
        captured("mkfs -t vfat " + keyPartitionOf(m_usbDevice) + " -n" + KEY_LABEL);
    if (!run(formatCommand)) {
        const std::string error = errorText(errno);
        const int code = operation.failed(
            VELAERROR_FORMAT_ERROR, inQuotes(formatCommand) + " fails, and last error message is" + error);
        saveFile(CAPTURE_FILE);
        return code;
    }

    if (softKeyImage() == nullptr) {
        const std::string tableCommand = captured("echo w | sfdisk " + m_usbDevice);
        run(tableCommand);
        operation.progress("make sure there is /dev/sdx4: " + tableCommand);
        saveFile(CAPTURE_FILE);
        sleep(PARTITION_NODE_WAIT_SECONDS);
        const std::string listCommand = captured("ls -la " + keyPartitionOf(m_usbDevice));
        run(listCommand);
        operation.progress(listCommand);
        saveFile(CAPTURE_FILE);
    }
    return operation.succeeded();
}

} // namespace VelaCreation
