// Copyright (c) 2026 The glissa authors
// SPDX-License-Identifier: MIT

// Between two keys of its X curve a rotation can run along one path of quaternions: a Bezier curve
// through the keyed orientations, whose handles come from the tangents of the keys. All of it is
// worked relative to the orientation at the first key, where quaternions are near the identity.

#include "corvekit/math/rotation_order.h"
#include "glissa/curve/curve.h"
#include "glissa/curve/tangent_math.h"
#include "glissa/ext/active.h"
#include "glissa/node/node_state.h"

#include <algorithm>
#include <cmath>
#include <limits>

namespace
{
// The way from one key of a curve to the next, around a time.
struct Place
{
    Place(Glissa* pCurve, KTime pTime, int* pHint)
        : curve(pCurve), index(pCurve->KeyFindAll(pTime, pHint))
    {}

    int Before() const { return static_cast<int>(std::floor(index)); }
    int Behind() const { return static_cast<int>(std::ceil(index)); }
    bool IsBetweenKeys() const
    {
        return Before() >= 0 && Behind() < curve->KeyGetCount() && Before() < Behind();
    }
    // Whether the key that begins, or ends, the way is a key of the X curve too. The first key of a
    // curve begins none, and the last one ends none.
    bool BeginsOnKeyAt(KTime pTime) const { return Before() > 0 && IsKeyAt(Before(), pTime); }
    bool EndsOnKeyAt(KTime pTime) const { return Behind() > 0 && IsKeyAt(Behind(), pTime); }

    Glissa* curve;
    double index;

private:
    bool IsKeyAt(int pKey, KTime pTime) const
    {
        return pKey < curve->KeyGetCount() && curve->KeyGetTime(pKey) == pTime;
    }
};

// The orientations at four keys, relative to the second one, and the seconds between them.
struct Path
{
    KgeQuaternion previous, first, second, next;
    double seconds_before, seconds, seconds_behind;
};

KgeQuaternion SlopeBetween(const KgeQuaternion& pFrom, const KgeQuaternion& pTo, double pSeconds)
{
    const KgeQuaternion difference = pTo - pFrom;
    return pSeconds > 0.0 ? difference * (1.0 / pSeconds) : difference;
}

// Turns the sign so that the way from a quaternion is the short one.
void Align(KgeQuaternion& pQuaternion, const KgeQuaternion& pBefore)
{
    if (pBefore.Dot(pQuaternion) < 0.0) {
        pQuaternion = -pQuaternion;
    }
}

KgeQuaternion Between(const KgeQuaternion& pFrom, const KgeQuaternion& pTo, double pRatio)
{
    return pFrom * (1.0 - pRatio) + pTo * pRatio;
}

// De Casteljau, four components at once.
KgeQuaternion CubicAt(const KgeQuaternion (&pPoints)[4], double pRatio)
{
    const KgeQuaternion q0 = Between(pPoints[0], pPoints[1], pRatio);
    const KgeQuaternion q1 = Between(pPoints[1], pPoints[2], pRatio);
    const KgeQuaternion q2 = Between(pPoints[2], pPoints[3], pRatio);
    return Between(Between(q0, q1, pRatio), Between(q1, q2, pRatio), pRatio);
}

struct TCB
{
    TCB(const Glissa* pCurve, int pKey)
        : tension(static_cast<double>(pCurve->KeyGetDataFloat(pKey, eDataTCBTension))),
          continuity(static_cast<double>(pCurve->KeyGetDataFloat(pKey, eDataTCBContinuity))),
          bias(static_cast<double>(pCurve->KeyGetDataFloat(pKey, eDataTCBBias)))
    {}

