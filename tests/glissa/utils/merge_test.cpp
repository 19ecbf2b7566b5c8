// Copyright (c) 2026 The glissa authors
// SPDX-License-Identifier: MIT

#include "glissa/utils/utils.h"
#include "tests/support/curve_test.h"
#include "tests/support/held_kinds.h"

#include <cmath>

namespace
{
using Merging = CurveTest;

// The greatest distance of two curves before and after a span.
double DistanceOutside(Glissa& pLeft, Glissa& pRight, KTime pFrom, KTime pTo)
{
    double distance = 0.0;
    for (int i = -90; i <= 390; ++i) {
        const KTime time = Seconds(i / 100.0);
        if (time <= pFrom || time >= pTo) {
            const double off = pLeft.Evaluate(time, nullptr) - pRight.Evaluate(time, nullptr);
            distance = std::max(distance, std::fabs(off));
        }
    }
    return distance;
}

// Samples of a curve, of its own kinds and of one kind, are put back in place of a span. Every pair
// of kinds is cut in every segment and on every key, and in front of the keys and behind them.
TEST_F(Merging, TheFirstCurveKeepsItsValuesOutsideTheSpan)
{
    ForEachPairOfHeldKinds([](const RefCurve& pCurve) {
        const CurveHandle first = ToGlissa(pCurve);
        for (int cut = 0; cut < 81; ++cut) {
            const int form = cut % 3;
            const int place = cut / 3;
            const KTime from = place > 24 ? Seconds(place == 25 ? -0.8 : 3.2)
                                          : Seconds(place % 5 * 0.5 + place / 5 * 0.1);
            const KTime to = from + Seconds(0.25 + 0.25 * (place % 2));
            const CurveHandle second(GlissaCreate());
            const CurveHandle result(GlissaCreate());
            if (form == 0) {
                GlissaUtils::Resample(*first, *second, from, to, Seconds(0.1), true);
            } else {
                GlissaUtils::Resample(*first, *second, from, to, Seconds(0.1), eInterpolationCubic,
                                      form == 1 ? eTangentAuto : eTangentUser, true);
            }
            GlissaUtils::Merge(*first, *second, *result);
            EXPECT_LE(DistanceOutside(*first, *result, from, to), 1e-5) << "cut " << cut;
        }
        // Keys of other values beyond an end: it is held up to them.
        for (const double start : {-3.0, 4.0}) {
            const CurveHandle second = MakeCurve({{start, 9.0f}, {start + 2.0, 8.0f}});
            const CurveHandle result(GlissaCreate());
            GlissaUtils::Merge(*first, *second, *result);
            EXPECT_LE(DistanceOutside(*first, *result, kToEnd, kToEnd), 1e-5);
        }
    });
}

TEST_F(Merging, KeysAwayFromTheSeamsAreThoseOfTheTwoCurves)
{
    const CurveHandle first = ToGlissa(MuseumCurve("tcb corners"));
    const CurveHandle second = MakeCurve({{1.75, 1.0f}, {2.0, 5.0f}, {4.0, 2.0f}});
    const CurveHandle result(first->Copy());
    GlissaUtils::Merge(*result, *second, *result);
    ASSERT_EQ("0:0 1:5 1.5:2 1.75:1 2:5 4:2 5:0 6:3 ", KeysOf(*result));
    for (const auto& [merged, source] : {std::pair{0, 0}, {1, 1}, {2, 2}, {7, 6}}) {
        EXPECT_TRUE(HasSameKey(*result, merged, *first, source)) << merged;
    }
    EXPECT_TRUE(HasSameKey(*result, 4, *second, 1));
    // The last key continues a TCB segment with its parameters.
    EXPECT_EQ(eTangentTCB, result->KeyGetTangeantMode(5, false));
    EXPECT_EQ(-1.0f, result->KeyGet(5).GetDataFloat(eDataTCBBias));
}

TEST_F(Merging, AnEmptyCurveOrOneThatIsCoveredLeavesTheOther)
{
    const CurveHandle inner = MakeCurve({{1.0, 1.0f}, {2.0, 2.0f}});
    const CurveHandle outer = MakeCurve({{0.0, 5.0f}, {2.0, 6.0f}});
    const CurveHandle empty = MakeCurve({});
    const CurveHandle result = MakeCurve({{9.0, 9.0f}});
    GlissaUtils::Merge(*empty, *empty, *result);
    EXPECT_EQ("9:9 ", KeysOf(*result));
    GlissaUtils::Merge(*inner, *outer, *result);
    EXPECT_EQ("0:5 2:6 ", KeysOf(*result));
    GlissaUtils::Merge(*inner, *empty, *result);
    EXPECT_EQ("1:1 2:2 ", KeysOf(*result));
    GlissaUtils::Merge(*outer, *inner, *result);
    EXPECT_EQ("0:5 1:1 2:2 ", KeysOf(*result));
}
}  // namespace
