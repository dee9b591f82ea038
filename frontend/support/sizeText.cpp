#include "support/sizeText.h"

#include <array>
#include <cmath>
#include <cstddef>

namespace velacreate {

std::string sizeText(std::uint64_t bytes) {
    constexpr std::array<const char*, 6> UNITS = {" KiB", " MiB", " GiB", " TiB", " PiB", " EiB"};
    constexpr double STEP = 1024;
    constexpr double LARGEST = STEP - 0.05; // which would be rounded to the next unit
    if (bytes < 1024) {
        return std::to_string(bytes) + (bytes == 1 ? " byte" : " bytes");
    }
    double count = static_cast<double>(bytes) / STEP;
    std::size_t unit = 0;
    for (; count >= LARGEST && unit + 1 < UNITS.size(); ++unit) {
        count /= STEP;
    }
    const auto tenths = std::lround(count * 10);
    return std::to_string(tenths / 10) + "." + std::to_string(tenths % 10) + UNITS[unit];
}

} // namespace velacreate
