// Copyright (c) 2026 The glissa authors
// SPDX-License-Identifier: MIT
// Host side, not installed.
#pragma once

#include "glissa/filter/euler_to_quat.h"

/// Rebuilds a rotation from quaternions at even distances: GlissaFilterEulerToQuat and
/// GlissaFilterQuatToEuler, one after the other, for a rotation of any order.
///
/// These two work in the order X, Y, Z. The rotation is expressed in it before, and in its own
/// order after, next to the angles that it had. Between the samples it gets the keys of the gimbal
/// killer, in both orders, and it keeps its angles at the last key of the span.
class QuaternionFilter : public GlissaFilterEulerToQuat
{
public:
    using GlissaFilterEulerToQuat::Apply;
    /// False without an error for a locked node or child; with an error for a node that is no
    /// rotation of three curves, without keys in the span, and for a period out of range.
    bool Apply(GlissaNode& pNode, bool pRecursive) override;
};
