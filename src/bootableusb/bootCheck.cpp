#include "bootableusb.h"

#include "cloneImage.h"
#include "descriptor.h"
#include "keyDescription.h"
#include "mediaRules.h"
#include "operation.h"

#include <algorithm>
#include <array>
#include <cerrno>
#include <locale>
#include <map>
#include <sstream>

namespace VelaCreation {

namespace {

using Sector = std::array<std::uint8_t, SECTOR_SIZE>;

template <typename Bytes>
bool readAt(const Descriptor& file, std::int64_t offset, Bytes& bytes) {
    return pread(file.number(), bytes.data(), bytes.size(), offset) == static_cast<ssize_t>(bytes.size());
}

template <typename Bytes>
bool writeAt(const Descriptor& file, std::int64_t offset, const Bytes& bytes) {
    return pwrite(file.number(), bytes.data(), bytes.size(), offset) == static_cast<ssize_t>(bytes.size());
}

/// The fields of a clone image that its adjustment needs.
struct CloneLayout {
    EndAddress end;
    Geometry geometry;
    std::uint8_t firstSector;
};

/// An adjustment overwrites the end address, from which the geometry is read. The geometry is kept for the
/// next adjustment. It is valid while the image still has the written end address.
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
    layout.firstSector = bytes[START_OFFSET - END_ADDRESS_OFFSET];
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
                     const EndAddress& end) {
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

int readKey(const Operation& operation, const std::string& device, Sector& firstSector) {
    const Descriptor key(device, O_RDONLY);
    if (!key.isOpen()) {
        return operation.failedWithError(VELAERROR_USB_ACCESS_ERROR, errno, "Opening usb key fails");
    }
    if (!readAt(key, 0, firstSector)) {
        return operation.failedWithError(VELAERROR_USB_ACCESS_ERROR, errno, "Reading usb key sector fails");
    }
    return VELAERROR_SUCCESS;
}

int fitImage(const Operation& operation, const std::string& name, std::int64_t capacity,
             Sector& firstSector) {
    const Descriptor image(name, O_RDWR);
    if (!image.isOpen()) {
        return operation.failedWithError(VELAERROR_FILE_OR_DIR_NOT_FOUND, errno, "Opening CLONE_FILE fails");
    }
    CloneLayout layout{};
    if (!readLayout(image, name, layout)) {
        return operation.failedWithError(VELAERROR_USB_ACCESS_ERROR, errno, "Reading CLONE_FILE fails");
    }
    const auto fitted = fittedEntry(capacity, layout.geometry, layout.firstSector);
    if (!writeEndAddress(image, name, layout.geometry, fitted.end)) {
        return operation.failedWithError(VELAERROR_USB_ACCESS_ERROR, errno, "Reading CLONE_FILE fails");
    }
    operation.progress("capacity to be write at 0x1FA = " + std::to_string(fitted.length));
    if (!writeLength(image, fitted.length) || !readAt(image, 0, firstSector)) {
        return operation.failedWithError(VELAERROR_USB_ACCESS_ERROR, errno, "Reading CLONE_FILE fails");
    }
    return VELAERROR_SUCCESS;
}

std::string differenceText(std::size_t offset, std::uint8_t onKey, std::uint8_t inImage) {
    std::ostringstream text;
    text.imbue(std::locale::classic());
    text << std::hex << "buf[" << offset << "](" << unsigned{onKey} << ") != buf2[" << offset << "]("
         << unsigned{inImage} << ")\n";
    return text.str();
}

bool startsLikeImage(const Operation& operation, const Sector& key, const Sector& image) {
    const auto [onKey, inImage] = std::mismatch(key.begin(), key.end(), image.begin());
    if (onKey == key.end()) {
        return true;
    }
    operation.progress(differenceText(static_cast<std::size_t>(onKey - key.begin()), *onKey, *inImage));
    return false;
}

} // namespace

int BootableUSB::isBootable(bool& format) {
    const Operation operation(*m_logger, "BootableUSB::isBootable()");

    Sector keySector{};
    if (const int result = readKey(operation, m_usbDevice, keySector); result != VELAERROR_SUCCESS) {
        return result;
    }
    const std::uint32_t capacity = getUSBCapacity(m_usbDevice);
    if (capacity == CAPACITY_UNKNOWN) {
        return operation.failedWithError(VELAERROR_USB_ACCESS_ERROR, errno, "Getting usb capacity fails");
    }
    m_cloneFile = cloneImageFor(capacity);
    operation.progress("after checking, CLONE_FILE=" + m_cloneFile);

    Sector imageSector{};
    if (const int result = fitImage(operation, m_cloneFile, capacity, imageSector);
        result != VELAERROR_SUCCESS) {
        return result;
    }
    format = !startsLikeImage(operation, keySector, imageSector);

    unMountUsb();
    if (!createDirectory(MOUNT_POINT)) {
        return operation.failedWithError(VELAERROR_FILE_OR_DIR_CREATE_ERROR, errno,
                                         "Creating MOUNT_POINT fails");
    }
    if (mountUsb() != VELAERROR_SUCCESS) {
        return operation.failedWithError(VELAERROR_USB_ACCESS_ERROR, errno, "Mounting usb fails");
    }
    if (!isFileExist(MOUNT_POINT + FILE_SEPERATOR + USB_BOOT_FILE)) {
        format = true;
    }
    unMountUsb();
    return operation.succeeded();
}

} // namespace VelaCreation
