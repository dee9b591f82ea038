/// @file
/// The slots of a station, and the file that names them.
#pragma once

#include <cstddef>
#include <map>
#include <optional>
#include <string>
#include <vector>

namespace velacreate {

/// A place for one stick.
struct Slot {
    std::string name;
    std::vector<std::string> ports; ///< such as "3-1.2"
};

/// @return the slot's line in the file, such as "1 = usb 3-1.2, usb 2-1.2 @ pci0000:00/0000:00:14.0"
std::string lineOf(const Slot& slot);

/// @return such as "usb 3-1.2, usb 2-1.2"
std::string portsText(const Slot& slot);

class Slots {
public:
    Slots() = default;

    /// Reads the file.
    /// @throw Refusal when a line is wrong or does not fit this machine, or when there is no slot
    explicit Slots(const std::string& path);

    /// @throw Refusal when a name is wrong or used, or a port is used
    void add(const Slot& slot);

    const std::vector<Slot>& all() const { return m_slots; }
    std::vector<std::string> names() const;

    /// @return the number of the slot with this port or its peer, at the controller that it had at first
    std::optional<std::size_t> slotOf(const std::string& port) const;

private:
    std::optional<std::size_t> slotNaming(const std::string& port) const;

    std::vector<Slot> m_slots;
    std::map<std::string, std::string> m_controllers; ///< of the ports; a bus can get another one
};

} // namespace velacreate
