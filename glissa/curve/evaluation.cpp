// Copyright (c) 2026 The glissa authors
// SPDX-License-Identifier: MIT

// From a time to a value: extrapolation maps the time into the keys, the search finds the segment,
// the segment is evaluated. Playback near the hint needs only the first lines of Evaluate.

#include "glissa/curve/bezier.h"
#include "glissa/curve/curve.h"
#include "glissa/curve/key_kind.h"
#include "glissa/curve/segment_search.h"
#include "glissa/curve/slope_rules.h"
#include "glissa/ext/active.h"
#include "glissa/ext/custom_tangent_manager.h"

#include <algorithm>
#include <cmath>

namespace
{
/// The two keys of a segment with their outer neighbours, null at the ends of the curve.
struct Segment
{
    const KPriFCurveKey* before;
    const KPriFCurveKey* from;
    const KPriFCurveKey* to;
    const KPriFCurveKey* after;

    KeyWindow Start() const { return {before, from, to}; }
    KeyWindow End() const { return {from, to, after}; }
};

Segment SegmentAt(const KeyList& pKeys, const SegmentPlace& pPlace)
{
    CORVEKIT_ASSERT(pPlace.index >= 0 && pPlace.index + 1 < pKeys.Count());
    const bool isLast = pPlace.index + 2 >= pKeys.Count();
    // Neighbours mostly lie in the same page.
    if (pPlace.slot - 1 < KeyList::kKeysPerPage - 3) [[likely]] {
        return {pPlace.from - 1, pPlace.from, pPlace.to, isLast ? nullptr : pPlace.from + 2};
    }
    return {pPlace.index > 0 ? &pKeys[pPlace.index - 1] : nullptr, pPlace.from, pPlace.to,
            isLast ? nullptr : &pKeys[pPlace.index + 2]};
}

// The same by index alone, for calls outside of playback.
Segment SegmentAt(const KeyList& pKeys, int pIndex)
{
    CORVEKIT_ASSERT(pIndex >= 0 && pIndex + 1 < pKeys.Count());
    return {pIndex > 0 ? &pKeys[pIndex - 1] : nullptr, &pKeys[pIndex], &pKeys[pIndex + 1],
            pIndex + 2 < pKeys.Count() ? &pKeys[pIndex + 2] : nullptr};
}

// The functions marked always_inline and noinline are split for speed alone. What playback needs at
// every step is inlined, as a call would pass keys and slopes in memory. The cases that it seldom
// needs are tail calls with the keys in registers, so that the common one keeps nothing in memory
// for them. And a linear segment does not save the registers that a cubic one uses.

// The cubic of a segment: slopes at both ends and its length in seconds.
struct CubicShape
{
    float rightSlope;
    float leftSlope;
    float seconds;
};

constexpr unsigned kShapeMask =
    GlissaKeyAttributes::kInterpolationMask | GlissaKeyAttributes::kTangentModeMask;

// Both keys plain auto with parameter 0, which is what recording and most editing leave.
bool IsPlainAuto(const KPriFCurveKeyAttr& pFrom, const KPriFCurveKeyAttr& pTo)
{
    constexpr unsigned kPlain = eInterpolationCubic | eTangentAuto;
    return (pFrom.mFlags & kShapeMask) == kPlain && (pTo.mFlags & kShapeMask) == kPlain &&
           pFrom.mData[0] == 0.0f && pFrom.mData[1] == 0.0f;
}

// Both keys cubic with slopes of their own.
bool IsPlainUser(const KPriFCurveKeyAttr& pFrom, const KPriFCurveKeyAttr& pTo)
{
    constexpr unsigned kMask = kShapeMask & ~eTangentBreak;
    constexpr unsigned kUser = eInterpolationCubic | eTangentUser;
    return (pFrom.mFlags & kMask) == kUser && (pTo.mFlags & kMask) == kUser;
}

float SecondsOf(const Segment& pSegment)
{
    return static_cast<float>(SecondsBetween(*pSegment.from, *pSegment.to));
}

// The rules of slope_rules.h for the two common cases: slopes that share the secant of the segment,
// and slopes that are stored. False for any other.
[[gnu::always_inline]] inline bool FindCommonShape(const Segment& pSegment, CubicShape& pShape)
{
    const KPriFCurveKeyAttr& from = *pSegment.from->mAttribute;
    const KPriFCurveKeyAttr& to = *pSegment.to->mAttribute;
    const float seconds = SecondsOf(pSegment);
    if (IsPlainAuto(from, to)) {
        const double through = (pSegment.to->mValue - pSegment.from->mValue) / seconds;
        const double toLeft =
            pSegment.before ? FloatSecant(*pSegment.before, *pSegment.from) : through;
        const double toRight =
            pSegment.after ? FloatSecant(*pSegment.to, *pSegment.after) : through;
        pShape = {static_cast<float>(AutoBlend(0.0, through, toLeft)),
                  static_cast<float>(AutoBlend(0.0, toRight, through)), seconds};
        return true;
    }
    if (IsPlainUser(from, to)) {
        pShape = {from.mData[eDataRightSlope], from.mData[eDataNextLeftSlope], seconds};
        return true;
    }
    return false;
}

CubicShape ShapeOf(const Segment& pSegment)
{
    CubicShape shape;
    if (!FindCommonShape(pSegment, shape)) {
        shape = {RightSlopeOfKey(pSegment.Start(), false),
                 LeftSlopeOfKey(pSegment.End(), false, false), SecondsOf(pSegment)};
    }
    return shape;
}

inline CubicPoints PointsOf(const Segment& pSegment, const CubicShape& pShape)
{
    return PointsOfSlopes(pSegment.from->mValue, pSegment.to->mValue, pShape.rightSlope,
                          pShape.leftSlope, pShape.seconds);
}

bool IsWeighted(const KPriFCurveKey& pFrom)
{
    return (pFrom.mAttribute->mFlags & GlissaKeyAttributes::kWeightModeMask) != 0;
}

/// A weighted segment: its weights and the points of the value axis.
struct WeightedPoints
{
    float rightWeight;
    float leftWeight;
    CubicPoints values;
};

WeightedPoints WeightedPointsOf(const Segment& pSegment, const CubicShape& pShape)
{
    const float wr = RightWeightOf(*pSegment.from->mAttribute, false);
    const float wl = LeftWeightAfter(*pSegment.from->mAttribute);
    const float v0 = pSegment.from->mValue;
    const float v1 = pSegment.to->mValue;
    return {wr,
            wl,
            {v0, v0 + pShape.rightSlope * pShape.seconds * wr,
             v1 - pShape.leftSlope * pShape.seconds * wl, v1}};
}

[[gnu::noinline]] float WeightedValue(const KPriFCurveKey* pBefore, const KPriFCurveKey* pFrom,
                                      const KPriFCurveKey* pTo, const KPriFCurveKey* pAfter,
                                      double pT)
{
    const Segment segment{pBefore, pFrom, pTo, pAfter};
    const auto [wr, wl, p] = WeightedPointsOf(segment, ShapeOf(segment));
    const double s = SolveWeightedTime(wr, wl, pT);
    return CubicValue(p.p3, p.p2, p.p1, p.p0, s);
}

[[gnu::noinline]] float AnyCubicValue(const KPriFCurveKey* pBefore, const KPriFCurveKey* pFrom,
                                      const KPriFCurveKey* pTo, const KPriFCurveKey* pAfter,
                                      double pT)
{
    const Segment segment{pBefore, pFrom, pTo, pAfter};
    const CubicPoints p = PointsOf(segment, ShapeOf(segment));
    return CubicValue(p.p0, p.p1, p.p2, p.p3, pT);
}

// pT is strictly between 0 and 1; at a key the value is that of the key.
[[gnu::always_inline]] inline float CubicSegmentValue(const Segment& pSegment, double pT)
{
    if (IsWeighted(*pSegment.from)) [[unlikely]] {
        return WeightedValue(pSegment.before, pSegment.from, pSegment.to, pSegment.after, pT);
    }
    CubicShape shape;
    if (!FindCommonShape(pSegment, shape)) [[unlikely]] {
        return AnyCubicValue(pSegment.before, pSegment.from, pSegment.to, pSegment.after, pT);
    }
    const CubicPoints p = PointsOf(pSegment, shape);
    return CubicValue(p.p0, p.p1, p.p2, p.p3, pT);
}

// A constant segment; 0 for an unknown interpolation, and for custom where no type is registered.
[[gnu::noinline]] float StepValue(const KPriFCurveKey* pFrom, const KPriFCurveKey* pTo)
{
    const GlissaKeyAttributes& from = *pFrom->mAttribute;
    if (from.GetInterpolation() != eInterpolationConstant) {
        return 0.0f;
    }
    return from.GetConstantMode() == eConstantNext ? pTo->mValue : pFrom->mValue;
}

[[gnu::noinline]] float CubicValueAt(const KeyList& pKeys, const KPriFCurveKey* pFrom,
                                     const KPriFCurveKey* pTo, int pIndex, unsigned pSlot,
                                     double pT)
{
    return CubicSegmentValue(SegmentAt(pKeys, {pIndex, pSlot, pFrom, pTo, pT}), pT);
}

// The value of a curve without custom types at a place between two keys or on one of them.
inline float ValueAt(const KeyList& pKeys, const SegmentPlace& pPlace)
{
    // The fraction is what is left of the key index, whose sum was rounded.
    const double t = pPlace.KeyIndex() - pPlace.index;
    if (!(t > 0.0 && t < 1.0)) [[unlikely]] {
        return t > 0.0 ? pPlace.to->mValue : pPlace.from->mValue;
    }
    const unsigned interpolation = pPlace.from->mAttribute->GetInterpolation();
    if (interpolation == eInterpolationLinear) {
        return Between(pPlace.from->mValue, pPlace.to->mValue, t);
    }
    return interpolation == eInterpolationCubic
               ? CubicValueAt(pKeys, pPlace.from, pPlace.to, pPlace.index, pPlace.slot, t)
               : StepValue(pPlace.from, pPlace.to);
}

float CubicSlope(const Segment& pSegment, double pT)
{
    const CubicShape shape = ShapeOf(pSegment);
    return SlopeOfCubic(PointsOf(pSegment, shape), pT, shape.seconds);
}

// The difference of the last two points of de Casteljau.
float LastDifference(float p0, float p1, float p2, float p3, double pU)
{
    const float q0 = Between(p0, p1, pU);
    const float q1 = Between(p1, p2, pU);
    const float q2 = Between(p2, p3, pU);
    return Between(q1, q2, pU) - Between(q0, q1, pU);
}

float WeightedSlope(const Segment& pSegment, double pT)
{
    const CubicShape shape = ShapeOf(pSegment);
    const auto [wr, wl, p] = WeightedPointsOf(pSegment, shape);
    const double u = 1.0 - SolveWeightedTime(wr, wl, pT);
    const float dx = LastDifference(0.0f, wr, 1.0f - wl, 1.0f, u);
    const float dy = LastDifference(p.p0, p.p1, p.p2, p.p3, u);
    const float seconds = dx * shape.seconds;
    return seconds != 0.0f ? dy / seconds : 0.0f;
}
}  // namespace

