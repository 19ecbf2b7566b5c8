// Copyright (c) 2026 The glissa authors
// SPDX-License-Identifier: MIT
// For tests only, not installed.
#pragma once

#include "corvekit/store/tdf.h"

#include <string>
#include <string_view>

// A document of the field store as text, for streams that are written and read by hand:
//
//     Default: D0.5              a field is its name, a colon and its values
//     Key: T1s D2 'U 'a          T time in seconds or ticks (T-1), D double, I int, ' character
//     Channel: S"a name"         S text, which holds no quotes
//     Post-Extrapolation: {      a block
//         Type: 'M
//     }                          # to the end of the line: a comment

/// False, and the line in pText that is wrong in pError, if the text is none.
bool DocumentFromText(std::string_view pText, KTdf& pTdf, std::string& pError);
/// The same of a file. Ends the program with a message if there is anything wrong with it.
void DocumentFromFile(const std::string& pPath, KTdf& pTdf);
/// The fields one a line, numbers in the shortest form that reads back.
std::string TextOfDocument(KTdf& pTdf);
