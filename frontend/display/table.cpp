#include "display/table.h"

#include "support/failure.h"
#include "support/utf8.h"

#include <algorithm>

namespace velacreate {

namespace {

/// In characters; the text is printable.
std::size_t lengthOf(const std::string& text) {
    return decoded(text)->size();
}

} // namespace

Table::Table(std::vector<std::string> headings) : m_rows{std::move(headings)} {}

void Table::add(std::vector<std::string> cells) {
    std::transform(cells.begin(), cells.end(), cells.begin(), printable);
    cells.resize(m_rows.front().size());
    m_rows.push_back(std::move(cells));
}

std::string Table::text() const {
    std::vector<std::size_t> widths;
    for (std::size_t column = 0; column < m_rows.front().size(); ++column) {
        widths.push_back(widthOf(column));
    }
    std::string text;
    for (const auto& row : m_rows) {
        std::string line;
        for (std::size_t column = 0; column < row.size(); ++column) {
            if (widths[column] != 0) {
                line += row[column] + std::string(widths[column] - lengthOf(row[column]) + 2, ' ');
            }
        }
        text += line.substr(0, line.find_last_not_of(' ') + 1) + "\n";
    }
    return text;
}

std::size_t Table::widthOf(std::size_t column) const {
    std::size_t width = 0;
    for (auto row = m_rows.begin() + 1; row != m_rows.end(); ++row) {
        width = std::max(width, lengthOf((*row)[column]));
    }
    return width == 0 ? 0 : std::max(width, lengthOf(m_rows.front()[column]));
}

} // namespace velacreate
