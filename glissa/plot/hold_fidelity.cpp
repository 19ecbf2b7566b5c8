// Copyright (c) 2026 The glissa authors
// SPDX-License-Identifier: MIT

// Refinement compares two curves where it divides a span, so they can agree there and differ
// elsewhere, and a key inserted later moves the slopes next to it. Here all samples are compared,
// and a key is put where the difference is greatest.

#include "glissa/plot/hold_fidelity.h"

#include "glissa/curve/modify_bracket.h"
#include "glissa/plot/inserted_key.h"
#include "glissa/plot/plot_in_layers.h"

#include <algorithm>
#include <cmath>

namespace
{
constexpr KTime kLeastGap(KTime::kTicksPerSecond / 120);
constexpr int kParts = 8;  // of the time between two samples

// The place of the greatest difference in a part of a span.
struct Difference
{
    KTime time;
    double size = 0.0;
};

class Comparison
{
public:
    Comparison(Glissa& pCurve, Glissa& pReference) : mCurve(pCurve), mReference(pReference) {}

    // The greatest difference from pStart to pStop, where one is above a tolerance.
    Difference FindGreatest(KTime pStart, KTime pStop, double pTolerance)
    {
        Difference greatest;
        const double first = mReference.KeyFind(pStart, &mReferenceHint);
        int i = std::max(static_cast<int>(std::floor(first)), 0);
        for (; i + 1 < mReference.KeyGetCount() && mReference.KeyGetTime(i) < pStop; ++i) {
            const KTime from = std::max(mReference.KeyGetTime(i), pStart);
            const KTime to = std::min(mReference.KeyGetTime(i + 1), pStop);
            // Between two samples both are cubic. The second differences of the quarters, of which
            // none beyond is more than three times as large, bound the rise between two points.
            double quarters[5];
            double most = 0.0;
            double bend = 0.0;
            for (int k = 0; k < 5; ++k) {
                quarters[k] = At(from + (to - from) / 4 * k);
                most = std::max(most, std::fabs(quarters[k]));
            }
            for (int k = 1; k < 4; ++k) {
                const double second = quarters[k - 1] - 2.0 * quarters[k] + quarters[k + 1];
                bend = std::max(bend, std::fabs(second));
            }
            for (int k = 0; most + 3.0 * bend / 8.0 > pTolerance && k <= kParts; ++k) {
                const KTime time = from + (to - from) / kParts * k;
                const double size = std::fabs(At(time)) + 3.0 * bend / 32.0;
                greatest = size > greatest.size ? Difference{time, size} : greatest;
            }
        }
        return greatest;
    }

private:
    double At(KTime pTime)
    {
        return static_cast<double>(mCurve.Evaluate(pTime, &mHint)) -
               static_cast<double>(mReference.Evaluate(pTime, &mReferenceHint));
    }

    Glissa& mCurve;
    Glissa& mReference;
    int mHint = 0;
    int mReferenceHint = 0;
};
}  // namespace

void HoldFidelity(Glissa& pCurve, Glissa& pReference, const KSmartPlotOptions& pOptions)
{
    const double tolerance = pOptions.mFidelityTolerance;
    const KeyModifyBracket bracket(pCurve);
    Comparison comparison(pCurve, pReference);
    for (int i = 1; i < pCurve.KeyGetCount();) {
        const KTime first = pCurve.KeyGetTime(i - 1) + kLeastGap + KTime(1);
        const KTime last = pCurve.KeyGetTime(i) - kLeastGap - KTime(1);
        const Difference greatest =
            first <= last ? comparison.FindGreatest(first, last, tolerance) : Difference();
        if (greatest.size > tolerance) {
            const int index =
                InsertKey(pCurve, greatest.time, pReference.Evaluate(greatest.time, nullptr));
            if (pOptions.mFidelityBreakTangents) {
                BreakKey(pCurve, index, pReference,
                         {pOptions.mLookAroundPeriod, pOptions.mBreakTolerance});
            }
            // The slope of the key before has changed, and with it the span before that key.
            i = std::max(i - 1, 1);
        } else {
            ++i;
        }
    }
}
