// Copyright (c) 2026 The glissa authors
// SPDX-License-Identifier: MIT

// The Euler angles of a rotation that are nearest to others. Both forms of the rotation are placed
// next to the reference within the limits and compared. If neither fits, the limits are ignored.

#include "corvekit/math/rotation_order.h"

#include "corvekit/assert.h"

#include <algorithm>
#include <cmath>
#include <cstdint>
#include <limits>

namespace
{
// How near the middle angle comes to a right angle, in degrees, to count as gimbal lock. Well above
// what a matrix read back leaves (kGimbalTolerance), well below the step of a float at 90.
constexpr double kLockDegrees = 1e-6;

// Beyond this the spacing of doubles is no longer small against a turn.
constexpr double kGreatestAngle = 1e15;

constexpr double kInfinity = std::numeric_limits<double>::infinity();

// NaN is not.
bool IsUsable(double pAngle)
{
    return std::fabs(pAngle) <= kGreatestAngle;
}

bool IsUsable(const KgeRVector& pAngles)
{
    return IsUsable(pAngles[0]) && IsUsable(pAngles[1]) && IsUsable(pAngles[2]);
}

// Inclusive ends of each angle, infinite where there is no limit.
struct Limits
{
    KgeRVector mLeast = {-kInfinity, -kInfinity, -kInfinity};
    KgeRVector mGreatest = {kInfinity, kInfinity, kInfinity};

