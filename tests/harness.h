// What the tests stand on: everything that the library does to the outside, in one list of events.
#ifndef VELACREATION_HARNESS_H
#define VELACREATION_HARNESS_H

#include "bootableMedia.h"

#include <functional>
#include <string>
#include <utility>
#include <vector>

#include <gtest/gtest.h>

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

/// The events of a successful job, written as a text; >> stands for " >stdout.txt 2>&1".
Lines events(const std::string& text);

Lines operator+(Lines first, const Lines& second);

/// Runs a command for real, unrecorded, and expects it to succeed.
void shell(const std::string& command);

std::string contentOf(const std::string& path);

/// Bytes of a file in hexadecimal, two digits each.
std::string bytesOf(const std::string& path, int offset, int count);

/// Replaces what stands in a file from an offset on; the bytes are given in hexadecimal.
void patch(const std::string& path, int offset, const std::string& hex);

/// An empty file system over a directory of the host, for the length of a scope.
class Overlay {
public:
    explicit Overlay(std::string place);
    ~Overlay();
    Overlay(const Overlay&) = delete;
    Overlay& operator=(const Overlay&) = delete;

private:
    std::string m_place;
};

/// Enters an empty /srv/job and makes in it: two tools that stand for xorriso and cdrecord, and work/, with a
/// tool package and the update files a.txt, b c.txt, sub/d.txt and folder/. What mount mounts is mounted/.
void enterFreshJob();

class JobTest : public testing::Test {
protected:
    void SetUp() override {
        enterFreshJob();
    }
};

/// A command whose failure shows: the job's result and what follows the command. With the result 0 the job
/// goes on, and the events take the place of some of the successful job's. Where several rows fit a command,
/// they stand for its occurrences in order.
struct Failure {
    std::string command; ///< its beginning
    int result;
    Lines events;
    std::size_t replaced = 0;
};

/// The events of a job whose command with this number fails, and its result.
std::pair<Lines, int> eventsWithFailure(const Lines& whole, int failing,
                                        const std::vector<Failure>& failures);

void expectState(VelaCreation::BootableMedia& media);

/// Runs a job as it is, then once for each of its commands with that one failing.
template <typename Media>
void sweep(const Lines& whole, const std::vector<Failure>& failures, const std::function<int(Media&)>& job) {
    int commands = 0;
    for (int failing = 0; failing <= commands; ++failing) {
        enterFreshJob();
        recording.failing = failing;
        RecordingLogger logger;
        Media media(logger);
        const int result = job(media);

        if (failing == 0) {
            commands = recording.commands;
        }
        const auto [expected, expectedResult] = eventsWithFailure(whole, failing, failures);
        SCOPED_TRACE("failing command " + std::to_string(failing));
        ASSERT_EQ(recording.events, expected);
        EXPECT_EQ(result, expectedResult);
        expectState(media);
    }
}

#endif
