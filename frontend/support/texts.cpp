#include "support/texts.h"

#include <array>
#include <cmath>
#include <cstddef>
#include <ctime>
#include <iomanip>
#include <limits>
#include <regex>
#include <sstream>

namespace velacreate {
namespace {
std::string formatted(const std::tm& time, const char* format) {
    std::ostringstream text;
    text << std::put_time(&time, format);
    return text.str();
}
} // namespace

std::string counted(std::uint64_t count, const std::string& what) {
    return std::to_string(count) + " " + what + (count == 1 ? "" : "s");
}

std::string sizeText(std::uint64_t bytes) {
    constexpr std::array<const char*, 6> UNITS = {" KiB", " MiB", " GiB", " TiB", " PiB", " EiB"};
    constexpr double STEP = 1024;
    constexpr double LARGEST = STEP - 0.05; // larger counts would be rounded to the next unit
    if (bytes < 1024) {
        return counted(bytes, "byte");
    }
    double count = static_cast<double>(bytes) / STEP;
    std::size_t unit = 0;
    for (; count >= LARGEST && unit + 1 < UNITS.size(); ++unit) {
        count /= STEP;
    }
    const auto tenths = std::lround(count * 10);
    return std::to_string(tenths / 10) + "." + std::to_string(tenths % 10) + UNITS[unit];
}

std::optional<std::uint64_t> sizeIn(const std::string& text) {
    static const std::regex form("([0-9]{1,15}) ?(([KMGT])(i?B)?|B?)", std::regex::icase);
    std::smatch parts;
    if (!std::regex_match(text, parts, form)) {
        return std::nullopt;
    }
    std::uint64_t size = std::stoull(parts[1]);
    const std::uint64_t step = parts[4].length() == 1 ? 1000 : 1024;
    const std::string units = "kmgt";
    const auto unit = parts[3].matched ? units.find(static_cast<char>(parts[3].str()[0] | 0x20)) + 1 : 0;
    for (std::size_t times = 0; times < unit; ++times) {
        if (size > std::numeric_limits<std::uint64_t>::max() / step) {
            return std::nullopt;
        }
        size *= step;
    }
    return size;
}

std::string rateText(double bytesPerSecond) {
    std::ostringstream text;
    const double megabytes = bytesPerSecond / 1e6;
    text << std::fixed << std::setprecision(megabytes < 10 ? 1 : 0) << megabytes << " MB/s";
    return text.str();
}

std::string durationText(double seconds) {
    const auto whole = std::lround(seconds);
    return (whole < 60 ? "" : std::to_string(whole / 60) + " min ") + std::to_string(whole % 60) + " s";
}

std::string remainingText(double seconds) {
    const auto whole = std::lround(seconds);
    std::ostringstream text;
    text << whole / 60 << ':' << std::setw(2) << std::setfill('0') << whole % 60;
    return text.str();
}

std::string localTimeText() {
    const std::time_t now = std::time(nullptr);
    std::tm local{};
    localtime_r(&now, &local);
    return formatted(local, "%F %T");
}

std::string universalTimeText() {
    const std::time_t now = std::time(nullptr);
    std::tm universal{};
    gmtime_r(&now, &universal);
    return formatted(universal, "%FT%TZ");
}

bool isPlain(const std::string& text, const std::string& others) {
    const std::string plain = "abcdefghijklmnopqrstuvwxyzABCDEFGHIJKLMNOPQRSTUVWXYZ0123456789" + others;
    return text.find_first_not_of(plain) == std::string::npos;
}

} // namespace velacreate
