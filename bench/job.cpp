// Runs one job of the library in a sandbox, or creates the sandbox.
//
//   sandbox PROGRAM [ARGUMENT...]   runs the program with its own mounts and a scratch directory in memory
//   iso|pxe|usb DIRECTORY           makes a medium of DIRECTORY/updates; only in the sandbox
//   relay FILE                      relays a file into the log; only in the sandbox
//
// Jobs write their resource usage ("usage.DIRECTORY") and their commands, as scripts, to that directory.
#include "bootableimg.h"
#include "bootableiso.h"
#include "bootableusb.h"
#include "commands.h"
#include "quietLogger.h"

#include <chrono>
#include <filesystem>
#include <fstream>
#include <iostream>
#include <map>

#include <sched.h>
#include <sys/mount.h>
#include <sys/resource.h>
#include <unistd.h>

namespace {

namespace fs = std::filesystem;

const std::string SCRATCH = "/mnt/velacreation-bench/";
const std::string PACKAGE = SCRATCH + "tool.zip";

void require(bool condition, const std::string& what) {
    if (!condition) {
        std::cerr << "bench: " << what << std::endl;
        _exit(1);
    }
}

void enterSandbox() {
    require(unshare(CLONE_NEWNS) == 0, "cannot have own mounts; run as root");
    bool mounted = mount(nullptr, "/", nullptr, MS_REC | MS_PRIVATE, nullptr) == 0;
    for (const char* directory : {"/mnt", "/var/log", "/boot"}) {
        mounted = mounted && mount("tmpfs", directory, "tmpfs", 0, nullptr) == 0;
    }
    require(mounted, "cannot mount memory");
    fs::create_directory("/var/log/Norvane_Support");
    fs::create_directory(SCRATCH);
    // "umount /mnt" of the key job fails, because /mnt is busy while it contains a working directory.
    fs::current_path(SCRATCH);
}

std::vector<std::string> updateFiles(const std::string& directory) {
    std::vector<std::string> files;
    for (const auto& entry : fs::recursive_directory_iterator(directory + "/updates")) {
        if (entry.is_regular_file()) {
            files.push_back(entry.path().string().substr(directory.size() + 1));
        }
    }
    return files;
}

int makeIso(const std::string& directory) {
    QuietLogger logger;
    VelaCreation::BootableISO builder(logger);
    std::vector<std::string> updates = updateFiles(directory);
    fs::current_path(SCRATCH + "toolkit");
    return builder.CreateISO(directory, SCRATCH + "medium.iso", updates, PACKAGE, 1);
}

int makePxe(const std::string& directory) {
    QuietLogger logger;
    VelaCreation::BootableIMG builder(logger);
    std::vector<std::string> updates = updateFiles(directory);
    return builder.CreateIMG(directory, SCRATCH + "medium.pxe", updates, PACKAGE);
}

int makeUsb(const std::string& directory) {
    QuietLogger logger;
    VelaCreation::BootableUSB builder(logger);
    bool initialized = false;
    const int result = builder.init(directory, SCRATCH + "key", updateFiles(directory), PACKAGE, initialized);
    return initialized ? builder.CreateUSBKey(true) : result;
}

int relay(const std::string& file) {
    QuietLogger logger;
    VelaCreation::BootableIMG media(logger);
    media.writeFileToLog(file);
    return logger.bytes > 0 ? 0 : 1;
}

/// In KiB. The peak of getrusage() also counts the program that this process ran before exec.
long peakMemory() {
    std::ifstream status("/proc/self/status");
    std::string word;
    while (word != "VmHWM:" && status >> word) {
    }
    long peak = 0;
    status >> peak;
    return peak;
}

/// A script stops at a command whose exit status differs from that in the job.
void writeScripts() {
    std::ofstream ownShells(SCRATCH + "own-shells");
    std::ofstream oneShell(SCRATCH + "one-shell");
    for (const Command& command : commands()) {
        const std::string check = "\n[ $? -eq " + std::to_string(command.status) + " ] || exit 1\n";
        ownShells << "cd " << command.directory << "\nsh -c '" << command.text << "'" << check;
        oneShell << "cd " << command.directory << '\n' << command.text << check;
    }
    std::ofstream(SCRATCH + "last-command") << "cd " << commands().back().directory << '\n'
                                            << commands().back().text << '\n';
}

double commandsProcessorSeconds() {
    rusage usage{};
    getrusage(RUSAGE_CHILDREN, &usage);
    return static_cast<double>(usage.ru_utime.tv_sec + usage.ru_stime.tv_sec) +
           1e-6 * static_cast<double>(usage.ru_utime.tv_usec + usage.ru_stime.tv_usec);
}

/// Appends a line: processor seconds of the library without its commands, processor seconds of the commands,
/// seconds outside the commands, seconds in the commands, peak memory.
void addUsage(const std::string& path, double ownTotal, double total) {
    double ownInCommands = 0;
    double inCommands = 0;
    for (const Command& command : commands()) {
        ownInCommands += command.ownProcessorSeconds;
        inCommands += command.seconds;
    }
    std::ofstream(path, std::ios::app)
        << ownTotal - ownInCommands << ' ' << commandsProcessorSeconds() << ' ' << total - inCommands << ' '
        << inCommands << ' ' << peakMemory() << '\n';
}

} // namespace

int main(int argc, char** argv) {
    require(argc >= 3, "see the head of its source for how it is called");
    const std::string what = argv[1];
    if (what == "sandbox") {
        enterSandbox();
        execvp(argv[2], argv + 2);
        require(false, "cannot run the program");
    }
    require(fs::exists(SCRATCH), "jobs run only in the sandbox");
    const std::map<std::string, int (*)(const std::string&)> jobs = {
        {"iso", makeIso}, {"pxe", makePxe}, {"usb", makeUsb}, {"relay", relay}};
    const auto start = std::chrono::steady_clock::now();
    const double usedBefore = ownProcessorSeconds();
    const int result = jobs.at(what)(SCRATCH + argv[2]);
    const double used = ownProcessorSeconds() - usedBefore;
    const std::chrono::duration<double> total = std::chrono::steady_clock::now() - start;
    if (!commands().empty()) {
        writeScripts();
    }
    addUsage(SCRATCH + "usage." + argv[2], used, total.count());
    return result;
}
