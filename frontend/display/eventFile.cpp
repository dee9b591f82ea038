#include "display/eventFile.h"

#include "inputs/addedFiles.h"
#include "support/failure.h"

#include <algorithm>
#include <optional>
#include <utility>

#include <poll.h>
#include <sys/socket.h>
#include <unistd.h>

namespace velacreate {
namespace {
/// @return the number in such a path as "/dev/fd/3"
std::optional<int> descriptorIn(const std::string& path) {
    for (const std::string directory : {"/dev/fd/", "/proc/self/fd/"}) {
        const auto number = path.rfind(directory, 0) == 0 ? path.substr(directory.size()) : "";
        constexpr std::size_t MOST_DIGITS = 9;
        if (!number.empty() && number.size() <= MOST_DIGITS &&
            number.find_first_not_of("0123456789") == std::string::npos) {
            return std::stoi(number);
        }
    }
    return std::nullopt;
}

/// A pipe is opened anew where possible: the caller's own use of it must be able to wait.
Descriptor openCallers(int number, const std::string& what) {
    const int flags = fcntl(number, F_GETFL);
    check(flags >= 0).orRefuse(what);
    refuseIf((flags & O_ACCMODE) == O_RDONLY, what + " is not open for writing");
    Descriptor file(fcntl(number, F_DUPFD_CLOEXEC, 0));
    check(file.isOpen()).orRefuse(what);
    const auto mode = file.status().st_mode;
    refuseIf(S_ISBLK(mode), what + " is no file");
    if (S_ISFIFO(mode) || S_ISCHR(mode)) {
        Descriptor again(open(file.path().c_str(), O_WRONLY | O_NONBLOCK | O_NOCTTY | O_CLOEXEC));
        return again.isOpen() ? std::move(again) : std::move(file);
    }
    return file;
}
} // namespace

EventFile::EventFile(std::string path) : m_path(std::move(path)) {
    const auto number = descriptorIn(m_path);
    m_isCallers = number.has_value();
    m_file = number ? openCallers(*number, EVENTS_FILE + (" " + quote(m_path)))
                    : openIfAddable(EVENTS_FILE, m_path, Fifos::taken);
    m_type = m_file.isOpen() ? m_file.status().st_mode & S_IFMT : 0;
}

bool EventFile::write(const std::string& line) {
    if (!isReady()) {
        return false;
    }
    m_rest.erase(0, m_rest.empty() ? 0 : put(m_rest));
    const auto written = m_rest.empty() ? put(line) : 0;
    if (written != 0 && written < line.size() && m_type == S_IFREG) {
        m_rest = takeBack(written) ? "" : "\n";
        return false;
    }
    if (written != 0) {
        m_rest = line.substr(written);
    }
    return written != 0;
}

bool EventFile::isReady() {
    if (m_isCallers || leadsToFile()) {
        return true;
    }
    try {
        m_rest.clear();
        m_file = Descriptor();
        m_file = openToAdd(EVENTS_FILE, m_path, Fifos::taken);
        m_type = m_file.status().st_mode & S_IFMT;
    } catch (const Refusal&) { // something else may take its place later
        return false;
    }
    return true;
}

bool EventFile::leadsToFile() const {
    struct stat about {};
    return m_file.isOpen() && lstat(m_path.c_str(), &about) == 0 && isSameFile(about, m_file.status());
}

/// @return how much was written
std::size_t EventFile::put(const std::string& text) const {
    pollfd target{m_file.number(), POLLOUT, 0};
    if (poll(&target, 1, 0) != 1) {
        return 0;
    }
    const ssize_t count = m_type == S_IFSOCK
                              ? send(m_file.number(), text.data(), text.size(), MSG_DONTWAIT | MSG_NOSIGNAL)
                              : ::write(m_file.number(), text.data(), text.size());
    return static_cast<std::size_t>(std::max<ssize_t>(count, 0));
}

/// Removes the beginning of a line for which there was no space, unless somebody has appended to it.
bool EventFile::takeBack(std::size_t size) const {
    const auto end = lseek(m_file.number(), 0, SEEK_CUR);
    const auto start = end - static_cast<off_t>(size);
    return end == m_file.status().st_size && ftruncate(m_file.number(), start) == 0 &&
           lseek(m_file.number(), start, SEEK_SET) == start;
}

} // namespace velacreate
