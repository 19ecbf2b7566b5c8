// Copyright (c) 2026 The glissa authors
// SPDX-License-Identifier: MIT

// The manipulator is called as an editor calls it: select, mark, frame, begin, then totals. What it
// cannot do in one manipulation is done in two, in this order: times, then values. A falloff needs
// values alone, and values of other curves follow a stretch of values alone.

#include "apps/glissa/drag_run.h"

#include "apps/glissa/clip_curves.h"
#include "apps/glissa/refusal.h"
#include "glissa/curve/curve.h"
#include "glissa/node/node.h"

#include <fmt/format.h>

#include <algorithm>
#include <cmath>
#include <limits>

namespace
{
constexpr double kLeastValueSpan = 1e-5;  // of a stretch; the manipulator widens smaller ones

std::optional<ETimeMode> TimeModeOf(double pFramesASecond)
{
    const KTime frame = KTime::FromSeconds(1.0 / pFramesASecond);
    for (int mode = eTimeModeDefault + 1; mode < eTimeModeCount; ++mode) {
        if (KTime::GetOneFrameValue(static_cast<ETimeMode>(mode)) == frame) {
            return static_cast<ETimeMode>(mode);
        }
    }
    return std::nullopt;
}

KTime Ticks(double pTicks)
{
    return KTime(std::llround(std::clamp(pTicks, -kMostTicks, kMostTicks)));
}

// Keys are floats, so that a limit as it is printed for a key includes the key.
double AsFloat(double pValue)
{
    return static_cast<double>(static_cast<float>(pValue));
}

std::string RangeText(const std::vector<EditedCurve>& pCurves)
{
    std::optional<TimeSpan> times;
    ValueRange values;
    for (const EditedCurve& each : pCurves) {
        for (int i = 0; i < each.curve->KeyGetCount(); ++i) {
            values.Add(static_cast<double>(each.curve->KeyGetValue(i)));
        }
        times = SpanOfBoth(times, KeySpan(std::vector<Glissa*>{each.curve}));
    }
    return !times ? "the chosen curves have no keys"
                  : fmt::format("the keys of the chosen curves are at {:.6g} to {:.6g} s and have "
                                "values of {:.6g} to {:.6g}",
                                times->from.GetSecondDouble(), times->to.GetSecondDouble(),
                                values.low, values.high);
}

bool HasMarkedKey(Glissa& pCurve)
{
    for (int i = 0; i < pCurve.KeyGetCount(); ++i) {
        if (pCurve.KeyGetMarkedForManipulation(i)) {
            return true;
        }
    }
    return false;
}

// A place of an axis of the selection box.
template <typename T, typename Number>
double Resolve(const Place<T>& pPlace, double pLow, double pHigh, Number pNumber)
{
    using Kind = typename Place<T>::Kind;
    switch (pPlace.kind) {
    case Kind::first:
        return pLow;
    case Kind::middle:
        return pLow + (pHigh - pLow) / 2.0;
    case Kind::last:
        return pHigh;
    case Kind::given:
        break;
    }
    return pNumber(pPlace.given);
}
}  // namespace

Drag::Drag(const DragRequest& pRequest, std::vector<EditedCurve> pCurves, double pFramesASecond)
    : CurveEdit(std::move(pCurves)), mRequest(pRequest), mFramesASecond(pFramesASecond)
{
    // Without a mode of this rate frames are milliseconds.
    const std::optional<ETimeMode> mode = TimeModeOf(mFramesASecond);
    mHasTimeMode = mode.has_value();
    if (mRequest.snapsFrames && !mode) {
        throw Refusal(fmt::format("--snap frames: there is no time mode of {:.6g} frames per "
                                  "second; give another rate with --fps",
                                  mFramesASecond));
    }
    KTime::SetDefaultTimeMode(mode.value_or(eTimeMode1000));
    Select();
    const SelectionBox box = GetBox();
    mStart = box.from;
    if (mRequest.time) {
        ResolveTimes(box);
    }
    if (mRequest.value) {
        ResolveValues(box);
    }
    if (mRequest.move) {
        mTimes.delta = static_cast<double>(mRequest.move->first.At(mFramesASecond).Get());
        mValues.delta = mRequest.move->second;
    }
    const bool isSided =
        mRequest.ripple == TimeRipple::left || mRequest.ripple == TimeRipple::right;
    const bool areTwo =
        mRequest.MovesTime() && mRequest.MovesValues() &&
        (mRequest.falloff > 0.0 ||
         (!mRequest.move && (isSided || mRequest.rippleValues != ValueRipple::none)));
    if (areTwo) {
        mSteps = {{true, false}, {false, true}};
    } else {
        mSteps = {{mRequest.MovesTime(), mRequest.MovesValues()}};
    }
    mManipulator.SetRippleMoveX(mRequest.ripple != TimeRipple::none);
    mManipulator.SetRippleStretchX(mRequest.ripple != TimeRipple::none);
    mManipulator.SetRippleMoveY(mRequest.rippleValues != ValueRipple::none);
    mManipulator.SetRippleStretchY(mRequest.rippleValues != ValueRipple::none);
    mManipulator.SetRippleAllY(mRequest.rippleValues == ValueRipple::all);
    Begin(mSteps.front());
}

