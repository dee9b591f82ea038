#include "board/boardServer.h"

#include "board/boardAddress.h"
#include "board/boardState.h"
#include "board/outbox.h"
#include "board/page.h"
#include "support/failure.h"

#include <algorithm>
#include <array>
#include <climits>
#include <cstring>
#include <list>
#include <memory>
#include <utility>

#include <microhttpd.h>
#include <nlohmann/json.hpp>
#include <openssl/evp.h>
#include <poll.h>
#include <unistd.h>

namespace velacreate {
namespace {

constexpr unsigned MOST_CONNECTIONS = 256;
constexpr unsigned MOST_OF_ONE_ADDRESS = 32;
constexpr std::size_t MOST_SUBSCRIBERS = 64; // who get news
constexpr unsigned IDLE_SECONDS = 10;
constexpr int UNTIL_NEWS = -1;
constexpr std::size_t BLOCK_SIZE = 4096;

constexpr const char* TEXT = "text/plain; charset=utf-8";
constexpr const char* JSON = "application/json";

/// @return how a browser's rules name a text that is part of the page
std::string hashOf(const std::string& text) {
    std::array<unsigned char, EVP_MAX_MD_SIZE> sum{};
    unsigned size = 0;
    EVP_Digest(text.data(), text.size(), sum.data(), &size, EVP_sha256(), nullptr);
    std::array<unsigned char, EVP_MAX_MD_SIZE * 2> encoded{};
    EVP_EncodeBlock(encoded.data(), sum.data(), static_cast<int>(size));
    return "'sha256-" + std::string(reinterpret_cast<const char*>(encoded.data())) + "'";
}

std::string machineName() {
    std::array<char, 256> name{};
    gethostname(name.data(), name.size() - 1);
    return name.data();
}

/// As server-sent events have it.
std::string messageOf(const Json& news) {
    return "data: " + textOf(news) + "\n";
}

/// A browser that gets news.
struct Subscriber {
    BoardState& state;
    MHD_Connection* connection;
    std::list<Subscriber>& all;
    Outbox outbox = {};
    bool isWaiting = false;

    ssize_t fill(char* buffer, std::size_t most) {
        const auto& rest = outbox.rest([this] { return messageOf(state.whole()); });
        const auto size = std::min(rest.size(), most);
        std::copy_n(rest.data(), size, buffer);
        outbox.sent(size);
        if (size == 0) {
            MHD_suspend_connection(connection);
            isWaiting = true;
        }
        return static_cast<ssize_t>(size);
    }

    void tell(const std::string& message) {
        outbox.add(message);
        if (std::exchange(isWaiting, false)) {
            MHD_resume_connection(connection);
        }
    }

    void leave() {
        all.remove_if([this](const Subscriber& subscriber) { return &subscriber == this; });
    }
};

struct ResponseReleaser {
    void operator()(MHD_Response* response) const { MHD_destroy_response(response); }
};
using Response = std::unique_ptr<MHD_Response, ResponseReleaser>;

class Server {
public:
    explicit Server(const Descriptor& listener) {
        m_daemon =
            MHD_start_daemon(MHD_USE_EPOLL | MHD_ALLOW_SUSPEND_RESUME, 0, nullptr, nullptr, answerTo, this,
                             MHD_OPTION_LISTEN_SOCKET, listener.number(), MHD_OPTION_CONNECTION_LIMIT,
                             MOST_CONNECTIONS, MHD_OPTION_PER_IP_CONNECTION_LIMIT, MOST_OF_ONE_ADDRESS,
                             MHD_OPTION_CONNECTION_TIMEOUT, IDLE_SECONDS, MHD_OPTION_END);
        if (m_daemon == nullptr) {
            throw Failure("the board's server cannot be started");
        }
    }
    Server(const Server&) = delete;
    Server& operator=(const Server&) = delete;
    ~Server() {
        for (auto& subscriber : m_subscribers) {
            subscriber.tell("");
        }
        MHD_stop_daemon(m_daemon);
    }

    /// @param line an event, or an empty object, which tells that the station is at work
    void take(const std::string& line) {
        const auto news = m_state.take(Json::parse(line));
        tellAll(news.is_null() ? noNews() : news);
    }

    /// Answers requests, then waits for more, or for events.
    void run(const Descriptor& feed) {
        MHD_run(m_daemon);
        MHD_UNSIGNED_LONG_LONG wanted = 0;
        const bool isWanted = MHD_get_timeout(m_daemon, &wanted) == MHD_YES && wanted < INT_MAX;
        const int longest = isWanted ? static_cast<int>(wanted) : UNTIL_NEWS;
        const auto* const requests = MHD_get_daemon_info(m_daemon, MHD_DAEMON_INFO_EPOLL_FD);
        std::array<pollfd, 2> sources = {pollfd{feed.number(), POLLIN, 0},
                                         pollfd{requests->epoll_fd, POLLIN, 0}};
        poll(sources.data(), sources.size(), longest);
    }

private:
    void tellAll(const Json& news) {
        const auto message = messageOf(news);
        for (auto& subscriber : m_subscribers) {
            subscriber.tell(message);
        }
    }

