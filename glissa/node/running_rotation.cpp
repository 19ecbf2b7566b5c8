// Copyright (c) 2026 The glissa authors
// SPDX-License-Identifier: MIT

// A rotation remains a matrix along the chain of layers and becomes angles at its end.

#include "glissa/node/running_rotation.h"

#include "corvekit/assert.h"

#include <algorithm>

namespace
{
// The part pWeight of a rotation. The whole of it needs no power.
KgeRMatrix PartOf(const double* pAngles, double pWeight, const KVdRotationOrder& pOrder)
{
    const KgeRMatrix whole = RotationMatrix(pAngles, pOrder);
    return pWeight == 1.0 ? whole : whole.Power(pWeight);
}
}  // namespace

KgeRMatrix RotationMatrix(const double* pAngles, const KVdRotationOrder& pOrder)
{
    CORVEKIT_ASSERT(pAngles);
    KgeRMatrix matrix;
    pOrder.V2M(matrix, KgeRVector(pAngles));
    return matrix;
}

void ScaleRotation(double* pAngles, double pWeight, const KVdRotationOrder& pOrder)
{
    CORVEKIT_ASSERT(pAngles);
    if (pWeight != 1.0) {
        KgeRVector scaled;
        pOrder.M2V(scaled, PartOf(pAngles, pWeight, pOrder));
        std::copy_n(scaled.Data(), 3, pAngles);
    }
}

void RunningRotation::ReadAngles(const double* pAngles)
{
    CORVEKIT_ASSERT(pAngles);
    if (!mHoldsMatrix) {
        mHoldsMatrix = true;
        // A chain begins with three zeros.
        const bool isIdentity = pAngles[0] == 0.0 && pAngles[1] == 0.0 && pAngles[2] == 0.0;
        mMatrix = isIdentity ? KgeRMatrix() : RotationMatrix(pAngles, mOrder);
    }
}

void RunningRotation::ReleaseMatrix(double* pAngles)
{
    CORVEKIT_ASSERT(pAngles && mHoldsMatrix);
    mHoldsMatrix = false;
    KgeRVector angles;
    mOrder.M2V(angles, mMatrix);
    std::copy_n(angles.Data(), 3, pAngles);
}

void RunningRotation::Blend(double* pResult, const double* pValues, double pWeight,
                            eLayerMode pMode)
{
    CORVEKIT_ASSERT(pResult && pValues);
    switch (pMode) {
    case eLayerModeAdditive:
        ReadAngles(pResult);
        mMatrix = mMatrix * PartOf(pValues, pWeight, mOrder);
        break;
    case eLayerModeOverride:
        // Angles of full weight are kept as they are, whole turns included.
        mHoldsMatrix = pWeight != 1.0;
        if (mHoldsMatrix) {
            mMatrix = PartOf(pValues, pWeight, mOrder);
        } else {
            std::copy_n(pValues, 3, pResult);
        }
        break;
    case eLayerModeOverridePassthrough:
        ReadAngles(pResult);
        mMatrix = KgeRMatrix(KgeSlerp(KgeQuaternion(mMatrix),
                                      KgeQuaternion(RotationMatrix(pValues, mOrder)), pWeight));
        break;
    }
}
