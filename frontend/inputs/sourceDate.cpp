#include "inputs/sourceDate.h"

#include "support/failure.h"

#include <algorithm>
#include <cstdint>
#include <cstdlib>
#include <string>

namespace velacreate {
namespace {
// A zip archive can hold times from 1980 to 2107. The range of an image is larger.
constexpr std::uint64_t EARLIEST = 315532800;
constexpr std::uint64_t LATEST = 4354819198;

bool isSourceDate(const std::string& text) {
    const auto isDigit = [](char character) { return character >= '0' && character <= '9'; };
    const bool isNumber = !text.empty() && text.size() <= std::to_string(LATEST).size() &&
                          text.front() != '0' && std::all_of(text.begin(), text.end(), isDigit);
    return isNumber && std::stoull(text) >= EARLIEST && std::stoull(text) <= LATEST;
}

const char* sourceDate() {
    return std::getenv(SOURCE_DATE); // NOLINT(concurrency-mt-unsafe): no setenv()
}
} // namespace

void requireSourceDate() {
    const char* const date = sourceDate();
    if (date != nullptr && !isSourceDate(date)) {
        throw Refusal(SOURCE_DATE + (" is " + quote(date)) + ", and no number of seconds from " +
                      std::to_string(EARLIEST) + " (the year 1980) to " + std::to_string(LATEST) + " (2107)");
    }
}

std::time_t timeOfFiles() {
    const char* const date = sourceDate();
    return date != nullptr ? static_cast<std::time_t>(std::stoull(date)) : std::time(nullptr);
}

} // namespace velacreate
