#include "trust/signer.h"

#include "display/question.h"
#include "support/exitStatus.h"
#include "support/failure.h"
#include "support/programs.h"

#include <algorithm>
#include <array>
#include <cerrno>
#include <csignal>
#include <vector>

#include <poll.h>
#include <sys/mman.h>
#include <sys/prctl.h>
#include <sys/resource.h>
#include <sys/socket.h>
#include <sys/wait.h>
#include <unistd.h>

namespace velacreate {
namespace {
constexpr const char* UNTRUSTED_COMMENT = "signature of the files of a medium";
constexpr const char* BEGINNING_OF_KEY = "RWQA"; // in base64, of a key that is not encrypted
constexpr const char* BEGINNING_OF_ENCRYPTED_KEY = "RWRT";
constexpr int MOMENT = 10; // milliseconds

/// @name The first byte of what the process says
/// @{
constexpr char IS_OPEN = 'o';
constexpr char SIGNATURE = 's';
constexpr char REASON = 'r'; // why there will be no signature
/// @}

/// Reads no more of the key than its form.
bool isEncrypted(const Descriptor& key, const std::string& path) {
    constexpr std::size_t longestComment = 1024;
    std::string beginning;
    std::size_t at = 0;
    for (char character = 0; character != '\n' && at < longestComment; ++at) {
        if (readAt(key.number(), &character, 1, at) != 1) {
            break;
        }
    }
    beginning.resize(std::string(BEGINNING_OF_KEY).size());
    const bool isRead = readAt(key.number(), beginning.data(), beginning.size(), at) > 0;
    refuseIf(!isRead || (beginning != BEGINNING_OF_KEY && beginning != BEGINNING_OF_ENCRYPTED_KEY),
             quote(path) + " is no secret key of minisign");
    return beginning == BEGINNING_OF_ENCRYPTED_KEY;
}

struct Pipe {
    Pipe() {
        std::array<int, 2> ends{};
        check(pipe2(ends.data(), O_CLOEXEC) == 0).orFail("no pipe for minisign");
        out = Descriptor(ends[0]);
        in = Descriptor(ends[1]);
    }

    Descriptor out;
    Descriptor in;
};

Descriptor memory() {
    Descriptor file(memfd_create("minisign", MFD_CLOEXEC));
    check(file.isOpen()).orFail("memory for minisign");
    return file;
}

std::string contentOf(const Descriptor& file) {
    std::string content(sizeOf(file), '\0');
    check(readAt(file.number(), content.data(), content.size(), 0) == static_cast<ssize_t>(content.size()))
        .orFail("reading what minisign has written");
    return content;
}

/// A descriptor that the program inherits, as the path of a file.
std::string inherited(const Descriptor& file) {
    fcntl(file.number(), F_SETFD, 0);
    return file.path(); // also where there is no /dev/fd
}

/// The running program. It opens the key first and the message then, which is a pipe: so one can see when the
/// key is open, and give the message later.
class Minisign {
public:
    Minisign(const Descriptor& key, const std::string& comment)
        : m_place(open(m_message.out.path().c_str(), O_PATH | O_CLOEXEC)) {
        check(m_place.isOpen()).orFail("no pipe for minisign");
        m_message.out = Descriptor();
        m_process = fork();
        check(m_process >= 0).orFail("no process for minisign");
        if (m_process == 0) {
            prctl(PR_SET_PDEATHSIG, SIGKILL);
            run({SIGNING_PROGRAM, "-S", "-s", inherited(key), "-m", inherited(m_place), "-x",
                 inherited(m_signature), "-c", UNTRUSTED_COMMENT, "-t", comment});
        }
        m_input.out = Descriptor();
    }

    /// Its standard input.
    Descriptor& input() { return m_input.in; }

    /// @return whether it has opened the message
    bool isKeyOpen() const {
        pollfd readers{m_message.in.number(), 0, 0};
        poll(&readers, 1, 0);
        return (readers.revents & POLLERR) == 0; // without readers, there would be one
    }

    bool hasEnded() const { return waitpid(m_process, nullptr, WNOHANG) == m_process; }

    std::string words() const {
        auto said = printable(contentOf(m_said));
        std::replace(said.begin(), said.end(), '?', ' '); // line feeds
        return said;
    }

    std::string sign(const std::string& message) {
        writeAll(m_message.in, message.data(), message.size(), "the message for minisign");
        m_message.in = Descriptor();
        if (exitStatusOf(m_process) != 0) {
            throw Failure("minisign failed: " + words());
        }
        return contentOf(m_signature);
    }

private:
    [[noreturn]] void run(const std::vector<std::string>& command) const {
        dup2(m_input.out.number(), STDIN_FILENO);
        dup2(m_said.number(), STDOUT_FILENO);
        dup2(m_said.number(), STDERR_FILENO);
        execv(pathOf(SIGNING_PROGRAM).c_str(), argumentsOf(command).data());
        _exit(EXIT_UNFINISHED);
    }

