#include "keyDescription.h"

#include "mediaRules.h"

#include <locale>
#include <sstream>

namespace VelaCreation {

std::string sizeText(std::uint32_t sectors) {
    struct Unit {
        std::uint32_t sectors;
        const char* name;
    };
    static constexpr Unit UNITS[] = {{SECTORS_PER_GIB, "GB"}, {0x800, "MB"}, {2, "KB"}};

    for (const Unit& unit : UNITS) {
        if (sectors > unit.sectors) {
            std::ostringstream text;
            text.imbue(std::locale::classic());
            text.precision(4);
            text << static_cast<double>(sectors) / unit.sectors << unit.name;
            return text.str();
        }
    }
    return std::to_string(sectors * SECTOR_SIZE) + "B";
}

std::string deviceName(std::string devicePath) {
    if (!devicePath.empty() && devicePath.back() == '/') {
        devicePath.pop_back();
    }
    return devicePath.substr(devicePath.rfind('/') + 1);
}

bool namesHost(const std::string& line, const std::string& hostNumber) {
    const std::string prefix = "scsi";
    const auto found = line.find(prefix);
    if (found == std::string::npos) {
        return false;
    }
    const auto start = found + prefix.size();
    return line.substr(start, line.find(' ', start) - start) == hostNumber;
}

std::string column(const std::string& line, std::string::size_type start, std::string::size_type width) {
    return start < line.size() ? line.substr(start, width) : std::string();
}

} // namespace VelaCreation
