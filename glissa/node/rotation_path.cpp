// Copyright (c) 2026 The glissa authors
// SPDX-License-Identifier: MIT

// Between two keys of its X curve a rotation can run along one path of quaternions: a Bezier curve
// through the keyed orientations, whose handles come from the tangents of the keys. All
// orientations are relative to that at the first key, so that quaternions are near the identity.

#include "glissa/node/rotation_path.h"

#include "corvekit/math/rotation_order.h"
#include "glissa/curve/curve.h"
#include "glissa/curve/tangent_math.h"
#include "glissa/ext/active.h"

#include <cmath>

namespace
{
// The segment of a curve that contains a time.
struct Segment
{
    Segment(Glissa* pCurve, KTime pTime, int* pHint)
        : curve(pCurve), index(pCurve->KeyFindAll(pTime, pHint))
    {}

    int Before() const { return static_cast<int>(std::floor(index)); }
    int After() const { return static_cast<int>(std::ceil(index)); }
    bool IsBetweenKeys() const
    {
        return Before() >= 0 && After() < curve->KeyGetCount() && Before() < After();
    }
    // Whether the first, or the last, key of the segment is at the time of a key of the X curve.
    // False for the first key of the whole curve.
    bool BeginsOnKeyAt(KTime pTime) const { return Before() > 0 && IsKeyAt(Before(), pTime); }
    bool EndsOnKeyAt(KTime pTime) const { return After() > 0 && IsKeyAt(After(), pTime); }

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
    double secondsBefore, seconds, secondsAfter;
};

KgeQuaternion SlopeBetween(const KgeQuaternion& pFrom, const KgeQuaternion& pTo, double pSeconds)
{
    const KgeQuaternion difference = pTo - pFrom;
    return pSeconds > 0.0 ? difference * (1.0 / pSeconds) : difference;
}

// Changes the sign where the other one is nearer to a quaternion.
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

// The value of a curve at a time. On a key it is that of the key, unless a host interpolates.
double AngleAt(const Segment& pSegment, KTime pTime, int pKey)
{
    Glissa& curve = *pSegment.curve;
    if (pKey < curve.KeyGetCount() && curve.KeyGetTime(pKey) == pTime &&
        CustomTangentTypeCount() == 0) {
        return static_cast<double>(curve.KeyGetValue(pKey));
    }
    int hint = pKey;
    return static_cast<double>(curve.Evaluate(pTime, &hint));
}

// The derivative at a TCB key (Kochanek and Bartels 1984), on the side of pSlope; pOther is the
// slope of the other side. pSign is 1 for the outgoing side and -1 for the incoming one.
KgeQuaternion DerivativeOf(const TCB& pKey, const KgeQuaternion& pSlope,
                           const KgeQuaternion& pOther, bool pHasOther, double pSign)
{
    CORVEKIT_ASSERT(pSign == 1.0 || pSign == -1.0);
    const double bias = pSign * pKey.bias;
    const KgeQuaternion own = pSlope * ((1.0 - pKey.continuity) * (1.0 - bias));
    const KgeQuaternion other = pHasOther ? pOther * ((1.0 + pKey.continuity) * (1.0 + bias)) : own;
    return (own + other) * ((1.0 - pKey.tension) * 0.5);
}

// The time a third of a segment after a time, or before it with pSign -1.
KTime ThirdFrom(KTime pTime, double pSeconds, double pSign)
{
    return pTime + KTime::FromSeconds(pSign * pSeconds / 3.0);
}

// One evaluation between two keys: the segments of the curves, and the rotation order.
class RotationPath
{
public:
    RotationPath(Glissa* const (&pCurves)[3], int pRotationOrder, KTime pTime, int* pHint)
        : mOrder(pRotationOrder),
          mX(pCurves[0], pTime, pHint),
          mY(pCurves[1], pTime, nullptr),
          mZ(pCurves[2], pTime, nullptr)
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
    Segment mX;
    Segment mY;
    Segment mZ;
    KTime mFirstTime;
    KTime mSecondTime;
    KgeRMatrix mFirst;         // the orientation at the first key
    KgeRMatrix mFirstInverse;  // makes other orientations relative to it
};

KgeRMatrix RotationPath::MatrixOf(const KgeRVector& pAngles) const
{
    KgeRMatrix matrix;
    mOrder.V2M(matrix, pAngles);
    return matrix;
}

// The orientation at the time of key pKey of X. Y and Z usually have a key there too.
KgeRMatrix RotationPath::MatrixAt(KTime pTime, int pKey) const
{
    return MatrixOf(
        KgeRVector(AngleAt(mX, pTime, pKey), AngleAt(mY, pTime, pKey), AngleAt(mZ, pTime, pKey)));
}

KgeQuaternion RotationPath::HandleOf(const KgeRVector& pAngles) const
{
    return KgeQuaternion(mFirstInverse * MatrixOf(pAngles));
}

Path RotationPath::FindPath()
{
    CORVEKIT_ASSERT(IsBetweenKeys());
    const Glissa& x = *mX.curve;
    const int first = mX.Before();
    const int second = mX.After();
    mFirstTime = x.KeyGetTime(first);
    mSecondTime = x.KeyGetTime(second);
    mFirst = MatrixAt(mFirstTime, first);
    mFirstInverse = mFirst.Transpose();
    const KgeRMatrix toSecond = mFirstInverse * MatrixAt(mSecondTime, second);

    Path path;
    path.seconds = (mSecondTime - mFirstTime).GetSecondDouble();
    path.secondsBefore = path.seconds;
    path.secondsAfter = path.seconds;
    // Before the first key and after the last one the motion continues by the same step.
    KgeRMatrix toPrevious = toSecond.Transpose();
    KgeRMatrix toNext = toSecond * toSecond;
    if (first > 0) {
        const KTime time = x.KeyGetTime(first - 1);
        path.secondsBefore = (mFirstTime - time).GetSecondDouble();
        toPrevious = mFirstInverse * MatrixAt(time, first - 1);
    }
    if (second + 1 < x.KeyGetCount()) {
        const KTime time = x.KeyGetTime(second + 1);
        path.secondsAfter = (time - mSecondTime).GetSecondDouble();
        toNext = mFirstInverse * MatrixAt(time, second + 1);
    }
    path.previous = KgeQuaternion(toPrevious);
    path.second = KgeQuaternion(toSecond);
    path.next = KgeQuaternion(toNext);
    Align(path.first, path.previous);
    Align(path.second, path.first);
    Align(path.next, path.second);
    return path;
}

KgeQuaternion RotationPath::OutgoingHandle(const Path& pPath)
{
    Glissa& x = *mX.curve;
    const int key = mX.Before();
    const KgeQuaternion before = SlopeBetween(pPath.previous, pPath.first, pPath.secondsBefore);
    const KgeQuaternion slope = SlopeBetween(pPath.first, pPath.second, pPath.seconds);
    const unsigned mode = x.KeyGetTangeantMode(key, false);
    KgeQuaternion derivative;
    if ((mode & eTangentTCB) != 0) {
        derivative = DerivativeOf(TCB(&x, key), slope, before, pPath.secondsBefore > 0.0, 1.0);
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
        const auto angle = [this, third](const Segment& pSegment) {
            return static_cast<double>(
                pSegment.BeginsOnKeyAt(mFirstTime)
                    ? pSegment.curve->KeyGetRightBezierTangeant(pSegment.Before(), false)
                    : pSegment.curve->Evaluate(third, nullptr));
        };
        return HandleOf(KgeRVector(static_cast<double>(x.KeyGetRightBezierTangeant(key, false)),
                                   angle(mY), angle(mZ)));
    }
    return pPath.first + derivative * (pPath.seconds / 3.0);
}

KgeQuaternion RotationPath::IncomingHandle(const Path& pPath)
{
    Glissa& x = *mX.curve;
    const int key = mX.After();
    const KgeQuaternion slope = SlopeBetween(pPath.first, pPath.second, pPath.seconds);
    const KgeQuaternion behind = SlopeBetween(pPath.second, pPath.next, pPath.secondsAfter);
    const unsigned mode = x.KeyGetTangeantMode(key, false);
    KgeQuaternion derivative;
    if ((mode & eTangentTCB) != 0) {
        derivative = DerivativeOf(TCB(&x, key), slope, behind, pPath.secondsAfter > 0.0, -1.0);
    } else if ((mode & eTangentAuto) != 0) {
        // Unlike on the outgoing side, a channel without a key at this time takes the parameter of
        // X.
        const double own = static_cast<double>(x.KeyGetLeftAuto(key, true));
        double parameters[4] = {own, own, own, own};
        const auto take = [this](const Segment& pSegment, double& pParameter) {
            if (pSegment.EndsOnKeyAt(mSecondTime) &&
                pSegment.After() < pSegment.curve->KeyGetCount() - 1) {
                pParameter =
                    static_cast<double>(pSegment.curve->KeyGetLeftAuto(pSegment.After(), true));
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
        const auto angle = [this, third](const Segment& pSegment) {
            return static_cast<double>(
                pSegment.EndsOnKeyAt(mSecondTime)
                    ? pSegment.curve->KeyGetLeftBezierTangeant(pSegment.After(), false)
                    : pSegment.curve->Evaluate(third, nullptr));
        };
        return HandleOf(KgeRVector(static_cast<double>(x.KeyGetLeftBezierTangeant(key, false)),
                                   angle(mY), angle(mZ)));
    }
    return pPath.second + derivative * (pPath.seconds / -3.0);
}

KgeRVector RotationPath::Evaluate()
{
    const Path path = FindPath();
    const double ratio = mX.index - std::floor(mX.index);
    CORVEKIT_ASSERT(ratio > 0.0 && ratio < 1.0);
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
}  // namespace

PathKind EvaluateRotationPath(Glissa* const (&pCurves)[3], int pRotationOrder, KTime pTime,
                              int* pHint, KgeRVector& pAngles)
{
    CORVEKIT_ASSERT(pCurves[0] && pCurves[1] && pCurves[2]);
    if (pCurves[0]->KeyGetCount() < 2) {
        return PathKind::none;
    }
    RotationPath path(pCurves, pRotationOrder, pTime, pHint);
    if (!path.IsBetweenKeys()) {
        return PathKind::none;
    }
    const unsigned interpolation = path.GetInterpolation();
    if (interpolation != eInterpolationCubic && interpolation != eInterpolationLinear) {
        return PathKind::byChannel;
    }
    pAngles = path.Evaluate();
    return PathKind::path;
}
