// Copyright (c) 2026 The glissa authors
// SPDX-License-Identifier: MIT

// Which keys stay is decided first, and the curve is then written once: to remove runs of keys one
// by one would move the keys behind each of them.
//
// Inside the span the keys next to those that are gone do not get back the slopes that they had:
// these are noise, and would swing the plateau by their share of its length.

#include "glissa/filter/constant_key_reducer.h"

#include "corvekit/event/operation.h"
#include "glissa/curve/curve.h"
#include "glissa/curve/hold_slopes.h"
#include "glissa/node/node.h"
#include "glissa/utils/held_sides.h"
#include "glissa/utils/key_rewrite.h"

#include <algorithm>
#include <cmath>
#include <string_view>
#include <utility>
#include <vector>

template class KClassFrame<GlissaFilterConstantKeyReducer, GlissaCurveFilter>;

namespace
{
constexpr int kWindow = 2;  // keys on either side that have to be flat too

struct Limits
{
    float low;
    float high;
};

// The keys of a span from the last to the first, with those that stay.
class FlatRuns
{
public:
    FlatRuns(Glissa& pCurve, int pBottom, int pTop) : mCurve(pCurve), mBottom(pBottom), mTop(pTop)
    {}

    /// The keys of the span that stay, from the last to the first.
    const std::vector<int>& Find(double pTolerance)
    {
        int index = mTop;
        while (index >= mBottom) {
            const double reference = static_cast<double>(mCurve.KeyGetValue(index));
            const Limits limits{static_cast<float>(reference - pTolerance),
                                static_cast<float>(reference + pTolerance)};
            mRunTop = index;
            while (index >= mBottom && IsConstantAround(index, limits)) {
                --index;
            }
            if (index >= mBottom) {
                mKept.push_back(index);
            }
            --index;
        }
        return mKept;
    }

private:
    // Above the run, the keys that stayed have moved up to it.
    bool IsConstantAround(int pIndex, const Limits& pLimits) const
    {
        for (int i = pIndex - kWindow; i <= pIndex + kWindow; ++i) {
            const int above = i - mRunTop;
            if (i < mBottom || above > static_cast<int>(mKept.size())) {
                continue;
            }
            if (!IsFlat(above > 0 ? mKept[mKept.size() - static_cast<std::size_t>(above)] : i,
                        pLimits)) {
                return false;
            }
        }
        return true;
    }

    bool IsFlat(int pIndex, const Limits& pLimits) const
    {
        const float value = mCurve.KeyGetValue(pIndex);
        const bool isShaped = mCurve.KeyGetInterpolation(pIndex) == eInterpolationCubic &&
                              !mCurve.IsKeyInterpolationPureCubicAuto(pIndex);
        // A value that is not a number is not within the limits.
        return !isShaped && value >= pLimits.low && value <= pLimits.high;
    }

    Glissa& mCurve;
    int mBottom;
    int mTop;
    int mRunTop = 0;
    std::vector<int> mKept;
};

bool IsStepped(const Glissa& pCurve)
{
    for (int i = 0; i < pCurve.KeyGetCount(); ++i) {
        if (pCurve.KeyGetInterpolation(i) != eInterpolationConstant) {
            return false;
        }
    }
    return true;
}

// The keys of a stepped curve that stay, in order.
class Steps
{
public:
    Steps(const Glissa& pCurve, double pTolerance) : mCurve(pCurve), mTolerance(pTolerance) {}

    std::vector<int> Find() const
    {
        const int count = mCurve.KeyGetCount();
        std::vector<int> kept = {0};
        // The values that were held since the last key that stays.
        float low = Held(0);
        float high = low;
        for (int i = 1; i < count; ++i) {
            const float held = Held(i);
            const float own = mCurve.KeyGetValue(i);
            // What is held without the key.
            const int before = kept.back();
            const bool isNext = IsNext(before) && i + 1 < count;
            const float without = mCurve.KeyGetValue(isNext ? i + 1 : before);
            if (IsWithin(std::min(low, held), without) && IsWithin(std::max(high, held), without) &&
                IsWithin(held, without) && IsWithin(own, without)) {
                low = std::min(low, held);
                high = std::max(high, held);
            } else {
                kept.push_back(i);
                low = high = held;
            }
        }
        return kept;
    }

private:
    bool IsNext(int pIndex) const { return mCurve.KeyGetConstantMode(pIndex) == eConstantNext; }

    // Behind a key.
    float Held(int pIndex) const
    {
        const bool isNext = IsNext(pIndex) && pIndex + 1 < mCurve.KeyGetCount();
        return mCurve.KeyGetValue(isNext ? pIndex + 1 : pIndex);
    }

