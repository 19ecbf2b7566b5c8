// Copyright (c) 2026 The glissa authors
// SPDX-License-Identifier: MIT
// Host side, not installed.
#pragma once

#include <cassert>
#include <cstdint>
#include <string>
#include <string_view>

/// What stood where a number was looked for.
enum EScan : int
{
    eScanNumber,
    eScanNotANumber,  ///< nothing, or something else, or a number with something stuck to it
    eScanNotFinite,   ///< infinity or not-a-number, spelled as a word
    eScanTooLarge     ///< beyond the range of a float, which is what a key value can hold
};

/// A cursor over text held by somebody else: words, numbers, lines. Lines end with LF, CR LF or a
/// lone CR. Letters are compared without regard to ASCII case.
class TextScanner
{
public:
    /// A byte order mark at the start is passed over.
    explicit TextScanner(std::string_view pText);

    bool AtEnd() const { return mCursor == mEnd; }
    bool AtLineEnd() const { return AtEnd() || *mCursor == '\n' || *mCursor == '\r'; }
    char Peek() const { return AtEnd() ? '\0' : *mCursor; }
    /// 1 for the first line.
    std::int64_t GetLine() const { return mLine; }
    std::size_t GetRemaining() const { return static_cast<std::size_t>(mEnd - mCursor); }

    /// Passes blanks, but no line end.
    void SkipBlanks()
    {
        while (mCursor != mEnd && IsBlank(*mCursor)) {
            ++mCursor;
        }
    }
    /// Passes blanks and line ends.
    void SkipSpace();
    /// Passes one line end, where the cursor is at one.
    void SkipLineEnd();

    /// Passes a word and answers true, where that word stands at the cursor and ends there.
    bool TakeWord(std::string_view pWord);
    /// Passes a character and answers true, where it stands at the cursor.
    bool TakeChar(char pChar);
    /// Passes everything up to a blank, a line end or a brace.
    std::string_view TakeToken();
    /// Passes the rest of the line up to a brace that opens, and gives it without blanks around.
    std::string_view TakeLabel();
    /// Passes a number that a blank, a line end or a closing brace ends: decimal, with or without
    /// sign ('+' too), digits before the point, digits after it, exponent. Too small for a double
    /// is 0. pValue is written for eScanNumber only; the cursor moves for eScanNumber only.
    EScan TakeNumber(double& pValue);

    /// What stands at the cursor, for a message: quoted, cut short, other than ASCII escaped.
    std::string Quote() const;
    static std::string Quote(std::string_view pText);

    static bool IsBlank(char pChar)
    {
        return pChar == ' ' || pChar == '\t' || pChar == '\v' || pChar == '\f';
    }
    static bool SameText(std::string_view pLeft, std::string_view pRight);

private:
    static bool EndsWord(char pChar)
    {
        return IsBlank(pChar) || pChar == '\n' || pChar == '\r' || pChar == '{' || pChar == '}';
    }

    const char* mCursor;
    const char* mEnd;
    std::int64_t mLine = 1;
};
