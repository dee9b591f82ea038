#include "trust/mediumList.h"

#include "inputs/names.h"
#include "support/failure.h"

#include <algorithm>
#include <vector>

namespace velacreate {
namespace {
constexpr std::size_t LONGEST_PLACE = 4096; ///< no file system of a medium has a longer path
constexpr const char* BETWEEN = "  ";
constexpr std::size_t PLACE_FIELD = SUM_DIGITS + 2;

/// @return what is wrong with a path; empty when nothing is
std::string problemOf(const std::string& place) {
    const auto parts = partsOf(place);
    const auto leadsElsewhere = [](const std::string& part) {
        return part.empty() || part == "." || part == "..";
    };
    return place.size() > LONGEST_PLACE                              ? "is too long"
           : place.find('\\') != std::string::npos                   ? "names a file with a backslash"
           : holdsControlCharacter(place)                            ? "names a file with a control character"
           : std::any_of(parts.begin(), parts.end(), leadsElsewhere) ? "does not name a file of the medium"
           : isListName(place)                                       ? "names the list or its signature"
                                                                     : "";
}

/// Finds a file in the place of a directory, in sorted paths.
class Nesting {
public:
    /// Whether a path lies below one of the paths before it.
    bool isBelowFile(const std::string& place) {
        const auto isBeginning = [&](const std::string& other) {
            return place.compare(0, other.size(), other) == 0;
        };
        while (!m_beginnings.empty() && !isBeginning(m_beginnings.back())) {
            m_beginnings.pop_back();
        }
        const bool isBelow =
            std::any_of(m_beginnings.begin(), m_beginnings.end(),
                        [&](const std::string& other) { return place[other.size()] == '/'; });
        m_beginnings.push_back(place);
        return isBelow;
    }

private:
    std::vector<std::string> m_beginnings; ///< of the last path, each of the next one
};
} // namespace

bool isListName(const std::string& place) {
    const auto name = inCapitals(place);
    return name == inCapitals(MEDIUM_LIST) || name == inCapitals(MEDIUM_SIGNATURE);
}

std::string mediumListOf(const Sums& sums) {
    std::string list;
    for (const auto& [place, sum] : sums) {
        list += checksumLine(sum, place);
    }
    return list;
}

Sums sumsIn(const std::string& list) {
    Sums sums;
    Nesting nesting;
    std::size_t number = 0;
    for (std::size_t at = 0; at < list.size();) {
        const auto end = list.find('\n', at);
        const auto line = list.substr(at, end - at);
        const auto require = [&, number = ++number](bool isRight, const std::string& problem) {
            if (!isRight) {
                throw Untrusted("line " + std::to_string(number) + " of its list of sums " + problem);
            }
        };
        const auto sum = line.substr(0, SUM_DIGITS);
        require(end != std::string::npos && line.size() > PLACE_FIELD && isSum(sum) &&
                    line.compare(SUM_DIGITS, PLACE_FIELD - SUM_DIGITS, BETWEEN) == 0,
                "is not in the form of sha256sum");
        const auto place = line.substr(PLACE_FIELD);
        const auto problem = problemOf(place);
        require(problem.empty(), problem);
        require(sums.empty() || sums.rbegin()->first < place, "is not in the order of the names");
        require(!nesting.isBelowFile(place), "names something below a file");
        sums.emplace_hint(sums.end(), place, sum);
        at = end + 1;
    }
    return sums;
}

std::size_t sizeOfLine(const std::string& place) {
    return checksumLine(std::string(SUM_DIGITS, '0'), place).size();
}

} // namespace velacreate
