// Copyright (c) 2026 The glissa authors
// SPDX-License-Identifier: MIT

#include "glissa/plot/rotations.h"

#include "corvekit/math/quaternion.h"
#include "glissa/filter/gimble_killer.h"
#include "glissa/filter/unroll.h"
#include "glissa/filter/unroll_dof.h"
#include "glissa/node/node.h"
#include "glissa/settings/settings.h"

#include <algorithm>
#include <cmath>

namespace
{
constexpr int kGimbalKiller = 1;
constexpr int kUnroll = 2;
constexpr double kSameDirection = 0.001;  // of a component of a unit vector

template <typename Filter>
void ApplyWithin(Filter& pFilter, GlissaNode& pNode, KTime pStart, KTime pStop)
{
    pFilter.SetStartTime(pStart);
    pFilter.SetStopTime(pStop);
    pFilter.Apply(pNode, true);
}

// The direction from a point to another one; zeros where they are the same.
KgeTVector DirectionTo(const double* pPoint, const double* pOrigin)
{
    KgeTVector direction(pPoint[0] - pOrigin[0], pPoint[1] - pOrigin[1], pPoint[2] - pOrigin[2]);
    direction.Normalize();
    return direction;
}

bool IsSmall(const KgeTVector& pVector)
{
    return std::all_of(pVector.Data(), pVector.Data() + 3,
                       [](double pPart) { return !(std::fabs(pPart) > kSameDirection); });
}
}  // namespace

void GLISSA_ApplyRotationFilter(GlissaNode* pNode, KTime pStart, KTime pStop, bool* pMinEnable,
                                double* pMin, bool* pMaxEnable, double* pMax)
{
    if (!pNode) {
        return;
    }
    const int selected = GLISSA_GetRotationFilterToApply();
    if (selected == kGimbalKiller) {
        GlissaFilterGimbleKiller filter;
        ApplyWithin(filter, *pNode, pStart, pStop);
    } else if (selected == kUnroll && pMinEnable && pMin && pMaxEnable && pMax) {
        GlissaFilterUnrollDof filter;
        filter.SetEnableMinX(pMinEnable[0]);
        filter.SetEnableMinY(pMinEnable[1]);
        filter.SetEnableMinZ(pMinEnable[2]);
        filter.SetMinFreedom(pMin[0], pMin[1], pMin[2]);
        filter.SetEnableMaxX(pMaxEnable[0]);
        filter.SetEnableMaxY(pMaxEnable[1]);
        filter.SetEnableMaxZ(pMaxEnable[2]);
        filter.SetMaxFreedom(pMax[0], pMax[1], pMax[2]);
        ApplyWithin(filter, *pNode, pStart, pStop);
    } else if (selected == kUnroll) {
        GlissaFilterUnroll filter;
        ApplyWithin(filter, *pNode, pStart, pStop);
    }
}

bool AxisAlignmentInEulerAngle(double* const pOrigin, double* const pFirst, double* const pSecond,
                               double* const pAngles)
{
    CORVEKIT_ASSERT(pOrigin && pFirst && pSecond && pAngles);
    const KgeTVector first = DirectionTo(pFirst, pOrigin);
    const KgeTVector second = DirectionTo(pSecond, pOrigin);
    KgeRVector angles;
    if (first == KgeTVector() || second == KgeTVector() || IsSmall(first - second)) {
        // No rotation.
    } else if (IsSmall(first + second)) {
        angles.Init(180.0, 0.0, 0.0);
    } else {
        KgeQuaternion turn;
        GetQuaternionFromPositionToPosition(turn, first, second);
        angles = KgeRVector(turn);
    }
    std::copy_n(angles.Data(), 3, pAngles);
    return true;
}
