#include "display/progress.h"

#include "support/failure.h"
#include "support/sizeText.h"

#include <algorithm>
#include <cmath>
#include <cstdlib>
#include <iomanip>
#include <sstream>

#include <sys/ioctl.h>
#include <unistd.h>

namespace velacreate {

namespace {

bool isTerminal() {
    const char* const type = std::getenv("TERM"); // NOLINT(concurrency-mt-unsafe)
    return isatty(STDOUT_FILENO) != 0 && type != nullptr && std::string(type) != "dumb";
}

/// What a line, and what all lines may take: the last column and the last line are the cursor's.
winsize terminalSize() {
    winsize size{};
    const bool isKnown = ioctl(STDOUT_FILENO, TIOCGWINSZ, &size) == 0;
    size.ws_col = isKnown && size.ws_col > 1 ? static_cast<unsigned short>(size.ws_col - 1) : 79;
    size.ws_row = isKnown && size.ws_row > 1 ? static_cast<unsigned short>(size.ws_row - 1) : 23;
    return size;
}

std::string timeText(double seconds) {
    const auto whole = std::lround(seconds);
    std::ostringstream text;
    text << whole / 60 << ':' << std::setw(2) << std::setfill('0') << whole % 60;
    return text.str();
}

} // namespace

Progress::Progress(const Screen& screen, std::vector<std::string> media)
    : m_screen(screen), m_isLive(isTerminal()) {
    for (auto& medium : media) {
        m_rows.push_back({std::move(medium), "waiting", 0, 0, std::chrono::steady_clock::now(), false});
    }
}

Progress::~Progress() {
    erase();
}

void Progress::stage(std::size_t medium, const std::string& text, std::uint64_t expected) {
    Row& row = m_rows.at(medium);
    row = {row.medium, text, expected, 0, std::chrono::steady_clock::now(), true};
    if (!m_isLive) {
        m_screen.write(STDOUT_FILENO, (m_rows.size() > 1 ? row.medium + ": " : "") + text + "...\n");
    } else {
        draw();
    }
}

void Progress::expect(std::size_t medium, std::uint64_t bytes) {
    m_rows.at(medium).expected = bytes;
}

void Progress::done(std::size_t medium, std::uint64_t bytes) {
    m_rows.at(medium).done = bytes;
}

void Progress::ended(std::size_t medium, const std::string& text) {
    Row& row = m_rows.at(medium);
    row = {row.medium, printable(text), 0, 0, row.start, false};
}

void Progress::line(std::size_t number, const std::string& text, bool isAtWork) {
    m_rows.resize(std::max(m_rows.size(), number + 1));
    m_rows[number].stage = printable(text);
    m_rows[number].isAtWork = isAtWork;
    draw();
}

void Progress::erase() {
    if (m_drawn != 0) {
        m_screen.write(STDOUT_FILENO, "\033[" + std::to_string(m_drawn) + "A\r\033[J");
        m_drawn = 0;
    }
}

void Progress::draw() {
    if (!m_isLive) {
        return;
    }
    const auto size = terminalSize();
    std::string lines = m_drawn != 0 ? "\033[" + std::to_string(m_drawn) + "A" : "";
    const auto rows = shownRows(size.ws_row);
    for (const Row* row : rows) {
        lines += "\r\033[K" + lineFor(*row, size.ws_col) + "\n";
    }
    const auto drawn = rows.size() + (rows.size() < m_rows.size() ? 1 : 0);
    if (drawn > rows.size()) {
        lines += "\r\033[K" + std::to_string(m_rows.size() - rows.size()) + " more\n";
    }
    lines += m_drawn > drawn ? "\033[J" : "";
    m_drawn = drawn;
    m_screen.write(STDOUT_FILENO, lines);
}

std::vector<const Progress::Row*> Progress::shownRows(std::size_t height) const {
    std::vector<const Row*> rows;
    const bool areAllShown = m_rows.size() <= height;
    for (const Row& row : m_rows) {
        if (areAllShown || (row.isAtWork && rows.size() + 1 < height)) {
            rows.push_back(&row);
        }
    }
    return rows;
}

std::string Progress::lineFor(const Row& row, std::size_t width) const {
    std::string line = (m_rows.size() > 1 && !row.medium.empty() ? row.medium + "  " : "") + row.stage;
    for (const auto& part : figuresOf(row)) {
        if (line.size() + part.size() > width) {
            break;
        }
        line += part;
    }
    return line.substr(0, width);
}

std::vector<std::string> Progress::figuresOf(const Row& row) {
    if (row.expected == 0 || row.done == 0) {
        return {};
    }
    const auto done = std::min(row.done, row.expected);
    std::vector<std::string> figures = {"  " + sizeText(done) + " of " + sizeText(row.expected)};
    const std::chrono::duration<double> taken = std::chrono::steady_clock::now() - row.start;
    if (taken.count() > 1) {
        const double rate = static_cast<double>(done) / taken.count();
        figures.push_back(", " + sizeText(static_cast<std::uint64_t>(rate)) + "/s");
        figures.push_back(", " + timeText(static_cast<double>(row.expected - done) / rate) + " left");
    }
    return figures;
}

} // namespace velacreate
