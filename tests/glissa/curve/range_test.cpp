// Copyright (c) 2026 The glissa authors
// SPDX-License-Identifier: MIT

#include "tests/support/curve_test.h"

#include <tuple>
#include <vector>

namespace
{
class Range : public CurveTest
{};

TEST_F(Range, ACopyIsEqualAndSharesItsBlocks)
{
    std::vector<RefCurve> pieces = {MuseumRecording(100)};
    for (const MuseumPiece& piece : Museum()) {
        pieces.push_back(piece.curve);
    }
    for (const RefCurve& piece : pieces) {
        SCOPED_TRACE(piece.Count());
        const CurveHandle curve = ToGlissa(piece);
        const float color[] = {0.5f, 0.25f, 0.125f};
        curve->SetColor(color);
        curve->SetWasData(7);
        curve->CandidateSet(Seconds(0.5), 3.0);
        const CurveHandle copy(curve->Copy());
        EXPECT_EQ("", CheckBooks({curve.get(), copy.get()}));
        ASSERT_EQ(piece.Count(), copy->KeyGetCount());
        for (int i = 0; i < piece.Count(); ++i) {
            ASSERT_TRUE(HasSameKey(*curve, i, *copy, i));
            ASSERT_EQ(curve->InternalPriKeyAttrGetPtr(i), copy->InternalPriKeyAttrGetPtr(i));
        }
        EXPECT_EQ(curve->GetValue(), copy->GetValue());
        EXPECT_EQ(curve->GetPostExtrapolation(), copy->GetPostExtrapolation());
        EXPECT_EQ(curve->GetPreExtrapolationCount(), copy->GetPreExtrapolationCount());
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
        // A copy of a span has no keys, and no extrapolation.
        const CurveHandle span(curve->Copy(kFromStart, Seconds(9.0)));
        EXPECT_EQ(0, span->KeyGetCount());
        EXPECT_EQ(curve->GetValue(), span->GetValue());
        EXPECT_EQ(7, span->GetWasData());
        EXPECT_EQ(Seconds(0.5), span->CandidateGetTime());
        EXPECT_EQ(unsigned{eExtrapolationConstant}, span->GetPostExtrapolation());
    }
}

TEST_F(Range, CopyFromIsHeardAsOneEvent)
{
    // Keys of source and target, with keys, type, first and last key.
    using Row = std::tuple<int, int, bool, int, int, int>;
    for (const auto& [sourceKeys, targetKeys, withKeys, type, first, last] :
         {Row{60, 3, true, 0x20009810, 0, 59}, Row{0, 3, true, 0x20009011, 0, 2},
          Row{60, 3, false, 0x20009011, 0, 2}, Row{3, 60, true, 0x20009810, 0, 59}}) {
        SCOPED_TRACE(testing::Message() << sourceKeys << ' ' << targetKeys << ' ' << withKeys);
        const CurveHandle source = ToGlissa(MuseumRecording(sourceKeys));
        const CurveHandle target = ToGlissa(MuseumRecording(targetKeys));
        source->SetValue(9.0f);
        source->SetPreExtrapolation(eExtrapolationMirror);
        const EventRecorder events(*target);
        target->CopyFrom(*source, withKeys);
        target->CopyFrom(*target);
        EXPECT_EQ(1u, events.Heard().size());
        const HeardEvent all = events.Folded();
        EXPECT_EQ(std::tuple(type, first, last), std::tuple(all.type, all.first, all.last));
        EXPECT_EQ(withKeys ? sourceKeys : 0, target->KeyGetCount());
        EXPECT_EQ(9.0f, target->GetValue());
        EXPECT_EQ(unsigned{eExtrapolationMirror}, target->GetPreExtrapolation());
    }
}

TEST_F(Range, InsertKeepsTheLeftSidesOfBothCurves)
{
    // Offset, keys, and the left slope of each; the source has its keys at 10 and 11 s.
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
        const EventRecorder events(*curve);
        curve->Insert(source.get(), Seconds(offset), -9.0f, true, 0.75f);
        EXPECT_EQ(1u, events.Heard().size());
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
        curve->Insert(CurveHandle(GlissaCreate()).get(), Seconds(1.0), -9.0f, true, 0.5f);
        EXPECT_EQ(keys, KeysOf(*curve));
    }
}
}  // namespace