Drag::~Drag()
{
    mManipulator.EndManipulation();
}

void Drag::Select()
{
    for (const SelectStep& each : mRequest.selection) {
        const auto time = [this](const std::optional<TimeArgument>& pTime, KTime pDefault) {
            return pTime ? pTime->At(mFramesASecond) : pDefault;
        };
        const KTime from = time(each.times.low, KTime::MinusInfinite());
        const KTime to = time(each.times.high, KTime::Infinite());
        if (from > to) {
            throw WrongArguments(fmt::format("{}: the box is reversed", each.text));
        }
        constexpr double kGreatest = std::numeric_limits<double>::max();
        mManipulator.SelectKeys(each.mode, from, to, AsFloat(each.values.low.value_or(-kGreatest)),
                                AsFloat(each.values.high.value_or(kGreatest)));
    }
    mManipulator.MarkKeysForManipFromSelection();
    bool hasMarks = false;
    for (EditedCurve& each : mCurves) {
        const bool isMarked = HasMarkedKey(*each.curve);
        hasMarks |= isMarked;
        // Stretches would write the other curves too.
        if (!isMarked && mRequest.rippleValues == ValueRipple::none) {
            mManipulator.MarkCurveNodeForManip(false, each.leaf);
        }
    }
    Keep();
    if (!hasMarks) {
        throw Refusal("no key is selected; " + RangeText(mCurves));
    }
    mManipulator.FrameManipulation();
}

void Drag::ResolveTimes(const SelectionBox& pBox)
{
    const Stretch<TimeArgument>& stretch = *mRequest.time;
    const auto ticks = [this](const TimeArgument& pTime) {
        return static_cast<double>(pTime.At(mFramesASecond).Get());
    };
    const double from = static_cast<double>(pBox.from.Get());
    const double to = static_cast<double>(pBox.to.Get());
    mTimes.pivot = Resolve(stretch.pivot, from, to, ticks);
    mTimes.edge = Resolve(stretch.edge, from, to, ticks);
    const double span = mTimes.edge - mTimes.pivot;
    if (std::fabs(span) < static_cast<double>(KTime::GetOneFrameValue().Get())) {
        throw Refusal(fmt::format("the pivot and the edge of a stretch in time are less than a "
                                  "frame apart; the selection is at {:.6g} to {:.6g} s",
                                  pBox.from.GetSecondDouble(), pBox.to.GetSecondDouble()));
    }
    mTimes.delta = stretch.factor ? (*stretch.factor - 1.0) * span : ticks(stretch.by);
    if (std::fabs(mTimes.delta) > kMostTicks) {
        throw Refusal("the stretch would leave the range of times");
    }
    if (mTimes.delta == -span) {
        throw Refusal("the stretch would put all times on the pivot");
    }
    const bool isLeft = span < 0.0;
    if (mRequest.ripple == (isLeft ? TimeRipple::right : TimeRipple::left)) {
        throw WrongArguments(fmt::format("--ripple: the edge that moves is {0} of the pivot, so "
                                         "the keys to the {0} can follow, or both",
                                         isLeft ? "left" : "right"));
    }
}

void Drag::ResolveValues(const SelectionBox& pBox)
{
    const Stretch<double>& stretch = *mRequest.value;
    const auto value = [](double pValue) { return pValue; };
    mValues.pivot = Resolve(stretch.pivot, pBox.low, pBox.high, value);
    if (stretch.factor) {
        // Any edge serves; this one also where all values are equal.
        mValues.edge = mValues.pivot + std::max(1.0, std::fabs(mValues.pivot));
    } else {
        mValues.edge = Resolve(stretch.edge, pBox.low, pBox.high, value);
    }
    const double span = mValues.edge - mValues.pivot;
    if (std::fabs(span) < kLeastValueSpan) {
        throw Refusal(fmt::format("the pivot and the edge of a stretch of values are both {:.6g}; "
                                  "the selection has values of {:.6g} to {:.6g}",
                                  mValues.pivot, pBox.low, pBox.high));
    }
    mValues.delta = stretch.factor ? (*stretch.factor - 1.0) * span : stretch.by;
    if (mValues.delta == -span) {
        throw Refusal("the stretch would put all values on the pivot: use --set-value");
    }
}

