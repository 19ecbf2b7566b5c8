// Copyright (c) 2026 The glissa authors
// SPDX-License-Identifier: MIT

#include "glissa/node/euler_blend.h"

#include "corvekit/math/elementary.h"

#include <cmath>

namespace
{
// The order number as a packed code.
struct OrderCode
{
    explicit OrderCode(const KVdRotationOrder& pOrder)
        : i(pOrder.GetAxes()[0]),
          j(pOrder.GetAxes()[1]),
          k(pOrder.GetAxes()[2]),
          repeats((pOrder.GetOrder() & 1) != 0),
          sign((pOrder.GetOrder() & 2) != 0 ? -1.0 : 1.0)
    {}

    int i, j, k;
    bool repeats;
    double sign;
};
}  // namespace

KgeRMatrix OlderEulerMatrix(const KgeRVector& pAngles, const KVdRotationOrder& pOrder)
{
    const OrderCode code(pOrder);
    const auto [i, j, k, repeats, sign] = code;
    KgeSineCosine turns[3];
    KgeSinCos({pAngles[0] * sign, pAngles[1] * sign, pAngles[2] * sign}, turns);
    const auto [si, ci] = turns[0];
    const auto [sj, cj] = turns[1];
    const auto [sh, ch] = turns[2];
    const double cc = ci * ch, cs = ci * sh, sc = si * ch, ss = si * sh;
    KgeRMatrix m;
    if (repeats) {
        m(i, i) = cj, m(i, j) = sj * si, m(i, k) = sj * ci;
        m(j, i) = sj * sh, m(j, j) = cc - cj * ss, m(j, k) = -cj * cs - sc;
        m(k, i) = -sj * ch, m(k, j) = cj * sc + cs, m(k, k) = cj * cc - ss;
    } else {
        m(i, i) = cj * ch, m(i, j) = sj * sc - cs, m(i, k) = sj * cc + ss;
        m(j, i) = cj * sh, m(j, j) = sj * ss + cc, m(j, k) = sj * cs - sc;
        m(k, i) = -sj, m(k, j) = cj * si, m(k, k) = cj * ci;
    }
    return m;
}

KgeRVector OlderEulerAngles(const KgeRMatrix& pMatrix, const KVdRotationOrder& pOrder)
{
    const OrderCode code(pOrder);
    const auto [i, j, k, repeats, sign] = code;
    const KgeRMatrix& m = pMatrix;
    KgeRVector angles;
    if (repeats) {
        const double sy = std::sqrt(m(i, j) * m(i, j) + m(i, k) * m(i, k));
        const bool locked = sy <= kGimbalTolerance;
        angles[0] = locked ? KgeArcTangent(-m(j, k), m(j, j)) : KgeArcTangent(m(i, j), m(i, k));
        angles[1] = KgeArcTangent(sy, m(i, i));
        angles[2] = locked ? 0.0 : KgeArcTangent(m(j, i), -m(k, i));
    } else {
        const double cy = std::sqrt(m(i, i) * m(i, i) + m(j, i) * m(j, i));
        const bool locked = cy <= kGimbalTolerance;
        angles[0] = locked ? KgeArcTangent(-m(j, k), m(j, j)) : KgeArcTangent(m(k, j), m(k, k));
        angles[1] = KgeArcTangent(-m(k, i), cy);
        angles[2] = locked ? 0.0 : KgeArcTangent(m(j, i), m(i, i));
    }
    return angles * sign;
}
