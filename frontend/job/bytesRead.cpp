#include "job/bytesRead.h"

#include <fstream>
#include <string>

namespace velacreate {

// The count of a process includes that of the child processes that have ended.
std::uint64_t bytesReadBy(pid_t process) {
    const auto number = std::to_string(process);
    const auto directory = "/proc/" + number;
    std::string label;
    std::uint64_t bytes = 0;
    std::ifstream(directory + "/io") >> label >> bytes;
    std::ifstream children(directory + "/task/" + number + "/children");
    for (pid_t child = 0; children >> child;) {
        bytes += bytesReadBy(child);
    }
    return bytes;
}

} // namespace velacreate
