// SPDX-License-Identifier: Apache-2.0
// Measures the columns, and writes the lines.
#include "terminal/Table.h"

#include <algorithm>
#include <string_view>

namespace Tool
{

namespace
{

/// Builds one line; blanks are written only when something follows them.
class Line
{
public:
    void put(std::string_view text, const std::string& shown, const Table::Column& column, std::size_t width)
    {
        const std::size_t padding = width - columnsOf(text);
        blanks_ += started_ ? column.gap : 0;
        if (column.align == Table::Align::kRight)
            blanks_ += padding;
        if (!text.empty()) {
            line_.append(blanks_, ' ');
            line_ += shown;
            blanks_ = 0;
        }
        if (column.align == Table::Align::kLeft)
            blanks_ += padding;
        started_ = true;
    }
    std::string take() { return std::move(line_) + '\n'; }

private:
    std::string line_;
    std::size_t blanks_ = 0;
    bool started_ = false;
};

} // namespace

void Table::add(std::vector<Cell> row)
{
    row.resize(columns_.size());
    for (Cell& cell : row)
        cell.text = printable(cell.text);
    rows_.push_back(std::move(row));
}

std::vector<std::size_t> Table::widths() const
{
    std::vector<std::size_t> result(columns_.size());
    for (std::size_t i = 0; i < columns_.size(); ++i) {
        for (const auto& row : rows_)
            result[i] = std::max(result[i], columnsOf(row[i].text));
        if (result[i] > 0 || !columns_[i].optional)
            result[i] = std::max(result[i], columnsOf(columns_[i].title));
    }
    return result;
}

std::string Table::text(bool withColour) const
{
    const std::vector<std::size_t> width = widths();
    Line titles;
    for (std::size_t i = 0; i < columns_.size(); ++i) {
        if (width[i] > 0)
            titles.put(columns_[i].title, columns_[i].title, columns_[i], width[i]);
    }
    std::string result = titles.take();
    if (result == "\n") // no titles at all
        result.clear();
    for (const auto& row : rows_) {
        Line line;
        for (std::size_t i = 0; i < columns_.size(); ++i) {
            if (width[i] == 0)
                continue;
            const bool missing = row[i].text.empty() && !columns_[i].title.empty();
            const std::string shown = missing ? "-" : row[i].text;
            line.put(shown, coloured(shown, withColour ? row[i].colour : Colour::kNone), columns_[i], width[i]);
        }
        result += line.take();
    }
    return result;
}

} // namespace Tool
