// Copyright (c) 2026 The glissa authors
// SPDX-License-Identifier: MIT

#include "glissa/curve/weight_split.h"

#include "glissa/curve/bezier.h"
#include "glissa/curve/key_weight.h"
#include "glissa/curve/segment_search.h"

#include <algorithm>
#include <cmath>

namespace
{
// The value of a segment as evaluation finds it.
double ValueAt(const WeightedSegment& pSegment, double pT)
{
    CORVEKIT_ASSERT(pT >= 0.0 && pT <= 1.0);
    const double right = pSegment.rightSlope * pSegment.seconds * pSegment.rightWeight;
    const double left = pSegment.leftSlope * pSegment.seconds * pSegment.leftWeight;
    const double s = SolveWeightedTime(pSegment.rightWeight, pSegment.leftWeight, pT);
    return CubicPoint(pSegment.toValue, pSegment.toValue - left, pSegment.fromValue + right,
                      pSegment.fromValue, s);
}

/// A piece of a segment, which it is to follow.
struct Piece
{
    const WeightedSegment& whole;
    double start;  // in times of the whole
    double span;
    WeightedSegment part;
};

// The greatest difference of the piece from the whole, by samples along it.
double Misfit(const Piece& pPiece)
{
    CORVEKIT_ASSERT(pPiece.span > 0.0);
    constexpr int kSamples = 32;
    const WeightedSegment& part = pPiece.part;
    const double right = part.rightSlope * part.seconds * part.rightWeight;
    const double left = part.leftSlope * part.seconds * part.leftWeight;
    double worst = 0.0;
    for (int i = 1; i < kSamples; ++i) {
        const double s = static_cast<double>(i) / kSamples;
        const double x = CubicPoint(0.0, part.rightWeight, 1.0 - part.leftWeight, 1.0, s);
        const double y = CubicPoint(part.fromValue, part.fromValue + right, part.toValue - left,
                                    part.toValue, s);
        const double t = pPiece.start + x * pPiece.span;
        worst = std::max(worst, std::fabs(y - ValueAt(pPiece.whole, t)));
    }
    return worst;
}

// Replaces a weight beyond the limit by the limit. That changes the time axis of the piece. The
// weight of the other side that then fits best is searched in steps to both sides, each half as
// long as the one before, down to the step of a stored weight.
void LimitWeights(Piece pPiece, float& pRight, float& pLeft)
{
    if (pRight <= kGlissaMaxWeight && pLeft <= kGlissaMaxWeight) {
        return;
    }
    const bool isRight = pRight > kGlissaMaxWeight;
    (isRight ? pRight : pLeft) = kGlissaMaxWeight;
    float& other = isRight ? pLeft : pRight;
    const auto misfit = [&](float pOther) {
        pPiece.part.rightWeight = isRight ? kGlissaMaxWeight : pOther;
        pPiece.part.leftWeight = isRight ? pOther : kGlissaMaxWeight;
        return Misfit(pPiece);
    };
    other = std::clamp(other, kGlissaMinWeight, kGlissaMaxWeight);
    double least = misfit(other);
    for (float step = 0.25f; step > 1.0f / kStoredScale; step /= 2.0f) {
        for (const float next : {other - step, other + step}) {
            if (next < kGlissaMinWeight || next > kGlissaMaxWeight) {
                continue;
            }
            const double error = misfit(next);
            if (error < least) {
                least = error;
                other = next;
            }
        }
    }
}
}  // namespace

// De Casteljau on the time axis 0, wr, 1 - wl, 1 where it reaches the time pT. Lengths are measured
// at the time that the solver found, so that the pieces fit each other. Stored weights are
// truncated: half a step is added.
SplitWeights SplitWeightedSegment(const WeightedSegment& pSegment, double pT, float pValue,
                                  float pSlope)
{
    CORVEKIT_ASSERT(pT > 0.0 && pT < 1.0 && pSegment.seconds >= 0.0f);
    constexpr float kHalfStep = 0.5f / kStoredScale;
    const double wr = pSegment.rightWeight;
    const double wl = pSegment.leftWeight;
    const double u = 1.0 - SolveWeightedTime(pSegment.rightWeight, pSegment.leftWeight, pT);
    const double a = wr * u;
    const double b = wr + (1.0 - wl - wr) * u;
    const double c = 1.0 - (1.0 - u) * wl;
    const double ab = a + (b - a) * u;
    const double bc = b + (c - b) * u;
    const double abc = ab + (bc - ab) * u;
    SplitWeights weights = {static_cast<float>(a / abc), static_cast<float>((abc - ab) / abc),
                            static_cast<float>((bc - abc) / (1.0 - abc)),
                            static_cast<float>((1.0 - c) / (1.0 - abc))};

    const float seconds = pSegment.seconds;
    const WeightedSegment first = {pSegment.fromValue,
                                   pValue,
                                   static_cast<float>(seconds * pT),
                                   pSegment.rightSlope,
                                   pSlope,
                                   0.0f,
                                   0.0f};
    const WeightedSegment second = {
        pValue, pSegment.toValue,   static_cast<float>(seconds * (1.0 - pT)),
        pSlope, pSegment.leftSlope, 0.0f,
        0.0f};
    LimitWeights({pSegment, 0.0, pT, first}, weights.firstRight, weights.left);
    LimitWeights({pSegment, pT, 1.0 - pT, second}, weights.right, weights.lastLeft);
    return {weights.firstRight + kHalfStep, weights.left + kHalfStep, weights.right + kHalfStep,
            weights.lastLeft + kHalfStep};
}

WeightedSegment WeightedSegmentBehind(Glissa& pCurve, int pIndex)
{
    const KTime gap = pCurve.KeyGetTime(pIndex + 1) - pCurve.KeyGetTime(pIndex);
    return {pCurve.KeyGetValue(pIndex),
            pCurve.KeyGetValue(pIndex + 1),
            static_cast<float>(gap.GetSecondDouble()),
            pCurve.KeyGetRightDerivative(pIndex),
            pCurve.KeyGetLeftDerivative(pIndex + 1),
            pCurve.KeyGetRightTangeantWeight(pIndex),
            pCurve.KeyGetLeftTangeantWeight(pIndex + 1)};
}

std::optional<SplitWeights> SplitSegmentBehind(Glissa& pCurve, int pIndex, KTime pTime)
{
    const bool isCubic = pCurve.KeyGetInterpolation(pIndex) == eInterpolationCubic;
    if (!isCubic || pCurve.KeyGetTangeantMode(pIndex, false) == eTangentTCB ||
        (!pCurve.KeyIsRightTangeantWeighted(pIndex) &&
         !pCurve.KeyIsLeftTangeantWeighted(pIndex + 1))) {
        return std::nullopt;
    }
    const double t = TimeFraction(pCurve.KeyGetTime(pIndex), pTime, pCurve.KeyGetTime(pIndex + 1));
    return SplitWeightedSegment(WeightedSegmentBehind(pCurve, pIndex), t,
                                pCurve.Evaluate(pTime, nullptr),
                                pCurve.EvaluateLeftDerivative(pTime, nullptr));
}
