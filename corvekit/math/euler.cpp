// Copyright (c) 2026 The glissa authors
// SPDX-License-Identifier: MIT

// Euler angles to rotations and back, in the six orders. One formula serves all: the three axes of
// an order take the places of X, Y and Z, and in the odd orders, which are not cyclic, every angle
// changes its sign.

#include "corvekit/math/matrix.h"

#include "corvekit/assert.h"
#include "corvekit/math/elementary.h"
#include "corvekit/math/rotation_order.h"

#include <cmath>

namespace
{
// Where 1 / cosine of the middle angle would cost more than three bits of the third angle,
// it is read from the large elements instead.
constexpr double kNearLock = 0.125;

// The arc tangent in degrees. A zero pSine counts as positive: 180 rather than -180.
double DegreesOf(double pSine, double pCosine)
{
    return KgeArcTangent(pSine + 0.0, pCosine);
}

// The axes of an order and the sign of its angles.
struct Places
{
    int i, j, k;
    double sign;
};

Places PlacesOf(int pOrder)
{
    CORVEKIT_ASSERT(pOrder >= 0 && pOrder < 6);
    const auto& axes = KmEulerAxis[pOrder];
    return {axes[0], axes[1], axes[2], (pOrder & 1) != 0 ? -1.0 : 1.0};
}

// K J I, the three turns about the axes of the order, multiplied out.
void MatrixOfAngles(KgeRMatrix& pMatrix, const KgeRVector& pAngles, int pOrder)
{
    const auto [i, j, k, sign] = PlacesOf(pOrder);
    KgeSineCosine turns[3];
    KgeSinCos({pAngles[i], pAngles[j], pAngles[k]}, turns);
    const double si = turns[0].sine * sign, ci = turns[0].cosine;
    const double sj = turns[1].sine * sign, cj = turns[1].cosine;
    const double sk = turns[2].sine * sign, ck = turns[2].cosine;
    const double cc = ci * ck, cs = ci * sk, sc = si * ck, ss = si * sk;
    pMatrix(i, i) = cj * ck;
    pMatrix(j, i) = cj * sk;
    pMatrix(k, i) = -sj;
    pMatrix(i, j) = sj * sc - cs;
    pMatrix(j, j) = sj * ss + cc;
    pMatrix(k, j) = cj * si;
    pMatrix(i, k) = sj * cc + ss;
    pMatrix(j, k) = sj * cs - sc;
    pMatrix(k, k) = cj * ci;
}

void AnglesOfMatrix(KgeRVector& pAngles, const KgeRMatrix& pMatrix, int pOrder, double pTolerance)
{
    CORVEKIT_ASSERT(pTolerance >= 0.0);
    const auto [i, j, k, sign] = PlacesOf(pOrder);
    const KgeRMatrix& m = pMatrix;
    const double cosine = std::sqrt(m(i, i) * m(i, i) + m(j, i) * m(j, i));

    pAngles[j] = DegreesOf(sign * -m(k, i), cosine);
    if (!(cosine > pTolerance)) {
        pAngles[i] = DegreesOf(sign * -m(j, k), m(j, j));
        pAngles[k] = 0.0;
        return;
    }
    pAngles[i] = DegreesOf(sign * m(k, j), m(k, k));
    if (cosine > kNearLock) {
        pAngles[k] = DegreesOf(sign * m(j, i), m(i, i));
        return;
    }
    // Near lock both outer angles hang on small elements, whose roundings the cosine magnifies.
    // The third angle is read from the matrix with the first turn taken out (Day, "Extracting Euler
    // angles from a rotation matrix", 2012), so that what the first angle is off, the third makes
    // up for: the column of J in K J is (-sin k, cos k), here times the cosine.
    pAngles[k] = DegreesOf(sign * (m(k, j) * m(i, k) - m(k, k) * m(i, j)),
                           m(k, k) * m(j, j) - m(k, j) * m(j, k));
}
}  // namespace

KgeRMatrix::KgeRMatrix(double pX, double pY, double pZ)
{
    MatrixOfAngles(*this, KgeRVector(pX, pY, pZ), 0);
}

KgeRVector::KgeRVector(const KgeRMatrix& pMatrix, double pTolerance)
{
    AnglesOfMatrix(*this, pMatrix, 0, pTolerance);
}

KgeRVector::KgeRVector(const KgeQuaternion& pQuaternion, double pTolerance)
    : KgeRVector(KgeRMatrix(pQuaternion), pTolerance)
{}

void KVdRotationOrder::V2M(KgeRMatrix& pMatrix, const KgeRVector& pVector) const
{
    MatrixOfAngles(pMatrix, pVector, mOrder);
}

void KVdRotationOrder::M2V(KgeRVector& pVector, const KgeRMatrix& pMatrix) const
{
    AnglesOfMatrix(pVector, pMatrix, mOrder, kGimbalTolerance);
}

void KVdRotationOrder::V2Q(KgeQuaternion& pQuaternion, const KgeRVector& pVector) const
{
    KgeRMatrix matrix;
    V2M(matrix, pVector);
    pQuaternion = KgeQuaternion(matrix);
}

void KVdRotationOrder::Q2V(KgeRVector& pVector, const KgeQuaternion& pQuaternion) const
{
    M2V(pVector, KgeRMatrix(pQuaternion));
}