    double tension, continuity, bias;
};

// A curve on a key of its own has that key's value, unless a host interpolates it.
double AngleAt(const Place& pPlace, KTime pTime, int pKey)
{
    Glissa& curve = *pPlace.curve;
    if (pKey < curve.KeyGetCount() && curve.KeyGetTime(pKey) == pTime &&
        CustomTangentTypeCount() == 0) {
        return static_cast<double>(curve.KeyGetValue(pKey));
    }
    int hint = pKey;
    return static_cast<double>(curve.Evaluate(pTime, &hint));
}

// The derivative at a TCB key (Kochanek and Bartels 1984), on the side of pSlope, the other side's
// being pOther. Bias and continuity count toward the side that lies behind in time with pSign 1 for
// the way out, and the other way round with -1 for the way in.
KgeQuaternion DerivativeOf(const TCB& pKey, const KgeQuaternion& pSlope,
                           const KgeQuaternion& pOther, bool pHasOther, double pSign)
{
    const double bias = pSign * pKey.bias;
    const KgeQuaternion own = pSlope * ((1.0 - pKey.continuity) * (1.0 - bias));
    const KgeQuaternion other = pHasOther ? pOther * ((1.0 + pKey.continuity) * (1.0 + bias)) : own;
    return (own + other) * ((1.0 - pKey.tension) * 0.5);
}

// A third of the way behind, or with -1 before, a time.
KTime ThirdFrom(KTime pTime, double pSeconds, double pSign)
{
    return pTime + KTime::FromSeconds(pSign * pSeconds / 3.0);
}
}  // namespace

// One evaluation between two keys: the curves, where the time lies on each, and the node's order.
class GlissaNode::RotationPath
{
public:
    RotationPath(GlissaNode& pNode, KTime pTime, int* pHint)
        : mOrder(pNode.GetRotationOrder()),
          mX(pNode.Get(0)->FCurveGet(), pTime, pHint),
          mY(pNode.Get(1)->FCurveGet(), pTime, nullptr),
          mZ(pNode.Get(2)->FCurveGet(), pTime, nullptr)
    {}

    bool IsBetweenKeys() const { return mX.IsBetweenKeys(); }
    unsigned GetInterpolation() const { return mX.curve->KeyGetInterpolation(mX.Before()); }
    KgeRVector Evaluate();

private:
    KgeRMatrix MatrixAt(KTime pTime, int pKey) const;
    KgeRMatrix MatrixOf(const KgeRVector& pAngles) const;
    Path FindPath();
    KgeQuaternion OutgoingHandle(const Path& pPath);
    KgeQuaternion IncomingHandle(const Path& pPath);
    KgeQuaternion HandleOf(const KgeRVector& pAngles) const;

    const KVdRotationOrder mOrder;
    Place mX;
    Place mY;
    Place mZ;
    KTime mFirstTime;
    KTime mSecondTime;
    KgeRMatrix mFirst;         // the orientation at the first key
    KgeRMatrix mFirstInverse;  // all others are seen from it
};

KgeRMatrix GlissaNode::RotationPath::MatrixOf(const KgeRVector& pAngles) const
{
    KgeRMatrix matrix;
    mOrder.V2M(matrix, pAngles);
    return matrix;
}

// The orientation at a time, which is that of a key of X and, as a rule, of Y and Z.
KgeRMatrix GlissaNode::RotationPath::MatrixAt(KTime pTime, int pKey) const
{
    return MatrixOf(
        KgeRVector(AngleAt(mX, pTime, pKey), AngleAt(mY, pTime, pKey), AngleAt(mZ, pTime, pKey)));
}

KgeQuaternion GlissaNode::RotationPath::HandleOf(const KgeRVector& pAngles) const
{
    return KgeQuaternion(mFirstInverse * MatrixOf(pAngles));
}