    bool IsWithin(float pValue, float pReference) const
    {
        const double value = static_cast<double>(pValue);
        const double reference = static_cast<double>(pReference);
        return value > reference - mTolerance && mTolerance + reference > value;
    }

    const Glissa& mCurve;
    double mTolerance;
};

// A cubic whose slopes at its ends are off its secant by a and b is off it by at most this share of
// (|a| + |b|) times its length.
constexpr double kSwing = 4.0 / 27.0;

// Keys that were removed, by the keys around them in the old and the new curve.
struct Gap
{
    int oldLeft;
    int oldRight;
    int right;  // in the new curve; the other one is before it
};

// The keys that may be shaped, and how much the curve may change between them.
struct Reduced
{
    int bottom;
    int top;
    double tolerance;
};

// Shapes the segment over a gap. A key of the span is a plain automatic one there. Its slope
// follows the segment on its other side, and over a long gap the smallest slope swings the curve
// out of the tolerance: then it gets the slope of the secant. The other side of it keeps its shape.
// A key outside the span keeps its left slope.
void JoinOverGap(Glissa& pCurve, Glissa& pBefore, const Gap& pGap, const Reduced& pReduced)
{
    const int left = pGap.right - 1;
    const int right = pGap.right;
    if (pCurve.KeyGetInterpolation(left) != eInterpolationCubic ||
        pCurve.KeyGetTangeantMode(left, false) == eTangentTCB) {
        return;
    }
    const bool isLeftPlain = pBefore.IsKeyInterpolationPureCubicAuto(pGap.oldLeft);
    const bool isRightPlain = pBefore.IsKeyInterpolationPureCubicAuto(pGap.oldRight);
    const float oldLeftSlope = pBefore.KeyGetLeftDerivative(pGap.oldRight);
    if (!isRightPlain) {
        HoldSlopes(pCurve, right, {oldLeftSlope, pBefore.KeyGetRightDerivative(pGap.oldRight)});
    } else if (pCurve.KeyGetLeftAuto(right, false) != 0.0f) {
        pCurve.KeySetLeftAuto(right, 0.0f);
    }
    const double length = (pCurve.KeyGetTime(right) - pCurve.KeyGetTime(left)).GetSecondDouble();
    const double rise = static_cast<double>(pCurve.KeyGetValue(right)) -
                        static_cast<double>(pCurve.KeyGetValue(left));
    const double leaving = static_cast<double>(pCurve.KeyGetRightDerivative(left));
    const double arriving = static_cast<double>(pCurve.KeyGetLeftDerivative(right));
    if (kSwing * (std::fabs(leaving * length - rise) + std::fabs(arriving * length - rise)) <=
        pReduced.tolerance) {
        return;
    }
    const float secant = static_cast<float>(rise / length);
    if (isLeftPlain && pGap.oldLeft >= pReduced.bottom) {
        HoldSlopes(pCurve, left, {pCurve.KeyGetLeftDerivative(left), secant});
    }
    if (isRightPlain && pGap.oldRight <= pReduced.top) {
        HoldSlopes(pCurve, right, {secant, pCurve.KeyGetRightDerivative(right)});
    }
}

// The first and the last key of the span, and those outside it, keep the slopes that face away from
// it: the curve outside stays. pKept  in order.
void HoldBorders(Glissa& pCurve, Glissa& pBefore, const std::vector<int>& pKept,
                 const Reduced& pReduced)
{
    const auto behind = std::lower_bound(pKept.begin(), pKept.end(), pReduced.top);
    const auto front = std::upper_bound(pKept.begin(), pKept.end(), pReduced.bottom);
    if (behind != pKept.end()) {
        HoldRightSlope(pCurve, static_cast<int>(behind - pKept.begin()),
                       pBefore.KeyGetRightDerivative(*behind));
    }
    if (front != pKept.begin()) {
        HoldLeftSlope(pCurve, static_cast<int>(front - pKept.begin()) - 1,
                      pBefore.KeyGetLeftDerivative(*(front - 1)));
    }
}

// pKept  in order.
void KeepOnly(Glissa& pCurve, const std::vector<int>& pKept, const Reduced& pReduced)
{
    const int count = static_cast<int>(pKept.size());
    KeyRewrite rewrite(pCurve);
    Glissa& work = rewrite.Work();
    for (int i = 0; i < count; ++i) {
        std::swap(*work.InternalPriKeyGetPtr(i),
                  *work.InternalPriKeyGetPtr(pKept[static_cast<std::size_t>(i)]));
    }
    work.Delete(count, work.KeyGetCount() - 1);
    for (int i = 1; i < count; ++i) {
        const int oldLeft = pKept[static_cast<std::size_t>(i - 1)];
        const int oldRight = pKept[static_cast<std::size_t>(i)];
        if (oldRight != oldLeft + 1) {
            JoinOverGap(work, pCurve, {oldLeft, oldRight, i}, pReduced);
        }
    }
    HoldBorders(work, pCurve, pKept, pReduced);
    rewrite.Commit();
}
}  // namespace

