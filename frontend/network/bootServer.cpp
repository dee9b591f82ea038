#include "network/bootServer.h"

#include "job/childProcess.h"
#include "network/nobody.h"
#include "network/serverRoot.h"
#include "network/systemCalls.h"
#include "support/failure.h"
#include "support/programs.h"

#include <mediaRules.h>

#include <cstdlib>
#include <ctime>
#include <filesystem>
#include <string>
#include <vector>

#include <linux/capability.h>
#include <unistd.h>

namespace velacreate {
namespace {
/// The time zone now, with no need for a file about it, such as "UTC-05:30:00" for a place east of Greenwich.
std::string timeZone() {
    const std::time_t now = std::time(nullptr);
    std::tm local{};
    localtime_r(&now, &local);
    const auto seconds = std::abs(local.tm_gmtoff);
    return (local.tm_gmtoff < 0 ? "UTC+" : "UTC-") + std::to_string(seconds / 3600) + ":" +
           std::to_string(seconds / 60 % 60) + ":" + std::to_string(seconds % 60);
}

/// Its messages are read, so they must be in English, with the time of this place.
void setEnvironment() {
    const auto zone = timeZone();
    check(setenv("LC_ALL", "C", 1) == 0 &&    // NOLINT(concurrency-mt-unsafe)
          setenv("TZ", zone.c_str(), 1) == 0) // NOLINT(concurrency-mt-unsafe)
        .orFail("no language and no time zone for the server");
}

/// Before it hands out an address, it checks by a raw socket whether the address is in use.
std::vector<unsigned> capabilities(bool isProxy) {
    std::vector<unsigned> needed = {CAP_NET_BIND_SERVICE, CAP_NET_ADMIN};
    if (!isProxy) {
        needed.push_back(CAP_NET_RAW);
    }
    return needed;
}

/// @param range  none where another server hands out addresses
std::vector<std::string> serverCommand(const NetworkPort& port, const std::optional<AddressRange>& range) {
    std::vector<std::string> command = {pathOf(BOOT_SERVER),
                                        "--no-daemon",
                                        "--user=", // it is nobody from the start
                                        "--group=",
                                        "--conf-file=/dev/null",
                                        "--no-resolv",
                                        "--no-hosts",
                                        "--port=0",
                                        "--interface=" + port.name(),
                                        "--except-interface=lo",
                                        "--bind-interfaces",
                                        "--leasefile-ro",
                                        "--log-facility=-",
                                        "--enable-tftp",
                                        "--tftp-root=" + std::string(SERVED_PLACE),
                                        "--tftp-max=1000"};
    if (!range) {
        // The server adds the ending ".0".
        const auto loader = std::filesystem::path(VelaCreation::NETBOOT_LOADER).stem().string();
        for (const auto& network : port.networks()) {
            command.push_back("--dhcp-range=" + addressText(network.first()) + ",proxy");
        }
        command.insert(command.end(), {"--no-ping", "--pxe-service=x86PC,Service medium," + loader});
        return command;
    }
    command.push_back("--dhcp-range=" + addressText(range->first) + "," + addressText(range->last) + "," +
                      addressText(range->network.mask) + ",1h");
    // Each machine gets one address, also when its firmware, its loader and its system send different
    // identifiers. No router is announced.
    command.insert(command.end(), {"--dhcp-boot=" + std::string(VelaCreation::NETBOOT_LOADER),
                                   "--dhcp-lease-max=" + std::to_string(MOST_MACHINES), "--dhcp-ignore-clid",
                                   "--dhcp-option=option:router"});
    return command;
}
} // namespace

void becomeServer(const NetbootDirectory& directory, const std::string& scratch, const NetworkPort& port,
                  const std::optional<AddressRange>& range) {
    const auto command = serverCommand(port, range);
    const auto arguments = argumentsOf(command);
    setEnvironment();
    enterServerRoot(command.front(), directory, scratch);
    becomeNobody(capabilities(!range));
    dieWithSupervisor();
    forbidSystemCalls();
    execv(arguments[0], arguments.data());
    throw Failure(SystemError().about(std::string(BOOT_SERVER) + " cannot be started"));
}

} // namespace velacreate
