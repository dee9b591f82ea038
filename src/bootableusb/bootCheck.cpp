#include "bootableusb.h"

#include "cloneImage.h"
#include "descriptor.h"
#include "keyDescription.h"
#include "operation.h"

#include <algorithm>
#include <array>
#include <cerrno>
#include <locale>
#include <map>
#include <sstream>

namespace VelaCreation {

const std::string USB_BOOT_FILE = "img1a.sys";

namespace {

using Sector = std::array<std::uint8_t, 512>;

template <typename Bytes>
bool readAt(const Descriptor& file, std::int64_t offset, Bytes& bytes) {
    return pread(file.number(), bytes.data(), bytes.size(), offset) == static_cast<ssize_t>(bytes.size());
}

template <typename Bytes>
bool writeAt(const Descriptor& file, std::int64_t offset, const Bytes& bytes) {
    return pwrite(file.number(), bytes.data(), bytes.size(), offset) == static_cast<ssize_t>(bytes.size());
}

/// What has to be known of a clone image before it can be adjusted.
struct CloneLayout {
    EndAddress end;
    Geometry geometry;
    std::uint8_t firstSector;
};

/// Adjusting an image overwrites the end address that its geometry is read from. So that an image can be
/// adjusted again, the geometry is kept for as long as the address written with it still stands.
struct Adjustment {
    Geometry geometry;
    EndAddress written;
};
std::map<std::string, Adjustment> adjustments; // by the image's name

bool readLayout(const Descriptor& image, const std::string& name, CloneLayout& layout) {
    std::array<std::uint8_t, 4> bytes{};
    const ssize_t count = pread(image.number(), bytes.data(), bytes.size(), END_ADDRESS_OFFSET);
    if (count < 0) {
        return false;
    }
    layout.end = {bytes[0], bytes[1], bytes[2]};
    layout.firstSector = bytes[3];
    const auto earlier = adjustments.find(name);
    layout.geometry = earlier != adjustments.end() && earlier->second.written == layout.end
                          ? earlier->second.geometry
                          : geometryOf(layout.end);
    if (count < static_cast<ssize_t>(bytes.size()) || layout.geometry.sectorsPerTrack == 0) {
        errno = EINVAL;
        return false;
    }
    return true;
}

bool writeEndAddress(const Descriptor& image, const std::string& name, const Geometry& geometry,
                     std::int64_t capacity) {
    const EndAddress end = lastSectorAddress(capacity, geometry);
    if (!writeAt(image, END_ADDRESS_OFFSET, end)) {
        return false;
    }
    adjustments[name] = {geometry, end};
    return true;
}

bool writeLength(const Descriptor& image, std::int64_t partitionLength) {
    const auto bytes = littleEndian(partitionLength);
    return writeAt(image, LENGTH_OFFSET, bytes) && writeAt(image, totalSectorsOffset(partitionLength), bytes);
}

std::string differenceText(std::size_t offset, std::uint8_t onKey, std::uint8_t inImage) {
    std::ostringstream text;
    text.imbue(std::locale::classic());
    text << std::hex << "buf[" << offset << "](" << unsigned{onKey} << ") != buf2[" << offset << "]("
         << unsigned{inImage} << ")\n";
    return text.str();
}

} // namespace

int BootableUSB::isBootable(bool& format) {
    const Operation operation(*m_logger, "BootableUSB::isBootable()");

    Sector keySector{};
    {
        const Descriptor key(m_usbDevice, O_RDONLY);
        if (!key.isOpen()) {
            return operation.failedWithError(VELAERROR_USB_ACCESS_ERROR, "Opening usb key fails");
        }
        if (!readAt(key, 0, keySector)) {
            return operation.failedWithError(VELAERROR_USB_ACCESS_ERROR, "Reading usb key sector fails");
        }
    }
    const std::uint32_t sectors = getUSBCapacity(m_usbDevice);
    if (sectors == CAPACITY_UNKNOWN) {
        return operation.failedWithError(VELAERROR_USB_ACCESS_ERROR, "Getting usb capacity fails");
    }
    const std::int64_t capacity = sectors;
    m_cloneFile = cloneImageFor(capacity);
    operation.progress("after checking, CLONE_FILE=" + m_cloneFile);

    Sector imageSector{};
    {
        const Descriptor image(m_cloneFile, O_RDWR);
        if (!image.isOpen()) {
            return operation.failedWithError(VELAERROR_FILE_OR_DIR_NOT_FOUND, "Opening CLONE_FILE fails");
        }
        CloneLayout layout{};
        if (!readLayout(image, m_cloneFile, layout) ||
            !writeEndAddress(image, m_cloneFile, layout.geometry, capacity)) {
            return operation.failedWithError(VELAERROR_USB_ACCESS_ERROR, "Reading CLONE_FILE fails");
        }
        const std::int64_t partitionLength = capacity - layout.firstSector;
        operation.progress("capacity to be write at 0x1FA = " + std::to_string(partitionLength));
        if (!writeLength(image, partitionLength) || !readAt(image, 0, imageSector)) {
            return operation.failedWithError(VELAERROR_USB_ACCESS_ERROR, "Reading CLONE_FILE fails");
        }
    }

    format = false;
    const auto difference = std::mismatch(keySector.begin(), keySector.end(), imageSector.begin());
    if (difference.first != keySector.end()) {
        const auto offset = static_cast<std::size_t>(difference.first - keySector.begin());
        operation.progress(differenceText(offset, *difference.first, *difference.second));
        format = true;
    }

    unMountUsb();
    if (!createDirectory(MOUNT_POINT)) {
        return operation.failedWithError(VELAERROR_FILE_OR_DIR_CREATE_ERROR, "Creating MOUNT_POINT fails");
    }
    if (mountUsb() != VELAERROR_SUCCESS) {
        return operation.failedWithError(VELAERROR_USB_ACCESS_ERROR, "Mounting usb fails");
    }
    if (!isFileExist(MOUNT_POINT + FILE_SEPERATOR + USB_BOOT_FILE)) {
        format = true;
    }
    unMountUsb();
    return operation.succeeded();
}

} // namespace VelaCreation
