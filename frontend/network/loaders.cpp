#include "network/loaders.h"

#include "network/confinedProgram.h"
#include "support/failure.h"
#include "support/programs.h"

#include <filesystem>
#include <optional>

#include <sys/mman.h>
#include <unistd.h>

namespace velacreate {
namespace {
constexpr const char* GRUB_MAKER = "grub-mkimage";
constexpr const char* SIGNATURE_CHECKER = "sbverify";

/// Debian's loaders.
struct SignedFile {
    const char* path;
    const char* name;
};
constexpr SignedFile SIGNED_SHIM = {"/usr/lib/shim/shimx64.efi.signed", SHIM};
constexpr SignedFile SIGNED_GRUB = {"/usr/lib/grub/x86_64-efi-signed/grubnetx64.efi.signed", GRUB_OF_SHIM};

Descriptor fileInMemory(const std::string& content = "") {
    Descriptor file(memfd_create("loader", MFD_CLOEXEC));
    check(file.isOpen() && writeText(file, content) && lseek(file.number(), 0, SEEK_SET) == 0)
        .orFail("no memory for a loader");
    return file;
}

/// For another program.
std::string pathFromOutside(const Descriptor& file) {
    return "/proc/" + std::to_string(getpid()) + "/fd/" + std::to_string(file.number());
}

/// What GRUB does first. It would ask another DHCP server for files if it was not told where they are.
std::string configurationFor(Address server) {
    const auto from = "(tftp," + addressText(server) + ")";
    return "set medium=network\nset server=" + addressText(server) +
           "\nset root=" + from.substr(1, from.size() - 2) + "\nexport medium\nexport server\nconfigfile " +
           from + "/grub.cfg\n";
}

/// @param format  of the program, such as "x86_64-efi"
/// @return nothing when Debian's parts for it are not installed
std::optional<Descriptor> madeGrub(const std::string& format, const std::string& configuration) {
    if (pathOf(GRUB_MAKER).empty() || !std::filesystem::is_directory("/usr/lib/grub/" + format)) {
        return std::nullopt;
    }
    const auto first = fileInMemory(configuration);
    auto loader = fileInMemory();
    std::vector<std::string> command = {
        pathOf(GRUB_MAKER),     "-O", format, "-p", "/", "-c", pathFromOutside(first), "-o",
        pathFromOutside(loader)};
    command.insert(command.end(), {"normal", "configfile", "echo", "ls", "minicmd", "sleep", "test", "linux",
                                   "efinet", "tftp", "http", "net"});
    const auto made = runProgram(command);
    if (made.status != 0) {
        throw Failure(std::string(GRUB_MAKER) + " made no loader: " + made.output);
    }
    return loader;
}

bool isKernelSigned(const NetbootDirectory& directory, const Descriptor& scratch) {
    std::string signatures; // the exit status is the same without any
    directory.forEachFile([&](const std::string& name, const Descriptor& file) {
        if (name == LOADED_KERNEL) {
            signatures = outputOfConfined(pathOf(SIGNATURE_CHECKER), {"--list"}, file, scratch);
        }
    });
    return signatures.find("image signature issuers:") != std::string::npos;
}

/// @return why machines with Secure Boot cannot start; empty when they can
std::string obstacleToSecureBoot(const NetbootDirectory& directory, bool isProxy, const Descriptor& scratch) {
    if (isProxy) {
        return "beside another DHCP server, the signed loader asks that one for its files";
    }
    if (access(SIGNED_SHIM.path, R_OK) != 0 || access(SIGNED_GRUB.path, R_OK) != 0) {
        return "Debian's signed loaders are missing; install the packages shim-signed and "
               "grub-efi-amd64-signed";
    }
    if (pathOf(SIGNATURE_CHECKER).empty()) {
        return "whether the kernel is signed cannot be seen; install the package sbsigntool";
    }
    return isKernelSigned(directory, scratch) ? "" : "the kernel " + quote(LOADED_KERNEL) + " is not signed";
}
} // namespace

Loaders loadersFor(const NetbootDirectory& directory, Address server, bool isProxy,
                   const Descriptor& scratch) {
    Loaders loaders;
    const auto configuration = configurationFor(server);
    const auto add = [&](const std::string& name, Descriptor content) {
        loaders.files.push_back({name, std::move(content)});
        return name;
    };
    const auto obstacle = obstacleToSecureBoot(directory, isProxy, scratch);
    if (obstacle.empty()) {
        for (const auto& [path, name] : {SIGNED_SHIM, SIGNED_GRUB}) {
            add(name, openChosen(path, O_RDONLY, S_IFREG));
        }
        add(CONFIGURATION_OF_GRUB, fileInMemory(configuration));
        loaders.forX64 = SHIM;
    } else if (auto grub = madeGrub("x86_64-efi", configuration)) {
        loaders.forX64 = add(MADE_FOR_X64, std::move(*grub));
        loaders.notes.push_back("machines with Secure Boot will not start by TFTP: " + obstacle);
    } else {
        loaders.notes.emplace_back(
            "machines with UEFI will not start by TFTP: GRUB is missing; install the package "
            "grub-efi-amd64-bin");
    }
    if (auto grub = madeGrub("arm64-efi", configuration)) {
        loaders.forArm64 = add(MADE_FOR_ARM64, std::move(*grub));
    }
    return loaders;
}

} // namespace velacreate
