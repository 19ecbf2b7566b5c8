// Copyright (c) 2026 The glissa authors
// SPDX-License-Identifier: MIT

#include "glissa/filter/key_sync.h"
#include "glissa/filter/keys_on_frame.h"
#include "glissa/filter/resample.h"
#include "tests/support/curve_test.h"
#include "tests/support/held_kinds.h"
#include "tests/support/node_stubs.h"

#include <array>

namespace
{
using SamplingFilters = CurveTest;

TEST_F(SamplingFilters, AResampledSpanStartsOnTheGridOrAtItsStart)
{
    GlissaFilterResample filter;
    EXPECT_FALSE(filter.Apply(*MakeCurve({})));
    EXPECT_STREQ("Bad Interval", filter.GetLastErrorString());
    EXPECT_FALSE(filter.Apply(*MakeCurve({{1.0, 1.0f}})));
    filter.SetPeriodTime(KTime(10));
    filter.SetKeysOnFrame(true);
    for (const auto& [start, first] : {std::pair{25, 30}, {30, 30}, {5, 5}, {-5, -5}, {-25, -25}}) {
        const CurveHandle curve = MakeCurve({{-1.0, 0.0f}, {1.0, 2.0f}});
        filter.SetStartTime(KTime(start));
        filter.SetStopTime(KTime(47));
        EXPECT_TRUE(filter.Apply(*curve));
        EXPECT_EQ(KTime(first), curve->KeyGetTime(1));
        EXPECT_EQ(KTime(47), curve->KeyGetTime(curve->KeyGetCount() - 2));
    }
    filter.SetPeriodTime(KTime());
    EXPECT_FALSE(filter.Apply(*MakeCurve({})));
    EXPECT_STREQ("Bad Period", filter.GetLastErrorString());
    filter.SetPeriodTime(KTime(1));
    filter.SetStopTime(Seconds(1000));
    EXPECT_FALSE(filter.Apply(*MakeCurve({{0.0, 0.0f}})));
    EXPECT_EQ(GlissaFilterResample::kBadPeriod, filter.GetLastErrorID());
}

TEST_F(SamplingFilters, KeysMoveToFramesThatAreFree)
{
    struct Case
    {
        std::vector<std::int64_t> before, after;
    };
    // Ticks, with a period of 10. A last key moves down alone.
    for (const Case& each :
         {Case{{14, 90}, {10, 90}}, Case{{16, 90}, {20, 90}}, Case{{15, 90}, {10, 90}},
          Case{{-16, 90}, {-20, 90}}, Case{{-15, 90}, {-10, 90}}, Case{{6, 11, 90}, {6, 10, 90}},
          Case{{6, 14, 90}, {10, 14, 90}}, Case{{10, 14, 96}, {10, 14, 96}},
          Case{{3, 94}, {0, 90}}}) {
        const CurveHandle curve(GlissaCreate());
        for (const std::int64_t time : each.before) {
            curve->KeyAppendFast(KTime(time), 0.0f);
        }
        GlissaFilterKeysOnFrame filter;
        filter.SetPeriod(KTime(10));
        filter.Reset();
        EXPECT_TRUE(filter.Apply(*curve));
        std::vector<std::int64_t> after;
        for (int i = 0; i < curve->KeyGetCount(); ++i) {
            after.push_back(curve->KeyGetTime(i).Get());
        }
        EXPECT_EQ(each.after, after);
    }
    GlissaFilterKeysOnFrame fresh;
    EXPECT_EQ(KTime(), fresh.GetStopTime());
    EXPECT_FALSE(fresh.Apply(*MakeCurve({})));
    EXPECT_STREQ("KeysOnFrame, No key to be filtered.", fresh.GetLastErrorString());
}

TEST_F(SamplingFilters, SynchronisedCurvesKeepTheirValuesAndShareTheirTimes)
{
    ForEachPairOfHeldKinds([](const RefCurve& pCurve) {
        RefCurve moved = pCurve;
        for (RefKey& key : moved.keys) {
            key.time += Seconds(1.4).Get();  // two keys of the first curve are in front
        }
        std::array<CurveHandle, 3> curves = {ToGlissa(pCurve), ToGlissa(moved), MakeCurve({})};
        std::array<CurveHandle, 3> before;
        Glissa* all[3];
        for (std::size_t i = 0; i < 3; ++i) {
            before[i] = CurveHandle(curves[i]->Copy());
            all[i] = curves[i].get();
        }
        GlissaFilterKeySync filter;
        EXPECT_TRUE(filter.NeedApply(all, 3));
        EXPECT_TRUE(filter.Apply(all, 3));
        EXPECT_FALSE(filter.NeedApply(all, 3));
        EXPECT_EQ(8, curves[2]->KeyGetCount());
        for (std::size_t i = 0; i < 3; ++i) {
            for (int k = -20; k <= 400; ++k) {
                const KTime time = Seconds(k / 100.0);
                ASSERT_NEAR(before[i]->Evaluate(time, nullptr), curves[i]->Evaluate(time, nullptr),
                            2e-5)
                    << "curve " << i << " at " << k / 100.0;
            }
        }
        // In step already: each key takes its own value again.
        const EventRecorder events(*curves[0]);
        EXPECT_TRUE(filter.Apply(all, 3));
        EXPECT_EQ((std::vector<HeardEvent>{{kGlissaEventValue, 0, 7, 8}}), events.Heard());
    });
}

// Ends of long curves are put aside on the way, wherever the span begins.
TEST_F(SamplingFilters, LongCurvesKeepTheirValues)
{
    RefCurve source = MuseumRecording(3000);
    const CurveHandle curve = ToGlissa(source);
    const CurveHandle before(curve->Copy());
    for (RefKey& key : source.keys) {
        key.time += 1000003;
    }
    const CurveHandle other = ToGlissa(source);
    Glissa* both[] = {curve.get(), other.get()};
    GlissaFilterKeySync filter;
    filter.SetStartTime(Seconds(30));
    filter.SetStopTime(Seconds(70));
    EXPECT_TRUE(filter.Apply(both, 2));
    EXPECT_EQ(4200, curve->KeyGetCount());
    for (int i = 0; i < 10000; ++i) {
        const KTime time = Seconds(i / 100.0 + 0.003);
        ASSERT_NEAR(before->Evaluate(time, nullptr), curve->Evaluate(time, nullptr), 1e-3) << i;
    }
}

TEST_F(SamplingFilters, OnlyCurvesOfOneNodeAreSynchronised)
{
    const NodePtr node = MakeWide(3);
    AddKeys(node->Get(0), {{0.0, 1.0f}, {10.0, 2.0f}});
    AddKeys(node->Get(1), {{5.0, 3.0f}});
    AddKeys(node->Get(2), {{5.0, 4.0f}});
    const LockModeScope mode(eLockModeProperty);
    KPropertyTemplate<double> locked;
    locked.SetFlags(ePropertyFlagLockAll);
    node->Get(2)->SetProperty(&locked);
    GlissaFilterKeySync filter;
    EXPECT_TRUE(filter.NeedApply(*node, false));
    EXPECT_STREQ("KeySyncFilter, Key count is different in the Curves to be filtered.",
                 filter.GetLastErrorString());
    EXPECT_TRUE(filter.Apply(*node, false));
    EXPECT_EQ("0:1 5:1.5 10:2 ", KeysOf(*node->Get(0)->FCurveGet()));
    EXPECT_EQ("0:3 5:3 10:3 ", KeysOf(*node->Get(1)->FCurveGet()));
    EXPECT_EQ("5:4 ", KeysOf(*node->Get(2)->FCurveGet()));
    EXPECT_FALSE(filter.Apply(*node->Get(0)->FCurveGet()));
    EXPECT_STREQ("KeySyncFilter, No key were changed by filter.", filter.GetLastErrorString());
    EXPECT_FALSE(filter.Apply(*MakeJoint(), true));
    EXPECT_STREQ("Node doesn't contain FCurve.", filter.GetLastErrorString());
    EXPECT_FALSE(filter.NeedApply(*MakeWide(20), true));
    EXPECT_STREQ("KeySyncFilter, Curve count is too mush. No support above 20 curves..",
                 filter.GetLastErrorString());
    EXPECT_TRUE(filter.Apply(*MakeWide(21), true));
}
}  // namespace
