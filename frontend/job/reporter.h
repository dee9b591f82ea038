/// @file
/// Events from a job to its supervisor.
#pragma once

#include <chrono>
#include <cstdint>
#include <optional>
#include <string>

namespace velacreate {

struct Event {
    enum class Kind : char {
        stage = 's',    ///< the job has begun this stage
        expected = 'e', ///< bytes that the stage will take
        done = 'd',     ///< bytes that the stage has done
        failure = 'f',  ///< a message of the library, level 0
        progress = 'p', ///< a message of the library, another level
        changing = 'c', ///< the medium is changed from now on
        burning = 'b',  ///< an interrupt would spoil a disc from now on
        finding = 'i',  ///< a difference of the medium
        note = 'n',     ///< information for the user
        addition = 'a', ///< the result in words ends with it
        sum = 'h',      ///< the SHA-256 sum of a file, a blank, and its place
        right = 'w',    ///< the medium needs nothing
        end = 'x',      ///< there are no more events
        reason = 'r',   ///< why the job fails
    };
    Kind kind;
    std::string text;
};

/// The job's side. Each event is a message of its own on a socket, so that no text can be mistaken for an
/// event.
class Reporter {
public:
    explicit Reporter(int socket) : m_socket(socket) {}

    /// @param bytes that the stage will take; 0 when they are counted from outside
    void stage(const std::string& text, std::uint64_t bytes = 0);

    /// @param bytes done since the last call; they are sent a few times a second
    void advance(std::uint64_t bytes);

    void message(int level, const std::string& text) const;
    void changing() const { send(Event::Kind::changing, ""); }
    void burning() const { send(Event::Kind::burning, ""); }
    void alreadyRight() const { send(Event::Kind::right, ""); }
    void finding(const std::string& text) const { send(Event::Kind::finding, text); }
    void note(const std::string& text) const { send(Event::Kind::note, text); }
    void addition(const std::string& text) const { send(Event::Kind::addition, text); }
    void sum(const std::string& place, const std::string& sum) const {
        send(Event::Kind::sum, sum + " " + place);
    }
    void reason(const std::string& text) const { send(Event::Kind::reason, text); }

    int socket() const { return m_socket; }

private:
    void send(Event::Kind kind, const std::string& text) const;

    int m_socket;
    std::uint64_t m_done = 0;
    std::chrono::steady_clock::time_point m_told;
};

/// The supervisor's side.
/// @return nothing when there is no event now
std::optional<Event> receiveEvent(int socket);

} // namespace velacreate
