// Copyright (c) 2026 The glissa authors
// SPDX-License-Identifier: MIT
#pragma once

#include "corvekit/math/vector.h"
#include "glissa/filter/filter.h"

struct UnrollRules;

/// Writes each key of a rotation as the Euler angles of the same orientation that are nearest to
/// those of the key before, so that curves run on where they jumped by whole turns. The base of the
/// filters that do so without limits and within limits.
///
/// The first key is brought next to 0, 0, 0, or stays where it is not the first one of the curves:
/// a curve that starts at 400 starts at 40. Whole turns between two keys are lost, as a wheel keyed
/// 0 and 3600. Keys after a limited span follow by whole turns. The three curves get keys at the
/// same times in the span. A rotation without jumps is left alone, with true. Keys keep their
/// kinds; the slopes of user tangents change sign where the middle angle of the order is mirrored.
///
/// While a curve is locked, only whole turns are taken from the others: the second form of a
/// rotation would change all three.
class GLISSA_API GlissaUnrollFilter : public GlissaFilter
{
public:
    /// The further error: no rotation of three curves.
    static constexpr int kNotRotation = 2;

    explicit GlissaUnrollFilter(const char* pName);
    void Reset() override;

    /// False with kNotRotation: one angle is no rotation.
    bool Apply(Glissa& pCurve) override;
    /// The angles X, Y and Z of a rotation in the order of SetRotationOrder. Other than three
    /// curves give kNotRotation.
    bool Apply(Glissa** pCurves, int pCount) override;
    /// A rotation node with the curves X, Y and Z, whose order this filter keeps; any other node
    /// gives kNotRotation. Nodes below it are not reached, whatever pRecursive.
    bool Apply(GlissaNode& pNode, bool pRecursive) override;
    /// The curves of the three children of a rotation node, in the order of SetRotationOrder. Null
    /// and other nodes give kNotRotation.
    bool DoUnroll(GlissaNode* pNode);

    /// With GetTestForPath the key that is the reference for the next one stays the old one while
    /// the quality from it to the new one is below this. The defaults of the two are the process
    /// settings at the last Reset. A tolerance that is not finite is refused with eFilterUnchanged.
    double GetQualityTolerance() const { return mQualityTolerance; }
    void SetQualityTolerance(double pTolerance) { mQualityTolerance = pTolerance; }
    bool GetTestForPath() const { return mTestForPath; }
    void SetTestForPath(bool pTest) { mTestForPath = pTest; }
    /// 0 to 5, as KVdRotationOrder; any other number counts as 0.
    void SetRotationOrder(int pOrder) { mRotationOrder = pOrder; }
    /// How well angles that are interpolated one by one follow the rotation from one triple to
    /// another: the square of the angle of the shortest turn over the squared distance of the
    /// triples. Near 1 the angles change as much as the rotation does, near 0 far more. 100 for
    /// equal triples and where an angle is not finite. Measured in the order X, Y, Z whatever the
    /// order of the rotation is.
    double InterpolationQualityFactor(const KgeRVector& pFrom, const KgeRVector& pTo) const;

protected:
    /// Why the parameters are refused, or null.
    virtual const char* FindFault() const;

private:
    virtual void AddLimits(UnrollRules& pRules) const;
    bool RefuseNode();

    double mQualityTolerance;
    bool mTestForPath;
    int mRotationOrder = 0;
};
