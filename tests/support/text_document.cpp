// Copyright (c) 2026 The glissa authors
// SPDX-License-Identifier: MIT

#include "tests/support/text_document.h"

#include <charconv>
#include <cstdio>
#include <cstdlib>
#include <fstream>
#include <iterator>
#include <sstream>

namespace
{
template <class T>
bool Parse(std::string_view pText, T& pNumber)
{
    const char* const end = pText.data() + pText.size();
    const std::from_chars_result result = std::from_chars(pText.data(), end, pNumber);
    return result.ec == std::errc() && result.ptr == end;
}

bool WriteValue(std::string_view pToken, KTdf& pTdf)
{
    const std::string_view rest = pToken.substr(1);
    double number = 0.0;
    std::int64_t ticks = 0;
    int integer = 0;
    switch (pToken[0]) {
    case 'T':
        if (rest.ends_with('s') && Parse(rest.substr(0, rest.size() - 1), number)) {
            return pTdf.FieldWriteT(KTime::FromSeconds(number));
        }
        return Parse(rest, ticks) && pTdf.FieldWriteT(KTime(ticks));
    case 'D':
        return Parse(rest, number) && pTdf.FieldWriteD(number);
    case 'I':
        return Parse(rest, integer) && pTdf.FieldWriteI(integer);
    case '\'':
        return rest.size() == 1 && pTdf.FieldWriteCH(rest[0]);
    case 'S':
        return rest.size() > 1 && rest.front() == '"' && rest.back() == '"' &&
               pTdf.FieldWriteC(std::string(rest.substr(1, rest.size() - 2)).c_str());
    default:
        return false;
    }
}

void AppendNumber(std::string& pText, double pNumber)
{
    char digits[40];
    pText.append(digits, std::to_chars(digits, digits + sizeof digits, pNumber).ptr);
}

void AppendValue(std::string& pText, KTdf& pTdf)
{
    const char type = pTdf.FieldReadGetType();
    pText += ' ';
    pText += type == KTdf::kTypeCharacter ? '\'' : type;
    switch (type) {
    case KTdf::kTypeTime: {
        const KTime time = pTdf.FieldReadT();
        if (time == KTime::FromSeconds(time.GetSecondDouble())) {
            AppendNumber(pText, time.GetSecondDouble());
            pText += 's';
        } else {
            pText += std::to_string(time.Get());
        }
        break;
    }
    case KTdf::kTypeDouble:
        AppendNumber(pText, pTdf.FieldReadD());
        break;
    case KTdf::kTypeInt:
        pText += std::to_string(pTdf.FieldReadI());
        break;
    case KTdf::kTypeCharacter:
        pText += pTdf.FieldReadCH();
        break;
    default:
        pText += '"';
        pText += pTdf.FieldReadC();
        pText += '"';
        break;
    }
}

void AppendFields(std::string& pText, KTdf& pTdf)
{
    pTdf.FieldReadRewind();
    while (pTdf.FieldReadBeginNext()) {
        pText += pTdf.FieldReadGetName().GetBuffer();
        pText += ':';
        while (pTdf.FieldReadGetRemain() > 0) {
            AppendValue(pText, pTdf);
        }
        if (pTdf.FieldReadBlockBegin()) {
            pText += " {\n";
            AppendFields(pText, pTdf);
            pTdf.FieldReadBlockEnd();
            pText += '}';
        }
        pText += '\n';
        pTdf.FieldReadEnd();
    }
    pTdf.FieldReadRewind();
}
}  // namespace

bool DocumentFromText(std::string_view pText, KTdf& pTdf, std::string& pError)
{
    pTdf.Clear();
    bool open = false;  // a field whose block has not begun
    int depth = 0;
    std::istringstream lines{std::string(pText)};
    for (std::string line; std::getline(lines, line);) {
        std::istringstream tokens(line.substr(0, line.find('#')));
        for (std::string token; tokens >> token;) {
            bool good = true;
            if (token.starts_with("S\"") && token.find('"', 2) == std::string::npos) {
                std::string rest;
                std::getline(tokens, rest, '"');
                token += rest + '"';
            }
            if (token.size() > 1 && token.back() == ':') {
                good = (!open || pTdf.FieldWriteEnd()) &&
                       pTdf.FieldWriteBegin(token.substr(0, token.size() - 1).c_str());
                open = true;
            } else if (token == "{") {
                good = pTdf.FieldWriteBlockBegin();
                open = false;
                ++depth;
            } else if (token == "}") {
                good = depth-- > 0 && (!open || pTdf.FieldWriteEnd()) &&
                       pTdf.FieldWriteBlockEnd() && pTdf.FieldWriteEnd();
                open = false;
            } else {
                good = WriteValue(token, pTdf);
            }
            if (!good) {
                pError = line;
                return false;
            }
        }
    }
    return (!open || pTdf.FieldWriteEnd()) && depth == 0;
}

void DocumentFromFile(const std::string& pPath, KTdf& pTdf)
{
    std::ifstream file(pPath, std::ios::binary);
    const std::string text(std::istreambuf_iterator<char>(file), {});
    std::string error = "cannot be read";
    if (!file || text.empty() || !DocumentFromText(text, pTdf, error)) {
        std::fprintf(stderr, "%s: %s\n", pPath.c_str(), error.c_str());
        std::abort();
    }
}

std::string TextOfDocument(KTdf& pTdf)
{
    std::string text;
    AppendFields(text, pTdf);
    return text;
}
