/// @file
/// How far each medium is.
#pragma once

#include "display/screen.h"

#include <chrono>
#include <cstdint>
#include <string>
#include <vector>

namespace velacreate {

/// On a terminal, one line for each medium, redrawn: the stage, bytes done of bytes expected, rate and time
/// left; of more media than there are lines, only those at work, and how many there are besides. Elsewhere a
/// plain line a stage, with the medium's name in front where there are several. What has no stages has a line
/// of its own, on a terminal only.
class Progress {
public:
    Progress(const Screen& screen, std::vector<std::string> media);
    ~Progress();
    Progress(const Progress&) = delete;
    Progress& operator=(const Progress&) = delete;

    /// @param expected  0 when it is not known
    void stage(std::size_t medium, const std::string& text, std::uint64_t expected = 0);
    void expect(std::size_t medium, std::uint64_t bytes);
    void done(std::size_t medium, std::uint64_t bytes);
    /// @param text  how
    void ended(std::size_t medium, const std::string& text);

    /// Shows a line that has no medium and no stages; those that are shown so are numbered from 0, beside no
    /// others, and come in their order.
    /// @param isAtWork  whether it is among those that are shown when there are too many
    void line(std::size_t number, const std::string& text, bool isAtWork);

    /// Takes the lines off the terminal, so that others can be written.
    void erase();
    void draw();

    bool isLive() const { return m_isLive; }

private:
    struct Row {
        std::string medium;
        std::string stage;
        std::uint64_t expected = 0;
        std::uint64_t done = 0;
        std::chrono::steady_clock::time_point start;
        bool isAtWork = false;
    };

    std::vector<const Row*> shownRows(std::size_t height) const;
    std::string lineFor(const Row& row, std::size_t width) const;
    static std::vector<std::string> figuresOf(const Row& row);

    const Screen& m_screen;
    bool m_isLive;
    std::size_t m_drawn = 0; ///< lines that stand on the terminal
    std::vector<Row> m_rows;
};

} // namespace velacreate
