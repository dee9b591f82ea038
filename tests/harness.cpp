#include "harness.h"

#include <algorithm>
#include <cerrno>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <iostream>
#include <regex>
#include <sstream>
#include <stdexcept>

#include <dlfcn.h>
#include <sched.h>
#include <sys/mount.h>
#include <unistd.h>

namespace fs = std::filesystem;

Recording recording;

namespace {

const std::string JOB = "/srv/job";
const std::string PACKAGE = "/srv/tool.zip";

bool beginsWith(const std::string& text, const std::string& beginning) {
    return text.compare(0, beginning.size(), beginning) == 0;
}

int runForReal(const std::string& command) {
    static const auto real = reinterpret_cast<int (*)(const char*)>(dlsym(RTLD_NEXT, "system"));
    return real(command.c_str());
}

/// Standard output as the library sees it: a text counts when it is flushed.
class Console : public std::stringbuf {
    int sync() override {
        static const std::regex record(
            R"(<CLIERROR>\n\t<CODE>20</CODE>\n\t<MESSAGE>(.*)</MESSAGE>\n\t<STEPSERIAL>(.*)</STEPSERIAL>\n</CLIERROR>)");
        const std::string status = contentOf("/var/log/Norvane_Support/talo_cli.xml");
        const std::string text = str();
        recording.events.push_back("# " + std::regex_replace(status, record, "$2 $1") + "|" +
                                   text.substr(0, text.find('\n')));
        str("");
        return 0;
    }
};

void mountEmpty(const std::string& place) {
    if (mount("none", place.c_str(), "tmpfs", 0, nullptr) != 0) {
        throw std::runtime_error("cannot mount over " + place + "; these tests run as root only");
    }
}

/// Out of the host's reach: the library unmounts /mnt and removes "boot" where it stands.
void leaveHost() {
    if (unshare(CLONE_NEWNS) != 0 || mount("none", "/", "none", MS_PRIVATE | MS_REC, nullptr) != 0) {
        throw std::runtime_error("no mount namespace of their own; these tests run as root only");
    }
    for (const char* place : {"/mnt", "/boot", "/var/log", "/srv"}) {
        mountEmpty(place);
    }
    fs::create_directory("/var/log/Norvane_Support");
    setenv("PATH", "/usr/local/sbin:/usr/local/bin:/usr/sbin:/usr/bin:/sbin:/bin", 1);
    unsetenv("TALO_SOFT_USBKEY");
}

void makePackage() {
    shell("cd /srv && mkdir -p boot/pxelinux.cfg boot/ppc/chrp boot/EFI && cd boot && head -c 4096 /dev/zero "
          ">efibootimg &&"
          " for f in grub.cfg img2a img3a pxelinux.0 ksrootfs bsb1.lss bsb.msg unicode.pf2 splash.xpm.gz "
          "img1a.cfg"
          " isolinux.bin pxelinux.cfg/default ppc/chrp/yaboot; do echo $f >$f; done && touch ../init1.img &&"
          " cd .. && zip -qr tool.zip boot init1.img && rm -r boot init1.img");
}

} // namespace

__attribute__((visibility("default"))) int system(const char* command) {
    const std::string text = command;
    recording.events.push_back("$ " + text);
    int result = 1;
    if (++recording.commands != recording.failing) {
        const auto standIn = std::find_if(recording.standIns.begin(), recording.standIns.end(),
                                          [&](const auto& each) { return beginsWith(text, each.first); });
        result = runForReal(standIn == recording.standIns.end() ? text : standIn->second);
    } else if (text.find("stdout.txt 2>&1") != std::string::npos) {
        std::ofstream("stdout.txt") << recording.failureOutput << '\n';
    }
    errno = result == 0 ? errno : ENOSPC;
    return result;
}

__attribute__((visibility("default"))) unsigned sleep(unsigned seconds) {
    recording.events.push_back("~ " + std::to_string(seconds));
    return 0;
}

void RecordingLogger::logMessage(int level, const std::string& message) {
    recording.events.push_back(std::to_string(level) + " " + message);
    if (!throwAt.empty() && message == throwAt) {
        throw std::runtime_error(message);
    }
    errno = EDOM;
}

int RecordingLogger::checkpoint(int level, const std::string& message) {
    logMessage(level, message);
    return answer;
}

Lines events(const std::string& text) {
    std::istringstream lines(std::regex_replace(text, std::regex(">>\n"), ">stdout.txt 2>&1\n"));
    Lines result;
    for (std::string line; std::getline(lines, line);) {
        if (!line.empty()) {
            result.push_back(line);
        }
    }
    return result;
}

Lines operator+(Lines first, const Lines& second) {
    first.insert(first.end(), second.begin(), second.end());
    return first;
}

void shell(const std::string& command) {
    if (runForReal(command) != 0) {
        throw std::runtime_error("failed: " + command);
    }
}