float Glissa::Evaluate(KTime pTime, int* pHint)
{
    if (!pHint) [[unlikely]] {
        return WithOwnHint([this, pTime](int& pOwn) { return Evaluate(pTime, &pOwn); });
    }
    SegmentPlace place;
    if (CustomTangentTypeCount() == 0 && FindBeside(mKeys, pTime, *pHint, place)) [[likely]] {
        return ValueAt(mKeys, place);
    }
    return EvaluateFarFromHint(pTime, *pHint);
}

// Far from the hint, or with custom tangent types registered.
float Glissa::EvaluateFarFromHint(KTime pTime, int& pHint)
{
    if (CustomTangentTypeCount() != 0 || KeyGetCount() < 2) [[unlikely]] {
        return EvaluateRareCases(pTime, pHint);
    }
    SegmentPlace place;
    if (FindInPages(mKeys, pTime, pHint, place)) [[likely]] {
        return ValueAt(mKeys, place);
    }
    const bool isOutside = pTime < mKeys.FirstTime() || mKeys.LastTime() < pTime;
    return isOutside ? EvaluateOutside(pTime, pHint) : EvaluateIndex(KeyFind(pTime, &pHint));
}

// With custom tangent types registered, or without a segment.
float Glissa::EvaluateRareCases(KTime pTime, int& pHint)
{
    if (KeyGetCount() == 0) {
        return mValue;
    }
    float value = 0.0f;
    if (CustomTangentTypeCount() != 0 &&
        EvaluateCustomAround(KeyFindAll(pTime, &pHint), pTime, value)) {
        return value;
    }
    const bool isOutside = pTime < mKeys.FirstTime() || mKeys.LastTime() < pTime;
    return isOutside && KeyGetCount() > 1 ? EvaluateOutside(pTime, pHint)
                                          : EvaluateIndex(KeyFindAll(pTime, &pHint));
}