Path GlissaNode::RotationPath::FindPath()
{
    const Glissa& x = *mX.curve;
    const int first = mX.Before();
    const int second = mX.Behind();
    mFirstTime = x.KeyGetTime(first);
    mSecondTime = x.KeyGetTime(second);
    mFirst = MatrixAt(mFirstTime, first);
    mFirstInverse = mFirst.Transpose();
    const KgeRMatrix to_second = mFirstInverse * MatrixAt(mSecondTime, second);

    Path path;
    path.seconds = (mSecondTime - mFirstTime).GetSecondDouble();
    path.seconds_before = path.seconds;
    path.seconds_behind = path.seconds;
    // Before the first key and behind the last one the motion goes on by the same step.
    KgeRMatrix to_previous = to_second.Transpose();
    KgeRMatrix to_next = to_second * to_second;
    if (first > 0) {
        const KTime time = x.KeyGetTime(first - 1);
        path.seconds_before = (mFirstTime - time).GetSecondDouble();
        to_previous = mFirstInverse * MatrixAt(time, first - 1);
    }
    if (second + 1 < x.KeyGetCount()) {
        const KTime time = x.KeyGetTime(second + 1);
        path.seconds_behind = (time - mSecondTime).GetSecondDouble();
        to_next = mFirstInverse * MatrixAt(time, second + 1);
    }
    path.previous = KgeQuaternion(to_previous);
    path.second = KgeQuaternion(to_second);
    path.next = KgeQuaternion(to_next);
    Align(path.first, path.previous);
    Align(path.second, path.first);
    Align(path.next, path.second);
    return path;
}

KgeQuaternion GlissaNode::RotationPath::OutgoingHandle(const Path& pPath)
{
    Glissa& x = *mX.curve;
    const int key = mX.Before();
    const KgeQuaternion before = SlopeBetween(pPath.previous, pPath.first, pPath.seconds_before);
    const KgeQuaternion slope = SlopeBetween(pPath.first, pPath.second, pPath.seconds);
    const unsigned mode = x.KeyGetTangeantMode(key, false);
    KgeQuaternion derivative;
    if ((mode & eTangentTCB) != 0) {
        derivative = DerivativeOf(TCB(&x, key), slope, before, pPath.seconds_before > 0.0, 1.0);
    } else if ((mode & eTangentAuto) != 0) {
        double parameters[4] = {};
        parameters[0] = static_cast<double>(x.KeyGetRightAuto(key, true));
        if (mY.BeginsOnKeyAt(mFirstTime)) {
            parameters[1] = static_cast<double>(mY.curve->KeyGetRightAuto(mY.Before(), true));
        }
        if (mZ.BeginsOnKeyAt(mFirstTime)) {
            parameters[2] = static_cast<double>(mZ.curve->KeyGetRightAuto(mZ.Before(), true));
        }
        parameters[3] = (parameters[0] + parameters[1] + parameters[2]) / 3.0;
        for (int i = 0; i < 4; ++i) {
            GLISSA_ComputeRightBezierFromAuto(derivative[i], parameters[i], before[i], slope[i]);
        }
    } else {
        const KTime third = ThirdFrom(mFirstTime, pPath.seconds, 1.0);
        const auto angle = [this, third](const Place& pPlace) {
            return static_cast<double>(
                pPlace.BeginsOnKeyAt(mFirstTime)
                    ? pPlace.curve->KeyGetRightBezierTangeant(pPlace.Before(), false)
                    : pPlace.curve->Evaluate(third, nullptr));
        };
        return HandleOf(KgeRVector(static_cast<double>(x.KeyGetRightBezierTangeant(key, false)),
                                   angle(mY), angle(mZ)));
    }
    return pPath.first + derivative * (pPath.seconds / 3.0);
}

