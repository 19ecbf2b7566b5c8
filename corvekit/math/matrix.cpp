// Copyright (c) 2026 The glissa authors
// SPDX-License-Identifier: MIT

// Rotations from quaternions and back into shape, powers of rotations, and the decomposition and
// inverse of affine maps. Euler angles are turned into matrices in euler.cpp.

#include "corvekit/math/matrix.h"

#include "corvekit/math/elementary.h"

#include <cmath>
#include <utility>

KgeTVector::KgeTVector(const KgeAMatrix& pMatrix) : KgeTVector(pMatrix.GetTranslation()) {}

KgeSVector::KgeSVector(const KgeAMatrix& pMatrix)
    : KgeSVector(pMatrix.GetAxis(0).Length(), pMatrix.GetAxis(1).Length(),
                 pMatrix.GetAxis(2).Length())
{
    if (pMatrix.Determinant() < 0.0) {
        *this = -*this;
    }
}

KgeRMatrix::KgeRMatrix(const KgeQuaternion& pQuaternion)
{
    KgeQuaternion q = pQuaternion;
    double square = q.SquareLength();
    if (!(square > 1e-280 && square < 1e280)) {
        // The square has left the range of doubles; the direction of the quaternion has not.
        q.Normalize();
        square = q.SquareLength();
    }
    const double scale = square == 0.0 ? 0.0 : 2.0 / square;
    const double xs = q[0] * scale;
    const double ys = q[1] * scale;
    const double zs = q[2] * scale;
    const double xx = q[0] * xs, xy = q[0] * ys, xz = q[0] * zs;
    const double yy = q[1] * ys, yz = q[1] * zs, zz = q[2] * zs;
    const double wx = q[3] * xs, wy = q[3] * ys, wz = q[3] * zs;
    SetAxis(0, KgeTVector(1.0 - (yy + zz), xy + wz, xz - wy));
    SetAxis(1, KgeTVector(xy - wz, 1.0 - (xx + zz), yz + wx));
    SetAxis(2, KgeTVector(xz + wy, yz - wx, 1.0 - (xx + yy)));
}

KgeRMatrix::KgeRMatrix(const KgeAMatrix& pMatrix)
{
    KgeTVector axes[3];
    int lost = -1;
    for (int i = 0; i < 3; ++i) {
        axes[i] = pMatrix.GetAxis(i);
        if (axes[i].Normalize() == 0.0) {
            if (lost >= 0) {
                return;  // a line or a point has no defined rotation
            }
            lost = i;
        }
    }
    if (lost >= 0) {
        axes[lost] = axes[(lost + 1) % 3].Cross(axes[(lost + 2) % 3]);
        axes[lost].Normalize();
    }
    const double sign = axes[0].Cross(axes[1]).Dot(axes[2]) < 0.0 ? -1.0 : 1.0;
    for (int i = 0; i < 3; ++i) {
        SetAxis(i, sign * axes[i]);
    }
}

void KgeRMatrix::Orthonormalize()
{
    KgeTVector first = GetAxis(0);
    KgeTVector third;
    if (first.Normalize() != 0.0) {
        third = first.Cross(GetAxis(1));
    }
    if (third.Normalize() == 0.0) {
        Init();
        return;
    }
    SetAxis(0, first);
    SetAxis(1, third.Cross(first));
    SetAxis(2, third);
}

KgeRMatrix KgeRMatrix::Power(double pExponent) const
{
    KgeQuaternion q(*this);
    if (q[3] < 0.0) {
        q = -q;
    }
    if (std::fabs(q[3] - 1.0) > 1e-5) {
        // The sine of half the angle from x, y and z: the root of 1 - w^2 and the arc cosine of w
        // would lose digits as w nears 1.
        const double sine = KgeLength(q[0], q[1], q[2]);
        const KgeSineCosine turned = KgeSinCos(KgeArcTangent(sine, q[3]) * pExponent);
        const double factor = turned.sine / sine;
        q.Init(q[0] * factor, q[1] * factor, q[2] * factor, turned.cosine);
    } else if (std::fabs(pExponent) <= 1e-6) {
        q.Init();
    }
    return KgeRMatrix(q);
}

KgeAMatrix::KgeAMatrix(const KgeTVector& pTranslation, const KgeRVector& pRotation,
                       const KgeSVector& pScale)
{
    const KgeRMatrix rotation(pRotation);
    for (int i = 0; i < 3; ++i) {
        SetAxis(i, rotation.GetAxis(i) * pScale[i]);
    }
    SetTranslation(pTranslation);
}

KgeAMatrix KgeAMatrix::Inverse(bool* pSingular) const
{
    // Each axis is scaled by a power of two to a size near 1, which costs no digit, so that the
    // determinant leaves the range of doubles only if the answer does. Row i of the inverse is then
    // the cross product of the two other axes over the determinant (Cramer), scaled the same way.
    if (pSingular != nullptr) {
        *pSingular = true;
    }
    KgeTVector axes[3];
    int exponents[3];
    for (int i = 0; i < 3; ++i) {
        axes[i] = GetAxis(i);
        const double size = axes[i].Length();
        if (size == 0.0 || !std::isfinite(size)) {
            return KgeAMatrix();
        }
        exponents[i] = -std::ilogb(size);
        for (int row = 0; row < 3; ++row) {
            axes[i][row] = std::scalbn(axes[i][row], exponents[i]);
        }
    }
    const double determinant = axes[0].Cross(axes[1]).Dot(axes[2]);
    if (determinant == 0.0) {
        return KgeAMatrix();
    }
    if (pSingular != nullptr) {
        *pSingular = false;
    }
    KgeAMatrix inverse;
    for (int row = 0; row < 3; ++row) {
        const KgeTVector across = axes[(row + 1) % 3].Cross(axes[(row + 2) % 3]) / determinant;
        for (int column = 0; column < 3; ++column) {
            inverse(row, column) = std::scalbn(across[column], exponents[row]);
        }
    }
    inverse.SetTranslation(-inverse.TransformDirection(GetTranslation()));
    return inverse;
}
