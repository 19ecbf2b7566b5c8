// Copyright (c) 2026 The glissa authors
// SPDX-License-Identifier: MIT

// Nodes with layers through the built command. The clip stands still, so that what layers give can
// be worked out by hand.

#include "apps/glissa/clip_nodes.h"
#include "apps/glissa/node_picture.h"
#include "tests/apps/command_run.h"

#include <gtest/gtest.h>
#include <nlohmann/json.hpp>

#include <initializer_list>
#include <string>
#include <vector>

namespace
{
constexpr const char* kStill = R"(HIERARCHY
ROOT Hips
{
  OFFSET 0 0 0
  CHANNELS 6 Xposition Yposition Zposition Zrotation Xrotation Yrotation
  JOINT Spine
  {
    OFFSET 0 5 0
    CHANNELS 3 Zrotation Xrotation Yrotation
    End Site
    {
      OFFSET 0 5 0
    }
  }
}
MOTION
Frames: 3
Frame Time: 0.5
10 20 30 0 0 0.45 0 10 0
10 20 30 0 0 0.45 0 10 0
10 20 30 0 0 0.45 0 10 0
)";

class NodeCommand : public Command
{
protected:
    void SetUp() override
    {
        Command::SetUp();
        WriteFile(At("still.bvh"), kStill);
        mClip = At("still.bvh");
    }

    /// Runs an edit of the clip so far, and goes on with what it writes.
    void Edit(std::vector<std::string> pArguments)
    {
        pArguments.insert(pArguments.begin() + 1, mClip);
        mClip = At("clip" + std::to_string(++mEdits) + ".glissa");
        pArguments.insert(pArguments.end(), {"-o", mClip});
        const Result run = Run(pArguments);
        ASSERT_EQ(0, run.status) << run.err;
    }

    std::string mClip;
    int mEdits = 0;
};

TEST_F(NodeCommand, ATotalIsSplitAmongTheLayersAndShownAgain)
{
    Edit({"layer", "--add", "Breath", "--weight", "0.5"});
    Edit({"key", "--node", "Hips/T", "--at", "0", "--layer", "Breath", "--tangent", "linear"});
    Edit({"key", "--node", "Hips/T", "--at", "0", "--layer", "Breath"});
    Edit({"key", "--node", "Hips/T", "--at", "1f", "--total", "12,20,30", "--layer", "Breath"});
    Edit({"key", "--node", "Spine/R", "--at", "0.5", "--total", "30,0,0", "--layer", "Breath"});
    Edit({"layer", "--add", "Lean", "--mode", "passthrough", "--weight", "0.25", "--node", "*/T"});
    Edit({"key", "--node", "Hips/T", "--at", "0.5", "--total", "14,20,30", "--layer", "Lean"});

    // 10 + 0.5 * 4 = 12, and 0.75 * 12 + 0.25 * 20 = 14. Half of a turn by 40 degrees is one by 20.
    const Result t = Run({"eval", mClip, "--node", "Hips/T", "--layers", "--from", "0.5", "--to",
                          "1", "--post", "relative"});
    EXPECT_EQ("time,Hips/T/X,Hips/T/Y,Hips/T/Z,Hips/T/X @base,Hips/T/Y @base,Hips/T/Z @base,"
              "Hips/T/X @Breath,Hips/T/Y @Breath,Hips/T/Z @Breath,"
              "Hips/T/X @Lean,Hips/T/Y @Lean,Hips/T/Z @Lean\n"
              "0.5,14,20,30,10,20,30,2,0,0,5,5,7.5\n"
              // Breath rises from 0 to 4 and from 4 to 8: 0.75 * (10 + 4) + 5.
              "1,15.5,20,30,10,20,30,4,0,0,5,5,7.5\n",
              t.out)
        << t.err;
    const Csv r = ParseCsv(
        Run({"eval", mClip, "--node", "Spine/R", "--layers", "--from", "0.5", "--to", "0.5"}).out);
    ASSERT_EQ(10u, r.rows.at(0).size());
    EXPECT_NEAR(30.0, r.rows[0][1], 1e-5);
    EXPECT_NEAR(10.0, r.rows[0][4], 1e-5);
    EXPECT_NEAR(20.0, r.rows[0][7], 1e-5);
    const ClipCurves clip = LoadClip(mClip);
    GlissaNode* const spine = clip.owner.GetNodes().GetTransform(1, KDataTypeLclRotation);
    ASSERT_EQ(1, spine->LayerGet(1)->Get(0)->FCurveGet()->KeyGetCount());
    EXPECT_NEAR(40.0f, spine->LayerGet(1)->Get(0)->FCurveGet()->KeyGetValue(0), 1e-4f);
    // A tangent asked for is that of the key, which keeps it; without one a key is automatic.
    Glissa& breath = *clip.owner.GetNodes()
                          .GetTransform(0, KDataTypeLclTranslation)
                          ->LayerGet(1)
                          ->Get(0)
                          ->FCurveGet();
    EXPECT_EQ(eInterpolationLinear, breath.KeyGetInterpolation(0));
    EXPECT_EQ(eInterpolationCubic, breath.KeyGetInterpolation(1));
    EXPECT_EQ(eTangentAuto, breath.KeyGetTangeantMode(1, true));

    const std::vector<std::string> all = {"eval", mClip, "-n", "*", "--layers", "--rate", "7"};
    const Csv csv = ParseCsv(Run(all).out);
    std::vector<std::string> asJson = all;
    asJson.insert(asJson.end(), {"--format", "json"});
    const nlohmann::json json = nlohmann::json::parse(Run(asJson).out);
    ASSERT_EQ(csv.names.size(), json["curves"].size() + 1);
    EXPECT_EQ("Lean", json["curves"][9]["layer"]);
    for (std::size_t column = 1; column < csv.names.size(); ++column) {
        EXPECT_EQ(csv.names[column], json["curves"][column - 1]["name"]);
        for (std::size_t row = 0; row < csv.rows.size(); ++row) {
            EXPECT_EQ(csv.rows[row][column], json["curves"][column - 1]["values"][row]);
        }
    }
}

