// Copyright (c) 2026 The glissa authors
// SPDX-License-Identifier: MIT

#include "tests/support/curve_test.h"
#include "tests/support/random_curve.h"

#include <gtest/gtest.h>

#include <array>
#include <cmath>
#include <limits>
#include <tuple>
#include <vector>

namespace
{
constexpr std::uint32_t kUserBreak = kRefCubic | kRefUser | kRefBreak;

// One segment of a second, from a quarter of a second before time 0: what is not a number becomes
// time 0, and must not be a peak.
CurveHandle Segment(float pFrom, float pTo, float pRight, float pLeft,
                    std::uint32_t pFlags = kUserBreak)
{
    RefCurve curve;
    RefKey key;
    key.time = -KTime::kTicksPerSecond / 4;
    key.flags = pFlags;
    key.value = pFrom;
    key.slots[0] = pRight;
    key.slots[1] = pLeft;
    curve.keys.push_back(key);
    key.time += KTime::kTicksPerSecond;
    key.value = pTo;
    curve.keys.push_back(key);
    return ToGlissa(curve);
}

CurveHandle KeysAt(const std::vector<std::int64_t>& pTimes,
                   std::uint32_t pFlags = kRefCubic | kRefAuto)
{
    RefCurve curve;
    for (const std::int64_t time : pTimes) {
        RefKey key;
        key.time = time;
        key.flags = pFlags;
        curve.keys.push_back(key);
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

// Between and beside its peaks a curve rises or falls throughout, to within a rounding.
TEST(FindPeaks, LeavesNothingBetweenPeaks)
{
    Random random(81);
    int peaks = 0;
    for (int n = 0; n < 3000; ++n) {
        const RefCurve data = RandomCurve(n % 2 == 0 ? kUser : kAutomatic, random);
        const CurveHandle curve = ToGlissa(data);
        const int segment = random.Below(data.Count() - 1);
        const KTime from = curve->KeyGetTime(segment);
        const KTime to = curve->KeyGetTime(segment + 1);
        if (to - from < KTime(1000000)) {
            continue;  // peaks on whole ticks and slopes in float say little of shorter ones
        }
        KTime times[4] = {from, to, to, to};
        const int count = curve->FindPeaks(segment, times[1], times[2]);
        ASSERT_LE(times[1], times[2]);
        peaks += count;
        const double largest = static_cast<double>(RefSegmentAt(data, segment).largest);
        for (int piece = 0; piece <= count; ++piece) {
            const KTime stop = piece == count ? to : times[piece + 1];
            const KTime start = times[piece];
            const double rise = static_cast<double>(curve->Evaluate(stop, nullptr)) -
                                curve->Evaluate(start, nullptr);
            float last = curve->Evaluate(start, nullptr);
            for (int i = 1; i <= 16; ++i) {
                const float value =
                    curve->Evaluate(KTime(start.Get() + (stop - start).Get() / 16 * i), nullptr);
                const double step = static_cast<double>(value) - last;
                ASSERT_GE(rise < 0.0 ? -step : step, -4e-6 * largest) << n << ' ' << piece;
                last = value;
            }
        }
    }
    EXPECT_GT(peaks, 1000);
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
    const struct
    {
        const char* name;
        CurveHandle curve;
        int expected;
    } cases[] = {
        {"none", KeysAt({}), 1},
        {"one", KeysAt({5}), 1},
        {"a tick more", KeysAt({5, 1005, 2006, 3006}), 2},
        {"two ticks more", KeysAt({5, 1005, 2007}), 1},
        {"broken", KeysAt({5, 1005, 2005}, plain | kRefBreak), 2},
        {"user", KeysAt({5, 1005, 2005}, kRefCubic | kRefUser), 0},
        {"TCB", KeysAt({5, 1005}, kRefCubic | kRefTcb), 0},
    };
    for (const auto& each : cases) {
        SCOPED_TRACE(each.name);
        KTime first(-1);
        KTime period(-1);
        EXPECT_EQ(each.expected, each.curve->GuessWasData(&first, &period));
        EXPECT_EQ(each.expected, each.curve->GuessWasData(nullptr, nullptr));
        const int count = each.curve->KeyGetCount();
        EXPECT_EQ(KTime(count > 0 ? 5 : -1), first);
        EXPECT_EQ(KTime(count > 1 ? 1000 : -1), period);
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

TEST(CurveAnalysis, StorageIsSoundThroughEditsAndNotWhenBroken)
{
    const CurveHandle curve(GlissaCreate());
    EXPECT_TRUE(curve->CheckCurve());
    for (int i = 0; i < 1400; ++i) {
        curve->KeyAppendFast(KTime(i), 0.0f);
    }
    EXPECT_TRUE(curve->CheckCurve());
    curve->Delete(100, 1300);
    EXPECT_TRUE(curve->CheckCurve());
    curve->InitBuffers(3000, false);
    EXPECT_TRUE(curve->CheckCurve());
    KPriFCurveKey** table = curve->GetPriFCurveKeysList();
    const int last = curve->Keys().LastPage();
    for (const int page : {0, last, last + 1}) {
        KPriFCurveKey* const right = table[page];
        table[page] = page > last ? table[0] : nullptr;
        EXPECT_FALSE(curve->CheckCurve()) << page;
        table[page] = right;
    }
    curve->InitBuffers(0, true);
    EXPECT_TRUE(curve->CheckCurve());
    curve->KeyClear();
    EXPECT_TRUE(curve->CheckCurve());
}

// A table as a host makes it: pages of 1024 bytes, blocks of its own, junk after the last key.
TEST(ExternalKeys, ARunOfEqualBlocksBecomesOne)
{
    const unsigned user = eInterpolationCubic | eTangentUser;
    const auto junk = reinterpret_cast<KPriFCurveKeyAttr*>(std::uintptr_t{0xBAD});
    // Keys, how many in a run, blocks of the curve's own.
    using Row = std::tuple<int, int, std::size_t>;
    for (const auto& [count, run, blocks] :
         {Row{1000, 1000, 1}, Row{1000, 100, 10}, Row{42, 1, 42}, Row{1, 1, 1}}) {
        SCOPED_TRACE(testing::Message() << count << ' ' << run);
        using Page = std::array<KPriFCurveKey, KeyList::kKeysPerPage>;
        std::vector<Page> pages(static_cast<std::size_t>(count / KeyList::kKeysPerPage + 1));
        std::vector<KPriFCurveKeyAttr> attributes(static_cast<std::size_t>(count));
        std::vector<void*> table;
        for (Page& page : pages) {
            page.fill({KTime(), junk, 0.0f});
            table.push_back(page.data());
        }
        for (int i = 0; i < count; ++i) {
            KPriFCurveKeyAttr& block = attributes[static_cast<std::size_t>(i)];
            block = {*GlissaDefaultKeyAttr, 12345};
            block.mFlags = i / run % 2 == 1 ? unsigned{eInterpolationLinear} : user;
            const auto page = static_cast<std::size_t>(i / KeyList::kKeysPerPage);
            pages[page][static_cast<std::size_t>(i % KeyList::kKeysPerPage)] = {
                KTime(i), &block, static_cast<float>(i)};
        }
        const CurveHandle curve = ToGlissa(MuseumRecording(50));
        curve->KeySetTangeantMode(3, eTangentUser);
        curve->CandidateSet(KTime(3), 1.0);
        const int id = curve->GetUpdateId();
        curve->CopyExternalPriKeyAndAttr(table.data(), count);
        EXPECT_NE(id, curve->GetUpdateId());
        EXPECT_FALSE(curve->IsCandidate());
        EXPECT_EQ("", CheckBooks({curve.get()}));
        ASSERT_EQ(count, curve->KeyGetCount());
        EXPECT_EQ(blocks + 1, GlissaKeyAttrPool.GetUsedCount());
        for (int i = 0; i < count; ++i) {
            const KPriFCurveKeyAttr& block = attributes[static_cast<std::size_t>(i)];
            ASSERT_EQ(KTime(i), curve->KeyGetTime(i));
            ASSERT_EQ(static_cast<float>(i), curve->KeyGetValue(i));
            ASSERT_EQ(block.mFlags, curve->KeyGet(i).GetAttributes().mFlags);
            ASSERT_EQ(12345u, block.mReferenceCount);
        }
        EXPECT_EQ(count - 1.0, curve->KeyFind(KTime(count - 1), nullptr));
        curve->CopyExternalPriKeyAndAttr(nullptr, 0);
        EXPECT_EQ(0, curve->KeyGetCount());
    }
}
}  // namespace
