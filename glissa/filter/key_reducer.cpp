// Copyright (c) 2026 The glissa authors
// SPDX-License-Identifier: MIT

// The fit is made in a curve of its own, which then takes the place of the span. Spans are split
// from left to right, so that a new key is always near the end of that curve.

#include "glissa/filter/key_reducer.h"

#include "corvekit/event/operation.h"
#include "glissa/curve/bezier.h"
#include "glissa/curve/curve.h"
#include "glissa/curve/hold_slopes.h"
#include "glissa/curve/modify_bracket.h"
#include "glissa/curve/segment_search.h"
#include "glissa/filter/key_sync.h"
#include "glissa/node/node.h"
#include "glissa/utils/scratch_curve.h"
#include "glissa/utils/utils.h"

#include <algorithm>
#include <cmath>
#include <utility>
#include <vector>

template class KClassFrame<GlissaFilterKeyReducer, GlissaCurveFilter>;

namespace
{
// Deeper splits are too short to report progress.
constexpr int kReportedDepth = 10;

// The two halves of a span that was split.
struct Halves
{
    int bounds[3];
    int behind;            // keys of the fit from the end of the span on
    int half = 0;          // the one that is looked at
    bool isSplit = false;  // and whether its own split has been tried
};

// A segment of the fit, which is cubic and without weights. Its values are those of
// Glissa::Evaluate to the bit, at a fraction of the cost: the segment is found and its slopes are
// asked for once.
class FitSegment
{
public:
    FitSegment(Glissa& pFit, int pIndex)
        : mIndex(pIndex),
          mFrom(pFit.KeyGetTime(pIndex)),
          mTo(pFit.KeyGetTime(pIndex + 1)),
          mPoints(PointsOfSlopes(pFit.KeyGetValue(pIndex), pFit.KeyGetValue(pIndex + 1),
                                 pFit.KeyGetRightDerivative(pIndex),
                                 pFit.KeyGetLeftDerivative(pIndex + 1),
                                 static_cast<float>((mTo - mFrom).GetSecondDouble())))
    {}

    float Evaluate(KTime pTime) const
    {
        // As in the curve, the fraction is what is left of the key index, whose sum was rounded.
        const double t = mIndex + TimeFraction(mFrom, pTime, mTo) - mIndex;
        return t < 1.0 ? CubicValue(mPoints.p0, mPoints.p1, mPoints.p2, mPoints.p3, t) : mPoints.p3;
    }

private:
    int mIndex;
    KTime mFrom;
    KTime mTo;
    CubicPoints mPoints;
};

// The largest square of the distance of a fit from the source keys pFirst up to, but without,
// pLast, and in pWorstKey the first key that has it.
template <typename Evaluate>
double MaxError(Glissa& pSource, int pFirst, int pLast, int& pWorstKey, Evaluate&& pEvaluate)
{
    CORVEKIT_ASSERT(pFirst >= 0 && pLast < pSource.KeyGetCount());
    double largest = 0.0;
    for (int i = pFirst; i < pLast; ++i) {
        const double error = static_cast<double>(pEvaluate(pSource.KeyGetTime(i))) -
                             static_cast<double>(pSource.KeyGetValue(i));
        const double square = error * error;
        if (square > largest) {
            largest = square;
            pWorstKey = i;
        }
    }
    return largest;
}

// An end of the span inside the curve: it has the slopes that the curve had there, on the side that
// was fitted and on the one that stays. The merge holds them as far as the key's own kind of
// tangent can.
class Seam
{
public:
    Seam(Glissa& pCurve, int pIndex)
        : mIsInside(pIndex > 0 && pIndex + 1 < pCurve.KeyGetCount()),
          mSlopes{pCurve.KeyGetLeftDerivative(pIndex), pCurve.KeyGetRightDerivative(pIndex)}
    {}

    void Hold(Glissa& pCurve, int pIndex) const
    {
        // A TCB key that stays has no place for the slope of the key behind it.
        const bool isBehindTCB = pIndex > 0 &&
                                 pCurve.KeyGetInterpolation(pIndex - 1) == eInterpolationCubic &&
                                 pCurve.KeyGetTangeantMode(pIndex - 1, false) == eTangentTCB;
        if (mIsInside && !isBehindTCB) {
            HoldSlopes(pCurve, pIndex, mSlopes);
        }
    }

private:
    bool mIsInside;
    Slopes mSlopes;
};
}  // namespace

