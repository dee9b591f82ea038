#include "network/confinedProgram.h"

#include "job/childProcess.h"
#include "network/nobody.h"
#include "network/systemCalls.h"
#include "support/failure.h"
#include "support/programs.h"

#include <algorithm>
#include <chrono>
#include <csignal>
#include <cstdlib>
#include <ctime>

#include <poll.h>
#include <sys/resource.h>
#include <unistd.h>

namespace velacreate {
namespace {
constexpr std::size_t LONGEST_OUTPUT = 4096;
constexpr std::chrono::milliseconds LONGEST(20000);
constexpr unsigned FEW_DESCRIPTORS = 64;

/// The time zone now, with no need for a file about it, such as "UTC-05:30:00" for a place east of Greenwich.
std::string timeZone() {
    const std::time_t now = std::time(nullptr);
    std::tm local{};
    localtime_r(&now, &local);
    const auto seconds = std::abs(local.tm_gmtoff);
    return (local.tm_gmtoff < 0 ? "UTC+" : "UTC-") + std::to_string(seconds / 3600) + ":" +
           std::to_string(seconds / 60 % 60) + ":" + std::to_string(seconds % 60);
}

/// Its messages are read, so they must be in English, with the time of this place.
void setEnvironment() {
    const auto zone = timeZone();
    check(setenv("LC_ALL", "C", 1) == 0 &&    // NOLINT(concurrency-mt-unsafe)
          setenv("TZ", zone.c_str(), 1) == 0) // NOLINT(concurrency-mt-unsafe)
        .orFail("no language and no time zone for the server");
}

/// Without the right to raise the limit, as many as there may be.
void allowDescriptors(rlim_t wanted) {
    rlimit limit{wanted, wanted};
    if (setrlimit(RLIMIT_NOFILE, &limit) == 0) {
        return;
    }
    check(getrlimit(RLIMIT_NOFILE, &limit) == 0).orFail("the limit of open files");
    limit.rlim_cur = std::min(wanted, limit.rlim_max);
    check(setrlimit(RLIMIT_NOFILE, &limit) == 0).orFail("the limit of open files");
}
} // namespace

void becomeConfined(const std::vector<std::string>& command, const ServerRoot& root,
                    const std::vector<unsigned>& capabilities, unsigned descriptors) {
    const auto arguments = argumentsOf(command);
    setEnvironment();
    allowDescriptors(descriptors);
    root.enter();
    becomeNobody(capabilities);
    dieWithSupervisor();
    forbidSystemCalls();
    execv(arguments[0], arguments.data());
    throw Failure(SystemError().about(quote(command.front()) + " cannot be started"));
}

std::string outputOfConfined(const std::string& program, const std::vector<std::string>& arguments,
                             const Descriptor& file, const Descriptor& scratch) {
    const std::string place = "/file";
    std::vector<std::string> command = {program};
    command.insert(command.end(), arguments.begin(), arguments.end());
    command.push_back(place);
    const ChildProcess process(scratch.number(), [&](Reporter& /*reporter*/) -> int {
        const ServerRoot root;
        root.addProgram(program);
        root.addCopy(file, place);
        becomeConfined(command, root, {}, FEW_DESCRIPTORS);
    });
    pollfd ending{process.ending(), POLLIN, 0};
    if (poll(&ending, 1, static_cast<int>(LONGEST.count())) <= 0) {
        process.signal(SIGKILL);
    }
    std::string output(LONGEST_OUTPUT, '\0');
    const bool hasSucceeded = process.reap() == 0;
    const auto size = read(process.output(), output.data(), output.size());
    output.resize(hasSucceeded && size > 0 ? static_cast<std::size_t>(size) : 0);
    return output;
}

} // namespace velacreate
