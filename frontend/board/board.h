/// @file
/// The board: a page that shows a station in browsers.
#pragma once

#include "board/boardState.h"
#include "board/outbox.h"
#include "display/console.h"
#include "job/childProcess.h"
#include "job/jobDirectory.h"
#include "support/descriptor.h"

#include <chrono>
#include <optional>
#include <string>
#include <vector>

namespace velacreate {

/// Feeds a process without privileges, which browsers talk to. Never waits for it. When it has ended, it is
/// started again.
class Board {
public:
    /// @param listener where browsers connect to
    /// @param slots    their names
    /// @param scratch  parent of a directory that stays empty; must outlive this
    /// @throw Failure
    Board(Descriptor listener, const std::vector<std::string>& slots, const NamedDirectory& scratch,
          Console& console);
    /// Ends the process.
    ~Board();
    Board(const Board&) = delete;
    Board& operator=(const Board&) = delete;

    /// Shows an event. It gets those of the console by itself.
    void take(const std::string& line);

    /// Shows that no more sticks are taken.
    void showEnding();

    /// To be called now and then. Without it, pages show after some seconds that the station does not go on.
    void look();

    /// To be called at times, so that nobody takes its directory for a left one.
    void refreshFiles() const;

private:
    using Clock = std::chrono::steady_clock;

    void start();
    bool hasEnded() const;
    void send();

    Descriptor m_listener;
    JobDirectory m_directory;
    Console& m_console;
    BoardState m_state;
    std::optional<ChildProcess> m_process;
    Descriptor m_feed;
    Outbox m_outbox;
    std::chrono::seconds m_pause{}; ///< grows while the process ends soon
    Clock::time_point m_nextStart;
    Clock::time_point m_nextNews;
};

} // namespace velacreate
