#include "frontend.h"
#include "job/callerEnvironment.h"
#include "job/childProcess.h"
#include "job/confinement.h"
#include "job/jobDirectory.h"
#include "job/libraryLogger.h"
#include "job/output.h"
#include "job/supervisor.h"
#include "support/exitStatus.h"
#include "support/programs.h"

#include <algorithm>
#include <chrono>
#include <csignal>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <map>
#include <thread>

#include <fcntl.h>
#include <poll.h>
#include <sys/file.h>
#include <sys/mman.h>
#include <sys/mount.h>
#include <unistd.h>

using namespace velacreate;

namespace fs = std::filesystem;

namespace {

int endOf(const ChildProcess& process) {
    pollfd ending{process.ending(), POLLIN, 0};
    return poll(&ending, 1, 10000) == 1 ? process.reap() : -1;
}

std::vector<Event> eventsUntilEnd(const ChildProcess& process) {
    std::vector<Event> all;
    for (;;) {
        pollfd source{process.events(), POLLIN, 0};
        poll(&source, 1, -1);
        const auto event = receiveEvent(process.events());
        if (!event || event->kind == Event::Kind::end) {
            return all;
        }
        all.push_back(*event);
    }
}

void waitForFile(const std::string& path) {
    for (int trial = 0; trial < 500 && !fs::exists(path); ++trial) {
        std::this_thread::sleep_for(std::chrono::milliseconds(20));
    }
}

void append(const std::string& text) {
    std::ofstream("order", std::ios::app) << text << '\n';
}

/// Each in a current directory of its own that is open, and with signals that are held until their jobs look.
struct FrontEndTest : JobTest {
    FrontEndTest() {
        shell("mkdir place");
        place = {"place", opened("place", O_RDONLY | O_DIRECTORY)};
    }
    ~FrontEndTest() override {
        while (signals.take() != 0) {
        }
    }

    std::vector<Outcome> outcomesOf(const std::vector<std::function<int(Reporter&)>>& works,
                                    std::size_t atOnce = 1) const {
        std::vector<MediumJob> jobs;
        jobs.reserve(works.size());
        for (const auto& work : works) {
            jobs.push_back({"medium " + std::to_string(jobs.size()), here.number(), work});
        }
        Console console;
        console.openLog(false, "log");
        return supervise(jobs, atOnce, signals, console);
    }

    HeldSignals signals;
    Descriptor here = opened(".", O_RDONLY | O_DIRECTORY);
    NamedDirectory place;
};

std::vector<int> statusesOf(const std::vector<Outcome>& outcomes) {
    std::vector<int> statuses(outcomes.size());
    std::transform(outcomes.begin(), outcomes.end(), statuses.begin(),
                   [](const auto& outcome) { return outcome.status; });
    return statuses;
}

/// Sends this process signals as soon as a file is there.
void interruptAt(const std::string& file, const std::string& signals) {
    shell("(for i in $(seq 500); do [ ! -e " + file + " ] || break; sleep 0.02; done; for s in " + signals +
          "; do kill -$s $PPID; done) >/dev/null 2>&1 &");
}

int waitUntilEnded(Reporter& /*reporter*/) {
    std::ofstream("waiting") << "";
    for (;;) {
        pause();
    }
}

using OutputTest = FrontEndTest;
using JobDirectoryTest = FrontEndTest;
using ChildTest = FrontEndTest;
using WatchTest = FrontEndTest;

} // namespace

TEST_F(OutputTest, TakesItsPlace) {
    shell("cd place && mkdir new && echo 1 >new/file && mkdir dir && echo 2 >dir/ks.zip && "
          "echo 3 >old.iso && ln old.iso old");
    const auto made = opened("place/new");
    Output::image("place/fresh.iso", false).take(made, "file");
    EXPECT_EQ(contentOf("place/fresh.iso"), "1\n");
    EXPECT_FALSE(fs::exists("place/new/file"));

    shell("cd place/new && echo new >file && mkdir dir && echo new >dir/ks.zip");
    Output::image("place/old.iso", true).take(made, "file");
    Output::netbootDirectory("place/dir/", true).take(made, "dir");
    EXPECT_EQ(contentOf("place/old.iso") + contentOf("place/dir/ks.zip"), "new\nnew\n");
    EXPECT_EQ(contentOf("place/old"), "3\n");
    EXPECT_EQ(outcomeOf([&] { Output::image("place/no.iso", false).take(made, "gone"); }),
              "failed: what was made cannot be found any more: No such file or directory");
}

