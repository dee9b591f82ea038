/// @file
/// The differences of a medium.
#pragma once

#include "medium/contents.h"

#include <map>
#include <set>
#include <string>
#include <vector>

namespace velacreate {

/// A line for each difference, by place. A directory that differs as a whole has one line, if it is added
/// before what is in it.
class Differences {
public:
    void addMissing(const std::string& place, const Part& part);
    void addDiffering(const std::string& place, const Part& part);
    void addUnreadable(const std::string& place, const Part& part, const std::string& problem);
    void addTwice(const std::string& place);
    void addUnexpected(const std::string& place);

    /// @return in order of the places
    std::vector<std::string> lines() const;

private:
    void addWhole(const std::string& place, const std::string& line);

    std::map<std::string, std::string> m_lines;
    std::set<std::string> m_whole;
};

} // namespace velacreate
