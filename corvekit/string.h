// Copyright (c) 2026 The glissa authors
// SPDX-License-Identifier: MIT
#pragma once

#include "corvekit/assert.h"
#include "corvekit/export.h"

#include <compare>
#include <cstddef>
#include <cstdint>
#include <string>
#include <string_view>

/// Compares two strings without regard to case: negative, 0 or positive. Only ASCII letters are
/// folded, so the result does not depend on locale or encoding. Null is read as "".
CORVEKIT_API int KCompareNoCase(const char* pLeft, const char* pRight);
/// The same for strings that may contain zero bytes.
CORVEKIT_API int KCompareNoCase(std::string_view pLeft, std::string_view pRight);

/// The 64-bit FNV-1a hash (Fowler, Noll and Vo): starting from the offset basis 0xCBF29CE484222325,
/// each byte is combined by exclusive or and the result multiplied by 0x100000001B3.
constexpr std::uint64_t KHash64(std::string_view pBytes)
{
    std::uint64_t hash = 0xCBF29CE484222325u;
    for (const char each : pBytes) {
        hash = (hash ^ static_cast<unsigned char>(each)) * 0x100000001B3u;
    }
    return hash;
}

/// A string of any bytes, zero bytes included. The result of GetBuffer ends with a zero byte.
/// Strings are compared byte by byte, as unsigned bytes.
class CORVEKIT_API KString
{
public:
    /// The result of a search without a match.
    static constexpr std::size_t kNotFound = std::string_view::npos;

    KString() = default;
    /// A copy of a zero-terminated string; null is the empty string.
    KString(const char* pText) : mText(pText ? pText : "") {}
    /// A copy of pLength bytes; pText may be null when pLength is 0.
    KString(const char* pText, std::size_t pLength) : KString(std::string_view(pText, pLength))
    {
        CORVEKIT_ASSERT(pText || pLength == 0);
    }
    explicit KString(std::string_view pText) : mText(pText) {}

    /// The bytes with a zero byte at the end, valid until the string changes. Never null.
    const char* GetBuffer() const { return mText.c_str(); }
    const char* c_str() const { return mText.c_str(); }
    std::string_view GetView() const { return mText; }
    /// Number of bytes, without the final zero byte.
    std::size_t GetLength() const { return mText.size(); }
    bool IsEmpty() const { return mText.empty(); }
    void Clear() { mText.clear(); }

    /// Negative, 0 or positive.
    int Compare(const KString& pOther) const { return mText.compare(pOther.mText); }
    /// The same without regard to the case of ASCII letters.
    int CompareNoCase(const KString& pOther) const
    {
        return KCompareNoCase(GetView(), pOther.GetView());
    }

    /// First position of pText from pFrom on, or kNotFound.
    std::size_t Find(std::string_view pText, std::size_t pFrom = 0) const
    {
        return mText.find(pText, pFrom);
    }
    /// Last position of pText, or kNotFound.
    std::size_t FindLast(std::string_view pText) const { return mText.rfind(pText); }
    /// Up to pLength bytes from pFrom on; fewer at the end of the string.
    KString Substring(std::size_t pFrom, std::size_t pLength = kNotFound) const
    {
        return KString(pFrom < mText.size() ? GetView().substr(pFrom, pLength)
                                            : std::string_view());
    }
    /// KHash64 of the bytes.
    std::uint64_t GetHash() const { return KHash64(mText); }

    KString& operator+=(const KString& pOther)
    {
        mText += pOther.mText;
        return *this;
    }
    friend KString operator+(KString pLeft, const KString& pRight) { return pLeft += pRight; }

    friend bool operator==(const KString&, const KString&) = default;
    friend auto operator<=>(const KString&, const KString&) = default;
    friend bool operator==(const KString& pLeft, const char* pRight)
    {
        return pLeft.GetView() == (pRight ? pRight : "");
    }

private:
    std::string mText;
};
