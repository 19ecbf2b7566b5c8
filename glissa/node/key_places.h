// Copyright (c) 2026 The glissa authors
// SPDX-License-Identifier: MIT
// Not for hosts: masks of channels, and times as places of keys.
#pragma once

#include "glissa/curve/curve.h"

#include <cmath>

/// Which children of a node are included. The mask of a child begins at its entry in the mask of
/// the parent; this entry also decides for the curve of the child.
class ChannelMask
{
public:
    explicit ChannelMask(bool* pMask) : mMask(pMask) {}

    bool HasCurve() const { return HasChild(0); }
    bool HasChild(int pIndex) const
    {
        CORVEKIT_ASSERT(pIndex >= 0);
        return !mMask || mMask[pIndex];
    }
    bool* OfChild(int pIndex) const { return mMask ? mMask + pIndex : nullptr; }

private:
    bool* mMask;
};

/// Bit pIndex of a mask of channels to leave out, as bit 0. Channels from 32 on have no bit.
inline unsigned SkipMaskOfChild(unsigned pSkipMask, int pIndex)
{
    CORVEKIT_ASSERT(pIndex >= 0);
    return pIndex < 32 ? (pSkipMask >> pIndex) & 1u : 0u;
}

/// A time as a key index of a curve, and the nearest whole index.
struct KeyPlace
{
    double at;
    double nearest;
    bool isOnKey;
};

/// The place of a time. It is on a key where a key is within pTolerance key index steps, with 0
/// exactly there.
inline KeyPlace FindKeyPlace(Glissa& pCurve, KTime pTime, int* pHint, double pTolerance)
{
    CORVEKIT_ASSERT(pTolerance >= 0.0);
    const double at = pCurve.KeyFind(pTime, pHint);
    const double nearest = at > 0.0 ? std::floor(at + 0.5) : std::ceil(at - 0.5);
    const bool isNear =
        pTolerance != 0.0 ? std::fabs(nearest - at) < pTolerance : std::floor(at) == at;
    return {at, nearest, at >= 0.0 && at < pCurve.KeyGetCount() && isNear};
}
