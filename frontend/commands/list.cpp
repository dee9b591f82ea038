#include "commands/commands.h"

#include "disks/cloning.h"
#include "disks/disks.h"
#include "disks/guard.h"
#include "disks/inventory.h"
#include "display/table.h"
#include "support/texts.h"

#include <nlohmann/json.hpp>

#include <string>
#include <utility>
#include <vector>

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

nlohmann::ordered_json objectOf(const Listed& listed) {
    std::vector<std::string> places;
    for (const auto& mounted : listed.mounted) {
        places.push_back(mounted.place);
    }
    const auto& about = listed.about;
    return {{"node", listed.disk.node()},
            {"port", about.port},
            {"vendor", about.vendor},
            {"model", about.model},
            {"serial", about.serial},
            {"size", about.size},
            {"content", listed.content},
            {"mounted", places},
            {"accepted", listed.reason.empty()},
            {"needsErase", listed.needsErase},
            {"reason", listed.reason}};
}

std::string jsonOf(const std::vector<Listed>& disks) {
    using nlohmann::ordered_json;
    auto array = ordered_json::array();
    for (const auto& listed : disks) {
        array.push_back(objectOf(listed));
    }
    constexpr int INDENT = 2;
    // The name of a mount point may be in any encoding.
    return array.dump(INDENT, ' ', false, ordered_json::error_handler_t::replace) + "\n";
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
        console.printResult(json ? jsonOf(disks) : tableOf(disks));
    }
    return 0;
}

} // namespace velacreate
