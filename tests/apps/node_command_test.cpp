// Copyright (c) 2026 The glissa authors
// SPDX-License-Identifier: MIT

// Runs the built command on nodes with layers. The values of the clip are constant, so that blends
// can be computed by hand.

#include "apps/glissa/clip_nodes.h"
#include "apps/glissa/node_picture.h"
#include "tests/apps/command_run.h"

#include <nlohmann/json.hpp>

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

    /// Runs an edit of the clip. The clip that it writes is the one to edit next.
    void Edit(Arguments pArguments)
    {
        pArguments.insert(pArguments.begin() + 1, mClip);
        mClip = At("clip" + std::to_string(++mEdits) + ".glissa");
        OutputOf(pArguments + Arguments{"-o", mClip});
    }

    std::string mClip;
    int mEdits = 0;
};

TEST_F(NodeCommand, ATotalIsKeyedOnALayerAndEvaluatedAgain)
{
    Edit({"layer", "--add", "Breath", "--weight", "0.5"});
    Edit({"key", "--node", "Hips/T", "--at", "0", "--layer", "Breath", "--tangent", "linear"});
    Edit({"key", "--node", "Hips/T", "--at", "0", "--layer", "Breath"});
    Edit({"key", "--node", "Hips/T", "--at", "1f", "--total", "12,20,30", "--layer", "Breath"});
    Edit({"key", "--node", "Spine/R", "--at", "0.5", "--total", "30,0,0", "--layer", "Breath"});
    Edit({"layer", "--add", "Lean", "--mode", "passthrough", "--weight", "0.25", "--node", "*/T"});
    Edit({"key", "--node", "Hips/T", "--at", "0.5", "--total", "14,20,30", "--layer", "Lean"});

    // 10 + 0.5 * 4 = 12, and 0.75 * 12 + 0.25 * 20 = 14. Half of a turn by 40 degrees is one by 20.
    EXPECT_EQ("time,Hips/T/X,Hips/T/Y,Hips/T/Z,Hips/T/X @base,Hips/T/Y @base,Hips/T/Z @base,"
              "Hips/T/X @Breath,Hips/T/Y @Breath,Hips/T/Z @Breath,"
              "Hips/T/X @Lean,Hips/T/Y @Lean,Hips/T/Z @Lean\n"
              "0.5,14,20,30,10,20,30,2,0,0,5,5,7.5\n"
              // Breath rises from 0 to 4 and from 4 to 8: 0.75 * (10 + 4) + 5.
              "1,15.5,20,30,10,20,30,4,0,0,5,5,7.5\n",
              OutputOf({"eval", mClip, "--node", "Hips/T", "--layers", "--from", "0.5", "--to", "1",
                        "--post", "relative"}));
    const Csv r = ParseCsv(
        OutputOf({"eval", mClip, "--node", "Spine/R", "--layers", "--from", "0.5", "--to", "0.5"}));
    ASSERT_EQ(10u, r.rows.at(0).size());
    EXPECT_NEAR(30.0, r.rows[0][1], 1e-5);
    EXPECT_NEAR(10.0, r.rows[0][4], 1e-5);
    EXPECT_NEAR(20.0, r.rows[0][7], 1e-5);
    // --tangent sets the tangent of a key. Without it a new key is automatic, an old one unchanged.
    const ClipCurves clip = LoadClip(mClip);
    GlissaNode* const hips = clip.owner.GetNodes().GetTransform(0, KDataTypeLclTranslation);
    const Glissa& breath = *hips->LayerGet(1)->Get(0)->FCurveGet();
    EXPECT_EQ(eInterpolationLinear, breath.KeyGetInterpolation(0));
    EXPECT_EQ(eInterpolationCubic, breath.KeyGetInterpolation(1));
    EXPECT_EQ(eTangentAuto, breath.KeyGetTangeantMode(1, true));
}

TEST_F(NodeCommand, APoseHasTheValuesOfEachNode)
{
    EXPECT_EQ("node     type                         X              Y              Z\n"
              "Hips/T   Lcl Translation       10.00000       20.00000       30.00000\n"
              "Hips/R   Lcl Rotation           0.00000        0.45000        0.00000\n"
              "Spine/R  Lcl Rotation          10.00000        0.00000        0.00000\n",
              OutputOf({"pose", mClip, "--at", "0.25"}));
    Edit({"layer", "--add", "Shift", "--node", "*/T"});
    Edit({"key", "--node", "Hips/T", "--at", "0.5", "--total", "10.1,20,30", "--layer", "Shift"});
    const auto pose = nlohmann::json::parse(OutputOf(
        {"pose", mClip, "--at", "1f", "--node", "*/T", "--node", "Hips/R", "--format", "json"}));
    EXPECT_EQ(0.5, pose["time"]);
    const nlohmann::json expected = {{"name", "Hips/R"},
                                     {"type", "Lcl Rotation"},
                                     {"unit", "degrees"},
                                     {"order", "YXZ"},
                                     {"values", {0.0, 0.45, 0.0}}};
    EXPECT_EQ(expected, pose["nodes"][1]);
    // A blend is a double and not a rounded float.
    EXPECT_EQ(10.0 + static_cast<double>(static_cast<float>(static_cast<double>(10.1f) - 10.0)),
              pose["nodes"][0]["values"][0].get<double>());
}

