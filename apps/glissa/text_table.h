// Copyright (c) 2026 The glissa authors
// SPDX-License-Identifier: MIT
#pragma once

#include <string>
#include <vector>

/// A table for a terminal: a line of titles, then a line for each row. Columns are as wide as their
/// widest cell and two blanks apart.
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

    /// Cells in the order of the columns; those that are missing at the end are empty. They are
    /// made printable.
    void AddRow(std::vector<std::string> pCells);

    /// The lines, each behind pIndent blanks, with a line feed at its end and without blanks before
    /// it.
    std::string GetText(std::size_t pIndent = 0) const;

private:
    std::vector<Column> mColumns;
    std::vector<std::vector<std::string>> mRows;
};

/// A number for a reader: five digits after the point and no minus before a zero; from 1e9 on in
/// the form 1.5e+09.
std::string RoundedText(double pNumber);
