#include "display/progress.h"

#include "display/pace.h"
#include "support/failure.h"
#include "support/texts.h"
#include "support/utf8.h"

#include <algorithm>
#include <cstdlib>
#include <utility>

#include <sys/ioctl.h>
#include <unistd.h>

namespace velacreate {
namespace {
bool isTerminal() {
    const char* const type = std::getenv("TERM"); // NOLINT(concurrency-mt-unsafe)
    return isatty(STDOUT_FILENO) != 0 && type != nullptr && std::string(type) != "dumb";
}

/// The cursor needs the last column and the last line.
winsize terminalSize() {
    winsize size{};
    const bool isKnown = ioctl(STDOUT_FILENO, TIOCGWINSZ, &size) == 0;
    size.ws_col = isKnown && size.ws_col > 1 ? static_cast<unsigned short>(size.ws_col - 1) : 79;
    size.ws_row = isKnown && size.ws_row > 1 ? static_cast<unsigned short>(size.ws_row - 1) : 23;
    return size;
}

class PlainProgress : public Progress {
public:
    PlainProgress(const Screen& screen, std::vector<std::string> media)
        : m_screen(screen), m_media(std::move(media)) {}

    void stage(std::size_t medium, const std::string& text, std::uint64_t /*expected*/) override {
        const auto& name = m_media.at(medium);
        m_screen.write(STDOUT_FILENO, (name.empty() ? "" : name + ": ") + text + "...\n");
    }

private:
    const Screen& m_screen;
    std::vector<std::string> m_media;
};

class TerminalProgress : public Progress {
public:
    TerminalProgress(const Screen& screen, const std::vector<std::string>& media) : m_screen(screen) {
        for (const auto& medium : media) {
            m_rows.push_back({medium, "waiting", {}, RANK_IDLE});
        }
    }
    ~TerminalProgress() override { takeOff(); }
    TerminalProgress(const TerminalProgress&) = delete;
    TerminalProgress& operator=(const TerminalProgress&) = delete;

    void stage(std::size_t medium, const std::string& text, std::uint64_t expected) override {
        Row& row = m_rows.at(medium);
        row = {row.medium, text, {expected}, RANK_AT_WORK};
        draw();
    }

    void expect(std::size_t medium, std::uint64_t bytes) override { m_rows.at(medium).pace.expected = bytes; }
    void done(std::size_t medium, std::uint64_t bytes) override { m_rows.at(medium).pace.done = bytes; }

    void ended(std::size_t medium, const std::string& text) override {
        Row& row = m_rows.at(medium);
        row = {row.medium, printable(text), {}, RANK_IDLE};
    }

    void line(std::size_t number, const std::string& text, unsigned rank) override {
        m_rows.resize(std::max(m_rows.size(), number + 1));
        m_rows[number] = {m_rows[number].medium, printable(text), {}, rank};
    }

    void footer(const std::string& text) override {
        m_footer = printable(text);
        draw();
    }

    bool isLive() const override { return true; }
    void erase() override { takeOff(); }

    void draw() override {
        if (!m_screen.isReady(STDOUT_FILENO)) { // the next drawing shows it all
            return;
        }
        const auto size = terminalSize();
        std::string lines;
        const std::size_t below = m_footer.empty() ? 0 : 1;
        const auto rows = shownRows(size.ws_row - std::min<std::size_t>(size.ws_row - 1, below));
        for (const Row* row : rows) {
            lines += "\r\033[K" + lineFor(*row, size.ws_col) + "\n";
        }
        const std::size_t more = rows.size() < m_rows.size() ? 1 : 0;
        if (more != 0) {
            lines += "\r\033[K" + std::to_string(m_rows.size() - rows.size()) + " more\n";
        }
        if (below != 0) {
            lines += "\r\033[K" + cut(m_footer, size.ws_col) + "\n";
        }
        const auto drawn = rows.size() + more + below;
        if (m_drawn != 0 && lines == m_lines) {
            return;
        }
        m_lines = lines;
        m_screen.write(STDOUT_FILENO, (m_drawn != 0 ? "\033[" + std::to_string(m_drawn) + "A" : "") + lines +
                                          (m_drawn > drawn ? "\033[J" : ""));
        m_drawn = drawn;
    }

private:
    struct Row {
        std::string medium;
        std::string stage;
        Pace pace;
        unsigned rank = RANK_IDLE;
    };

    void takeOff() {
        if (m_drawn != 0) {
            m_screen.write(STDOUT_FILENO, "\033[" + std::to_string(m_drawn) + "A\r\033[J");
            m_drawn = 0;
        }
    }

    std::vector<const Row*> shownRows(std::size_t height) const {
        std::vector<const Row*> rows;
        std::transform(m_rows.begin(), m_rows.end(), std::back_inserter(rows),
                       [](const Row& row) { return &row; });
        if (rows.size() > height) {
            std::stable_sort(rows.begin(), rows.end(),
                             [](const Row* one, const Row* other) { return one->rank < other->rank; });
            rows.resize(std::max<std::size_t>(height, 1) - 1);
        }
        return rows;
    }

    /// The percentage has its place on any terminal.
    static std::string lineFor(const Row& row, std::size_t width) {
        const std::string text = (row.medium.empty() ? "" : row.medium + "  ") + row.stage;
        const auto figures = figuresOf(row);
        const auto needed = figures.empty() ? 0 : figures.front().size();
        std::string line = cut(text, width - std::min<std::size_t>(width, needed));
        for (const auto& figure : figures) {
            if (line.size() + figure.size() > width) {
                break;
            }
            line += figure;
        }
        return line;
    }

    static std::vector<std::string> figuresOf(const Row& row) {
        auto pace = row.pace;
        if (pace.expected == 0 || pace.done == 0) {
            return {};
        }
        pace.done = std::min(pace.done, pace.expected);
        std::vector<std::string> figures = {"  " + std::to_string(pace.done * 100 / pace.expected) + "%",
                                            ", " + sizeText(pace.done) + " of " + sizeText(pace.expected)};
        const auto rate = pace.bytesPerSecond();
        const auto left = pace.secondsLeft();
        if (rate && left) {
            figures.push_back(", " + sizeText(static_cast<std::uint64_t>(*rate)) + "/s");
            figures.push_back(", " + remainingText(*left) + " left");
        }
        return figures;
    }

    const Screen& m_screen;
    std::size_t m_drawn = 0; ///< on the terminal
    std::string m_lines;     ///< as last drawn
    std::string m_footer;
    std::vector<Row> m_rows;
};
} // namespace

std::unique_ptr<Progress> makeProgress(const Screen& screen, const std::vector<std::string>& media) {
    if (isTerminal()) {
        return std::make_unique<TerminalProgress>(screen, media);
    }
    return std::make_unique<PlainProgress>(screen, media);
}

} // namespace velacreate
