// Copyright (c) 2026 The glissa authors
// SPDX-License-Identifier: MIT
#pragma once

#include "corvekit/export.h"
#include "corvekit/math/quaternion.h"
#include "corvekit/math/vector.h"

#include <type_traits>

// Matrices act on column vectors: A * B acts by B first. Elements are named (row, column); they are
// stored by columns, since the columns are what has a meaning: the images of the three axes, and
// the translation.
//
// | degenerate input                  | answer                                                  |
// |-----------------------------------|---------------------------------------------------------|
// | rotation of a zero quaternion     | the identity                                            |
// | orthonormalising parallel axes    | the identity                                            |
// | inverse of a singular matrix      | the identity, and the caller is told                    |
// | inverse of a scale of 0           | 0 on that axis                                          |
// | rotation of a flattened matrix    | the lost axis is rebuilt from the others, if two remain |
// | infinities, NaN                   | run through, NaN comes out                              |

/// A rotation: an orthonormal 3x3 matrix with determinant 1, as long as what it is made from is
/// one. 72 bytes, trivially copyable.
class KgeRMatrix
{
public:
    /// The identity.
    constexpr KgeRMatrix() = default;
    /// Turns by degrees about X, then Y, then Z. Exact at whole multiples of 90 degrees.
    CORVEKIT_API KgeRMatrix(double pX, double pY, double pZ);
    explicit KgeRMatrix(const KgeRVector& pAngles) : KgeRMatrix(pAngles[0], pAngles[1], pAngles[2])
    {}
    /// The rotation of a quaternion of any length (Shoemake 1985): every product of components is
    /// divided by the squared length.
    CORVEKIT_API explicit KgeRMatrix(const KgeQuaternion& pQuaternion);
    /// The axes of an affine matrix brought to length 1, all turned round if its determinant is
    /// negative; what is left when KgeSVector has taken the scale. A shear remains.
    CORVEKIT_API explicit KgeRMatrix(const KgeAMatrix& pMatrix);

    constexpr void Init() { *this = KgeRMatrix(); }

    /// Row and column 0 to 2; any other is misuse.
    constexpr double& operator()(int pRow, int pColumn)
    {
        return mAxis[KgeIndex(pColumn, 3)][KgeIndex(pRow, 3)];
    }
    constexpr double operator()(int pRow, int pColumn) const
    {
        return mAxis[KgeIndex(pColumn, 3)][KgeIndex(pRow, 3)];
    }
    /// What becomes of axis 0, 1 or 2: a column.
    constexpr KgeTVector GetAxis(int pColumn) const
    {
        return KgeTVector(mAxis[KgeIndex(pColumn, 3)]);
    }
    constexpr void SetAxis(int pColumn, const KgeTVector& pAxis)
    {
        for (int row = 0; row < 3; ++row) {
            (*this)(row, pColumn) = pAxis[row];
        }
    }

    /// The transpose, which of a rotation is the inverse.
    constexpr KgeRMatrix Transpose() const
    {
        KgeRMatrix result;
        for (int column = 0; column < 3; ++column) {
            for (int row = 0; row < 3; ++row) {
                result.mAxis[column][row] = mAxis[row][column];
            }
        }
        return result;
    }
    constexpr double Determinant() const { return GetAxis(0).Cross(GetAxis(1)).Dot(GetAxis(2)); }
    /// Axis 0 is normalised, axis 2 becomes the normalised cross product of axes 0 and 1, axis 1
    /// that of 2 and 0: a rotation again after rounding has worn it. Axis 0 of length 0, or
    /// parallel to axis 1, gives the identity.
    CORVEKIT_API void Orthonormalize();
    /// The same axis turned by pExponent times the angle, the short way round (at most 180
    /// degrees). A rotation by less than some 0.5 degrees (1 - cos of half the angle at most 1e-5)
    /// is unchanged instead, and is the identity for an exponent within 1e-6 of 0.
    CORVEKIT_API KgeRMatrix Power(double pExponent) const;

    friend constexpr bool operator==(const KgeRMatrix&, const KgeRMatrix&) = default;
    friend constexpr KgeTVector operator*(const KgeRMatrix& pMatrix, const KgeTVector& pVector)
    {
        const auto& m = pMatrix.mAxis;
        const double x = pVector[0];
        const double y = pVector[1];
        const double z = pVector[2];
        return KgeTVector(m[0][0] * x + m[1][0] * y + m[2][0] * z,
                          m[0][1] * x + m[1][1] * y + m[2][1] * z,
                          m[0][2] * x + m[1][2] * y + m[2][2] * z);
    }
    friend constexpr KgeRMatrix operator*(const KgeRMatrix& pLeft, const KgeRMatrix& pRight)
    {
        KgeRMatrix result;
        for (int column = 0; column < 3; ++column) {
            result.SetAxis(column, pLeft * pRight.GetAxis(column));
        }
        return result;
    }

private:
    double mAxis[3][3] = {{1.0, 0.0, 0.0}, {0.0, 1.0, 0.0}, {0.0, 0.0, 1.0}};
};

/// A translation as a matrix.
class KgeTMatrix
{
public:
    /// The identity.
    constexpr KgeTMatrix() = default;
    constexpr explicit KgeTMatrix(const KgeTVector& pTranslation) : mTranslation(pTranslation) {}

    constexpr void Init() { *this = KgeTMatrix(); }
    constexpr const KgeTVector& GetTranslation() const { return mTranslation; }
    constexpr KgeTMatrix Inverse() const { return KgeTMatrix(-mTranslation); }

