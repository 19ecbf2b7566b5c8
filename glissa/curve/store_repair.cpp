// Copyright (c) 2026 The glissa authors
// SPDX-License-Identifier: MIT

// Keys of the versions before 4000 say less than a curve needs: the left side of a key was found
// from its neighbours when the curve was drawn. Three passes write down what was found then.

#include "glissa/curve/curve.h"
#include "glissa/curve/slope_rules.h"

namespace
{
// The left slope of a key by its neighbour's tension, continuity and bias: what the key has behind
// that neighbour as long as it is a broken user one.
float LeftSlopeByTcbBefore(const KPriFCurveKey& pBefore, const KPriFCurveKey& pKey,
                           const KPriFCurveKey* pNext)
{
    KPriFCurveKeyAttr broken = *pKey.mAttribute;
    broken.mFlags = eInterpolationCubic | eTangentUserBreak;
    KPriFCurveKey key = pKey;
    key.mAttribute = &broken;
    return LeftSlopeOfKey({&pBefore, &key, pNext}, false, false);
}
}  // namespace

bool Glissa::IsCubicOf(int pIndex, unsigned pKind) const
{
    return IsCubicWith(pIndex, pKind, pKind);
}

// Another kind with the same slots. Weights go back to the default where there were none: a TCB key
// has its bias in their place.
void Glissa::MakeCubic(int pIndex, unsigned pKind)
{
    CORVEKIT_ASSERT(pIndex >= 0 && pIndex < KeyGetCount());
    KeyAttrSeparate(pIndex);
    KPriFCurveKeyAttr& key = *mKeys[pIndex].mAttribute;
    if (key.GetInterpolation() != eInterpolationCubic ||
        key.GetTangeantMode(false) == eTangentTCB) {
        key.ResetWeights();
    }
    key.mFlags = (key.mFlags & ~GlissaKeyAttributes::kInterpolationMask) | eInterpolationCubic;
    key.SetTangeantMode(pKind);
}

// The same with slopes for the two sides that the key holds.
void Glissa::MakeUser(int pIndex, unsigned pKind, float pRight, float pNextLeft)
{
    MakeCubic(pIndex, pKind);
    KPriFCurveKeyAttr& key = *mKeys[pIndex].mAttribute;
    key.mData[eDataRightSlope] = pRight;
    key.mData[eDataNextLeftSlope] = pNextLeft;
}

void Glissa::RepairOldestKeys()
{
    CORVEKIT_ASSERT(KeyGetCount() > 0);
    const int count = KeyGetCount();
    const int last = count - 1;
    MakeCubic(last, eTangentAuto);

    for (int i = last; i >= 1; --i) {
        FollowKeyBefore(i);
    }
    // An automatic key drew a plain tangent wherever the next key was not automatic.
    for (int i = 0; i < last; ++i) {
        if (IsCubicOf(i, eTangentAuto) && !IsCubicOf(i + 1, eTangentAuto)) {
            MakeUser(i, eTangentUser, KeyGetRightDerivative(i), KeyGetRightDerivative(i + 1));
        }
    }
    // A TCB key behind a user one took its left side from that one.
    for (int i = last; i >= 1; --i) {
        if (!IsCubicTCB(i) || !IsCubicUser(i - 1)) {
            continue;
        }
        const float right = KeyGetRightDerivative(i);
        const float nextLeft = i < last && !IsCubicTCB(i + 1)
                                   ? LeftSlopeByTcbBefore(mKeys[i], mKeys[i + 1],
                                                          i + 2 < count ? &mKeys[i + 2] : nullptr)
                                   : KeyGetLeftDerivative(i + 1);
        MakeUser(i, eTangentUserBreak, right, nextLeft);
    }
}

// A key whose left side was the business of the key before it.
void Glissa::FollowKeyBefore(int pIndex)
{
    CORVEKIT_ASSERT(pIndex > 0 && pIndex < KeyGetCount());
    const int last = KeyGetCount() - 1;
    const int before = pIndex - 1;
    if (IsCubicOf(pIndex, eTangentUser)) {
        if (IsCubicTCB(before)) {
            MakeCubic(pIndex, eTangentUserBreak);
        }
        return;
    }
    if (KeyGetInterpolation(pIndex) == eInterpolationLinear) {
        if (IsCubicTCB(before)) {
            const float slope = KeyGetRightDerivative(pIndex);
            MakeUser(pIndex, eTangentUserBreak, slope, slope);
        }
        return;
    }
    if (!IsCubicOf(pIndex, eTangentAuto)) {
        return;
    }
    const float nextLeft = pIndex == last ? 0.0f
                           : pIndex + 1 == last
                               ? static_cast<float>(Secant(mKeys[pIndex], mKeys[last]))
                               : KeyGetRightDerivative(pIndex + 1);
    if (IsCubicUser(before)) {
        MakeUser(pIndex, eTangentUser, Attr(before).mData[eDataNextLeftSlope], nextLeft);
    } else if (KeyGetInterpolation(before) == eInterpolationConstant) {
        MakeUser(pIndex, eTangentUser, 0.0f, nextLeft);
    } else if (IsCubicTCB(before)) {
        MakeCubic(pIndex, eTangentTCB);
        KPriFCurveKeyAttr& key = *mKeys[pIndex].mAttribute;
        for (const int each : {eDataTCBTension, eDataTCBContinuity, eDataTCBBias}) {
            key.mData[each] = Attr(before).mData[each];
        }
        if (pIndex < last) {
            MakeUser(pIndex, eTangentUser, KeyGetLeftDerivative(pIndex), nextLeft);
        }
    }
}