TEST_F(NodeCommand, APoseTellsEveryNode)
{
    EXPECT_EQ("node     type                         X              Y              Z\n"
              "Hips/T   Lcl Translation       10.00000       20.00000       30.00000\n"
              "Hips/R   Lcl Rotation           0.00000        0.45000        0.00000\n"
              "Spine/R  Lcl Rotation          10.00000        0.00000        0.00000\n",
              Run({"pose", mClip, "--at", "0.25"}).out);
    Edit({"layer", "--add", "Shift", "--node", "*/T"});
    Edit({"key", "--node", "Hips/T", "--at", "0.5", "--total", "10.1,20,30", "--layer", "Shift"});
    const Result run =
        Run({"pose", mClip, "--at", "1f", "--node", "*/T", "--node", "Hips/R", "--json"});
    ASSERT_EQ(0, run.status) << run.err;
    // A blend is a double, a curve a float: each has the digits that read back as the same number.
    const nlohmann::json pose = nlohmann::json::parse(run.out);
    EXPECT_EQ(0.5, pose["time"]);
    const nlohmann::json expected = {{"name", "Hips/R"},
                                     {"type", "Lcl Rotation"},
                                     {"unit", "degrees"},
                                     {"order", "YXZ"},
                                     {"values", {0.0, 0.45, 0.0}}};
    EXPECT_EQ(expected, pose["nodes"][1]);
    const double blend = pose["nodes"][0]["values"][0].get<double>();
    EXPECT_EQ(10.0 + static_cast<double>(static_cast<float>(static_cast<double>(10.1f) - 10.0)),
              blend);
    EXPECT_NE(10.1, blend);
}

