// Copyright (c) 2026 The glissa authors
// SPDX-License-Identifier: MIT
#pragma once

#include "corvekit/assert.h"
#include "corvekit/export.h"
#include "corvekit/math/elementary.h"

#include <algorithm>
#include <cmath>
#include <type_traits>

class KgeAMatrix;
class KgeQuaternion;
class KgeRMatrix;

/// An index that the caller keeps at 0 or above and below pCount. Checked in debug builds, where 0
/// replaces a wrong one if the assertion handler returns.
constexpr int KgeIndex(int pIndex, [[maybe_unused]] int pCount)
{
#if !defined(NDEBUG)
    if (pIndex < 0 || pIndex >= pCount) {
        CORVEKIT_ASSERT(pIndex >= 0 && pIndex < pCount);
        return 0;
    }
#endif
    return pIndex;
}

/// Below this distance, in radians of the middle angle, a rotation read as Euler angles counts as
/// gimbal lock: 1.6e-9, about 9.2e-8 degrees.
inline constexpr double kGimbalTolerance = 1.6e-9;

/// What the vectors of three doubles share. Each kind is a type of its own, so that a rotation is
/// not passed where a scale is expected; plain values, 24 bytes, trivially copyable.
///
/// Arithmetic is that of IEEE doubles, component by component: nothing is refused, infinities and
/// NaN run through.
template <typename Type>
class KgeVector3
{
public:
    /// Zeros.
    constexpr KgeVector3() = default;
    constexpr KgeVector3(double pX, double pY, double pZ) : mValue{pX, pY, pZ} {}
    /// From three doubles, as value arrays hold them.
    constexpr explicit KgeVector3(const double* pValues)
        : mValue{pValues[0], pValues[1], pValues[2]}
    {}

    constexpr void Init(double pX, double pY, double pZ) { *this = KgeVector3(pX, pY, pZ); }

    /// Component 0, 1 or 2; any other index is misuse.
    constexpr double& operator[](int pIndex) { return mValue[KgeIndex(pIndex, 3)]; }
    constexpr double operator[](int pIndex) const { return mValue[KgeIndex(pIndex, 3)]; }

    /// The three doubles in their order, for functions that take value arrays.
    constexpr double* Data() { return mValue; }
    constexpr const double* Data() const { return mValue; }

    constexpr double Dot(const Type& pOther) const
    {
        return mValue[0] * pOther[0] + mValue[1] * pOther[1] + mValue[2] * pOther[2];
    }
    /// Right-handed: X cross Y is Z.
    constexpr Type Cross(const Type& pOther) const
    {
        return Type(mValue[1] * pOther[2] - mValue[2] * pOther[1],
                    mValue[2] * pOther[0] - mValue[0] * pOther[2],
                    mValue[0] * pOther[1] - mValue[1] * pOther[0]);
    }
    constexpr double SquareLength() const
    {
        return mValue[0] * mValue[0] + mValue[1] * mValue[1] + mValue[2] * mValue[2];
    }
    /// Euclidean length, as KgeLength.
    double Length() const { return KgeLength(mValue[0], mValue[1], mValue[2]); }
    /// Brings the length to 1 and gives the one that it had, within 1.5 units in the last place:
    /// the root of the square, where that is in range. A vector of length 0, or of one that is not
    /// finite, is unchanged.
    double Normalize()
    {
        const double square = SquareLength();
        const double length = square > 1e-280 && square < 1e280 ? std::sqrt(square) : Length();
        if (!(length > 0.0) || std::isinf(length)) {
            return length;
        }
        double divisor = length;
        if (length < 1e-280) {
            // The largest component is divided out first: a length near the least double is
            // itself rounded too coarsely to divide by.
            const double largest =
                std::max({std::fabs(mValue[0]), std::fabs(mValue[1]), std::fabs(mValue[2])});
            for (double& each : mValue) {
                each /= largest;
            }
            divisor = std::sqrt(SquareLength());
        }
        for (double& each : mValue) {
            each /= divisor;
        }
        return length;
    }

