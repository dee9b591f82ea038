/// @file
/// The machines that the server has told of.
#pragma once

#include <cstddef>
#include <map>
#include <optional>
#include <string>
#include <vector>

namespace velacreate {

class Machines {
public:
    /// A change of a machine's state.
    struct News {
        std::size_t machine;
        std::string text; ///< to be shown
    };

    /// Reads a line of the server's log. Names that a machine has sent are not taken for the server's words.
    /// @return nothing when nothing has changed
    std::optional<News> take(const std::string& line);

    std::size_t count() const { return m_machines.size(); }

    /// A line with all that is known of a machine.
    std::string text(std::size_t machine) const;

    /// Whether it has got the archive, the last file.
    bool isServed(std::size_t machine) const { return !m_machines.at(machine).archived.empty(); }

    /// Such as "4 machines were served, 4 had the archive".
    std::string total() const;

private:
    struct Machine {
        std::string hardware; ///< empty when unknown
        std::string address;
        std::vector<std::string> files;
        std::string archived; ///< time of day when it had got the archive; else empty
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
