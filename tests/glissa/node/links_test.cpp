// Copyright (c) 2026 The glissa authors
// SPDX-License-Identifier: MIT

#include "tests/support/curve_test.h"
#include "tests/support/node_stubs.h"

#include <gtest/gtest.h>

#include <cmath>
#include <vector>

namespace
{
// A model with a channel "T"; ETIs where a test puts them.
class NodeLinks : public testing::Test
{
protected:
    StubETI mOnModel;
    StubETI mOnChannel;
    StubETI mOnX;
    NodePtr mModel = NodePtr(GlissaNodeCreate("Model", nullptr, eLayerTypeVector, {}));
    GlissaNode* mChannel = MakeChannel(KDataTypeLclTranslation, "T").release();

    NodeLinks() { mModel->Add(mChannel); }
};
}  // namespace

TEST_F(NodeLinks, CountWhoHoldsAnETI)
{
    mChannel->SetETI(&mOnChannel);
    mChannel->SetETI(&mOnChannel);
    EXPECT_EQ(mOnChannel.mCalls, 1);
    mChannel->SetETI(&mOnX);
    EXPECT_EQ(mOnChannel.mReferences, 0);
    mOnX.mValid = false;
    EXPECT_EQ(mChannel->GetETI(), nullptr);
    EXPECT_EQ(mOnX.mReferences, 1);  // held all the same
    mModel.reset();
    EXPECT_EQ(mOnX.mReferences, 0);
}

TEST_F(NodeLinks, ConvertTimesByAllETIsOnTheWay)
{
    mModel->SetETI(&mOnModel);
    mOnModel.mOffset = Seconds(100.0);
    mOnModel.mScale = 0.5;
    mOnModel.mActiveStart = Seconds(7.0);
    mOnModel.mDuration = Seconds(2.0);
    mOnModel.mSelected = true;
    mChannel->Get(0)->SetETI(&mOnX);
    mOnX.mOffset = Seconds(10.0);
    mOnX.mScale = 4.0;
    mOnX.mTrim = Seconds(3.0);
    mOnX.mDuration = Seconds(20.0);

    // The channel has none of its own and takes that of X: scale 4 * 0.5, trim 3 * 2, and the sum
    // of both offsets with it.
    EXPECT_EQ(mChannel->ETIGetScaleFactor(), 2.0);
    EXPECT_EQ(mChannel->ETIGetTrimOffset(), Seconds(6.0));
    EXPECT_EQ(mChannel->ETIGetGlobalOffset(), Seconds(116.0));
    // The start of X is 0: that of the model, without trim.
    EXPECT_EQ(mChannel->ETIGetGlobalActiveStart(), Seconds(117.0));
    EXPECT_EQ(mChannel->ETIGlobalTime2NodeTime(Seconds(126.0)), Seconds(5.0));
    EXPECT_EQ(mChannel->ETINodeTime2GlobalTime(Seconds(5.0)), Seconds(126.0));
    EXPECT_EQ(mChannel->ETIGetDuration(), Seconds(20.0));
    EXPECT_TRUE(mChannel->ETIIsSelectedDuration());  // false on X, true on the model
    EXPECT_FALSE(mChannel->ETIIsGlobalTimeInSpan(Seconds(117.0) - KTime(1), true));
    EXPECT_FALSE(mChannel->ETIIsGlobalTimeInSpan(Seconds(137.0), false));
    EXPECT_TRUE(mChannel->ETIIsGlobalTimeInSpan(Seconds(137.0), true));

    // Its own comes before that of X.
    mChannel->SetETI(&mOnChannel);
    mOnChannel.mOffset = Seconds(1.0);
    EXPECT_EQ(mChannel->ETIGetGlobalOffset(), Seconds(101.0));
    EXPECT_EQ(mChannel->ETIGetDuration(), Seconds(2.0));  // 0 on its own: from above
    // Y is a leaf: its ancestors alone.
    EXPECT_EQ(mChannel->Get(1)->ETIGetGlobalOffset(), Seconds(101.0));
    // From the model one looks at the first child, not deeper.
    mModel->SetETI(nullptr);
    EXPECT_EQ(mModel->ETIGetGlobalOffset(), Seconds(1.0));
    mChannel->SetETI(nullptr);

    mOnX.mScale = 0.0;  // a standstill
    mOnX.mTrim = KTime();
    EXPECT_EQ(mChannel->ETIGlobalTime2NodeTime(Seconds(10.5)), Seconds(0.5 / 1e-6));
    EXPECT_EQ(mChannel->ETINodeTime2GlobalTime(Seconds(99.0)), Seconds(10.0));
}

