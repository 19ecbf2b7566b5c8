// Copyright (c) 2026 The glissa authors
// SPDX-License-Identifier: MIT
#pragma once

#include <nlohmann/json.hpp>

#include <string>
#include <string_view>

/// A report for other programs. Fields are in the order in which they were added. Their names are
/// in lower case with underscores.
using Json = nlohmann::ordered_json;

/// The report as text: indented by two blanks per level, with a line feed at the end. Bytes that
/// are not UTF-8 are replaced by U+FFFD.
std::string JsonReportText(const Json& pReport);

/// A number; null for infinities and NaN. With pIsSingle it is the value of a float and has the
/// digits of the float: 0.1f is 0.1.
Json JsonNumber(double pNumber, bool pIsSingle);

/// A text in double quotes, as in JsonReportText, for output that is too large for a report.
/// pOnlyAscii  writes other characters as \\uXXXX.
std::string JsonText(std::string_view pText, bool pOnlyAscii = false);