eFCurveManipulationMode Drag::ModeOf(const Step& pStep) const
{
    const bool ripplesTime = pStep.times && mRequest.ripple != TimeRipple::none;
    const bool ripplesValues = pStep.values && mRequest.rippleValues != ValueRipple::none;
    if (!mRequest.move && pStep.times && (pStep.values || mRequest.ripple == TimeRipple::both)) {
        return ripplesTime ? eManipRippleBothAxes : eManipBothAxes;
    }
    // The side of the edge that moves. Of values, the ripple is that of the keys beyond the edge.
    const AxisEdit& axis = pStep.times ? mTimes : mValues;
    const bool isFirst = axis.edge < axis.pivot;
    if (ripplesTime || ripplesValues) {
        return isFirst ? eManipRippleLeftEdge : eManipRippleRightEdge;
    }
    return isFirst ? eManipLeftEdge : eManipRightEdge;
}

double Drag::FalloffRadius() const
{
    constexpr double kMilliseconds = 1000.0;
    return mHasTimeMode ? mRequest.falloff : mRequest.falloff / mFramesASecond * kMilliseconds;
}

// The first selected key lands on a frame.
KTime Drag::SnappedMove(KTime pMove) const
{
    return mRequest.snapsFrames ? (mStart + pMove).GetFramedTime() - mStart : pMove;
}

void Drag::Begin(const Step& pStep)
{
    mManipulator.FrameManipulation();
    mManipulator.BeginManipulation(ModeOf(pStep), mRequest.keepsOriginals, mRequest.snapDistance);
}

void Drag::Edit(const Step& pStep, double pFraction)
{
    if (mRequest.setValue) {
        mManipulator.SetY(*mRequest.setValue);
    } else if (mRequest.move) {
        const KTime time = pStep.times ? SnappedMove(Ticks(mTimes.delta * pFraction)) : KTime();
        mManipulator.Offset(time, pStep.values ? mValues.delta * pFraction : 0.0, FalloffRadius());
    } else if (pStep.times || pStep.values) {
        EditStretch(pStep, pFraction);
    } else {
        mManipulator.SnapKeysToFrame();
    }
}

void Drag::EditStretch(const Step& pStep, double pFraction)
{
    const KTime pivot = Ticks(mTimes.pivot);
    const KTime edge = Ticks(mTimes.edge);
    const KTime delta = Ticks(mTimes.delta * pFraction);
    const double valueDelta = mValues.delta * pFraction;
    const bool snaps = mRequest.snapsFrames;
    const eFCurveManipulationMode mode = ModeOf(pStep);
    if (mode == eManipBothAxes || mode == eManipRippleBothAxes) {
        // Without a stretch of values the factor of values is 1, about 0, where it is exact.
        mManipulator.StretchXY(pivot, pStep.values ? mValues.pivot : 0.0, edge,
                               pStep.values ? mValues.edge : 1.0, delta,
                               pStep.values ? valueDelta : 0.0, snaps, 0.0);
    } else if (pStep.times) {
        mManipulator.StretchX(pivot, edge, delta, snaps);
    } else {
        mManipulator.StretchY(mValues.pivot, mValues.edge, valueDelta, true, FalloffRadius());
    }
}

// The manipulator has no cancel: the curves are put back by hand.
void Drag::CancelManipulation()
{
    mManipulator.EndManipulation();
    Restore();
}

void Drag::To(double pFraction)
{
    if (mSteps.size() == 1) {
        Edit(mSteps.front(), pFraction);
    } else {
        CancelManipulation();
        for (const Step& each : mSteps) {
            Begin(each);
            Edit(each, pFraction);
        }
    }
    CheckKeys(mCurves);
}

void Drag::Finish()
{
    mManipulator.EndManipulation();
    mManipulator.MarkAllCurveNodeForManip(true);
    mManipulator.SetTangentVisibility(false);
    mManipulator.ClearMarkKeysForManip();
    for (const EditedCurve& each : mCurves) {
        each.curve->KeyUnselectAll();
    }
}

SelectionBox Drag::GetBox()
{
    SelectionBox box;
    mManipulator.GetSelectionRange(box.from, box.to, box.low, box.high);
    return box;
}