TEST_F(NodeLinks, EndWithEitherSide)
{
    NodePtr warp = MakeChannel(KDataTypeTimeWarp, "warp");
    const NodePtr other = MakeChannel(KDataTypeTimeWarp, "other");
    for (GlissaNode* node : {mModel.get(), mChannel, mChannel->Get(0), mChannel->Get(1)}) {
        node->TimeWarpSet(warp.get());
        node->TimeWarpSet(warp.get());
    }
    EXPECT_EQ(4, warp->GetReferenceCount());
    mChannel->Get(0)->TimeWarpSet(other.get());
    mChannel->Delete(1);
    EXPECT_EQ(2, warp->GetReferenceCount());
    warp.reset();
    EXPECT_EQ(nullptr, mModel->TimeWarpGet());
    EXPECT_EQ(nullptr, mChannel->TimeWarpGet());
    mModel.reset();
    EXPECT_EQ(0, other->GetReferenceCount());
}

TEST_F(NodeLinks, FollowNoMoreWarpsOfWarpsThanStated)
{
    // Each doubles the time.
    std::vector<NodePtr> warps;
    for (int i = 0; i < 3000; ++i) {
        warps.push_back(MakeChannel(KDataTypeTimeWarp, "warp"));
        AddKeys(warps.back().get(), {{0.0, 0.0f}, {100000.0, 200000.0f}});
        if (i > 0) {
            warps[static_cast<std::size_t>(i - 1)]->TimeWarpSet(warps.back().get());
        }
    }
    AddKeys(mChannel->Get(0), {{0.0, 0.0f}, {100000.0, 100000.0f}});
    mChannel->TimeWarpSet(warps[0].get());
    double values[3] = {};
    mChannel->GeneralEvaluate(values, Seconds(1.0));
    EXPECT_NEAR(std::ldexp(1.0, GlissaNode::kMaxNestedWarps), values[0], 0.1);
}

TEST_F(NodeLinks, LockByLayerQueryOrProperty)
{
    StubLockQuery query;
    StubLayer layer;
    KPropertyTemplate<double> property;
    EXPECT_FALSE(mChannel->IsNodeLocked());
    mChannel->SetLockQuery(&query);
    EXPECT_FALSE(mChannel->IsNodeLocked());  // nothing to ask about
    mModel->SetProperty(&property);          // that of the parent serves
    EXPECT_TRUE(mChannel->IsNodeLocked());
    EXPECT_EQ(query.mAsked, &property);
    EXPECT_FALSE(mChannel->Get(0)->IsNodeLocked());  // its parent has no property
    EXPECT_TRUE(mModel->IsNodeLockedInHierarchy(false));
    EXPECT_FALSE(mModel->IsNodeLocked());

    // The chain takes property and query from its base, and each layer has a lock of its own.
    GlissaNode* one = mChannel->CreateLayerAt({1, &layer});
    EXPECT_TRUE(one->IsNodeLocked());
    query.mLocked = false;
    EXPECT_FALSE(one->IsNodeLocked());
    layer.mLocked = true;
    EXPECT_TRUE(one->Get(2)->IsNodeLocked());
    EXPECT_FALSE(mChannel->IsNodeLockedInHierarchy(false));
    EXPECT_TRUE(mChannel->IsNodeLockedInHierarchy(true));
    {
        const LockModeScope off(eLockModeOff);
        EXPECT_FALSE(one->IsNodeLocked());
        EXPECT_FALSE(one->Get(0)->FCurveGet()->IsLocked());
    }
    layer.mLocked = false;
    query.mLocked = true;
    const LockModeScope byProperty(eLockModeProperty);
    EXPECT_FALSE(one->IsNodeLocked());
    for (const unsigned bit : {0x1000u, 0x2000u, 0x4000u, 0x8000u}) {
        property.SetFlags(bit);
        EXPECT_TRUE(one->IsNodeLocked()) << bit;
    }
    property.SetFlags(0x200000u);
    EXPECT_TRUE(one->IsNodePlotDisallowed());
}
