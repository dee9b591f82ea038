/// @file
/// Rows of text in columns.
#pragma once

#include <string>
#include <vector>

namespace velacreate {

/// A column in which every cell is empty is left out, with its heading.
class Table {
public:
    explicit Table(std::vector<std::string> headings);

    /// @param cells  one for each heading; what would upset a terminal is shown as "?"
    void add(std::vector<std::string> cells);

    /// @return a line for the headings and one for each row, two blanks between columns
    std::string text() const;

private:
    std::vector<std::string> m_headings;
    std::vector<std::vector<std::string>> m_rows;
};

} // namespace velacreate
