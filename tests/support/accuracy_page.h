// Copyright (c) 2026 The glissa authors
// SPDX-License-Identifier: MIT
// For tests only, not installed.
#pragma once

#include <fstream>
#include <string>

/// The rows of the tables of docs/accuracy.md without their headings: those of the part about
/// elementary functions, or those of the parts about curves before it.
inline std::string AccuracyRows(bool pOfElementaryFunctions)
{
    std::ifstream file(GLISSA_SOURCE_DIR "/docs/accuracy.md");
    std::string rows;
    std::string last;
    bool isElementary = false;
    bool isBehindHeading = false;
    for (std::string line; std::getline(file, line);) {
        isElementary = isElementary || line == "## Elementary functions";
        isBehindHeading = line.starts_with("|") && (isBehindHeading || last.starts_with("|---"));
        if (isBehindHeading && isElementary == pOfElementaryFunctions) {
            rows += line + "\n";
        }
        last = line;
    }
    return rows;
}
