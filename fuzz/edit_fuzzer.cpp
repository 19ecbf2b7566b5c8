// Copyright (c) 2026 The glissa authors
// SPDX-License-Identifier: MIT

// The input is a script of edits of three curves. tests/support/edit_script.h describes the checks
// of each step.

#include "tests/support/edit_script.h"

#include <cstdio>
#include <cstdlib>

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* pData, std::size_t pSize)
{
    EditScript script{EditChoices(std::span(pData, pSize))};
    while (!script.IsAtEnd()) {
        const std::string faults = script.Step();
        if (!faults.empty()) {
            std::fputs(faults.c_str(), stderr);
            std::abort();
        }
    }
    return 0;
}
