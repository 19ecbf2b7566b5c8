// Copyright (c) 2026 The glissa authors
// SPDX-License-Identifier: MIT
#pragma once

#include <nlohmann/json.hpp>

#include <string>
#include <string_view>

/// What a command reports to other programs. Fields keep the order in which they were added. Names
/// of fields are lower case with underscores.
using Json = nlohmann::ordered_json;

/// The report as text: indented by two blanks a level, with a line feed at the end. Text that is
/// not UTF-8 has U+FFFD in place of the wrong bytes.
std::string JsonReportText(const Json& pReport);

/// A number. With pIsSingle it is that of a float and has the digits of the float: 0.1f is 0.1.
/// null for infinities and NaN.
Json JsonNumber(double pNumber, bool pIsSingle);

/// A text between double quotes, as JsonReportText writes it, for output that is too large to be
/// kept as a report. pOnlyAscii  other characters as \\uXXXX.
std::string JsonText(std::string_view pText, bool pOnlyAscii = false);
