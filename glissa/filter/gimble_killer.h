// Copyright (c) 2026 The glissa authors
// SPDX-License-Identifier: MIT
#pragma once

#include "glissa/filter/filter.h"

/// Adds keys between those of a rotation whose angles are far apart, so that the angles follow the
/// shortest turn from key to key, also past gimbal lock. Each key is also written as the angles of
/// its orientation that are nearest to those of the key before.
///
/// A key is added wherever the angles change by 8.66 degrees or more (a squared distance of 75), in
/// steps of halves, and no nearer to the key before than some 1/1200 of a second. 90 degrees
/// between two keys become 16 keys. All keys of the span become cubic with automatic tangents, but
/// for its first one.
class GLISSA_API GlissaFilterGimbleKiller
    : public KClassFrame<GlissaFilterGimbleKiller, GlissaFilter>
{
public:
    static constexpr char kClassName[] = "GlissaFilterGimbleKiller";
    /// The further errors.
    static constexpr int kNotThreeCurves = 2;
    static constexpr int kNotRotation = 3;

    GlissaFilterGimbleKiller();
    void Reset() override;

    /// False with kNotThreeCurves.
    bool Apply(Glissa& pCurve) override;
    /// The angles of a rotation that turns about X, then Y, then Z. Other than three curves give
    /// kNotThreeCurves.
    bool Apply(Glissa** pCurves, int pCount) override;
    /// A rotation node with the children X, Y and Z, in its order; where X has no key,
    /// eFilterNoKey. False without an error where the node or one of its children is locked. Nodes
    /// below it are not reached, whatever pRecursive.
    bool Apply(GlissaNode& pNode, bool pRecursive) override;

    /// Whether the curves get keys at the same times in the span first; true by default. Without
    /// it the key times of X are used, and what the other two are there.
    bool GetApplyKeySyncFilter() const { return mApplyKeySyncFilter; }
    void SetApplyKeySyncFilter(bool pApply) { mApplyKeySyncFilter = pApply; }

private:
    bool mApplyKeySyncFilter;
};

extern template class KClassFrame<GlissaFilterGimbleKiller, GlissaFilter>;
