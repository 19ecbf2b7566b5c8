// Copyright (c) 2026 The glissa authors
// SPDX-License-Identifier: MIT
// Not for hosts: the keys of a curve, copied into another one as an edit moves forward.
#pragma once

#include "glissa/curve/curve.h"

/// Copies the keys of a curve behind those of another one, a few ahead of the place where an edit
/// adds keys: each added key moves the keys behind it, so that its cost does not depend on the
/// length of the curve. For a target that nobody listens to, see KeyRewrite: nothing is posted, and
/// no value is checked.
class KeyFeed
{
public:
    KeyFeed(const Glissa& pFrom, Glissa& pTo) : mFrom(pFrom), mTo(pTo) {}

    /// Copies the keys before a time and those behind it whose tangents an insertion may read or
    /// write. Returns the index in the target of the first key at or behind the time, the key count
    /// where there is none. Times ascend from call to call.
    int BringUpTo(KTime pTime);
    /// Copies what is left.
    void BringRest();

private:
    void Bring();

    const Glissa& mFrom;
    Glissa& mTo;
    int mNext = 0;   // to be copied
    int mPlace = 0;  // in the target: keys before it are before the time
};
