#include "commands/commands.h"

#include "disks/cloning.h"
#include "disks/disks.h"
#include "disks/guard.h"
#include "disks/inventory.h"
#include "display/table.h"
#include "support/texts.h"

#include <string>
#include <vector>

#include <nlohmann/json.hpp>

namespace velacreate {
namespace {
struct Listed {
    explicit Listed(Disk listed)
        : disk(std::move(listed)), about(describe(disk)), content(contentOf(disk)),
          mounted(mountedPlaces(disk)), reason(ineligibilityReason(disk, false)),
          needsErase(!lacksPartition(disk).empty()) {
        if (reason.empty() && needsErase) {
            reason = eraseIneligibilityReason(disk, "", 0);
        }
    }

    Disk disk;
    DiskDescription about;
    std::string content;
    std::vector<MountedPlace> mounted;
    std::string reason; ///< why it cannot become a key; empty when it can
    bool needsErase;
};

std::string fitness(const Listed& listed) {
    return !listed.reason.empty() ? listed.reason : listed.needsErase ? "with --erase" : "yes";
}

std::string tableOf(const std::vector<Listed>& disks) {
    Table table({"Device", "Port", "Vendor", "Model", "Serial number", "Size", "Content", "Mounted on",
                 "Fit for a key"});
    for (const auto& listed : disks) {
        const auto& about = listed.about;
        table.add({listed.disk.node(), about.port, about.vendor, about.model, about.serial,
                   sizeText(about.size), listed.content, placesText(listed.mounted), fitness(listed)});
    }
    return table.text();
}

Json objectOf(const Listed& listed) {
    std::vector<std::string> places;
    for (const auto& mounted : listed.mounted) {
        places.push_back(mounted.place);
    }
    auto object = jsonOf(listed.disk.node(), listed.about);
    object.update({{"content", listed.content},
                   {"mounted", places},
                   {"accepted", listed.reason.empty()},
                   {"needsErase", listed.needsErase},
                   {"reason", listed.reason}});
    return object;
}

std::string listOf(const std::vector<Listed>& disks) {
    auto array = Json::array();
    for (const auto& listed : disks) {
        array.push_back(objectOf(listed));
    }
    constexpr int INDENT = 2;
    return textOf(array, INDENT); // the name of a mount point may be in any encoding
}
} // namespace

int listDisks(bool json, Console& console) {
    std::vector<Listed> disks;
    for (const auto& disk : removableDisks()) {
        disks.emplace_back(disk);
    }
    if (!json && disks.empty()) {
        console.showUnlogged("There is no removable or USB disk.");
    } else {
        console.printResult(json ? listOf(disks) : tableOf(disks));
    }
    return 0;
}

} // namespace velacreate
