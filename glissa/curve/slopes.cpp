// Copyright (c) 2026 The glissa authors
// SPDX-License-Identifier: MIT

// Slopes and weights at a key, by index; slope_rules.cpp has the rules.

#include "glissa/curve/curve.h"
#include "glissa/curve/key_window.h"

float Glissa::KeyGetLeftDerivative(int pIndex, bool pExtremes, bool pIgnoreClamp)
{
    if (KeyGetCount() < 2) {
        return 0.0f;
    }
    return LeftSlopeOfKey(WindowOf(mKeys, pIndex), pExtremes, pIgnoreClamp);
}

float Glissa::KeyGetRightDerivative(int pIndex, bool pExtremes)
{
    if (KeyGetCount() < 2) {
        return 0.0f;
    }
    return RightSlopeOfKey(WindowOf(mKeys, pIndex), pExtremes);
}

void Glissa::IsClamped(int pIndex, bool& pLeft, bool& pRight)
{
    CORVEKIT_ASSERT(pIndex >= 0 && pIndex < KeyGetCount());
    FindClampedSides(WindowOf(mKeys, pIndex), pLeft, pRight);
}

bool Glissa::KeyIsLeftTangeantWeighted(int pIndex) const
{
    return pIndex >= 1 && (Attr(pIndex - 1).mFlags & eWeightNextLeft) != 0;
}

bool Glissa::KeyIsRightTangeantWeighted(int pIndex) const
{
    return IsRightSideWeighted(Attr(pIndex), pIndex >= KeyGetCount() - 1);
}

float Glissa::KeyGetLeftTangeantWeight(int pIndex) const
{
    return pIndex >= 1 ? LeftWeightAfter(Attr(pIndex - 1)) : kGlissaDefaultWeight;
}

float Glissa::KeyGetRightTangeantWeight(int pIndex) const
{
    return RightWeightOf(Attr(pIndex), pIndex >= KeyGetCount() - 1);
}

bool Glissa::KeyIsLeftTangeantVelocity(int pIndex) const
{
    return pIndex >= 1 && (Attr(pIndex - 1).mFlags & eVelocityNextLeft) != 0;
}

bool Glissa::KeyIsRightTangeantVelocity(int pIndex) const
{
    const GlissaKeyAttributes& key = Attr(pIndex);
    return pIndex < KeyGetCount() - 1 && (key.mFlags & eVelocityRight) != 0 &&
           key.GetInterpolation() == eInterpolationCubic &&
           (key.mFlags & (eTangentAuto | eTangentUser | eTangentBreak)) != 0;
}

float Glissa::KeyGetLeftTangeantVelocity(int pIndex) const
{
    return KeyIsLeftTangeantVelocity(pIndex) ? Attr(pIndex - 1).GetDataDouble(eDataNextLeftVelocity)
                                             : 0.0f;
}

float Glissa::KeyGetRightTangeantVelocity(int pIndex) const
{
    return KeyIsRightTangeantVelocity(pIndex) ? Attr(pIndex).GetDataDouble(eDataRightVelocity)
                                              : 0.0f;
}
