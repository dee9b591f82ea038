/// @file
/// The progress of media.
#pragma once

#include "display/screen.h"

#include <cstdint>
#include <memory>
#include <string>
#include <vector>

namespace velacreate {

/// @name Ranks of lines; when there are too many lines, those of the lowest ranks are shown
/// @{
constexpr unsigned RANK_AT_WORK = 0;
constexpr unsigned RANK_ENDED = 50;
constexpr unsigned RANK_IDLE = 100;
/// @}

/// Shows nothing. Media are numbered from 0, in the order of their names.
class Progress {
public:
    Progress() = default;
    virtual ~Progress() = default;
    Progress(const Progress&) = delete;
    Progress& operator=(const Progress&) = delete;

    /// @param expected bytes; 0 when unknown
    virtual void stage(std::size_t /*medium*/, const std::string& /*text*/, std::uint64_t /*expected*/) {}
    virtual void expect(std::size_t /*medium*/, std::uint64_t /*bytes*/) {}
    virtual void done(std::size_t /*medium*/, std::uint64_t /*bytes*/) {}
    /// @param text the result
    virtual void ended(std::size_t /*medium*/, const std::string& /*text*/) {}

    /// Shows a text in the line of a medium, or of something else, as soon as the lines are drawn. Lines are
    /// numbered from 0, as media are.
    virtual void line(std::size_t /*number*/, const std::string& /*text*/, unsigned /*rank*/) {}

    /// Shows a line below all others.
    virtual void footer(const std::string& /*text*/) {}

    /// Whether it is redrawn, and shows such lines.
    virtual bool isLive() const { return false; }
    /// Clears the lines, so that others can be written.
    virtual void erase() {}
    /// Draws the lines if they have changed.
    virtual void draw() {}
};

/// On a terminal, one line for each medium: its name unless it is empty, the stage, the percentage, bytes
/// done and expected, rate and time left, as far as there is room. When there are too many, media at work are
/// shown first, and the number of those that are not shown. Elsewhere, a line for each stage.
std::unique_ptr<Progress> makeProgress(const Screen& screen, const std::vector<std::string>& media);

} // namespace velacreate
