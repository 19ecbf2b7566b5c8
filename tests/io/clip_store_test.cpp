// Copyright (c) 2026 The glissa authors
// SPDX-License-Identifier: MIT

// Clips are read back from their files, and files with invalid clips are refused. These are written
// as documents of the store, so that their checksum and encoding are valid.

#include "io/clip_store.h"

#include "corvekit/store/tdf.h"
#include "glissa/curve/curve.h"
#include "glissa/node/node.h"
#include "io/bvh_reader.h"
#include "tests/support/text_document.h"

#include <gtest/gtest.h>

#include <cmath>
#include <functional>
#include <limits>
#include <sstream>

namespace
{
constexpr const char* kText =
    "HIERARCHY\nROOT Hips\n{\nOFFSET 1 2 0.1\nCHANNELS 2 Zrotation Xposition\n"
    "End Tip\n{\nOFFSET 0 1 0\n}\nJOINT Leg\n{\nOFFSET 0 0 0\n}\n}\n"
    "MOTION\nFrames: 3\nFrame Time: .0333333\n0.1 1\n0.25 -7.3\n0.3 1e-20\n";

std::string Bytes(KTdf& pTdf)
{
    std::ostringstream stream;
    EXPECT_TRUE(pTdf.Save(stream));
    return stream.str();
}

std::string Bytes(const Clip& pClip, const CurveClip& pCurves)
{
    KTdf tdf;
    StoreClip(pClip, pCurves, tdf);
    return Bytes(tdf);
}

StoredClip Parse(const std::string& pBytes)
{
    IoResult<StoredClip> stored = ParseClipStore(pBytes, "a.glissa");
    EXPECT_TRUE(stored) << stored.GetError().GetText();
    return stored ? std::move(*stored) : StoredClip();
}

void ExpectRefused(const std::string& pBytes, const char* pReason)
{
    const IoResult<StoredClip> stored = ParseClipStore(pBytes, "a.glissa");
    ASSERT_FALSE(stored) << pReason;
    EXPECT_NE(std::string::npos, stored.GetError().GetText().find(pReason))
        << stored.GetError().GetText();
}

TEST(ClipStore, AClipIsReadBack)
{
    Clip clip = *ParseBvh(kText, "a.bvh");
    CurveClip curves(clip);
    Glissa& turn = *curves.GetCurves()[0].mCurve;
    turn.SetPostExtrapolation(eExtrapolationMirror);
    turn.SetPostExtrapolationCount(3);
    turn.KeySetTangeantMode(1, eTangentUserBreak);
    turn.KeySetRightDerivative(1, 12.5f);
    const std::string bytes = Bytes(clip, curves);
    EXPECT_TRUE(IsStore(bytes) && !IsStore(kText));

    const StoredClip stored = Parse(bytes);
    EXPECT_TRUE(stored.mFaults.empty());
    EXPECT_EQ(bytes, Bytes(stored.mClip, stored.mCurves));
    Glissa& back = *stored.mCurves.Find("Hips/R/Z")->mCurve;
    EXPECT_EQ(12.5f, back.KeyGetRightDerivative(1));
    EXPECT_EQ(turn.Evaluate(KTime::FromSeconds(0.5), nullptr),
              back.Evaluate(KTime::FromSeconds(0.5), nullptr));
    // The values are the doubles of the file, not widened floats.
    EXPECT_TRUE(clip == SampleClip(stored.mClip, stored.mCurves));
}

TEST(ClipStore, RefusesAnInvalidClip)
{
    const struct
    {
        std::function<void(Clip& pClip)> spoil;
        const char* says;
    } cases[] = {
        {[](Clip& pClip) { pClip.mJoints.clear(); }, "no joint"},
        {[](Clip& pClip) { pClip.mJoints[0].mOffset[2] = 1e39; }, "joint 0"},
        {[](Clip& pClip) { pClip.mJoints[0].mChannels[0] = EClipChannel(6); }, "channels"},
        {[](Clip& pClip) { pClip.mJoints[0].mEndSites[0].mChildrenBefore = 2; }, "end site"},
        {[](Clip& pClip) { pClip.mJoints[0].mName = "Hip"; },
         "the tree: channel 'Hips' does not belong to the joints"},
        {[](Clip& pClip) {
             pClip.mJoints.resize(4);
             pClip.mJoints[3].mParent = 0;
         },
         "joint 3: does not follow"},
        {[](Clip& pClip) { pClip.mFrameCount = -1; }, "frame count"},
        {[](Clip& pClip) { pClip.mFrameTimeText = "0.04"; }, "'0.04'"},
        {[](Clip& pClip) { pClip.mFramePeriod = KTime(5); }, "5 ticks"},
        {[](Clip& pClip) {
             pClip.mJoints.resize(600);
             for (int i = 2; i < 600; ++i) {
                 pClip.mJoints[static_cast<std::size_t>(i)].mParent = i - 1;
             }
         },
         "too deep"},
    };
    const Clip good = *ParseBvh(kText, "a.bvh");
    const CurveClip curves(good);
    for (const auto& each : cases) {
        Clip clip = good;
        each.spoil(clip);
        ExpectRefused(Bytes(clip, curves), each.says);
    }
    KTdf empty;
    ExpectRefused(Bytes(empty),
                  "a.glissa: holds no clip: there is no field \"Clip\" with a version");
    const std::string bytes = Bytes(good, curves);
    ExpectRefused(bytes.substr(0, bytes.size() / 2), "damaged or cut");
}

TEST(ClipStore, DamageWithinACurveIsListed)
{
    const Clip clip = *ParseBvh(kText, "a.bvh");
    CurveClip curves(clip);
    curves.GetCurves()[0].mCurve->KeyAppendFast(KTime(1), 5.0f);  // out of order
    curves.GetCurves()[1].mCurve->KeySetValue(2, std::numeric_limits<float>::infinity());
    EXPECT_EQ((std::vector<std::string>{
                  "curve Hips/R/Z: 3 of 4 stored keys were read, the others are damaged",
                  "curve Hips/T/X: key 2 at tick 9408000: the value is not finite"}),
              Parse(Bytes(clip, curves)).mFaults);
}

// The curves of kText and two layers of keys on the rotation, one muted, one of half the weight.
CurveClip LayeredCurves(const Clip& pClip)
{
    CurveClip curves(pClip);
    NodeClip& nodes = curves.GetNodes();
    HostLayer& first = nodes.GetLayers().Add("first");
    first.mMuted = true;
    HostLayer& half = nodes.GetLayers().Add("half");
    half.mWeight->SetValue(0.5f);
    half.mRotationMode = eRotationByChannel;
    GlissaNode* const turn = nodes.GetTransform(0, KDataTypeLclRotation);
    for (const HostLayer* const each : {&half, &first}) {
        turn->CreateLayerAt(GlissaLayerInfo(each->mId, each));
    }
    turn->LayerGet(half.mId)->Get(2)->FCurveGet()->KeyAppendFast(KTime(), 10.0f);
    turn->LayerGet(first.mId)->Get(2)->FCurveGet()->KeyAppendFast(KTime(), 1000.0f);
    return curves;
}

TEST(ClipStore, LayersAreReadBackAndBlended)
{
    const Clip clip = *ParseBvh(kText, "a.bvh");
    const std::string bytes = Bytes(clip, LayeredCurves(clip));
    const StoredClip stored = Parse(bytes);
    EXPECT_TRUE(stored.mFaults.empty());
    EXPECT_EQ(bytes, Bytes(stored.mClip, stored.mCurves));
    const NodeClip& nodes = stored.mCurves.GetNodes();
    GlissaNode* const turn = nodes.GetTransform(0, KDataTypeLclRotation);
    for (const int id : {1, 2}) {
        const HostLayer* const layer = nodes.GetLayers().Find(id);
        ASSERT_TRUE(layer && turn->LayerGet(id));
        EXPECT_EQ(layer, turn->LayerGet(id)->Get(0)->GetLayerInfo().GetLayer());
    }
    EXPECT_EQ(eLayerTypeRotationByChannel, turn->LayerGet(2)->GetLayerType());
    // The rotation is that of the clip and half of 10; the position has no layer.
    const Clip sampled = SampleClip(stored.mClip, stored.mCurves);
    for (int frame = 0; frame < 3; ++frame) {
        EXPECT_FLOAT_EQ(static_cast<float>(clip.GetValue(frame, 0)) + 5.0f,
                        static_cast<float>(sampled.GetValue(frame, 0)));
        EXPECT_EQ(clip.GetValue(frame, 1), sampled.GetValue(frame, 1));
    }
}

TEST(ClipStore, RefusesInvalidLayers)
{
    const struct
    {
        std::function<void(CurveClip& pCurves)> spoil;
        const char* says;
    } cases[] = {
        {[](CurveClip& pCurves) { pCurves.GetNodes().GetLayers().Remove(2); }, "not in the list"},
        {[](CurveClip& pCurves) { pCurves.GetNodes().GetLayers().Find(2)->mName = "first"; },
         "layer 1: its name"},
        {[](CurveClip& pCurves) {
             pCurves.GetNodes().GetLayers().Find(1)->mWeight->SetValue(INFINITY);
         },
         "layer 0: its mode, state or weight"},
        {[](CurveClip& pCurves) {
             GlissaNode* const turn = pCurves.GetNodes().GetTransform(0, KDataTypeLclRotation);
             turn->LayerGet(2)->SetLayerInfo(GlissaLayerInfo(1, nullptr));
         },
         "node Hips/R@first: a layer id must be greater than that of the layer before it"},
        {[](CurveClip& pCurves) {
             pCurves.GetNodes().GetJoint(0)->CreateLayerAt(GlissaLayerInfo(1, nullptr));
         },
         "node Hips: only a translation or a rotation can have layers"},
        {[](CurveClip& pCurves) {
             pCurves.GetNodes().GetJoint(0)->Get(0)->Get(2)->FCurveReplace(nullptr);
         },
         "curve Hips/T/Z: has no \"Default\""},
        {[](CurveClip& pCurves) {
             pCurves.GetNodes().GetJoint(1)->SetLayerInfo(GlissaLayerInfo(1, nullptr));
         },
         "node Leg: is not of the layer of its parent"},
    };
    const Clip clip = *ParseBvh(kText, "a.bvh");
    for (const auto& each : cases) {
        CurveClip curves = LayeredCurves(clip);
        each.spoil(curves);
        ExpectRefused(Bytes(clip, curves), each.says);
    }
    // Damage within a layer is listed with its name.
    CurveClip curves = LayeredCurves(clip);
    Glissa* const curve =
        curves.GetNodes().GetTransform(0, KDataTypeLclRotation)->LayerGet(2)->Get(2)->FCurveGet();
    curve->KeyAppendFast(KTime(-1), 5.0f);
    EXPECT_EQ(std::vector<std::string>{"curve Hips/R/Z@half: 1 of 2 stored keys were read, the "
                                       "others are damaged"},
              Parse(Bytes(clip, curves)).mFaults);
}

TEST(ClipStore, ChannelsOfALayerThatDoNotMatchItsBaseAreListed)
{
    const Clip clip = *ParseBvh(kText, "a.bvh");
    CurveClip curves = LayeredCurves(clip);
    GlissaNode* const layer = curves.GetNodes().GetTransform(0, KDataTypeLclRotation)->LayerGet(2);
    layer->Delete(0);
    for (const char* const name : {"W", "V"}) {
        layer->FindOrCreate(name, true)->SetLayerInfo(layer->GetLayerInfo());
    }
    layer->Get(2)->FCurveGet()->KeyAppendFast(KTime(5), 3.0f);
    const StoredClip stored = Parse(Bytes(clip, curves));
    EXPECT_EQ((std::vector<std::string>{
                  "node Hips/R@half: channel 'X' is not stored: it has zero values",
                  "node Hips/R@half: channel 'W' is not in the base: it is kept without effect",
                  "node Hips/R@half: channel 'V' is not in the base and has no keys: it is left "
                  "out"}),
              stored.mFaults);
}

TEST(ClipStore, FilesOfVersion1AreRead)
{
    KTdf tdf;
    DocumentFromFile(GLISSA_SOURCE_DIR "/tests/data/clip/version_1.txt", tdf);
    const StoredClip first = Parse(Bytes(tdf));
    const StoredClip again = Parse(Bytes(first.mClip, first.mCurves));  // as version 2
    for (const StoredClip* const each : {&first, &again}) {
        EXPECT_TRUE(each->mFaults.empty());
        ASSERT_EQ(3, each->mCurves.Find("Hips/R/Z")->mCurve->KeyGetCount());
        EXPECT_EQ(12.5f, each->mCurves.Find("Hips/R/Z")->mCurve->KeyGetRightDerivative(1));
        EXPECT_EQ(7.0f, each->mCurves.Find("Hips/T/X")->mCurve->GetValue());
        EXPECT_EQ("Tip", each->mClip.mJoints[0].mEndSites[0].mLabel);
    }
}
}  // namespace
