// Copyright (c) 2026 The glissa authors
// SPDX-License-Identifier: MIT
// Not for hosts: the end of a long curve, out of the way.
#pragma once

#include "glissa/utils/scratch_curve.h"

/// Keys at the end of a curve that are put aside while an edit adds or removes keys one by one.
/// Each such edit moves all keys behind it: with a long end out of the way its cost does not depend
/// on the length of the curve. The place of work moves through the curve in one direction.
///
/// For curves that nobody listens to, see KeyRewrite: keys that are put aside and back would be
/// posted as removed and added. BringAllBack ends the edit; an exception before it leaves the curve
/// without the keys that are put aside.
class ParkedKeys
{
public:
    explicit ParkedKeys(Glissa& pCurve);
    ParkedKeys(const ParkedKeys&) = delete;
    ParkedKeys& operator=(const ParkedKeys&) = delete;

    /// Called before keys come or go next to a key: the keys whose tangents that may read or write
    /// are in the curve.
    void WorkAt(int pIndex);
    /// Puts back what is left. No destructor does this: it needs memory.
    void BringAllBack() { BringBack(mParked->KeyGetCount()); }

private:
    void Park(int pCount);
    void BringBack(int pCount);

    Glissa& mCurve;
    ScratchCurve mParked;  // in descending order
};
