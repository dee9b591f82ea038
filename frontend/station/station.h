/// @file
/// Gives a job to each stick that is plugged into a slot.
#pragma once

#include "board/board.h"
#include "display/console.h"
#include "job/jobDirectory.h"
#include "job/jobSource.h"
#include "medium/report.h"
#include "station/cardWatch.h"
#include "station/deviceNews.h"
#include "station/pluggedDisks.h"
#include "station/slots.h"
#include "station/stickWork.h"

#include <chrono>
#include <cstdint>
#include <deque>
#include <map>
#include <memory>
#include <optional>
#include <set>
#include <string>
#include <vector>

namespace velacreate {

/// What a station needs.
struct StationCall {
    const Slots& slots;
    const StickWork& work;
    std::uint64_t largest;                  ///< a larger stick is refused; in bytes
    const std::vector<NeededFiles>& needed; ///< a stick that carries such a file is refused
    const NamedDirectory& place;            ///< parent of the job directories
    Report& report;
    const InputSums& sums;
    Console& console;
    Board* board; ///< null when there is none
};

/// Each has a word in the events.
enum class SlotState {
    empty,
    ignored, ///< was there before, or comes while the station is ending
    working,
    done,
    already, ///< held already what it should
    failed,
    refused,
};

/// News only lead to another look. Each look compares what is plugged in now with what each slot shows.
class Station : public JobSource {
public:
    /// What is plugged in now counts as there before.
    /// @throw Failure
    explicit Station(const StationCall& call);
    ~Station() override;

    std::vector<std::string> media() const override { return m_call.slots.names(); }
    void begin(Progress& progress) override;
    bool hasMore() const override { return !m_isClosing || !m_waiting.empty(); }
    int news() const override { return m_news.descriptor(); }
    void look() override;
    std::optional<NextJob> next() override;
    void ended(std::size_t slot, const Outcome& outcome) override;
    bool close() override;
    void stop() override;
    bool leavesEndsToSupervisor() const override { return false; }

    /// @return such as "12 made, 1 already right, 0 failed, 2 refused"
    std::string tallyText() const;

private:
    struct View;
    using Clock = std::chrono::steady_clock;

    void forgetOld(const std::vector<PluggedDisk>& plugged);
    void update(std::size_t slot, const std::vector<PluggedDisk>& found);
    bool isSettled(View& view, const std::vector<PluggedDisk>& found);
    void take(std::size_t slot, const std::vector<PluggedDisk>& found);
    void leaveAlone(std::size_t slot, const std::string& reason);
    bool wasThereBefore(const PluggedDisk& plugged) const;
    std::string reasonAgainst(const std::vector<PluggedDisk>& found) const;
    NextJob jobFor(std::size_t slot);
    void finish(std::size_t slot, const Outcome& ended);
    /// @param reason  for programs; may be empty
    void show(std::size_t slot, SlotState state, const std::string& text, const std::string& reason = "");
    MediumIdentity identityOf(std::size_t slot) const;
    void showTally();

    StationCall m_call;
    Descriptor m_mounts;
    DeviceNews m_news;
    CardWatch m_cards;
    std::vector<View> m_views;             ///< of the slots, in their order
    std::set<std::string> m_before;        ///< devices that were there before
    std::set<std::string> m_devicesBefore; ///< others, whose disk was yet to come
    std::deque<std::size_t> m_waiting;     ///< slots whose job has not begun
    std::map<SlotState, std::size_t> m_tally;
    Progress* m_progress = nullptr;
    Clock::time_point m_nextLook;
    Clock::time_point m_nextRefresh = Clock::now();
    bool m_isClosing = false;
};

} // namespace velacreate