float Glissa::EvaluateIndex(double pIndex)
{
    const int count = KeyGetCount();
    if (count == 0) {
        return mValue;
    }
    if (!(pIndex > 0.0)) {
        return mKeys[0].mValue;
    }
    if (pIndex >= count - 1) {
        return mKeys[count - 1].mValue;
    }
    const int index = static_cast<int>(pIndex);
    const double t = pIndex - index;
    return t == 0.0 ? mKeys[index].mValue : EvaluateSegment(index, t);
}

float Glissa::EvaluateSegment(int pIndex, double pT)
{
    CORVEKIT_ASSERT(pIndex >= 0 && pIndex + 1 < KeyGetCount());
    CORVEKIT_ASSERT(pT > 0.0 && pT < 1.0);
    const KPriFCurveKey& from = mKeys[pIndex];
    const KPriFCurveKey& to = mKeys[pIndex + 1];
    switch (from.mAttribute->GetInterpolation()) {
    case eInterpolationLinear:
        return Between(from.mValue, to.mValue, pT);
    case eInterpolationCubic:
        return CubicSegmentValue(SegmentAt(mKeys, pIndex), pT);
    case eInterpolationCustom: {
        if (CustomTangentTypeCount() == 0) {
            return 0.0f;
        }
        const double start = from.mTime.GetSecondDouble();
        const double stop = to.mTime.GetSecondDouble();
        return CallCustomEvaluation(pIndex + pT, KTime::FromSeconds(start + (stop - start) * pT));
    }
    default:
        return StepValue(&from, &to);
    }
}

