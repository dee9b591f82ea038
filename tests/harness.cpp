#include "harness.h"

#include <algorithm>
#include <cerrno>
#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <iostream>
#include <regex>
#include <sstream>
#include <stdexcept>

#include <dlfcn.h>
#include <fcntl.h>
#include <sys/mount.h>
#include <unistd.h>

namespace fs = std::filesystem;

Recording recording;

namespace {

const std::string MOUNT_POINT = "/mnt/VelaCreationUSBKey";

bool beginsWith(const std::string& text, const std::string& beginning) {
    return text.compare(0, beginning.size(), beginning) == 0;
}

/// Standard output as the library sees it: a text counts when it is flushed.
class Console : public std::stringbuf {
    int sync() override {
        static const std::regex record(R"(<CLIERROR>\n\t<CODE>20</CODE>\n\t<MESSAGE>(.*)</MESSAGE>)"
                                       R"(\n\t<STEPSERIAL>(.*)</STEPSERIAL>\n</CLIERROR>)");
        const std::string status = contentOf("/var/log/Norvane_Support/talo_cli.xml");
        const std::string line = str().substr(0, str().find('\n'));
        recording.events.push_back("# " + std::regex_replace(status, record, "$2 $1") + "|" + line);
        str("");
        return 0;
    }
};

struct Grouping : std::numpunct<char> {
    std::string do_grouping() const override { return "\1"; }
    char do_decimal_point() const override { return ';'; }
};

struct BlankUnderscore : std::ctype<char> {
    BlankUnderscore() : std::ctype<char>(kinds()) {}
    static const mask* kinds() {
        static std::vector<mask> all(classic_table(), classic_table() + table_size);
        all['_'] = space;
        return all.data();
    }
};

struct Step {
    std::string event;
    Lines onFailure;
    int result = 0;
    std::size_t skipped = 0;
};

std::vector<Step> stepsOf(const std::string& job) {
    std::vector<Step> steps;
    for (const std::string& line : events(contentOf(TESTS_DIR "/events/" + job + ".txt"))) {
        if (beginsWith(line, "@ ")) {
            const auto included = stepsOf(line.substr(2));
            steps.insert(steps.end(), included.begin(), included.end());
        } else if (beginsWith(line, "  => ")) {
            std::istringstream(line.substr(5)) >> steps.back().result >> steps.back().skipped;
        } else if (beginsWith(line, "  ")) {
            steps.back().onFailure.push_back(line.substr(2));
        } else {
            steps.push_back({line, {}});
        }
    }
    return steps;
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

int runForReal(const std::string& command) {
    static const auto real = reinterpret_cast<int (*)(const char*)>(dlsym(RTLD_NEXT, "system"));
    return real(command.c_str());
}

void shell(const std::string& command) {
    const int status = runForReal("set -e\n" + command);
    if (status != 0) {
        throw std::runtime_error("status " + std::to_string(status) + " of: " + command);
    }
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

Lines lines(const std::string& text) {
    std::istringstream stream(text);
    Lines result;
    for (std::string line; std::getline(stream, line);) {
        result.push_back(line);
    }
    return result;
}

Lines events(const std::string& text) {
    const std::string captured = std::regex_replace(text, std::regex(">>(\n|$)"), ">stdout.txt 2>&1\n");
    return lines(std::regex_replace(captured, std::regex("<blank>"), " "));
}

std::pair<Lines, int> eventsOf(const std::string& job, int failing) {
    std::pair<Lines, int> expected;
    const auto steps = stepsOf(job);
    int commands = 0;
    for (std::size_t i = 0; i < steps.size(); ++i) {
        const Step& step = steps[i];
        expected.first.push_back(step.event);
        if (beginsWith(step.event, "$ ") && ++commands == failing) {
            expected.first.insert(expected.first.end(), step.onFailure.begin(), step.onFailure.end());
            expected.second = step.result;
            i = step.result != 0 ? steps.size() : i + step.skipped;
        }
    }
    return expected;
}

std::string contentOf(const std::string& path) {
    std::ostringstream content;
    content << std::ifstream(path).rdbuf();
    return content.str();
}

std::vector<Lines> rows(const std::string& table) {
    std::vector<Lines> result;
    for (const std::string& line : lines(contentOf(TESTS_DIR "/tables/" + table + ".txt"))) {
        std::istringstream cells(line + "|");
        result.emplace_back();
        for (std::string cell; std::getline(cells, cell, '|');) {
            for (const auto& [code, text] :
                 {std::pair("^ +| +$", ""), {R"(\\n)", "\n"}, {R"(\\r)", "\r"}, {"<blank>", " "}}) {
                cell = std::regex_replace(cell, std::regex(code), text);
            }
            result.back().push_back(cell);
        }
    }
    return result;
}

Lines words(const std::string& cell) {
    std::istringstream text(cell);
    Lines result;
    for (std::string word; text >> word;) {
        result.push_back(word == "<none>" ? "" : word);
    }
    return result;
}

void whileEmpty(const std::string& directory, const std::function<void()>& use) {
    shell("mount -t tmpfs none " + directory);
    use();
    umount2(directory.c_str(), MNT_DETACH);
}

void enterFreshJob() {
    while (umount2(MOUNT_POINT.c_str(), MNT_DETACH) == 0) {
    }
    fs::remove_all(MOUNT_POINT);
    fs::remove("/var/log/Norvane_Support/talo_cli.xml");
    fs::current_path("/srv");
    fs::remove_all("job");
    fs::copy("fixture", "job", fs::copy_options::recursive);
    fs::current_path("job");
    recording = {};
    recording.standIns = {
        {"mount ", "mkdir -p " + MOUNT_POINT + " && mount --bind /srv/job/mounted " + MOUNT_POINT},
        {"umount /mnt >", "false"}, // it would bare the host's
        {"echo w | sfdisk", "echo table >stdout.txt"},
        {"ls -la", "echo node >stdout.txt"},
    };
}

ForeignNumbers::ForeignNumbers() {
    std::locale::global({{std::locale::classic(), new Grouping}, new BlankUnderscore});
}

ForeignNumbers::~ForeignNumbers() {
    std::locale::global(m_before);
}

int nextDescriptor() {
    const int number = open("/", O_PATH | O_CLOEXEC);
    close(number);
    return number;
}

void expectState(VelaCreation::BootableMedia& media) {
    const bool entered = std::any_of(recording.events.begin(), recording.events.end(), [](const auto& event) {
        return beginsWith(event, "2 After changing, current working directory is /srv/job/work. In ");
    });
    EXPECT_EQ(fs::current_path(), entered ? "/srv/job/work" : "/srv/job");
    recording.failing = 0;
    for (const Lines& expected : {entered ? eventsOf("cleanup", 0).first : Lines{}, Lines{}}) {
        recording.events.clear();
        media.removeTempFilesAndDirs();
        EXPECT_EQ(recording.events, expected);
    }
}

int main(int argc, char** argv) {
    Lines call = {TESTS_DIR "/sandbox", BUILD};
    std::ifstream whole(
        "/proc/self/cmdline"); // with the loader, where one for another architecture runs this
    for (std::string argument; std::getline(whole, argument, '\0');) {
        call.push_back(call.size() == 2 ? fs::absolute(argument).string() : argument);
    }
    std::vector<char*> again;
    for (auto& argument : call) {
        again.push_back(argument.data());
    }
    again.push_back(nullptr);
    testing::InitGoogleTest(&argc, argv);
    if (!testing::GTEST_FLAG(list_tests) && !fs::exists("/srv/fixture")) {
        execv(again.front(), again.data());
        std::perror(again.front());
        return EXIT_FAILURE;
    }
    Console console;
    std::streambuf* const original = std::cout.rdbuf(&console);
    const int result = RUN_ALL_TESTS();
    std::cout.rdbuf(original);
    return result;
}
