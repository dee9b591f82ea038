#include "board/board.h"
#include "board/boardAddress.h"
#include "frontend.h"
#include "job/heldSignals.h"
#include "support/programs.h"
#include "support/waiting.h"

#include <cerrno>
#include <csignal>
#include <filesystem>
#include <fstream>
#include <netinet/in.h>
#include <sched.h>
#include <sys/socket.h>

using namespace velacreate;
using namespace std::chrono_literals;

namespace {

const std::string ADDRESS = "127.0.0.1:8080";

/// Debian's chromium, told what to do by its own protocol.
class Browser {
public:
    Browser() {
        std::array<int, 2> in{};
        std::array<int, 2> out{};
        EXPECT_EQ(pipe2(in.data(), O_CLOEXEC) + pipe2(out.data(), O_CLOEXEC), 0);
        m_in = Descriptor(in[1]);
        m_out = Descriptor(out[0]);
        m_process = fork();
        if (m_process == 0) {
            const int commands = fcntl(in[0], F_DUPFD, 10);
            const int answers = fcntl(out[1], F_DUPFD, 10);
            dup2(commands, 3);
            dup2(answers, 4);
            execlp("sh", "sh", "-c",
                   "exec chromium --headless --no-sandbox --disable-gpu --disable-dev-shm-usage "
                   "--hide-scrollbars "
                   "--user-data-dir=/srv/browser --remote-debugging-pipe about:blank >/srv/browser.log 2>&1",
                   nullptr);
            _exit(127);
        }
        close(in[0]);
        close(out[1]);
        const auto target = call("Target.createTarget", {{"url", "about:blank"}})["targetId"];
        m_session = call("Target.attachToTarget", {{"targetId", target}, {"flatten", true}})["sessionId"];
        call("Page.enable");
    }
    Browser(const Browser&) = delete;
    Browser& operator=(const Browser&) = delete;
    ~Browser() {
        kill(m_process, SIGKILL);
        exitStatusOf(m_process);
    }

    Json call(const std::string& method, const Json& parameters = Json::object()) {
        Json message = {{"id", ++m_number}, {"method", method}, {"params", parameters}};
        if (!m_session.empty()) {
            message["sessionId"] = m_session;
        }
        writeText(m_in, message.dump() + '\0');
        for (auto answer = read(); !answer.is_null(); answer = read()) {
            if (answer.value("id", 0) == m_number) {
                return answer.contains("result") ? answer["result"] : answer;
            }
        }
        return {};
    }

    /// Pictures for people, in the directory that the environment names.
    void takePictures(const std::string& name) {
        const char* const directory = std::getenv("BOARD_PICTURES");
        for (const auto& [width, height] : {std::pair(390, 844), {1280, 720}, {3840, 2160}}) {
            for (const char* scheme : {"light", "dark"}) {
                if (directory == nullptr) {
                    return;
                }
                call("Emulation.setDeviceMetricsOverride", {{"width", width},
                                                            {"height", height},
                                                            {"deviceScaleFactor", 1},
                                                            {"mobile", width < 1000}});
                call("Emulation.setEmulatedMedia",
                     {{"features", {{{"name", "prefers-color-scheme"}, {"value", scheme}}}}});
                std::ofstream("picture") << call("Page.captureScreenshot")["data"].get<std::string>();
                shell("base64 -d picture >" + std::string(directory) + "/" + name + "-" +
                      std::to_string(width) + "-" + scheme + ".png");
            }
        }
    }

    /// The result of a script, as a text.
    std::string evaluate(const std::string& script) {
        return call("Runtime.evaluate", {{"expression", script}})["result"].value("value", "");
    }

private:
    Json read() {
        std::array<char, 65536> bytes{};
        auto end = m_said.find('\0');
        while (end == std::string::npos) {
            const auto size = ::read(m_out.number(), bytes.data(), bytes.size());
            if (size <= 0) {
                ADD_FAILURE() << "the browser has ended: " << contentOf("/srv/browser.log");
                return {};
            }
            m_said.append(bytes.data(), static_cast<std::size_t>(size));
            end = m_said.find('\0');
        }
        const auto message = m_said.substr(0, end);
        m_said.erase(0, end + 1);
        return Json::parse(message);
    }

