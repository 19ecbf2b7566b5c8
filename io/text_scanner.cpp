// Copyright (c) 2026 The glissa authors
// SPDX-License-Identifier: MIT

#include "io/text_scanner.h"

#include <algorithm>
#include <cfloat>
#include <charconv>
#include <cmath>

namespace
{
constexpr std::size_t kLongestQuote = 40;

char Lower(char pChar)
{
    return pChar >= 'A' && pChar <= 'Z' ? static_cast<char>(pChar - 'A' + 'a') : pChar;
}

bool IsDigit(char pChar)
{
    return pChar >= '0' && pChar <= '9';
}

// Whether a decimal outside the range of double is too small, not too large: the place of its first
// digit that is not 0, plus the exponent, is negative.
bool IsTooSmall(std::string_view pNumber)
{
    std::int64_t place = 0;
    bool isFraction = false;
    bool found = false;
    std::size_t i = 0;
    for (; i < pNumber.size() && Lower(pNumber[i]) != 'e'; ++i) {
        if (pNumber[i] == '.') {
            isFraction = true;
        } else if (IsDigit(pNumber[i])) {
            found = found || pNumber[i] != '0';
            if (isFraction && !found) {
                --place;
            } else if (!isFraction && found) {
                ++place;
            }
        }
    }
    std::int64_t exponent = 0;
    const bool isNegative = i + 1 < pNumber.size() && pNumber[i + 1] == '-';
    for (++i; i < pNumber.size(); ++i) {
        if (IsDigit(pNumber[i])) {
            // The limit is far beyond the length of any text, so the sign of the sum is right.
            exponent = std::min<std::int64_t>(exponent * 10 + (pNumber[i] - '0'), 1LL << 40);
        }
    }
    return place + (isNegative ? -exponent : exponent) < 0;
}
}  // namespace

TextScanner::TextScanner(std::string_view pText)
    : mCursor(pText.data()), mEnd(pText.data() + pText.size())
{
    if (pText.substr(0, 3) == "\xEF\xBB\xBF") {
        mCursor += 3;
    }
}

void TextScanner::SkipSpace()
{
    for (;;) {
        SkipBlanks();
        if (AtEnd() || !AtLineEnd()) {
            return;
        }
        SkipLineEnd();
    }
}

void TextScanner::SkipLineEnd()
{
    if (AtEnd() || !AtLineEnd()) {
        return;
    }
    if (*mCursor == '\r' && mEnd - mCursor > 1 && mCursor[1] == '\n') {
        ++mCursor;
    }
    ++mCursor;
    ++mLine;
}

bool TextScanner::TakeWord(std::string_view pWord)
{
    const std::size_t length = pWord.size();
    if (GetRemaining() < length || !SameText(std::string_view(mCursor, length), pWord)) {
        return false;
    }
    // "Frames:" is the word and a colon, "FramesPerSecond" is another word.
    if (GetRemaining() > length && mCursor[length] != ':' && !EndsWord(mCursor[length])) {
        return false;
    }
    mCursor += length;
    return true;
}

bool TextScanner::TakeChar(char pChar)
{
    if (AtEnd() || *mCursor != pChar) {
        return false;
    }
    ++mCursor;
    return true;
}

std::string_view TextScanner::TakeToken()
{
    const char* const start = mCursor;
    mCursor = std::find_if(mCursor, mEnd, EndsWord);
    return {start, static_cast<std::size_t>(mCursor - start)};
}

std::string_view TextScanner::TakeLabel()
{
    SkipBlanks();
    const char* const start = mCursor;
    while (!AtLineEnd() && *mCursor != '{') {
        ++mCursor;
    }
    const char* last = mCursor;
    while (last != start && IsBlank(last[-1])) {
        --last;
    }
    return {start, static_cast<std::size_t>(last - start)};
}

EScan TextScanner::TakeNumber(double& pValue)
{
    const char* start = mCursor;
    if (start != mEnd && *start == '+') {
        ++start;
        if (start != mEnd && *start == '-') {
            return eScanNotANumber;
        }
    }
    double value = 0.0;
    const auto [stop, error] = std::from_chars(start, mEnd, value, std::chars_format::general);
    if (error == std::errc::invalid_argument || (stop != mEnd && !EndsWord(*stop))) {
        return eScanNotANumber;
    }
    // "inf" and "nan(...)" end with a letter or a bracket, a number with a digit or the point.
    if (!IsDigit(stop[-1]) && stop[-1] != '.') {
        return eScanNotFinite;
    }
    if (error == std::errc::result_out_of_range) {
        if (!IsTooSmall({start, static_cast<std::size_t>(stop - start)})) {
            return eScanTooLarge;
        }
        value = 0.0;
    }
    // The negation also refuses an infinity that resulted from digits.
    if (!(std::fabs(value) <= static_cast<double>(FLT_MAX))) {
        return eScanTooLarge;
    }
    pValue = value;
    mCursor = stop;
    return eScanNumber;
}

std::string TextScanner::Quote() const
{
    if (AtEnd()) {
        return "the end of the file";
    }
    if (AtLineEnd()) {
        return "the end of the line";
    }
    TextScanner ahead(*this);
    const std::string_view token = ahead.TakeToken();
    return Quote(token.empty() ? std::string_view(mCursor, 1) : token);
}

std::string TextScanner::Quote(std::string_view pText)
{
    constexpr char kHex[] = "0123456789ABCDEF";
    std::string quoted = "'";
    for (const char each : pText.substr(0, kLongestQuote)) {
        const auto byte = static_cast<unsigned char>(each);
        if (byte >= 0x20 && byte < 0x7F) {
            quoted += each;
        } else {
            quoted += {'\\', 'x', kHex[byte >> 4], kHex[byte & 15]};
        }
    }
    return quoted + (pText.size() > kLongestQuote ? "...'" : "'");
}

bool TextScanner::SameText(std::string_view pLeft, std::string_view pRight)
{
    return pLeft.size() == pRight.size() &&
           std::equal(pLeft.begin(), pLeft.end(), pRight.begin(),
                      [](char pA, char pB) { return Lower(pA) == Lower(pB); });
}
