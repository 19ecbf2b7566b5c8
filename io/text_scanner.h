// Copyright (c) 2026 The glissa authors
// SPDX-License-Identifier: MIT
// Host side, not installed.
#pragma once

#include <cassert>
#include <cstdint>
#include <string>
#include <string_view>

/// Result of TakeNumber.
enum EScan : int
{
    eScanNumber,
    eScanNotANumber,  ///< no number, or one with other characters attached
    eScanNotFinite,   ///< "inf" or "nan"
    eScanTooLarge     ///< beyond the range of a float, the type of key values
};

/// A cursor that reads words, numbers and lines from a text that it does not own. Lines end with
/// LF, CR LF or CR. Words are compared without regard to the case of ASCII letters.
class TextScanner
{
public:
    /// Skips a byte order mark at the start.
    explicit TextScanner(std::string_view pText);

    bool AtEnd() const { return mCursor == mEnd; }
    bool AtLineEnd() const { return AtEnd() || *mCursor == '\n' || *mCursor == '\r'; }
    char Peek() const { return AtEnd() ? '\0' : *mCursor; }
    /// 1 for the first line.
    std::int64_t GetLine() const { return mLine; }
    std::size_t GetRemaining() const { return static_cast<std::size_t>(mEnd - mCursor); }

    /// Skips blanks, but no line end.
    void SkipBlanks()
    {
        while (mCursor != mEnd && IsBlank(*mCursor)) {
            ++mCursor;
        }
    }
    /// Skips blanks and line ends.
    void SkipSpace();
    /// Skips one line end if the cursor is at one.
    void SkipLineEnd();

    /// Reads this word, if it is the next one.
    bool TakeWord(std::string_view pWord);
    /// Reads this character, if it is the next one.
    bool TakeChar(char pChar);
    /// Reads up to a blank, a line end or a brace.
    std::string_view TakeToken();
    /// Reads the rest of the line up to an opening brace, without the blanks at both ends.
    std::string_view TakeLabel();
    /// Reads a decimal number that ends at a blank, a line end or a brace. A sign ('+' too), digits
    /// on either side of the point and an exponent are optional. A number too small for a double is
    /// 0. Only for eScanNumber is pValue set and the cursor moved.
    EScan TakeNumber(double& pValue);

    /// The next word for a message: quoted, shortened, with escapes for all but printable ASCII.
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