KgeQuaternion GlissaNode::RotationPath::IncomingHandle(const Path& pPath)
{
    Glissa& x = *mX.curve;
    const int key = mX.Behind();
    const KgeQuaternion slope = SlopeBetween(pPath.first, pPath.second, pPath.seconds);
    const KgeQuaternion behind = SlopeBetween(pPath.second, pPath.next, pPath.seconds_behind);
    const unsigned mode = x.KeyGetTangeantMode(key, false);
    KgeQuaternion derivative;
    if ((mode & eTangentTCB) != 0) {
        derivative = DerivativeOf(TCB(&x, key), slope, behind, pPath.seconds_behind > 0.0, -1.0);
    } else if ((mode & eTangentAuto) != 0) {
        // Unlike on the way out, a channel without a key of its own here follows X.
        const double own = static_cast<double>(x.KeyGetLeftAuto(key, true));
        double parameters[4] = {own, own, own, own};
        const auto take = [this](const Place& pPlace, double& pParameter) {
            if (pPlace.EndsOnKeyAt(mSecondTime) &&
                pPlace.Behind() < pPlace.curve->KeyGetCount() - 1) {
                pParameter =
                    static_cast<double>(pPlace.curve->KeyGetLeftAuto(pPlace.Behind(), true));
            }
        };
        take(mY, parameters[1]);
        take(mZ, parameters[2]);
        parameters[3] = (parameters[0] + parameters[1] + parameters[2]) / 3.0;
        for (int i = 0; i < 4; ++i) {
            GLISSA_ComputeLeftBezierFromAuto(derivative[i], parameters[i], slope[i], behind[i]);
        }
    } else {
        const KTime third = ThirdFrom(mSecondTime, pPath.seconds, -1.0);
        const auto angle = [this, third](const Place& pPlace) {
            return static_cast<double>(
                pPlace.EndsOnKeyAt(mSecondTime)
                    ? pPlace.curve->KeyGetLeftBezierTangeant(pPlace.Behind(), false)
                    : pPlace.curve->Evaluate(third, nullptr));
        };
        return HandleOf(KgeRVector(static_cast<double>(x.KeyGetLeftBezierTangeant(key, false)),
                                   angle(mY), angle(mZ)));
    }
    return pPath.second + derivative * (pPath.seconds / -3.0);
}

KgeRVector GlissaNode::RotationPath::Evaluate()
{
    const Path path = FindPath();
    const double ratio = mX.index - std::floor(mX.index);
    KgeQuaternion at;
    if (GetInterpolation() == eInterpolationLinear) {
        at = Between(path.first, path.second, ratio);
    } else {
        KgeQuaternion points[] = {path.first, OutgoingHandle(path), IncomingHandle(path),
                                  path.second};
        Align(points[1], points[0]);
        Align(points[2], points[1]);
        Align(points[3], points[2]);
        at = CubicAt(points, ratio);
    }
    KgeRVector angles;
    mOrder.M2V(angles, mFirst * KgeRMatrix(at));
    return angles;
}

void GlissaNode::RotationNodeEvaluate(double* pValues, KTime pTime, int* pHint, bool pCandidate)
{
    EvaluateRotation(pValues, std::numeric_limits<int>::max(), pTime, pHint, {pCandidate, false});
}

void GlissaNode::EvaluateRotation(double* pValues, int pRoom, KTime pTime, int* pHint,
                                  EvaluationMode pMode)
{
    CORVEKIT_ASSERT(pValues);
    const auto has_curve = [this](int pChild) { return Get(pChild) && Get(pChild)->FCurveGet(); };
    const bool has_path = GetUseQuaternion() && has_curve(0) && has_curve(1) && has_curve(2) &&
                          Get(0)->FCurveGet()->KeyGetCount() > 1;
    if (!has_path) {
        EvaluateChildren(pValues, pRoom, pTime, pHint, pMode);
        return;
    }
    RotationPath path(*this, pTime, pHint);
    if (!path.IsBetweenKeys()) {
        EvaluateChildren(pValues, pRoom, pTime, pHint, pMode);
        return;
    }
    const unsigned interpolation = path.GetInterpolation();
    if (interpolation == eInterpolationCubic || interpolation == eInterpolationLinear) {
        const KgeRVector angles = path.Evaluate();
        // Children beyond the third are no part of the rotation.
        EvaluateChildrenFrom(3, std::copy_n(angles.Data(), 3, pValues), pRoom - 3, pTime, pHint,
                             pMode);
    } else {
        EvaluateChildren(pValues, pRoom, pTime, pHint, pMode);
    }
    if (!pMode.candidates) {
        return;
    }
    // What the path gave is the candidate now, and no longer what the curves had by themselves.
    for (int i = 0; i < 3; ++i) {
        GlissaNode* child = Get(i);
        child->FCurveGet()->CandidateClear();
        if (GetLayerID() == 0) {
            child->HoldTotal(&pValues[i], 1, pTime);
        }
    }
}
