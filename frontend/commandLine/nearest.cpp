#include "commandLine/nearest.h"

#include <algorithm>
#include <cstddef>
#include <numeric>

namespace velacreate {
namespace {
std::size_t changesBetween(const std::string& one, const std::string& other) {
    // The changes from the letters so far to each beginning of the other word.
    std::vector<std::size_t> row(other.size() + 1);
    std::iota(row.begin(), row.end(), std::size_t{0});
    for (const char letter : one) {
        std::size_t diagonal = row[0]++;
        for (std::size_t j = 0; j < other.size(); ++j) {
            const std::size_t replaced = diagonal + (letter == other[j] ? 0 : 1);
            diagonal = row[j + 1];
            row[j + 1] = std::min({replaced, row[j] + 1, diagonal + 1});
        }
    }
    return row.back();
}
} // namespace

std::string nearestTo(const std::string& word, const std::vector<std::string>& known) {
    std::string nearest;
    std::size_t fewest = 3;
    for (const auto& candidate : known) {
        if (const auto changes = changesBetween(word, candidate); changes < fewest) {
            fewest = changes;
            nearest = candidate;
        }
    }
    return nearest;
}

} // namespace velacreate
