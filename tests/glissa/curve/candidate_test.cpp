// Copyright (c) 2026 The glissa authors
// SPDX-License-Identifier: MIT

// A pending value, and what becomes of the curve when it turns into a key. Insertion, which keeps
// the shape, has a test of its own.

#include "glissa/curve/modify_bracket.h"
#include "glissa/ext/custom_tangent_manager.h"
#include "tests/support/curve_test.h"

#include <tuple>

namespace
{
TEST(Candidate, HoldsOneValueUntilItIsCleared)
{
    const CurveHandle curve = ThreeKeys(kRefLinear);
    EXPECT_FALSE(curve->IsCandidate());
    EXPECT_TRUE(curve->CandidateSet(Seconds(0.5), 0.1));
    EXPECT_EQ(static_cast<double>(0.1f), curve->CandidateGet());
    // At its own time nothing is evaluated, and so the hint stays.
    int hint = 2;
    EXPECT_EQ(static_cast<double>(0.1f), curve->CandidateEvaluate(Seconds(0.5), &hint));
    EXPECT_EQ(2, hint);
    EXPECT_EQ(1.0, curve->CandidateEvaluate(Seconds(0.25), &hint));
    EXPECT_EQ(Seconds(0.25), curve->CandidateGetTime());
    EXPECT_TRUE(curve->CandidateClear());
    EXPECT_EQ(0.0, curve->CandidateGet());
    EXPECT_FALSE(curve->CandidateKey(&hint, eInterpolationLinear, 0, eContinuityDefault, true));
}

TEST(CandidateKey, FindsTheKeyWithinTheTolerance)
{
    // Seconds, tolerance, index, whether that key was there.
    using Row = std::tuple<double, double, int, bool>;
    for (const auto& [seconds, tolerance, index, existed] :
         {Row{1.0, 0.0, 1, true}, Row{1.25, 0.0, 2, false}, Row{1.4, 0.5, 1, true},
          Row{1.4, 0.3, 2, false}, Row{1.5, 0.5, 2, true}, Row{1.6, 5.0, 2, true},
          Row{-1.0, 0.5, 0, false}, Row{3.0, 5.0, 3, false}, Row{1.2, -1.0, 2, false}}) {
        for (const bool override : {false, true}) {
            SCOPED_TRACE(testing::Message() << seconds << ' ' << tolerance << ' ' << override);
            const CurveHandle curve = ThreeKeys(kRefCubic | kRefUser | kRefBreak);
            curve->CandidateSet(KTime(), 9.0);
            int last = 77;
            ASSERT_TRUE(curve->CandidateKey(&last, eInterpolationLinear, 0, eContinuityDefault,
                                            override, Seconds(seconds), tolerance));
            EXPECT_EQ(index, last);
            EXPECT_EQ(existed ? 3 : 4, curve->KeyGetCount());
            EXPECT_EQ(Seconds(seconds), curve->KeyGetTime(last));
            EXPECT_EQ(9.0f, curve->KeyGetValue(last));
            EXPECT_EQ(unsigned{existed && !override ? eInterpolationCubic : eInterpolationLinear},
                      curve->KeyGetInterpolation(last));
            EXPECT_FALSE(curve->IsCandidate());
        }
    }
    const CurveHandle empty(GlissaCreate());
    empty->CandidateSet(Seconds(1.0), -2.0);
    int last = 5;
    ASSERT_TRUE(
        empty->CandidateKey(&last, eInterpolationCubic, eTangentTCB, eContinuityBreak, false));
    EXPECT_EQ(0, last);
    EXPECT_EQ(-2.0f, empty->KeyGetValue(0));
    EXPECT_EQ(-1.0f, empty->KeyGetDataDouble(0, eDataTCBContinuity));
}

TEST(CandidateKey, CornersAreFlatAsTheGettersMeasure)
{
    for (const std::uint32_t flags : MuseumKinds()) {
        for (const int continuity : {eContinuityFlat, eContinuityBreak}) {
            for (const unsigned mode :
                 {0u | eTangentAuto, 0u | eTangentAuto | eTangentProgressiveClamp,
                  0u | eTangentUser, 0u | eTangentTCB}) {
                for (const double seconds : {0.25, 1.0, 1.25, 2.0, 2.5, -0.5}) {
                    SCOPED_TRACE(testing::Message() << std::hex << flags << ' ' << continuity << ' '
                                                    << mode << ' ' << seconds);
                    const CurveHandle curve = ThreeKeys(flags & ~kRefCustom);
                    curve->CandidateSet(Seconds(seconds), 3.0);
                    int e = 0;
                    ASSERT_TRUE(curve->CandidateKey(&e, eInterpolationCubic, static_cast<int>(mode),
                                                    continuity, true));
                    const bool isTcb = (mode & eTangentTCB) != 0;
                    if (isTcb) {
                        EXPECT_EQ(continuity == eContinuityFlat ? 1.0f : 0.0f,
                                  curve->KeyGetDataDouble(e, eDataTCBTension));
                        EXPECT_EQ(continuity == eContinuityFlat ? 0.0f : -1.0f,
                                  curve->KeyGetDataDouble(e, eDataTCBContinuity));
                    }
                    if (isTcb && continuity == eContinuityBreak) {
                        continue;
                    }
                    if (e > 0 && curve->KeyGetInterpolation(e - 1) == eInterpolationCubic) {
                        EXPECT_NEAR(0.0f, curve->KeyGetLeftDerivative(e), 4e-5);
                    }
                    if (e + 1 < curve->KeyGetCount()) {
                        EXPECT_NEAR(0.0f, curve->KeyGetRightDerivative(e), 4e-5);
                    }
                    if ((mode & eTangentAuto) != 0 && (flags & kRefTcb) == 0 &&
                        flags != kRefCubic) {
                        EXPECT_EQ(unsigned{eTangentAutoBreak}, curve->KeyGetTangeantMode(e, false));
                    }
                }
            }
        }
    }
}

TEST(CandidateKey, CustomKeysTakeTheSlopesAroundThem)
{
    const auto request = [](Glissa& pCurve, double pSeconds) {
        pCurve.CandidateSet(Seconds(pSeconds), 3.0);
        return pCurve.CandidateKey(nullptr, eInterpolationCustom, 0x100, eContinuityDefault, true);
    };
    const CurveHandle refused = ThreeKeys(kRefCubic | kRefUser | kRefBreak);
    const int id = refused->GetUpdateId();
    EXPECT_FALSE(request(*refused, 1.0));
    EXPECT_EQ(id, refused->GetUpdateId());
    GlissaCustomTangentManager::TheOne().AddNewCustomTangent("host", "host");
    for (const double seconds : {0.5, 1.0}) {
        const CurveHandle curve = ThreeKeys(kRefCubic | kRefUser | kRefBreak);
        EXPECT_TRUE(request(*curve, seconds));
        EXPECT_EQ(unsigned{eInterpolationCustom}, curve->KeyGetInterpolation(1));
        EXPECT_EQ(0x100u, curve->KeyGetCustomIndex(1));
        // A new key: right and left slope of the one behind it. A replaced one has what it is
        // given.
        EXPECT_EQ(seconds < 1.0 ? 0.25f : 0.0f, curve->KeyGetDataDouble(1, eDataRightSlope));
        EXPECT_EQ(seconds < 1.0 ? 0.5f : 0.0f, curve->KeyGetDataDouble(1, eDataNextLeftSlope));
    }
    GlissaCustomTangentManager::TheOne().RemoveCustomTangent("host");
}
}  // namespace
