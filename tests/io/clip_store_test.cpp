// Copyright (c) 2026 The glissa authors
// SPDX-License-Identifier: MIT

// What a clip file holds comes back, and what a file says that cannot be is refused. Faulty files
// are made by writing another document, so that checksum and encoding are in order.

#include "io/clip_store.h"

#include "corvekit/store/tdf.h"
#include "glissa/curve/curve.h"
#include "glissa/node/node.h"
#include "io/bvh_reader.h"
#include "tests/support/text_document.h"

#include <gtest/gtest.h>

#include <cmath>
#include <functional>
#include <iterator>
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

TEST(ClipStore, WhatIsStoredComesBack)
{
    const Clip clip = *ParseBvh(kText, "a.bvh");
    CurveClip curves(clip);
    Glissa& turn = *curves.GetCurves()[0].mCurve;
    turn.SetPostExtrapolation(eExtrapolationMirror);
    turn.SetPostExtrapolationCount(3);
    turn.KeySetTangeantMode(1, eTangentUserBreak);
    turn.KeySetRightDerivative(1, 12.5f);
    const std::string bytes = Bytes(clip, curves);
    ASSERT_TRUE(IsStore(bytes));
    EXPECT_FALSE(IsStore(kText));

    const IoResult<StoredClip> stored = ParseClipStore(bytes, "a.glissa");
    ASSERT_TRUE(stored) << stored.GetError().GetText();
    EXPECT_TRUE(stored->mFaults.empty());
    EXPECT_EQ(bytes, Bytes(stored->mClip, stored->mCurves));
    Glissa& back = *stored->mCurves.Find("Hips/R/Z")->mCurve;
    EXPECT_EQ(12.5f, back.KeyGetRightDerivative(1));
    for (const double seconds : {0.01, 0.05, 0.2, 0.5}) {
        const KTime time = KTime::FromSeconds(seconds);
        EXPECT_EQ(turn.Evaluate(time, nullptr), back.Evaluate(time, nullptr)) << seconds;
    }
    // The doubles of the file, not the floats widened.
    EXPECT_EQ(clip.mValues, SampleClip(stored->mClip, stored->mCurves).mValues);
    EXPECT_EQ(clip.mFramePeriod, stored->mClip.mFramePeriod);
    EXPECT_EQ("Tip", stored->mClip.mJoints[0].mEndSites[0].mLabel);
    EXPECT_EQ(clip.mJoints[0].mOffset, stored->mClip.mJoints[0].mOffset);
}

TEST(ClipStore, RefusesAClipThatCannotBe)
{
    const struct
    {
        std::function<void(Clip& pClip)> spoil;
        const char* says;
    } cases[] = {
        {[](Clip& pClip) { pClip.mJoints.clear(); }, "no joint"},
        {[](Clip& pClip) { pClip.mJoints[1].mParent = 1; }, "joint 1"},
        {[](Clip& pClip) { pClip.mJoints[0].mOffset[2] = 1e39; }, "joint 0"},
        {[](Clip& pClip) { pClip.mJoints[0].mChannels[0] = eClipPositionX; }, "channels"},
        {[](Clip& pClip) { pClip.mJoints[0].mChannels[0] = EClipChannel(6); }, "channels"},
        {[](Clip& pClip) { pClip.mJoints[0].mEndSites[0].mChildrenBefore = 2; }, "end site"},
        {[](Clip& pClip) { pClip.mJoints[0].mName = "Hip"; },
         "the tree: channel 'Hips' does not belong to the joints"},
        {[](Clip& pClip) { pClip.mJoints[0].mChannels.pop_back(); },
         "node Hips: channel 'T' does not belong to the joints"},
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
        SCOPED_TRACE(each.says);
        Clip clip = good;
        each.spoil(clip);
        const IoResult<StoredClip> stored = ParseClipStore(Bytes(clip, curves), "a.glissa");
        ASSERT_FALSE(stored);
        EXPECT_NE(std::string::npos, stored.GetError().GetText().find(each.says))
            << stored.GetError().GetText();
    }
    KTdf empty;
    EXPECT_EQ("a.glissa: holds no clip: there is no field \"Clip\" with a version",
              ParseClipStore(Bytes(empty), "a.glissa").GetError().GetText());
    std::string cut = Bytes(good, curves);
    cut.resize(cut.size() / 2);
    EXPECT_FALSE(ParseClipStore(cut, "a.glissa"));
}

