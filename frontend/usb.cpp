#include "commands.h"
#include "deviceGuard.h"
#include "interrupt.h"
#include "job.h"
#include "readBack.h"
#include "tools.h"

#include <bootableusb.h>

#include <array>
#include <cstdlib>
#include <fstream>
#include <iostream>
#include <sys/mount.h>
#include <unistd.h>

namespace velacreate {

using VelaCreation::BootableUSB;

namespace {

constexpr const char* SOFT_KEY = "TALO_SOFT_USBKEY";
constexpr int FILE_SYSTEM_OFFSET = 32256;

/// Named in the place of a key when there is only an image: a key would be mounted under the image and stay
/// so.
constexpr const char* NO_KEY = "/nonexistent/key";

void requireFat(const fs::path& image) {
    std::array<unsigned char, 512> sector{};
    std::ifstream stream(image, std::ios::binary);
    stream.seekg(FILE_SYSTEM_OFFSET);
    stream.read(reinterpret_cast<char*>(sector.data()), sector.size());
    const unsigned bytesPerSector = sector[11] + 256U * sector[12];
    const unsigned sectorsPerCluster = sector[13];
    const auto isPowerOfTwo = [](unsigned number) { return number != 0 && (number & (number - 1)) == 0; };
    const bool isFat = stream && sector[510] == 0x55 && sector[511] == 0xAA && isPowerOfTwo(bytesPerSector) &&
                       bytesPerSector >= 512 && bytesPerSector <= 4096 && isPowerOfTwo(sectorsPerCluster) &&
                       (sector[14] != 0 || sector[15] != 0) && (sector[16] == 1 || sector[16] == 2) &&
                       sector[21] >= 0xF0;
    if (!isFat) {
        throw Refusal(shown(image) + " holds no FAT file system at byte " +
                      std::to_string(FILE_SYSTEM_OFFSET));
    }
}

/// The library makes the mount point anew, whatever is in it.
void requireFreeMountPoint() {
    const fs::path place = BootableUSB::MOUNT_POINT;
    if (isTaken(place) && !(fs::is_directory(place) && fs::is_empty(place))) {
        throw Refusal(shown(place) + " is in use or not empty, and would be removed");
    }
}

void requireConsent(const fs::path& device, const std::string& description, const UsbChoices& choices) {
    const auto places = mountedPlaces(device.filename());
    std::cout << device.string() << ": " << description << ", "
              << (places.empty() ? "not mounted" : "mounted on " + places) << std::endl;
    if (choices.yes) {
        return;
    }
    if (isatty(STDIN_FILENO) == 0) {
        throw Refusal("without a terminal, only --yes lets the key be changed");
    }
    const std::string formatting = choices.format == "always" ? "formatted and "
                                   : choices.format == "auto" ? "formatted if need be, and "
                                                              : "";
    std::cout << "Its fourth partition will be " << formatting << "filled. Type yes to go on: " << std::flush;
    std::string answer;
    std::getline(std::cin, answer);
    if (answer != "yes") {
        throw Refusal("the key was left as it is");
    }
}

/// Unmounts the key, if need be under the hands of another program.
void release(BootableUSB& builder) {
    builder.unMountUsb();
    for (const auto& mount : mounts()) {
        if (mount.place == BootableUSB::MOUNT_POINT && umount2(mount.place.c_str(), MNT_DETACH) == 0) {
            std::cerr << "velacreate: another program still uses the key; it is free when that ends"
                      << std::endl;
        }
    }
}

} // namespace

int makeUsbKey(const UsbChoices& choices) {
    const bool isImage = !choices.image.empty();
    requireRoot();
    requireTools({"unzip", "mount", "umount"});
    Job job(choices.job, {});

    const auto key = isImage ? existing(choices.image) : wholeDisk(choices.device);
    requireWord(key);
    if (isImage) {
        if (choices.format == "always") {
            throw Refusal("an image is not formatted; leave out --format always");
        }
        requireFat(key);
        job.requireSafeOutput(key);
    } else {
        if (choices.format != "never") {
            requireTools({"mkfs", "mkfs.vfat", "sfdisk"});
        }
        requireKey(key, choices.anyDisk);
    }
    requireFreeMountPoint();

    std::string size = isImage ? sizeText(fs::file_size(key)) : "";
    if (!isImage) {
        const auto about = describe(key);
        size = about.size;
        requireConsent(key, about.vendor + " " + about.model + ", " + size, choices);
    }

    ConsoleLogger logger = job.openLogger();
    BootableUSB builder(logger);
    const auto product = (isImage ? "the key image " : "the key ") + key.string();
    const auto report = job.begin(product);

    const std::string device = isImage ? NO_KEY : key.string();
    unsetenv(SOFT_KEY);
    if (isImage) {
        setenv(SOFT_KEY, key.c_str(), 1);
        std::cout << "(The library reports that there is no key before it turns to the image.)" << std::endl;
    }
    int status = attempt(logger, [&] {
        bool isInitialized = false;
        bool format = choices.format == "always";
        int result = builder.init(job.directory(), device, job.files(), job.package(), isInitialized);
        if (result == 0 && choices.format == "auto" && !isImage) {
            result = builder.isBootable(format);
        }
        // Formatting comes before the library's own checkpoint.
        return result != 0 || isInterrupted() ? result : builder.CreateUSBKey(format);
    });
    release(builder);
    if (status == 0 && job.wantsReadBack()) {
        status = attempt(logger, [&] {
            const ReadOnlyMount medium(isImage ? key.string() : device + "4",
                                       isImage ? ",loop,offset=" + std::to_string(FILE_SYSTEM_OFFSET) : "");
            return job.compareWith(medium.path(), logger);
        });
    }

    job.cleanUp(builder);
    return report.end(status, "Made " + product + ", " + size);
}

} // namespace velacreate