TEST_F(NodeCommand, WhatCannotBeReachedIsRefusedAndNothingIsWritten)
{
    Edit({"layer", "--add", "Low", "--weight", "0.1"});
    const std::string low = mClip;
    Edit({"layer", "--add", "Mix", "--mode", "passthrough", "--weight", "0.5"});
    const std::string mixed = mClip;
    Edit({"layer", "--add", "Top", "--mode", "override"});
    const std::string covered = mClip;
    Edit({"layer", "--mute", "Top"});
    const std::string muted = mClip;
    Edit({"layer", "--lock", "Low"});
    WriteFile(At("kept.glissa"), "precious");
    const std::vector<std::string> before = Files();
    const struct
    {
        int status;
        std::string clip;
        std::vector<std::string> arguments;
        const char* says;
    } cases[] = {
        {1, mClip, {"-n", "Hips/T", "--total", "1,2,3", "--layer", "Low"}, "'Low' is locked"},
        {1, muted, {"-n", "Hips/T", "--total", "1,2,3", "--layer", "Top"}, "'Top' is muted"},
        {1,
         covered,
         {"-n", "Hips/T", "--total", "1,2,3", "--layer", "base"},
         "Hips/T: 1,2,3 at 0.5 s cannot be reached, it would show 0,0,0: the layer 'Top' above "
         "overrides it"},
        {1, mixed, {"-n", "Spine/R", "--total", "40,20,60", "--layer", "Mix"}, "mixes rotations"},
        {1, low, {"-n", "Spine/R", "--total", "90,0,0", "--layer", "Low"}, "18 degrees at most"},
        {1, low, {"-n", "Spine/R", "--total", "90,0"}, "Spine/R has 3 values, --total gives 2"},
        {1, low, {"-n", "Tail/*"}, "no node matches 'Tail/*'; there are Hips/T, Hips/R, Spine/R"},
        {1,
         low,
         {"-n", "Hips/T", "--layer", "Bow"},
         "no layer is named 'Bow'; there are base, Low"},
        // The second of two: the first one is not written either.
        {1,
         low,
         {"-n", "Hips/R", "-n", "Spine/R", "--total", "-17,0,0", "--layer", "Low"},
         "Spine/R: -17,0,0 at 0.5 s cannot be reached"},
        {2, low, {"-n", "Hips/T", "--total", "1,,3"}, "--total: '' in '1,,3'"},
        {2, low, {"-n", "Hips/T", "--total", "1,1e39,3"}, "'1e39'"},
        {2, low, {"-n", "Hips/T", "-c", "Hips/T/X"}, "cannot be combined"},
        {2, low, {"-n", "Hips/T", "--insert", "1"}, "--insert 1"},
        {2, low, {"-n", "Hips/T", "--tangent", "soft"}, "'soft'"},
        {2, low, {"-c", "Hips/T/X", "--insert", "1"}, "need --node"},
    };
    for (const auto& each : cases) {
        SCOPED_TRACE(each.says);
        std::vector<std::string> arguments = {"key", each.clip, "--at",
                                              "0.5", "-o",      At("kept.glissa")};
        arguments.insert(arguments.end(), each.arguments.begin(), each.arguments.end());
        const Result run = Run(arguments);
        EXPECT_EQ(each.status, run.status) << run.err;
        EXPECT_NE(std::string::npos, run.err.find(each.says)) << run.err;
        EXPECT_EQ("precious", ReadFile(At("kept.glissa")));
        EXPECT_EQ(before, Files());
    }
    for (const auto& [arguments, says] :
         {std::pair(std::vector<std::string>{"eval", low, "-n", "*", "--slope"}, "exact slope"),
          std::pair(std::vector<std::string>{"eval", low, "-a", "--layers"}, "--layers"),
          std::pair(std::vector<std::string>{"eval", low, "-a", "-n", "*"}, "cannot be combined"),
          std::pair(std::vector<std::string>{"pose", low}, "--at")}) {
        const Result run = Run(arguments);
        EXPECT_EQ(2, run.status);
        EXPECT_NE(std::string::npos, run.err.find(says)) << run.err;
    }
}

TEST_F(NodeCommand, APictureBendsWhereAnyCurveOrWeightDoes)
{
    Edit({"layer", "--add", "Breath", "--node", "Hips/T"});
    Edit({"key", "--node", "Hips/T", "--at", "0.3", "--total", "12,20,30", "--layer", "Breath"});
    const ClipCurves clip = LoadClip(mClip);
    Glissa& weight = *clip.owner.GetNodes().GetLayers().Find("Breath")->mWeight;
    weight.KeyAppendFast(KTime::FromSeconds(0.2), 0.0f);
    weight.KeyAppendFast(KTime::FromSeconds(0.4), 1.0f);
    const float color[] = {0.5f, 0.0f, 0.25f};
    clip.curves.front().curve->SetColor(color);
    const auto seconds = [](std::initializer_list<double> pTimes) {
        std::vector<KTime> times;
        for (const double each : pTimes) {
            times.push_back(KTime::FromSeconds(each));
        }
        return times;
    };
    std::vector<PictureCurve> curves = MakeNodePicture(clip, ChooseNodes(clip, {"Hips/T"}).front(),
                                                       {KTime(), KTime::FromSeconds(1.0)}, true);
    ASSERT_EQ(9u, curves.size());
    for (const PictureCurve& each : curves) {
        EXPECT_EQ(seconds({0.0, 0.2, 0.3, 0.4, 0.5, 1.0}), each.breaks);
    }
    EXPECT_TRUE(curves[0].strong && curves[0].keys.empty());
    EXPECT_EQ(3u, curves[3].keys.size());
    EXPECT_EQ("Hips/T/X @Breath", curves[6].name);
    EXPECT_EQ("Hips/T/X", curves[6].whole);
    EXPECT_EQ(2, curves[6].part);
    ASSERT_TRUE(curves[0].colour && curves[6].colour && !curves[1].colour);
    EXPECT_EQ(0.25, curves[6].colour->blue);
    // Half of the weight is there at its middle.
    ASSERT_EQ(1u, curves[6].keys.size());
    EXPECT_NEAR(1.0, curves[6].keys[0].value, 1e-6);
    EXPECT_NEAR(11.0, curves[0].value(KTime::FromSeconds(0.3)), 1e-6);

    const Result run = Run({"plot", mClip, "--node", "Hips/*", "--layers"});
    EXPECT_EQ(0, run.status) << run.err;
    EXPECT_EQ("</svg>\n", run.out.substr(run.out.size() - 7));
    EXPECT_EQ(2, Run({"plot", mClip, "--node", "Hips/*", "--tangents"}).status);
}
}  // namespace