// Whether a custom key is at the index or next to it. The custom type then evaluates the time.
bool Glissa::EvaluateCustomAround(double pIndex, KTime pTime, float& pValue)
{
    CORVEKIT_ASSERT(KeyGetCount() > 0);
    const int last = KeyGetCount() - 1;
    const auto keyAt = [this, last](double pPlace) -> const KPriFCurveKey& {
        return mKeys[std::clamp(static_cast<int>(pPlace), 0, last)];
    };
    if (!IsCustom(*keyAt(std::floor(pIndex)).mAttribute) &&
        !IsCustom(*keyAt(std::ceil(pIndex)).mAttribute)) {
        return false;
    }
    pValue = CallCustomEvaluation(pIndex, pTime);
    return true;
}

float Glissa::CallCustomEvaluation(double pIndex, KTime pTime)
{
    GlissaCustomTangentManager& manager = GlissaCustomTangentManager::TheOne();
    GlissaEvaluationEvent* event = manager.AcquireCustomTangentEvaluationEventObject();
    event->mKeyIndex = pIndex;
    event->mTime = pTime;
    event->mCurve = this;
    event->mResult = 0.0;
    manager.CallCustomEvaluation(event);
    const double result = event->mResult;
    manager.ReleaseCustomTangentEvaluationEventObject(event);
    return static_cast<float>(result);
}

float Glissa::EvaluateLeftDerivative(KTime pTime, int* pHint)
{
    return KeyGetCount() < 2 ? 0.0f : SlopeAtIndex(KeyFind(pTime, pHint), false);
}

float Glissa::EvaluateRightDerivative(KTime pTime, int* pHint)
{
    return KeyGetCount() < 2 ? 0.0f : SlopeAtIndex(KeyFind(pTime, pHint), true);
}

// The two sides differ on a key only. Outside the keys there is no slope.
float Glissa::SlopeAtIndex(double pIndex, bool pRightSide)
{
    if (pIndex < 0.0 || pIndex > KeyGetCount() - 1) {
        return 0.0f;
    }
    const int index = static_cast<int>(pIndex);
    const double t = pIndex - index;
    if (t == 0.0) {
        return pRightSide ? KeyGetRightDerivative(index) : KeyGetLeftDerivative(index);
    }
    const Segment segment = SegmentAt(mKeys, index);
    switch (segment.from->mAttribute->GetInterpolation()) {
    case eInterpolationLinear:
        return static_cast<float>(Secant(*segment.from, *segment.to));
    case eInterpolationCubic:
        return IsWeighted(*segment.from) ? WeightedSlope(segment, t) : CubicSlope(segment, t);
    default:
        return 0.0f;
    }
}
