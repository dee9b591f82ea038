#include "network/bootServer.h"

#include "network/confinedProgram.h"
#include "support/programs.h"

#include <mediaRules.h>

#include <filesystem>
#include <string>
#include <vector>

#include <linux/capability.h>

namespace velacreate {
namespace {
using Arguments = std::vector<std::string>;

// Transfers at a time; each has a socket. One that a stranger begins and leaves keeps its place for a while.
constexpr unsigned MOST_TRANSFERS = 12000;
constexpr unsigned DESCRIPTORS = MOST_TRANSFERS + 100;

/// Before it hands out an address, it checks by a raw socket whether the address is in use.
std::vector<unsigned> capabilities(const BootService& service) {
    std::vector<unsigned> needed = {CAP_NET_BIND_SERVICE, CAP_NET_ADMIN};
    if (!service.isProxy()) {
        needed.push_back(CAP_NET_RAW);
    }
    return needed;
}

/// Each machine gets one address, also when its firmware, its loader and its system send different
/// identifiers. No router is announced.
void addAddresses(const BootService& service, Arguments& settings) {
    const auto& range = *service.range;
    settings.insert(settings.end(),
                    {"dhcp-range=" + addressText(range.first) + "," + addressText(range.last) + "," +
                         addressText(range.network.mask) + "," + std::to_string(LEASE_SECONDS),
                     "dhcp-lease-max=" + std::to_string(MOST_MACHINES), "dhcp-ignore-clid",
                     "dhcp-option=option:router"});
    if (service.directory != nullptr) { // a machine that does not tell its architecture has a BIOS
        settings.insert(settings.end(),
                        {"dhcp-match=set:named,option:client-arch",
                         "dhcp-boot=tag:!named," + std::string(VelaCreation::NETBOOT_LOADER)});
    }
    for (const auto& offer : service.offers) {
        const auto tag = tagOf(offer.architecture);
        settings.push_back("dhcp-boot=tag:" + tag + "," + offer.file);
        if (offer.isByHttp()) {
            settings.push_back("dhcp-option-force=tag:" + tag + ",60,HTTPClient");
        }
    }
}

/// What is added to the answer of another server.
void addAnswers(const BootService& service, Arguments& settings) {
    for (const auto& network : service.port.networks()) {
        settings.push_back("dhcp-range=" + addressText(network.first()) + ",proxy");
    }
    settings.insert(settings.end(), {"no-ping", "dhcp-pxe-vendor=PXEClient,HTTPClient"});
    for (const auto& offer : service.offers) {
        if (offer.isByHttp()) {
            settings.push_back("dhcp-boot=tag:" + tagOf(offer.architecture) + "," + offer.file);
        } else {
            // The server adds the ending ".0".
            const auto isBios = offer.architecture.way == StartWay::bios;
            const auto name = isBios ? std::filesystem::path(offer.file).stem().string() : offer.file;
            settings.push_back("pxe-service=" + std::string(offer.architecture.nameForProxy) +
                               ",Service medium," + name);
        }
    }
}

Arguments serverCommand(const BootService& service) {
    Arguments arguments = {pathOf(BOOT_SERVER), "--no-daemon",
                           "--user=", // it is nobody from the start
                           "--group=",          "--conf-file=/dev/null", "--leasefile-ro", "--log-facility=-",
                           "--log-dhcp"};
    for (const auto& setting : bootSettings(service, SERVED_PLACE)) {
        arguments.push_back("--" + setting);
    }
    return arguments;
}
} // namespace

std::vector<std::string> bootSettings(const BootService& service, const std::string& files) {
    Arguments settings = {
        "no-resolv",           "no-hosts",       "port=0", "interface=" + service.port.name(),
        "except-interface=lo", "bind-interfaces"};
    if (service.directory != nullptr) {
        settings.insert(settings.end(),
                        {"enable-tftp", "tftp-root=" + files, "tftp-max=" + std::to_string(MOST_TRANSFERS)});
    }
    for (const auto& architecture : CLIENT_ARCHITECTURES) {
        settings.push_back("dhcp-match=set:" + tagOf(architecture) + ",option:client-arch," +
                           std::to_string(architecture.number));
    }
    if (service.isProxy()) {
        addAnswers(service, settings);
    } else {
        addAddresses(service, settings);
    }
    return settings;
}

void becomeBootServer(const BootService& service) {
    const auto command = serverCommand(service);
    const ServerRoot root;
    root.addProgram(command.front());
    const auto serve = [&](const std::string& name, const Descriptor& file) {
        root.addCopy(file, std::string(SERVED_PLACE) + "/" + name);
    };
    service.forEachTftpFile(serve);
    becomeConfined(command, root, capabilities(service), DESCRIPTORS);
}

} // namespace velacreate
