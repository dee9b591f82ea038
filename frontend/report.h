/// @file
/// The last line of a job.
#ifndef VELACREATE_REPORT_H
#define VELACREATE_REPORT_H

#include <chrono>
#include <cstdint>
#include <string>

namespace velacreate {

/// Says how a job ended that begins now.
class Report {
public:
    /// @return the status, for the command to return
    int end(int status, const std::string& whatWasMade) const;

private:
    std::chrono::steady_clock::time_point m_start = std::chrono::steady_clock::now();
};

/// @return a size in bytes with a unit, in multiples of 1,024
std::string sizeText(std::uintmax_t bytes);

} // namespace velacreate

#endif
