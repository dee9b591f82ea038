/// @file
/// The machines on a network, as far as the server tells of them.
#pragma once

#include <cstddef>
#include <map>
#include <optional>
#include <string>
#include <vector>

namespace velacreate {

class Machines {
public:
    /// Something that happened to a machine.
    struct News {
        std::size_t machine;
        std::string text; ///< a line that tells of it
    };

    /// Takes a line of the server's log. What a stranger may have put into it, such as the name of a file
    /// that is not there, is not taken for a word of the server's.
    /// @return nothing when it has no news
    std::optional<News> take(const std::string& line);

    std::size_t count() const { return m_machines.size(); }

    /// A line with all that is known of one.
    std::string text(std::size_t machine) const;

    /// Whether it has had the archive, which is all that it wants.
    bool isServed(std::size_t machine) const { return !m_machines.at(machine).archived.empty(); }

    /// Such as "4 machines were served, 4 had the archive".
    std::string total() const;

private:
    struct Machine {
        std::string hardware; ///< its hardware address; empty when the server has not named it
        std::string address;
        std::vector<std::string> files;
        std::string archived; ///< when it had the archive
        bool isTurnedAway = false;
    };

    std::optional<News> takeLease(const std::vector<std::string>& words);
    std::optional<News> takeFile(const std::string& text, const std::string& time);
    std::optional<std::size_t> byHardware(const std::string& hardware);
    std::optional<std::size_t> byAddress(const std::string& address);
    std::optional<std::size_t> add(const Machine& machine);
    std::string nameOf(std::size_t machine) const;

    std::vector<Machine> m_machines;
    std::map<std::string, std::size_t> m_byHardware;
    std::map<std::string, std::size_t> m_byAddress;
};

} // namespace velacreate
