#include "job/stagePauses.h"

#include <mediaRules.h>

#include <ctime>
#include <iostream>
#include <sstream>
#include <utility>

namespace {
bool pauseIsDue = false; // after a stage line; it is left out
} // namespace

/// Replaces the C library's function for the library, since the executable's symbols come first.
extern "C" __attribute__((visibility("default"))) unsigned int sleep(unsigned int seconds) {
    if (std::exchange(pauseIsDue, false)) {
        return 0;
    }
    timespec left{};
    left.tv_sec = static_cast<std::time_t>(seconds);
    return nanosleep(&left, &left) == 0 ? 0 : static_cast<unsigned int>(left.tv_sec);
}

namespace velacreate {
namespace {
/// Replaces standard output for the library, which flushes each stage line at once.
class StageLines : public std::stringbuf {
public:
    StageLines(std::function<void(const std::string&)> announce, bool keepPauses)
        : m_announce(std::move(announce)), m_keepPauses(keepPauses) {}

private:
    int sync() override {
        const std::string line = str();
        str("");
        const auto end = line.rfind(VelaCreation::STAGE_LINE_END);
        if (end != std::string::npos) { // C++ flushes the stream at the process's end, too
            const auto start = std::string(VelaCreation::STAGE_LINE_START).size();
            m_announce(line.substr(start, end - start));
            pauseIsDue = !m_keepPauses;
        }
        return 0;
    }

    std::function<void(const std::string&)> m_announce;
    bool m_keepPauses;
};
} // namespace

void watchStages(const std::function<void(const std::string& stage)>& announce, bool keepPauses) {
    static StageLines lines(announce, keepPauses); // lives as long as the stream
    std::cout.rdbuf(&lines);
}

} // namespace velacreate
