// Copyright (c) 2026 The glissa authors
// SPDX-License-Identifier: MIT

#include "apps/glissa/text_table.h"

#include "apps/glissa/printable_text.h"

#include <fmt/format.h>

#include <algorithm>
#include <cmath>
#include <utility>

TextTable::TextTable(std::vector<Column> pColumns) : mColumns(std::move(pColumns))
{
    for (Column& each : mColumns) {
        each.leastWidth = std::max(each.leastWidth, CharacterCount(each.title));
    }
}

void TextTable::AddRow(std::vector<std::string> pCells)
{
    pCells.resize(mColumns.size());
    for (std::size_t i = 0; i < pCells.size(); ++i) {
        pCells[i] = PrintableText(pCells[i]);
        mColumns[i].leastWidth = std::max(mColumns[i].leastWidth, CharacterCount(pCells[i]));
    }
    mRows.push_back(std::move(pCells));
}

std::string TextTable::GetText(std::size_t pIndent) const
{
    std::string text;
    const auto addLine = [&](const auto& pCell) {
        text.append(pIndent, ' ');
        for (std::size_t i = 0; i < mColumns.size(); ++i) {
            const std::string& cell = pCell(i);
            const std::string blanks(mColumns[i].leastWidth - CharacterCount(cell), ' ');
            text += i == 0 ? "" : "  ";
            text += mColumns[i].align == Align::left ? cell + blanks : blanks + cell;
        }
        text.erase(text.find_last_not_of(' ') + 1);
        text += '\n';
    };
    addLine([&](std::size_t pColumn) -> const std::string& { return mColumns[pColumn].title; });
    for (const std::vector<std::string>& row : mRows) {
        addLine([&](std::size_t pColumn) -> const std::string& { return row[pColumn]; });
    }
    return text;
}

std::string RoundedText(double pNumber)
{
    constexpr double kDigits = 1e5;
    const double rounded = std::round(pNumber * kDigits) / kDigits + 0.0;
    return std::fabs(rounded) < 1e9 ? fmt::format("{:.5f}", rounded) : fmt::format("{:g}", pNumber);
}
