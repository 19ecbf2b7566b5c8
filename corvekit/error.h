// Copyright (c) 2026 The glissa authors
// SPDX-License-Identifier: MIT
#pragma once

#include "corvekit/export.h"
#include "corvekit/string.h"

#include <cstdint>

/// The last error of an object: an id, a text, and for a reader the byte offset.
///
/// An error is kept until the next one; a success does not clear it. A copy has the same error.
class CORVEKIT_API KError
{
public:
    /// The id without an error, initially and after Clear.
    static constexpr int kNone = -1;

    KError() = default;
    /// pTable   the texts by id, not copied: it must outlive the object. Entries may be null.
    /// pCount   number of its entries.
    KError(const char* const* pTable, int pCount);

    /// Sets an id and a text. Null uses the text of the table.
    /// pOffset is the byte offset of an error of a reader, otherwise -1.
    void SetLastError(int pId, const char* pText, std::int64_t pOffset = -1);
    /// Sets an id with the text of the table, which is empty for an id without an entry.
    void SetLastErrorID(int pId);
    /// Removes the error.
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
