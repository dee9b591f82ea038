#include "commands.h"
#include "deviceGuard.h"

#include <iostream>

namespace velacreate {

int identify(const std::string& device) {
    const auto about = describe(wholeDisk(device));
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
        const auto device = "/dev/" + disk;
        const auto about = describe(device);
        const auto places = mountedPlaces(disk);
        std::cout << device << "  " << about.vendor << "  " << about.model << "  " << about.size << "  "
                  << (places.empty() ? "not mounted" : "mounted on " + places) << std::endl;
    }
    return 0;
}

} // namespace velacreate
