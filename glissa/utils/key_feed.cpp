// Copyright (c) 2026 The glissa authors
// SPDX-License-Identifier: MIT

#include "glissa/utils/key_feed.h"

#include "glissa/curve/attribute_count.h"

namespace
{
/// Keys behind the place of work: an edit looks at three of them at most.
constexpr int kAhead = 8;
}  // namespace

int KeyFeed::BringUpTo(KTime pTime)
{
    const int count = mFrom.KeyGetCount();
    for (;;) {
        while (mPlace < mTo.KeyGetCount() && mTo.KeyGetTime(mPlace) < pTime) {
            ++mPlace;
        }
        if (mNext == count || mTo.KeyGetCount() - mPlace >= kAhead) {
            return mPlace;
        }
        Bring();
    }
}

void KeyFeed::BringRest()
{
    while (mNext < mFrom.KeyGetCount()) {
        Bring();
    }
}

// The block of the key is shared.
void KeyFeed::Bring()
{
    const KPriFCurveKey& from = *mFrom.InternalPriKeyGetPtr(mNext++);
    KPriFCurveKey& to = *mTo.InternalPriKeyGetPtr(mTo.KeyAppendFast(from.mTime, 0.0f));
    AddReferences(*from.mAttribute, 1);
    RemoveReferences(*to.mAttribute, 1);
    to.mAttribute = from.mAttribute;
    to.mValue = from.mValue;
}
