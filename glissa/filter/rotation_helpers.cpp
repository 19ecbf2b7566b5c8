// Copyright (c) 2026 The glissa authors
// SPDX-License-Identifier: MIT

#include "glissa/filter/rotation_helpers.h"

#include "corvekit/math/elementary.h"

#include <cmath>
#include <limits>

void MatrixToEuler(KgeRVector& pAngles, const KgeAMatrix& pMatrix, double pEpsilon)
{
    const double sign = pMatrix.Determinant() < 0.0 ? -1.0 : 1.0;
    KgeRMatrix rotation;
    for (int i = 0; i < 3; ++i) {
        KgeTVector axis = pMatrix.GetAxis(i);
        axis.Normalize();
        rotation.SetAxis(i, sign * axis);
    }
    pAngles = KgeRVector(rotation, pEpsilon);
}

KgeQuaternion ShortTurn(const KgeRMatrix& pFrom, const KgeRMatrix& pTo)
{
    const KgeQuaternion turn = MatrixToQuaternion(pTo * pFrom.Transpose());
    return turn[3] < 0.0 ? -turn : turn;
}

double RotationInterpolationQuality(const KgeRVector& pFrom, const KgeRVector& pTo)
{
    const double square = (pFrom - pTo).SquareLength();
    if (!(square > std::numeric_limits<double>::epsilon() && std::isfinite(square))) {
        return 100.0;
    }
    const KgeQuaternion turn = ShortTurn(EulerToMatrix(pFrom), EulerToMatrix(pTo));
    // The arc cosine of w has no digits left for angles below 1e-6 degrees.
    const double angle = 2.0 * KgeArcTangent(KgeLength(turn[0], turn[1], turn[2]), turn[3]);
    return angle * angle / square;
}

double NearestTurn(double pAngle, double pReference)
{
    double turns = 0.0;
    const double fraction = std::modf((pReference - pAngle) / 360.0, &turns);
    turns += fraction > 0.5 ? 1.0 : fraction < -0.5 ? -1.0 : 0.0;
    return pAngle + 360.0 * turns;
}
