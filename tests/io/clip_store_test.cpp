// Copyright (c) 2026 The glissa authors
// SPDX-License-Identifier: MIT

// What a clip file holds comes back, and what a file says that cannot be is refused. Faulty files
// are made by writing another document, so that checksum and encoding are in order.

#include "io/clip_store.h"

#include "corvekit/store/tdf.h"
#include "glissa/curve/curve.h"
#include "io/bvh_reader.h"

#include <gtest/gtest.h>

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
        {[](Clip& pClip) { pClip.mJoints[0].mName = "Hip"; }, "curve Hip/R/Z"},
        {[](Clip& pClip) { pClip.mJoints[0].mChannels.pop_back(); }, "2 curves for 1 channels"},
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
                  "curve Hips/R/Z: 4 keys are stored, 3 of them make sense",
                  "curve Hips/T/X: key 2 at tick 9408000: the value is no finite number"}),
              stored->mFaults);
}
}  // namespace
