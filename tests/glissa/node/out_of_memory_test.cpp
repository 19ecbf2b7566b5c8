// Copyright (c) 2026 The glissa authors
// SPDX-License-Identifier: MIT

// Every allocation of an edit fails in turn. The edit throws, and curves, trees and documents keep
// what they promise: books that are right, objects that can be edited and destroyed, and no
// document saved with a part missing.

#include "glissa/filter/clamp.h"
#include "glissa/filter/key_sync.h"
#include "tests/support/allocation_count.h"
#include "tests/support/edit_check.h"
#include "tests/support/fail_each.h"
#include "tests/support/museum.h"
#include "tests/support/stored_node.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <functional>
#include <iterator>
#include <sstream>
#include <vector>

namespace
{
// 42 keys of ten shapes: the next one needs a page.
CurveHandle FullPage()
{
    CurveHandle curve(GlissaCreate());
    for (int i = 0; i < 42; ++i) {
        curve->KeyAppendFast(KTime::FromSeconds(i), static_cast<float>(i % 5));
        curve->KeySetRightDerivative(i, static_cast<float>(i % 10));
    }
    return curve;
}

// Takes all free attribute blocks, so that the next one needs memory.
class BlockHolder
{
public:
    Glissa* Curve() { return mCurve.get(); }
    void TakeAll()
    {
        constexpr std::size_t kChunk = 1024;
        mMost = std::max(mMost, GlissaKeyAttrPool.GetUsedCount());
        while (GlissaKeyAttrPool.GetUsedCount() < (mMost + kChunk - 1) / kChunk * kChunk) {
            const int key = mCurve->KeyAppendFast(KTime(mCurve->KeyGetCount()), 0.0f);
            mCurve->KeySetTCB(key, KTime(key), 0.0f, 1.0f, static_cast<float>(key), 0.0f);
        }
        mMost = std::max(mMost, GlissaKeyAttrPool.GetUsedCount());
    }
    void Note() { mMost = std::max(mMost, GlissaKeyAttrPool.GetUsedCount()); }

private:
    CurveHandle mCurve{GlissaCreate()};
    std::size_t mMost = 0;
};

TEST(OutOfMemory, LeavesCurvesWithTheirBooksRight)
{
    BlockHolder holder;
    CurveHandle curve;
    CurveHandle other;
    KTdf tdf;
    const KTime within = KTime::FromSeconds(7.5);
    GlissaKey tcb;
    tcb.SetTCB(within, 1.0f, 0.5f, 0.25f, 0.125f);
    const GlissaKey changed({KTime::FromSeconds(7), nullptr, 2.0f}, tcb.GetKeyAttr());
    const struct
    {
        const char* name;
        std::function<void()> run;
    } steps[] = {
        {"add", [&] { curve->KeyAdd(within, tcb); }},
        {"append fast", [&] { curve->KeyAppendFast(KTime::FromSeconds(50), 1.0f); }},
        {"set", [&] { curve->KeySet(7, changed); }},
        {"tangent", [&] { curve->KeySetTangeantMode(7, eTangentTCB); }},
        {"insert a key", [&] { curve->KeyInsert(within); }},
        {"insert", [&] { curve->Insert(other.get(), within, GlissaTangeantInfo()); }},
        {"replace",
         [&] { curve->Replace(other.get(), within, within + within, false, true, KTime(5)); }},
        {"copy", [&] { curve->CopyFrom(*other, true); }},
        {"take records over",
         [&] {
             curve->CopyExternalPriKeyAndAttr(
                 reinterpret_cast<void**>(other->GetPriFCurveKeysList()), other->KeyGetCount());
         }},
        {"read", [&] { curve->TdfRetrieve(&tdf, false, true); }},
        {"sync",
         [&] {
             Glissa* both[] = {curve.get(), other.get()};
             GlissaFilterKeySync().Apply(both, 2);
         }},
        {"clamp",  // with an end that is put aside
         [&] {
             for (int i = curve->KeyGetCount(); i < 17 * 42; ++i) {
                 curve->KeyAppendFast(KTime::FromSeconds(i), 0.0f);
             }
             GlissaFilterClamp clamp;
             clamp.SetApplyCeilClamping(true);
             clamp.SetCeil(2.5);
             clamp.SetStopTime(within);
             clamp.Apply(*curve);
         }},
    };
    int thrown = 0;
    for (const auto& step : steps) {
        SCOPED_TRACE(step.name);
        const auto prepare = [&] {
            holder.Note();
            other.reset();
            curve.reset();
            curve = FullPage();
            other.reset(GlissaCreate());
            other->CopyFrom(*curve, true);  // shares all blocks
            other->KeyAdd(KTime::FromSeconds(0.5), tcb);
            tdf.Clear();
            other->TdfStore(&tdf, false, true, false);
            holder.TakeAll();
        };
        const auto check = [&](bool pHasThrown) {
            holder.Note();
            const std::vector<const Glissa*> curves = {curve.get(), other.get(), holder.Curve()};
            EXPECT_EQ("", CheckBooks(curves));
            EXPECT_TRUE(curve->IsCallbackEnabled());
            if (pHasThrown) {
                curve->KeyAdd(KTime::FromSeconds(3.25), tcb);
                EXPECT_EQ("", CheckBooks(curves));
            }
        };
        thrown += FailEach(prepare, step.run, check);
    }
    EXPECT_GT(thrown, CountsAllocationsOfC() ? 15 : 3);
}

TEST(OutOfMemory, WhatIsDestroyedInAnOperationIsThereToItsEnd)
{
    Glissa* const curve = FullPage().release();
    GlissaNode* const node = EmptyNode().release();
    const KWatch watches[] = {KWatch(curve), KWatch(node)};
    {
        const KOperation operation;
        FailAllocationAfter(0, true);
        curve->Destroy();
        node->Destroy();
        StopFailing();
        EXPECT_TRUE(watches[0].IsAlive() && watches[1].IsAlive());
        EXPECT_EQ(42, curve->KeyGetCount());
    }
    EXPECT_FALSE(watches[0].IsAlive() || watches[1].IsAlive());
}

TEST(OutOfMemory, LeavesTreesWholeAndKeepsNothingOfWhatWasNotMade)
{
    KDataType* const rotation = KDataTypeLclRotation;
    const auto make = [&] {
        NodePtr node(FCurveNodeCreateFromDataType(rotation, "R"));
        node->CreateFCurve();
        node->CreateLayerAt(GlissaLayerInfo(2, nullptr));
        // With keys, whose pages show what is lost.
        node->Get(0)->FCurveGet()->KeyAppendFast(KTime(5), 1.0f);
        node->LayerGet(2)->Get(1)->FCurveGet()->KeyAppendFast(KTime(5), 1.0f);
        return node;
    };
    NodePtr tree;
    NodePtr made;
    KTdf tdf;
    const std::function<void()> steps[] = {
        [&] { made = make(); },
        [&] { made.reset(tree->Clone(false)); },
        [&] { made.reset(tree->Copy()); },
        [&] { tree->FindOrCreate("new", true); },
        [&] { tree->CreateLayerAt(GlissaLayerInfo(1, nullptr)); },
        [&] {
            made = EmptyNode();
            made->TdfRetrieve(&tdf, false, true, true);
        },
        [&] { tree->TdfStore(&tdf, false, false, false, "Channel", true, false); },
    };
    const std::size_t blocks = GlissaKeyAttrPool.GetUsedCount();
    // Without the page that is kept for the next curve.
    GLISSA_ClearMemoryBlockQueue();
    const unsigned memory = GetRecordingMemory();
    for (std::size_t i = 0; i < std::size(steps); ++i) {
        SCOPED_TRACE(i);
        const auto prepare = [&] {
            // With channels in the layer that the base lacks.
            tree = make();
            for (const char* const name : {"V", "W"}) {
                GlissaNode* const channel = tree->LayerGet(2)->FindOrCreate(name, true);
                channel->FCurveGet()->KeyAppendFast(KTime(5), 1.0f);
            }
            tdf = Stored(*tree);
            tree = EmptyNode();
            tree->TdfRetrieve(&tdf, false, true, true);
            made.reset();
            tdf = Stored(*tree);
        };
        const auto check = [&](bool pHasThrown) {
            for (GlissaNode* layer = tree.get(); layer; layer = layer->LayerGet()) {
                for (int k = 0; k < layer->GetCount(); ++k) {
                    EXPECT_EQ(layer, layer->Get(k)->GetParent());
                }
            }
            if (pHasThrown && i == std::size(steps) - 1) {
                tdf.FieldWriteEnd();
                std::ostringstream stream;
                EXPECT_FALSE(tdf.Save(stream));
                EXPECT_EQ(eTdfErrorMemory, tdf.GetError().GetLastErrorID());
            }
        };
        EXPECT_GT(FailEach(prepare, steps[i], check), 0);
    }
    tree.reset();
    made.reset();
    GLISSA_ClearMemoryBlockQueue();
    EXPECT_EQ(blocks, GlissaKeyAttrPool.GetUsedCount());
    EXPECT_EQ(memory, GetRecordingMemory());
}
}  // namespace
