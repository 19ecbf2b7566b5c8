// Copyright (c) 2026 The glissa authors
// SPDX-License-Identifier: MIT

#include "glissa/ext/custom_tangent_manager.h"
#include "tests/support/museum.h"

#include <gtest/gtest.h>

#include <cmath>
#include <cstring>
#include <string>
#include <tuple>
#include <vector>

namespace
{
const KTime kFromStart = KTime::MinusInfinite();
const KTime kToEnd = KTime::Infinite();

KTime Seconds(double pSeconds)
{
    return KTime::FromSeconds(pSeconds);
}

struct UserKey
{
    double seconds;
    float value;
    float right = 0.0f;
    float nextLeft = 0.0f;
    std::uint32_t flags = kRefCubic | kRefUser | kRefBreak;
};

CurveHandle MakeCurve(const std::vector<UserKey>& pKeys)
{
    RefCurve curve;
    for (const UserKey& each : pKeys) {
        RefKey key;
        key.time = Seconds(each.seconds).Get();
        key.value = each.value;
        key.flags = each.flags;
        key.slots[0] = each.right;
        key.slots[1] = each.nextLeft;
        curve.keys.push_back(key);
    }
    return ToGlissa(curve);
}

bool HasSameKey(const Glissa& pLeft, int pLeftIndex, const Glissa& pRight, int pRightIndex)
{
    const GlissaKey left = pLeft.KeyGet(pLeftIndex);
    const GlissaKey right = pRight.KeyGet(pRightIndex);
    return left.GetTime() == right.GetTime() && left.GetValue() == right.GetValue() &&
           std::memcmp(&left.GetAttributes(), &right.GetAttributes(),
                       sizeof(GlissaKeyAttributes)) == 0;
}

// Times and values as text, for whole-curve comparisons that can be read.
std::string KeysOf(const Glissa& pCurve)
{
    std::string text;
    for (int i = 0; i < pCurve.KeyGetCount(); ++i) {
        char key[64];
        std::snprintf(key, sizeof key, "%g:%g ", pCurve.KeyGetTime(i).GetSecondDouble(),
                      static_cast<double>(pCurve.KeyGetValue(i)));
        text += key;
    }
    return text;
}

struct Heard
{
    int calls = 0;
    int type = 0;
    int first = 0;
    int last = 0;

