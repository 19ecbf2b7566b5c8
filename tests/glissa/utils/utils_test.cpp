// Copyright (c) 2026 The glissa authors
// SPDX-License-Identifier: MIT

#include "glissa/utils/utils.h"
#include "tests/support/curve_test.h"
#include "tests/support/node_stubs.h"

#include <limits>

namespace
{
using Utilities = CurveTest;

void ExpectNear(Glissa& pLeft, Glissa& pRight, double pTolerance)
{
    for (int i = 0; i <= 400; ++i) {
        const KTime time = Seconds(i / 100.0);
        EXPECT_NEAR(pLeft.Evaluate(time, nullptr), pRight.Evaluate(time, nullptr), pTolerance)
            << time.GetSecondDouble();
    }
}

// Segments that samples reproduce: steps of both modes, straight lines, stored slopes.
CurveHandle MakeStored()
{
    return MakeCurve({{0.0, 0.0f, 0.0f, 0.0f, kRefConstant},
                      {1.0, 7.0f, 0.0f, 0.0f, kRefConstant | kRefConstantNext},
                      {1.5, -2.0f, 0.0f, 0.0f, kRefLinear},
                      {2.0, 2.0f, 3.0f, 0.5f},
                      {2.5, 1.0f, 4.0f, -2.0f},
                      {3.0, 3.0f, -1.0f, 5.0f, kRefCubic | kRefUser},
                      {4.0, -1.0f, 2.0f, 3.0f}});
}

TEST_F(Utilities, SamplesOfTheKindsOfTheCurveEvaluateAsTheCurve)
{
    const CurveHandle source = MakeStored();
    const CurveHandle result(GlissaCreate());
    GlissaUtils::Resample(*source, *result, KTime(), Seconds(4), Seconds(0.25), true);
    EXPECT_EQ(17, result->KeyGetCount());
    ExpectNear(*source, *result, 2e-5);
    // A TCB key becomes an automatic one.
    const CurveHandle tcb = ToGlissa(MuseumCurve("tcb corners"));
    GlissaUtils::Resample(*tcb, *tcb, Seconds(-1), Seconds(1), Seconds(1.5), false);
    EXPECT_EQ("-1:0 0.5:3.125 ", KeysOf(*tcb));
    EXPECT_EQ(eTangentAuto, tcb->KeyGetTangeantMode(1, false));
}

TEST_F(Utilities, ASpanOfPeriodsHasASampleMore)
{
    const CurveHandle source = MakeStored();
    const CurveHandle result = MakeCurve({{9.0, 9.0f}});
    const auto count = [&](std::int64_t pStart, std::int64_t pStop, std::int64_t pPeriod,
                           bool pAddStop) {
        GlissaUtils::Resample(*source, *result, KTime(pStart), KTime(pStop), KTime(pPeriod),
                              eInterpolationLinear, 0, pAddStop);
        return result->KeyGetCount();
    };
    EXPECT_EQ(1, count(5, 5, 1, true));
    EXPECT_EQ(1, count(0, 5, 0, true));
    EXPECT_EQ(1, count(-KTime::Infinite().Get(), KTime::Infinite().Get(), 9, true));
    EXPECT_EQ(11, count(0, 100, 10, false));
    EXPECT_EQ(11, count(0, 100, 10, true));
    EXPECT_EQ(11, count(0, 105, 10, false));
    EXPECT_EQ(12, count(0, 105, 10, true));
    EXPECT_EQ(KTime(105), result->KeyGetTime(11));
    EXPECT_EQ(4, count(-KTime::Infinite().Get(), KTime::Infinite().Get(),
                       KTime::Infinite().Get() / 2 + 1, false));
}

TEST_F(Utilities, ResamplingInPlaceStartsOnAMultipleOfThePeriod)
{
    for (const auto& [start, first] : {std::pair{7, 10}, {3, 3}, {10, 10}, {-7, -7}}) {
        const CurveHandle curve = MakeCurve({{-1.0, 0.0f}, {1.0, 2.0f}});
        GlissaUtils::Resample(*curve, KTime(5), KTime(start), KTime(22), true);
        EXPECT_EQ(KTime(first), curve->KeyGetTime(1));
        EXPECT_EQ(Seconds(-1), curve->KeyGetTime(0));
    }
    const CurveHandle curve = MakeCurve({{0.0, 0.0f}, {1.0, 2.0f}, {4.0, 3.0f}});
    const std::string before = KeysOf(*curve);
    GlissaUtils::Resample(*curve, KTime(8), KTime(9), KTime(15), true);  // nothing to put in
    EXPECT_EQ(before, KeysOf(*curve));
    curve->SetValue(8.0f);
    GlissaUtils::Resample(*curve, Seconds(2), kFromStart, kToEnd, false);
    EXPECT_EQ(8.0f, curve->GetValue());
    EXPECT_EQ(3, curve->KeyGetCount());
    EXPECT_EQ(Seconds(2), curve->KeyGetTime(1));
}

TEST_F(Utilities, AConvertedCurveKeepsTheShapeOfWhatIsOfTheKind)
{
    const CurveHandle source = MakeStored();
    const CurveHandle result(GlissaCreate());
    GlissaUtils::ConvertCurve(*source, *result, eInterpolationLinear, 0, Seconds(0.001));
    ExpectNear(*source, *result, 0.02);
    const CurveHandle overshoot = ToGlissa(MuseumCurve("overshoot"));
    GlissaUtils::ConvertCurve(*overshoot, *result, eInterpolationCubic, eTangentUser, KTime());
    EXPECT_EQ(overshoot->KeyGetCount(), result->KeyGetCount());
    ExpectNear(*overshoot, *result, 1e-4);
    const unsigned refined = eTangentAuto | eTangentClamp;
    GlissaUtils::ConvertCurve(*overshoot, *result, eInterpolationCubic, refined, Seconds(9));
    EXPECT_EQ(refined, result->KeyGetTangeantMode(1, true));
    // Kept segments next to samples: the slot between them is read anew.
    const CurveHandle mixed = MakeCurve({{0.0, 0.0f, 30.0f, 70.0f, kRefCubic | kRefAuto},
                                         {1.0, 5.0f, 1.0f, 2.0f},
                                         {2.0, 1.0f, 100.0f, 0.0f, kRefCubic | kRefAuto},
                                         {4.0, 2.0f}});
    GlissaUtils::ConvertCurve(*mixed, *result, eInterpolationCubic, eTangentAuto, Seconds(0.25));
    EXPECT_EQ(7, result->KeyGetCount());
    for (const double time : {0.3, 0.9, 2.2, 3.7}) {
        EXPECT_NEAR(mixed->Evaluate(Seconds(time), nullptr),
                    result->Evaluate(Seconds(time), nullptr), 1e-5);
    }
    GlissaUtils::ConvertCurve(*result, *result, eInterpolationConstant, 0, Seconds(1) * -1);
    EXPECT_EQ(7, result->KeyGetCount());
    EXPECT_EQ(eInterpolationConstant, result->KeyGetInterpolation(6));

    const NodePtr node = MakeJoint();
    Glissa& curve = *node->Get(0)->Get(1)->FCurveGet();
    curve.CopyFrom(*source);
    GlissaUtils::ConvertCurveInterpolationRecursive(eInterpolationCubic, eTangentUser, *node);
    EXPECT_EQ(KeysOf(*source), KeysOf(curve));
    EXPECT_EQ(eInterpolationCubic | eTangentUser, curve.KeyGet(4).GetAttributes().mFlags & 0x7F0Fu);
}

TEST_F(Utilities, CurvesAreEqualByWhatShapesTheirKinds)
{
    const std::uint32_t tcb = kRefCubic | kRefTcb;
    const std::uint32_t automatic = kRefCubic | kRefAuto;
    const auto isEqual = [](const UserKey& pLeft, const UserKey& pRight) {
        return GlissaUtils::CompareCurve(MakeCurve({pLeft}).get(), MakeCurve({pRight}).get());
    };
    EXPECT_TRUE(isEqual({1.0, 2.0f, 3.0f}, {1.0, 2.0f, 3.0f}));
    EXPECT_FALSE(isEqual({1.0, 2.0f}, {1.5, 2.0f}));
    EXPECT_FALSE(isEqual({1.0, 2.0f}, {1.0, 2.5f}));
    EXPECT_FALSE(isEqual({1.0, 2.0f, 3.0f}, {1.0, 2.0f, 4.0f}));
    EXPECT_TRUE(isEqual({1.0, 2.0f, 3.0f, 0.0f, automatic}, {1.0, 2.0f, 4.0f, 0.0f, automatic}));
    EXPECT_FALSE(isEqual({1.0, 2.0f, 0.0f, 3.0f, tcb}, {1.0, 2.0f, 0.0f, 4.0f, tcb}));
    EXPECT_FALSE(isEqual({1.0, 2.0f, 0.0f, 0.0f, tcb}, {1.0, 2.0f, 0.0f, 0.0f, automatic}));
    EXPECT_FALSE(isEqual({1.0, 2.0f, 0.0f, 0.0f, kRefLinear}, {1.0, 2.0f}));
    const CurveHandle empty = MakeCurve({});
    const CurveHandle other = MakeCurve({});
    EXPECT_TRUE(GlissaUtils::CompareCurve(empty.get(), other.get()));
    other->SetValue(1.0f);
    EXPECT_FALSE(GlissaUtils::CompareCurve(empty.get(), other.get()));
}

TEST_F(Utilities, SummariesUniteTheKeys)
{
    GlissaUtils::GetError().Clear();
    unsigned bits = 7;
    const CurveHandle one = MakeCurve({{0.0, 1.0f}});
    EXPECT_TRUE(GlissaUtils::GetGlobalTangeant(bits, *one));
    EXPECT_EQ(static_cast<unsigned>(eTangentUserBreak), bits);
    EXPECT_EQ(KError::kNone, GlissaUtils::GetLastErrorID());
    EXPECT_FALSE(GlissaUtils::GetGlobalTangeant(bits, *MakeCurve({})));
    EXPECT_STREQ("GlissaFilter, No key to be filtered.", GlissaUtils::GetLastErrorString());
    const CurveHandle curve = MakeStored();
    EXPECT_TRUE(GlissaUtils::GetGlobalInterpolation(bits, *curve));
    EXPECT_EQ(0xEu, bits);
    EXPECT_STREQ("GlissaFilter, No single interpolation type.", GlissaUtils::GetLastErrorString());
    int counts[GlissaUtils::eKindCounts];
    EXPECT_TRUE(GlissaUtils::GetInterpolationAndTangeantCount(*curve, counts));
    EXPECT_EQ((std::vector{2, 1, 0, 0, 1, 3, 0}), std::vector<int>(counts, std::end(counts)));
    EXPECT_EQ(Seconds(-2), GlissaUtils::FindTimeOffsetAfter(*curve, Seconds(6)));
    EXPECT_EQ(Seconds(3), GlissaUtils::FindTimeOffsetBefore(*curve, Seconds(-3)));
    EXPECT_EQ(KTime(), GlissaUtils::FindTimeOffsetBefore(*MakeCurve({}), Seconds(-3)));
}

TEST_F(Utilities, IndexesFollowTheTable)
{
    const auto indexes = [](std::vector<float> pValues) {
        std::vector<UserKey> keys;
        for (const float value : pValues) {
            keys.push_back({static_cast<double>(keys.size()), value});
        }
        return MakeCurve(keys);
    };
    CurveHandle curve = indexes({1, 2, 3});
    GlissaUtils::RemoveIndexFromCurve(*curve, 1, 2);
    EXPECT_EQ("0:1 1:1 2:2 ", KeysOf(*curve));
    curve = indexes({2, 2, 9, 1e30f, -5});
    GlissaUtils::RemoveIndexFromCurve(*curve, 1, 3);
    EXPECT_EQ("0:1 1:1 2:3 3:3 4:-5 ", KeysOf(*curve));
    curve = indexes({1.4f, 2.6f, std::numeric_limits<float>::quiet_NaN()});
    GlissaUtils::ReplaceIndexFromCurve(*curve, 0, 2, -1);
    GlissaUtils::ReplaceIndexFromCurve(*curve, 0, 4, 5);
    EXPECT_EQ("0:5 1:2.6 2:5 ", KeysOf(*curve));
    GlissaUtils::ReplaceIndexFromCurve(*curve, 4, -1, 5);
    GlissaUtils::RemoveIndexFromCurve(*curve, 6, 5);
    EXPECT_EQ("0:5 1:2.6 2:5 ", KeysOf(*curve));
}
}  // namespace
