// Copyright (c) 2026 The glissa authors
// SPDX-License-Identifier: MIT
#pragma once

#include "corvekit/export.h"
#include "corvekit/math/vector.h"

#include <type_traits>

/// A quaternion x, y, z, w with w the real part. A unit quaternion turns column vectors by twice
/// the angle whose cosine is w, about (x, y, z), anticlockwise seen against the axis; q and -q are
/// the same rotation. Other lengths are allowed everywhere: paths of quaternions pass through them.
class KgeQuaternion
{
public:
    /// No rotation: 0, 0, 0, 1.
    constexpr KgeQuaternion() = default;
    constexpr KgeQuaternion(double pX, double pY, double pZ, double pW) : mValue{pX, pY, pZ, pW} {}
    /// From four doubles in the order x, y, z, w.
    constexpr explicit KgeQuaternion(const double* pValues)
        : mValue{pValues[0], pValues[1], pValues[2], pValues[3]}
    {}
    /// The unit quaternion of a rotation matrix. The matrix is made orthonormal first
    /// (KgeRMatrix::Orthonormalize), so one that has drifted is no harm. With a positive trace w is
    /// above 0, else the largest of x, y and z is (Shoemake 1985, appendix).
    CORVEKIT_API explicit KgeQuaternion(const KgeRMatrix& pMatrix);

    constexpr void Init() { *this = KgeQuaternion(); }
    constexpr void Init(double pX, double pY, double pZ, double pW)
    {
        *this = KgeQuaternion(pX, pY, pZ, pW);
    }

    /// x, y, z, w as 0, 1, 2, 3; any other index is misuse.
    constexpr double& operator[](int pIndex) { return mValue[KgeIndex(pIndex, 4)]; }
    constexpr double operator[](int pIndex) const { return mValue[KgeIndex(pIndex, 4)]; }
    constexpr double* Data() { return mValue; }
    constexpr const double* Data() const { return mValue; }

    constexpr double Dot(const KgeQuaternion& pOther) const
    {
        return mValue[0] * pOther.mValue[0] + mValue[1] * pOther.mValue[1] +
               mValue[2] * pOther.mValue[2] + mValue[3] * pOther.mValue[3];
    }
    constexpr double SquareLength() const { return Dot(*this); }
    /// Euclidean length of the four components. Squares that leave the range do no harm.
    CORVEKIT_API double Length() const;
    /// Brings the length to 1 and gives the one that it had. A quaternion of length 0, or of one
    /// that is not finite, is unchanged.
    CORVEKIT_API double Normalize();
    /// (-x, -y, -z, w): of a unit quaternion the opposite rotation.
    constexpr KgeQuaternion Conjugate() const
    {
        return KgeQuaternion(-mValue[0], -mValue[1], -mValue[2], mValue[3]);
    }

    /// The Hamilton product: of two rotations the one that turns by pRight first.
    friend constexpr KgeQuaternion operator*(const KgeQuaternion& pLeft,
                                             const KgeQuaternion& pRight)
    {
        const double* a = pLeft.mValue;
        const double* b = pRight.mValue;
        return KgeQuaternion(a[3] * b[0] + a[0] * b[3] + a[1] * b[2] - a[2] * b[1],
                             a[3] * b[1] - a[0] * b[2] + a[1] * b[3] + a[2] * b[0],
                             a[3] * b[2] + a[0] * b[1] - a[1] * b[0] + a[2] * b[3],
                             a[3] * b[3] - a[0] * b[0] - a[1] * b[1] - a[2] * b[2]);
    }
    friend constexpr bool operator==(const KgeQuaternion& pLeft,
                                     const KgeQuaternion& pRight) = default;
    friend constexpr KgeQuaternion operator+(const KgeQuaternion& pLeft,
                                             const KgeQuaternion& pRight)
    {
        const double* a = pLeft.mValue;
        const double* b = pRight.mValue;
        return KgeQuaternion(a[0] + b[0], a[1] + b[1], a[2] + b[2], a[3] + b[3]);
    }
    friend constexpr KgeQuaternion operator-(const KgeQuaternion& pLeft,
                                             const KgeQuaternion& pRight)
    {
        return pLeft + -pRight;
    }
    friend constexpr KgeQuaternion operator-(const KgeQuaternion& pQuaternion)
    {
        const double* a = pQuaternion.mValue;
        return KgeQuaternion(-a[0], -a[1], -a[2], -a[3]);
    }
    friend constexpr KgeQuaternion operator*(const KgeQuaternion& pQuaternion, double pFactor)
    {
        const double* a = pQuaternion.mValue;
        return KgeQuaternion(a[0] * pFactor, a[1] * pFactor, a[2] * pFactor, a[3] * pFactor);
    }
    friend constexpr KgeQuaternion operator*(double pFactor, const KgeQuaternion& pQuaternion)
    {
        return pQuaternion * pFactor;
    }

private:
    double mValue[4] = {0.0, 0.0, 0.0, 1.0};
};

static_assert(sizeof(KgeQuaternion) == 32 && std::is_trivially_copyable_v<KgeQuaternion>);

/// Spherical linear interpolation between unit quaternions (Shoemake 1985), pFrom at 0 and pTo or
/// -pTo at 1: the sign is chosen so that the path goes the short way. Quaternions nearly alike
/// (1 - |dot| at most 1e-6) are blended straight. Where pTo is -pFrom (dot + 1 at most 1e-6) no
/// path is the short one: the answer is sin((1/2 - t) pi) pFrom + sin(t pi) (-y, x, -w, z) with the
/// z of pFrom as its w, and pFrom itself where that is the identity.
CORVEKIT_API KgeQuaternion KgeSlerp(const KgeQuaternion& pFrom, const KgeQuaternion& pTo,
                                    double pRatio);

/// The shortest rotation that turns the direction of pFrom to that of pTo, both seen from the
/// origin, as a unit quaternion with w at or above 0. Opposite directions have no shortest way:
/// the answer is a half turn about the coordinate axis farthest from pFrom, made perpendicular to
/// it. With a vector that is zero or not finite there is nothing to turn: the identity.
CORVEKIT_API void GetQuaternionFromPositionToPosition(KgeQuaternion& pQuaternion,
                                                      const KgeTVector& pFrom,
                                                      const KgeTVector& pTo);