    pid_t m_process;
    Descriptor m_in;
    Descriptor m_out;
    std::string m_said;
    std::string m_session;
    int m_number = 0;
};

/// On a network of its own, and under a name of its own.
struct BoardTest : JobTest {
    BoardTest() {
        static const std::string name = "wall.example";
        static const bool isApart =
            unshare(CLONE_NEWNET | CLONE_NEWUTS) == 0 && sethostname(name.data(), name.size()) == 0;
        EXPECT_TRUE(isApart);
        shell("ip link set lo up");
        std::signal(SIGPIPE, SIG_IGN);
    }

    void start() {
        board.emplace(listenAt(ADDRESS), Lines{"1", "left 2", "3", "4", "5", "Rear upper row", "7", "8"},
                      scratch, console);
    }

    /// Waits until a function returns a text; the station goes on meanwhile.
    void await(const std::string& expected, const std::function<std::string()>& found) {
        std::string last;
        becomesTrue(4s, [&] { // less than the time between two news without a cause
            if (board) {
                board->look();
            }
            return (last = found()) == expected;
        });
        EXPECT_EQ(last, expected);
    }

    static std::string children() {
        return contentOf("/proc/self/task/" + std::to_string(getpid()) + "/children");
    }

    NamedDirectory scratch = {"/srv/job", opened("/srv/job", O_RDONLY | O_DIRECTORY)};
    Console console;
    std::optional<Board> board;
};

std::string answerTo(const std::string& options) {
    return "curl -s -m 5 " + options;
}

std::string outputOfShell(const std::string& command) {
    runForReal(command + " >output 2>&1");
    return contentOf("output");
}

} // namespace

/// Each row: what follows --board, and whether the board can be shown there.
TEST_F(BoardTest, Addresses) {
    const auto taken = listenAt("127.0.0.1:8081");
    for (const auto& row : rows("board-addresses")) {
        EXPECT_EQ(outcomeOf([&] { static_cast<void>(listenAt(row[0])); }), row[1]) << row[0];
    }
}

/// Each row: the Host field of a request, the machine's name, and whether the request is for this machine.
TEST_F(BoardTest, Hosts) {
    for (const auto& row : rows("board-hosts")) {
        EXPECT_EQ(isOwnHost(row[0] == "<none>" ? "" : row[0], row[1]), row[2] == "own") << row[0];
    }
}

/// Each row: what is asked, with the options of curl, and what the answer's head and body hold.
TEST_F(BoardTest, Requests) {
    NEEDS_ROOT("the board's process becomes another user");
    start();
    board->take(R"({"event": "slot", "slot": "left 2", "state": "failed", "time": "T", "serial": "<b>"})"
                "\n");
    for (const auto& row : rows("board-requests")) {
        const auto answer = outputOfShell(answerTo("-i " + row[0]));
        for (std::size_t cell = 1; cell < row.size(); ++cell) {
            EXPECT_NE(answer.find(row[cell]), std::string::npos) << row[0] << "\n" << answer;
        }
    }
    board.reset();
}

TEST_F(BoardTest, ProcessHasNoRights) {
    NEEDS_ROOT("the board's process becomes another user");
    const auto secret = opened("/srv/job/work/a.txt");
    start();
    const auto process = words(children()).at(0);
    await("65534", [&] { return outputOfShell("awk '/^Uid/ { printf $4 }' /proc/" + process + "/status"); });
    await("0000000000000000 1 2", [&] {
        return outputOfShell("awk '/^(CapBnd|NoNewPrivs|Seccomp):/ { printf sep $2; sep = \" \" }' /proc/" +
                             process + "/status");
    });
    EXPECT_EQ(outputOfShell("ls -A /proc/" + process + "/root/"), "");
    EXPECT_EQ(outputOfShell("ls -l /proc/" + process + "/fd | grep /srv/job"), "");
    board.reset();
    EXPECT_EQ(children(), "");
}