TEST(ClipStore, TellsWhatIsDamagedInACurve)
{
    const Clip clip = *ParseBvh(kText, "a.bvh");
    CurveClip curves(clip);
    curves.GetCurves()[0].mCurve->KeyAppendFast(KTime(1), 5.0f);  // out of order
    curves.GetCurves()[1].mCurve->KeySetValue(2, std::numeric_limits<float>::infinity());
    const IoResult<StoredClip> stored = ParseClipStore(Bytes(clip, curves), "a.glissa");
    ASSERT_TRUE(stored) << stored.GetError().GetText();
    EXPECT_EQ((std::vector<std::string>{
                  "curve Hips/R/Z: 3 of 4 stored keys were read, the others are damaged",
                  "curve Hips/T/X: key 2 at tick 9408000: the value is no finite number"}),
              stored->mFaults);
}
// A layer of half the weight on the rotation, with keys, beside the clip of kText.
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

TEST(ClipStore, LayersComeBackAndAreBlended)
{
    const Clip clip = *ParseBvh(kText, "a.bvh");
    const CurveClip curves = LayeredCurves(clip);
    const std::string bytes = Bytes(clip, curves);
    const IoResult<StoredClip> stored = ParseClipStore(bytes, "a.glissa");
    ASSERT_TRUE(stored) << stored.GetError().GetText();
    EXPECT_TRUE(stored->mFaults.empty());
    EXPECT_EQ(bytes, Bytes(stored->mClip, stored->mCurves));
    const NodeClip& nodes = stored->mCurves.GetNodes();
    ASSERT_EQ(2u, nodes.GetLayers().GetAll().size());
    GlissaNode* const turn = nodes.GetTransform(0, KDataTypeLclRotation);
    EXPECT_EQ(clip.mJoints[0].mRotationOrder, turn->GetRotationOrder());
    for (const int id : {1, 2}) {
        GlissaNode* const layer = turn->LayerGet(id);
        ASSERT_NE(nullptr, layer);
        EXPECT_EQ(nodes.GetLayers().Find(id), layer->GetLayerInfo().GetLayer());
        EXPECT_EQ(nodes.GetLayers().Find(id), layer->Get(0)->GetLayerInfo().GetLayer());
        EXPECT_EQ(clip.mJoints[0].mRotationOrder, layer->GetRotationOrder());
    }
    EXPECT_EQ(eLayerTypeRotationByChannel, turn->LayerGet(2)->GetLayerType());
    EXPECT_TRUE(turn->LayerGet(1)->IsNodeMuted());
    // The recorded 0.1, 0.25, 0.3 and half of 10; the position has no layer.
    const Clip sampled = SampleClip(stored->mClip, stored->mCurves);
    for (int frame = 0; frame < 3; ++frame) {
        EXPECT_FLOAT_EQ(static_cast<float>(clip.GetValue(frame, 0)) + 5.0f,
                        static_cast<float>(sampled.GetValue(frame, 0)));
        EXPECT_EQ(clip.GetValue(frame, 1), sampled.GetValue(frame, 1));
    }
}

