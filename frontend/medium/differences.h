/// @file
/// The differences of a medium.
#pragma once

#include "medium/contents.h"

#include <map>
#include <set>
#include <string>
#include <vector>

namespace velacreate {

/// The differences of a medium. A directory that differs as a whole has one line, if it is added before what
/// is in it. What a medium claims to hold cannot fill the memory: only a hundred lines about it are kept.
class Differences {
public:
    void addMissing(const std::string& place, const Part& part);
    void addDiffering(const std::string& place, const Part& part);
    void addTwice(const std::string& place);
    void addUnexpected(const std::string& place);
    /// Adds a fault in the form of a medium, which names its place.
    void addForm(const std::string& line);

    /// How many there are.
    std::size_t count() const { return m_form.size() + m_lines.size() + m_uncounted; }

    /// Whether all that is there is expected, in the expected form.
    bool isFormRight() const { return m_form.empty() && m_strange == 0; }

    /// @return at most a hundred: first faults in the form, as they were found, then in order of the places
    std::vector<std::string> lines() const;

private:
    void addWhole(const std::string& place, const std::string& line);
    void addStrange(const std::string& place, const std::string& line);

    std::vector<std::string> m_form;
    std::map<std::string, std::string> m_lines;
    std::set<std::string> m_whole;
    std::size_t m_strange = 0;   ///< lines about what is not expected
    std::size_t m_uncounted = 0; ///< without a line
};

} // namespace velacreate
