// Copyright (c) 2026 The glissa authors
// SPDX-License-Identifier: MIT
#pragma once

#include "glissa/filter/filter.h"

/// Turns a rotation node of the four curves X, Y, Z and W, as GlissaFilterEulerToQuat makes it,
/// back into one of three angles, sampled at even distances. W is deleted, and a
/// GlissaFilterGimbleKiller of the same span adds keys where the angles change much faster than the
/// rotation. Quaternions need not have length 1.
///
/// All keys are replaced: those outside the span are lost, and so is the last pose where the period
/// does not divide the span. The layers behind the node follow, each by itself. Where the keys that
/// the span leaves lie at one time, or there are none, no curve is written and W stays.
///
/// The angles turn about X, then Y, then Z, whatever the rotation order of the node.
class GLISSA_API GlissaFilterQuatToEuler : public KClassFrame<GlissaFilterQuatToEuler, GlissaFilter>
{
public:
    static constexpr char kClassName[] = "GlissaFilterQuatToEuler";
    /// The further error: no rotation node with the four children X, Y, Z and W.
    static constexpr int kNotQuaternion = 2;

    GlissaFilterQuatToEuler();
    void Reset() override;

    /// False, with eFilterUnchanged, and so is an array.
    bool Apply(Glissa& pCurve) override;
    bool Apply(Glissa** pCurves, int pCount) override;
    /// False for a locked node or child without an error; for another node with kNotQuaternion;
    /// with eFilterUnchanged for a period below a tick or one that asks for more keys than an int
    /// counts. Nodes below are not visited; pRecursive is handed to the layers.
    bool Apply(GlissaNode& pNode, bool pRecursive) override;

    /// The distance of samples in ticks; by default a frame of the default time mode at the last
    /// Reset.
    KTime GetFramePeriod() const { return mFramePeriod; }
    void SetFramePeriod(const KTime& pPeriod) { mFramePeriod = pPeriod; }

private:
    KTime mFramePeriod;
};

extern template class KClassFrame<GlissaFilterQuatToEuler, GlissaFilter>;