GlissaFilterKeyReducer::GlissaFilterKeyReducer()
    : KClassFrame("Bezier Fit/Key Reducer", kUsualErrors, kUsualErrorCount)
{
    GlissaFilterKeyReducer::Reset();
}

void GlissaFilterKeyReducer::Reset()
{
    mPrecision = 1.0;
    mDepth = 0;
    mKeySync = false;
    GlissaFilter::Reset();
}

bool GlissaFilterKeyReducer::Apply(Glissa** pCurves, int pCount)
{
    const KOperation operation;
    const bool result = GlissaCurveFilter::Apply(pCurves, pCount);
    if (mKeySync && pCount >= 2) {
        GlissaFilterKeySync sync;
        sync.SetStartTime(GetStartTime());
        sync.SetStopTime(GetStopTime());
        sync.Apply(pCurves, pCount);
    }
    return result;
}

bool GlissaFilterKeyReducer::Apply(GlissaNode& pNode, bool pRecursive)
{
    const KOperation operation;
    // Off for the children, which would be synchronised by themselves.
    const bool keySync = std::exchange(mKeySync, false);
    const bool result = GlissaCurveFilter::Apply(pNode, pRecursive);
    mKeySync = keySync;
    if (mKeySync && pNode.GetCount() >= 2) {
        GlissaFilterKeySync sync;
        sync.SetStartTime(GetStartTime());
        sync.SetStopTime(GetStopTime());
        sync.Apply(pNode, pRecursive);
    }
    return result;
}

KTime GlissaFilterKeyReducer::FirstTime(Glissa& pCurve)
{
    return std::max(GetStartTime(), pCurve.KeyGetTime(0));
}

KTime GlissaFilterKeyReducer::LastTime(Glissa& pCurve)
{
    return std::min(GetStopTime(), pCurve.KeyGetTime(pCurve.KeyGetCount() - 1));
}

EGlissaFilterAnswer GlissaFilterKeyReducer::Examine(Glissa& pCurve)
{
    if (pCurve.KeyGetCount() < 2 || !std::isfinite(mPrecision)) {
        return RefuseCurve(eFilterUnchanged, "KeyReducer, No key were changed by filter.");
    }
    // In a segment of centuries, a key index cannot tell a short span from one of its ends.
    if (LastTime(pCurve).GetSecondDouble() - FirstTime(pCurve).GetSecondDouble() <= 0.0 ||
        GetStartKey(pCurve) >= GetStopKey(pCurve)) {
        return RefuseCurve(eFilterUnchanged,
                           "KeyReducer, Invalid Time Span. No key were changed by filter.");
    }
    return eFilterChanges;
}

bool GlissaFilterKeyReducer::Change(Glissa& pCurve)
{
    const int first = GetStartKey(pCurve);
    const int last = GetStopKey(pCurve);
    const Seam front(pCurve, first);
    const Seam behind(pCurve, last);
    const ScratchCurve result(GlissaCreate());
    result->CopyFrom(pCurve, false);
    KeyReducer(pCurve, *result, FirstTime(pCurve), LastTime(pCurve));
    GlissaUtils::Merge(pCurve, *result, pCurve);
    front.Hold(pCurve, first);
    behind.Hold(pCurve, first + result->KeyGetCount() - 1);
    return true;
}

bool GlissaFilterKeyReducer::KeyReducer(Glissa& pSource, Glissa& pResult, KTime pStart, KTime pStop)
{
    mDepth = 0;
    // Times before the keys and behind them have indexes half a key away.
    const int first = std::max(0, static_cast<int>(std::floor(pSource.KeyFind(pStart, nullptr))));
    const int last = std::min(pSource.KeyGetCount() - 1,
                              static_cast<int>(std::ceil(pSource.KeyFind(pStop, nullptr))));
    if (first >= last) {
        return false;
    }
    const float arriving = pSource.KeyGetLeftDerivative(last);
    const KeyModifyBracket bracket(pResult);
    pResult.KeyAdd(pSource.KeyGetTime(first));
    pResult.KeySet(0, pSource.KeyGetTime(first), pSource.KeyGetValue(first), eInterpolationCubic,
                   eTangentUser, pSource.KeyGetRightDerivative(first), arriving);
    pResult.KeyAdd(pSource.KeyGetTime(last));
    pResult.KeySet(1, pSource.KeyGetTime(last), pSource.KeyGetValue(last), eInterpolationCubic,
                   eTangentAuto);
    // The last key is automatic: a parameter has to give it the slope.
    pResult.KeySetLeftDerivative(1, arriving);
    Subdivise(pSource, pResult, first, last);
    return true;
}

