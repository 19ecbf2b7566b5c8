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

/// Order of two texts without regard to case: negative, 0 or positive. Only ASCII letters are
/// folded, so the order is the same in every locale and for every encoding. Null reads as "".
CORVEKIT_API int KCompareNoCase(const char* pLeft, const char* pRight);
/// The same for texts that may hold zero bytes.
CORVEKIT_API int KCompareNoCase(std::string_view pLeft, std::string_view pRight);

/// 64-bit FNV-1a of a run of bytes (Fowler, Noll and Vo): from the offset basis
/// 0xCBF29CE484222325, each byte is exclusive-ored in and the sum multiplied by 0x100000001B3.
constexpr std::uint64_t KHash64(std::string_view pBytes)
{
    std::uint64_t hash = 0xCBF29CE484222325u;
    for (const char each : pBytes) {
        hash = (hash ^ static_cast<unsigned char>(each)) * 0x100000001B3u;
    }
    return hash;
}

/// Text that its holder owns. Holds any bytes, zero bytes too; what GetBuffer gives is closed by a
/// zero byte. Compared byte by byte, bytes taken as unsigned.
class CORVEKIT_API KString
{
public:
    /// What the searches give when there is nothing to find.
    static constexpr std::size_t kNotFound = std::string_view::npos;

    KString() = default;
    /// A copy of a text closed by a zero byte; null gives the empty text.
    KString(const char* pText) : mText(pText ? pText : "") {}
    /// A copy of pLength bytes; pText may be null when pLength is 0.
    KString(const char* pText, std::size_t pLength) : KString(std::string_view(pText, pLength))
    {
        CORVEKIT_ASSERT(pText || pLength == 0);
    }
    explicit KString(std::string_view pText) : mText(pText) {}

    /// The bytes, closed by a zero byte, valid until the text changes. Never null.
    const char* GetBuffer() const { return mText.c_str(); }
    const char* c_str() const { return mText.c_str(); }
    std::string_view GetView() const { return mText; }
    /// Bytes, without the closing one.
    std::size_t GetLength() const { return mText.size(); }
    bool IsEmpty() const { return mText.empty(); }
    void Clear() { mText.clear(); }

    /// Negative, 0 or positive.
    int Compare(const KString& pOther) const { return mText.compare(pOther.mText); }
    /// As Compare, ASCII letters folded.
    int CompareNoCase(const KString& pOther) const
    {
        return KCompareNoCase(GetView(), pOther.GetView());
    }

    /// First place at or behind pFrom where pText stands, or kNotFound.
    std::size_t Find(std::string_view pText, std::size_t pFrom = 0) const
    {
        return mText.find(pText, pFrom);
    }
    /// Last place where pText stands, or kNotFound.
    std::size_t FindLast(std::string_view pText) const { return mText.rfind(pText); }
    /// Up to pLength bytes from pFrom on; what lies beyond the end is left out.
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
