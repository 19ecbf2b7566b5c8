// Copyright (c) 2026 The glissa authors
// SPDX-License-Identifier: MIT

#include "glissa/plot/fidelity.h"
#include "glissa/plot/merge.h"
#include "glissa/plot/rotations.h"
#include "tests/support/curve_test.h"
#include "tests/support/node_stubs.h"
#include "tests/support/random_curve.h"

#include <cmath>
#include <sstream>
#include <string>

namespace
{
using PlotMerge = CurveTest;

constexpr KTime kStep(KTime::kTicksPerSecond / 120);

// Adds constant keys from a text: times in steps of 1/120 s, values, and an n for the mode "next
// value": "0:1 4.5n:2".
void AddSteps(GlissaNode* pLeaf, const std::string& pText)
{
    std::istringstream text(pText);
    double steps = 0.0;
    double value = 0.0;
    while (text >> steps) {
        GlissaKey key;
        key.SetInterpolation(eInterpolationConstant);
        key.SetConstantMode(text.get() == 'n' ? (text.get(), eConstantNext) : eConstantStandard);
        text >> value;
        key.SetValue(static_cast<float>(value));
        pLeaf->FCurveGet()->KeyAdd(Seconds(steps / 120.0), key);
    }
}

std::string StepsOf(const Glissa& pCurve)
{
    std::ostringstream text;
    for (int i = 0; i < pCurve.KeyGetCount(); ++i) {
        EXPECT_EQ(eInterpolationConstant, pCurve.KeyGetInterpolation(i));
        const bool isNext = pCurve.KeyGetConstantMode(i) == eConstantNext;
        text << (i > 0 ? " " : "") << std::round(pCurve.KeyGetTime(i).GetSecondDouble() * 1200) / 10
             << (isNext ? "n:" : ":") << pCurve.KeyGetValue(i);
    }
    return text.str();
}

TEST_F(PlotMerge, LayersOfConstantKeysBecomeOneKeyWhereAllAgreeAndElseTwo)
{
    const struct
    {
        const char* name;
        const char* base;
        const char* layer;
        double start;
        double stop;
        const char* merged;
    } kRows[] = {
        {"both standard", "0:1 9:2", "0:10 9:20", 0, 9, "0:11 9:22"},
        {"both next", "0n:1 9n:2", "0n:10 9n:20", 0, 9, "0n:11 9n:22"},
        {"standard and next", "0:1 9:2", "0n:10 9:20", 0, 9, "0:11 1:21 9:22"},
        {"next alone", "0n:1 9:5", "4:10", 0, 9, "0:11 1:15 4:15 9:15"},
        {"closer than the second key", "0:1 0.5:2 9:3", "", 0, 9, "0:1 0.5:2 9:3"},
        {"from the start to the stop", "0:1 2:2 4:3 9:3", "", 2, 4, "2:2 4:3"},
        {"nothing after the stop", "5:1", "", 0, 4, ""},
        {"no key from the start on", "0:1", "1:2", 9, 10, "9:3 10:3"},
    };
    for (const auto& row : kRows) {
        SCOPED_TRACE(row.name);
        const NodePtr source = MakeChannel(KDataTypeNumber, "a");
        const NodePtr merged = MakeChannel(KDataTypeNumber, "b");
        AddSteps(source.get(), row.base);
        AddSteps(source->CreateLayerAt({1, nullptr}), row.layer);
        GLISSA_ConstantCurveMerge(merged.get(), source.get(), Seconds(row.start / 120.0),
                                  Seconds(row.stop / 120.0));
        EXPECT_EQ(row.merged, StepsOf(*merged->FCurveGet()));
    }
    // A key of one channel is one of all.
    const NodePtr source = MakeChannel(KDataTypeLclTranslation, "a");
    const NodePtr merged = MakeChannel(KDataTypeLclTranslation, "b");
    AddSteps(source->Get(0), "0:1");
    AddSteps(source->Get(2), "0:5 8:6");
    GLISSA_ConstantCurveMerge(merged.get(), source.get(), kFromStart, kToEnd);
    EXPECT_EQ("0:1 8:1", StepsOf(*merged->Get(0)->FCurveGet()));
}

TEST_F(PlotMerge, InterpolationIsTheSameWhereEveryKeyHasABitOfTheMask)
{
    const NodePtr node = MakeChannel(KDataTypeLclTranslation, "a");
    const unsigned both = eInterpolationConstant | eInterpolationLinear;
    EXPECT_FALSE(GLISSA_IsAllSameInterpolation(node.get(), 0xF, true));  // no key
    AddSteps(node->Get(1), "0:1 1n:1");
    AddKeys(node->CreateLayerAt({3, nullptr})->Get(2), {{0.0, 1.0f}});
    EXPECT_TRUE(GLISSA_IsAllSameInterpolation(node.get(), eInterpolationConstant, false));
    EXPECT_FALSE(GLISSA_IsAllSameInterpolation(node.get(), eInterpolationConstant, true));
    EXPECT_TRUE(GLISSA_IsAllSameInterpolation(node.get(), both, true));
    EXPECT_FALSE(GLISSA_IsAllSameInterpolation(node.get(), eInterpolationLinear, true));
    EXPECT_FALSE(GLISSA_IsAllSameInterpolation(node.get(), eConstantNext, false));
}

// The reference rises by 10 in the first second and is level in the second one.
TEST_F(PlotMerge, AKeyIsBrokenWhereASlopeOfTheReferenceDiffers)
{
    const struct
    {
        const char* name;
        unsigned flags;
        double period;
        double tolerance;
        bool isBroken;
    } kRows[] = {{"automatic", kRefCubic | kRefAuto, 0.01, 1.0, true},
                 {"slope 10 on both sides", kRefCubic | kRefUser, 0.01, 1.0, true},
                 {"continuity", kRefCubic | kRefTcb, 0.01, 1.0, true},
                 {"within the tolerance", kRefCubic | kRefAuto, 0.01, 10.5, false},
                 {"no period", kRefCubic | kRefAuto, 0.0, 1.0, false},
                 {"not cubic", eInterpolationConstant, 0.01, 1.0, false}};
    const NodePtr reference = MakeChannel(KDataTypeNumber, "reference");
    AddKeys(reference.get(), {{0.0, 0.0f}, {1.0, 10.0f}, {2.0, 10.0f}});
    for (const auto& row : kRows) {
        SCOPED_TRACE(row.name);
        const NodePtr node = MakeChannel(KDataTypeNumber, "keys");
        node->FCurveReplace(MakeCurve({{0.0, 0.0f, 10.0f, 10.0f, row.flags},
                                       {1.0, 10.0f, 10.0f, 0.5f, row.flags},
                                       {2.0, 10.0f, 5.0f, 0.0f, kRefCubic | kRefUser}})
                                .release());
        Glissa& curve = *node->FCurveGet();
        const float behind = curve.KeyGetLeftDerivative(2);
        GLISSA_BreakTangents(node.get(), reference.get(), Seconds(row.period), row.tolerance);
        EXPECT_EQ(row.isBroken, curve.KeyGetTangeantMode(1, false) == eTangentUserBreak);
        EXPECT_EQ(behind, curve.KeyGetLeftDerivative(2));
        if (row.isBroken) {
            EXPECT_NEAR(10.0f, curve.KeyGetLeftDerivative(1), 1e-3);
            EXPECT_NEAR(0.0f, curve.KeyGetRightDerivative(1), 1e-3);
            EXPECT_NEAR(10.0f, curve.KeyGetRightDerivative(0), 1e-3);
        }
    }
}

TEST_F(PlotMerge, RefinementEndsAtTheToleranceOrAtItsStepLimit)
{
    for (int seed = 0; seed < 100; ++seed) {
        SCOPED_TRACE(seed);
        Random random(static_cast<std::uint64_t>(seed));
        const NodePtr reference = MakeChannel(KDataTypeVector2, "reference");
        const NodePtr node = MakeChannel(KDataTypeVector2, "keys");
        Glissa& wanted = *reference->Get(0)->FCurveGet();
        Glissa& curve = *node->Get(0)->FCurveGet();
        for (int i = 0; i <= 40; ++i) {
            wanted.KeyAppendFast(Seconds(i / 20.0), static_cast<float>(random.Signed()));
        }
        curve.KeyAppendFast(KTime(), 0.0f);
        curve.KeyAppendFast(Seconds(2.0), 0.0f);
        const int parts = 1 + random.Below(4);
        const double tolerance = 0.02 * random.Scale(0, 4);
        GLISSA_IncreaseFidelity(node.get(), reference.get(), tolerance, parts, seed % 2 == 0, kStep,
                                1.0, seed % 3 == 0, nullptr, nullptr);
        const int count = curve.KeyGetCount();
        EXPECT_TRUE(parts > 1 || count == 2);
        EXPECT_EQ(seed % 3 == 0 ? count - 2 : 0, node->Get(1)->FCurveGet()->KeyGetCount());
        for (int i = 1; i < count; ++i) {
            const KTime from = curve.KeyGetTime(i - 1);
            const KTime part = (curve.KeyGetTime(i) - from) / parts;
            EXPECT_GT(curve.KeyGetTime(i) - from, kStep);
            // A later key changes the slopes around earlier ones: the last span alone is sure.
            for (int k = 1; i == count - 1 && k < parts && part > kStep; ++k) {
                EXPECT_NEAR(wanted.Evaluate(from + part * k, nullptr),
                            curve.Evaluate(from + part * k, nullptr), tolerance);
            }
        }
    }
}

TEST_F(PlotMerge, TheSettingSelectsTheRotationFilter)
{
    const int before = GLISSA_GetRotationFilterToApply();
    const auto keysAfter = [](int pFilter, bool pHasLimits) {
        const NodePtr node = MakeChannel(KDataTypeLclRotation, "R");
        for (int i = 0; i < 3; ++i) {
            AddKeys(node->Get(i), {{0.0, i == 0 ? 170.0f : 0.0f}, {1.0, i == 0 ? -170.0f : 0.0f}});
        }
        bool none[3] = {};
        bool onX[3] = {true, false, false};
        double limits[3] = {};
        GLISSA_SetRotationFilterToApply(pFilter);
        GLISSA_ApplyRotationFilter(node.get(), kFromStart, kToEnd, none, limits,
                                   pHasLimits ? onX : nullptr, limits);
        return KeysOf(*node->Get(0)->FCurveGet());
    };
    EXPECT_EQ("0:170 1:-170 ", keysAfter(0, false));
    EXPECT_GT(keysAfter(1, false).size(), keysAfter(0, false).size());
    EXPECT_EQ("0:170 1:190 ", keysAfter(2, false));
    EXPECT_EQ("0:-190 1:-170 ", keysAfter(2, true));
    GLISSA_SetRotationFilterToApply(before);
}

TEST_F(PlotMerge, OneDirectionIsTurnedIntoAnother)
{
    const struct
    {
        double first[3];
        double second[3];
        double angles[3];
    } kRows[] = {{{2, 1, 1}, {5, 1, 1}, {0, 0, 0}},  {{1, 3, 1}, {1, -9, 1}, {180, 0, 0}},
                 {{3, 1, 1}, {1, 4, 1}, {0, 0, 90}}, {{1, 2, 1}, {1, 1, 2}, {90, 0, 0}},
                 {{1, 1, 5}, {2, 1, 1}, {0, 90, 0}}, {{1, 1, 1}, {2, 1, 1}, {0, 0, 0}}};
    for (auto row : kRows) {
        double origin[3] = {1, 1, 1};
        double angles[3] = {7, 7, 7};
        EXPECT_TRUE(AxisAlignmentInEulerAngle(origin, row.first, row.second, angles));
        for (int i = 0; i < 3; ++i) {
            EXPECT_NEAR(row.angles[i], angles[i], 1e-9);
        }
    }
}
}  // namespace
