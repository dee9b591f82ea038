/// @file
/// What the reading back of a medium finds.
#pragma once

#include "medium/contents.h"

#include <map>
#include <set>
#include <string>
#include <vector>

namespace velacreate {

/// A line for each difference, by the place on the medium. Of a directory that is missing or too much as a
/// whole, what is in it has no line of its own, provided that it is told of later.
class Differences {
public:
    void addMissing(const std::string& place, const Part& part);
    void addDiffering(const std::string& place, const Part& part);
    void addUnreadable(const std::string& place, const Part& part, const std::string& problem);
    void addTwice(const std::string& place);
    void addUnexpected(const std::string& place);

    /// @return in the order of the places
    std::vector<std::string> lines() const;

private:
    void addWhole(const std::string& place, const std::string& line);

    std::map<std::string, std::string> m_lines;
    std::set<std::string> m_whole;
};

} // namespace velacreate
