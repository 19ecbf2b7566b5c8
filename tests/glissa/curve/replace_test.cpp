// Copyright (c) 2026 The glissa authors
// SPDX-License-Identifier: MIT

#include "tests/support/curve_test.h"

#include <vector>

namespace
{
class Replace : public CurveTest
{};

TEST_F(Replace, TakesTheKeysOfTheSpan)
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

TEST_F(Replace, SetsTheSeamsAndNothingElse)
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
}

// Keys of every kind around the span, inside it, and a tick outside it.
TEST_F(Replace, AHeldSpanLeavesTheCurveAroundItAlone)
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

TEST_F(Replace, AHeldSpanThatLeavesTheRangeOfTimesIsRefused)
{
    const CurveHandle source = MakeCurve({{-9.0, 1.0f}});
    const CurveHandle curve = MakeCurve({{0.0, 0.0f}, {5.0, 1.0f}, {10.0, 2.0f}});
    EditCheck edit(*curve);
    for (const std::int64_t room : {0, 1, -1}) {
        const KTime offset = KTime::Infinite() - Seconds(6.0) - KTime(room);
        curve->Replace(source.get(), Seconds(4.0), Seconds(6.0), true, true, offset);
    }
    EXPECT_EQ("0:0 5:1 10:2 ", KeysOf(*curve));
    EXPECT_TRUE(edit.Heard().empty());
}

// Slot 1 holds a slope or a parameter, and only a slope has a sign to turn.
TEST_F(Replace, InversionMirrorsEveryKind)
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

TEST_F(Replace, EulerShiftsTheSpanAndWhatIsBehindIt)
{
    const CurveHandle source = MakeCurve({{3.0, 30.0f, 7.0f, -7.0f}, {5.0, 20.0f, 9.0f}});
    const CurveHandle none(GlissaCreate());
    struct Row
    {
        const CurveHandle& source;
        float fromStart, afterStop;
        bool inverts;
        const char* keys;
    };
    for (const Row& row : {Row{source, 1e-7f, -1e-7f, true, "0:0 3:30 5:20 8:4 9:2 "},
                           Row{source, 360.0f, -360.0f, false, "0:0 3:390 5:380 8:-356 9:-358 "},
                           Row{source, 180.0f, 540.0f, true, "0:0 3:150 5:160 8:536 9:538 "},
                           // A source without keys in the span: what is behind it stays.
                           Row{none, 360.0f, 360.0f, false, "0:0 8:4 9:2 "}}) {
        const CurveHandle curve = MakeCurve({{0.0, 0.0f}, {4.0, 8.0f}, {8.0, 4.0f}, {9.0, 2.0f}});
        EditCheck edit(*curve);
        curve->ReplaceForEulerXYZ(row.source.get(), Seconds(3.0), Seconds(5.0), row.fromStart,
                                  row.afterStop, row.inverts, row.inverts, true, false, KTime());
        EXPECT_EQ(row.keys, KeysOf(*curve));
        EXPECT_EQ("", edit.Verify());
        EXPECT_EQ(1u, edit.Heard().size());
    }
    // The source's own keys are not negated with their copies.
    EXPECT_EQ(7.0f, source->KeyGetRightDerivative(0));
}
}  // namespace
