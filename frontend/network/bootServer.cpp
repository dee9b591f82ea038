#include "network/bootServer.h"

#include "job/childProcess.h"
#include "support/failure.h"
#include "support/programs.h"

#include <mediaRules.h>

#include <cap-ng.h>

#include <cstdlib>
#include <string>
#include <vector>

#include <fcntl.h>
#include <linux/capability.h>
#include <sys/mount.h>
#include <sys/prctl.h>
#include <sys/stat.h>
#include <unistd.h>

namespace velacreate {
namespace {
constexpr int NOBODY = 65534;
constexpr int NO_GROUP = 65534;
constexpr auto ALL_SETS = static_cast<capng_type_t>(CAPNG_EFFECTIVE | CAPNG_PERMITTED | CAPNG_INHERITABLE |
                                                    CAPNG_BOUNDING_SET | CAPNG_AMBIENT);
constexpr mode_t FOR_EVERYBODY = S_IRWXU | S_IRGRP | S_IXGRP | S_IROTH | S_IXOTH;

/// Mounts a regular file. Nothing can replace it by a link or a pipe afterwards.
void mountFile(const Descriptor& directory, const std::string& name) {
    constexpr unsigned long CONFINED = MS_RDONLY | MS_NOSUID | MS_NODEV | MS_NOEXEC | MS_NOSYMFOLLOW;
    const auto file = openBeneath(directory.number(), name, O_PATH);
    if (!file.isOpen() || !S_ISREG(file.status().st_mode)) {
        return;
    }
    const auto place = std::string(SERVED_PLACE) + "/" + name;
    const Descriptor empty(open(place.c_str(), O_WRONLY | O_CREAT | O_EXCL | O_CLOEXEC, S_IRUSR));
    check(empty.isOpen() && mount(file.path().c_str(), place.c_str(), nullptr, MS_BIND, nullptr) == 0 &&
          mount(nullptr, place.c_str(), nullptr, MS_REMOUNT | MS_BIND | CONFINED, nullptr) == 0)
        .orFail(quote(name) + " cannot be mounted for the server");
}

/// The server sees only the files of a network-boot directory.
void mountNetbootDirectory() {
    if (!hasOwnMounts()) {
        throw Failure("mounts of its own cannot be had for the server");
    }
    const Descriptor directory(open(".", O_RDONLY | O_DIRECTORY | O_CLOEXEC));
    check(directory.isOpen() &&
          mount("tmpfs", "/mnt", "tmpfs", MS_NOSUID | MS_NODEV, "mode=755,size=1m") == 0 &&
          mkdir(SERVED_PLACE, FOR_EVERYBODY) == 0 && chdir(SERVED_PLACE) == 0)
        .orFail("the network-boot directory cannot be mounted for the server");
    for (const char* name : VelaCreation::NETBOOT_FILES) {
        mountFile(directory, name);
    }
    mountFile(directory, VelaCreation::NETBOOT_ARCHIVE);
}

/// Its messages are read, so they must be in English.
void useCLocale() {
    check(setenv("LC_ALL", "C", 1) == 0)
        .orFail("no language for the server"); // NOLINT(concurrency-mt-unsafe)
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
    std::vector<std::string> command = {BOOT_SERVER,
                                        "--no-daemon",
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
        for (const auto& network : port.networks()) {
            command.push_back("--dhcp-range=" + addressText(network.first()) + ",proxy");
        }
        command.insert(command.end(), {"--no-ping", "--pxe-service=x86PC,Service medium,pxelinux"});
        return command;
    }
    command.push_back("--dhcp-range=" + addressText(range->first) + "," + addressText(range->last) + "," +
                      addressText(range->network.mask) + ",1h");
    // Each machine gets one address, also when its firmware, its loader and its system send different
    // identifiers. No router is announced.
    command.insert(command.end(),
                   {"--dhcp-boot=" + std::string(VelaCreation::NETBOOT_LOADER), "--dhcp-lease-max=10000",
                    "--dhcp-ignore-clid", "--dhcp-option=option:router"});
    return command;
}

/// Becomes a user without privileges but these capabilities. No program that it runs can get more.
void becomeNobody(const std::vector<unsigned>& capabilities) {
    capng_clear(CAPNG_SELECT_ALL);
    for (const unsigned number : capabilities) {
        if (capng_update(CAPNG_ADD, ALL_SETS, number) != 0) {
            throw Failure("the server's rights cannot be chosen");
        }
    }
    // Reducing the bounding set needs a capability of root. A change of the user clears the ambient set.
    check(capng_apply(CAPNG_SELECT_BOUNDS) == 0 &&
          capng_change_id(NOBODY, NO_GROUP, CAPNG_DROP_SUPP_GRP) == 0 &&
          capng_apply(CAPNG_SELECT_AMBIENT) == 0 && prctl(PR_SET_NO_NEW_PRIVS, 1, 0, 0, 0) == 0)
        .orFail("the server's rights cannot be taken away");
}
} // namespace

void becomeServer(const NetworkPort& port, const std::optional<AddressRange>& range) {
    const auto command = serverCommand(port, range);
    const auto arguments = argumentsOf(command);
    mountNetbootDirectory();
    useCLocale();
    becomeNobody(capabilities(!range));
    dieWithSupervisor();
    execvp(BOOT_SERVER, arguments.data());
    throw Failure(SystemError().about(std::string(BOOT_SERVER) + " cannot be started"));
}

} // namespace velacreate