/// Each row: the output's path, what stands there when it is checked, what comes meanwhile, and where that
/// is.
TEST_F(OutputTest, WhatCameMeanwhileIsLeftAlone) {
    for (const auto& row : rows("outputs-meanwhile")) {
        SCOPED_TRACE(row[1] + ", then " + row[2]);
        const bool isImage = row[0] == "i.iso";
        const std::string made = isImage ? "echo new >new/made" : "mkdir new/made; echo new >new/made/ks.zip";
        shell("rm -rf i.iso p q f new; mkdir new; " + made + "; " + row[1]);
        const auto output = isImage         ? Output::image(row[0], true)
                            : row[0] == "q" ? Output::emptyDirectory(row[0])
                                            : Output::netbootDirectory(row[0], true);
        shell(row[2]);
        EXPECT_EQ(outcomeOf([&] { output.take(opened("new"), "made"); }),
                  "failed: '/srv/job/" + row[0] +
                      "' was made or changed meanwhile, perhaps by another job; look at it, and run this job "
                      "again" +
                      (row[0] == "q" ? "" : ", with --force to replace it"));
        EXPECT_EQ(contentOf(row[3]), "theirs\n");
        EXPECT_EQ(contentOf(isImage ? "new/made" : "new/made/ks.zip"), "new\n");
    }
}

TEST_F(JobDirectoryTest, IsOnesOwnAndGoesWithAllThatIsInIt) {
    shell("mkdir outside && touch outside/file");
    {
        const JobDirectory jobDirectory(place);
        const fs::path path = "place/" + fs::directory_iterator("place")->path().filename().string();
        EXPECT_EQ(jobDirectory.directory().status().st_mode & 07777U, 0700U);
        EXPECT_NE(flock(opened(path).number(), LOCK_EX | LOCK_NB), 0);
        const JobDirectory other(place);
        EXPECT_TRUE(fs::exists(path / ".job"));
        shell("cd " + path.string() +
              " && mkdir -p a/b/c mode/0 && touch a/b/f mode/0/f && chmod 0 mode/0 mode " +
              "&& ln -s $OLDPWD/outside link && ln -s none broken && mkfifo fifo && printf 123 >a/n && ln "
              "a/n a/m");
        EXPECT_EQ(sizeBelow(jobDirectory.directory().number(), "a"), 6U);
        EXPECT_EQ(sizeBelow(jobDirectory.directory().number(), "none"), 0U);
    }
    EXPECT_TRUE(fs::is_empty("place"));
    EXPECT_TRUE(fs::exists("outside/file"));
}

TEST_F(JobDirectoryTest, ContentsAreLinkedButForOneName) {
    shell("mkdir -p from/a/b from/none from/.job to && touch from/a/b/f from/a/.job from/g from/.job/x");
    linkContents(opened("from"), opened("to"), ".job");
    shell("diff -r from to | grep -qx 'Only in from: .job'\n"
          "for file in a/b/f a/.job g; do [ to/$file -ef from/$file ]; done");
}

TEST_F(JobDirectoryTest, WhatIsMountedInsideIsNotEmptied) {
    std::string path;
    {
        const JobDirectory jobDirectory(place);
        path = fs::directory_iterator("place")->path();
        shell("cd " + path + " && mkdir -p a/m b && touch b/f && mount -t tmpfs m a/m && touch a/m/theirs");
    }
    EXPECT_TRUE(fs::exists(path + "/a/m/theirs"));
    EXPECT_FALSE(fs::exists(path + "/b"));
    shell("umount " + path + "/a/m");
}

TEST_F(JobDirectoryTest, OnlyAbandonedOnesAreRemoved) {
    NEEDS_ROOT("files of other users");
    shell(R"(cd place
        for d in gone locked foreign shared; do mkdir -p .velacreate-$d/.job && touch .velacreate-$d/f; done
        mkdir -p .velacreate-unmarked other/.job && chown 7 .velacreate-foreign && chmod g+w .velacreate-shared
        mkdir -p ../aim/.job && touch ../aim/f && ln -s ../aim .velacreate-link && touch .velacreate-file)");
    const auto locked = opened("place/.velacreate-locked");
    ASSERT_EQ(flock(locked.number(), LOCK_EX), 0);
    std::string kept;
    {
        JobDirectory jobDirectory(place);
        kept = jobDirectory.keep();
    }
    { const JobDirectory next(place); }
    std::vector<std::string> left;
    for (const auto& entry : fs::directory_iterator("place")) {
        left.push_back(entry.path());
    }
    std::sort(left.begin(), left.end());
    EXPECT_EQ(left, (Lines{"place/.velacreate-file", "place/.velacreate-foreign", "place/.velacreate-link",
                           "place/.velacreate-locked", "place/.velacreate-shared",
                           "place/.velacreate-unmarked", "place/other", kept}));
    EXPECT_TRUE(fs::exists("aim/f"));
}

