#include "station/learnSlots.h"

#include "job/heldSignals.h"
#include "station/deviceNews.h"
#include "station/pluggedDisks.h"
#include "station/ports.h"
#include "station/slots.h"
#include "support/failure.h"
#include "support/trustedPath.h"

#include <array>
#include <filesystem>
#include <set>

#include <fcntl.h>
#include <poll.h>
#include <unistd.h>

namespace velacreate {
namespace {
constexpr int LOOK_EVERY = 1000; // milliseconds; news can be lost

std::string kindOf(const std::string& path) {
    return "the slots file " + quote(path);
}

/// Writes each slot at once.
class SlotsFile {
public:
    explicit SlotsFile(const std::string& path)
        : m_what(kindOf(path)), m_name(std::filesystem::path(path).filename()),
          m_directory(openTrustedDirectoryOf(path, m_what)) {
        struct stat about {};
        refuseIf(m_name.empty() ||
                     fstatat(m_directory.number(), m_name.c_str(), &about, AT_SYMLINK_NOFOLLOW) == 0,
                 m_what + " is there already; remove it, or name another one");
        check(faccessat(m_directory.number(), ".", W_OK | X_OK, AT_EACCESS) == 0).orRefuse(m_what);
    }

    void add(const Slot& slot) {
        if (!m_file.isOpen()) {
            m_file = Descriptor(
                openat(m_directory.number(), m_name.c_str(), O_WRONLY | O_CREAT | O_EXCL | O_CLOEXEC, 0666));
            check(m_file.isOpen()).orFail(m_what);
        }
        check(writeText(m_file, lineOf(slot) + "\n") && fsync(m_file.number()) == 0).orFail(m_what);
    }

    bool isMade() const { return m_file.isOpen(); }

private:
    std::string m_what;
    std::string m_name;
    Descriptor m_directory;
    Descriptor m_file;
};

class Learning {
public:
    Learning(const std::string& path, Console& console) : m_file(path), m_console(console) {
        for (const auto& plugged : pluggedDisks()) {
            m_known.insert(plugged.identity);
        }
    }

    void run() {
        ask();
        while (wait()) {
            static_cast<void>(m_news.take());
            std::set<std::string> known;
            for (const auto& plugged : pluggedDisks()) {
                known.insert(plugged.identity);
                if (m_known.count(plugged.identity) == 0) {
                    take(plugged.port);
                }
            }
            m_known = known;
        }
    }

    bool hasLearned() const { return m_file.isMade(); }
    std::size_t count() const { return m_slots.all().size(); }

private:
    std::string nextName() const { return std::to_string(m_slots.all().size() + 1); }
    void ask() const { m_console.say("Plug a stick into slot " + nextName() + "; Ctrl-C ends"); }

    /// @return false after a signal
    bool wait() const {
        std::array<pollfd, 2> sources = {
            {{m_news.descriptor(), POLLIN, 0}, {m_signals.descriptor().number(), POLLIN, 0}}};
        poll(sources.data(), sources.size(), LOOK_EVERY);
        return m_signals.take() == 0;
    }

    void take(const std::string& port) {
        if (const auto slot = m_slots.slotOf(port)) {
            m_console.say(portText(port) + " is slot " + m_slots.all()[*slot].name + " already");
            return;
        }
        Slot slot{nextName(), {port}};
        if (const auto peer = peerOf(port); !peer.empty()) {
            slot.ports.push_back(peer);
        }
        m_slots.add(slot);
        m_file.add(slot);
        m_console.say("Slot " + slot.name + " is " + portsText(slot));
        ask();
    }

    SlotsFile m_file;
    Console& m_console;
    HeldSignals m_signals;
    DeviceNews m_news;
    Slots m_slots;
    std::set<std::string> m_known; ///< the disks that are plugged in
};
} // namespace

int learnSlots(const std::string& path, Console& console) {
    Learning learning(path, console);
    learning.run();
    console.say(learning.hasLearned()
                    ? kindOf(path) + " is written: " + std::to_string(learning.count()) + " slots"
                    : "No slot was learned, and no file was written");
    return 0;
}

} // namespace velacreate