TEST(ClipStore, RefusesLayersThatCannotBe)
{
    const struct
    {
        std::function<void(CurveClip& pCurves)> spoil;
        const char* says;
    } cases[] = {
        {[](CurveClip& pCurves) { pCurves.GetNodes().GetLayers().Remove(2); }, "not in the list"},
        {[](CurveClip& pCurves) { pCurves.GetNodes().GetLayers().Find(2)->mName = "first"; },
         "layer 1: its name"},
        {[](CurveClip& pCurves) { pCurves.GetNodes().GetLayers().Find(1)->mId = 2; },
         "layer 1: its id"},
        {[](CurveClip& pCurves) { pCurves.GetNodes().GetLayers().Find(2)->mMode = eLayerMode(3); },
         "layer 1: mode"},
        {[](CurveClip& pCurves) {
             pCurves.GetNodes().GetLayers().Find(1)->mWeight->SetValue(INFINITY);
         },
         "layer 0: mode, state or weight"},
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
         "node Leg: is of another layer"},
    };
    const Clip clip = *ParseBvh(kText, "a.bvh");
    for (const auto& each : cases) {
        SCOPED_TRACE(each.says);
        CurveClip curves = LayeredCurves(clip);
        each.spoil(curves);
        const IoResult<StoredClip> stored = ParseClipStore(Bytes(clip, curves), "a.glissa");
        ASSERT_FALSE(stored);
        EXPECT_NE(std::string::npos, stored.GetError().GetText().find(each.says))
            << stored.GetError().GetText();
    }
    // Damage within a layer is told with its name.
    CurveClip curves = LayeredCurves(clip);
    Glissa* const curve =
        curves.GetNodes().GetTransform(0, KDataTypeLclRotation)->LayerGet(2)->Get(2)->FCurveGet();
    curve->KeyAppendFast(KTime(-1), 5.0f);
    EXPECT_EQ(std::vector<std::string>{"curve Hips/R/Z@half: 1 of 2 stored keys were read, the "
                                       "others are damaged"},
              ParseClipStore(Bytes(clip, curves), "a.glissa")->mFaults);
}

TEST(ClipStore, ChannelsOfALayerThatDoNotFitItsBaseAreListed)
{
    const Clip clip = *ParseBvh(kText, "a.bvh");
    CurveClip curves = LayeredCurves(clip);
    GlissaNode* const layer = curves.GetNodes().GetTransform(0, KDataTypeLclRotation)->LayerGet(2);
    layer->Delete(0);
    for (const char* name : {"W", "V"}) {
        layer->FindOrCreate(name, true)->SetLayerInfo(layer->GetLayerInfo());
    }
    layer->Get(2)->FCurveGet()->KeyAppendFast(KTime(5), 3.0f);
    const IoResult<StoredClip> stored = ParseClipStore(Bytes(clip, curves), "a.glissa");
    ASSERT_TRUE(stored) << stored.GetError().GetText();
    EXPECT_EQ((std::vector<std::string>{
                  "node Hips/R@half: channel 'X' is not stored: it has zero values",
                  "node Hips/R@half: channel 'W' is not in the base: it is kept without effect",
                  "node Hips/R@half: channel 'V' is not in the base and has no keys: it is left "
                  "out"}),
              stored->mFaults);
    // Kept from file to file.
    const std::string again = Bytes(stored->mClip, stored->mCurves);
    const IoResult<StoredClip> back = ParseClipStore(again, "a.glissa");
    ASSERT_TRUE(back) << back.GetError().GetText();
    EXPECT_EQ(1u, back->mFaults.size());
    EXPECT_EQ(again, Bytes(back->mClip, back->mCurves));
}

TEST(ClipStore, FilesOfVersion1AreRead)
{
    KTdf tdf;
    DocumentFromFile(GLISSA_SOURCE_DIR "/tests/data/clip/version_1.txt", tdf);
    const IoResult<StoredClip> stored = ParseClipStore(Bytes(tdf), "a.glissa");
    ASSERT_TRUE(stored) << stored.GetError().GetText();
    EXPECT_TRUE(stored->mFaults.empty());
    Glissa& turn = *stored->mCurves.Find("Hips/R/Z")->mCurve;
    ASSERT_EQ(3, turn.KeyGetCount());
    EXPECT_EQ(12.5f, turn.KeyGetRightDerivative(1));
    EXPECT_EQ(7.0f, stored->mCurves.Find("Hips/T/X")->mCurve->GetValue());
    EXPECT_EQ("Tip", stored->mClip.mJoints[0].mEndSites[0].mLabel);
    // Stored again it is of the present version.
    const std::string again = Bytes(stored->mClip, stored->mCurves);
    const IoResult<StoredClip> back = ParseClipStore(again, "a.glissa");
    ASSERT_TRUE(back);
    EXPECT_EQ(3, back->mCurves.Find("Hips/R/Z")->mCurve->KeyGetCount());
}
}  // namespace
