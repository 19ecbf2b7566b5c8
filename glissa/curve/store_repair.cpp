// Copyright (c) 2026 The glissa authors
// SPDX-License-Identifier: MIT

// Keys of the versions before 4000 store less than a curve needs: the left side of a key was
// computed from its neighbours when the curve was drawn. Three passes store what was computed then.

#include "glissa/curve/key_kind.h"
#include "glissa/curve/slope_rules.h"
#include "glissa/curve/store.h"

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
// Another kind with the same slots. Weights go back to the default where there were none: a TCB key
// has its bias in their place.
void MakeCubic(Glissa& pCurve, int pIndex, unsigned pKind)
{
    pCurve.KeyAttrSeparate(pIndex);
    KPriFCurveKeyAttr& key = *pCurve.InternalPriKeyAttrGetPtr(pIndex);
    if (!IsCubic(key) || IsCubicTcb(key)) {
        key.ResetWeights();
    }
    key.mFlags = (key.mFlags & ~GlissaKeyAttributes::kInterpolationMask) | eInterpolationCubic;
    key.SetTangeantMode(pKind);
}

// The same with slopes for the two sides that the key holds.
void MakeUser(Glissa& pCurve, int pIndex, unsigned pKind, float pRight, float pNextLeft)
{
    MakeCubic(pCurve, pIndex, pKind);
    KPriFCurveKeyAttr& key = *pCurve.InternalPriKeyAttrGetPtr(pIndex);
    key.mData[eDataRightSlope] = pRight;
    key.mData[eDataNextLeftSlope] = pNextLeft;
}

// A key whose left side the key before it decided.
void FollowKeyBefore(Glissa& pCurve, int pIndex)
{
    CORVEKIT_ASSERT(pIndex > 0 && pIndex < pCurve.KeyGetCount());
    const KeyList& keys = pCurve.Keys();
    const int last = keys.Count() - 1;
    const int before = pIndex - 1;
    if (IsCubicWith(pCurve, pIndex, eTangentUser)) {
        if (IsCubicTcb(pCurve, before)) {
            MakeCubic(pCurve, pIndex, eTangentUserBreak);
        }
        return;
    }
    if (pCurve.KeyGetInterpolation(pIndex) == eInterpolationLinear) {
        if (IsCubicTcb(pCurve, before)) {
            const float slope = pCurve.KeyGetRightDerivative(pIndex);
            MakeUser(pCurve, pIndex, eTangentUserBreak, slope, slope);
        }
        return;
    }
    if (!IsCubicWith(pCurve, pIndex, eTangentAuto)) {
        return;
    }
    const float nextLeft = pIndex == last ? 0.0f
                           : pIndex + 1 == last
                               ? static_cast<float>(Secant(keys[pIndex], keys[last]))
                               : pCurve.KeyGetRightDerivative(pIndex + 1);
    if (IsCubicUser(pCurve, before)) {
        MakeUser(pCurve, pIndex, eTangentUser,
                 pCurve.InternalPriKeyAttrGetPtr(before)->mData[eDataNextLeftSlope], nextLeft);
    } else if (pCurve.KeyGetInterpolation(before) == eInterpolationConstant) {
        MakeUser(pCurve, pIndex, eTangentUser, 0.0f, nextLeft);
    } else if (IsCubicTcb(pCurve, before)) {
        MakeCubic(pCurve, pIndex, eTangentTCB);
        KPriFCurveKeyAttr& key = *pCurve.InternalPriKeyAttrGetPtr(pIndex);
        for (const int each : {eDataTCBTension, eDataTCBContinuity, eDataTCBBias}) {
            key.mData[each] = pCurve.InternalPriKeyAttrGetPtr(before)->mData[each];
        }
        if (pIndex < last) {
            MakeUser(pCurve, pIndex, eTangentUser, pCurve.KeyGetLeftDerivative(pIndex), nextLeft);
        }
    }
}
}  // namespace

void RepairOldestKeys(Glissa& pCurve)
{
    CORVEKIT_ASSERT(pCurve.KeyGetCount() > 0);
    const KeyList& keys = pCurve.Keys();
    const int count = keys.Count();
    const int last = count - 1;
    MakeCubic(pCurve, last, eTangentAuto);

    for (int i = last; i >= 1; --i) {
        FollowKeyBefore(pCurve, i);
    }
    // An automatic key drew a plain tangent wherever the next key was not automatic.
    for (int i = 0; i < last; ++i) {
        if (IsCubicWith(pCurve, i, eTangentAuto) && !IsCubicWith(pCurve, i + 1, eTangentAuto)) {
            MakeUser(pCurve, i, eTangentUser, pCurve.KeyGetRightDerivative(i),
                     pCurve.KeyGetRightDerivative(i + 1));
        }
    }
    // A TCB key behind a user one took its left side from that one.
    for (int i = last; i >= 1; --i) {
        if (!IsCubicTcb(pCurve, i) || !IsCubicUser(pCurve, i - 1)) {
            continue;
        }
        const float right = pCurve.KeyGetRightDerivative(i);
        const float nextLeft =
            i < last && !IsCubicTcb(pCurve, i + 1)
                ? LeftSlopeByTcbBefore(keys[i], keys[i + 1], i + 2 < count ? &keys[i + 2] : nullptr)
                : pCurve.KeyGetLeftDerivative(i + 1);
        MakeUser(pCurve, i, eTangentUserBreak, right, nextLeft);
    }
}
