/// @file
/// The builder of bootable USB keys, with the identification of a key.
#ifndef VELACREATION_BOOTABLEUSB_H
#define VELACREATION_BOOTABLEUSB_H

#include "bootableMedia.h"

#include <cstdint>

namespace VelaCreation {

/// Describes a USB key to a user.
struct _USBDATA {       // NOLINT(clang-diagnostic-reserved-identifier)
    std::string vendor; ///< manufacturer, as the kernel reports it
    std::string model;  ///< model, as the kernel reports it
    std::string size;   ///< capacity with its unit (multiples of 1,024), such as 7.455GB
};

/// Fills a USB key: formats its fourth partition on request, mounts it, and copies the boot files of a tool
/// package and the update files to it. Also identifies a key and says whether it must be formatted.
///
/// A job is `init`, optionally `isBootable`, then `CreateUSBKey`.
///
/// If the environment variable TALO_SOFT_USBKEY is set, even to an empty value, it names a disk image.
/// `CreateUSBKey` then mounts the file system at byte 32256 of this image instead of the key (or over the
/// key, if the key can be mounted too). The value is put into the command bare. The other operations still
/// work on the device.
class VELACREATION_EXPORT BootableUSB : public BootableMedia {
public:
    static const std::string MOUNT_POINT; ///< "/mnt/VelaCreationUSBKey", where the key is mounted

    /// @param logger  must outlive the builder
    explicit BootableUSB(VelaLoggerIfc& logger);

    /// Removes no file and unmounts nothing.
    ~BootableUSB() override;

    /// Prepares a job: enters the source directory, makes every file there executable and unpacks the tool
    /// package. Announces two stages, with a pause of ten seconds each. Nothing is undone after a failure: a
    /// process that has entered the source directory stays there.
    /// @param sourceDir         an existing directory; becomes the working directory
    /// @param usbDevice         the key's whole-disk node, such as /dev/sdx; put into commands bare
    /// @param updateFiles       files for the key, relative to `sourceDir`
    /// @param toolPackage       the zip archive with the boot files, relative to `sourceDir`; put into
    ///                          commands bare
    /// @param[out] initialized  true on success; unchanged after a failure
    /// @return 0 on success, or
    ///         - 100 `sourceDir` or `usbDevice` is empty, or the directory or the package is missing
    ///         - 81 no update file is left after filtering
    ///         - 107 files cannot be made executable
    ///         - 102 the tool package cannot be unpacked
    int init(std::string sourceDir, std::string usbDevice, std::vector<std::string> updateFiles,
             std::string toolPackage, bool& initialized);

    /// Mounts the key's fourth partition on MOUNT_POINT. Removes this directory and makes it again first.
    /// Nothing may be mounted there.
    /// @return 0; 106 if the mount point cannot be made; 101 if mounting fails
    int mountUsb();

    /// Unmounts the key, its four partitions, MOUNT_POINT and /mnt, if they are mounted.
    /// @return always 0
    int unMountUsb();

    /// Formats the key's fourth partition as FAT with the label MOXBOOT, after unmounting the key. Without
    /// TALO_SOFT_USBKEY it then lets sfdisk write the partition table again, waits five seconds and lists the
    /// partition's node. The output goes to the log.
    /// @return 0; 104 if formatting fails
    int doDD();

    /// Fills the key and unmounts it. Announces two stages, or three with formatting, with a pause of ten
    /// seconds each. After a failure the object stays initialised, and the key can stay mounted on
    /// MOUNT_POINT with the files copied so far; `unMountUsb` unmounts it.
    /// @param format  whether to format the key first
    /// @return 0 on success (the next key then needs a new `init`), the answer of the logger's `checkpoint`
    /// if
    ///         it is not 0, or
    ///         - 110 the last `init` did not succeed, or its key is already finished
    ///         - 104 formatting failed
    ///         - 101 mounting failed
    ///         - 100 an update file is missing
    ///         - 106 a copy failed
    ///         - 107 files on the key cannot be made executable
    int CreateUSBKey(bool format);

    /// @param devicePath  the key's whole-disk node
    /// @return the low 32 bits of the capacity in sectors of 512 bytes; 0xFFFFFFFF if it cannot be read
    std::uint32_t getUSBCapacity(std::string devicePath);

    /// Finds a device in the kernel's list of SCSI devices, "/proc/scsi/scsi", by its SCSI host. Logs
    /// nothing.
    /// @param devicePath   the key's whole-disk node
    /// @param[out] vendor  8 characters, trailing blanks included; empty when not found
    /// @param[out] model   16 characters, trailing blanks included; empty when not found
    /// @return 0, even if the host is not in the list; negative if the device cannot be opened or has no host
    int getVendorModel(std::string devicePath, std::string& vendor, std::string& model);

    /// Describes a key. Needs no `init` and changes nothing.
    /// @param devicePath    the key's whole-disk node
    /// @param[out] usbData  the record to fill, not null. A value that cannot be found becomes "Undetected".
    ///                      One exception: if sysfs has a vendor but no model, the model stays unchanged,
    ///                      unless it is empty
    /// @return 0; 101 if `devicePath` is empty, with the record unchanged
    int getUSBData(std::string devicePath, VelaCreation::_USBDATA* usbData);

    /// Says whether the key of the current job must be formatted. Compares its first sector with that of the
    /// clone image for its capacity, and looks for the boot file "img1a.sys" on the key. First adapts the
    /// clone image, in the working directory, to the capacity. A process can adapt it again, for the same key
    /// or for another one. After success the key is not mounted. After a failure before the comparison, its
    /// mounts are unchanged.
    /// @param[out] format  whether the key must be formatted; not assigned after a failure before the
    ///                     comparison
    /// @return 0 on success, or
    ///         - 101 the key cannot be opened, read, sized or mounted, or the clone image cannot be read,
    ///           holds no geometry or cannot be written
    ///         - 100 the clone image cannot be opened for reading and writing
    ///         - 106 the mount point cannot be made
    int isBootable(bool& format);

protected:
    std::string m_usbDevice;                ///< the key's whole-disk node
    std::string m_sourceDir;                ///< the working directory
    std::string m_cloneFile;                ///< the clone image chosen by `isBootable`
    std::vector<std::string> m_updateFiles; ///< what `CreateUSBKey` copies
    bool m_initialized = false;             ///< whether `CreateUSBKey` may run
};

} // namespace VelaCreation

#endif
