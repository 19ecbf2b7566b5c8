// Copyright (c) 2026 The glissa authors
// SPDX-License-Identifier: MIT

// What holds for every filter, over the museum and random curves. A filter joins with a row.

#include "corvekit/object/property.h"
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

struct Row
{
    std::string name;
    /// With parameters that change nearly every curve.
    std::shared_ptr<GlissaFilter> filter;
    /// With parameters that are refused on every curve.
    std::vector<std::shared_ptr<GlissaFilter>> refused = {};
    bool keepsSpan = true;      ///< keys outside those of the span stay as they are
    bool idempotent = false;    ///< a second application changes nothing
    bool changesFalse = false;  ///< a change may go with the answer false
    bool setsSlopes = false;    ///< keys next to those of the span take other tangents,
    bool keepsShape = true;     ///< so that the curve beyond them stays,
    bool keepsBorder = false;   ///< and also up to the span where its first or last key stays
    bool postsExactly = false;  ///< keys that stay are not posted as removed and added
    bool refusesLockedNodes = false;
    bool wholeIfStepped = false;  ///< a curve of constant keys is filtered whatever the span
};

template <typename Filter, typename Set>
std::shared_ptr<GlissaFilter> With(Set&& pSet)
{
    auto filter = std::make_shared<Filter>();
    pSet(*filter);
    return filter;
}

template <typename Filter>
std::shared_ptr<GlissaFilter>
WithNumbers(const std::vector<std::pair<const char*, double>>& pValues)
{
    return With<Filter>([&](Filter& f) {
        for (const auto& [name, value] : pValues) {
            ASSERT_TRUE(f.FastFindPropertyByName(name)->SetPropertyConstant(&value));
        }
    });
}

