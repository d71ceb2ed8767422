// SPDX-License-Identifier: Apache-2.0
// A table for people: aligned columns, empty ones left out.
#pragma once

#include "terminal/Terminal.h"

#include <string>
#include <vector>

namespace Tool
{

class Table
{
public:
    enum class Align { kLeft, kRight };

    struct Column {
        std::string title;
        Align align = Align::kLeft;
        bool optional = false; ///< left out when no row has something in it
        std::size_t gap = 2;   ///< blanks before it
    };

    struct Cell {
        std::string text; ///< made printable by the table; empty: shown as "-", or as nothing under an empty title
        Colour colour = Colour::kNone;
    };

    explicit Table(std::vector<Column> columns) : columns_(std::move(columns)) {}

    /// As many cells as there are columns.
    void add(std::vector<Cell> row);
    /// The whole table, titles (if any) first, one line per row, without blanks at the ends of lines.
    std::string text(bool withColour) const;

private:
    std::vector<std::size_t> widths() const;

    std::vector<Column> columns_;
    std::vector<std::vector<Cell>> rows_;
};

} // namespace Tool