std::string contentOf(const std::string& path) {
    std::ostringstream content;
    content << std::ifstream(path).rdbuf();
    return content.str();
}

std::string bytesOf(const std::string& path, int offset, int count) {
    const std::string content = contentOf(path);
    std::ostringstream hex;
    for (int i = offset; i < offset + count; ++i) {
        const unsigned byte = static_cast<unsigned char>(content.at(static_cast<std::size_t>(i)));
        hex << std::hex << (byte >> 4U) << (byte & 15U);
    }
    return hex.str();
}

void patch(const std::string& path, int offset, const std::string& hex) {
    std::fstream file(path, std::ios::in | std::ios::out | std::ios::binary);
    file.seekp(offset);
    for (std::size_t i = 0; i < hex.size(); i += 2) {
        file.put(static_cast<char>(std::stoi(hex.substr(i, 2), nullptr, 16)));
    }
    ASSERT_TRUE(file.flush()) << path;
}

Overlay::Overlay(std::string place) : m_place(std::move(place)) {
    mountEmpty(m_place);
}

Overlay::~Overlay() {
    umount2(m_place.c_str(), MNT_DETACH);
}

void enterFreshJob() {
    const std::string mountPoint = "/mnt/VelaCreationUSBKey";
    while (umount2(mountPoint.c_str(), MNT_DETACH) == 0) {
    }
    fs::remove_all(mountPoint);
    fs::remove("/var/log/Norvane_Support/talo_cli.xml");
    fs::current_path("/srv");
    fs::remove_all(JOB);
    fs::create_directories(JOB + "/work/sub");
    fs::create_directories(JOB + "/work/folder/inner");
    fs::create_directory(JOB + "/mounted");
    fs::current_path(JOB);
    for (const char* file : {"a.txt", "b c.txt", "sub/d.txt", "folder/inner/e.txt"}) {
        std::ofstream(std::string("work/") + file) << file;
    }
    fs::copy(PACKAGE, "work");
    std::ofstream("xorriso") << "#!/bin/sh\necho imaging\ntouch job.iso\n";
    std::ofstream("cdrecord") << "#!/bin/sh\necho burning\n";
    shell("chmod +x xorriso cdrecord");

    recording = {};
    recording.standIns = {
        {"mount ", "mkdir -p " + mountPoint + " && mount --bind /srv/job/mounted " + mountPoint},
        {"umount /mnt >", "false"}, // it would bare the host's
        {"echo w | sfdisk", "echo table >stdout.txt"},
        {"ls -la", "echo node >stdout.txt"},
    };
}

std::pair<Lines, int> eventsWithFailure(const Lines& whole, int failing,
                                        const std::vector<Failure>& failures) {
    std::size_t at = 0;
    for (int seen = 0; at < whole.size() && (failing == 0 || seen < failing); ++at) {
        seen += beginsWith(whole[at], "$") ? 1 : 0;
    }
    Lines before(whole.begin(), whole.begin() + static_cast<std::ptrdiff_t>(at));
    const Lines after(whole.begin() + static_cast<std::ptrdiff_t>(at), whole.end());
    std::vector<const Failure*> rows;
    for (const auto& row : failures) {
        if (failing != 0 && beginsWith(before.back(), "$ " + row.command)) {
            rows.push_back(&row);
        }
    }
    if (rows.empty()) {
        return {before + after, 0};
    }
    const auto occurrences = std::count_if(before.begin(), before.end(), [&](const auto& event) {
        return beginsWith(event, "$ " + rows.front()->command);
    });
    const Failure& row = *rows.at(std::min(static_cast<std::size_t>(occurrences), rows.size()) - 1);
    before = before + row.events;
    if (row.result == 0) {
        before.insert(before.end(), after.begin() + static_cast<std::ptrdiff_t>(row.replaced), after.end());
    }
    return {before, row.result};
}

void expectState(VelaCreation::BootableMedia& media) {
    const bool entered = std::any_of(recording.events.begin(), recording.events.end(), [](const auto& event) {
        return beginsWith(event, "2 After changing, current working directory is /srv/job/work. In ");
    });
    EXPECT_EQ(fs::current_path(), entered ? JOB + "/work" : JOB);
    recording.commands = recording.failing = 0;
    media.removeTempFilesAndDirs();
    EXPECT_EQ(recording.commands, entered ? 17 : 0);
    media.removeTempFilesAndDirs({"a.txt"});
    EXPECT_EQ(recording.commands, entered ? 17 : 0);
}

int main(int argc, char** argv) {
    testing::InitGoogleTest(&argc, argv);
    if (!testing::GTEST_FLAG(list_tests)) {
        leaveHost();
        makePackage();
    }
    Console console;
    std::streambuf* const original = std::cout.rdbuf(&console);
    const int result = RUN_ALL_TESTS();
    std::cout.rdbuf(original);
    return result;
}
