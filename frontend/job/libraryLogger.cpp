#include "job/libraryLogger.h"

#include "support/exitStatus.h"

#include <mediaRules.h>

#include <algorithm>
#include <array>
#include <cctype>
#include <cstdint>
#include <fstream>
#include <sstream>

#include <sys/statvfs.h>

namespace velacreate {
namespace {
bool looksLikeFailure(std::string line) {
    std::transform(line.begin(), line.end(), line.begin(),
                   [](unsigned char byte) { return std::tolower(byte); });
    const std::array<const char*, 9> marks = {"error", "fail",      "cannot",    "no space", "denied",
                                              "sorry", "not found", "read-only", "no medium"};
    return line.find("warning") == std::string::npos &&
           std::any_of(marks.begin(), marks.end(),
                       [&](const char* mark) { return line.find(mark) != std::string::npos; });
}

/// Without free space, a tool's own message could not be captured.
bool isFull() {
    constexpr std::uint64_t HARDLY_ANY = 64U << 10U;
    struct statvfs about {};
    return statvfs(".", &about) == 0 && about.f_bavail * about.f_frsize < HARDLY_ANY;
}
} // namespace

std::string reasonIn(const std::string& said) {
    std::istringstream lines(said);
    std::string last;
    for (std::string line; std::getline(lines, line);) {
        line.erase(0, line.find_first_not_of(" \t\r"));
        line.erase(line.find_last_not_of(" \t\r") + 1);
        if (looksLikeFailure(line)) {
            return line;
        }
        if (!line.empty()) {
            last = line;
        }
    }
    return last;
}

int reportToolError(int result, const Reporter& reporter) {
    // When a file is missing, no tool has run.
    if (result != 0 && result != EXIT_UNFINISHED && result != VelaCreation::VELAERROR_FILE_OR_DIR_NOT_FOUND &&
        result != VelaCreation::VELAERROR_NO_UPDATE_FILES) {
        std::ostringstream said;
        said << std::ifstream(VelaCreation::CAPTURE_FILE).rdbuf();
        if (const auto reason = reasonIn(said.str()); !reason.empty()) {
            reporter.reason(reason);
        } else if (isFull()) {
            reporter.reason("no space is left in the job directory");
        }
    }
    return result;
}

} // namespace velacreate