TEST_F(NodeCommand, ATotalThatCannotBeReachedIsRefused)
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
    const auto key = [&](const std::string& pClip, const Arguments& pArguments) {
        return Arguments{"key", pClip, "--at", "0.5", "-o", At("kept.glissa")} + pArguments;
    };
    ExpectFailures({
        {1, key(mClip, {"-n", "Hips/T", "--total", "1,2,3", "--layer", "Low"}), "'Low' is locked"},
        {1, key(muted, {"-n", "Hips/T", "--total", "1,2,3", "--layer", "Top"}), "'Top' is muted"},
        {1, key(covered, {"-n", "Hips/T", "--total", "1,2,3", "--layer", "base"}),
         "Hips/T: 1,2,3 at 0.5 s cannot be reached, the result would be 0,0,0: the layer 'Top' "
         "above "
         "overrides it"},
        {1, key(mixed, {"-n", "Spine/R", "--total", "40,20,60", "--layer", "Mix"}),
         "mixes rotations"},
        {1, key(low, {"-n", "Spine/R", "--total", "90,0,0", "--layer", "Low"}),
         "at most 18 degrees"},
        {1, key(low, {"-n", "Spine/R", "--total", "90,0"}), "Spine/R has 3 values, --total has 2"},
        {1, key(low, {"-n", "Tail/*"}),
         "no node matches 'Tail/*'; the nodes are Hips/T, Hips/R, Spine/R"},
        {1, key(low, {"-n", "Hips/T", "--layer", "Bow"}),
         "no layer is named 'Bow'; the layers are base, Low"},
        // Of two nodes the second one: the first one is not written either.
        {1, key(low, {"-n", "Hips/R", "-n", "Spine/R", "--total", "-17,0,0", "--layer", "Low"}),
         "Spine/R: -17,0,0 at 0.5 s cannot be reached"},
        {2, key(low, {"-n", "Hips/T", "--total", "1,1e39,3"}), "'1e39'"},
        {2, key(low, {"-n", "Hips/T", "-c", "Hips/T/X"}), "cannot be combined"},
        {2, key(low, {"-n", "Hips/T", "--tangent", "soft"}), "'soft'"},
        {2, key(low, {"-c", "Hips/T/X", "--insert", "1"}), "need --node"},
        {2, {"eval", low, "-n", "*", "--slope"}, "exact slope"},
        {2, {"plot", low, "-n", "Hips/*", "--tangents"}, "--tangents needs --curve"},
    });
}

TEST_F(NodeCommand, APictureOfANodeHasTheBreaksOfAllCurvesAndWeights)
{
    Edit({"layer", "--add", "Breath", "--node", "Hips/T"});
    Edit({"key", "--node", "Hips/T", "--at", "0.3", "--total", "12,20,30", "--layer", "Breath"});
    const ClipCurves clip = LoadClip(mClip);
    Glissa& weight = *clip.owner.GetNodes().GetLayers().Find("Breath")->mWeight;
    weight.KeyAppendFast(KTime::FromSeconds(0.2), 0.0f);
    weight.KeyAppendFast(KTime::FromSeconds(0.4), 1.0f);
    const float color[] = {0.5f, 0.0f, 0.25f};
    clip.curves.front().curve->SetColor(color);
    std::vector<KTime> breaks;
    for (const double seconds : {0.0, 0.2, 0.3, 0.4, 0.5, 1.0}) {
        breaks.push_back(KTime::FromSeconds(seconds));
    }
    std::vector<PictureCurve> curves = MakeNodePicture(clip, ChooseNodes(clip, {"Hips/T"}).front(),
                                                       {KTime(), KTime::FromSeconds(1.0)}, true);
    ASSERT_EQ(9u, curves.size());
    for (const PictureCurve& each : curves) {
        EXPECT_EQ(breaks, each.breaks);
    }
    EXPECT_TRUE(curves[0].strong && curves[0].keys.empty());
    EXPECT_EQ(3u, curves[3].keys.size());
    EXPECT_EQ("Hips/T/X @Breath", curves[6].name);
    EXPECT_EQ("Hips/T/X", curves[6].whole);
    EXPECT_EQ(2, curves[6].part);
    ASSERT_TRUE(curves[0].colour && curves[6].colour && !curves[1].colour);
    EXPECT_EQ(0.25, curves[6].colour->blue);
    // The weight is a half at 0.3 s.
    ASSERT_EQ(1u, curves[6].keys.size());
    EXPECT_NEAR(1.0, curves[6].keys[0].value, 1e-6);
    EXPECT_NEAR(11.0, curves[0].value(KTime::FromSeconds(0.3)), 1e-6);

    EXPECT_TRUE(OutputOf({"plot", mClip, "--node", "Hips/*", "--layers"}).ends_with("</svg>\n"));
}
}  // namespace