    friend constexpr bool operator==(const Type& pLeft, const Type& pRight)
    {
        return pLeft[0] == pRight[0] && pLeft[1] == pRight[1] && pLeft[2] == pRight[2];
    }
    friend constexpr Type operator+(const Type& pLeft, const Type& pRight)
    {
        return Type(pLeft[0] + pRight[0], pLeft[1] + pRight[1], pLeft[2] + pRight[2]);
    }
    friend constexpr Type operator-(const Type& pLeft, const Type& pRight)
    {
        return Type(pLeft[0] - pRight[0], pLeft[1] - pRight[1], pLeft[2] - pRight[2]);
    }
    friend constexpr Type operator-(const Type& pVector)
    {
        return Type(-pVector[0], -pVector[1], -pVector[2]);
    }
    friend constexpr Type operator*(const Type& pVector, double pFactor)
    {
        return Type(pVector[0] * pFactor, pVector[1] * pFactor, pVector[2] * pFactor);
    }
    friend constexpr Type operator*(double pFactor, const Type& pVector)
    {
        return pVector * pFactor;
    }
    friend constexpr Type operator/(const Type& pVector, double pDivisor)
    {
        return Type(pVector[0] / pDivisor, pVector[1] / pDivisor, pVector[2] / pDivisor);
    }
    friend constexpr Type& operator+=(Type& pLeft, const Type& pRight)
    {
        return pLeft = pLeft + pRight;
    }
    friend constexpr Type& operator-=(Type& pLeft, const Type& pRight)
    {
        return pLeft = pLeft - pRight;
    }
    friend constexpr Type& operator*=(Type& pLeft, double pFactor)
    {
        return pLeft = pLeft * pFactor;
    }

private:
    double mValue[3] = {0.0, 0.0, 0.0};
};

/// A point or a translation.
class KgeTVector : public KgeVector3<KgeTVector>
{
public:
    using KgeVector3::KgeVector3;
    /// Zeros.
    constexpr KgeTVector() = default;
    /// The translation of a matrix.
    CORVEKIT_API explicit KgeTVector(const KgeAMatrix& pMatrix);

    using KgeVector3::Init;
    constexpr void Init() { *this = KgeTVector(); }
};

/// Euler angles in degrees about X, Y and Z, in this order of components whatever the order of
/// turning. Where a function does not name an order, it is X first, then Y, then Z.
class KgeRVector : public KgeVector3<KgeRVector>
{
public:
    using KgeVector3::KgeVector3;
    /// No rotation.
    constexpr KgeRVector() = default;
    /// The angles of a rotation in the order X, Y, Z: X and Z in -180..180, Y in -90..90. With the
    /// cosine of Y at or below the tolerance, Z is 0 and X holds what both turn.
    CORVEKIT_API explicit KgeRVector(const KgeRMatrix& pMatrix,
                                     double pTolerance = kGimbalTolerance);
    /// The same for a quaternion of any length; none for a zero quaternion.
    CORVEKIT_API explicit KgeRVector(const KgeQuaternion& pQuaternion,
                                     double pTolerance = kGimbalTolerance);

    using KgeVector3::Init;
    constexpr void Init() { *this = KgeRVector(); }
};

/// Factors of scale along X, Y and Z.
class KgeSVector : public KgeVector3<KgeSVector>
{
public:
    using KgeVector3::KgeVector3;
    /// Ones: no scaling.
    constexpr KgeSVector() : KgeVector3(1.0, 1.0, 1.0) {}
    /// The scale of a matrix: the lengths of its three axes, all negative if its determinant is.
    CORVEKIT_API explicit KgeSVector(const KgeAMatrix& pMatrix);

    using KgeVector3::Init;
    constexpr void Init() { *this = KgeSVector(); }

    /// One scaling after the other, component by component.
    friend constexpr KgeSVector operator*(const KgeSVector& pLeft, const KgeSVector& pRight)
    {
        return KgeSVector(pLeft[0] * pRight[0], pLeft[1] * pRight[1], pLeft[2] * pRight[2]);
    }
    /// Component by component; a division by 0 gives an infinity or NaN.
    friend constexpr KgeSVector operator/(const KgeSVector& pLeft, const KgeSVector& pRight)
    {
        return KgeSVector(pLeft[0] / pRight[0], pLeft[1] / pRight[1], pLeft[2] / pRight[2]);
    }
};

/// A colour: red, green, blue, each 0 to 1.
class KgeRGBVector : public KgeVector3<KgeRGBVector>
{
public:
    using KgeVector3::KgeVector3;
    /// Black.
    constexpr KgeRGBVector() = default;

    using KgeVector3::Init;
    constexpr void Init() { *this = KgeRGBVector(); }
};

static_assert(sizeof(KgeRVector) == 24 && std::is_trivially_copyable_v<KgeRVector>);
static_assert(sizeof(KgeSVector) == 24 && std::is_trivially_copyable_v<KgeSVector>);
