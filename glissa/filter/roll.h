// Copyright (c) 2026 The glissa authors
// SPDX-License-Identifier: MIT
#pragma once

#include "glissa/filter/filter.h"

/// What the angles are folded into.
enum EAngleInterval : int
{
    eAngleIntervalHalfTurns = 0,  ///< -180 to 180 degrees
};

/// Two modes that hosts tell apart; both do the same.
enum EKeyRateMode : int
{
    eKeyRateFixed = 0,
    eKeyRateVariable = 1,
};

/// Folds the angles of a rotation back: the first and third turned angle into -180 to 180 degrees,
/// the middle one into -90 to 90. Where an angle jumps by that, the key before holds its value up
/// to the jump and the keys around become linear. A key whose middle angle is beyond 90 degrees
/// changes all three angles, its orientation stays.
///
/// The span is not used. The curves get keys at the same times. A key that is made constant keeps
/// its other flags: one with automatic tangents holds the next value from then on. A jump back,
/// from a folded key to one in range, gets no held step.
class GLISSA_API GlissaFilterRoll : public KClassFrame<GlissaFilterRoll, GlissaFilter>
{
public:
    static constexpr char kClassName[] = "GlissaFilterRoll";
    /// The further errors.
    static constexpr int kNotRotation = 2;
    static constexpr int kBadKeyRateMode = 3;
    static constexpr int kBadInterval = 4;

    GlissaFilterRoll();
    void Reset() override;

    /// False with kNotRotation.
    bool Apply(Glissa& pCurve) override;
    /// The angles of a rotation that turns about X, then Y, then Z. False with eFilterUnchanged
    /// where all keys are in range, and without an error where a curve is locked.
    bool Apply(Glissa** pCurves, int pCount) override;
    /// The curves X, Y and Z of a node "R" or "Lcl Rotation", in its order. A start that is not
    /// before the stop gives kBadInterval. Nodes below it are not reached, whatever pRecursive.
    bool Apply(GlissaNode& pNode, bool pRecursive) override;
    /// The same without the tests of the key rate mode and of the number of curves. The curves get
    /// keys at the same times here too; without keys it gives eFilterUnchanged.
    bool ApplyFixed(Glissa** pCurves);

    /// Kept for hosts: the angles are folded into half turns whatever it is.
    EAngleInterval GetAngleInterval() const { return mAngleInterval; }
    void SetAngleInterval(EAngleInterval pInterval) { mAngleInterval = pInterval; }
    /// A value other than the two is refused with kBadKeyRateMode.
    EKeyRateMode GetKeyRateMode() const { return mKeyRateMode; }
    void SetKeyRateMode(EKeyRateMode pMode) { mKeyRateMode = pMode; }

private:
    bool RefuseCurves();
    bool HasKeyToFold(Glissa* const* pCurves) const;

    EAngleInterval mAngleInterval;
    EKeyRateMode mKeyRateMode;
    int mRotationOrder = 0;  // of the node, while it is worked on
};

extern template class KClassFrame<GlissaFilterRoll, GlissaFilter>;
