// Copyright (c) 2026 The glissa authors
// SPDX-License-Identifier: MIT
#pragma once

#include "corvekit/array.h"
#include "corvekit/math/vector.h"
#include "glissa/filter/filter.h"

/// A run of keys between which angles that are interpolated one by one follow the rotation badly.
struct SGimbleZone
{
    int mFirstKey;
    int mEndKey;  ///< the key after the run
};

/// Finds the zones of a rotation in which interpolated angles are poor, as near gimbal lock, leaves
/// the keys in them to themselves and unrolls the stretches between them, as GlissaFilterUnroll
/// with its defaults does. The key after a zone is brought next to the key before it. No key is
/// added but by the key sync.
///
/// The stretch after the last zone runs to the last key, whatever the span; keys after a span that
/// ends in a zone follow the last key before them by whole turns or as the second form.
class GLISSA_API GlissaFilterGimbleKiller2
    : public KClassFrame<GlissaFilterGimbleKiller2, GlissaFilter>
{
public:
    static constexpr char kClassName[] = "GlissaFilterGimbleKiller2";
    /// The further errors.
    static constexpr int kNotThreeCurves = 2;
    static constexpr int kNotRotation = 3;

    GlissaFilterGimbleKiller2();
    void Reset() override;

    /// False with kNotThreeCurves.
    bool Apply(Glissa& pCurve) override;
    /// The angles of a rotation that turns about X, then Y, then Z. False without an error where a
    /// curve is locked, with eFilterNoKey without keys and eFilterUnchanged with one.
    bool Apply(Glissa** pCurves, int pCount) override;
    /// The curves X, Y and Z of a node "R" or "Lcl Rotation", in its order. Nodes below it are not
    /// reached, whatever pRecursive.
    bool Apply(GlissaNode& pNode, bool pRecursive) override;

    /// True by default. Without it the keys of the first curve alone decide whether there are keys
    /// to work on. Unrolling needs the same key times on all curves, so that curves with different
    /// ones are synchronised in any case.
    bool GetApplyKeySyncFilter() const { return mApplyKeySyncFilter; }
    void SetApplyKeySyncFilter(bool pApply) { mApplyKeySyncFilter = pApply; }
    /// A key is in a zone if the quality from the key before is below this, 0.25 by default. 0
    /// finds no zone. A value that is not finite is refused with eFilterUnchanged.
    double GetInterpolationQualityTolerance() const { return mQualityTolerance; }
    void SetInterpolationQualityTolerance(double pTolerance) { mQualityTolerance = pTolerance; }

    /// Appends the zones within the span, in order; the caller deletes them. Key numbers are those
    /// of the first curve.
    ///
    /// pCount  3; other numbers find nothing.
    void FindGimbleZone(Glissa** pCurves, int pCount, KArrayTemplate<SGimbleZone*, 16>& pZones);
    /// As GlissaFilterUnroll::InterpolationQualityFactor.
    double InterpolationQualityFactor(const KgeRVector& pFrom, const KgeRVector& pTo) const;

private:
    void Repair(Glissa** pCurves, const KArrayTemplate<SGimbleZone*, 16>& pZones);

    bool mApplyKeySyncFilter;
    double mQualityTolerance;
    int mRotationOrder = 0;  // of the node, while it is worked on
};

extern template class KClassFrame<GlissaFilterGimbleKiller2, GlissaFilter>;
