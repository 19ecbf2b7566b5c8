// Copyright (c) 2026 The glissa authors
// SPDX-License-Identifier: MIT

// Refinement compares two curves where it divides a span, so they can agree there and differ
// elsewhere, and a key inserted later moves the slopes next to it. Here the whole of each segment
// is compared, and a key is put where the difference is greatest.

#include "glissa/plot/hold_fidelity.h"

#include "glissa/curve/modify_bracket.h"
#include "glissa/plot/inserted_key.h"
#include "glissa/plot/plot_in_layers.h"

#include <algorithm>
#include <cmath>
#include <cstdint>
#include <vector>

namespace
{
constexpr KTime kLeastGap(KTime::kTicksPerSecond / 120);
// A cubic is nowhere more than this times as large as at the ends and the thirds of a span.
constexpr double kCubicRise = 1.64;

// The place of the greatest difference in a part of a span.
struct Difference
{
    KTime time;
    double size = 0.0;
};

// A cubic by its values at 0, 1/3, 2/3 and 1.
struct CubicByThirds
{
    double values[4];

    double Largest() const
    {
        return std::max({std::fabs(values[0]), std::fabs(values[1]), std::fabs(values[2]),
                         std::fabs(values[3])});
    }
    // Calls pVisit(t, value) for the two ends and the extremes between them.
    template <typename Visit>
    void VisitExtremes(const Visit& pVisit) const
    {
        const auto& v = values;
        const double a1 = -5.5 * v[0] + 9.0 * v[1] - 4.5 * v[2] + v[3];
        const double a2 = 9.0 * v[0] - 22.5 * v[1] + 18.0 * v[2] - 4.5 * v[3];
        const double a3 = -4.5 * v[0] + 13.5 * v[1] - 13.5 * v[2] + 4.5 * v[3];
        pVisit(0.0, v[0]);
        pVisit(1.0, v[3]);
        // a1 + 2 a2 t + 3 a3 t^2 = 0, in the form without cancellation.
        const double root = std::sqrt(std::max(a2 * a2 - 3.0 * a1 * a3, 0.0));
        const double q = -(a2 + std::copysign(root, a2));
        for (const double t : {q / (3.0 * a3), a1 / q}) {
            if (t > 0.0 && t < 1.0) {
                pVisit(t, v[0] + t * (a1 + t * (a2 + t * a3)));
            }
        }
    }
};

class Comparison
{
public:
    Comparison(Glissa& pCurve, Glissa& pReference) : mCurve(pCurve), mReference(pReference)
    {
        // Read once: a span is compared again after each key that is put into it.
        const int count = pReference.KeyGetCount();
        for (int i = 0; i + 1 < count; ++i) {
            const KTime from = pReference.KeyGetTime(i);
            const KTime third = (pReference.KeyGetTime(i + 1) - from) / 3;
            mThirds.push_back(pReference.Evaluate(from + third, &mReferenceHint));
            mThirds.push_back(pReference.Evaluate(from + third * 2, &mReferenceHint));
        }
    }

    // The greatest difference from pStart to pStop, where one is above a tolerance.
    Difference FindGreatest(KTime pStart, KTime pStop, double pTolerance)
    {
        Difference greatest;
        mEnd.time = KTime::Infinite();
        const double first = mReference.KeyFind(pStart, &mReferenceHint);
        int i = std::max(static_cast<int>(std::floor(first)), 0);
        for (; i + 1 < mReference.KeyGetCount() && mReference.KeyGetTime(i) < pStop; ++i) {
            const KTime from = std::max(mReference.KeyGetTime(i), pStart);
            const KTime to = std::min(mReference.KeyGetTime(i + 1), pStop);
            const CubicByThirds cubic = DifferenceIn(i, from, to);
            if (kCubicRise * cubic.Largest() > pTolerance) {
                const double width = static_cast<double>((to - from).Get());
                cubic.VisitExtremes([&](double pPart, double pValue) {
                    if (std::fabs(pValue) > greatest.size) {
                        greatest = {from + KTime(static_cast<std::int64_t>(pPart * width)),
                                    std::fabs(pValue)};
                    }
                });
            }
        }
        return greatest;
    }

private:
    // In a part of the segment behind a sample, without a key of the curve inside it.
    CubicByThirds DifferenceIn(int pSample, KTime pFrom, KTime pTo)
    {
        const bool isWhole =
            pFrom == mReference.KeyGetTime(pSample) && pTo == mReference.KeyGetTime(pSample + 1);
        const KTime third = (pTo - pFrom) / 3;
        const KTime times[4] = {pFrom, pFrom + third, pFrom + third * 2, pTo};
        const std::size_t place = 2 * static_cast<std::size_t>(pSample);
        const float read[4] = {mReference.KeyGetValue(pSample), mThirds[place], mThirds[place + 1],
                               mReference.KeyGetValue(pSample + 1)};
        CubicByThirds cubic{{mEnd.size}};
        for (int k = pFrom == mEnd.time ? 1 : 0; k < 4; ++k) {
            const float wanted = isWhole ? read[k] : mReference.Evaluate(times[k], &mReferenceHint);
            cubic.values[k] = static_cast<double>(mCurve.Evaluate(times[k], &mHint)) -
                              static_cast<double>(wanted);
        }
        mEnd = {pTo, cubic.values[3]};
        return cubic;
    }

    Glissa& mCurve;
    Glissa& mReference;
    std::vector<float> mThirds;  // values of the reference, two for each segment
    Difference mEnd;             // of the part that was compared last
    int mHint = 0;
    int mReferenceHint = 0;
};
}  // namespace

void HoldFidelity(Glissa& pCurve, Glissa& pReference, const KSmartPlotOptions& pOptions)
{
    // Below 0 even curves that agree would differ.
    const double tolerance = std::max(pOptions.mFidelityTolerance, 0.0);
    const KeyModifyBracket bracket(pCurve);
    Comparison comparison(pCurve, pReference);
    for (int i = 1; i < pCurve.KeyGetCount();) {
        const KTime first = pCurve.KeyGetTime(i - 1) + kLeastGap + KTime(1);
        const KTime last = pCurve.KeyGetTime(i) - kLeastGap - KTime(1);
        const Difference greatest =
            first <= last ? comparison.FindGreatest(first, last, tolerance) : Difference();
        if (!(greatest.size > tolerance)) {
            ++i;
            continue;
        }
        const float before = pCurve.KeyGetLeftDerivative(i - 1);
        const int index =
            InsertKey(pCurve, greatest.time, pReference.Evaluate(greatest.time, nullptr));
        if (pOptions.mFidelityBreakTangents) {
            BreakKey(pCurve, index, pReference,
                     {pOptions.mLookAroundPeriod, pOptions.mBreakTolerance});
        }
        // An automatic key before the new one has another slope, which is that of its span too.
        if (pCurve.KeyGetLeftDerivative(i - 1) != before) {
            i = std::max(i - 1, 1);
        }
    }
}
