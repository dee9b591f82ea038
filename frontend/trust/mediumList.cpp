#include "trust/mediumList.h"

#include "inputs/names.h"

namespace velacreate {

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

std::size_t sizeOfLine(const std::string& place) {
    return checksumLine(std::string(SUM_DIGITS, '0'), place).size();
}

} // namespace velacreate
