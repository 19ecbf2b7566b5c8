// Copyright (c) 2026 The glissa authors
// SPDX-License-Identifier: MIT
#pragma once

#include "corvekit/export.h"
#include "corvekit/math/matrix.h"
#include "corvekit/math/quaternion.h"
#include "corvekit/math/vector.h"

/// The six orders in which three Euler angles can turn.
inline constexpr int kRotationOrderCount = 6;

/// The axes (0 is X, 1 is Y, 2 is Z) of each order number, in order of turning: XYZ, XZY, YZX, YXZ,
/// ZXY, ZYX. XYZ turns about X first, then about Y, then about Z. The even orders are cyclic.
inline constexpr int KmEulerAxis[kRotationOrderCount][3] = {
    {0, 1, 2}, {0, 2, 1}, {1, 2, 0}, {1, 0, 2}, {2, 0, 1}, {2, 1, 0},
};

/// The names of the orders: the axes in order of turning.
inline constexpr const char* kRotationOrderNames[kRotationOrderCount] = {"XYZ", "XZY", "YZX",
                                                                         "YXZ", "ZXY", "ZYX"};

/// A rotation order, and the conversions that need one.
///
/// Angles are degrees; the angles about X, Y and Z have the indexes 0, 1 and 2 in every order. The
/// formulas are those of Shoemake (Graphics Gems IV, 1994) for fixed axes. Arguments may be the
/// same object in and out, nothing is allocated, and values that are not finite give NaN.
class KVdRotationOrder
{
public:
    /// XYZ.
    constexpr KVdRotationOrder() = default;
    /// Order 0 to 5; any other number, as a damaged file may hold, counts as XYZ.
    constexpr explicit KVdRotationOrder(int pOrder)
        : mOrder(pOrder >= 0 && pOrder < kRotationOrderCount ? pOrder : 0)
    {}

    constexpr int GetOrder() const { return mOrder; }
    /// The row of KmEulerAxis.
    constexpr const int (&GetAxes() const)[3] { return KmEulerAxis[mOrder]; }
    /// "XYZ" and so on.
    constexpr const char* GetName() const { return kRotationOrderNames[mOrder]; }

    /// Euler angles to a matrix, which receives the rotation. Angles are reduced to a quarter turn
    /// without rounding: whole multiples of 90 degrees give entries of exactly 0, 1 and -1, and
    /// whole turns change nothing. Orthonormal to a few epsilons.
    CORVEKIT_API void V2M(KgeRMatrix& pMatrix, const KgeRVector& pVector) const;
    /// A rotation matrix to Euler angles, which are written: the first and third turned angle in
    /// -180..180, the middle one in -90..90, multiples of 90 degrees exact. In gimbal lock (cosine
    /// of the middle angle at or below kGimbalTolerance) the third turned angle is 0 and the first
    /// holds what both turn. The angles rebuild the matrix to a few epsilons, in lock to twice the
    /// tolerance.
    CORVEKIT_API void M2V(KgeRVector& pVector, const KgeRMatrix& pMatrix) const;
    /// Euler angles to a unit quaternion, which is written: that of the matrix, so that 10 and 370
    /// degrees give the same one.
    CORVEKIT_API void V2Q(KgeQuaternion& pQuaternion, const KgeRVector& pVector) const;
    /// A quaternion of any length to Euler angles, as M2V of its matrix.
    CORVEKIT_API void Q2V(KgeRVector& pVector, const KgeQuaternion& pQuaternion) const;

    /// Writes the Euler angles of the rotation pIn that are nearest to pReference, by the sum of
    /// squared differences. pOut may be pIn or pReference.
    ///
    /// A rotation has two forms: the angles as given, and those with 180 added to the first and
    /// third turned angle and the middle one taken from 180. Each is brought by whole turns next to
    /// the reference; the nearer form wins, the one as given on a tie, and true is returned for the
    /// other. An angle that is half a turn away from the reference is not moved. In gimbal
    /// lock (the middle angle within 1e-6 degrees of a right angle) only the sum or the difference
    /// of the other two matters, and they share the way to the reference equally.
    ///
    /// With limits, arrays of three indexed by X, Y and Z, the answer is the nearest among all the
    /// angles that lie within every enabled limit, ends included; where there are none, the
    /// nearest of all. A null array of flags or of values enables nothing, and neither does a
    /// limit beyond 1e15 or NaN. Angles beyond 1e15 degrees and NaN come out as they went in.
    CORVEKIT_API bool V2VRef(KgeRVector& pOut, const KgeRVector& pIn, const KgeRVector& pReference,
                             const bool* pEnableMin = nullptr, const double* pMin = nullptr,
                             const bool* pEnableMax = nullptr, const double* pMax = nullptr) const;

private:
    int mOrder = 0;
};