const std::vector<Row>& Rows()
{
    using Butterworth = GlissaFilterButterworth;
    using Clamp = GlissaFilterClamp;
    using ConstantReducer = GlissaFilterConstantKeyReducer;
    using DeleteKey = GlissaFilterDeleteKey;
    using Gaussian = GlissaFilterGaussian;
    using Inverse = GlissaFilterInverse;
    using KeyReducer = GlissaFilterKeyReducer;
    using KeysOnFrame = GlissaFilterKeysOnFrame;
    using Move = GlissaFilterTimeShiftAndScale;
    using Offset = GlissaFilterOffset;
    using PeakRemover = GlissaFilterPeakRemover;
    using Resample = GlissaFilterResample;
    using Scale = GlissaFilterScale;
    using Smooth = GlissaFilterSmooth;
    using TimeClamp = GlissaFilterTimeClamp;
    static const std::vector<Row> rows = {
        {.name = "inverse",
         .filter = With<Inverse>([](Inverse&) {}),
         .refused = {With<Inverse>([](Inverse& f) { f.SetTopRange(kNaN); })}},
        {.name = "offset",
         .filter = With<Offset>([](Offset& f) { f.SetOffset(0.75); }),
         .refused = {With<Offset>([](Offset&) {}),
                     With<Offset>([](Offset& f) { f.SetOffset(kNaN); }),
                     With<Offset>([](Offset& f) { f.SetOffset(-kInf); })}},
        {.name = "butterworth",
         .filter = WithNumbers<Butterworth>(
             {{"SamplingRate", 0.5}, {"InternalRate", 3.0}, {"CutOffFreq", 1.0}}),
         .refused = {WithNumbers<Butterworth>({{"SamplingRate", kNaN}}),
                     WithNumbers<Butterworth>({{"SamplingRate", 1e9}}),
                     WithNumbers<Butterworth>({{"SamplingRate", 1e-300}}),
                     WithNumbers<Butterworth>({{"InternalRate", kInf}}),
                     WithNumbers<Butterworth>({{"InternalRate", 0.0}}),
                     WithNumbers<Butterworth>({{"CutOffFreq", 120.0}}),
                     WithNumbers<Butterworth>({{"CutOffFreq", kNaN}}),
                     WithNumbers<Butterworth>({{"OrderOfFilter", kNaN}})},
         .setsSlopes = true},
        {.name = "gaussian",
         .filter = With<Gaussian>([](Gaussian& f) { f.SetStandardDeviation(0.1); }),
         .refused = {With<Gaussian>([](Gaussian& f) { f.SetStandardDeviation(kNaN); }),
                     With<Gaussian>([](Gaussian& f) { f.SetStandardDeviation(0.0); }),
                     With<Gaussian>([](Gaussian& f) { f.SetSamplingRate(-1.0); }),
                     With<Gaussian>([](Gaussian& f) { f.SetSamplingRate(kInf); }),
                     With<Gaussian>([](Gaussian& f) { f.SetStandardDeviation(1e9); })},
         .setsSlopes = true,
         .keepsShape = false},
        {.name = "constant key reducer",
         .filter = With<ConstantReducer>([](ConstantReducer& f) { f.SetValueTolerance(0.9); }),
         .refused = {With<ConstantReducer>([](ConstantReducer& f) { f.SetValueTolerance(kNaN); }),
                     With<ConstantReducer>([](ConstantReducer& f) { f.SetValueTolerance(kInf); })},
         .setsSlopes = true,
         .keepsBorder = true,
         .postsExactly = true,
         .refusesLockedNodes = true,
         .wholeIfStepped = true},
        {.name = "key reducer",
         .filter = With<KeyReducer>([](KeyReducer& f) { f.SetPrecision(0.25); }),
         .refused = {With<KeyReducer>([](KeyReducer& f) { f.SetPrecision(kNaN); }),
                     With<KeyReducer>([](KeyReducer& f) { f.SetPrecision(-kInf); })},
         .setsSlopes = true},
        {.name = "peak remover",
         .filter = With<PeakRemover>([](PeakRemover&) {}),
         .refused = {With<PeakRemover>([](PeakRemover& f) { f.SetTimeTolerance(kNaN); }),
                     With<PeakRemover>([](PeakRemover& f) { f.SetValueTolerance(kInf); })},
         .setsSlopes = true},
        {.name = "smooth",
         .filter = With<Smooth>([](Smooth& f) { f.SetWidth(Seconds(0.7)); }),
         .refused = {With<Smooth>([](Smooth& f) { f.SetSampleCount(1 << 30); })},
         .refusesLockedNodes = true},
        {.name = "scale",
         .filter = With<Scale>([](Scale& f) { f.SetScale(-2.5); }),
         .refused = {With<Scale>([](Scale&) {}), With<Scale>([](Scale& f) { f.SetScale(1.0); }),
                     With<Scale>([](Scale& f) { f.SetScale(kNaN); }),
                     With<Scale>([](Scale& f) { f.SetScale(kInf); })}},
        {.name = "scale with tangents",
         .filter = With<Scale>([](Scale& f) {
             f.SetScale(0.5);
             f.SetApplyTangent(true);
         }),
         .refused = {},
         .setsSlopes = true,
         .keepsShape = false},
        {.name = "clamp",
         .filter = With<Clamp>([](Clamp& f) {
             f.SetApplyCeilClamping(true);
             f.SetApplyFloorClamping(true);
             f.SetFloor(-0.5);
         }),
         .refused = {With<Clamp>([](Clamp&) {}), With<Clamp>([](Clamp& f) {
                         f.SetApplyCeilClamping(true);
                         f.SetCeil(kNaN);
                     }),
                     With<Clamp>([](Clamp& f) {
                         f.SetApplyFloorClamping(true);
                         f.SetFloor(-kInf);
                     })},
         .changesFalse = true,
         .setsSlopes = true,
         .postsExactly = true},
        {.name = "delete key",
         .filter = With<DeleteKey>([](DeleteKey& f) { f.SetCutTimeInterval(false); }),
         .refused = {},
         .setsSlopes = true},
        {.name = "cut time",
         .filter = With<DeleteKey>([](DeleteKey&) {}),
         .refused = {},
         .keepsSpan = false},
        {.name = "time clamp",
         .filter = With<TimeClamp>([](TimeClamp& f) { f.SetMin(KTime(5)); }),
         .refused = {With<TimeClamp>([](TimeClamp&) {})},
         .keepsSpan = false,
         .idempotent = true},
        {.name = "time shift and scale",
         .filter = With<Move>([](Move& f) {
             f.SetShift(KTime(-1000));
             f.SetScale(0.25);
         }),
         .refused = {With<Move>([](Move&) {}), With<Move>([](Move& f) { f.SetScale(0.0); }),
                     With<Move>([](Move& f) { f.SetScale(kNaN); }),
                     With<Move>([](Move& f) { f.SetScale(kInf); }),
                     With<Move>([](Move& f) { f.SetShift(KTime::Infinite()); }),
                     With<Move>([](Move& f) { f.SetShift(KTime::MinusInfinite()); })},
         .keepsSpan = false},
        {.name = "resample",
         .filter = With<Resample>([](Resample& f) { f.SetPeriodTime(Seconds(30)); }),
         .refused = {With<Resample>([](Resample& f) { f.SetPeriodTime(KTime()); }),
                     With<Resample>([](Resample& f) { f.SetPeriodTime(KTime(-5)); })},
         .setsSlopes = true},
        {.name = "resample by kinds",
         .filter = With<Resample>([](Resample& f) {
             f.SetPeriodTime(Seconds(7));
             f.SetIntelligentMode(true);
             f.SetKeysOnFrame(true);
         }),
         .refused = {},
         .setsSlopes = true},
        {.name = "keys on frame",
         .filter = With<KeysOnFrame>([](KeysOnFrame&) {}),
         .refused = {With<KeysOnFrame>([](KeysOnFrame& f) { f.SetPeriod(KTime()); }),
                     With<KeysOnFrame>([](KeysOnFrame& f) { f.SetPeriod(KTime(-5)); })}},
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
        } else if (check.Heard().size() > 1 || !pMayChange || (!done && !pRow.changesFalse)) {
            faults += "heard " + std::to_string(check.Heard().size()) + " times\n";
        } else if (!HasSameEnds(*before, pCurve, std::clamp(heard.first, 0, pCurve.KeyGetCount()),
                                std::max(pCurve.KeyGetCount() - 1 - heard.last, 0), IsSameKey)) {
            faults += "the event does not cover the change\n";
        } else if (pRow.postsExactly &&
                   (HasOtherTime(pCurve, *before) != ((heard.type & eEventKeyAdd) != 0) ||
                    HasOtherTime(*before, pCurve) != ((heard.type & eEventKeyRemove) != 0))) {
            faults += "the event has keys that came or went\n";
        }
    }
    for (int i = 1; i < pCurve.KeyGetCount(); ++i) {
        faults += pCurve.KeyGetTime(i - 1) < pCurve.KeyGetTime(i) ? "" : "out of order\n";
    }
    const bool isWhole = pRow.wholeIfStepped && IsStepped(*before);
    if (!pRow.keepsSpan || isWhole || head < 0) {
        pCurve.CandidateClear();
        return faults;
    }
    // The left slope of a key is stored in the one before it.
    const int slack = pRow.setsSlopes ? 1 : 0;
    if (!HasSameEnds(*before, pCurve, head, tail, HasSamePlace) ||
        !HasSameEnds(*before, pCurve, std::max(head - 2 * slack, 0), std::max(tail - slack, 0),
                     IsSameKey)) {
        faults += "a key outside the span differs\n";
    }
    const int behind = before->KeyGetCount() - tail;
    const auto keeps = [&](int pIndex, int pOuter) {
        return KeepsSegment(*before, pCurve, pIndex, pOuter);
    };
    if (pRow.setsSlopes && pRow.keepsShape &&
        !(keeps(head - 2, head - 1) && keeps(behind, behind) &&
          (!pRow.keepsBorder || (keeps(head - 1, head) && keeps(behind - 1, behind - 1))))) {
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
                if (row.idempotent) {
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
        EXPECT_EQ(!row.refusesLockedNodes, row.filter->Apply(*node, true)) << row.name;
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
