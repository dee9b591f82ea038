#include "display/eventStream.h"
#include "display/summary.h"
#include "frontend.h"

#include <algorithm>
#include <array>
#include <csignal>
#include <filesystem>
#include <thread>

#include <sys/resource.h>
#include <sys/socket.h>
#include <unistd.h>

using namespace velacreate;

namespace {

constexpr int MANY = 2000; // events are more than a pipe or a socket holds

struct EventsTest : JobTest {
    static void holdAgainstPage(const std::string& events, const std::string& kinds = "") {
        shell(TESTS_DIR "/eventsOf " + events + " " + kinds);
    }

    /// A call of which nobody reads the events until they have been written, and what is then read.
    static std::string readLate(const std::string& path, int reading) {
        std::string text;
        const auto readAll = [&] {
            std::array<char, 65536> bytes{};
            for (ssize_t size = 0; (size = read(reading, bytes.data(), bytes.size())) > 0;) {
                text.append(bytes.data(), static_cast<std::size_t>(size));
            }
        };
        EventStream events;
        events.open(path, "iso", false);
        events.begin({{"it", "", "", "", ""}});
        for (int count = 0; count < MANY; ++count) {
            events.note("it", "the same text again");
        }
        readAll();
        events.tellLost();
        events.end(4, "");
        readAll();
        std::ofstream("read") << text;
        return text;
    }
};

int lostIn(const std::string& text) {
    const std::string mark = "\"lost\",\"count\":";
    const auto found = text.find(mark);
    return found == std::string::npos ? 0 : std::stoi(text.substr(found + mark.size()));
}

} // namespace

TEST_F(EventsTest, EachKindOfEventIsAsThePageSays) {
    const MediumIdentity key = {"/dev/sdb", "/dev/sdb", "usb 1-2", "4C53", "1"};
    std::vector<Outcome> outcomes;
    for (const auto kind : {JobKind::making, JobKind::verifying, JobKind::serving}) {
        outcomes.push_back({0, "", {}, false, 1, 0, kind});
    }
    outcomes.push_back(outcomes[0]);
    outcomes.back().wasRight = true;
    outcomes.push_back({3, "", {}, false, 1, 0, JobKind::verifying});
    for (const int status : {2, 4, 130}) {
        outcomes.push_back({status, "why", {}, true, 1});
    }
    for (const auto& outcome : outcomes) {
        EventStream events;
        events.open("events", "usb", false);
        events.begin({key, {"/dev/sdc", "/dev/sdc", "", "", "2"}});
        events.stage("the files", "Taking in", 9);
        events.beginMedium("/dev/sdb");
        events.beginMedium("/dev/sdb");
        events.stage("/dev/sdb", "Copying", 300);
        std::this_thread::sleep_for(std::chrono::milliseconds(outcome.status == 4 ? 1100 : 0));
        for (int done = 0; done < 200; ++done) {
            events.done("/dev/sdb", 100);
        }
        events.note("/dev/sdb", "careful");
        events.endMedium("/dev/sdb", resultForPrograms(outcome));
        events.endMedium("/dev/sdc", resultForPrograms(outcome));
        events.endMedium("/dev/sdc", resultForPrograms(outcome));
        events.slot(key, "failed", "why");
        events.end(outcome.status, "");
    }
    shell("mkfifo fifo");
    readLate("fifo", opened("fifo", O_RDONLY | O_NONBLOCK).number());
    shell("[ $(grep -c '\"progress\"' events) = 8 ] && cat read >>events");
    holdAgainstPage("events", "all");
}

TEST_F(EventsTest, WhatIsNotReadInTimeIsCounted) {
    shell("mkfifo fifo");
    std::array<int, 2> pipe{};
    std::array<int, 2> sockets{};
    ASSERT_EQ(pipe2(pipe.data(), O_CLOEXEC), 0);
    ASSERT_EQ(socketpair(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0, sockets.data()), 0);
    const auto fifo = opened("fifo", O_RDONLY | O_NONBLOCK);
    const auto numberPath = [](int number) { return "/dev/fd/" + std::to_string(number); };
    for (const auto& [path, reading] : {std::pair<std::string, int>("fifo", fifo.number()),
                                        {numberPath(pipe[1]), pipe[0]},
                                        {numberPath(sockets[1]), sockets[0]}}) {
        SCOPED_TRACE(path);
        fcntl(reading, F_SETFL, O_NONBLOCK);
        const auto text = readLate(path, reading);
        EXPECT_GT(lostIn(text), 0);
        EXPECT_EQ(std::count(text.begin(), text.end(), '\n') - 1 + lostIn(text), MANY + 2);
        holdAgainstPage("read");
    }
    close(pipe[0]);
    static_cast<void>(std::signal(SIGPIPE, SIG_IGN));
    EventFile unread(numberPath(pipe[1]));
    EXPECT_FALSE(unread.write("line\n"));
    for (const int number : {pipe[1], sockets[0], sockets[1]}) {
        close(number);
    }
}

TEST_F(EventsTest, TextsAreCutAndMadeUtf8) {
    EventStream events;
    events.open("events", "iso", false);
    events.begin({{"it", "", "", "", ""}});
    std::string euros;
    for (int count = 0; count < 3000; ++count) {
        euros += "\u20ac";
    }
    for (const auto& text : {euros, "a" + euros, std::string(5000, '\x01'), std::string(9000, '\xff'),
                             std::string("\xff\"\\\n"), std::string(100000, 'x')}) {
        events.stage("it", text, 0);
        events.note("it", text);
    }
    events.end(4, euros);
    holdAgainstPage("events");
    shell("[ $(grep -c '\\.\\.\\.\"' events) = 11 ] && awk 'length > 3900 { ++long } END { exit long != 11 "
          "}' events");
}

TEST_F(EventsTest, LineForWhichThereIsNoSpaceIsTakenBack) {
    static_cast<void>(std::signal(SIGXFSZ, SIG_IGN));
    rlimit before{};
    getrlimit(RLIMIT_FSIZE, &before);
    EventStream events;
    events.open("events", "iso", false);
    events.begin({{"it", "", "", "", ""}});
    const rlimit little{std::filesystem::file_size("events") + 10, before.rlim_max};
    setrlimit(RLIMIT_FSIZE, &little);
    events.note("it", "one");
    events.note("it", "two");
    EXPECT_EQ(std::filesystem::file_size("events"), little.rlim_cur - 10);
    setrlimit(RLIMIT_FSIZE, &before);
    events.end(4, "");
    EXPECT_EQ(lostIn(contentOf("events")), 2);
    holdAgainstPage("events");
}
