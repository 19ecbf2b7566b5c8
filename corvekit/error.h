// Copyright (c) 2026 The glissa authors
// SPDX-License-Identifier: MIT
#pragma once

#include "corvekit/export.h"
#include "corvekit/string.h"

#include <cstdint>

/// The last error of an object: an id, a text, and where bytes were read, the place among them.
///
/// Keeps the error until the next one; a success does not clear it. A copy copies the error.
class CORVEKIT_API KError
{
public:
    /// The id before any error, and after Clear.
    static constexpr int kNone = -1;

    KError() = default;
    /// pTable   the texts by id, not copied: it lives as long as the object. Entries may be null.
    /// pCount   how many entries it has.
    KError(const char* const* pTable, int pCount);

    /// Keeps an id with the text of the place that failed. Null takes the text of the table.
    /// pOffset is the byte offset of a read that failed, -1 where there is none.
    void SetLastError(int pId, const char* pText, std::int64_t pOffset = -1);
    /// Keeps an id with the text of the table, which is empty for an id without an entry.
    void SetLastErrorID(int pId);
    /// Back to no error.
    void Clear();

    int GetLastErrorID() const { return mId; }
    /// Never null; valid until the error changes.
    const char* GetLastErrorString() const { return mText.c_str(); }
    std::int64_t GetLastErrorOffset() const { return mOffset; }

private:
    const char* const* mTable = nullptr;
    int mCount = 0;
    int mId = kNone;
    std::int64_t mOffset = -1;
    KString mText;
};
