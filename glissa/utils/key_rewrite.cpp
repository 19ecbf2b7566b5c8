// Copyright (c) 2026 The glissa authors
// SPDX-License-Identifier: MIT

#include "glissa/utils/key_rewrite.h"

#include "glissa/curve/take_keys.h"

#include <algorithm>
#include <bit>
#include <cstdint>
#include <cstring>

namespace
{
bool HasSameBits(float pLeft, float pRight)
{
    return std::bit_cast<std::uint32_t>(pLeft) == std::bit_cast<std::uint32_t>(pRight);
}

// What kGlissaEventOther is refined by, or 0 for equal attributes.
int DifferenceOf(const GlissaKeyAttributes& pOld, const GlissaKeyAttributes& pNew)
{
    if (&pOld == &pNew || std::memcmp(&pOld, &pNew, sizeof(GlissaKeyAttributes)) == 0) {
        return 0;
    }
    const unsigned flags = pOld.mFlags ^ pNew.mFlags;
    int type = kGlissaEventOther | eEventEditSlope;
    type |= (flags & GlissaKeyAttributes::kInterpolationMask) != 0 ? eEventEditInterpolation : 0;
    type |= (flags & GlissaKeyAttributes::kTangentModeMask) != 0 ? eEventEditTangentMode : 0;
    type |= (flags & GlissaKeyAttributes::kWeightModeMask) != 0 ? eEventEditWeight : 0;
    return type;
}
}  // namespace

KeyRewrite::KeyRewrite(Glissa& pCurve, bool pWithKeys) : mCurve(pCurve), mWork(GlissaCreate())
{
    mWork->CopyFrom(pCurve, pWithKeys);
    mWork->SetCallbackForCustomKeyAddEnabled(false);
    mWork->SetCallbackForCustomKeyChangeEnabled(false);
}

void KeyRewrite::Commit()
{
    if (PostDifferences() > 0) {
        TakeKeys(mCurve, *mWork);
    }
    if (!HasSameBits(mCurve.GetValue(), mWork->GetValue())) {
        mCurve.SetValue(mWork->GetValue());
    }
}

// Keys of the same time are the same key. A removed key counts at its old place, or behind the keys
// that were added before it. Gives the number of differences.
int KeyRewrite::PostDifferences()
{
    const int oldCount = mCurve.KeyGetCount();
    const int newCount = mWork->KeyGetCount();
    int differences = 0;
    const auto post = [&](int pType, int pIndex) {
        mCurve.CallbackAddEvent(pType, pIndex);
        ++differences;
    };
    for (int i = 0, k = 0; i < oldCount || k < newCount;) {
        const KPriFCurveKey* const was = i < oldCount ? mCurve.InternalPriKeyGetPtr(i) : nullptr;
        KPriFCurveKey* const is = k < newCount ? mWork->InternalPriKeyGetPtr(k) : nullptr;
        if (!is || (was && was->mTime < is->mTime)) {
            post(kGlissaEventRemoved, std::max(i, k));
            ++i;
        } else if (!was || is->mTime < was->mTime) {
            mCurve.CallKeyAddCallback(is, k);
            post(kGlissaEventAdded, k);
            ++k;
        } else {
            if (!HasSameBits(was->mValue, is->mValue)) {
                post(kGlissaEventValue, k);
            }
            if (const int type = DifferenceOf(*was->mAttribute, *is->mAttribute)) {
                post(type, k);
            }
            ++i;
            ++k;
        }
    }
    return differences;
}
