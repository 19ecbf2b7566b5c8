// Copyright (c) 2026 The glissa authors
// SPDX-License-Identifier: MIT

#include "corvekit/error.h"

#include "corvekit/assert.h"

KError::KError(const char* const* pTable, int pCount) : mTable(pTable), mCount(pTable ? pCount : 0)
{
    CORVEKIT_ASSERT(pCount >= 0 && (pTable || pCount == 0));
}

void KError::SetLastError(int pId, const char* pText, std::int64_t pOffset)
{
    CORVEKIT_ASSERT(pOffset >= -1);
    const bool listed = pId >= 0 && pId < mCount;
    // The new text is made first, as the caller may pass GetLastErrorString.
    mText = KString(pText ? pText : listed ? mTable[pId] : nullptr);
    mId = pId;
    mOffset = pOffset;
}

void KError::SetLastErrorID(int pId)
{
    SetLastError(pId, nullptr);
}

void KError::Clear()
{
    mId = kNone;
    mOffset = -1;
    mText.Clear();
}
