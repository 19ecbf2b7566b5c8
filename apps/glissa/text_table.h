// Copyright (c) 2026 The glissa authors
// SPDX-License-Identifier: MIT
#pragma once

#include <string>
#include <vector>

/// A table of text: a line of titles, then a line for each row. Columns have the width of their
/// widest cell and are separated by two blanks.
class TextTable
{
public:
    enum class Align
    {
        left,
        right
    };
    struct Column
    {
        std::string title;
        Align align = Align::left;
        std::size_t leastWidth = 0;  ///< in characters
    };

    explicit TextTable(std::vector<Column> pColumns);

    /// Cells in the order of the columns; missing ones at the end are empty. They are made
    /// printable.
    void AddRow(std::vector<std::string> pCells);

    /// The lines, indented by pIndent blanks, without blanks at their ends.
    std::string GetText(std::size_t pIndent = 0) const;

private:
    std::vector<Column> mColumns;
    std::vector<std::vector<std::string>> mRows;
};

/// A number with five decimals and without a minus sign for zero; from 1e9 on in the form 1.5e+09.
std::string RoundedText(double pNumber);