    static MHD_Result answerTo(void* server, MHD_Connection* connection, const char* path, const char* method,
                               const char* /*version*/, const char* /*data*/, std::size_t* /*size*/,
                               void** /*memory*/) {
        return static_cast<Server*>(server)->answer(connection, path, method);
    }

    MHD_Result answer(MHD_Connection* connection, const std::string& path, const std::string& method) {
        const char* const host = MHD_lookup_connection_value(connection, MHD_HEADER_KIND, "Host");
        if (host == nullptr || !isOwnHost(host, m_machine)) {
            return send(connection, MHD_HTTP_MISDIRECTED_REQUEST,
                        text("The board is shown under this machine's own name or address.\n", TEXT));
        }
        if (method != "GET" && method != "HEAD") {
            return send(connection, MHD_HTTP_METHOD_NOT_ALLOWED, text("The board only shows.\n", TEXT));
        }
        if (path == "/") {
            return send(connection, MHD_HTTP_OK, text(PAGE, "text/html; charset=utf-8"));
        }
        if (path == "/state") {
            return send(connection, MHD_HTTP_OK, text(textOf(m_state.whole()), JSON));
        }
        if (path != "/events") {
            return send(connection, MHD_HTTP_NOT_FOUND, text("There is no such page.\n", TEXT));
        }
        if (m_subscribers.size() >= MOST_SUBSCRIBERS) {
            return send(connection, MHD_HTTP_SERVICE_UNAVAILABLE, text("Too many are watching.\n", TEXT));
        }
        return send(connection, MHD_HTTP_OK, news(connection));
    }

    static Response text(const std::string& body, const char* type) {
        // It is copied, so that it can be changed.
        Response response(MHD_create_response_from_buffer(body.size(), const_cast<char*>(body.data()),
                                                          MHD_RESPMEM_MUST_COPY));
        MHD_add_response_header(response.get(), "Content-Type", type);
        return response;
    }

    Response news(MHD_Connection* connection) {
        auto& subscriber = m_subscribers.emplace_back(Subscriber{m_state, connection, m_subscribers});
        Response response(MHD_create_response_from_callback(
            MHD_SIZE_UNKNOWN, BLOCK_SIZE,
            [](void* reader, std::uint64_t /*offset*/, char* buffer, std::size_t most) {
                return static_cast<Subscriber*>(reader)->fill(buffer, most);
            },
            &subscriber, [](void* reader) { static_cast<Subscriber*>(reader)->leave(); }));
        MHD_add_response_header(response.get(), "Content-Type", "text/event-stream");
        return response;
    }

    MHD_Result send(MHD_Connection* connection, unsigned status, const Response& response) const {
        if (response == nullptr) {
            return MHD_NO;
        }
        for (const auto& [name, value] : m_headers) {
            MHD_add_response_header(response.get(), name, value.c_str());
        }
        return MHD_queue_response(connection, status, response.get());
    }

    const std::string m_machine = machineName();
    const std::vector<std::pair<const char*, std::string>> m_headers = {
        {"Allow", "GET, HEAD"},
        {"Cache-Control", "no-store"},
        {"Content-Security-Policy", "default-src 'none'; connect-src 'self'; script-src " +
                                        hashOf(PAGE_SCRIPT) + "; style-src " + hashOf(PAGE_STYLE) +
                                        "; base-uri 'none'; form-action 'none'; frame-ancestors 'none'"},
        {"Cross-Origin-Resource-Policy", "same-origin"},
        {"Referrer-Policy", "no-referrer"},
        {"X-Content-Type-Options", "nosniff"}};
    BoardState m_state;
    std::list<Subscriber> m_subscribers;
    MHD_Daemon* m_daemon = nullptr;
};

/// Reads whole lines, and never waits.
class LineReader {
public:
    explicit LineReader(const Descriptor& feed) : m_feed(feed) {}

    /// @return false at the end
    bool read(const std::function<void(const std::string&)>& use) {
        std::array<char, 65536> bytes{};
        ssize_t size = 0;
        while ((size = ::read(m_feed.number(), bytes.data(), bytes.size())) > 0) {
            m_rest.append(bytes.data(), static_cast<std::size_t>(size));
            for (auto end = m_rest.find('\n'); end != std::string::npos; end = m_rest.find('\n')) {
                use(m_rest.substr(0, end));
                m_rest.erase(0, end + 1);
            }
        }
        return size != 0;
    }

private:
    const Descriptor& m_feed;
    std::string m_rest;
};
} // namespace

void serveBoard(const Descriptor& listener, const Descriptor& feed) {
    Server server(listener);
    LineReader reader(feed);
    while (reader.read([&](const std::string& line) { server.take(line); })) {
        server.run(feed);
    }
}

} // namespace velacreate
