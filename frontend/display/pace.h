/// @file
/// How far a stage is.
#pragma once

#include <chrono>
#include <cstdint>
#include <optional>

namespace velacreate {

struct Pace {
    std::uint64_t expected = 0; ///< bytes; 0 when unknown
    std::uint64_t done = 0;     ///< bytes
    std::chrono::steady_clock::time_point start = std::chrono::steady_clock::now();

    /// @return nothing in the first second, and while nothing is done
    std::optional<double> bytesPerSecond() const;

    /// @return nothing while there is no rate, and when the end is unknown
    std::optional<double> secondsLeft() const;
};

} // namespace velacreate
