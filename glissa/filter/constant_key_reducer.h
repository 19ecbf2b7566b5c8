// Copyright (c) 2026 The glissa authors
// SPDX-License-Identifier: MIT
#pragma once

#include "glissa/filter/curve_filter.h"

#include <vector>

/// Removes keys where the curve stays within a tolerance of one value. A key goes when it, the two
/// keys before it and the two after it, as far as they are in the span, are all that flat, and
/// none of them is a cubic key with anything but a plain automatic tangent. A plateau so keeps two
/// keys at each end where the curve leaves it. The tolerance counts from the last key of each run
/// of flat keys.
///
/// A run that fills the span goes with the keys at both ends of it: a flat beginning or end of a
/// curve is lost, so that a cycle gets shorter, and the keys next to the span are joined. A curve
/// that is flat as a whole loses all keys and keeps its value as the default value.
///
/// Keys that stay keep their times and values. Next to removed keys an automatic key of the span
/// gets the slope of the straight line to the next key where its own would swing the curve out of
/// the tolerance, by its parameters or as a user key; a key of another kind keeps the slopes that
/// it had. The curve outside the span stays: the first and the last key that stay at its border,
/// and the keys next to it, keep their slopes on the sides that face away from it. A TCB key
/// follows its new neighbour. A host hears of the keys that go and of tangents that change.
///
/// A curve of constant keys only is reduced as a whole, whatever the span: a key goes when the
/// values that are held without it are within the tolerance of those held with it.
///
/// Cost: proportional to the number of keys.
class GLISSA_API GlissaFilterConstantKeyReducer
    : public KClassFrame<GlissaFilterConstantKeyReducer, GlissaCurveFilter>
{
public:
    static constexpr char kClassName[] = "GlissaFilterConstantKeyReducer";

    GlissaFilterConstantKeyReducer();
    void Reset() override;

    using GlissaCurveFilter::Apply;
    /// As for any filter, with one of the four thresholds in place of the tolerance, for the node
    /// and for each child by its own name: the rotation threshold where the node or its parent is
    /// called "R" or "Lcl Rotation", else the scaling threshold for "S" or "Lcl Scaling", else the
    /// translation threshold for "T" or "Lcl Translation", else the default threshold. False,
    /// without an error, for a node that is locked or uses quaternions.
    bool Apply(GlissaNode& pNode, bool pRecursive) override;

    /// In the unit of the curve, 0.009 by default, whatever the curve is: set it for scales and
    /// for scenes in metres.
    double GetValueTolerance() const { return mValueTolerance; }
    void SetValueTolerance(double pTolerance) { mValueTolerance = pTolerance; }
    /// Whether a curve that is flat as a whole keeps its first key; not at first.
    bool GetKeepOneKey() const { return mKeepOneKey; }
    void SetKeepOneKey(bool pKeep) { mKeepOneKey = pKeep; }

    // Tolerances of the form for nodes: 0.00009, 0.009 degrees, 0.004 and 0.009 by default.

    double GetTranslationThreshold() const { return mTranslationThreshold; }
    void SetTranslationThreshold(double pThreshold) { mTranslationThreshold = pThreshold; }
    double GetRotationThreshold() const { return mRotationThreshold; }
    void SetRotationThreshold(double pThreshold) { mRotationThreshold = pThreshold; }
    double GetScalingThreshold() const { return mScalingThreshold; }
    void SetScalingThreshold(double pThreshold) { mScalingThreshold = pThreshold; }
    double GetDefaultThreshold() const { return mDefaultThreshold; }
    void SetDefaultThreshold(double pThreshold) { mDefaultThreshold = pThreshold; }

    // Kept for hosts; nothing here reads them.

    double GetDerivativeTolerance() const { return mDerivativeTolerance; }
    void SetDerivativeTolerance(double pTolerance) { mDerivativeTolerance = pTolerance; }
    bool GetKeepFirstAndLastKeys() const { return mKeepFirstAndLastKeys; }
    void SetKeepFirstAndLastKeys(bool pKeep) { mKeepFirstAndLastKeys = pKeep; }

private:
    EGlissaFilterAnswer Examine(Glissa& pCurve) override;
    bool Change(Glissa& pCurve) override;

    std::vector<int> FindKept(Glissa& pCurve) const;
    double ThresholdOf(GlissaNode& pNode) const;

    double mDerivativeTolerance;
    double mValueTolerance;
    double mTranslationThreshold;
    double mRotationThreshold;
    double mScalingThreshold;
    double mDefaultThreshold;
    bool mKeepFirstAndLastKeys;
    bool mKeepOneKey;
    std::vector<int> mKept;  // between Examine and Change
};

extern template class KClassFrame<GlissaFilterConstantKeyReducer, GlissaCurveFilter>;