TEST_F(JobDirectoryTest, JobSeesNothingOfTheHostsMountPoint) {
    shell("touch /mnt/theirs && echo content >file && cp file other");
    const auto file = opened("file");
    const ChildProcess process(here.number(), [&](Reporter& reporter) {
        const auto again = openAgain(file, "file");
        const auto refused = outcomeOf([&] { openAgain(file, "other"); });
        fs::create_directory(".job");
        enterJobDirectory();
        placeFile(again, "file", "placed");
        reporter.note(fs::current_path().string() + " " + std::getenv("HOME") + " " + contentOf("placed") +
                      refused + (fs::exists("/mnt/theirs") ? " seen" : "") +
                      (umount("/mnt") == 0 ? " bare" : ""));
        return 0;
    });
    const auto events = eventsUntilEnd(process);
    EXPECT_EQ(endOf(process), 0);
    ASSERT_EQ(events.size(), 1U);
    EXPECT_EQ(events.front().text,
              "/mnt/job/.job /mnt/job/.job content\nfailed: 'other' is no longer the file that it was");
    EXPECT_FALSE(fs::exists("/mnt/job"));
    fs::remove("/mnt/theirs");
}

TEST_F(ChildTest, EndsAsToldOrBySignal) { // which may come before its first step
    for (const auto& [number, status] : {std::pair(SIGTERM, 128 + SIGTERM), {SIGKILL, 128 + SIGKILL}}) {
        const ChildProcess process(here.number(), waitUntilEnded);
        process.signal(number);
        EXPECT_EQ(endOf(process), status);
    }
    EXPECT_EQ(endOf(ChildProcess(here.number(), [](Reporter&) { return 77; })), 77);
}

/// A sanitizer ends the process when "new" finds no memory.
bool hasGibibyte() {
    return mmap(nullptr, 1U << 30U, PROT_READ | PROT_WRITE, MAP_PRIVATE | MAP_ANONYMOUS, -1, 0) != MAP_FAILED;
}

/// What a confined process could still do.
std::string freedom() {
    std::string text = fs::exists("/usr") ? "files " : "";
    text += fs::exists("inside") ? "" : "nothing ";
    text += mount("tmpfs", ".", "tmpfs", 0, nullptr) == 0 ? "mounts " : "";
    text += setgid(1) == 0 ? "groups " : "";
    text += hasGibibyte() ? "memory " : "";
    return text;
}

TEST_F(ChildTest, ConfinedProcessHasNothingButItsDirectory) {
    shell("touch inside");
    const ChildProcess process(here.number(), [](Reporter& reporter) {
        const Descriptor visible = opened(".");
        const auto tell = [&] {
            reporter.note(freedom());
            return 7;
        };
        const int ended = runConfined(visible, tell, reporter);
        const auto fill = [] { return hasGibibyte() ? 0 : throw std::bad_alloc(); };
        return ended * 10 + runConfined(visible, fill, reporter);
    });
    const auto events = eventsUntilEnd(process);
    EXPECT_EQ(endOf(process), 70 + EXIT_UNFINISHED);
    ASSERT_EQ(events.size(), 2U);
    EXPECT_EQ(events.front().text, "");
    EXPECT_EQ(events.back().text, "there is not enough memory to read it");
}

TEST_F(ChildTest, EndTakesAllThatWasStartedAlong) {
    for (const char* program : {"sleep 1000 &", "setsid sleep 1000 &", "trap '' TERM; sleep 1000 & wait"}) {
        SCOPED_TRACE(program);
        const ChildProcess process(here.number(), [&](Reporter& reporter) {
            runForReal("(exec 9>lock; flock 9; touch started; " + std::string(program) + ") &");
            waitForFile("started");
            reporter.note("");
            return 0;
        });
        EXPECT_EQ(endOf(process), 0);
        shell("flock -w 3 lock rm started"); // free once the last that inherited it is gone
    }
}

TEST_F(ChildTest, EventsComeInOrderAndWhole) {
    const ChildProcess process(here.number(), [](Reporter& reporter) {
        reporter.stage("one\ntwo", 12);
        reporter.advance(5);
        reporter.advance(6);
        reporter.message(0, "bad");
        reporter.message(2, "");
        reporter.changing();
        reporter.note(std::string(100000, 'x') + "end");
        reporter.sum("a file", "0f");
        reporter.reason("why");
        return 0;
    });
    std::string seen;
    for (const auto& event : eventsUntilEnd(process)) {
        const auto text = event.text.size() < 1000 ? event.text : std::to_string(event.text.size());
        seen += std::string(1, static_cast<char>(event.kind)) + text + ";";
    }
    EXPECT_EQ(seen, "sone\ntwo;e12;d5;fbad;p;c;n32768;h0f a file;rwhy;");
    EXPECT_EQ(endOf(process), 0);
}

