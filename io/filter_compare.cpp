// Copyright (c) 2026 The glissa authors
// SPDX-License-Identifier: MIT

#include "io/filter_compare.h"

#include "corvekit/math/elementary.h"
#include "corvekit/math/rotation_order.h"
#include "glissa/curve/curve.h"

#include <algorithm>
#include <cmath>

namespace
{
constexpr int kAxes = 3;

// Calls pLook(time) for the key times of some curves and halfway between them, in order.
template <typename Look>
void ForEachKeyTime(const std::vector<Glissa*>& pCurves, const Look& pLook)
{
    std::vector<int> next(pCurves.size(), 0);
    KTime last = KTime::Infinite();
    for (;;) {
        KTime time = KTime::Infinite();
        for (std::size_t i = 0; i < next.size(); ++i) {
            if (next[i] < pCurves[i]->KeyGetCount()) {
                time = std::min(time, pCurves[i]->KeyGetTime(next[i]));
            }
        }
        bool hasKey = false;
        for (std::size_t i = 0; i < next.size(); ++i) {
            if (next[i] < pCurves[i]->KeyGetCount() && pCurves[i]->KeyGetTime(next[i]) == time) {
                ++next[i];
                hasKey = true;
            }
        }
        if (!hasKey) {
            return;
        }
        if (last != KTime::Infinite()) {
            pLook(last + (time - last) / 2);
        }
        pLook(time);
        last = time;
    }
}

void Note(double pChange, KTime pTime, LargestChange& pLargest)
{
    if (pChange > pLargest.mSize) {
        pLargest = {pChange, pTime};
    }
}

/// The curves X, Y and Z of a rotation.
struct Rotation
{
    const std::vector<Glissa*>& mCurves;
    KVdRotationOrder mOrder;
    int mHints[kAxes] = {};

    KgeRMatrix At(KTime pTime)
    {
        KgeRVector angles;
        for (int axis = 0; axis < kAxes; ++axis) {
            angles[axis] = mCurves[static_cast<std::size_t>(axis)]->Evaluate(pTime, &mHints[axis]);
        }
        KgeRMatrix matrix;
        mOrder.V2M(matrix, angles);
        return matrix;
    }
};
}  // namespace

LargestChange CompareCurves(Glissa& pBefore, Glissa& pAfter, const FilterTimes& pTimes)
{
    LargestChange largest;
    int hintBefore = 0;
    int hintAfter = 0;
    ForEachKeyTime({&pBefore, &pAfter}, [&](KTime pTime) {
        if (pTime >= pTimes.mStart && pTime <= pTimes.mStop) {
            Note(std::fabs(double{pAfter.Evaluate(pTime, &hintAfter)} -
                           double{pBefore.Evaluate(pTime, &hintBefore)}),
                 pTime, largest);
        }
    });
    return largest;
}

LargestChange CompareRotations(const std::vector<Glissa*>& pBefore,
                               const std::vector<Glissa*>& pAfter, int pOrder,
                               const KgeRMatrix& pTurn)
{
    constexpr double kRounding = 1e-9;  // degrees, of the matrices
    LargestChange largest;
    Rotation before{pBefore, KVdRotationOrder(pOrder)};
    Rotation after{pAfter, KVdRotationOrder(pOrder)};
    std::vector<Glissa*> curves = pBefore;
    curves.insert(curves.end(), pAfter.begin(), pAfter.end());
    ForEachKeyTime(curves, [&](KTime pTime) {
        const KgeQuaternion turn(after.At(pTime) * (pTurn * before.At(pTime)).Transpose());
        const double sine = KgeLength(turn[0], turn[1], turn[2]);
        const double angle = 2.0 * KgeArcTangent(sine, std::fabs(turn[3]));
        Note(angle > kRounding ? angle : 0.0, pTime, largest);
    });
    return largest;
}
