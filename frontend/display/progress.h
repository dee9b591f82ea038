/// @file
/// How far each medium is.
#pragma once

#include "display/screen.h"

#include <cstdint>
#include <memory>
#include <string>
#include <vector>

namespace velacreate {

/// Media are numbered from 0, in the order in which they were named.
class Progress {
public:
    Progress() = default;
    virtual ~Progress() = default;
    Progress(const Progress&) = delete;
    Progress& operator=(const Progress&) = delete;

    /// @param expected  bytes; 0 when they are not known
    virtual void stage(std::size_t medium, const std::string& text, std::uint64_t expected) = 0;
    virtual void expect(std::size_t /*medium*/, std::uint64_t /*bytes*/) {}
    virtual void done(std::size_t /*medium*/, std::uint64_t /*bytes*/) {}
    /// @param text  how
    virtual void ended(std::size_t /*medium*/, const std::string& /*text*/) {}

    /// Shows a line without a medium and stages. Such lines are numbered from 0, and nothing else is shown
    /// beside them.
    /// @param isAtWork  whether it is shown when there are too many lines
    virtual void line(std::size_t /*number*/, const std::string& /*text*/, bool /*isAtWork*/) {}

    /// Whether it is redrawn, and shows lines without stages.
    virtual bool isLive() const { return false; }
    /// Takes the lines off the terminal, so that others can be written.
    virtual void erase() {}
    virtual void draw() {}
};

/// On a terminal, one line for each medium, redrawn: the stage, bytes done of bytes expected, rate and time
/// left; when there are too many, those at work, and how many there are besides. Elsewhere a plain line for
/// each stage, which names the medium where there are several.
std::unique_ptr<Progress> makeProgress(const Screen& screen, const std::vector<std::string>& media);

} // namespace velacreate
