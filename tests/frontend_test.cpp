#include "harness.h"

#include <chrono>
#include <csignal>
#include <cstdlib>
#include <fstream>
#include <iostream>
#include <random>
#include <regex>
#include <thread>

#include <fcntl.h>
#include <pty.h>
#include <sys/prctl.h>
#include <sys/wait.h>
#include <unistd.h>

namespace {

/// The command is run where an ordinary user gets to, too: the build may lie where only root does.
constexpr const char* PRELUDE =
    "export LD_LIBRARY_PATH=/srv/bin VELACREATE=/srv/bin/velacreate; . " TESTS_DIR "/frontEnd.sh\n";

/// Runs a cell of a table; the status is as of system().
int runCell(const std::string& text, const std::string& streams = "") {
    std::ofstream("/srv/cell") << PRELUDE << text << "\n";
    return runForReal("bash /srv/cell " + streams);
}

/// Lists all that is there, but what a job may change.
void list(const std::string& changed, const std::string& file) {
    shell("file=" + file + R"(; cd /srv; cp /proc/self/mounts $file
        all() { find job home host \( )" +
          changed + R"( \) -prune -o "$@"; }
        all -type d -printf '%p %M %u\n' -o -printf '%p %M %u %s %T@ %l\n' | sort >>$file
        all -type f -size -1G -print0 | sort -z | xargs -0 md5sum >>$file)");
}

struct FrontEndTest : testing::Test {
    static void SetUpTestSuite() {
        shell("mkdir -p /srv/bin && cp " VELACREATE " " LIBRARY " /srv/bin && cp -r " TOOLKIT
              " /srv/bin/toolkit");
    }

    /// An empty job, and around it what no job must touch: the user's home, and what links of the user's lead
    /// to.
    static void enter() {
        enterFreshJob();
        shell("rm -rf ../home ../host ../scratch && mkdir -p ../home ../host/boot ../host/inner ../scratch "
              "&& cd .. &&"
              "for file in home/precious host/secret host/a.txt host/boot/grub.cfg host/inner/e.txt; do echo "
              "not yours "
              ">$file; done &&"
              "chmod 1777 /srv scratch");
    }

    static void run(const std::string& table) {
        for (const auto& row : rows(table)) {
            SCOPED_TRACE(row[0] + " | " + row[1]);
            enter();
            ASSERT_EQ(runCell("set -e\n" + row[0]), 0);
            const bool endsWell = row[2] == "0";
            const std::string changed =
                endsWell ? "-path job/work/i.iso -o -path job/out -o -path job/disc" : "-false";
            list(changed, "before");
            const int status = runCell("cd work\n" + row[1], ">/srv/out 2>/srv/err </dev/null");
            const std::string said = contentOf("/srv/out") + contentOf("/srv/err");
            ASSERT_TRUE(WIFEXITED(status));
            EXPECT_EQ(std::to_string(WEXITSTATUS(status)), row[2]) << said;
            list(changed, "after");
            EXPECT_EQ(runForReal("diff /srv/before /srv/after"), 0) << said;
            EXPECT_NE(runForReal("find /srv -name '.velacreate-*' | grep ."), 0);
            EXPECT_TRUE(!endsWell || contentOf("/srv/err").empty()) << said;
            EXPECT_EQ(runCell(row[3]), 0) << row[3] << "\n" << said;
        }
    }
};

/// Each row of these tables: what is made before, the call, the exit status, what must hold afterwards.
/// Whatever the row, a job that ends well says nothing on standard error, one that does not leaves everything
/// as it was, no workplace stays, and nothing is mounted.
TEST_F(FrontEndTest, DoesWhatTheUserAsks) {
    run("front-end");
}

TEST_F(FrontEndTest, StandsWhatDoesHarm) {
    run("front-end-harm");
}

/// An image with PowerPC boot records: the types in its partition table, and what its PReP entry points at.
TEST_F(FrontEndTest, MakesBothBootRecordsForPowerPc) {
    enter();
    ASSERT_EQ(runCell("cd work && SOURCE_DATE_EPOCH=1700000000 output=../ppc.iso iso --platform ppc a.txt",
                      ">/srv/out"),
              0);
    const std::string image = contentOf("ppc.iso");
    const auto byteAt = [&image](std::size_t offset) {
        return std::size_t{static_cast<unsigned char>(image.at(offset))};
    };
    std::string found;
    for (std::size_t entry = 446; entry < 510; entry += 16) {
        const std::size_t sector =
            byteAt(entry + 8) + (byteAt(entry + 9) << 8U) + (byteAt(entry + 10) << 16U);
        found += std::to_string(byteAt(entry + 4)) + " ";
        found += byteAt(entry + 4) == 0x41 ? image.substr(sector * 512, 16) : "";
    }
    EXPECT_EQ(found, "150 65 ppc/chrp/yaboot\n0 0 ");
}

/// Runs a cell on a terminal, and types something when a text has appeared there.
std::pair<std::string, int> onTerminal(const std::string& cell, unsigned short width, const std::string& text,
                                       const std::string& answer) {
    std::ofstream("/srv/cell") << PRELUDE << "cd work\n" << cell << "\n";
    winsize size{24, width, 0, 0};
    int terminal = -1;
    const pid_t process = forkpty(&terminal, nullptr, nullptr, &size);
    if (process == 0) {
        setenv("TERM", "xterm", 1);
        execlp("bash", "bash", "/srv/cell", nullptr);
        _exit(127);
    }
    std::string shown;
    bool isAnswered = answer.empty();
    char bytes[4096];
    for (ssize_t count = 0; (count = read(terminal, bytes, sizeof bytes)) > 0;) {
        shown.append(bytes, static_cast<std::size_t>(count));
        if (!isAnswered && shown.find(text) != std::string::npos) {
            isAnswered = write(terminal, answer.data(), answer.size()) > 0;
        }
    }
    close(terminal);
    int status = 0;
    waitpid(process, &status, 0);
    return {shown, WIFEXITED(status) ? WEXITSTATUS(status) : -1};
}

/// A row: what is made before, the call, the terminal's width, what is waited for and what is then typed, the
/// exit status, what must have been shown and what must not.
TEST_F(FrontEndTest, ShowsHowFarItIsOnATerminal) {
    for (const auto& row : rows("terminal")) {
        SCOPED_TRACE(row[1]);
        enter();
        ASSERT_EQ(runCell("set -e\n" + row[0]), 0);
        const std::string changed = row[5] == "0" ? "-path job/work/i.iso" : "-false";
        list(changed, "before");
        const std::string answer = row[4] == "Ctrl-C" ? "\x03" : row[4];
        const auto [shown, status] =
            onTerminal(row[1], static_cast<unsigned short>(std::stoi(row[2])), row[3], answer);
        EXPECT_EQ(std::to_string(status), row[5]);
        EXPECT_TRUE(std::regex_search(shown, std::regex(row[6]))) << shown;
        EXPECT_FALSE(std::regex_search(shown, std::regex(row[7]))) << shown;
        list(changed, "after");
        EXPECT_EQ(runForReal("diff /srv/before /srv/after"), 0);
    }
}

/// A job of the front end's under its own process number, for signals.
class Job {
public:
    explicit Job(const std::string& call) {
        std::ofstream("/srv/cell") << PRELUDE << "cd work\nrun=exec " << call << "\n";
        m_process = fork();
        if (m_process == 0) {
            const int output = open("/srv/out", O_WRONLY | O_CREAT | O_TRUNC, 0600);
            dup2(output, STDOUT_FILENO);
            dup2(output, STDERR_FILENO);
            execlp("bash", "bash", "/srv/cell", nullptr);
            _exit(127);
        }
    }

    void signal(int number) const {
        kill(m_process, number);
    }

    /// @return the exit status, or 128 and the number of the signal that ended it
    int end() const {
        int status = 0;
        waitpid(m_process, &status, 0);
        return WIFEXITED(status) ? WEXITSTATUS(status) : 128 + WTERMSIG(status);
    }

private:
    pid_t m_process;
};

/// Whether no process is left below this one, which is given all orphans.
bool areAllGone() {
    for (int tries = 0; tries < 500; ++tries) {
        while (waitpid(-1, nullptr, WNOHANG) > 0) {
        }
        if (waitpid(-1, nullptr, WNOHANG) < 0) {
            return true;
        }
        std::this_thread::sleep_for(std::chrono::milliseconds(10));
    }
    return false;
}

int numberFrom(const char* variable, int otherwise) {
    const char* const text = std::getenv(variable);
    return text != nullptr ? std::stoi(text) : otherwise;
}

/// Ends jobs at random moments, as often as KILLS says, the same ones for the same SEED.
TEST_F(FrontEndTest, LeavesNothingBehindWhenItIsKilled) {
    struct Kind {
        std::string call, output, isOld, isNew;
    };
    const std::vector<Kind> kinds = {
        {"iso --force big folder", "work/i.iso", "cmp -s old.iso work/i.iso",
         "isImage work/i.iso big folder"},
        {"pxe --force big folder", "out", "diff -rq old out >/dev/null", "isPackage out big folder"}};
    const int seed = numberFrom("SEED", 1);
    std::minstd_rand random(static_cast<unsigned>(seed));
    std::cerr << "SEED=" << seed << "\n";
    prctl(PR_SET_CHILD_SUBREAPER, 1);
    enter();
    ASSERT_EQ(runCell("kit '[ ! -e /srv/hangs ] || sleep 60'; cd work && iso a.txt && pxe a.txt && cp i.iso "
                      "../old.iso && cp -r ../out ../old &&"
                      "head -c 2m /dev/urandom >big",
                      ">/srv/out"),
              0);
    const std::string changed = "-path job/work/i.iso -o -path job/out -o -path job/found -o -path "
                                "job/expected -o -name .velacreate-\\*";
    list(changed, "before");
    for (int left = numberFrom("KILLS", 30); left > 0; --left) {
        const Kind& kind = kinds.at(random() % kinds.size());
        const int signal = std::vector<int>{SIGKILL, SIGTERM, SIGINT}.at(random() % 3);
        const auto moment = std::chrono::milliseconds(random() % 500);
        SCOPED_TRACE(kind.call + ", signal " + std::to_string(signal) + " after " +
                     std::to_string(moment.count()) + " ms");
        shell("touch /srv/hangs"); // a job that nobody ends does not end by itself
        const Job job(kind.call);
        std::this_thread::sleep_for(moment);
        job.signal(signal);
        const int status = job.end();
        EXPECT_TRUE(areAllGone());
        EXPECT_TRUE(status == 0 || status == 130 || status == 128 + signal) << status;
        EXPECT_EQ(runCell((status == 0 ? "" : kind.isOld + " || ") + kind.isNew), 0);
        const bool isSwept = runForReal("! ls -d job/work/.velacreate-* job/.velacreate-* 2>/srv/ls") == 0;
        EXPECT_TRUE(signal == SIGKILL || isSwept);
        list(changed, "after");
        EXPECT_EQ(runForReal("rm /srv/hangs; diff /srv/before /srv/after"), 0);
        EXPECT_EQ(Job(kind.call).end(), 0) << contentOf("/srv/out");
        EXPECT_EQ(runCell(kind.isNew), 0);
        ASSERT_EQ(runCell("rm -rf work/.velacreate-* .velacreate-* && cp old.iso work/i.iso && rm -r out && "
                          "cp -r old out"),
                  0);
    }
}

} // namespace
