// Copyright (c) 2026 The glissa authors
// SPDX-License-Identifier: MIT
// Host side, not installed.
#pragma once

#include "corvekit/math/elementary.h"
#include "corvekit/math/quaternion.h"

#include <cmath>

/// Degrees between the orientations of two unit quaternions, 0 to 180. The angle is taken from sine
/// and cosine, so that small angles keep their digits.
inline double AngleBetween(const KgeQuaternion& pFrom, const KgeQuaternion& pTo)
{
    const KgeQuaternion turn = pFrom.Conjugate() * pTo;
    return 2.0 * KgeArcTangent(KgeLength(turn[0], turn[1], turn[2]), std::fabs(turn[3]));
}