    Pipe m_input;
    Pipe m_message;
    Descriptor m_place; ///< leads to the message, but does not read it
    Descriptor m_signature = memory();
    Descriptor m_said = memory();
    pid_t m_process = -1;
};

/// When nobody listens any more, nobody needs it.
void sendAll(const Descriptor& socket, const std::string& text) {
    for (std::size_t at = 0; at < text.size();) {
        const auto count = send(socket.number(), text.data() + at, text.size() - at, MSG_NOSIGNAL);
        if (count < 0 && errno != EINTR) {
            return;
        }
        at += static_cast<std::size_t>(std::max<ssize_t>(count, 0));
    }
}

/// Reads up to the end.
std::string receiveAll(const Descriptor& socket) {
    std::string text;
    std::array<char, 4096> buffer{};
    for (;;) {
        const auto count = recv(socket.number(), buffer.data(), buffer.size(), 0);
        if (count == 0 || (count < 0 && errno != EINTR)) {
            return text;
        }
        text.append(buffer.data(), static_cast<std::size_t>(std::max<ssize_t>(count, 0)));
    }
}

/// In the process of the signer.
/// @return 0, or EXIT_INTERRUPTED
int openKey(Minisign& minisign, const std::string& path, const HeldSignals& signals) {
    while (!minisign.isKeyOpen()) {
        if (minisign.hasEnded()) {
            const auto words = minisign.words();
            throw Refusal(words.find("Wrong password") != std::string::npos
                              ? "the pass phrase of the secret key " + quote(path) + " is wrong"
                              : "the secret key " + quote(path) + " cannot be opened: " + words);
        }
        pollfd interrupt{signals.descriptor().number(), POLLIN, 0};
        poll(&interrupt, 1, MOMENT);
        if (signals.take() != 0) {
            return EXIT_INTERRUPTED;
        }
    }
    return 0;
}

/// What the process does. The key's pass phrase comes from the terminal.
struct Signing {
    const Descriptor& key;
    const std::string& path;
    const std::string& comment;
    const HeldSignals& signals;
    Console& console;

    /// @param socket  to those who want a signature
    /// @return the exit status
    int serve(const Descriptor& socket, bool isEncrypted) const {
        Minisign minisign(key, comment);
        int status = 0;
        if (isEncrypted) {
            status = askForPassPhrase(signals, "The pass phrase of " + quote(path) + ":", minisign.input(),
                                      console);
        }
        minisign.input() = Descriptor();
        status = status != 0 ? status : openKey(minisign, path, signals);
        if (status == 0) {
            sendAll(socket, std::string(1, IS_OPEN));
            sendAll(socket, SIGNATURE + minisign.sign(receiveAll(socket)));
        }
        return status;
    }
};
} // namespace

std::size_t sizeOfSignature(const std::string& comment) {
    constexpr std::size_t ofList = 100; // in base64, as the next
    constexpr std::size_t ofComment = 88;
    const auto lines =
        "untrusted comment: " + std::string(UNTRUSTED_COMMENT) + "\n\ntrusted comment: " + comment + "\n\n";
    return lines.size() + ofList + ofComment;
}

Signer::~Signer() {
    end();
}

Descriptor openSecretKey(const std::string& path) {
    auto key = openChosen(path, O_RDONLY, S_IFREG);
    isEncrypted(key, path);
    return key;
}

int Signer::open(const std::string& path, const std::string& comment, const HeldSignals& signals,
                 Console& console) {
    const auto key = openSecretKey(path);
    const bool isSecret = isEncrypted(key, path);
    if (isSecret) {
        requireTypist("the pass phrase of the secret key " + quote(path), console);
    }
    std::array<int, 2> ends{};
    check(socketpair(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0, ends.data()) == 0)
        .orFail("no socket for the signer");
    m_socket = Descriptor(ends[0]);
    Descriptor others(ends[1]);
    m_process = fork();
    check(m_process >= 0).orFail("no process for the signer");
    if (m_process == 0) {
        m_socket = Descriptor();
        prctl(PR_SET_PDEATHSIG, SIGKILL);
        const rlimit none{0, 0};
        setrlimit(RLIMIT_CORE, &none);
        const Signing signing{key, path, comment, signals, console};
        _exit(exitStatusAfter([&] { return signing.serve(others, isSecret); },
                              [&](const char* text) { sendAll(others, REASON + std::string(text)); }));
    }
    others = Descriptor(); // so that the end of the process is the end of what it says
    return awaitKey(signals);
}

int Signer::awaitKey(const HeldSignals& signals) {
    std::array<pollfd, 2> sources = {
        {{m_socket.number(), POLLIN, 0}, {signals.descriptor().number(), POLLIN, 0}}};
    while (sources[0].revents == 0) {
        poll(sources.data(), sources.size(), -1);
        if (signals.take() != 0) {
            kill(m_process, SIGTERM); // it puts the terminal right
        }
    }
    char first = 0;
    const bool hasSaid = recv(m_socket.number(), &first, 1, 0) == 1;
    if (hasSaid && first == IS_OPEN && !signals.hadOne()) {
        return 0;
    }
    const auto reason = receiveAll(m_socket);
    end();
    if (!hasSaid || signals.hadOne()) {
        return EXIT_INTERRUPTED;
    }
    throw Refusal(reason);
}

std::string Signer::sign(const std::string& list) const {
    sendAll(m_socket, list);
    shutdown(m_socket.number(), SHUT_WR);
    const auto answer = receiveAll(m_socket);
    if (answer.empty() || answer.front() != SIGNATURE) {
        throw Failure("the list of sums was not signed: " +
                      answer.substr(std::min<std::size_t>(1, answer.size())));
    }
    return answer.substr(1);
}

void Signer::end() {
    if (m_process > 0) {
        kill(m_process, SIGKILL);
        exitStatusOf(m_process);
    }
    m_process = 0;
    m_socket = Descriptor();
}

} // namespace velacreate