    bool Hold(const KgeRVector& pAngles) const
    {
        for (int axis = 0; axis < 3; ++axis) {
            if (pAngles[axis] < mLeast[axis] || pAngles[axis] > mGreatest[axis]) {
                return false;
            }
        }
        return true;
    }
    double Bring(double pAngle, int pAxis) const
    {
        return std::min(std::max(pAngle, mLeast[pAxis]), mGreatest[pAxis]);
    }
};

void TakeEnabled(KgeRVector& pEnds, const bool* pEnable, const double* pValues)
{
    for (int axis = 0; pEnable != nullptr && pValues != nullptr && axis < 3; ++axis) {
        if (pEnable[axis] && IsUsable(pValues[axis])) {
            pEnds[axis] = pValues[axis];
        }
    }
}

// The angle brought by whole turns within half a turn of another; from exactly half a turn it does
// not move on.
double NextTo(double pAngle, double pReference)
{
    // The same as std::modf for angles that IsUsable, without a call.
    const double way = (pReference - pAngle) / 360.0;
    double turns = static_cast<double>(static_cast<std::int64_t>(way));
    const double fraction = way - turns;
    turns += fraction > 0.5 ? 1.0 : fraction < -0.5 ? -1.0 : 0.0;
    return pAngle + 360.0 * turns;
}

// As NextTo, among the turns within the limits of an axis, if there is one.
double NextToWithin(double pAngle, double pReference, const Limits& pLimits, int pAxis)
{
    CORVEKIT_ASSERT(pAxis >= 0 && pAxis < 3);
    const double angle = NextTo(pAngle, pReference);
    if (angle < pLimits.mLeast[pAxis]) {
        return pAngle + 360.0 * std::ceil((pLimits.mLeast[pAxis] - pAngle) / 360.0);
    }
    if (angle > pLimits.mGreatest[pAxis]) {
        return pAngle + 360.0 * std::floor((pLimits.mGreatest[pAxis] - pAngle) / 360.0);
    }
    return angle;
}

// 1 or -1 where the middle angle is locked at 90 or -90 or whole turns from there, else 0.
int LockOf(double pMiddle)
{
    // Most angles are far from it. The quotient of the others is not exact.
    constexpr double kMostQuick = 1e6;
    constexpr double kFar = 1e-6;  // in half turns, above the rounding of the quotient
    const double half = pMiddle / 180.0;
    const double below = static_cast<double>(static_cast<std::int64_t>(half));
    if (std::fabs(pMiddle) < kMostQuick && std::fabs(std::fabs(half - below) - 0.5) > kFar) {
        return 0;
    }
    const double angle = std::remainder(pMiddle, 360.0);
    if (std::fabs(std::fabs(angle) - 90.0) > kLockDegrees) {
        return 0;
    }
    return angle > 0.0 ? 1 : -1;
}

// In lock the first and the third angle turn about one line, and the rotation fixes only the first
// less pSide times the third (pSide is 1 or -1). Of all pairs with that value, whole turns further
// included, this finds the one nearest to the reference inside the limits; without limits each of
// the two is half as far from its reference as the fixed part is from that of the reference.
//
// The distance is a convex function of the fixed part, least where each angle is as near to its
// reference as its limits let it be, so that only the turns on both sides of that place compete.
void PlaceLocked(KgeRVector& pAngles, const KgeRVector& pReference, const Limits& pLimits,
                 int pFirst, int pThird, double pSide)
{
    CORVEKIT_ASSERT(pFirst != pThird && (pSide == 1.0 || pSide == -1.0));
    const double reference = pReference[pFirst] - pSide * pReference[pThird];
    const double wanted = pLimits.Bring(pReference[pFirst], pFirst) -
                          pSide * pLimits.Bring(pReference[pThird], pThird);
    const double near = NextTo(pAngles[pFirst] - pSide * pAngles[pThird], wanted);
    const double far = near + (near > wanted ? -360.0 : 360.0);

    double best = kInfinity;
    for (const double fixed : {near, far}) {
        const double first = pReference[pFirst] + 0.5 * (fixed - reference);
        const double third = pReference[pThird] - pSide * 0.5 * (fixed - reference);
        // The third angle's limits as limits of the first, which moves along with it.
        const double ends[2] = {first + pSide * (pLimits.mLeast[pThird] - third),
                                first + pSide * (pLimits.mGreatest[pThird] - third)};
        const double least = std::max(pLimits.mLeast[pFirst], pSide > 0.0 ? ends[0] : ends[1]);
        const double greatest =
            std::min(pLimits.mGreatest[pFirst], pSide > 0.0 ? ends[1] : ends[0]);
        if (least > greatest) {
            continue;
        }
        const double moved = std::clamp(first, least, greatest);
        const double off = 0.5 * (fixed - reference);
        const double distance = off * off + (moved - first) * (moved - first);
        if (distance < best) {
            best = distance;
            pAngles[pFirst] = moved;
            // What was moved up to a limit may have been rounded past it.
            pAngles[pThird] =
                moved == first ? third : pLimits.Bring(third + pSide * (moved - first), pThird);
        }
    }
}

// PlaceNearest without limits and lock, as usual keys are. Returns whether the other form is
// nearer.
bool PlaceFree(KgeRVector& pOut, const KgeRVector& pIn, const KgeRVector& pReference, int pMiddle)
{
    KgeRVector form;
    KgeRVector other;
    for (int axis = 0; axis < 3; ++axis) {
        form[axis] = NextTo(pIn[axis], pReference[axis]);
        other[axis] =
            NextTo(axis == pMiddle ? 180.0 - pIn[axis] : pIn[axis] + 180.0, pReference[axis]);
    }
    const bool isOther = (other - pReference).SquareLength() < (form - pReference).SquareLength();
    pOut = isOther ? other : form;
    return isOther;
}

// Returns the nearest form within one set of limits: 0 the angles as given, 1 the other form, -1 if
// neither is within them, and pOut is then unchanged.
int PlaceNearest(KgeRVector& pOut, const KgeRVector& pIn, const KgeRVector& pReference,
                 const Limits& pLimits, const KVdRotationOrder& pOrder)
{
    const auto& axes = pOrder.GetAxes();
    const int lock = LockOf(pIn[axes[1]]);
    // In the even orders the outer angles undo each other at 90, in the odd ones at -90.
    const double side = (pOrder.GetOrder() & 1) != 0 ? -lock : lock;

    KgeRVector forms[2] = {pIn, pIn};
    forms[1][axes[1]] = 180.0 - pIn[axes[1]];
    if (lock == 0) {
        forms[1][axes[0]] += 180.0;
        forms[1][axes[2]] += 180.0;
    }  // else 180 on both is no change to their fixed part but whole turns

    int nearest = -1;
    double best = kInfinity;
    for (int i = 0; i < 2; ++i) {
        KgeRVector& form = forms[i];
        for (int axis = 0; axis < 3; ++axis) {
            form[axis] = NextToWithin(form[axis], pReference[axis], pLimits, axis);
        }
        if (lock != 0) {
            PlaceLocked(form, pReference, pLimits, axes[0], axes[2], side);
        }
        const double distance = (form - pReference).SquareLength();
        if (pLimits.Hold(form) && distance < best) {
            nearest = i;
            best = distance;
        }
    }
    if (nearest >= 0) {
        pOut = forms[nearest];
    }
    return nearest;
}
}  // namespace

bool KVdRotationOrder::V2VRef(KgeRVector& pOut, const KgeRVector& pIn, const KgeRVector& pReference,
                              const bool* pEnableMin, const double* pMin, const bool* pEnableMax,
                              const double* pMax) const
{
    if (!IsUsable(pIn) || !IsUsable(pReference)) {
        pOut = pIn;
        return false;
    }
    const int middle = GetAxes()[1];
    if (!pEnableMin && !pEnableMax && LockOf(pIn[middle]) == 0) {
        return PlaceFree(pOut, pIn, pReference, middle);
    }
    Limits limits;
    TakeEnabled(limits.mLeast, pEnableMin, pMin);
    TakeEnabled(limits.mGreatest, pEnableMax, pMax);
    int form = PlaceNearest(pOut, pIn, pReference, limits, *this);
    if (form < 0) {
        form = PlaceNearest(pOut, pIn, pReference, Limits(), *this);
    }
    return form == 1;
}
