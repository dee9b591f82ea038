#include "network/neighbours.h"

#include <fstream>

namespace velacreate {

std::string hardwareAddressOf(Address address, const std::string& port) {
    constexpr const char* UNKNOWN = "00:00:00:00:00:00";
    std::ifstream table("/proc/net/arp");
    std::string line;
    std::getline(table, line); // the headings
    std::string own;
    std::string type;
    std::string flags;
    std::string hardware;
    std::string mask;
    std::string device;
    while (table >> own >> type >> flags >> hardware >> mask >> device) {
        if (own == addressText(address) && device == port && hardware != UNKNOWN) {
            return hardware;
        }
    }
    return "";
}

} // namespace velacreate
