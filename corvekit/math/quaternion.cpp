// Copyright (c) 2026 The glissa authors
// SPDX-License-Identifier: MIT

#include "corvekit/math/quaternion.h"

#include "corvekit/assert.h"
#include "corvekit/math/elementary.h"
#include "corvekit/math/matrix.h"

#include <algorithm>
#include <cmath>

KgeQuaternion::KgeQuaternion(const KgeRMatrix& pMatrix)
{
    KgeRMatrix m = pMatrix;
    m.Orthonormalize();

    // 4w^2 is the trace plus 1, 4x^2 is 1 plus twice the first diagonal term less the trace. The
    // root is taken of one that cannot be small, and the others follow by division.
    const double trace = m(0, 0) + m(1, 1) + m(2, 2);
    if (trace > 0.0) {
        const double root = std::sqrt(trace + 1.0);
        const double scale = 0.5 / root;
        Init((m(2, 1) - m(1, 2)) * scale, (m(0, 2) - m(2, 0)) * scale, (m(1, 0) - m(0, 1)) * scale,
             0.5 * root);
        return;
    }
    int i = m(1, 1) > m(0, 0) ? 1 : 0;
    i = m(2, 2) > m(i, i) ? 2 : i;
    CORVEKIT_ASSERT(!(m(i, i) < m(0, 0) || m(i, i) < m(1, 1) || m(i, i) < m(2, 2)));
    const int j = (i + 1) % 3;
    const int k = (i + 2) % 3;
    const double root = std::sqrt(m(i, i) - m(j, j) - m(k, k) + 1.0);
    const double scale = 0.5 / root;
    mValue[i] = 0.5 * root;
    mValue[j] = (m(j, i) + m(i, j)) * scale;
    mValue[k] = (m(k, i) + m(i, k)) * scale;
    mValue[3] = (m(k, j) - m(j, k)) * scale;
}

double KgeQuaternion::Length() const
{
    const double square = SquareLength();
    return square > 1e-280 && square < 1e280
               ? std::sqrt(square)
               : KgeLength(KgeLength(mValue[0], mValue[1]), KgeLength(mValue[2], mValue[3]));
}

double KgeQuaternion::Normalize()
{
    const double length = Length();
    if (!(length > 0.0) || std::isinf(length)) {
        return length;
    }
    double divisor = length;
    if (length < 1e-280) {  // as KgeVector3::Normalize
        const double largest = std::max({std::fabs(mValue[0]), std::fabs(mValue[1]),
                                         std::fabs(mValue[2]), std::fabs(mValue[3])});
        for (double& each : mValue) {
            each /= largest;
        }
        divisor = std::sqrt(SquareLength());
    }
    CORVEKIT_ASSERT(divisor > 0.0);
    for (double& each : mValue) {
        each /= divisor;
    }
    return length;
}

KgeQuaternion KgeSlerp(const KgeQuaternion& pFrom, const KgeQuaternion& pTo, double pRatio)
{
    const double dot = pFrom.Dot(pTo);
    if (dot + 1.0 > 1e-6) {
        const double cosine = std::fabs(dot);
        double from = 1.0 - pRatio;
        double to = pRatio;
        if (1.0 - cosine > 1e-6) {
            const double angle = KgeArcCosine(cosine);
            KgeSineCosine turns[3];
            KgeSinCos({angle, (1.0 - pRatio) * angle, pRatio * angle}, turns);
            from = turns[1].sine / turns[0].sine;
            to = turns[2].sine / turns[0].sine;
        }
        return from * pFrom + (dot < 0.0 ? -to : to) * pTo;
    }
    // On the identity the formula below would leave nothing but a half turn about Z.
    if (std::fabs(pFrom[0]) < 1e-10 && std::fabs(pFrom[1]) < 1e-10 && std::fabs(pFrom[2]) < 1e-10 &&
        std::fabs(pFrom[3] - 1.0) < 1e-10) {
        return pFrom;
    }
    // (-y, x, -w, z) is perpendicular to (x, y, z, w) and of the same length.
    const double from = KgeSinCos((0.5 - pRatio) * 180.0).sine;
    const double to = KgeSinCos(pRatio * 180.0).sine;
    return KgeQuaternion(from * pFrom[0] - to * pFrom[1], from * pFrom[1] + to * pFrom[0],
                         from * pFrom[2] - to * pFrom[3], pFrom[2]);
}

void GetQuaternionFromPositionToPosition(KgeQuaternion& pQuaternion, const KgeTVector& pFrom,
                                         const KgeTVector& pTo)
{
    pQuaternion.Init();
    KgeTVector from = pFrom;
    KgeTVector to = pTo;
    const double fromLength = from.Normalize();
    const double toLength = to.Normalize();
    if (!(fromLength > 0.0 && toLength > 0.0) || std::isinf(fromLength) || std::isinf(toLength)) {
        return;
    }

    // Half the length of sum and difference are cosine and sine of half the angle, without the
    // cancellation that 1 + cos and 1 - cos suffer. The axis is taken from whichever of the two is
    // the shorter, whose components are then exact: from x to is from x (from + to), and also from
    // x (to - from).
    const KgeTVector sum = from + to;
    const KgeTVector difference = to - from;
    const double cosine = 0.5 * sum.Length();
    const double sine = 0.5 * difference.Length();
    KgeTVector axis = from.Cross(cosine < sine ? sum : difference);
    if (axis.Normalize() == 0.0) {
        // The same direction, where no axis is needed, or the opposite one.
        int least = std::fabs(from[1]) < std::fabs(from[0]) ? 1 : 0;
        least = std::fabs(from[2]) < std::fabs(from[least]) ? 2 : least;
        KgeTVector farthest;
        farthest[least] = 1.0;
        axis = farthest - from * from[least];
        axis.Normalize();
    }
    pQuaternion.Init(axis[0] * sine, axis[1] * sine, axis[2] * sine, cosine);
    pQuaternion.Normalize();
}
