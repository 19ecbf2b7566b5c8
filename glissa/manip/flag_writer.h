// Copyright (c) 2026 The glissa authors
// SPDX-License-Identifier: MIT
// Not for hosts: flags of keys, such as marks, written without a block of attributes for each key.
#pragma once

#include "glissa/curve/attribute_count.h"
#include "glissa/curve/curve.h"

/// Writes flags of keys of a curve one after the other, within a bracket. Neighbours that share a
/// block of attributes share one afterwards too, if their flags are equal. Posts nothing.
class FlagWriter
{
public:
    explicit FlagWriter(Glissa& pCurve) : mCurve(pCurve) {}

    /// Sets the bits of a mask. Returns whether one has changed.
    bool Write(int pIndex, unsigned pMask, unsigned pBits)
    {
        KPriFCurveKey& key = mCurve.Keys()[pIndex];
        KPriFCurveKeyAttr* const old = key.mAttribute;
        const unsigned flags = (old->mFlags & ~pMask) | pBits;
        if (flags == old->mFlags) {
            return false;
        }
        if (old == mOld && mNew->mFlags == flags) {
            AddReferences(*mNew, 1);
            RemoveReferences(*old, 1);
            key.mAttribute = mNew;
        } else {
            mCurve.KeyAttrSeparate(pIndex);
            key.mAttribute->mFlags = flags;
            mOld = old;
            mNew = key.mAttribute;
        }
        return true;
    }

private:
    Glissa& mCurve;
    // The block of the key that was written last: before, and after.
    KPriFCurveKeyAttr* mOld = nullptr;
    KPriFCurveKeyAttr* mNew = nullptr;
};
