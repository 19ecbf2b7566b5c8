// Copyright (c) 2026 The glissa authors
// SPDX-License-Identifier: MIT
// Not for hosts: rotations in the fixed order X, Y, Z, whatever the order of a node is.
#pragma once

#include "corvekit/math/matrix.h"

// Angles are degrees. What else a filter needs of this order is in corvekit already: the rotation
// of a quaternion of any length (KgeRMatrix of it, the identity for a zero quaternion), and the
// angles of a matrix that is known to be a rotation (KgeRVector of it).

/// The matrix that turns about X, then Y, then Z.
inline KgeRMatrix EulerToMatrix(const KgeRVector& pAngles)
{
    return KgeRMatrix(pAngles);
}

/// The angles of a matrix whose axes need not have length 1: they are normalised, and turned round
/// if the determinant is negative. An axis of length 0 stays as it is. X and Z are in -180..180, Y
/// in -90..90.
///
/// pEpsilon  with the cosine of Y at or below it, Z is 0 and X holds what both turn.
void MatrixToEuler(KgeRVector& pAngles, const KgeAMatrix& pMatrix,
                   double pEpsilon = kGimbalTolerance);

/// The unit quaternion of a matrix, which is made orthonormal first.
inline KgeQuaternion MatrixToQuaternion(const KgeRMatrix& pMatrix)
{
    return KgeQuaternion(pMatrix);
}

/// The rotation of a quaternion of any length; the identity for one of length 0.
inline KgeRMatrix QuaternionToMatrix(const KgeQuaternion& pQuaternion)
{
    return KgeRMatrix(pQuaternion);
}

/// The shortest turn that brings pFrom to pTo, pTo times the inverse of pFrom, as a quaternion
/// with w at or above 0.
KgeQuaternion ShortTurn(const KgeRMatrix& pFrom, const KgeRMatrix& pTo);

/// How well angles that are interpolated one by one follow the rotation: the square of the angle
/// of the shortest turn between two rotations over the squared distance of their angles. Near 1 the
/// angles change as much as the rotation does; near 0 they change far more. 100 for equal angles
/// and where an angle is not finite.
double RotationInterpolationQuality(const KgeRVector& pFrom, const KgeRVector& pTo);

/// The angle brought by whole turns within half a turn of another one.
double NearestTurn(double pAngle, double pReference);