    static void Hear(Glissa*, GlissaEvent* pEvent, void* pHeard)
    {
        auto* heard = static_cast<Heard*>(pHeard);
        *heard = {heard->calls + 1, pEvent->GetType(), pEvent->GetFirstKey(), pEvent->GetLastKey()};
    }
};

// Every block goes back to the pool, and the default block has no reference left over.
class Range : public testing::Test
{
protected:
    void TearDown() override
    {
        EXPECT_EQ(1u, GlissaKeyAttrPool.GetUsedCount());
        EXPECT_EQ(1u, GlissaDefaultKeyAttr->mReferenceCount);
    }
};

TEST_F(Range, ACopyIsEqualAndSharesItsBlocks)
{
    std::vector<RefCurve> pieces = {MuseumRecording(100)};
    for (const MuseumPiece& piece : Museum()) {
        pieces.push_back(piece.make());
    }
    for (const RefCurve& piece : pieces) {
        SCOPED_TRACE(piece.Count());
        const CurveHandle curve = ToGlissa(piece);
        const float color[] = {0.5f, 0.25f, 0.125f};
        curve->SetColor(color);
        curve->SetWasData(7);
        curve->CandidateSet(Seconds(0.5), 3.0);
        std::vector<unsigned> references;
        for (int i = 0; i < piece.Count(); ++i) {
            references.push_back(curve->InternalPriKeyAttrGetPtr(i)->mReferenceCount);
        }
        const std::size_t blocks = GlissaKeyAttrPool.GetUsedCount();
        {
            const CurveHandle copy(curve->Copy());
            ASSERT_EQ(piece.Count(), copy->KeyGetCount());
            EXPECT_EQ(blocks, GlissaKeyAttrPool.GetUsedCount());
            for (int i = 0; i < piece.Count(); ++i) {
                ASSERT_TRUE(HasSameKey(*curve, i, *copy, i));
                ASSERT_EQ(curve->InternalPriKeyAttrGetPtr(i), copy->InternalPriKeyAttrGetPtr(i));
            }
            for (const std::int64_t time : MuseumTimes(piece)) {
                const float got = copy->Evaluate(KTime(time), nullptr);
                const float expected = curve->Evaluate(KTime(time), nullptr);
                ASSERT_TRUE(got == expected || (std::isnan(got) && std::isnan(expected))) << time;
            }
            EXPECT_EQ(curve->GetValue(), copy->GetValue());
            EXPECT_EQ(0.25f, copy->GetColor()[1]);
            EXPECT_EQ(7, copy->GetWasData());
            EXPECT_EQ(Seconds(0.5), copy->CandidateGetTime());
            EXPECT_EQ(3.0, copy->CandidateGet());
            EXPECT_TRUE(copy->CheckCurve());
            if (piece.Count() > 1) {
                const float before = curve->KeyGetDataDouble(1, eDataRightSlope);
                copy->KeySetDataDouble(1, eDataRightSlope, before + 1.0f);
                EXPECT_EQ(before, curve->KeyGetDataDouble(1, eDataRightSlope));
            }
        }
        for (int i = 0; i < piece.Count(); ++i) {
            ASSERT_EQ(references[static_cast<std::size_t>(i)],
                      curve->InternalPriKeyAttrGetPtr(i)->mReferenceCount);
        }
    }
}

TEST_F(Range, ACopyOfASpanHasNoKeys)
{
    const CurveHandle curve = MakeCurve({{0.0, 1.0f}, {1.0, 2.0f}});
    curve->SetValue(4.0f);
    curve->SetWasData(2);
    curve->SetPostExtrapolation(eExtrapolationMirror);
    curve->CandidateSet(Seconds(0.5), 3.0);
    for (const auto& [start, stop] :
         {std::pair(kFromStart, Seconds(9.0)), std::pair(Seconds(-9.0), kToEnd)}) {
        const CurveHandle copy(curve->Copy(start, stop));
        EXPECT_EQ(0, copy->KeyGetCount());
        EXPECT_EQ(4.0f, copy->GetValue());
        EXPECT_EQ(2, copy->GetWasData());
        EXPECT_EQ(curve->GetUpdateId(), copy->GetUpdateId());
        EXPECT_EQ(Seconds(0.5), copy->CandidateGetTime());
        EXPECT_EQ(unsigned{eExtrapolationConstant}, copy->GetPostExtrapolation());
    }
}

TEST_F(Range, CopyFromIsHeardAsOneEvent)
{
    // Keys of source and target, with keys, type, first key, last key.
    using Row = std::tuple<int, int, bool, int, int, int>;
    for (const auto& [sourceKeys, targetKeys, withKeys, type, first, last] :
         {Row{60, 3, true, 0x20009810, 0, 59}, Row{0, 3, true, 0x20009011, 0, 2},
          Row{60, 3, false, 0x20009011, 0, 2}, Row{3, 60, true, 0x20009810, 0, 59}}) {
        SCOPED_TRACE(testing::Message() << sourceKeys << ' ' << targetKeys << ' ' << withKeys);
        const CurveHandle source = ToGlissa(MuseumRecording(sourceKeys));
        const CurveHandle target = ToGlissa(MuseumRecording(targetKeys));
        source->SetValue(9.0f);
        source->SetPreExtrapolation(eExtrapolationMirror);
        source->SetPreExtrapolationCount(3);
        Heard heard;
        target->CallbackRegister(Heard::Hear, &heard);
        target->CopyFrom(*source, withKeys);
        EXPECT_EQ(1, heard.calls);
        EXPECT_EQ(type, heard.type) << std::hex << heard.type;
        EXPECT_EQ(first, heard.first);
        EXPECT_EQ(last, heard.last);
        EXPECT_EQ(withKeys ? sourceKeys : 0, target->KeyGetCount());
        EXPECT_EQ(9.0f, target->GetValue());
        EXPECT_EQ(unsigned{eExtrapolationMirror}, target->GetPreExtrapolation());
        EXPECT_EQ(3u, target->GetPreExtrapolationCount());
        target->CopyFrom(*target);
        EXPECT_EQ(1, heard.calls);
        EXPECT_EQ(withKeys ? sourceKeys : 0, target->KeyGetCount());
        target->CallbackUnregister(Heard::Hear, &heard);
    }
}

TEST_F(Range, InsertKeepsTheLeftSidesOfBothCurves)
{
    // Offset, keys, and the left slope of each; the source stands at 10 and 11 s.
    using Row = std::tuple<double, const char*, std::vector<float>>;
    for (const auto& [offset, keys, lefts] :
         {Row{1.0, "0:0 1:5 2:6 4:1 6:2 ", {0.0f, -9.0f, -3.0f, -2.0f, -4.0f}},
          Row{3.5, "0:0 3.5:5 4:1 4.5:6 6:2 ", {0.0f, -9.0f, -2.0f, -3.0f, -4.0f}},
          Row{4.0, "0:0 4:5 5:6 6:2 ", {0.0f, -9.0f, -3.0f, -4.0f}},
          Row{-3.0, "-3:5 -2:6 0:0 4:1 6:2 ", {0.0f, -3.0f, 0.0f, -2.0f, -4.0f}},
          Row{6.0, "0:0 4:1 6:5 7:6 ", {0.0f, -2.0f, -9.0f, -3.0f}},
          Row{8.0, "0:0 4:1 6:2 8:5 9:6 ", {0.0f, -2.0f, -4.0f, -9.0f, -3.0f}}}) {
        SCOPED_TRACE(offset);
        const CurveHandle source = MakeCurve({{10.0, 5.0f, 3.0f, -3.0f}, {11.0, 6.0f, 7.0f}});
        const CurveHandle curve =
            MakeCurve({{0.0, 0.0f, 2.0f, -2.0f}, {4.0, 1.0f, 4.0f, -4.0f}, {6.0, 2.0f, 6.0f}});
        curve->KeySetLeftTangeantWeight(1, 0.5f);
        source->KeySetLeftTangeantWeight(1, 0.25f);
        curve->CandidateSet(Seconds(1.0), 1.0);
        Heard heard;
        curve->CallbackRegister(Heard::Hear, &heard);
        curve->Insert(source.get(), Seconds(offset), -9.0f, true, 0.75f);
        EXPECT_EQ(1, heard.calls);
        EXPECT_FALSE(curve->IsCandidate());
        ASSERT_EQ(keys, KeysOf(*curve));
        for (int i = 1; i < curve->KeyGetCount(); ++i) {
            const float left = curve->KeyGetLeftDerivative(i);
            EXPECT_EQ(lefts[static_cast<std::size_t>(i)], left) << i;
            const float weight = left == -9.0f   ? 0.75f
                                 : left == -3.0f ? 0.25f
                                 : left == -2.0f ? 0.5f
                                                 : kGlissaDefaultWeight;
            EXPECT_NEAR(weight, curve->KeyGetLeftTangeantWeight(i), 2e-4) << i;
            EXPECT_EQ(weight != kGlissaDefaultWeight, curve->KeyIsLeftTangeantWeighted(i)) << i;
        }
        // The source is as it was.
        EXPECT_EQ(-3.0f, source->KeyGetLeftDerivative(1));
        curve->CallbackUnregister(Heard::Hear, &heard);
        curve->Insert(CurveHandle(GlissaCreate()).get(), Seconds(1.0), -9.0f, true, 0.5f);
        EXPECT_EQ(keys, KeysOf(*curve));
    }
}

TEST_F(Range, InsertSharesBlocksAndLeavesTcbParametersAlone)
{
    RefCurve data = MuseumTangentPair(kRefCubic | kRefTcb, kRefCubic | kRefTcb);
    const CurveHandle source = ToGlissa(data);
    const CurveHandle empty(GlissaCreate());
    empty->Insert(source.get(), Seconds(5.0), GlissaTangeantInfo());
    EXPECT_EQ(source->InternalPriKeyAttrGetPtr(1), empty->InternalPriKeyAttrGetPtr(1));
    EXPECT_EQ(source->InternalPriKeyAttrGetPtr(2), empty->InternalPriKeyAttrGetPtr(2));

    const CurveHandle curve = MakeCurve({{0.0, 0.0f, 0.0f, 57.0f}, {9.0, 0.0f}});
    curve->Insert(source.get(), Seconds(5.0), GlissaTangeantInfo());
    for (const int key : {1, 2}) {
        for (const auto slot : {eDataTCBTension, eDataTCBContinuity, eDataTCBBias}) {
            EXPECT_EQ(source->KeyGetDataFloat(key, slot), curve->KeyGetDataFloat(key + 1, slot));
        }
    }
    EXPECT_EQ(57.0f, curve->KeyGetLeftDerivative(5));
}

TEST_F(Range, InsertKeepsTheLeftSideOfALinearKey)
{
    for (const bool isAuto : {false, true}) {
        const std::uint32_t kinds[] = {kRefCubic | kRefUser | kRefBreak, kRefCubic | kRefAuto};
        const CurveHandle curve = MakeCurve({{0.0, 0.0f, 2.0f, 20.0f, kinds[isAuto ? 1 : 0]},
                                             {4.0, 1.0f, 0.0f, 0.0f, kRefLinear},
                                             {6.0, 9.0f}});
        const CurveHandle source = MakeCurve({{0.0, 5.0f, 3.0f, 3.0f, kinds[isAuto ? 0 : 1]}});
        const float left = curve->KeyGetLeftDerivative(1);
        curve->Insert(source.get(), Seconds(1.0), GlissaTangeantInfo());
        EXPECT_NEAR(left, curve->KeyGetLeftDerivative(2), 1e-5);
    }
}

TEST_F(Range, InsertLeavesCustomKeysToTheHost)
{
    GlissaCustomTangentManager::TheOne().AddNewCustomTangent("host", "host");
    for (const bool isTold : {true, false}) {
        for (const double offset : {1.0, 9.0}) {
            const CurveHandle source =
                MakeCurve({{0.0, 5.0f, 3.0f, -3.0f, kRefCustom | 0x100}, {1.0, 6.0f}});
            const CurveHandle curve = MakeCurve({{0.0, 0.0f, 2.0f, -2.0f}, {4.0, 1.0f}});
            curve->SetCallbackForCustomKeyAddEnabled(isTold);
            curve->Insert(source.get(), Seconds(offset), -9.0f, false, kGlissaDefaultWeight);
            const int first = offset < 4.0 ? 1 : 2;
            EXPECT_EQ(isTold ? (first == 1 ? -2.0f : 0.0f) : -9.0f,
                      curve->KeyGetDataDouble(first - 1, eDataNextLeftSlope));
        }
    }
    GlissaCustomTangentManager::TheOne().RemoveCustomTangent("host");
}

TEST_F(Range, ReplaceTakesTheKeysOfTheSpan)
{
    struct Row
    {
        KTime start;
        KTime stop;
        bool exact;
        double offset;
        const char* keys;
    };
    const CurveHandle source = MakeCurve({{1.0, 11.0f}, {2.0, 12.0f}, {3.0, 13.0f}, {8.0, 18.0f}});
    const Row rows[] = {
        {kFromStart, kToEnd, false, 0.0, "0:0 1:11 2:12 3:13 8:18 10:5 "},
        {kFromStart, kToEnd, true, 0.0, "0:0 1:11 2:12 3:13 8:18 10:5 "},
        {Seconds(2.0), Seconds(3.0), true, 0.0, "0:0 2:12 3:13 4:2 6:3 8:4 10:5 "},
        {Seconds(2.0), Seconds(3.0), false, 2.0, "0:0 2:1 4:12 5:13 6:3 8:4 10:5 "},
        {Seconds(1.5), Seconds(6.0), false, 0.0, "0:0 2:12 3:13 8:4 10:5 "},
        {Seconds(1.5), Seconds(6.0), true, 0.0, "0:0 2:12 3:13 8:4 10:5 "},
        {Seconds(4.0), Seconds(6.0), true, 0.0, "0:0 2:1 8:4 10:5 "},
        {Seconds(4.0), Seconds(6.0), false, 0.0, "0:0 2:1 8:4 10:5 "},
        {Seconds(2.0), Seconds(3.0), true, 20.0, "0:0 2:1 4:2 6:3 8:4 10:5 22:12 23:13 "},
        {Seconds(9.0), kToEnd, true, 0.0, "0:0 2:1 4:2 6:3 8:4 "},
    };
    for (const Row& row : rows) {
        for (const bool keyEnds : {false, true}) {
            if (keyEnds && row.start == Seconds(9.0)) {
                continue;  // has no key from there on
            }
            SCOPED_TRACE(row.keys);
            const CurveHandle curve = MakeCurve(
                {{0.0, 0.0f}, {2.0, 1.0f}, {4.0, 2.0f}, {6.0, 3.0f}, {8.0, 4.0f}, {10.0, 5.0f}});
            curve->Replace(source.get(), row.start, row.stop, row.exact, keyEnds,
                           Seconds(row.offset));
            EXPECT_EQ(row.keys, KeysOf(*curve));
        }
    }
}

TEST_F(Range, ReplaceSetsTheSeamsAndNothingElse)
{
    const std::vector<UserKey> keys = {{0.0, 0.0f, 1.0f, -1.0f},
                                       {4.0, 8.0f, 2.0f, -2.0f},
                                       {8.0, 4.0f, 3.0f, -3.0f},
                                       {12.0, 0.0f, 4.0f, -4.0f}};
    for (const bool exact : {false, true}) {
        for (const bool isOpen : {false, true}) {
            const CurveHandle old = MakeCurve(keys);
            const CurveHandle curve = MakeCurve(keys);
            const CurveHandle source =
                MakeCurve({{2.0, 5.0f, 7.0f, -7.0f}, {3.0, 6.0f, 8.0f, -8.0f}, {6.0, 7.0f, 9.0f}});
            curve->Replace(source.get(), isOpen ? kFromStart : Seconds(2.0),
                           isOpen ? kToEnd : Seconds(6.0), exact, false, KTime());
            ASSERT_EQ("0:0 2:5 3:6 6:7 8:4 12:0 ", KeysOf(*curve));
            const bool hasSeams = !(exact && isOpen);
            const KTime from = Seconds(2.0);
            const KTime to = Seconds(6.0);
            EXPECT_EQ(hasSeams ? old->EvaluateLeftDerivative(from, nullptr) : -2.0f,
                      curve->KeyGetLeftDerivative(1));
            EXPECT_EQ(hasSeams ? old->EvaluateRightDerivative(to, nullptr) : 9.0f,
                      curve->KeyGetRightDerivative(3));
            EXPECT_EQ(7.0f, curve->KeyGetRightDerivative(1));
            EXPECT_EQ(-7.0f, curve->KeyGetLeftDerivative(2));
            EXPECT_EQ(-8.0f, curve->KeyGetLeftDerivative(3));
            // Behind the span: the left side of its first key is stored in the one before.
            EXPECT_EQ(-2.0f, curve->KeyGetLeftDerivative(4));
            EXPECT_TRUE(HasSameKey(*old, 2, *curve, 4));
            EXPECT_EQ(source->InternalPriKeyAttrGetPtr(1), curve->InternalPriKeyAttrGetPtr(2));
        }
    }
    // A source that has a key behind the span only.
    const CurveHandle old = MakeCurve(keys);
    const CurveHandle curve = MakeCurve(keys);
    const CurveHandle late = MakeCurve({{20.0, 5.0f}});
    curve->Replace(late.get(), Seconds(5.0), Seconds(6.0), true, true, KTime());
    for (int i = 0; i < 4; ++i) {
        EXPECT_TRUE(HasSameKey(*old, i, *curve, i));
    }
}

TEST_F(Range, AnEmptySourceClearsTheSpanOrHoldsItsDefault)
{
    const std::vector<UserKey> user = {
        {0.0, 0.0f, 1.0f, -1.0f}, {4.0, 8.0f, 2.0f, -2.0f}, {8.0, 4.0f, 3.0f, -3.0f}};
    std::vector<UserKey> automatic = user;
    for (UserKey& key : automatic) {
        key.flags = kRefCubic | kRefAuto;
    }
    const CurveHandle source(GlissaCreate());
    source->SetValue(-5.0f);
    struct Row
    {
        KTime start;
        KTime stop;
        const char* cleared;
        int held;  // keys
    };
    const Row rows[] = {{Seconds(3.0), Seconds(6.0), "0:0 8:4 ", 6},
                        {Seconds(4.0), Seconds(8.0), "0:0 ", 5},
                        {kFromStart, Seconds(6.0), "8:4 ", 4},
                        {Seconds(3.0), kToEnd, "0:0 ", 3},
                        {kFromStart, kToEnd, "", 1}};
    for (int i = 0; i < 10; ++i) {
        const Row& row = rows[i / 2];
        const std::vector<UserKey>& keys = i % 2 == 0 ? user : automatic;
        SCOPED_TRACE(testing::Message() << row.cleared << i);
        const CurveHandle old = MakeCurve(keys);
        const CurveHandle cleared = MakeCurve(keys);
        cleared->Replace(source.get(), row.start, row.stop, true, false, Seconds(100.0));
        EXPECT_EQ(row.cleared, KeysOf(*cleared));
        const CurveHandle held = MakeCurve(keys);
        held->Replace(source.get(), row.start, row.stop, true, true, Seconds(100.0));
        EXPECT_EQ(row.held, held->KeyGetCount());
        for (double at = -1.0; at < 10.0; at += 0.125) {
            const KTime time = Seconds(at);
            const bool isInside = time >= row.start && time <= row.stop;
            EXPECT_NEAR(isInside ? -5.0f : old->Evaluate(time, nullptr),
                        held->Evaluate(time, nullptr), 1e-5)
                << at;
        }
        for (const KTime time : {row.start, row.stop}) {
            if (time != kFromStart && time != kToEnd) {
                EXPECT_EQ(0.0f, held->EvaluateLeftDerivative(time, nullptr));
                EXPECT_EQ(0.0f, held->EvaluateRightDerivative(time, nullptr));
            }
        }
    }
    const CurveHandle empty(GlissaCreate());
    Heard heard;
    empty->CallbackRegister(Heard::Hear, &heard);
    empty->Replace(source.get(), Seconds(0.0), Seconds(1.0), true, true, KTime());
    EXPECT_EQ(0, heard.calls);
    EXPECT_EQ(0, empty->KeyGetCount());
    empty->CallbackUnregister(Heard::Hear, &heard);
}

// Keys of every kind around the span, inside it, and a tick outside it.
TEST_F(Range, AHeldSpanLeavesTheCurveAroundItAlone)
{
    const CurveHandle source(GlissaCreate());
    source->SetValue(-5.0f);
    constexpr KTime kTick(1);
    for (const std::uint32_t flags : MuseumKinds()) {
        for (const bool onKeys : {false, true}) {
            SCOPED_TRACE(testing::Message() << std::hex << flags << ' ' << onKeys);
            const std::vector<UserKey> keys = {{0.0, 0.0f, 0.25f, 0.5f, flags},
                                               {4.0, 8.0f, 0.5f, 0.25f, flags},
                                               {8.0, 4.0f, 0.25f, -0.5f, flags},
                                               {12.0, 6.0f, -0.5f, 0.0f, flags}};
            const CurveHandle old = MakeCurve(keys);
            const CurveHandle held = MakeCurve(keys);
            const KTime start = onKeys ? Seconds(4.0) + kTick : Seconds(5.0);
            const KTime stop = onKeys ? Seconds(8.0) - kTick : Seconds(6.0);
            held->Replace(source.get(), start, stop, true, true, KTime());
            EXPECT_EQ(onKeys ? 6 : 8, held->KeyGetCount());
            for (double at = 0.0; at <= 12.0; at += 0.125) {
                const KTime time = Seconds(at);
                const bool isInside = time >= start && time <= stop;
                EXPECT_NEAR(isInside ? -5.0f : old->Evaluate(time, nullptr),
                            held->Evaluate(time, nullptr), 1e-4)
                    << at;
            }
            EXPECT_EQ(0.0f, held->EvaluateRightDerivative(start, nullptr));
            EXPECT_EQ(0.0f, held->EvaluateLeftDerivative(stop, nullptr));
        }
    }
}

// Slot 1 holds a slope or a parameter, and only a slope has a sign to turn.
TEST_F(Range, InversionMirrorsEveryKind)
{
    for (const std::uint32_t before : MuseumKinds()) {
        for (const std::uint32_t behind : MuseumKinds()) {
            SCOPED_TRACE(testing::Message() << std::hex << before << ' ' << behind);
            const auto hasNoValues = [](std::uint32_t pFlags) { return (pFlags & 0xE) == 0; };
            if (hasNoValues(before) || hasNoValues(behind)) {
                continue;
            }
            const CurveHandle span = ToGlissa(MuseumTangentPair(before, behind));
            const CurveHandle key = MakeCurve({{-1.0, 0.0f}});
            for (const bool isBehind : {false, true}) {
                // The keys of the span, or all those behind it.
                Glissa* const source = isBehind ? key.get() : span.get();
                const CurveHandle plain = ToGlissa(MuseumTangentPair(before, behind));
                const CurveHandle curve = ToGlissa(MuseumTangentPair(before, behind));
                plain->Replace(source, kFromStart, kToEnd, true, false, KTime());
                curve->ReplaceForEulerXYZ(source, kFromStart, kToEnd, 3.0f, 3.0f, !isBehind,
                                          isBehind, true, false, KTime());
                for (int i = 0; i <= 60; ++i) {
                    const KTime time = Seconds(i * 0.05);
                    ASSERT_NEAR(3.0f - plain->Evaluate(time, nullptr),
                                curve->Evaluate(time, nullptr), 1e-5)
                        << isBehind << ' ' << i;
                }
            }
        }
    }
}

TEST_F(Range, EulerShiftsTheSpanAndWhatIsBehindIt)
{
    const std::vector<UserKey> keys = {{0.0, 0.0f, 1.0f, -1.0f},
                                       {4.0, 8.0f, 2.0f, -2.0f},
                                       {8.0, 4.0f, 3.0f, -3.0f},
                                       {9.0, 2.0f, 5.0f, -5.0f}};
    const std::vector<UserKey> sourceKeys = {{3.0, 30.0f, 7.0f, -7.0f}, {5.0, 20.0f, 9.0f}};
    struct Row
    {
        float fromStart, afterStop;
        bool invertFrom, invertAfter;
        int type;
    };
    const int replaced = kGlissaEventRemoved | kGlissaEventAdded | kGlissaEventOther |
                         eEventEditWeight | eEventEditVelocity | eEventEditSlope;
    for (const Row& row :
         {Row{0.0f, 0.0f, false, false, replaced}, Row{1e-7f, -1e-7f, true, true, replaced},
          Row{360.0f, -360.0f, false, false, replaced | kGlissaEventValue},
          Row{180.0f, 540.0f, true, true, replaced | kGlissaEventValue},
          Row{180.0f, 0.0f, true, false, replaced | kGlissaEventValue}}) {
        SCOPED_TRACE(testing::Message() << row.fromStart << ' ' << row.afterStop);
        const CurveHandle source = MakeCurve(sourceKeys);
        const CurveHandle plain = MakeCurve(keys);
        const CurveHandle curve = MakeCurve(keys);
        plain->Replace(source.get(), kFromStart, kToEnd, true, false, KTime());
        Heard heard;
        curve->CallbackRegister(Heard::Hear, &heard);
        curve->ReplaceForEulerXYZ(source.get(), kFromStart, kToEnd, row.fromStart, row.afterStop,
                                  row.invertFrom, row.invertAfter, true, false, KTime());
        EXPECT_EQ(1, heard.calls);
        EXPECT_EQ(row.type, heard.type) << std::hex << heard.type;
        ASSERT_EQ(5, curve->KeyGetCount());
        for (int i = 0; i < 5; ++i) {
            const bool isInSpan = i == 1 || i == 2;
            const float add = i == 0 ? 0.0f : isInSpan ? row.fromStart : row.afterStop;
            const bool invert =
                i > 0 && std::fabs(add) > 1e-6f && (isInSpan ? row.invertFrom : row.invertAfter);
            const float sign = invert ? -1.0f : 1.0f;
            EXPECT_EQ(std::fabs(add) > 1e-6f ? add + sign * plain->KeyGetValue(i)
                                             : plain->KeyGetValue(i),
                      curve->KeyGetValue(i))
                << i;
            EXPECT_EQ(sign * plain->KeyGetRightDerivative(i), curve->KeyGetRightDerivative(i)) << i;
            EXPECT_EQ((i == 0 ? 1.0f : sign) * plain->KeyGetLeftDerivative(i),
                      curve->KeyGetLeftDerivative(i))
                << i;
        }
        // The source's own keys are not negated with their copies.
        EXPECT_EQ(7.0f, source->KeyGetRightDerivative(0));
        curve->CallbackUnregister(Heard::Hear, &heard);
    }
    // A source without keys in the span: what is behind it stays.
    const CurveHandle none(GlissaCreate());
    const CurveHandle curve = MakeCurve(keys);
    curve->ReplaceForEulerXYZ(none.get(), Seconds(3.0), Seconds(5.0), 360.0f, 360.0f, false, false,
                              true, false, KTime());
    EXPECT_EQ("0:0 8:4 9:2 ", KeysOf(*curve));
}
}  // namespace
