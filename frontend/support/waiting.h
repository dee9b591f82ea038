/// @file
/// Waiting for something that nobody announces.
#pragma once

#include <chrono>
#include <thread>

namespace velacreate {

/// @return whether a condition became true in time
template <typename Condition>
bool becomesTrue(std::chrono::milliseconds time, const Condition& condition) {
    const auto end = std::chrono::steady_clock::now() + time;
    while (!condition()) {
        if (std::chrono::steady_clock::now() > end) {
            return false;
        }
        std::this_thread::sleep_for(std::chrono::milliseconds(50));
    }
    return true;
}

} // namespace velacreate
