#include "commands/commands.h"

#include "disks/disks.h"
#include "support/failure.h"

#include <bootableusb.h>

#include <iostream>

namespace velacreate {

namespace {

struct Complaints : VelaLoggerIfc {
    void logMessage(int level, const std::string& message) override {
        if (level == 0) {
            std::cerr << message << std::endl;
        }
    }
    int checkpoint(int /*level*/, const std::string& /*message*/) override {
        return 0;
    }
};

VelaCreation::_USBDATA askLibrary(const Disk& disk) {
    Complaints complaints;
    VelaCreation::_USBDATA about;
    VelaCreation::BootableUSB(complaints).getUSBData(disk.node(), &about);
    return about;
}

} // namespace

int identify(const std::string& device) {
    const auto about = askLibrary(wholeDisk(device));
    std::cout << "vendor: " << about.vendor << "\nmodel:  " << about.model << "\nsize:   " << about.size
              << std::endl;
    return 0;
}

int listDisks() {
    const auto disks = removableDisks();
    if (disks.empty()) {
        std::cerr << "There is no removable or USB disk." << std::endl;
    }
    for (const auto& disk : disks) {
        const auto about = askLibrary(disk);
        const auto places = placesText(mountedPlaces(disk));
        std::cout << disk.node() << "  " << about.vendor << "  " << about.model << "  " << about.size << "  "
                  << (places.empty() ? "not mounted" : "mounted on " + places) << std::endl;
    }
    return 0;
}

} // namespace velacreate
