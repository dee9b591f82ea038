#include "station/ports.h"

#include "disks/sysfs.h"

#include <filesystem>
#include <regex>

namespace velacreate {

namespace fs = std::filesystem;

namespace {
const fs::path DEVICES = "/sys/bus/usb/devices";
const std::string PORT = "-port";

/// @return such as "usb3"
std::string busOf(const std::string& port) {
    return "usb" + port.substr(0, port.find('-'));
}

/// A port as its hub names it.
struct PortOfHub {
    std::string hub; ///< such as "3-1", or "usb3" for that of the bus itself
    std::string number;
};

PortOfHub portOfHub(const std::string& port) {
    const auto end = port.find_last_of("-.");
    return {port[end] == '-' ? busOf(port) : port.substr(0, end), port.substr(end + 1)};
}

/// @param name  such as "3-1-port2" or "usb3-port1"
std::string portNamed(const std::string& name) {
    const auto end = name.rfind(PORT);
    if (end == std::string::npos) {
        return "";
    }
    const auto hub = name.substr(0, end);
    const bool isBus = hub.rfind("usb", 0) == 0;
    return (isBus ? hub.substr(3) + "-" : hub + ".") + name.substr(end + PORT.size());
}
} // namespace

bool isPortName(const std::string& text) {
    static const std::regex name("[1-9][0-9]{0,4}-[1-9][0-9]{0,2}(\\.[1-9][0-9]{0,2}){0,6}");
    return std::regex_match(text, name);
}

std::string portText(const std::string& port) {
    return "usb " + port;
}

std::string controllerOf(const std::string& port) {
    std::error_code error;
    const auto bus = fs::canonical(DEVICES / busOf(port), error);
    return error ? "" : bus.parent_path().lexically_relative("/sys/devices").string();
}

bool isOnMachine(const std::string& port) {
    const auto first = port.substr(port.find('-') + 1);
    const auto ports = attribute(DEVICES / busOf(port) / "maxchild");
    return !ports.empty() && std::stoul(first) <= std::stoul(ports);
}

std::string peerOf(const std::string& port) {
    const auto [hub, number] = portOfHub(port);
    for (const auto& interface : entriesOf(DEVICES / hub)) {
        std::error_code error;
        const auto peer = fs::canonical(interface / (hub + PORT + number) / "peer", error);
        if (!error) {
            return portNamed(peer.filename());
        }
    }
    return "";
}

} // namespace velacreate
