#include "display/console.h"
#include "display/progress.h"
#include "display/summary.h"
#include "display/table.h"
#include "frontend.h"
#include "support/exitStatus.h"

#include <algorithm>
#include <array>
#include <chrono>
#include <cstdlib>
#include <regex>
#include <thread>

#include <poll.h>
#include <sys/eventfd.h>
#include <sys/ioctl.h>
#include <unistd.h>

using namespace velacreate;

namespace {

using DisplayTest = JobTest;

/// What comes out of a terminal until nothing more does.
std::string readFrom(const Descriptor& terminal) {
    std::string text;
    std::array<char, 4096> bytes{};
    for (pollfd source{terminal.number(), POLLIN, 0}; poll(&source, 1, 100) == 1;) {
        const ssize_t size = read(terminal.number(), bytes.data(), bytes.size());
        text.append(bytes.data(), static_cast<std::size_t>(std::max<ssize_t>(size, 0)));
    }
    return text;
}

} // namespace

TEST_F(DisplayTest, PlainLinesWithoutATerminal) {
    EXPECT_EQ(outputOf([] {
                  Console console;
                  auto& progress = console.beginProgress({"sda", "sdb"});
                  progress.stage(1, "Copying", 10);
                  progress.done(1, 5);
                  progress.stage(0, "Copying", 0);
                  progress.ended(1, "made");
                  console.complain("careful");
                  console.beginProgress({"sda"}).stage(0, "Writing", 0);
                  console.endProgress();
              }),
              "sdb: Copying...\nsda: Copying...\nsda: Writing...\n|velacreate: careful\n");
}

TEST_F(DisplayTest, PercentageStaysOnANarrowTerminal) {
    const Descriptor master(posix_openpt(O_RDWR | O_NOCTTY));
    ASSERT_TRUE(grantpt(master.number()) == 0 && unlockpt(master.number()) == 0);
    const auto terminal =
        opened(ptsname(master.number()), O_RDWR | O_NOCTTY); // NOLINT(concurrency-mt-unsafe)
    const winsize size{25, 40, 0, 0};
    ioctl(terminal.number(), TIOCSWINSZ, &size);
    setenv("TERM", "vt100", 1); // NOLINT(concurrency-mt-unsafe)
    std::string drawn;
    std::string said;
    {
        const Redirected output(STDOUT_FILENO, terminal);
        Console console;
        auto& progress = console.beginProgress({"k", "sdb", "sdc"});
        std::size_t medium = 0;
        for (const char* stage :
             {"Copy", "Copying the files", "Copying all the files that a\u00fcre there"}) {
            progress.stage(medium, stage, 10U << 20U);
            progress.done(medium++, 5U << 20U);
        }
        readFrom(master);
        progress.draw();
        drawn = readFrom(master);
        progress.draw();
        EXPECT_EQ(readFrom(master), ""); // nothing has changed
        console.say("said");
        said = readFrom(master);
        console.endProgress();
    }
    const std::string lines = "\r\033[Kk  Copy  50%, 5.0 MiB of 10.0 MiB\r\n"
                              "\r\033[Ksdb  Copying the files  50%\r\n"
                              "\r\033[Ksdc  Copying all the files that a  50%\r\n";
    EXPECT_EQ(drawn, "\033[3A" + lines);
    EXPECT_EQ(said, "\033[3A\r\033[Jsaid\r\n" + lines);
    EXPECT_EQ(readFrom(master), "\033[3A\r\033[J");
}

TEST_F(DisplayTest, SlowReaderMissesNothingWhenInterruptsAreNoLongerWatched) {
    std::array<int, 2> pipe{};
    ASSERT_EQ(pipe2(pipe.data(), O_CLOEXEC), 0);
    const Descriptor reading(pipe[0]);
    const Descriptor writing(pipe[1]);
    const std::string filling(static_cast<std::size_t>(fcntl(pipe[1], F_GETPIPE_SZ)), 'x');
    ASSERT_EQ(write(pipe[1], filling.data(), filling.size()), static_cast<ssize_t>(filling.size()));
    std::string text;
    std::thread reader([&] {
        std::this_thread::sleep_for(std::chrono::milliseconds(500));
        text = readFrom(reading);
    });
    {
        const Redirected output(STDOUT_FILENO, writing);
        Console console;
        console.watchInterrupts(Descriptor(eventfd(0, EFD_CLOEXEC)).number());
        console.say("said");
    }
    reader.join();
    EXPECT_TRUE(text + readFrom(reading) == filling + "said\n");
}