    friend constexpr bool operator==(const KgeTMatrix&, const KgeTMatrix&) = default;

private:
    KgeTVector mTranslation;
};

/// A scaling along the axes as a matrix: a diagonal.
class KgeSMatrix
{
public:
    /// The identity.
    constexpr KgeSMatrix() = default;
    constexpr explicit KgeSMatrix(const KgeSVector& pScale) : mScale(pScale) {}

    constexpr void Init() { *this = KgeSMatrix(); }
    constexpr const KgeSVector& GetScale() const { return mScale; }
    /// The reciprocals; 0 where the scale is 0, so that a flattened axis remains flat.
    constexpr KgeSMatrix Inverse() const
    {
        KgeSVector inverse;
        for (int i = 0; i < 3; ++i) {
            inverse[i] = mScale[i] == 0.0 ? 0.0 : 1.0 / mScale[i];
        }
        return KgeSMatrix(inverse);
    }

    friend constexpr bool operator==(const KgeSMatrix&, const KgeSMatrix&) = default;

private:
    KgeSVector mScale;
};

/// An affine map: a linear 3x3 part and a translation. As a 4x4 matrix its bottom row is always
/// 0 0 0 1, so that only the twelve doubles above it are kept. Trivially copyable.
class KgeAMatrix
{
public:
    /// The identity.
    constexpr KgeAMatrix() = default;
    constexpr explicit KgeAMatrix(const KgeTVector& pTranslation) { SetTranslation(pTranslation); }
    /// Scales, then turns about X, Y and Z in this order, then moves: T * R * S.
    CORVEKIT_API KgeAMatrix(const KgeTVector& pTranslation, const KgeRVector& pRotation,
                            const KgeSVector& pScale);
    // The three simple kinds are affine maps: nothing is lost on the way.
    constexpr KgeAMatrix(const KgeTMatrix& pMatrix) : KgeAMatrix(pMatrix.GetTranslation()) {}
    constexpr KgeAMatrix(const KgeRMatrix& pMatrix)
    {
        for (int column = 0; column < 3; ++column) {
            SetAxis(column, pMatrix.GetAxis(column));
        }
    }
    constexpr KgeAMatrix(const KgeSMatrix& pMatrix)
    {
        for (int i = 0; i < 3; ++i) {
            mColumn[i][i] = pMatrix.GetScale()[i];
        }
    }

    constexpr void Init() { *this = KgeAMatrix(); }

    /// Row 0 to 2, column 0 to 3, column 3 the translation; any other is misuse.
    constexpr double& operator()(int pRow, int pColumn)
    {
        return mColumn[KgeIndex(pColumn, 4)][KgeIndex(pRow, 3)];
    }
    constexpr double operator()(int pRow, int pColumn) const
    {
        return mColumn[KgeIndex(pColumn, 4)][KgeIndex(pRow, 3)];
    }
    /// Columns 0 to 2: what becomes of the axes. Column 3 is the translation.
    constexpr KgeTVector GetAxis(int pColumn) const
    {
        return KgeTVector(mColumn[KgeIndex(pColumn, 4)]);
    }
    constexpr void SetAxis(int pColumn, const KgeTVector& pAxis)
    {
        for (int row = 0; row < 3; ++row) {
            (*this)(row, pColumn) = pAxis[row];
        }
    }
    constexpr KgeTVector GetTranslation() const { return GetAxis(3); }
    constexpr void SetTranslation(const KgeTVector& pTranslation) { SetAxis(3, pTranslation); }

    /// Of the linear part, which is that of the whole.
    constexpr double Determinant() const { return GetAxis(0).Cross(GetAxis(1)).Dot(GetAxis(2)); }
    /// The inverse map. A matrix whose determinant is exactly 0, or that is not finite, has none:
    /// the answer is the identity, and pSingular, where given, receives true.
    CORVEKIT_API KgeAMatrix Inverse(bool* pSingular = nullptr) const;

    friend constexpr bool operator==(const KgeAMatrix&, const KgeAMatrix&) = default;
    /// The image of a point.
    friend constexpr KgeTVector operator*(const KgeAMatrix& pMatrix, const KgeTVector& pPoint)
    {
        return pMatrix.TransformDirection(pPoint) + pMatrix.GetTranslation();
    }
    friend constexpr KgeAMatrix operator*(const KgeAMatrix& pLeft, const KgeAMatrix& pRight)
    {
        KgeAMatrix result;
        for (int column = 0; column < 3; ++column) {
            result.SetAxis(column, pLeft.TransformDirection(pRight.GetAxis(column)));
        }
        result.SetTranslation(pLeft * pRight.GetTranslation());
        return result;
    }

    /// The image of a direction: the linear part alone.
    constexpr KgeTVector TransformDirection(const KgeTVector& pDirection) const
    {
        const double x = pDirection[0];
        const double y = pDirection[1];
        const double z = pDirection[2];
        return KgeTVector(mColumn[0][0] * x + mColumn[1][0] * y + mColumn[2][0] * z,
                          mColumn[0][1] * x + mColumn[1][1] * y + mColumn[2][1] * z,
                          mColumn[0][2] * x + mColumn[1][2] * y + mColumn[2][2] * z);
    }

private:
    double mColumn[4][3] = {{1.0, 0.0, 0.0}, {0.0, 1.0, 0.0}, {0.0, 0.0, 1.0}, {0.0, 0.0, 0.0}};
};

static_assert(sizeof(KgeRMatrix) == 72 && std::is_trivially_copyable_v<KgeRMatrix>);
static_assert(sizeof(KgeAMatrix) == 96 && std::is_trivially_copyable_v<KgeAMatrix>);
