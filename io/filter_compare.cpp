// Copyright (c) 2026 The glissa authors
// SPDX-License-Identifier: MIT

#include "io/filter_compare.h"

#include "glissa/curve/curve.h"
#include "io/pose_difference.h"

#include <algorithm>
#include <cmath>

namespace
{
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

RotationCurves CurvesOf(const std::vector<Glissa*>& pCurves, int pOrder)
{
    return {{pCurves[0], pCurves[1], pCurves[2]}, KVdRotationOrder(pOrder), {}};
}
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
    LargestChange largest;
    RotationCurves before = CurvesOf(pBefore, pOrder);
    RotationCurves after = CurvesOf(pAfter, pOrder);
    std::vector<Glissa*> curves = pBefore;
    curves.insert(curves.end(), pAfter.begin(), pAfter.end());
    ForEachKeyTime(curves, [&](KTime pTime) {
        Note(TurnBetween(pTurn * before.At(pTime), after.At(pTime)), pTime, largest);
    });
    return largest;
}
