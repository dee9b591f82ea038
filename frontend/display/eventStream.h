/// @file
/// What programs can read while a call runs: an event on each line, as JSON. docs/events.md describes them.
#pragma once

#include "display/eventFile.h"
#include "display/pace.h"
#include "job/outcome.h"
#include "support/json.h"

#include <chrono>
#include <cstdint>
#include <functional>
#include <map>
#include <optional>
#include <string>
#include <utility>
#include <vector>

namespace velacreate {

/// By what a program recognises a medium; empty where unknown.
struct MediumIdentity {
    std::string name; ///< as in messages, such as "/dev/sdb" or "the image '/x/i.iso'"
    std::string node; ///< of a disk, as the next two
    std::string port;
    std::string serial;
    std::string slot; ///< of a station
};

/// Media are meant by their names. Any other name, such as "the files", means the call as a whole, and so
/// does each name in a call with one medium.
class EventStream {
public:
    EventStream() = default;
    EventStream(const EventStream&) = delete;
    EventStream& operator=(const EventStream&) = delete;

    /// Without this, nothing is written.
    /// @param command such as "iso"
    /// @param isHeld  whether nothing may be written before release(), because the file may be an input
    /// @throw Refusal as EventFile()
    void open(const std::string& path, const std::string& command, bool isHeld);
    void release() { m_isHeld = false; }
    void close() { m_file.reset(); }
    /// Has a function called with each line, too, also without a file.
    void tellAlso(std::function<void(const std::string& line)> listener) { m_listener = std::move(listener); }
    bool isOpen() const { return m_file.has_value() || m_listener; }

    /// For a call with more media than are begun at first.
    void expectSeveral() { m_hasSeveral = true; }

    /// Begins the call, unless it has begun, and makes media known.
    void begin(const std::vector<MediumIdentity>& media);

    /// Begins one of several media, unless it has begun.
    void beginMedium(const std::string& name);

    /// @param expected bytes; 0 when unknown
    void stage(const std::string& name, const std::string& text, std::uint64_t expected);
    void expect(const std::string& name, std::uint64_t bytes);
    /// Tells the progress of the stage, if it was not just told.
    void done(const std::string& name, std::uint64_t bytes);
    void note(const std::string& name, const std::string& text);

    /// A medium ends once. That of a call with one medium ends with the call.
    void endMedium(const std::string& name, const JobResult& result);

    /// The state of a station's slot.
    void slot(const MediumIdentity& medium, const std::string& state, const std::string& reason = "");

    /// Ends the call.
    /// @param reason  of a call that was ended by an exception; else empty
    void end(int status, const std::string& reason);

    /// To be called now and then: tells how many events were lost, as soon as that can be written.
    void tellLost();

private:
    using Clock = std::chrono::steady_clock;

    struct Medium {
        MediumIdentity identity; ///< without a name in a call with one medium
        Pace pace;
        Clock::time_point start;
        std::optional<Clock::time_point> told; ///< its progress
        bool hasBegun = false;
        bool hasEnded = false;
    };

    Medium& named(const std::string& name);
    void begin(Medium& medium);
    void writeEnd(const Medium& medium, const JobResult& result);
    void write(const char* event, const MediumIdentity& identity, const Json& fields);
    std::string lineOf(const char* event, const MediumIdentity& identity, const Json& fields) const;

    std::optional<EventFile> m_file;
    std::function<void(const std::string& line)> m_listener;
    std::string m_command;
    bool m_isHeld = false;
    bool m_hasSeveral = false;
    Medium m_call;
    std::map<std::string, Medium> m_media; ///< of a call with several
    std::map<int, JobResult> m_results;    ///< by the status; what the call's own can be
    std::uint64_t m_lost = 0;
};

} // namespace velacreate
