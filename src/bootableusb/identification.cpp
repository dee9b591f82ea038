#include "bootableusb.h"

#include "descriptor.h"
#include "keyDescription.h"
#include "operation.h"

#include <array>
#include <cerrno>
#include <fstream>
#include <iomanip>
#include <locale>

#include <linux/fs.h>
#include <scsi/scsi.h>
#include <sys/ioctl.h>

namespace VelaCreation {

namespace {

constexpr int WORD_LIMIT = 255;

/// @return false at the end of the kernel's SCSI list, and for a line of 80 characters or more
bool readListLine(std::istream& list, std::string& line) {
    std::array<char, 80> buffer{};
    if (!list.getline(buffer.data(), buffer.size())) {
        return false;
    }
    line = buffer.data();
    return true;
}

/// @return false, with the word unchanged, when the file cannot be opened
bool readFirstWord(const std::string& path, std::string& word) {
    std::ifstream file(path);
    if (!file.is_open()) {
        return false;
    }
    file.imbue(std::locale::classic());
    std::string first;
    file >> std::setw(WORD_LIMIT) >> first;
    word = first;
    return true;
}

} // namespace

std::uint32_t BootableUSB::getUSBCapacity(std::string devicePath) {
    const Descriptor device(devicePath, O_RDONLY);
    unsigned long sectors = 0; // BLKGETSIZE writes a long
    if (!device.isOpen() || ioctl(device.number(), BLKGETSIZE, &sectors) != 0) {
        return CAPACITY_UNKNOWN;
    }
    return static_cast<std::uint32_t>(sectors);
}

int BootableUSB::getVendorModel(std::string devicePath, std::string& vendor, std::string& model) {
    vendor.clear();
    model.clear();
    int host = 0;
    {
        const Descriptor device(devicePath, O_RDONLY);
        if (!device.isOpen()) {
            return -1;
        }
        if (const int result = ioctl(device.number(), SCSI_IOCTL_GET_BUS_NUMBER, &host); result < 0) {
            return result;
        }
    }
    const std::string hostNumber = std::to_string(host);

    std::ifstream list("/proc/scsi/scsi");
    std::string line;
    readListLine(list, line); // the header
    while (readListLine(list, line)) {
        if (namesHost(line, hostNumber)) {
            if (readListLine(list, line)) {
                vendor = column(line, 10, 8);
                model = column(line, 26, 16);
            }
            break;
        }
    }
    return 0;
}

int BootableUSB::getUSBData(std::string devicePath, VelaCreation::_USBDATA* usbData) {
    const Operation operation(*m_logger, "BootableUSB::getUSBData()");

    if (devicePath.empty()) {
        return operation.failedWithError(VELAERROR_USB_ACCESS_ERROR, errno, "Getting usb key name fails");
    }
    const std::string sysfsDir = "/sys/block/" + deviceName(devicePath) + "/device/";

    const std::uint32_t sectors = getUSBCapacity(devicePath);
    usbData->size = sectors == CAPACITY_UNKNOWN ? std::string() : sizeText(sectors);

    if (readFirstWord(sysfsDir + "vendor", usbData->vendor)) {
        readFirstWord(sysfsDir + "model", usbData->model);
    } else if (getVendorModel(devicePath, usbData->vendor, usbData->model) != 0) {
        operation.warn("Can't get manufacturer and model info. In BootableUSB::getUSBData()");
    }

    for (std::string* field : {&usbData->vendor, &usbData->model, &usbData->size}) {
        if (field->empty()) {
            *field = "Undetected";
        }
    }
    return operation.succeeded();
}

} // namespace VelaCreation
