// Copyright (c) 2026 The glissa authors
// SPDX-License-Identifier: MIT

#include "tests/support/curve_test.h"

#include <gtest/gtest.h>

#include <cmath>
#include <limits>
#include <tuple>
#include <vector>

namespace
{
// One segment of a second, from a quarter of a second before time 0: what is not a number becomes
// time 0, and must not be a peak.
CurveHandle Segment(float pFrom, float pTo, float pRight, float pLeft,
                    std::uint32_t pFlags = kRefCubic | kRefUser | kRefBreak)
{
    return MakeCurve({{-0.25, pFrom, pRight, pLeft, pFlags}, {0.75, pTo, 0.0f, 0.0f, pFlags}});
}

CurveHandle KeysAt(const std::vector<std::int64_t>& pTimes,
                   std::uint32_t pFlags = kRefCubic | kRefAuto)
{
    RefCurve curve;
    for (const std::int64_t time : pTimes) {
        curve.keys.push_back({time, 0.0f, pFlags});
    }
    return ToGlissa(curve);
}

TEST(FindPeaks, CountsTheExtremaInsideASegment)
{
    const float inf = std::numeric_limits<float>::infinity();
    // Values, slopes, then the number of peaks and their times in seconds.
    using Row = std::tuple<float, float, float, float, int, double, double>;
    for (const auto& [from, to, right, left, count, first, second] :
         {Row{0.0f, 1.0f, 1.0f, 1.0f, 0, 0.0, 0.0},  // straight
          Row{2.0f, 2.0f, 0.0f, 0.0f, 0, 0.0, 0.0},  // flat
          Row{0.0f, 1.0f, 0.0f, 0.0f, 0, 0.0, 0.0},  // both roots on the keys
          Row{0.0f, 1.0f, 3.0f, 3.0f, 1, 0.5, 0.0},  // an inflection without slope
          Row{0.0f, 1.0f, -3.0f, -3.0f, 2, 0.146446609, 0.853553391},
          Row{0.0f, -1.0f, 3.0f, 3.0f, 2, 0.146446609, 0.853553391},
          Row{0.0f, 0.0f, 9.0f, 0.0f, 1, 1.0 / 3.0, 0.0},
          Row{0.0f, 0.0f, 0.0f, -9.0f, 1, 2.0 / 3.0, 0.0},  // of two roots only the second
          Row{0.0f, 0.0f, 1.0f, -1.0f, 0, 0.0, 0.0},        // a parabola: a is 0
          Row{0.0f, 0.0f, 3e38f, 3e38f, 0, 0.0, 0.0}, Row{0.0f, inf, 1.0f, 1.0f, 0, 0.0, 0.0}}) {
        SCOPED_TRACE(testing::Message() << from << ' ' << to << ' ' << right << ' ' << left);
        const CurveHandle curve = Segment(from, to, right, left);
        KTime times[2] = {KTime(-7), KTime(-7)};
        float values[2] = {-7.0f, -7.0f};
        EXPECT_EQ(count, curve->FindPeaks(0, times[0], times[1]));
        EXPECT_EQ(count, curve->FindPeaks(0, values[0], values[1]));
        for (int i = 0; i < 2; ++i) {
            const bool isSet = i < count;
            if (isSet) {
                EXPECT_NEAR(i == 0 ? first : second, times[i].GetSecondDouble() + 0.25, 1e-6);
            }
            EXPECT_EQ(isSet ? curve->Evaluate(times[i], nullptr) : -7.0f, values[i]);
            EXPECT_EQ(isSet, times[i] != KTime(-7));
        }
    }
    // The slopes decide, whatever the interpolation.
    KTime time;
    EXPECT_EQ(0, Segment(0.0f, 1.0f, -3.0f, -3.0f, kRefLinear)->FindPeaks(0, time, time));
}

TEST(CurveAnalysis, KeysAreExtractedByIndexAndValue)
{
    const CurveHandle curve(GlissaCreate());
    for (int i = 0; i < 6; ++i) {
        curve->KeyAppendFast(KTime(i), i == 3 ? std::nanf("") : static_cast<float>(i));
    }
    using Row = std::tuple<int, int, double, double, std::vector<int>>;
    for (const auto& [first, last, least, greatest, expected] :
         {Row{-5, 10000, -1e9, 1e9, {0, 1, 2, 4, 5}}, Row{0, 5, 1.0, 4.0, {1, 2, 4}},
          Row{2, 4, 0.0, 9.0, {2, 4}}, Row{4, 2, 0.0, 9.0, {}}, Row{0, 5, 4.0, 1.0, {}}}) {
        KArrayTemplate<int> indexes;
        indexes.Add(77);
        curve->ExtractKeysIndex(indexes, first, last, least, greatest);
        ASSERT_EQ(expected.size() + 1, static_cast<std::size_t>(indexes.GetCount()));
        EXPECT_EQ(77, indexes[0]);
        for (std::size_t i = 0; i < expected.size(); ++i) {
            EXPECT_EQ(expected[i], indexes[static_cast<int>(i) + 1]);
        }
    }
}

TEST(CurveAnalysis, SampledDataIsGuessedByDistancesAndKinds)
{
    const std::uint32_t plain = kRefCubic | kRefAuto;
    using Row = std::tuple<std::vector<std::int64_t>, std::uint32_t, int>;
    for (const auto& [times, flags, expected] :
         {Row{{}, plain, 1}, Row{{5}, plain, 1}, Row{{5, 1005, 2006, 3006}, plain, 2},
          Row{{5, 1005, 2007}, plain, 1}, Row{{5, 1005, 2005}, plain | kRefBreak, 2},
          Row{{5, 1005, 2005}, kRefCubic | kRefUser, 0}, Row{{5, 1005}, kRefCubic | kRefTcb, 0}}) {
        KTime first(-1);
        KTime period(-1);
        EXPECT_EQ(expected, KeysAt(times, flags)->GuessWasData(&first, &period));
        EXPECT_EQ(KTime(times.empty() ? -1 : 5), first);
        EXPECT_EQ(KTime(times.size() > 1 ? 1000 : -1), period);
    }
    // The kind of the first key is not asked, that of the others may not add a bit.
    const CurveHandle curve = KeysAt({0, 1000, 2000});
    curve->KeySetTangeantMode(0, eTangentUser);
    EXPECT_EQ(2, curve->GuessWasData(nullptr, nullptr));
    curve->KeySetInterpolation(2, eInterpolationLinear);
    EXPECT_EQ(0, curve->GuessWasData(nullptr, nullptr));
}

TEST(CurveAnalysis, PeriodsAreTheGapsOfNeighbours)
{
    constexpr std::int64_t kMax = std::numeric_limits<std::int64_t>::max();
    using Row = std::tuple<std::vector<std::int64_t>, std::int64_t, std::int64_t, std::int64_t>;
    for (const auto& [times, average, least, greatest] :
         {Row{{}, kMax, kMax, 0}, Row{{5}, kMax, kMax, 0}, Row{{5, 12}, 7, 7, 7},
          Row{{-10, 0, 1, 11}, 7, 1, 10}, Row{{-kMax, kMax}, kMax, kMax, kMax},
          Row{{-kMax, 0, kMax}, kMax, kMax, kMax},
          Row{{-kMax, 0, 1, kMax}, kMax / 3 * 2, 1, kMax}}) {
        KTime got[3];
        KeysAt(times)->KeyGetPeriods(got[0], got[1], got[2]);
        EXPECT_EQ(KTime(average), got[0]);
        EXPECT_EQ(KTime(least), got[1]);
        EXPECT_EQ(KTime(greatest), got[2]);
    }
}

// The table of another curve, in which every key has a block of its own.
TEST(ExternalKeys, ARunOfEqualBlocksBecomesOne)
{
    constexpr int kKeys = 1000;
    const CurveHandle source = PlainCurve(kKeys);
    for (int i = 0; i < kKeys; ++i) {
        source->KeyAttrSet(i, {{i / 100 % 2 == 1 ? kRefLinear : kRefCubic | kRefUser, {}}, 0});
        source->KeyAttrSeparate(i);
    }
    const CurveHandle curve = PlainCurve(50);
    curve->CandidateSet(KTime(3), 1.0);
    const int id = curve->GetUpdateId();
    curve->CopyExternalPriKeyAndAttr(reinterpret_cast<void**>(source->GetPriFCurveKeysList()),
                                     kKeys);
    EXPECT_NE(id, curve->GetUpdateId());
    EXPECT_FALSE(curve->IsCandidate());
    EXPECT_EQ("", CheckBooks({curve.get(), source.get()}));
    ASSERT_EQ(kKeys, curve->KeyGetCount());
    EXPECT_EQ(1u + kKeys + 10u, GlissaKeyAttrPool.GetUsedCount());
    for (int i = 0; i < kKeys; ++i) {
        ASSERT_TRUE(HasSameKey(*source, i, *curve, i));
    }
    curve->CopyExternalPriKeyAndAttr(nullptr, 0);
    EXPECT_EQ(0, curve->KeyGetCount());
}
}  // namespace
