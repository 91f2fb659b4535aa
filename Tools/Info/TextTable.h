// Rows of cells as text, with the columns aligned.
#pragma once

#include <string>
#include <vector>

namespace vx {

class TextTable {
public:
    using Row = std::vector<std::string>;

    // indent: before each row. rightAligned: the columns with numbers, counted from 0.
    explicit TextTable(size_t indent, std::vector<size_t> rightAligned = {})
        : _indent(indent), _rightAligned(std::move(rightAligned))
    {
    }

    // Cells are shown texts; of a row with fewer cells the rest is empty.
    void Add(Row row) { _rows.push_back(std::move(row)); }
    bool IsEmpty() const { return _rows.empty(); }

    // A line for each row, two blanks between columns and none at its end. A column in which
    // nothing but the first row, its heading, has text is left out.
    std::string Text() const;

private:
    size_t WidthOf(size_t column) const;
    bool HasContents(size_t column) const;
    std::string Line(const Row &row, const std::vector<size_t> &widths) const;

    const size_t _indent;
    const std::vector<size_t> _rightAligned;
    std::vector<Row> _rows;
};

}  // namespace vx