/// The news go on for those who listen already, and nothing waits for the others.
TEST_F(BoardTest, Overload) {
    NEEDS_ROOT("the board's process becomes another user");
    start();
    shell(answerTo("-N -m 60 http://" + ADDRESS + "/events >news & echo $! >curl"));
    await("1\n", [] { return outputOfShell("grep -c tally news"); });
    {
        std::vector<Descriptor> silent;
        const auto address = sockaddr_in{AF_INET, htons(8080), {htonl(INADDR_LOOPBACK)}, {}};
        for (int number = 0; number < 500; ++number) {
            silent.emplace_back(socket(AF_INET, SOCK_STREAM | SOCK_NONBLOCK | SOCK_CLOEXEC, 0));
            const int result =
                connect(silent.back().number(), reinterpret_cast<const sockaddr*>(&address), sizeof address);
            ASSERT_TRUE(result == 0 || errno == EINPROGRESS);
        }
        const auto begin = std::chrono::steady_clock::now();
        for (int number = 0; number < 2000; ++number) {
            console.events().slot({"1", "", "", "", "1"}, number % 2 == 0 ? "working" : "empty");
            board->look();
        }
        EXPECT_LT(std::chrono::steady_clock::now() - begin, 20s);
        console.events().slot({"1", "", "", "", "1"}, "done");
        await("1\n", [] { return outputOfShell("tail -n 2 news | grep -c '\"made\":1'"); });
    }
    const auto process = words(children()).at(0);
    shell("kill -9 " + process);
    await("started anew", [&] {
        const auto now = words(children());
        return now.empty() || now.at(0) == process ? "" : "started anew";
    });
    await("1\n",
          [] { return outputOfShell(answerTo("http://" + ADDRESS + "/state | grep -c '\"made\":1'")); });
    shell("kill $(cat curl) || true");
    board.reset();
}

/// Each row: an event, then what the page shows of the slot "1", and its tally.
TEST_F(BoardTest, PageInABrowser) {
    NEEDS_ROOT("the board's process becomes another user");
    start();
    {
        Browser browser;
        browser.call("Page.navigate", {{"url", "http://" + ADDRESS + "/"}});
        const auto shown = [&](const std::string& slot) {
            return browser.evaluate(
                "(() => { const tile = document.querySelector('[data-slot=\"" + slot +
                "\"]'); if (!tile) return 'none'; const bar = tile.querySelector('progress');"
                "return [tile.dataset.state, ...[...tile.querySelectorAll('p')].filter(p => !p.hidden)"
                ".map(p => p.textContent), bar.hidden ? '' : bar.value].join('; ') })()");
        };
        const auto tally = [&] {
            return browser.evaluate(
                "[...document.querySelectorAll('[data-tally]')].map(e => e.textContent).join(' ')");
        };
        await("empty; Empty; ", [&] { return shown("left 2"); });
        for (const auto& row : rows("board-events")) {
            board->take(row[0] + "\n");
            await(row[1], [&] { return shown("1"); });
            await(row[2], tally);
        }
        EXPECT_EQ(browser.evaluate("String(document.images.length) + document.title"), "0Station");
        EXPECT_EQ(browser.evaluate("document.querySelector('#ends li').textContent").substr(0, 9),
                  "Refused 8");
        const auto isToldLost = [&] {
            return browser.evaluate("document.getElementById('unreachable').hidden ? 'reached' : 'lost'");
        };
        EXPECT_EQ(isToldLost(), "reached");
        browser.takePictures("few");
        board.reset();
        await("lost", isToldLost);
        browser.takePictures("lost");
        start();
        await("reached", isToldLost);
        await("empty; Empty; ", [&] { return shown("1"); });
        EXPECT_EQ(tally(), "0 0 0 0");
    }
    board.reset();
}
