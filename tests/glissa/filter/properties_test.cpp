// Copyright (c) 2026 The glissa authors
// SPDX-License-Identifier: MIT

// What holds for every filter, over the museum and random curves. A filter joins with a row.

#include "glissa/filter/butterworth.h"
#include "glissa/filter/clamp.h"
#include "glissa/filter/constant_key_reducer.h"
#include "glissa/filter/delete_key.h"
#include "glissa/filter/gaussian.h"
#include "glissa/filter/inverse.h"
#include "glissa/filter/key_reducer.h"
#include "glissa/filter/keys_on_frame.h"
#include "glissa/filter/offset.h"
#include "glissa/filter/peak_remover.h"
#include "glissa/filter/resample.h"
#include "glissa/filter/scale.h"
#include "glissa/filter/smooth.h"
#include "glissa/filter/time_clamp.h"
#include "glissa/filter/time_shift_and_scale.h"
#include "tests/support/curve_test.h"
#include "tests/support/edit_check.h"
#include "tests/support/filter_rows.h"
#include "tests/support/node_stubs.h"
#include "tests/support/random_curve.h"

#include <algorithm>
#include <cmath>
#include <limits>
#include <memory>
#include <string>
#include <utility>
#include <vector>

namespace
{
constexpr double kNaN = std::numeric_limits<double>::quiet_NaN();
constexpr double kInf = std::numeric_limits<double>::infinity();

enum Property : unsigned
{
    kKeepsSpan = 1,      ///< keys outside those of the span stay as they are,
    kSetsSlopes = 2,     ///< but those next to it take other tangents,
    kKeepsShape = 4,     ///< so that the curve beyond them stays,
    kKeepsBorder = 8,    ///< and also up to the span where its first or last key stays
    kChangesFalse = 16,  ///< a change may go with the answer false
    kPostsExactly = 32,  ///< keys that stay are not posted as removed and added
    kRefusesLockedNodes = 64,
    kWholeIfStepped = 128,  ///< a curve of constant keys is filtered whatever the span
    kIdempotent = 256,      ///< a second application changes nothing
    kReplaces = kKeepsSpan | kSetsSlopes | kKeepsShape,
};

struct Row
{
    std::string name;
    FilterPtr filter;  ///< with parameters that change nearly every curve
    Filters refused;   ///< with parameters that are refused on every curve
    unsigned properties;

