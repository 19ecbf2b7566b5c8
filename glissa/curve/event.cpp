// Copyright (c) 2026 The glissa authors
// SPDX-License-Identifier: MIT

#include "glissa/curve/event.h"

void GlissaEvent::Add(int pType, int pKey)
{
    mType |= pType;
    ++mEventCount;
    // Once the whole curve (-1) was posted, the next key takes its place as the first.
    if (pKey < mFirstKey || mFirstKey == -1) {
        mFirstKey = pKey;
    }
    if (pKey > mLastKey) {
        mLastKey = pKey;
    }
}

void GlissaEvent::AddDetailedEvent(int pType, int pFirst, int pLast)
{
    mDetailedType |= pType;
    if (pFirst < mDetailedFirst || mDetailedFirst == -1) {
        mDetailedFirst = pFirst;
    }
    if (pLast > mDetailedLast) {
        mDetailedLast = pLast;
    }
}

void GlissaEvent::Clear()
{
    // Field by field: a whole event would be put together in memory first, once for every post.
    mType = 0;
    mFirstKey = -1;
    mLastKey = -1;
    mEventCount = 0;
    mDetailedFirst = -1;
    mDetailedLast = -1;
    mDetailedType = 0;
}
