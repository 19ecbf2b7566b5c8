// Copyright (c) 2026 The glissa authors
// SPDX-License-Identifier: MIT

#include "glissa/filter/delete_key.h"
#include "glissa/filter/time_clamp.h"
#include "glissa/filter/time_shift_and_scale.h"
#include "tests/support/curve_test.h"
#include "tests/support/held_kinds.h"

namespace
{
using TimeFilters = CurveTest;

void SetSpan(GlissaFilter& pFilter, double pStart, double pStop)
{
    pFilter.SetStartTime(Seconds(pStart));
    pFilter.SetStopTime(Seconds(pStop));
}

CurveHandle MakeTens()
{
    return MakeCurve({{0.0, 0.0f}, {10.0, 1.0f}, {20.0, 2.0f}, {30.0, 3.0f}, {40.0, 4.0f}});
}

// Cuts between keys, and cuts with a key a tick in front of them, behind them or both.
TEST_F(TimeFilters, ACutKeepsTheCurveOnBothSides)
{
    const KTime tick(1);
    std::vector<KTimeSpan> cuts = {{Seconds(0.5) + tick, Seconds(1)},
                                   {Seconds(1), Seconds(2) - tick},
                                   {Seconds(0.5) + tick, Seconds(2) - tick}};
    for (int cut = 0; cut < 12; ++cut) {
        const KTime start = Seconds(0.1 + cut % 4 * 0.45);
        cuts.emplace_back(start, start + Seconds(0.3 + cut / 4 * 0.4));
    }
    ForEachPairOfHeldKinds([&](const RefCurve& pCurve) {
        for (const KTimeSpan& cut : cuts) {
            const KTime start = cut.GetStart();
            const KTime length = cut.GetStop() - start;
            const CurveHandle before = ToGlissa(pCurve);
            const CurveHandle curve = ToGlissa(pCurve);
            GlissaFilterDeleteKey filter;
            filter.SetStartTime(start);
            filter.SetStopTime(cut.GetStop());
            EXPECT_TRUE(filter.Apply(*curve));
            for (int i = 0; i <= 150; ++i) {
                const KTime time = Seconds(i / 50.0);
                const KTime source = time < start ? time : time + length;
                if ((time >= start - tick && time <= start + tick) || source > Seconds(3)) {
                    continue;
                }
                ASSERT_NEAR(before->Evaluate(source, nullptr), curve->Evaluate(time, nullptr), 2e-5)
                    << "cut at " << start.Get() << ", " << time.GetSecondDouble();
            }
        }
    });
}

TEST_F(TimeFilters, TheCurveBeyondTheNeighboursOfRemovedKeysStays)
{
    ForEachPairOfHeldKinds([](const RefCurve& pCurve) {
        for (const int form : {0, 1, 2, 3}) {
            const CurveHandle before = ToGlissa(pCurve);
            const CurveHandle curve = ToGlissa(pCurve);
            const KTime removed = before->KeyGetTime(1 + form % 2);
            GlissaFilterDeleteKey remover;
            remover.SetCutTimeInterval(false);
            remover.SetStartTime(removed);
            remover.SetStopTime(removed);
            GlissaFilterTimeClamp clamp;
            clamp.SetMin(removed - KTime(1));
            clamp.SetMax(removed + KTime(1));
            EXPECT_TRUE(form < 2 ? remover.Apply(*curve) : clamp.Apply(*curve));
            for (int i = 0; i <= 50; ++i) {
                const KTime time = form % 2 == 0 ? Seconds(2 + i / 50.0) : Seconds(i / 100.0);
                ASSERT_NEAR(before->Evaluate(time, nullptr), curve->Evaluate(time, nullptr), 2e-5)
                    << form << " at " << time.GetSecondDouble();
            }
        }
    });
}

TEST_F(TimeFilters, ACutLeavesAKeyATickOutsideEachEnd)
{
    struct Case
    {
        double start, stop;
        std::vector<KTime> times;
    };
    const KTime tick(1);
    for (const Case& each :
         {Case{15.0,
               25.0,
               {Seconds(0), Seconds(10), Seconds(15) - tick, Seconds(15) + tick, Seconds(20),
                Seconds(30)}},
          Case{-5.0, 5.0, {Seconds(0), Seconds(10), Seconds(20), Seconds(30)}},
          Case{25.0, 50.0, {Seconds(0), Seconds(10), Seconds(20)}}, Case{-1.0, 41.0, {}},
          Case{20.0, 20.0, {Seconds(0), Seconds(10), Seconds(30), Seconds(40)}}}) {
        const CurveHandle curve = MakeTens();
        GlissaFilterDeleteKey filter;
        SetSpan(filter, each.start, each.stop);
        EXPECT_TRUE(filter.Apply(*curve));
        std::vector<KTime> times;
        for (int i = 0; i < curve->KeyGetCount(); ++i) {
            times.push_back(curve->KeyGetTime(i));
        }
        EXPECT_EQ(each.times, times) << each.start;
    }
    const CurveHandle curve = MakeTens();
    GlissaFilterDeleteKey filter;
    SetSpan(filter, 21.0, 11.0);
    EXPECT_FALSE(filter.Apply(*curve));
    EXPECT_STREQ("DeleteKeyFilter, No key were changed by filter.", filter.GetLastErrorString());
    EXPECT_FALSE(filter.Apply(*MakeCurve({})));
    EXPECT_STREQ("DeleteKeyFilter, No key to be filtered.", filter.GetLastErrorString());
}

TEST_F(TimeFilters, ATimeClampTakesWhatLiesBetween)
{
    GlissaFilterTimeClamp filter;
    const CurveHandle curve = MakeTens();
    EXPECT_FALSE(filter.Apply(*MakeCurve({})));
    EXPECT_STREQ("FilterTimeClamp. No key to be filtered.", filter.GetLastErrorString());
    EXPECT_FALSE(filter.Apply(*curve));
    EXPECT_STREQ("FilterTimeClamp. Either Min or Max are not valid.", filter.GetLastErrorString());
    filter.SetMin(Seconds(10));
    filter.SetMax(Seconds(30));
    EXPECT_TRUE(filter.Apply(*curve));
    EXPECT_EQ("0:0 10:1 30:3 40:4 ", KeysOf(*curve));
    EXPECT_FALSE(filter.Apply(*curve));
    EXPECT_STREQ("FilterTimeClamp. No key were changed by filter.", filter.GetLastErrorString());
    filter.SetApplyMaxClamp(false);
    EXPECT_TRUE(filter.Apply(*curve));
    EXPECT_EQ("0:0 10:1 ", KeysOf(*curve));
}

TEST_F(TimeFilters, KeysAreShiftedAndThenStretchedAroundZero)
{
    constexpr char kUnchanged[] = "TimeShiftAndScaleFilter, No key were changed by filter.";
    GlissaFilterTimeShiftAndScale filter;
    filter.SetShift(Seconds(1));
    filter.SetScale(2.0);
    filter.Reset();
    const CurveHandle curve = MakeCurve({{-2.0, 1.0f}, {3.0, 2.0f}});
    EXPECT_TRUE(filter.Apply(*curve));
    EXPECT_EQ("-2:1 8:2 ", KeysOf(*curve));
    EXPECT_FALSE(filter.Apply(*MakeCurve({})));
    EXPECT_STREQ("TimeShiftAndScaleFilter, No key to be filtered.", filter.GetLastErrorString());
    // No key leaves the range of times, and none meets another.
    for (const auto& [shift, scale] :
         {std::pair{KTime::Infinite() - Seconds(5), 1.0}, {Seconds(1), 1e30}, {KTime(), 9e9}}) {
        filter.SetShift(shift);
        filter.SetScale(scale);
        EXPECT_FALSE(filter.Apply(*curve));
        EXPECT_STREQ(kUnchanged, filter.GetLastErrorString());
    }
    EXPECT_EQ("-2:1 8:2 ", KeysOf(*curve));
    const CurveHandle close = ToGlissa(MuseumCurve("neighbours one tick apart"));
    filter.SetShift(KTime());
    filter.SetScale(1e-9);
    EXPECT_TRUE(filter.Apply(*close));
    EXPECT_EQ(KTime(0), close->KeyGetTime(0));
    EXPECT_EQ(KTime(5), close->KeyGetTime(5));
    filter.SetScale(-1.0);
    filter.SetShift(KTime(7));
    EXPECT_TRUE(filter.Apply(*close));
    EXPECT_EQ(KTime(7), close->KeyGetTime(0));
}
}  // namespace