TEST_F(DisplayTest, TableAlignsWhatIsThere) {
    Table table({"Key", "Port", "Model", "Result"});
    table.add({"sda", "", "St\u00fcck", "made"});
    table.add({"sdb", "", "\033[2J"});
    table.add({"\\x20", "", "plain", "\u0378"}); // like an escape, and unknown to the C library
    table.add({"a long name", "", "\xfcx", "failed"});
    table.add({"wide", "", "\u6280\u8853", "u\u0308"}); // of two columns each, and of none
    EXPECT_EQ(table.text(), "Key          Model  Result\n"
                            "sda          St\u00fcck  made\n"
                            "sdb          ?[2J\n"
                            "\\x20         plain  \u0378\n"
                            "a long name  ?x     failed\n"
                            "wide         \u6280\u8853   u\u0308\n");
}

/// Each row: status, reason, the library's messages, what else is so, seconds; then the exit status and what
/// is said on standard output and standard error, and in the table of several.
TEST_F(DisplayTest, LastLineOfEachKindOfOutcome) {
    for (const auto& row : rows("outcomes")) {
        SCOPED_TRACE(row[0] + " " + row[3]);
        const bool isVerbose = row[3].find("verbose") != std::string::npos;
        const bool hasChanged = row[3].find("changed") != std::string::npos;
        const JobKind kind = row[3].find("verifying") != std::string::npos   ? JobKind::verifying
                             : row[3].find("comparing") != std::string::npos ? JobKind::comparing
                                                                             : JobKind::making;
        const Outcome outcome{std::stoi(row[0]), row[1], words(row[2]), hasChanged,
                              std::stod(row[4]), 4.2e6,  kind};
        int status = -1;
        const auto output = outputOf([&] {
            Console console;
            console.openLog(isVerbose, "");
            status = conclude(console, outcome, "it", "3 MiB");
        });
        EXPECT_EQ(output, row[6] + "|" + row[7]);
        EXPECT_EQ(status, std::stoi(row[5]));
        EXPECT_EQ(resultText(outcome, true), row[8]);
    }
}

TEST_F(DisplayTest, EachResultCodeOfTheLibraryHasAMeaning) {
    const auto header = contentOf(TESTS_DIR "/../include/bootableMedia.h");
    const auto table = exitStatusTable();
    const std::regex code(R"(VELAERROR_\w+ = (\d+);)");
    int codes = 0;
    for (std::sregex_iterator found(header.begin(), header.end(), code), end; found != end;
         ++found, ++codes) {
        const auto number = found->str(1);
        EXPECT_EQ(exitStatus(std::stoi(number)).status, std::stoi(number));
        EXPECT_TRUE(std::regex_search(table, std::regex("(^|\n) +" + number + "  \\w"))) << number;
    }
    EXPECT_GT(codes, 10);
}

TEST_F(DisplayTest, LogIsAppendedToAFileOnly) {
    shell("echo before >log && mkfifo fifo");
    EXPECT_EQ(outputOf([] {
                  Console console;
                  console.message(0, "one\033[2J\ntwo");
                  console.openLog(false, "log");
                  console.sayLines("three\nfour\n");
              }),
              "three\nfour\n|");
    EXPECT_TRUE(
        std::regex_match(contentOf("log"), std::regex("before\n[-\\d]+ [:\\d]+ 0 one\\?\\[2J\\?two\n"
                                                      "[-\\d]+ [:\\d]+ 2 three\n[-\\d]+ [:\\d]+ 2 four\n")));
    const auto resultOf = [](const std::string& path) {
        return outcomeOf([&] { Console().openLog(false, path); });
    };
    const auto reader = opened("fifo", O_RDONLY | O_NONBLOCK);
    EXPECT_EQ(resultOf("fifo"), "refused: the log file 'fifo' is no file");
    EXPECT_EQ(resultOf("/dev/null"), "done");
}
