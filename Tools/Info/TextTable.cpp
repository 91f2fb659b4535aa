#include "TextTable.h"

#include "TerminalText.h"

#include <algorithm>

namespace vx {
namespace {

const std::string &CellOf(const TextTable::Row &row, size_t column)
{
    static const std::string none;
    return column < row.size() ? row[column] : none;
}

}  // namespace

std::string TextTable::Text() const
{
    size_t columns = 0;
    for (const Row &row : _rows)
        columns = std::max(columns, row.size());
    std::vector<size_t> widths(columns);
    for (size_t column = 0; column < columns; ++column)
        widths[column] = HasContents(column) ? WidthOf(column) : 0;
    std::string text;
    for (const Row &row : _rows)
        text += Line(row, widths);
    return text;
}

size_t TextTable::WidthOf(size_t column) const
{
    size_t width = 0;
    for (const Row &row : _rows)
        width = std::max(width, ColumnsOf(CellOf(row, column)));
    return width;
}

bool TextTable::HasContents(size_t column) const
{
    if (_rows.size() == 1)
        return true;
    return std::any_of(_rows.begin() + 1, _rows.end(),
                       [column](const Row &row) { return !CellOf(row, column).empty(); });
}

std::string TextTable::Line(const Row &row, const std::vector<size_t> &widths) const
{
    std::string line;
    for (size_t column = 0; column < widths.size(); ++column) {
        if (widths[column] == 0)
            continue;
        const std::string &cell = CellOf(row, column);
        const std::string blanks(widths[column] - ColumnsOf(cell), ' ');
        const bool isRight =
            std::find(_rightAligned.begin(), _rightAligned.end(), column) != _rightAligned.end();
        line += (line.empty() ? std::string(_indent, ' ') : "  ") +
                (isRight ? blanks + cell : cell + blanks);
    }
    return line.substr(0, line.find_last_not_of(' ') + 1) + "\n";
}

}  // namespace vx
