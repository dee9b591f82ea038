#include "display/pace.h"

#include <algorithm>

namespace velacreate {

std::optional<double> Pace::bytesPerSecond() const {
    const std::chrono::duration<double> taken = std::chrono::steady_clock::now() - start;
    return taken.count() > 1 && done != 0 ? std::optional(static_cast<double>(done) / taken.count())
                                          : std::nullopt;
}

std::optional<double> Pace::secondsLeft() const {
    const auto rate = bytesPerSecond();
    return rate && expected != 0
               ? std::optional(static_cast<double>(expected - std::min(done, expected)) / *rate)
               : std::nullopt;
}

} // namespace velacreate
