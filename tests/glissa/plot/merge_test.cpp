// Copyright (c) 2026 The glissa authors
// SPDX-License-Identifier: MIT

#include "glissa/plot/fidelity.h"
#include "glissa/plot/merge.h"
#include "glissa/plot/rotations.h"
#include "tests/support/curve_test.h"
#include "tests/support/node_stubs.h"
#include "tests/support/random_curve.h"

#include <cmath>
#include <string>
#include <vector>

namespace
{
using PlotMerge = CurveTest;

constexpr KTime kStep(KTime::kTicksPerSecond / 120);
constexpr unsigned kStandard = eInterpolationConstant;
constexpr unsigned kNext = eInterpolationConstant | eConstantNext;

struct StepKey
{
    double steps;  // of 1/120 s
    float value;
    unsigned flags;
};

KTime Steps(double pSteps)
{
    return Seconds(pSteps / 120.0);
}

void AddSteps(GlissaNode* pLeaf, const std::vector<StepKey>& pKeys)
{
    for (const StepKey& each : pKeys) {
        GlissaKey key;
        key.Set(Steps(each.steps), each.value, each.flags & 0xFu, 0, 0.0f, 0.0f, eWeightNone,
                kGlissaDefaultWeight, kGlissaDefaultWeight, 0.0f, 0.0f);
        key.SetConstantMode(each.flags & eConstantNext);
        pLeaf->FCurveGet()->KeyAdd(key.GetTime(), key);
    }
}

// Times in steps, values, and an n for the mode "next value".
std::string StepsOf(const Glissa& pCurve)
{
    std::string text;
    for (int i = 0; i < pCurve.KeyGetCount(); ++i) {
        char key[64];
        const double steps = pCurve.KeyGetTime(i).GetSecondDouble() * 120.0;
        const bool isNext = pCurve.KeyGet(i).GetConstantMode() == eConstantNext;
        std::snprintf(key, sizeof key, "%.4g%s:%g ", steps, isNext ? "n" : "",
                      static_cast<double>(pCurve.KeyGetValue(i)));
        EXPECT_EQ(eInterpolationConstant, pCurve.KeyGetInterpolation(i));
        text += key;
    }
    return text;
}

TEST_F(PlotMerge, LayersOfConstantKeysBecomeOneKeyWhereAllAgreeAndElseTwo)
{
    const struct
    {
        const char* name;
        std::vector<StepKey> base;
        std::vector<StepKey> layer;
        double start;
        double stop;
        const char* merged;
    } kRows[] = {
        {"both standard",
         {{0, 1, kStandard}, {9, 2, kStandard}},
         {{0, 10, kStandard}, {9, 20, kStandard}},
         0,
         9,
         "0:11 9:22 "},
        {"both next",
         {{0, 1, kNext}, {9, 2, kNext}},
         {{0, 10, kNext}, {9, 20, kNext}},
         0,
         9,
         "0n:11 9n:22 "},
        {"standard and next",
         {{0, 1, kStandard}, {9, 2, kStandard}},
         {{0, 10, kNext}, {9, 20, kStandard}},
         0,
         9,
         "0:11 1:21 9:22 "},
        {"next alone",
         {{0, 1, kNext}, {9, 5, kStandard}},
         {{4, 10, kStandard}},
         0,
         9,
         "0:11 1:15 4:15 9:15 "},
        {"keys closer than the second key",
         {{0, 1, kStandard}, {0.5, 2, kStandard}, {9, 3, kStandard}},
         {},
         0,
         9,
         "0:1 0.5:2 9:3 "},
        {"from the start to the stop",
         {{0, 1, kStandard}, {2, 2, kStandard}, {4, 3, kStandard}, {9, 3, kStandard}},
         {},
         2,
         4,
         "2:2 4:3 "},
        {"nothing after the stop", {{5, 1, kStandard}}, {}, 0, 4, ""},
        {"no key from the start on", {{0, 1, kStandard}}, {{1, 2, kStandard}}, 9, 10, "9:3 10:3 "},
    };
    for (const auto& row : kRows) {
        SCOPED_TRACE(row.name);
        const NodePtr source = MakeChannel(KDataTypeNumber, "a");
        AddSteps(source.get(), row.base);
        AddSteps(source->CreateLayerAt(GlissaLayerInfo(1, nullptr)), row.layer);
        const NodePtr merged = MakeChannel(KDataTypeNumber, "b");
        GLISSA_ConstantCurveMerge(merged.get(), source.get(), Steps(row.start), Steps(row.stop));
        EXPECT_EQ(row.merged, StepsOf(*merged->FCurveGet()));
    }
    // A key of one channel is one of all.
    const NodePtr source = MakeChannel(KDataTypeLclTranslation, "a");
    AddSteps(source->Get(0), {{0, 1, kStandard}});
    AddSteps(source->Get(2), {{0, 5, kStandard}, {8, 6, kStandard}});
    const NodePtr merged = MakeChannel(KDataTypeLclTranslation, "b");
    GLISSA_ConstantCurveMerge(merged.get(), source.get(), kFromStart, kToEnd);
    EXPECT_EQ("0:1 8:1 ", StepsOf(*merged->Get(0)->FCurveGet()));
    EXPECT_EQ("0:5 8:6 ", StepsOf(*merged->Get(2)->FCurveGet()));
}

TEST_F(PlotMerge, InterpolationIsTheSameWhereEveryKeyHasABitOfTheMask)
{
    const NodePtr node = MakeChannel(KDataTypeLclTranslation, "a");
    EXPECT_FALSE(GLISSA_IsAllSameInterpolation(node.get(), 0xF, true));
    AddSteps(node->Get(1), {{0, 1, kStandard}, {1, 1, kNext}});
    GlissaNode* const layer = node->CreateLayerAt(GlissaLayerInfo(3, nullptr));
    AddSteps(layer->Get(2), {{0, 1, kStandard}, {1, 1, eInterpolationLinear}});
    const struct
    {
        unsigned mask;
        bool chain;
        bool isSame;
    } kRows[] = {{eInterpolationConstant, false, true},
                 {eInterpolationConstant, true, false},
                 {eInterpolationConstant | eInterpolationLinear, true, true},
                 {eInterpolationLinear, true, false},
                 {eConstantNext, false, false}};
    for (const auto& row : kRows) {
        EXPECT_EQ(row.isSame, GLISSA_IsAllSameInterpolation(node.get(), row.mask, row.chain));
    }
}

// The reference rises by 10 in the first second and is level in the second one.
TEST_F(PlotMerge, AKeyIsBrokenWhereASlopeOfTheReferenceDiffers)
{
    constexpr unsigned kAuto = eInterpolationCubic | eTangentAuto;
    constexpr unsigned kUserAtTen = eInterpolationCubic | eTangentUser;
    const struct
    {
        const char* name;
        unsigned flags;
        double period;
        double tolerance;
        bool isBroken;
    } kRows[] = {{"automatic", kAuto, 0.01, 1.0, true},
                 {"slope 10 on both sides", kUserAtTen, 0.01, 1.0, true},
                 {"continuity", eInterpolationCubic | eTangentTCB, 0.01, 1.0, true},
                 {"within the tolerance", kAuto, 0.01, 10.5, false},
                 {"no period", kAuto, 0.0, 1.0, false},
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

// By the definition: at each point that divides a span the curves agree, or it is one step wide.
TEST_F(PlotMerge, RefinementLeavesNoPointBeyondTheToleranceWithinTheStepLimit)
{
    for (int seed = 0; seed < 100; ++seed) {
        SCOPED_TRACE(seed);
        Random random(static_cast<std::uint64_t>(seed));
        const NodePtr reference = MakeChannel(KDataTypeVector2, "reference");
        const NodePtr node = MakeChannel(KDataTypeVector2, "keys");
        for (int i = 0; i <= 40; ++i) {
            reference->Get(0)->FCurveGet()->KeyAppendFast(Seconds(i / 20.0),
                                                          static_cast<float>(random.Signed()));
        }
        Glissa& curve = *node->Get(0)->FCurveGet();
        for (const double end : {0.0, 2.0}) {
            curve.KeyAppendFast(Seconds(end), 0.0f);
        }
        const int parts = 1 + random.Below(4);
        const double tolerance = 0.02 * random.Scale(0, 4);
        GLISSA_IncreaseFidelity(node.get(), reference.get(), tolerance, parts, seed % 2 == 0, kStep,
                                1.0, seed % 3 == 0, nullptr, nullptr);
        EXPECT_TRUE(parts > 1 || curve.KeyGetCount() == 2);
        EXPECT_EQ(seed % 3 == 0 ? curve.KeyGetCount() - 2 : 0,
                  node->Get(1)->FCurveGet()->KeyGetCount());
        // Later keys change the slopes around earlier ones: the last span alone is sure.
        const int last = curve.KeyGetCount() - 1;
        const KTime from = curve.KeyGetTime(last - 1);
        const KTime part = (curve.KeyGetTime(last) - from) / parts;
        for (int i = 1; i < parts && part > kStep; ++i) {
            const KTime at = from + part * i;
            EXPECT_NEAR(reference->Get(0)->FCurveGet()->Evaluate(at, nullptr),
                        curve.Evaluate(at, nullptr), tolerance);
        }
        for (int i = 1; i <= last && parts > 1; ++i) {
            EXPECT_GT(curve.KeyGetTime(i) - curve.KeyGetTime(i - 1), kStep);
        }
    }
}

TEST_F(PlotMerge, TheSettingSelectsTheRotationFilter)
{
    bool none[3] = {};
    double limits[3] = {};
    const struct
    {
        int filter;
        bool hasLimits;
        const char* keys;
    } kRows[] = {{0, false, "0:170 1:-170 "},
                 {1, false, "0:170 1:-170 "},
                 {2, false, "0:170 1:190 "},
                 {2, true, "0:-190 1:-170 "}};
    const int before = GLISSA_GetRotationFilterToApply();
    for (const auto& row : kRows) {
        SCOPED_TRACE(row.filter);
        const NodePtr node = MakeChannel(KDataTypeLclRotation, "R");
        for (int i = 0; i < 3; ++i) {
            AddKeys(node->Get(i), {{0.0, i == 0 ? 170.0f : 0.0f}, {1.0, i == 0 ? -170.0f : 0.0f}});
        }
        bool onX[3] = {true, false, false};
        GLISSA_SetRotationFilterToApply(row.filter);
        GLISSA_ApplyRotationFilter(node.get(), kFromStart, kToEnd, none, limits,
                                   row.hasLimits ? onX : nullptr, limits);
        if (row.filter == 1) {
            EXPECT_GT(node->Get(0)->FCurveGet()->KeyGetCount(), 2);
        } else {
            EXPECT_EQ(row.keys, KeysOf(*node->Get(0)->FCurveGet()));
        }
    }
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
