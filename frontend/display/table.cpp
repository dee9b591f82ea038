#include "display/table.h"

#include "support/failure.h"
#include "support/utf8.h"

#include <algorithm>
#include <cstdlib>
#include <memory>

#include <libsmartcols.h>

namespace velacreate {
namespace {
constexpr std::size_t WIDTH = 80;

using Layout = std::unique_ptr<libscols_table, decltype(&scols_unref_table)>;

void require(bool isDone) {
    if (!isDone) {
        throw Failure("a table cannot be laid out");
    }
}

std::string printed(const Layout& layout) {
    char* data = nullptr;
    require(scols_print_table_to_string(layout.get(), &data) == 0);
    const std::unique_ptr<char, decltype(&std::free)> owner(data, std::free);
    return data;
}
} // namespace

Table::Table(std::vector<std::string> headings) : m_headings(std::move(headings)) {}

void Table::add(std::vector<std::string> cells) {
    std::transform(cells.begin(), cells.end(), cells.begin(), printable);
    cells.resize(m_headings.size());
    m_rows.push_back(std::move(cells));
}

std::string Table::text(const std::string& shortened) const {
    const Utf8Locale locale; // in which the width of characters is known
    const Layout layout(scols_new_table(), scols_unref_table);
    require(layout && scols_table_set_column_separator(layout.get(), "  ") == 0 &&
            scols_table_enable_minout(layout.get(), 1) == 0 &&     // no blanks at the end of a line
            scols_table_enable_noencoding(layout.get(), 1) == 0 && // the cells are printable already
            scols_table_set_termforce(layout.get(), shortened.empty() ? SCOLS_TERMFORCE_NEVER
                                                                      : SCOLS_TERMFORCE_ALWAYS) == 0 &&
            scols_table_set_termwidth(layout.get(), WIDTH) == 0);
    std::vector<std::size_t> columns;
    for (std::size_t column = 0; column < m_headings.size(); ++column) {
        if (std::any_of(m_rows.begin(), m_rows.end(),
                        [&](const auto& row) { return !row[column].empty(); })) {
            const auto& heading = m_headings[column];
            require(scols_table_new_column(layout.get(), heading.c_str(), 0,
                                           heading == shortened ? SCOLS_FL_TRUNC : 0) != nullptr);
            columns.push_back(column);
        }
    }
    for (const auto& row : m_rows) {
        auto* const line = scols_table_new_line(layout.get(), nullptr);
        require(line != nullptr);
        for (std::size_t at = 0; at < columns.size(); ++at) {
            require(scols_line_set_data(line, at, row[columns[at]].c_str()) == 0);
        }
    }
    return printed(layout) + "\n";
}

} // namespace velacreate