TEST_F(ChildTest, StartsClean) {
    const ChildProcess process(here.number(), [](Reporter&) {
        setenv("LC_TIME", "C", 1);
        setenv("LD_PRELOAD", "x", 1);
        setenv("TMPDIR", "/tmp/x", 1);
        static_cast<void>(std::signal(SIGCHLD, SIG_IGN));
        static_cast<void>(std::signal(SIGHUP, SIG_IGN));
        sigset_t all;
        sigfillset(&all);
        sigprocmask(SIG_SETMASK, &all, nullptr);
        umask(0);
        const int leak = dup(STDOUT_FILENO);
        close(STDIN_FILENO);
        const auto before = isolateFromCaller();
        sigset_t now;
        sigprocmask(SIG_SETMASK, nullptr, &now);
        const std::vector<bool> facts = {before.temporaryDirectory == "/tmp/x",
                                         std::getenv("LD_PRELOAD") == nullptr,
                                         std::getenv("TMPDIR") == nullptr,
                                         std::getenv("LC_TIME") == std::string("C"),
                                         std::getenv("PATH") == std::string(SEARCH_PATH),
                                         std::signal(SIGCHLD, SIG_DFL) == SIG_DFL,
                                         std::signal(SIGHUP, SIG_DFL) == SIG_IGN,
                                         std::signal(SIGPIPE, SIG_IGN) == SIG_IGN,
                                         sigismember(&now, SIGTERM) == 0,
                                         umask(0) == 022,
                                         fcntl(STDIN_FILENO, F_GETFD) == 0,
                                         fcntl(leak, F_GETFD) == FD_CLOEXEC};
        return static_cast<int>(std::find(facts.begin(), facts.end(), false) - facts.begin());
    });
    EXPECT_EQ(endOf(process), 12);
}

TEST_F(WatchTest, OutcomesOfAllEndsInOrder) {
    const auto outcomes =
        outcomesOf({[](Reporter& reporter) {
                        reporter.changing();
                        reporter.message(0, "first");
                        reporter.message(2, "progress");
                        reporter.message(0, "second");
                        reporter.sum("a file", "0f");
                        return 109;
                    },
                    [](Reporter&) -> int { throw Refusal("refused"); },
                    [](Reporter&) -> int { throw Failure("failed"); },
                    [](Reporter&) -> int { throw std::runtime_error("thrown"); }, [](Reporter&) { return 0; },
                    [](Reporter&) {
                        runForReal("seq 30000; echo aloud >&2; printf last");
                        return 1;
                    },
                    [](Reporter& reporter) {
                        for (int i = 0; i < 20000; ++i) {
                            reporter.message(0, std::to_string(i));
                        }
                        return 0;
                    }},
                   2);
    EXPECT_EQ(statusesOf(outcomes),
              (std::vector{109, EXIT_REFUSED, EXIT_UNFINISHED, EXIT_UNFINISHED, 0, 1, 0}));
    EXPECT_EQ(outcomes[0].failures, (Lines{"first", "second"}));
    EXPECT_TRUE(outcomes[0].hasChanged);
    EXPECT_EQ(outcomes[0].sums, (std::map<std::string, std::string>{{"a file", "0f"}}));
    EXPECT_EQ(outcomes[1].reason + outcomes[2].reason + outcomes[3].reason, "refusedfailedthrown");
    EXPECT_TRUE(outcomes[4].failures.empty() && outcomes[4].reason.empty() && !outcomes[4].hasChanged);
    ASSERT_EQ(outcomes[5].failures.size(), 30002U);
    EXPECT_EQ(outcomes[5].failures[30000] + outcomes[5].failures[30001], "aloudlast");
    ASSERT_EQ(outcomes[6].failures.size(), 20000U);
    EXPECT_EQ(outcomes[6].failures.back(), "19999");
    EXPECT_NE(contentOf("log").find(": progress\n"), std::string::npos);
}

