// Copyright (c) 2026 The glissa authors
// SPDX-License-Identifier: MIT
// Not for hosts: what the walks over the keys of a channel share.
#pragma once

#include "glissa/curve/curve.h"

#include <cmath>

/// Which children of a node take part. A child's mask begins at its own entry, which stands for its
/// curve too.
class ChannelMask
{
public:
    explicit ChannelMask(bool* pMask) : mMask(pMask) {}

    bool HasCurve() const { return HasChild(0); }
    bool HasChild(int pIndex) const { return !mMask || mMask[pIndex]; }
    bool* OfChild(int pIndex) const { return mMask ? mMask + pIndex : nullptr; }

private:
    bool* mMask;
};

/// Bit i of the channels to leave out, as bit 0. A word has no bits for channels beyond its width.
inline unsigned SkipMaskOfChild(unsigned pSkipMask, int pIndex)
{
    return pIndex < 32 ? (pSkipMask >> pIndex) & 1u : 0u;
}

/// A time as a key index of a curve, and the whole index next to it.
struct KeyPlace
{
    double at;
    double nearest;
    bool isOnKey;
};

/// Where a time lies, which is on a key where the key lies within pTolerance key index steps, with
/// 0 exactly there.
inline KeyPlace FindKeyPlace(Glissa& pCurve, KTime pTime, int* pHint, double pTolerance)
{
    const double at = pCurve.KeyFind(pTime, pHint);
    const double nearest = at > 0.0 ? std::floor(at + 0.5) : std::ceil(at - 0.5);
    const bool is_near =
        pTolerance != 0.0 ? std::fabs(nearest - at) < pTolerance : std::floor(at) == at;
    return {at, nearest, at >= 0.0 && at < pCurve.KeyGetCount() && is_near};
}
