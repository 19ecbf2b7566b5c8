// Copyright (c) 2026 The glissa authors
// SPDX-License-Identifier: MIT

#include "glissa/curve/key.h"

#include "glissa/curve/attribute_count.h"
#include "glissa/curve/key_weight.h"
#include "glissa/ext/active.h"

namespace
{
constexpr unsigned kCustomIndexes[] = {0x100, 0x200, 0x400};

// 0x200 and 0x400 need a second and a third custom tangent type; other values are not tested.
bool IsMissingCustomType(unsigned pIndex)
{
    return (pIndex == kCustomIndexes[1] && CustomTangentTypeCount() < 2) ||
           (pIndex == kCustomIndexes[2] && CustomTangentTypeCount() < 3);
}

KPriFCurveKeyAttr* MakeDefaultAttributes(KMemoryPool& pPool)
{
    auto* attributes = static_cast<KPriFCurveKeyAttr*>(pPool.Allocate());
    *attributes =
        KPriFCurveKeyAttr{{eInterpolationCubic | eTangentAuto, {0.0f, 0.0f, 0.0f, 0.0f}}, 1};
    attributes->ResetWeights();
    tCountsDefaultBlock = true;
    return attributes;
}
}  // namespace

// Set by the thread that runs this, once for the process.
constinit thread_local bool tCountsDefaultBlock = false;

// In this order: the default block is taken from the pool.
KMemoryPool GlissaKeyAttrPool(sizeof(KPriFCurveKeyAttr), 1024, 0, true);
KPriFCurveKeyAttr* const GlissaDefaultKeyAttr = MakeDefaultAttributes(GlissaKeyAttrPool);

void GlissaKeyAttributes::ResetWeights()
{
    WeightPair{kDefaultWeightNumber, kDefaultWeightNumber}.ToSlot(mData[2]);
}

void GlissaKeyAttributes::ResetWeightsAndVelocities()
{
    ResetWeights();
    ResetVelocities();
    SetField(kWeightModeMask | kVelocityModeMask, 0);
}

void GlissaKeyAttributes::SetInterpolation(unsigned pInterpolation)
{
    const unsigned old = GetInterpolation();
    if (old != eInterpolationCubic && pInterpolation == eInterpolationCubic) {
        ResetWeightsAndVelocities();
    } else if (old != eInterpolationCustom && pInterpolation == eInterpolationCustom) {
        if (CustomTangentTypeCount() == 0) {
            return;
        }
        if (GetCustomIndex() != kCustomIndexes[0] &&
            (IsMissingCustomType(GetCustomIndex()) ||
             (GetCustomIndex() != kCustomIndexes[1] && GetCustomIndex() != kCustomIndexes[2]))) {
            SetField(kCustomIndexMask, kCustomIndexes[0]);
        }
    }
    SetField(kInterpolationMask, pInterpolation);
}

void GlissaKeyAttributes::SetCustomIndex(unsigned pIndex)
{
    if (CustomTangentTypeCount() == 0 || IsMissingCustomType(pIndex)) {
        return;
    }
    SetField(kCustomIndexMask, pIndex);
}

float GlissaKeyAttributes::GetDataDouble(EGlissaDataIndex pIndex) const
{
    CORVEKIT_ASSERT(pIndex >= eDataRightSlope && pIndex <= eDataNextLeftVelocity);
    switch (pIndex) {
    case eDataRightWeight:
        return FromStoredNumber(WeightPair::FromSlot(mData[2]).mRight);
    case eDataNextLeftWeight:
        return FromStoredNumber(WeightPair::FromSlot(mData[2]).mNextLeft);
    case eDataRightVelocity:
        return FromStoredNumber(WeightPair::FromSlot(mData[3]).mRight);
    case eDataNextLeftVelocity:
        return FromStoredNumber(WeightPair::FromSlot(mData[3]).mNextLeft);
    default:
        return mData[pIndex];
    }
}

void GlissaKeyAttributes::SetDataDouble(EGlissaDataIndex pIndex, float pValue)
{
    CORVEKIT_ASSERT(pIndex >= eDataRightSlope && pIndex <= eDataNextLeftVelocity);
    switch (pIndex) {
    case eDataRightWeight:
    case eDataNextLeftWeight: {
        auto pair = WeightPair::FromSlot(mData[2]);
        (pIndex == eDataRightWeight ? pair.mRight : pair.mNextLeft) = ToStoredWeight(pValue);
        pair.ToSlot(mData[2]);
        break;
    }
    case eDataRightVelocity:
    case eDataNextLeftVelocity: {
        auto pair = WeightPair::FromSlot(mData[3]);
        (pIndex == eDataRightVelocity ? pair.mRight : pair.mNextLeft) = ToStoredVelocity(pValue);
        pair.ToSlot(mData[3]);
        break;
    }
    default:
        mData[pIndex] = pValue;
        break;
    }
}

void GlissaKey::SetValue(float pValue)
{
    mValue = pValue;
    mValue = CheckedKeyValue(pValue);  // listeners find the value in its place
}

void GlissaKey::Set(KTime pTime, float pValue, unsigned pInterpolation, unsigned pTangentMode,
                    float pData0, float pData1, unsigned pWeightMode, float pWeight0,
                    float pWeight1, float pVelocity0, float pVelocity1)
{
    mTime = pTime;
    SetValue(pValue);
    mAttributes.SetInterpolation(pInterpolation);
    mAttributes.mFlags &=
        ~(GlissaKeyAttributes::kTangentModeMask | GlissaKeyAttributes::kVisibilityMask |
          GlissaKeyAttributes::kWeightModeMask);
    mAttributes.mData[0] = pData0;
    mAttributes.mData[1] = pData1;
    WeightPair{ToStoredWeight(pWeight0), ToStoredWeight(pWeight1)}.ToSlot(mAttributes.mData[2]);
    WeightPair{ToStoredVelocity(pVelocity0), ToStoredVelocity(pVelocity1)}.ToSlot(
        mAttributes.mData[3]);
    mAttributes.mFlags |= (pTangentMode & GlissaKeyAttributes::kTangentModeMask) |
                          (pWeightMode & GlissaKeyAttributes::kWeightModeMask);
}

void GlissaKey::SetTCB(KTime pTime, float pValue, float pTension, float pContinuity, float pBias)
{
    mTime = pTime;
    SetValue(pValue);
    if (GetInterpolation() != eInterpolationCubic) {
        mAttributes.ResetWeightsAndVelocities();
    }
    // All other bits of the interpolation and tangent masks are cleared.
    mAttributes.mFlags = (mAttributes.mFlags & ~0x7D07u) | eInterpolationCubic | eTangentTCB;
    mAttributes.mData[eDataTCBTension] = pTension;
    mAttributes.mData[eDataTCBContinuity] = pContinuity;
    mAttributes.mData[eDataTCBBias] = pBias;
    mAttributes.SetTangeantVisibility(eTangentShowNone);
}
