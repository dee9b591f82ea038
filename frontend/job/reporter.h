/// @file
/// What a job tells its supervisor.
#pragma once

#include <chrono>
#include <cstdint>
#include <optional>
#include <string>

namespace velacreate {

struct Event {
    enum class Kind : char {
        stage = 's',    ///< what the job does now
        expected = 'e', ///< how many bytes the stage will take
        done = 'd',     ///< how many it has done
        failure = 'f',  ///< a message of the library's, level 0
        progress = 'p', ///< one of another level
        changing = 'c', ///< from here on, the medium is changed
        burning = 'b',  ///< from here on, an end would spoil a disc
        finding = 'i',  ///< a difference, where it is the difference that was asked for
        note = 'n',     ///< what the user should know, though nothing is wrong
        sum = 'h',      ///< the SHA-256 sum of a file, a blank, and the file's place
        end = 'x',      ///< there will be no further event
        reason = 'r',   ///< why the job fails, in the words of a tool or of velacreate
    };
    Kind kind;
    std::string text;
};

/// The job's side. Each event is a message of its own on a socket, so that none can be mistaken for another.
class Reporter {
public:
    explicit Reporter(int socket) : m_socket(socket) {}

    /// @param bytes  how many the stage will take; 0 when that is told from outside
    void stage(const std::string& text, std::uint64_t bytes = 0);

    /// Bytes of the stage that have been done besides those before. Told on a few times a second.
    void advance(std::uint64_t bytes);

    void message(int level, const std::string& text) const;
    void changing() const { send(Event::Kind::changing, ""); }
    void burning() const { send(Event::Kind::burning, ""); }
    void finding(const std::string& text) const { send(Event::Kind::finding, text); }
    void note(const std::string& text) const { send(Event::Kind::note, text); }
    void sum(const std::string& place, const std::string& sum) const {
        send(Event::Kind::sum, sum + " " + place);
    }
    void reason(const std::string& text) const { send(Event::Kind::reason, text); }

private:
    void send(Event::Kind kind, const std::string& text) const;

    int m_socket;
    std::uint64_t m_done = 0;
    std::chrono::steady_clock::time_point m_told;
};

/// The supervisor's side.
/// @return nothing when there is no event at the moment
std::optional<Event> receiveEvent(int socket);

} // namespace velacreate