    bool Has(unsigned pProperty) const { return (properties & pProperty) != 0; }
};

/// A Butterworth filter with properties of some names.
FilterPtr Butterworth(const std::vector<std::pair<const char*, double>>& pValues)
{
    auto filter = std::make_shared<GlissaFilterButterworth>();
    for (const auto& [name, value] : pValues) {
        EXPECT_TRUE(filter->FastFindPropertyByName(name)->SetPropertyConstant(&value));
    }
    return filter;
}

const std::vector<Row>& Rows()
{
    using Clamp = GlissaFilterClamp;
    using Constant = GlissaFilterConstantKeyReducer;
    using Delete = GlissaFilterDeleteKey;
    using Gauss = GlissaFilterGaussian;
    using Move = GlissaFilterTimeShiftAndScale;
    using OnFrame = GlissaFilterKeysOnFrame;
    using Peak = GlissaFilterPeakRemover;
    using Reducer = GlissaFilterKeyReducer;
    using Resample = GlissaFilterResample;
    using Scale = GlissaFilterScale;
    using Smooth = GlissaFilterSmooth;
    using Limits = GlissaFilterTimeClamp;
    const std::pair ceil(&Clamp::SetApplyCeilClamping, true);
    const std::pair floor(&Clamp::SetApplyFloorClamping, true);
    static const std::vector<Row> rows = {
        {"inverse", With<GlissaFilterInverse>(),
         Each<GlissaFilterInverse>(&GlissaFilterInverse::SetTopRange, {kNaN}), kKeepsSpan},
        {"offset", With<GlissaFilterOffset>(std::pair(&GlissaFilterOffset::SetOffset, 0.75)),
         Each<GlissaFilterOffset>(&GlissaFilterOffset::SetOffset, {0.0, kNaN, -kInf}), kKeepsSpan},
        {"butterworth",
         Butterworth({{"SamplingRate", 0.5}, {"InternalRate", 3.0}, {"CutOffFreq", 1.0}}),
         {Butterworth({{"SamplingRate", kNaN}}), Butterworth({{"SamplingRate", 1e9}}),
          Butterworth({{"SamplingRate", 1e-300}}), Butterworth({{"InternalRate", kInf}}),
          Butterworth({{"InternalRate", 0.0}}), Butterworth({{"CutOffFreq", 120.0}}),
          Butterworth({{"CutOffFreq", kNaN}}), Butterworth({{"OrderOfFilter", kNaN}})},
         kReplaces},
        {"gaussian", With<Gauss>(std::pair(&Gauss::SetStandardDeviation, 0.1)),
         Each<Gauss>(&Gauss::SetStandardDeviation, {kNaN, 0.0, 1e9}) +
             Each<Gauss>(&Gauss::SetSamplingRate, {-1.0, kInf}),
         kKeepsSpan | kSetsSlopes},
        {"constant key reducer", With<Constant>(std::pair(&Constant::SetValueTolerance, 0.9)),
         Each<Constant>(&Constant::SetValueTolerance, {kNaN, kInf}),
         kReplaces | kKeepsBorder | kPostsExactly | kRefusesLockedNodes | kWholeIfStepped},
        {"key reducer", With<Reducer>(std::pair(&Reducer::SetPrecision, 0.25)),
         Each<Reducer>(&Reducer::SetPrecision, {kNaN, -kInf}), kReplaces},
        {"peak remover", With<Peak>(),
         Each<Peak>(&Peak::SetTimeTolerance, {kNaN}) + Each<Peak>(&Peak::SetValueTolerance, {kInf}),
         kReplaces},
        {"smooth", With<Smooth>(std::pair(&Smooth::SetWidth, Seconds(0.7))),
         Each<Smooth>(&Smooth::SetSampleCount, {1 << 30}), kKeepsSpan | kRefusesLockedNodes},
        {"scale", With<Scale>(std::pair(&Scale::SetScale, -2.5)),
         Each<Scale>(&Scale::SetScale, {0.0, 1.0, kNaN, kInf}), kKeepsSpan},
        {"scale with tangents",
         With<Scale>(std::pair(&Scale::SetScale, 0.5), std::pair(&Scale::SetApplyTangent, true)),
         {},
         kKeepsSpan | kSetsSlopes},
        {"clamp", With<Clamp>(ceil, floor, std::pair(&Clamp::SetFloor, -0.5)),
         Filters{With<Clamp>()} + Each<Clamp>(&Clamp::SetCeil, {kNaN}, ceil) +
             Each<Clamp>(&Clamp::SetFloor, {-kInf}, floor),
         kReplaces | kChangesFalse | kPostsExactly},
        {"delete key", With<Delete>(std::pair(&Delete::SetCutTimeInterval, false)), {}, kReplaces},
        {"cut time", With<Delete>(), {}, 0},
        {"time clamp",
         With<Limits>(std::pair(&Limits::SetMin, KTime(5))),
         {With<Limits>()},
         kIdempotent},
        {"time shift and scale",
         With<Move>(std::pair(&Move::SetShift, KTime(-1000)), std::pair(&Move::SetScale, 0.25)),
         Each<Move>(&Move::SetScale, {1.0, 0.0, kNaN, kInf}) +
             Each<Move>(&Move::SetShift, {KTime::Infinite(), KTime::MinusInfinite()}),
         0},
        {"resample", With<Resample>(std::pair(&Resample::SetPeriodTime, Seconds(30))),
         Each<Resample>(&Resample::SetPeriodTime, {KTime(), KTime(-5)}), kReplaces},
        {"resample by kinds",
         With<Resample>(std::pair(&Resample::SetPeriodTime, Seconds(7)),
                        std::pair(&Resample::SetIntelligentMode, true),
                        std::pair(&Resample::SetKeysOnFrame, true)),
         {},
         kReplaces},
        {"keys on frame", With<OnFrame>(), Each<OnFrame>(&OnFrame::SetPeriod, {KTime(), KTime(-5)}),
         kKeepsSpan},
    };
    return rows;
}

bool IsSameKey(const Glissa& pLeft, int pLeftIndex, const Glissa& pRight, int pRightIndex)
{
    // Merging equal blocks may turn the sign of a zero.
    return HasSameKey(pLeft, pLeftIndex, pRight, pRightIndex) ||
           (pLeft.KeyGetTime(pLeftIndex) == pRight.KeyGetTime(pRightIndex) &&
            pLeft.KeyGetValue(pLeftIndex) == pRight.KeyGetValue(pRightIndex) &&
            pLeft.KeyGet(pLeftIndex).GetAttributes() == pRight.KeyGet(pRightIndex).GetAttributes());
}

/// Whether the first pHead and the last pTail keys are the same, as pIsSame of two keys has it.
template <typename IsSame>
bool HasSameEnds(const Glissa& pLeft, const Glissa& pRight, int pHead, int pTail, IsSame&& pIsSame)
{
    const int left = pLeft.KeyGetCount();
    const int right = pRight.KeyGetCount();
    bool same = left >= pHead + pTail && right >= pHead + pTail;
    for (int i = 0; i < pHead && same; ++i) {
        same = pIsSame(pLeft, i, pRight, i);
    }
    for (int i = 1; i <= pTail && same; ++i) {
        same = pIsSame(pLeft, left - i, pRight, right - i);
    }
    return same;
}

bool HasSamePlace(const Glissa& pLeft, int pLeftIndex, const Glissa& pRight, int pRightIndex)
{
    return pLeft.KeyGetTime(pLeftIndex) == pRight.KeyGetTime(pRightIndex) &&
           pLeft.KeyGetValue(pLeftIndex) == pRight.KeyGetValue(pRightIndex);
}

/// Whether a curve has a key at a time at which another one has none.
bool HasOtherTime(const Glissa& pCurve, Glissa& pOther)
{
    bool has = false;
    for (int i = 0; i < pCurve.KeyGetCount() && !has; ++i) {
        const double place = pOther.KeyFind(pCurve.KeyGetTime(i), nullptr);
        has = pOther.KeyGetCount() == 0 || place != std::floor(place);
    }
    return has;
}

bool IsTcb(const Glissa& pCurve, int pIndex)
{
    return pIndex >= 0 && pIndex < pCurve.KeyGetCount() &&
           pCurve.KeyGetInterpolation(pIndex) == eInterpolationCubic &&
           pCurve.KeyGetTangeantMode(pIndex, false) == eTangentTCB;
}

/// Whether the segment behind a key stays. pOuter is the end of it that is next to the edit: gone,
/// or a parameter of its tangent holds a slope to a share of the steeper secant there. TCB keys
/// have no such parameters.
bool KeepsSegment(Glissa& pBefore, Glissa& pAfter, int pIndex, int pOuter)
{
    if (pIndex < 0 || pIndex + 1 >= pBefore.KeyGetCount() || IsTcb(pBefore, pIndex) ||
        IsTcb(pBefore, pIndex + 1)) {
        return true;
    }
    const double outer = pAfter.KeyFind(pBefore.KeyGetTime(pOuter), nullptr);
    if (outer != std::floor(outer)) {
        return true;
    }
    double toLeft = 0.0;
    double toRight = 0.0;
    GLISSA_ComputeToLeftAndToRight(toLeft, toRight, &pAfter, static_cast<int>(outer));
    const double steepest = std::max(std::fabs(toLeft), std::fabs(toRight));
    const std::int64_t from = pBefore.KeyGetTime(pIndex).Get();
    const std::int64_t step = pBefore.KeyGetTime(pIndex + 1).Get() / 8 - from / 8;
    bool keeps = true;
    for (int i = 1; i < 8; ++i) {
        const double value = pBefore.Evaluate(KTime(from + i * step), nullptr);
        const double got = pAfter.Evaluate(KTime(from + i * step), nullptr);
        keeps &= std::fabs(got - value) <= 1e-4 * (1.0 + std::fabs(value)) +
                                               0x1p-20 * steepest * KTime(step).GetSecondDouble();
    }
    return keeps;
}

bool IsSameCurve(const Glissa& pLeft, const Glissa& pRight)
{
    const float values[] = {pLeft.GetValue(), pRight.GetValue()};
    return pLeft.KeyGetCount() == pRight.KeyGetCount() &&
           std::memcmp(&values[0], &values[1], sizeof(float)) == 0 &&
           HasSameEnds(pLeft, pRight, pLeft.KeyGetCount(), 0, IsSameKey);
}

bool IsStepped(const Glissa& pCurve)
{
    bool stepped = true;
    for (int i = 0; i < pCurve.KeyGetCount(); ++i) {
        stepped &= pCurve.KeyGetInterpolation(i) == eInterpolationConstant;
    }
    return stepped;
}

/// Applies the filter of a row once and says what it got wrong, or nothing.
std::string Fault(const Row& pRow, GlissaFilter& pFilter, Glissa& pCurve, bool pMayChange)
{
    const CurveHandle before(pCurve.Copy());
    const int head = pFilter.GetStartKey(pCurve);
    const int tail = pCurve.KeyGetCount() - 1 - pFilter.GetStopKey(pCurve);
    pCurve.CandidateSet(KTime(77), 5.0);
    std::string faults;
    {
        EditCheck check(pCurve);
        const bool done = pFilter.Apply(pCurve);
        const HeardEvent heard = check.Folded();
        constexpr int kBoth = eEventKeyAdd | eEventKeyRemove;
        // Where keys came and went in turn, their numbers tell the check too little.
        faults = (heard.type & kBoth) == kBoth ? "" : check.Verify();
        if (check.Heard().empty()) {
            faults += IsSameCurve(*before, pCurve) ? "" : "changed unheard\n";
            faults += pCurve.CandidateGetTime() == KTime(77) ? "" : "ended a candidate\n";
        } else if (check.Heard().size() > 1 || !pMayChange || (!done && !pRow.Has(kChangesFalse))) {
            faults += "heard " + std::to_string(check.Heard().size()) + " times\n";
        } else if (!HasSameEnds(*before, pCurve, std::clamp(heard.first, 0, pCurve.KeyGetCount()),
                                std::max(pCurve.KeyGetCount() - 1 - heard.last, 0), IsSameKey)) {
            faults += "the event does not cover the change\n";
        } else if (pRow.Has(kPostsExactly) &&
                   (HasOtherTime(pCurve, *before) != ((heard.type & eEventKeyAdd) != 0) ||
                    HasOtherTime(*before, pCurve) != ((heard.type & eEventKeyRemove) != 0))) {
            faults += "the event has keys that came or went\n";
        }
    }
    for (int i = 1; i < pCurve.KeyGetCount(); ++i) {
        faults += pCurve.KeyGetTime(i - 1) < pCurve.KeyGetTime(i) ? "" : "out of order\n";
    }
    const bool isWhole = pRow.Has(kWholeIfStepped) && IsStepped(*before);
    if (!pRow.Has(kKeepsSpan) || isWhole || head < 0) {
        pCurve.CandidateClear();
        return faults;
    }
    // The left slope of a key is stored in the one before it.
    const int slack = pRow.Has(kSetsSlopes) ? 1 : 0;
    if (!HasSameEnds(*before, pCurve, head, tail, HasSamePlace) ||
        !HasSameEnds(*before, pCurve, std::max(head - 2 * slack, 0), std::max(tail - slack, 0),
                     IsSameKey)) {
        faults += "a key outside the span differs\n";
    }
    const int behind = before->KeyGetCount() - tail;
    const auto keeps = [&](int pIndex, int pOuter) {
        return KeepsSegment(*before, pCurve, pIndex, pOuter);
    };
    if (pRow.Has(kKeepsShape) &&
        !(keeps(head - 2, head - 1) && keeps(behind, behind) &&
          (!pRow.Has(kKeepsBorder) || (keeps(head - 1, head) && keeps(behind - 1, behind - 1))))) {
        faults += "the curve outside the span differs\n";
    }
    pCurve.CandidateClear();
    return faults;
}

/// Unbounded, on keys, between keys, within a segment, before and behind the keys.
std::vector<KTimeSpan> SpansOf(const RefCurve& pCurve)
{
    std::vector<KTimeSpan> spans = {{KTime::MinusInfinite(), KTime::Infinite()}};
    if (!pCurve.keys.empty()) {
        const auto at = [&pCurve](int pEighth) {
            return KTime(
                pCurve.keys[pCurve.keys.size() * static_cast<std::size_t>(pEighth) / 8].time);
        };
        const KTime last(pCurve.keys.back().time);
        const KTime some(7);
        spans.insert(spans.end(), {{at(2), at(5)},
                                   {at(1) + some, at(6) + some},
                                   {at(4) + some, at(4) + some + some},
                                   {KTime::MinusInfinite(), at(0) - some},
                                   {last + some, KTime::Infinite()}});
    }
    return spans;
}

void ForEachCurve(const std::function<void(const std::string&, const RefCurve&)>& pCall)
{
    for (const MuseumPiece& piece : Museum()) {
        pCall(piece.name, piece.curve);
    }
    for (int seed = 0; seed < 140; ++seed) {
        Random random(static_cast<std::uint64_t>(seed));
        const Rule rule = static_cast<Rule>(seed % (kTensionContinuityBias + 1));
        pCall("seed " + std::to_string(seed), seed % 2 == 0
                                                  ? RandomCurve(rule, random)
                                                  : RandomWeightedCurve(rule, 300, 6000, random));
    }
}

void SetSpan(GlissaFilter& pFilter, const KTimeSpan& pSpan)
{
    pFilter.SetStartTime(pSpan.GetStart());
    pFilter.SetStopTime(pSpan.GetStop());
    using TimeProperty = KPropertyTemplate<KTime>;
    if (auto* start = dynamic_cast<TimeProperty*>(pFilter.FastFindPropertyByName("Start"))) {
        *start = pSpan.GetStart();
        *dynamic_cast<TimeProperty*>(pFilter.FastFindPropertyByName("Stop")) = pSpan.GetStop();
    }
}

using FilterProperties = CurveTest;

TEST_F(FilterProperties, AnApplicationIsOneEventInOrderWithinTheSpan)
{
    int changed = 0;
    for (const Row& row : Rows()) {
        ForEachCurve([&](const std::string& pName, const RefCurve& pCurve) {
            for (const KTimeSpan& span : SpansOf(pCurve)) {
                SCOPED_TRACE(row.name + ", " + pName + ", " +
                             std::to_string(span.GetStart().Get()));
                const CurveHandle curve = ToGlissa(pCurve);
                const CurveHandle before(curve->Copy());
                SetSpan(*row.filter, span);
                EXPECT_EQ("", Fault(row, *row.filter, *curve, true));
                changed += IsSameCurve(*before, *curve) ? 0 : 1;
                if (row.Has(kIdempotent)) {
                    const CurveHandle once(curve->Copy());
                    row.filter->Apply(*curve);
                    EXPECT_TRUE(IsSameCurve(*once, *curve)) << "a second application";
                }
            }
        });
        EXPECT_GT(changed, 100) << row.name << " changes next to nothing";
        changed = 0;
    }
}

TEST_F(FilterProperties, ParametersThatAreNoNumbersAndPeriodsOfNothingAreRefused)
{
    for (const Row& row : Rows()) {
        for (std::size_t i = 0; i < row.refused.size(); ++i) {
            ForEachCurve([&](const std::string& pName, const RefCurve& pCurve) {
                SCOPED_TRACE(row.name + " " + std::to_string(i) + ", " + pName);
                const CurveHandle curve = ToGlissa(pCurve);
                EXPECT_EQ("", Fault(row, *row.refused[i], *curve, false));
                EXPECT_FALSE(row.refused[i]->Apply(*curve));
            });
        }
    }
}

TEST_F(FilterProperties, ALockedCurveStaysAsItIsAndGivesNoError)
{
    const LockModeScope mode(eLockModeProperty);
    KPropertyTemplate<double> property;
    property.SetFlags(ePropertyFlagLockAll);
    const NodePtr node = MakeChannel(KDataTypeLclTranslation, "T");
    node->SetProperty(&property);
    Glissa& curve = *node->Get(1)->FCurveGet();
    for (const Row& row : Rows()) {
        const CurveHandle source = ToGlissa(MuseumCurve("every kind"));
        curve.CopyFrom(*source);
        row.filter->Reset();
        row.filter->GetError().Clear();
        EXPECT_FALSE(row.filter->Apply(curve)) << row.name;
        EXPECT_EQ(KError::kNone, row.filter->GetLastErrorID()) << row.name;
        EXPECT_EQ(!row.Has(kRefusesLockedNodes), row.filter->Apply(*node, true)) << row.name;
        EXPECT_TRUE(IsSameCurve(*source, curve)) << row.name;
    }
    GlissaFilterClamp clamp;
    int index = 0;
    EXPECT_FALSE(clamp.ApplyCeilClamping(curve) || clamp.ApplyFloorClamping(curve) ||
                 clamp.AddIntersectionKey(curve, index, index, curve.KeyGetTime(0),
                                          curve.KeyGetTime(1), 1e-3));
    EXPECT_TRUE(IsSameCurve(*ToGlissa(MuseumCurve("every kind")), curve));
}
}  // namespace
