// What the tests stand on: everything that the library does to the outside, in one list of events.
#pragma once

#include "bootableMedia.h"

#include <functional>
#include <locale>
#include <string>
#include <utility>
#include <vector>

#include <gtest/gtest.h>

/// Runs a command unrecorded; the status is as of system().
int runForReal(const std::string& command);

/// Runs commands unrecorded, all of which must succeed.
void shell(const std::string& command);

std::string contentOf(const std::string& path);

/// Skips a test, and tells why, where only the rights of the host's root would do.
#define NEEDS_ROOT(what)                                                                                     \
    do {                                                                                                     \
        if (contentOf("/proc/self/setgroups") == "deny\n") { /* as in a user namespace */                    \
            GTEST_SKIP() << "needs root: " << (what);                                                        \
        }                                                                                                    \
    } while (false)

/// Between the bytes that a test changes one after the other: with the sanitizers, all would take too long.
#ifdef __SANITIZE_ADDRESS__
constexpr std::size_t BYTES_APART = 17;
#else
constexpr std::size_t BYTES_APART = 1;
#endif

using Lines = std::vector<std::string>;

/// What happened, and what is to happen. Events are "0 MESSAGE" and "2 MESSAGE" for the logger's messages,
/// "6 MESSAGE" for its checkpoint, "$ COMMAND" for a command, "~ SECONDS" for a pause, and
/// "# STEP STATUS|CONSOLE" for a console line, with the record that the status file holds when it is flushed.
struct Recording {
    Lines events;
    int commands = 0;                     ///< run so far
    int failing = 0;                      ///< the command that fails without being run, from 1
    std::string failureOutput = "broken"; ///< what it leaves in the capture file
    std::vector<std::pair<std::string, std::string>> standIns; ///< a command's beginning, what runs instead
};
extern Recording recording;

/// Overwrites errno in every call, so that an error text taken too late is a wrong one.
class RecordingLogger : public VelaLoggerIfc {
public:
    void logMessage(int level, const std::string& message) override;
    int checkpoint(int level, const std::string& message) override;

    int answer = 0;
    std::string throwAt; ///< the message that it throws at
};

Lines lines(const std::string& text);

/// Events as a text has them, one a line; >> stands for " >stdout.txt 2>&1", <blank> for one at the end.
Lines events(const std::string& text);

/// The events of a job with one command failing, and its result. A file tells them: below a command,
/// indented, what follows when that fails, then "=> RESULT" or, where the job goes on, "=> 0 SKIPPED", the
/// number of events that do not happen then. A command without that may fail without a trace. "@ NAME"
/// includes another file.
std::pair<Lines, int> eventsOf(const std::string& job, int failing);

/// The rows of a table in a file, its cells without the blanks around them; in a cell, \n and \r are a line
/// feed and a carriage return, and <blank> is a blank.
std::vector<Lines> rows(const std::string& table);

/// The words of a cell; <none> is an empty one.
Lines words(const std::string& cell);

/// Does something while a directory of the host is empty.
void whileEmpty(const std::string& directory, const std::function<void()>& use);

/// Enters an empty /srv/job and makes in it: two tools that stand for xorriso and cdrecord, and work/, with a
/// tool package and the update files a.txt, b c.txt, zephyn, sub/d.txt and folder/. What mount mounts is
/// mounted/.
void enterFreshJob();

/// The number that the next file to be opened gets.
int nextDescriptor();

/// Whatever a test opens, or has opened for it, must be closed at its end.
struct JobTest : testing::Test {
    JobTest() { enterFreshJob(); }
    ~JobTest() override { EXPECT_EQ(nextDescriptor(), m_next) << "a file was left open"; }

private:
    int m_next = nextDescriptor();
};

/// Checks the current directory, and that the clean-up has something to do only in a working directory.
void expectState(VelaCreation::BootableMedia& media);

/// Has the global locale write numbers and part words in ways of its own, as a caller's may, while it lives.
class ForeignNumbers {
public:
    ForeignNumbers();
    ForeignNumbers(const ForeignNumbers&) = delete;
    ForeignNumbers& operator=(const ForeignNumbers&) = delete;
    ~ForeignNumbers();

private:
    std::locale m_before;
};

/// Runs a job as it is, then once for each of its commands with that one failing.
template <typename Media>
void sweep(const std::string& name, const std::function<int(Media&)>& job) {
    const ForeignNumbers numbers;
    int commands = 0;
    for (int failing = 0; failing <= commands; ++failing) {
        SCOPED_TRACE(name + " with a failure of command " + std::to_string(failing));
        enterFreshJob();
        recording.failing = failing;
        RecordingLogger logger;
        Media media(logger);
        const int result = job(media);
        commands = failing == 0 ? recording.commands : commands;
        ASSERT_EQ(std::make_pair(recording.events, result), eventsOf(name, failing));
        expectState(media);
    }
}