TEST_F(WatchTest, NoMoreAtOnceThanWanted) {
    const auto job = [](const std::string& name, const std::string& other) {
        return [=](Reporter&) {
            append(name);
            waitForFile(other);
            append(name + " ends");
            std::ofstream(name) << "";
            return fs::exists(other) ? 0 : 9;
        };
    };
    EXPECT_EQ(statusesOf(outcomesOf({job("a", "."), job("b", "a"), job("c", "b")}, 1)),
              (std::vector{0, 0, 0}));
    EXPECT_EQ(contentOf("order"), "a\na ends\nb\nb ends\nc\nc ends\n");
    shell("rm a b c order");
    // The first one ends only after the second one, which has to run beside it; the third one not before.
    EXPECT_EQ(statusesOf(outcomesOf({job("a", "b"), job("b", "."), job("c", "b")}, 2)),
              (std::vector{0, 0, 0}));
    EXPECT_LT(contentOf("order").find("b ends\n"), contentOf("order").find("c\n"));
}

TEST_F(WatchTest, InterruptEndsAllThatRunAndBeginsNoMore) {
    const auto fine = [](Reporter&) { return 0; };
    const auto secondToWait = [](Reporter& reporter) { // begins only when the first job has ended
        std::ofstream("both") << "";
        return waitUntilEnded(reporter);
    };
    interruptAt("both", "TERM");
    EXPECT_EQ(statusesOf(outcomesOf({fine, waitUntilEnded, secondToWait, fine}, 2)),
              (std::vector{0, EXIT_INTERRUPTED, EXIT_INTERRUPTED, EXIT_INTERRUPTED}));
    interruptAt("ending", "TERM");
    const auto almostDone = [](Reporter&) {
        static_cast<void>(std::signal(SIGTERM, SIG_IGN));
        std::ofstream("ending") << "";
        std::this_thread::sleep_for(std::chrono::milliseconds(500));
        return 0;
    };
    EXPECT_EQ(statusesOf(outcomesOf({almostDone, fine})), (std::vector{0, EXIT_INTERRUPTED}));
    kill(getpid(), SIGHUP); // before the first job begins
    EXPECT_EQ(statusesOf(outcomesOf({waitUntilEnded, fine})),
              (std::vector{EXIT_INTERRUPTED, EXIT_INTERRUPTED}));
}

TEST_F(WatchTest, SecondInterruptKillsWhatDoesNotEnd) {
    interruptAt("deaf", "INT TERM");
    const auto start = std::chrono::steady_clock::now();
    const auto outcomes = outcomesOf({[](Reporter& reporter) {
        static_cast<void>(std::signal(SIGTERM, SIG_IGN));
        reporter.changing();
        std::ofstream("deaf") << "";
        return waitUntilEnded(reporter);
    }});
    EXPECT_EQ(statusesOf(outcomes), (std::vector{EXIT_INTERRUPTED}));
    EXPECT_TRUE(outcomes[0].hasChanged);
    EXPECT_LT(std::chrono::steady_clock::now() - start, std::chrono::seconds(4)); // less than the mercy
}

TEST_F(WatchTest, ServerRunsUntilWhatItNeedsIsGoneOrAnInterrupt) {
    Lines lines;
    MediumJob server{"the server", here.number(), [](Reporter& reporter) {
                         static_cast<void>(std::signal(SIGTERM, [](int) {
                             [[maybe_unused]] const auto size = write(STDOUT_FILENO, "last", 4);
                             _exit(0);
                         }));
                         runForReal("printf 'one\ntwo'");
                         return waitUntilEnded(reporter);
                     }};
    server.takeLine = [&](const std::string& line, Progress&) { lines.push_back(line); };
    server.whatIsGone = [&] { return lines.empty() ? "" : "it is gone"; };
    Console console;
    const auto gone = supervise({server}, 1, signals, console).front();
    EXPECT_EQ(gone.reason + std::to_string(gone.status), "it is gone" + std::to_string(EXIT_UNFINISHED));
    EXPECT_EQ(lines, (Lines{"one", "two"}));
    fs::remove("waiting");
    server.whatIsGone = [] { return ""; };
    interruptAt("waiting", "TERM");
    const auto ended = supervise({server}, 1, signals, console).front();
    EXPECT_EQ(ended.status, 0);
    EXPECT_EQ(lines.back(), "twolast"); // it may say something at its end
}

/// Each row: a result, what the last tool has said, and the reason that is told.
TEST_F(WatchTest, ReasonIsWhatTheToolSaid) {
    for (const auto& row : rows("reasons")) {
        SCOPED_TRACE(row[0] + " " + row[1]);
        std::ofstream("stdout.txt") << row[1];
        const auto outcome =
            outcomesOf({[&](Reporter& reporter) { return reportToolError(std::stoi(row[0]), reporter); }})[0];
        EXPECT_EQ(outcome.status, std::stoi(row[0]));
        EXPECT_EQ(outcome.reason, row[2]);
    }
}