double GlissaFilterKeyReducer::FindMaxError(Glissa& pSource, Glissa& pResult, int pFirst, int pLast,
                                            int& pWorstKey)
{
    CORVEKIT_ASSERT(pFirst >= 0 && pLast < pSource.KeyGetCount());
    return MaxError(pSource, pFirst, pLast, pWorstKey, [&pResult, hint = 0](KTime pTime) mutable {
        return pResult.Evaluate(pTime, &hint);
    });
}

// With a stack of its own: where each split is next to an end, there are as many levels as keys.
bool GlissaFilterKeyReducer::Subdivise(Glissa& pSource, Glissa& pResult, int pFirst, int pLast)
{
    CORVEKIT_ASSERT(pFirst >= 0 && pFirst <= pLast && pLast < pSource.KeyGetCount());
    const int end =
        static_cast<int>(std::floor(pResult.KeyFind(pSource.KeyGetTime(pLast), nullptr)));
    const int behindAll = pResult.KeyGetCount() - end;
    int split = 0;
    if (!Split(pSource, pResult, pFirst, pLast, behindAll, split)) {
        return false;
    }
    std::vector<Halves> nested = {{{pFirst, split, pLast}, behindAll}};
    ++mDepth;
    while (!nested.empty()) {
        Halves& halves = nested.back();
        if (halves.half == 2) {
            nested.pop_back();
            --mDepth;
            continue;
        }
        const int first = halves.bounds[halves.half];
        const int last = halves.bounds[halves.half + 1];
        if (last - first > 1) {
            if (!halves.isSplit) {
                halves.isSplit = true;
                // The key at the split is one more behind the first half.
                const int behind = halves.behind + (halves.half == 0 ? 1 : 0);
                if (Split(pSource, pResult, first, last, behind, split)) {
                    nested.push_back({{first, split, last}, behind});
                    ++mDepth;
                    continue;
                }
            }
            if (mDepth < kReportedDepth) {
                UpdateProgressInformation(KTime(first), KTime(last));
            }
        }
        ++halves.half;
        halves.isSplit = false;
    }
    return true;
}

// Adds the worst key between two source keys to the fit, with the slopes of the source there. False
// where the fit is within the precision.
bool GlissaFilterKeyReducer::Split(Glissa& pSource, Glissa& pResult, int pFirst, int pLast,
                                   int pBehind, int& pSplit)
{
    CORVEKIT_ASSERT(pFirst >= 0 && pFirst <= pLast && pLast < pSource.KeyGetCount());
    const int next = pResult.KeyGetCount() - pBehind;
    int split = pFirst;
    const FitSegment segment(pResult, next - 1);
    const double error = MaxError(pSource, pFirst, pLast, split,
                                  [&segment](KTime pTime) { return segment.Evaluate(pTime); });
    // A value of the source that is not finite, and was replaced in the fit, is missed for ever.
    if (!(error > mPrecision * mPrecision) || split == pFirst) {
        return false;
    }
    const KTime time = pSource.KeyGetTime(split);
    const float right = pSource.KeyGetRightDerivative(split);
    const float left = pSource.KeyGetLeftDerivative(split);
    const float arriving = pResult.KeyGetLeftDerivative(next);
    int hint = next;
    const int index = pResult.KeyAdd(time, &hint);
    pResult.KeySet(index, time, pSource.KeyGetValue(split), eInterpolationCubic,
                   right == left ? eTangentUser : eTangentUserBreak, right, arriving);
    pResult.KeySetDataDouble(index - 1, eDataNextLeftSlope, left);
    if (pResult.KeyGetLeftDerivative(index + 1) != arriving) {
        pResult.KeySetLeftDerivative(index + 1, arriving);
    }
    pSplit = split;
    return true;
}
