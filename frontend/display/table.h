/// @file
/// Text in columns.
#pragma once

#include <string>
#include <vector>

namespace velacreate {

/// Columns without any text are left out.
class Table {
public:
    explicit Table(std::vector<std::string> headings);

    /// @param cells one for each heading
    void add(std::vector<std::string> cells);

    /// @param shortened the heading of a column that is cut if the lines have more than 80 columns; may be
    /// empty
    /// @return lines with two blanks between the columns
    std::string text(const std::string& shortened = "") const;

private:
    std::vector<std::string> m_headings;
    std::vector<std::vector<std::string>> m_rows;
};

} // namespace velacreate
