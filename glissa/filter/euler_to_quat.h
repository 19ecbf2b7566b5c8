// Copyright (c) 2026 The glissa authors
// SPDX-License-Identifier: MIT
#pragma once

#include "glissa/filter/filter.h"

/// Turns a rotation node of the three angles X, Y and Z into one of the four curves X, Y, Z and W,
/// the components of a quaternion, sampled at even distances. Each quaternion has length 1 and the
/// sign that is nearer to the one before, so that the curves do not jump.
///
/// The node gets a child "W" in every case, a second one where it has one already; the first one
/// found is written. All keys are replaced: those outside the span are lost, and so is the last
/// pose where the period does not divide the span. The layers behind the node follow, each by
/// itself. Without keys, or with all keys at one time, the angles stay and W is empty.
///
/// The angles are taken to turn about X, then Y, then Z, whatever the rotation order of the node.
/// Express a node of another order in this one first.
///
/// Such a node still counts as a rotation of Euler angles where it is evaluated. It is meant for
/// filters that work on quaternions, and for GlissaFilterQuatToEuler afterwards.
class GLISSA_API GlissaFilterEulerToQuat : public KClassFrame<GlissaFilterEulerToQuat, GlissaFilter>
{
public:
    static constexpr char kClassName[] = "GlissaFilterEulerToQuat";
    /// The further errors.
    static constexpr int kNodesOnly = 2;
    static constexpr int kNotEuler = 3;

    GlissaFilterEulerToQuat();
    void Reset() override;

    /// False, with kNodesOnly, and so is an array.
    bool Apply(Glissa& pCurve) override;
    bool Apply(Glissa** pCurves, int pCount) override;
    /// False for a locked node or child without an error; for a node that is no rotation with
    /// kNotEuler; with eFilterUnchanged where a curve is missing and for a period below a tick or
    /// one that asks for more keys than an int counts. Nodes below are not visited; pRecursive is
    /// handed to the layers.
    bool Apply(GlissaNode& pNode, bool pRecursive) override;

    /// The distance of samples in ticks; a 24th of a second by default, whatever the time mode.
    KTime GetFramePeriod() const { return mFramePeriod; }
    void SetFramePeriod(const KTime& pPeriod) { mFramePeriod = pPeriod; }

private:
    KTime mFramePeriod;
};

extern template class KClassFrame<GlissaFilterEulerToQuat, GlissaFilter>;
