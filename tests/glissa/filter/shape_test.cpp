// Copyright (c) 2026 The glissa authors
// SPDX-License-Identifier: MIT

// What values, times and grids make of the curve between the keys.

#include "glissa/ext/invalid_key_manager.h"
#include "glissa/filter/clamp.h"
#include "glissa/filter/delete_key.h"
#include "glissa/filter/key_sync.h"
#include "glissa/filter/scale.h"
#include "tests/support/curve_test.h"
#include "tests/support/held_kinds.h"
#include "tests/support/host_listener.h"
#include "tests/support/node_stubs.h"
#include "tests/support/random_curve.h"

#include <algorithm>
#include <array>
#include <cmath>

namespace
{
using Shape = CurveTest;

std::uint32_t Interpolation(const RefCurve& pCurve, std::size_t pIndex)
{
    return pCurve.keys[pIndex].flags & 0xF;
}

void Limit(GlissaFilterClamp& pFilter, double pFloor, double pCeil)
{
    pFilter.SetApplyCeilClamping(true);
    pFilter.SetApplyFloorClamping(true);
    pFilter.SetFloor(pFloor);
    pFilter.SetCeil(pCeil);
}

void ExpectClamped(const Glissa& pCurve, float pFloor, float pCeil)
{
    const CurveHandle before(pCurve.Copy());
    const CurveHandle curve(pCurve.Copy());
    GlissaFilterClamp filter;
    Limit(filter, pFloor, pCeil);
    EXPECT_TRUE(filter.Apply(*curve));
    for (int i = 0; i <= 300; ++i) {
        const KTime time = Seconds(i / 100.0);
        const float wanted = std::clamp(before->Evaluate(time, nullptr), pFloor, pCeil);
        // The time of a crossing is found to 1e-5 of the value.
        ASSERT_NEAR(wanted, curve->Evaluate(time, nullptr), 2e-5) << time.GetSecondDouble();
    }
}

TEST_F(Shape, AClampedCurveIsTheCurveCutOffAtTheLimits)
{
    ForEachPairOfHeldKinds([](const RefCurve& pCurve) {
        // Keys of steps beyond a limit go.
        if (Interpolation(pCurve, 1) != kRefConstant && Interpolation(pCurve, 2) != kRefConstant) {
            ExpectClamped(*ToGlissa(pCurve), 0.25f, 2.0f);
            ExpectClamped(*ToGlissa(pCurve), -0.5f, 2.2f);
        }
    });
    // Both extremes of a segment are beyond a limit.
    ExpectClamped(*MakeCurve({{0.0, 0.0f, 12.0f, 12.0f}, {3.0, 0.5f}}), -1.0f, 1.0f);
    // Automatic slopes follow when the key between two on the limit is taken out.
    RefCurve humps;
    for (int i = 0; i < 4; ++i) {
        const std::int64_t time = Seconds(0.5 + i).Get();
        humps.keys.push_back({time, i % 2 == 0 ? 0.0f : 1.0f, kRefCubic | kRefAuto});
    }
    ExpectClamped(*ToGlissa(humps), -1.0f, 0.0f);
}

// The end of a long curve is put aside on the way: the beginning knows nothing of it, and its
// values are not checked again.
TEST_F(Shape, TheLengthOfACurveDoesNotShowInItsBeginning)
{
    RefCurve source = MuseumRecording(3000);
    const CurveHandle curve = ToGlissa(source);
    const KTime wrong = curve->KeyGetTime(2990);
    curve->KeySetValue(2990, NAN);
    HostListener listener;
    auto& manager = GlissaInvalidKeyManager::TheOne();
    ASSERT_TRUE(manager.Register(eInvalidKeyFound, &listener, kHear, 0));
    source.keys.resize(400);
    const CurveHandle beginning = ToGlissa(source);
    GlissaFilterClamp filter;
    Limit(filter, 150.0, 170.0);
    EXPECT_TRUE(filter.Apply(*curve));
    EXPECT_TRUE(filter.Apply(*beginning));
    manager.Unregister(eInvalidKeyFound, &listener, kHear);
    EXPECT_EQ(0, listener.mCalls);
    EXPECT_TRUE(std::isnan(curve->Evaluate(wrong, nullptr)));
    const int same = beginning->KeyGetCount() - 10;
    ASSERT_GT(same, 50);
    for (int i = 0; i < same; ++i) {
        ASSERT_TRUE(HasSameKey(*curve, i, *beginning, i)) << i;
    }
}

TEST_F(Shape, AClampAnswersWhetherKeysCameOrWent)
{
    GlissaFilterClamp filter;
    Limit(filter, 2.0, 0.5);
    // A key on the limit that leads beyond it holds, which is no change.
    const CurveHandle peak = MakeCurve({{0.0, 2.0f, 1.0f, -1.0f}, {1.0, 2.0f}});
    peak->SetValue(1.0f);
    EXPECT_FALSE(filter.Apply(*peak));
    EXPECT_EQ(2.0, filter.GetCeil());
    EXPECT_EQ(eInterpolationConstant, peak->KeyGetInterpolation(0));
    EXPECT_EQ(eFilterUnchanged, filter.GetLastErrorID());
    filter.SetFloor(NAN);
    EXPECT_FALSE(filter.ApplyFloorClamping(*peak));
    peak->SetValue(3.0f);
    EXPECT_TRUE(filter.Apply(*peak) || filter.ApplyCeilClamping(*peak));
    EXPECT_EQ(2.0f, peak->GetValue());
}

TEST_F(Shape, AScaledCurveIsTheMultipleOfTheCurve)
{
    ForEachPairOfHeldKinds([](const RefCurve& pCurve) {
        constexpr std::uint32_t kUnbroken = kRefCubic | kRefUser;
        if (Interpolation(pCurve, 1) != kRefCubic || Interpolation(pCurve, 2) != kRefCubic ||
            pCurve.keys[1].flags == kUnbroken || pCurve.keys[2].flags == kUnbroken) {
            return;  // only slopes of cubic keys, and one for both sides of a plain user key
        }
        const CurveHandle before = ToGlissa(pCurve);
        const CurveHandle curve = ToGlissa(pCurve);
        GlissaFilterScale filter;
        filter.SetScale(-3.0);
        filter.SetApplyTangent(true);
        EXPECT_TRUE(filter.Apply(*curve));
        for (int i = 0; i <= 60; ++i) {
            const KTime time = Seconds(i / 20.0);
            ASSERT_NEAR(-3.0f * before->Evaluate(time, nullptr), curve->Evaluate(time, nullptr),
                        2e-5)
                << time.GetSecondDouble();
        }
    });
}

// Cuts between keys, and cuts with a key a tick in front of them, behind them or both.
TEST_F(Shape, ACutKeepsTheCurveOnBothSides)
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

TEST_F(Shape, SynchronisedCurvesKeepTheirValuesAndShareTheirTimes)
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

// Each key that is added is the one that KeyInsert adds, bit for bit, whatever keys are around it.
TEST_F(Shape, SynchronisedKeysAreThoseOfSingleInsertions)
{
    for (int seed = 0; seed < 300; ++seed) {
        SCOPED_TRACE(seed);
        Random random(static_cast<std::uint64_t>(seed));
        RefCurve source = MuseumRecording(40);
        const auto kind = [&random, kinds = MuseumKinds()] {
            const int index = random.Below(static_cast<int>(kinds.size()));
            return kinds[static_cast<std::size_t>(index)] & ~kRefCustom;
        };
        const std::uint32_t flags = kind();
        for (RefKey& key : source.keys) {
            key.flags = seed % 2 == 0 ? flags : kind();
            key.slots[0] = static_cast<float>(random.Signed() * random.Scale(-8, 10));
            key.slots[1] = static_cast<float>(random.Signed() * random.Scale(-8, 10));
        }
        const CurveHandle before = ToGlissa(source);
        const CurveHandle one(before->Copy());
        const CurveHandle synchronised(before->Copy());
        const CurveHandle times(GlissaCreate());
        for (KTime time(2); time < Seconds(1.2); time += Seconds(0.03 + 0.025 * random.Signed())) {
            times->KeyAdd(time);
            int hint = 0;
            // Slopes are held for the value on the old curve, not for one that differs by
            // roundings.
            one->CandidateSet(time, before->Evaluate(time, nullptr));
            one->KeyInsert(time, &hint);
        }
        Glissa* both[] = {synchronised.get(), times.get()};
        EXPECT_TRUE(GlissaFilterKeySync().Apply(both, 2));
        ASSERT_EQ(one->KeyGetCount(), synchronised->KeyGetCount());
        for (int i = 0; i < one->KeyGetCount(); ++i) {
            ASSERT_TRUE(HasSameKey(*one, i, *synchronised, i)) << i;
        }
    }
}

TEST_F(Shape, OnlyCurvesOfOneNodeAreSynchronised)
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
