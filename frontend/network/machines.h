/// @file
/// The machines that the servers have told of.
#pragma once

#include "network/imageDelivery.h"
#include "network/machineNames.h"
#include "network/stoppedMachines.h"

#include <chrono>
#include <cstddef>
#include <functional>
#include <map>
#include <optional>
#include <string>
#include <utility>
#include <vector>

namespace velacreate {

class Machines {
public:
    using Time = std::chrono::steady_clock::time_point;
    /// @return a hardware address; empty when it is unknown
    using FindHardware = std::function<std::string(Address address)>;

    /// A change of a machine's state.
    struct News {
        std::size_t machine;
        std::string text; ///< to be shown
    };

    Machines(ServedSizes served, MachineNames names, FindHardware findHardware);

    /// Reads a line of the boot server's log. Names that a machine has sent are not taken for the server's
    /// words.
    /// @return nothing when nothing has changed
    std::optional<News> take(const std::string& line, Time now);

    /// @param time  of day
    /// @return nothing when only the percentage has changed
    std::optional<News> take(const ImageDelivery::News& news, const std::string& time, Time now);

    /// @return the address that the last line gave to another machine than before
    std::optional<Address> takeReassigned() { return std::exchange(m_reassigned, {}); }

    /// @return the machines that have stopped since the last call
    std::vector<News> takeStopped(Time now);

    std::size_t count() const { return m_machines.size(); }

    /// A line with all that is known of a machine.
    std::string text(std::size_t machine) const;

    /// The same for a table: without the names of the files when it has ended.
    std::string shortText(std::size_t machine) const;

    /// Of its line: those that have stopped first, then those that have got least of the image or have no
    /// image, then those that have never fetched anything.
    unsigned rank(std::size_t machine) const;

    bool hadItAll(std::size_t machine) const { return !m_machines.at(machine).finished.empty(); }

    /// Such as "4 machines asked, 4 fetched something, 3 had it all, 1 has stopped".
    std::string total() const;

private:
    struct Machine {
        std::string hardware; ///< empty when unknown
        std::string address = {};
        StartWay way = StartWay::unknown;
        bool hasOffer = true;
        std::vector<std::string> files = {};  ///< in the order of their last arrival
        std::optional<unsigned> percent = {}; ///< of the image
        std::string failedFile = {};          ///< that did not arrive
        std::string finished = {};            ///< time of day when it had it all; else empty
        bool gotNoAddress = false;
        bool hasStopped = false;
        Time lastNews = {};
    };
    /// What the log tells of one packet, in several lines.
    struct Packet {
        std::string number;
        const ClientArchitecture* architecture = nullptr; ///< null when unknown
        std::optional<std::size_t> machine = {};
        bool isInquiry = false; ///< the machine only claims to have its address
    };

    std::optional<News> takeLease(std::vector<std::string> words, Time now);
    std::optional<News> takeTags(const std::vector<std::string>& words, Time now);
    std::optional<News> takeFile(const std::string& text, const std::string& time, Time now);
    std::optional<News> ifChanged(std::size_t machine, const std::string& before) const;
    std::optional<std::size_t> byHardware(const std::string& hardware);
    std::optional<std::size_t> byAddress(const std::string& address);
    std::optional<std::size_t> add(const Machine& machine);
    void takeArchitecture(Machine& machine, Time now) const;
    static void noteActivity(Machine& machine, Time now);
    std::string whyNothingComes(const Machine& machine) const;
    std::string nameOf(std::size_t machine) const;
    std::string endingOf(const Machine& machine) const;
    BootProgress progressOf(const Machine& machine) const;

    const ServedSizes m_served;
    const MachineNames m_names;
    const FindHardware m_findHardware;
    Packet m_packet;
    std::vector<Machine> m_machines;
    std::map<std::string, std::size_t> m_byHardware;
    std::map<std::string, std::size_t> m_byAddress;
    std::size_t m_replaced = 0; ///< the last one that gave way to another
    std::optional<Address> m_reassigned;
};

} // namespace velacreate
