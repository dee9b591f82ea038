#include "network/stoppedMachines.h"

#include "network/loaders.h"
#include "support/texts.h"

#include <mediaRules.h>

#include <algorithm>
#include <array>

namespace velacreate {
namespace {
constexpr std::uint64_t SLOWEST = 1 << 20U; ///< bytes in a second
constexpr std::chrono::seconds TO_GO_ON(60);
constexpr std::chrono::seconds TO_START_A_SYSTEM(180);

struct Reason {
    const char* file; ///< the last one
    const char* text;
};
constexpr std::array<Reason, 9> REASONS = {{
    {VelaCreation::NETBOOT_LOADER, "its loader does not find its files, or does not run on this machine"},
    {MADE_FOR_X64, "most likely its Secure Boot is on, which starts only signed loaders"},
    {MADE_FOR_ARM64, "most likely its Secure Boot is on, which starts only signed loaders"},
    {SHIM, "its Secure Boot does not trust Microsoft's certificate for other systems"},
    {GRUB_OF_SHIM, "its Secure Boot does not trust this loader, or the loader does not find its files"},
    {CONFIGURATION_OF_GRUB, "its loader does not find the other files"},
    {"grub.cfg", "its menu waits for a choice, or grub.cfg names a file that is not there"},
    {LOADED_KERNEL, "its loader refuses the kernel, or the machine has too little memory"},
    {"", "its system has no driver for its network card, or the machine has too little memory"},
}};
constexpr const char* IS_OFF = "it was switched off, or its connection is broken";

/// @return the last reason for a file that has none of its own
const Reason& reasonFor(const std::string& file) {
    return *std::find_if(REASONS.begin(), REASONS.end() - 1,
                         [&](const Reason& reason) { return file == reason.file; });
}

bool mayStartSystem(const std::string& lastFile) {
    return reasonFor(lastFile).file == REASONS.back().file;
}

std::string neededMemory(const ServedSizes& served) {
    return "it needs " + sizeText(served.image) + " of memory for the image, and some more";
}

std::string reasonOf(const BootProgress& progress, const ServedSizes& served) {
    if (!progress.failedFile.empty() || progress.percent.value_or(0) > 0) {
        return IS_OFF;
    }
    if (progress.lastFile.empty()) {
        return progress.way == StartWay::uefiByHttp
                   ? neededMemory(served)
                   : "another DHCP server was faster, or it starts from something else";
    }
    return served.isProxy && progress.lastFile == VelaCreation::NETBOOT_LOADER
               ? "beside another DHCP server, this loader asks that one for its files"
               : reasonFor(progress.lastFile).text;
}
} // namespace

std::chrono::seconds patienceWith(const BootProgress& progress, const ServedSizes& served) {
    if (progress.lastFile.empty() || !progress.failedFile.empty()) {
        return TO_GO_ON;
    }
    const bool isSystemNext = mayStartSystem(progress.lastFile);
    const auto largest = std::max(served.largestLooseFile, isSystemNext ? served.archive : 0);
    return (isSystemNext ? TO_START_A_SYSTEM : TO_GO_ON) + std::chrono::seconds(largest / SLOWEST);
}

std::string stopText(const BootProgress& progress, const ServedSizes& served) {
    std::string place = "before it fetched what it was offered";
    if (!progress.failedFile.empty()) {
        place = "within " + progress.failedFile;
    } else if (progress.percent.value_or(0) > 0) {
        place = "at " + std::to_string(*progress.percent) + "% of the image";
    } else if (!progress.lastFile.empty()) {
        place = "after " + progress.lastFile;
    }
    return "stopped " + place + ": " + reasonOf(progress, served);
}

} // namespace velacreate
