// Copyright (c) 2026 The glissa authors
// SPDX-License-Identifier: MIT
#pragma once

#include "corvekit/math/vector.h"
#include "glissa/filter/filter.h"

/// Applies one constant transform to the keys of a node: a translation is moved as a point, by
/// scaling, rotation and translation; a rotation is turned; a scaling is multiplied.
///
/// The name of a node says what it is: "T" or "Lcl Translation", "R" or "Lcl Rotation", "S" or "Lcl
/// Scaling". It is resampled first, in the span, at the plot period. Then the keys from the one at
/// or before the start to the one at or before the stop are changed, also one outside the span.
/// Keys of a channel at other times than those of the first unlocked channel stay. A rotation is
/// unrolled afterwards.
///
/// Where start and stop fall on one key, or both before the first or behind the last one, the
/// default values become the translation, rotation or scaling itself; the key is transformed too.
class GLISSA_API GlissaFilterTRS : public KClassFrame<GlissaFilterTRS, GlissaFilter>
{
public:
    static constexpr char kClassName[] = "GlissaFilterTRS";
    /// The error of a curve and of an array.
    static constexpr int kUnexpected = 0;
    static constexpr int kNotFinite = 1;

    GlissaFilterTRS();
    void Reset() override;

    /// False, with kUnexpected, and so is an array.
    bool Apply(Glissa& pCurve) override;
    bool Apply(Glissa** pCurves, int pCount) override;
    /// False without an error for a locked node, one of another name or without the curves "X", "Y"
    /// and "Z", one whose three curves are locked, a transform that changes nothing, and where the
    /// span holds no time. With kNotFinite where a parameter is not finite, with kUnexpected where
    /// the plot period is out of range. Keys are transformed at the times of the first unlocked
    /// channel that has any. An unbounded start or stop becomes that of the first node with keys,
    /// and stays so: set the span for each node.
    ///
    /// A rotation whose three angles are odd multiples of 180 degrees is none. Nodes below are not
    /// visited, whatever pRecursive.
    bool Apply(GlissaNode& pNode, bool pRecursive) override;

    /// In the unit of the translation; 0, 0, 0 by default.
    virtual void SetT(double pX, double pY, double pZ);
    /// Degrees, turning about X, then Y, then Z, whatever the rotation order of the node; 0, 0, 0
    /// by default.
    virtual void SetR(double pX, double pY, double pZ);
    /// 1, 1, 1 by default.
    virtual void SetS(double pX, double pY, double pZ);

private:
    bool IsFinite() const;
    bool ChangesNothing() const;

    KgeTVector mTranslation;
    KgeRVector mRotation;
    KgeSVector mScaling;
};

extern template class KClassFrame<GlissaFilterTRS, GlissaFilter>;
