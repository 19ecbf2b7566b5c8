// Copyright (c) 2026 The glissa authors
// SPDX-License-Identifier: MIT

#include "glissa/filter/peak_remover.h"

#include "glissa/curve/curve.h"
#include "glissa/curve/modify_bracket.h"
#include "glissa/utils/scratch_curve.h"

#include <algorithm>
#include <cmath>
#include <utility>
#include <vector>

template class KClassFrame<GlissaFilterPeakRemover, GlissaCurveFilter>;

namespace
{
constexpr int kMostRounds = 20;

double SecondsBetween(const Glissa& pCurve, int pFrom, int pTo)
{
    CORVEKIT_ASSERT(pFrom >= 0 && pTo < pCurve.KeyGetCount());
    return (pCurve.KeyGetTime(pTo) - pCurve.KeyGetTime(pFrom)).GetSecondDouble();
}

/// Keys by index, the last one not included.
struct KeyRange
{
    int first;
    int last;

    int Count() const { return last - first; }
};

/// The least and the greatest slope from a key to those in reach.
struct SlopeRange
{
    double least = 1e20;
    double greatest = -1e20;

    void Take(double pSlope)
    {
        least = std::min(least, pSlope);
        greatest = std::max(greatest, pSlope);
    }
    double SquaredSpread() const { return (greatest - least) * (greatest - least); }
    bool HasBothSigns() const { return least * greatest < 0.0; }
};

double MeanSquaredGap(const Glissa& pCurve, KeyRange pKeys)
{
    double sum = 0.0;
    for (int i = pKeys.first + 1; i < pKeys.last; ++i) {
        const double gap = SecondsBetween(pCurve, i - 1, i);
        sum += gap * gap;
    }
    return sum / pKeys.Count();
}

// pReach  in squared seconds. The first key at that distance is out of reach.
SlopeRange SlopesAround(const Glissa& pCurve, int pIndex, KeyRange pKeys, double pReach)
{
    CORVEKIT_ASSERT(pIndex >= 0 && pIndex < pCurve.KeyGetCount());
    SlopeRange slopes;
    const double value = pCurve.KeyGetValue(pIndex);
    const auto take = [&](int pOther) {
        const double seconds = SecondsBetween(pCurve, pIndex, pOther);
        if (pReach <= seconds * seconds) {
            return false;
        }
        slopes.Take((pCurve.KeyGetValue(pOther) - value) / seconds);
        return true;
    };
    for (int i = pIndex - 1; i >= pKeys.first && take(i); --i) {
    }
    for (int i = pIndex + 1; i < pKeys.last && take(i); ++i) {
    }
    // None in reach, or none that is a number.
    return slopes.least <= slopes.greatest ? slopes : SlopeRange{0.0, 0.0};
}

// Gives a key the left side that it had: its automatic parameter or its slope, and its weight.
// They are stored in the key before. The right slope stays.
void PutBackLeftSide(Glissa& pCurve, int pIndex, const GlissaTangeantInfo& pLeft)
{
    const float right = pCurve.KeyGetRightDerivative(pIndex);
    pCurve.KeySetLeftDerivativeInfo(pIndex, pLeft, false);
    if (pCurve.KeyGetRightDerivative(pIndex) != right) {
        pCurve.KeySetRightDerivative(pIndex, right);
    }
}

KeyRange KeysOf(GlissaFilterPeakRemover& pFilter, Glissa& pCurve)
{
    const auto at = [&](KTime pTime) {
        return std::max(static_cast<int>(std::ceil(pCurve.KeyFind(pTime, nullptr))), 0);
    };
    const KTime start = pFilter.GetStartTime();
    const KTime stop = pFilter.GetStopTime();
    return {start == KTime::MinusInfinite() ? 0 : at(start),
            stop == KTime::Infinite() ? pCurve.KeyGetCount() : at(stop)};
}
}  // namespace

GlissaFilterPeakRemover::GlissaFilterPeakRemover()
    : KClassFrame("Peak Remover", kUsualErrors, kUsualErrorCount)
{
    GlissaFilterPeakRemover::Reset();
}

void GlissaFilterPeakRemover::Reset()
{
    mTimeTolerance = 3.0;
    mValueTolerance = 3.0;
    GlissaFilter::Reset();
}

EGlissaFilterAnswer GlissaFilterPeakRemover::Examine(Glissa& pCurve)
{
    if (!std::isfinite(mTimeTolerance) || !std::isfinite(mValueTolerance)) {
        return RefuseCurve(eFilterUnchanged, "PeakRemover, A tolerance is not finite.");
    }
    if (KeysOf(*this, pCurve).Count() <= 0) {
        return RefuseCurve(eFilterNoKey, "PeakRemover, No key to be filtered.");
    }
    return eFilterChanges;
}

bool GlissaFilterPeakRemover::Change(Glissa& pCurve)
{
    const KeyRange keys = KeysOf(*this, pCurve);
    ScratchCurve source(pCurve.Copy());
    ScratchCurve result(pCurve.Copy());
    bool isClean = false;
    for (int i = 0; i < kMostRounds && !isClean; ++i) {
        isClean = PeakRemovalStep(*source, *result, keys.first, keys.last);
        std::swap(source, result);
    }
    // The left side of a key is stored in the key before: that of the first key becomes automatic
    // as well, that of the key behind the span stays.
    if (keys.first > 0) {
        source->KeySetLeftAuto(keys.first, 0.0f);
    }
    if (keys.last < pCurve.KeyGetCount()) {
        PutBackLeftSide(*source, keys.last, pCurve.KeyGetLeftDerivativeInfo(keys.last));
    }
    pCurve.CopyFrom(*source, true);
    return true;
}

bool GlissaFilterPeakRemover::PeakRemovalStep(Glissa& pSource, Glissa& pResult, int pFirst,
                                              int pLast)
{
    const KeyModifyBracket bracket(pResult);
    const KeyRange keys{pFirst, pLast};
    const double reach = MeanSquaredGap(pSource, keys) * mTimeTolerance;
    std::vector<SlopeRange> slopes;
    slopes.reserve(static_cast<std::size_t>(std::max(keys.Count(), 0)));
    double sum = 0.0;
    for (int i = pFirst; i < pLast; ++i) {
        slopes.push_back(SlopesAround(pSource, i, keys, reach));
        sum += slopes.back().SquaredSpread();
    }
    const double threshold = sum / keys.Count() * mValueTolerance;
    const auto isWild = [&](int pIndex) {
        return slopes[static_cast<std::size_t>(pIndex - pFirst)].SquaredSpread() > threshold;
    };

    bool isClean = true;
    int before = pFirst;  // the nearest key before that is not wild, or the first one
    int behind = pFirst;  // likewise behind
    for (int i = pFirst; i < pLast; ++i) {
        const KTime time = pSource.KeyGetTime(i);
        double value = pSource.KeyGetValue(i);
        if (isWild(i) && slopes[static_cast<std::size_t>(i - pFirst)].HasBothSigns()) {
            isClean = false;
            if (i > pFirst && i < pLast - 1) {
                for (behind = std::max(behind, i + 1); behind < pLast - 1 && isWild(behind);) {
                    ++behind;
                }
                const double end = pSource.KeyGetValue(behind);
                const double share =
                    SecondsBetween(pSource, i, behind) / SecondsBetween(pSource, before, behind);
                value = end - share * (end - pSource.KeyGetValue(before));
            }
        }
        pResult.KeySet(i, time, static_cast<float>(value), eInterpolationCubic, eTangentAuto);
        if (!isWild(i)) {
            before = i;
        }
    }
    return isClean;
}