GlissaFilterConstantKeyReducer::GlissaFilterConstantKeyReducer()
    : KClassFrame("Constant Key Reducer", kUsualErrors, kUsualErrorCount)
{
    GlissaFilterConstantKeyReducer::Reset();
}

void GlissaFilterConstantKeyReducer::Reset()
{
    // Floats, so that results agree with those of hosts that store them so.
    mDerivativeTolerance = static_cast<double>(0.009f);
    mValueTolerance = static_cast<double>(0.009f);
    mTranslationThreshold = static_cast<double>(0.00009f);
    mRotationThreshold = static_cast<double>(0.009f);
    mScalingThreshold = static_cast<double>(0.004f);
    mDefaultThreshold = static_cast<double>(0.009f);
    mKeepFirstAndLastKeys = false;
    mKeepOneKey = false;
    GlissaFilter::Reset();
}

EGlissaFilterAnswer GlissaFilterConstantKeyReducer::Examine(Glissa& pCurve)
{
    if (pCurve.KeyGetCount() == 0) {
        return RefuseCurve(eFilterNoKey, "ConstantKeyReducer, No key to be filtered.");
    }
    if (!std::isfinite(mValueTolerance)) {
        return RefuseCurve(eFilterUnchanged, "ConstantKeyReducer, No key were changed by filter.");
    }
    mKept = FindKept(pCurve);
    return static_cast<int>(mKept.size()) == pCurve.KeyGetCount() ? eFilterNothingToDo
                                                                  : eFilterChanges;
}

bool GlissaFilterConstantKeyReducer::Change(Glissa& pCurve)
{
    const std::vector<int> kept = std::exchange(mKept, {});
    if (!kept.empty()) {
        KeepOnly(pCurve, kept, {GetStartKey(pCurve), GetStopKey(pCurve), mValueTolerance});
        return true;
    }
    const float value = pCurve.KeyGetValue(0);
    pCurve.KeyClear();
    pCurve.SetValue(value);
    return true;
}

// The keys that stay, in order. All of them may go.
std::vector<int> GlissaFilterConstantKeyReducer::FindKept(Glissa& pCurve) const
{
    if (IsStepped(pCurve)) {
        return Steps(pCurve, mValueTolerance).Find();
    }
    const int bottom = GetStartKey(pCurve);
    const int top = GetStopKey(pCurve);
    FlatRuns runs(pCurve, bottom, top);
    const std::vector<int>& inSpan = runs.Find(mValueTolerance);
    std::vector<int> kept;
    for (int i = 0; i < bottom; ++i) {
        kept.push_back(i);
    }
    kept.insert(kept.end(), inSpan.rbegin(), inSpan.rend());
    for (int i = std::max(top + 1, bottom); i < pCurve.KeyGetCount(); ++i) {
        kept.push_back(i);
    }
    if (kept.empty() && mKeepOneKey) {
        kept.push_back(0);
    }
    return kept;
}

double GlissaFilterConstantKeyReducer::ThresholdOf(GlissaNode& pNode) const
{
    GlissaNode* const parent = pNode.GetParent();
    const std::string_view name = pNode.GetName();
    const std::string_view above = parent ? parent->GetName() : "";
    const auto isOne = [&](std::string_view pShort, std::string_view pLong) {
        return name == pShort || name == pLong || above == pShort || above == pLong;
    };
    return isOne("R", "Lcl Rotation")      ? mRotationThreshold
           : isOne("S", "Lcl Scaling")     ? mScalingThreshold
           : isOne("T", "Lcl Translation") ? mTranslationThreshold
                                           : mDefaultThreshold;
}

bool GlissaFilterConstantKeyReducer::Apply(GlissaNode& pNode, bool pRecursive)
{
    if (pNode.IsNodeLocked() || pNode.GetUseQuaternion()) {
        return false;
    }
    const KOperation operation;
    const double derivativeTolerance = mDerivativeTolerance;
    const double valueTolerance = mValueTolerance;
    mDerivativeTolerance = mValueTolerance = ThresholdOf(pNode);
    const bool result = GlissaCurveFilter::Apply(pNode, pRecursive);
    mDerivativeTolerance = derivativeTolerance;
    mValueTolerance = valueTolerance;
    return result;
}
