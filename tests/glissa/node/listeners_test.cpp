// Copyright (c) 2026 The glissa authors
// SPDX-License-Identifier: MIT

// Every operation that calls listeners, with listeners that edit and destroy what they are called
// for. The sanitizers see what is used after its end.

#include "glissa/ext/custom_tangent_manager.h"
#include "glissa/ext/invalid_key_manager.h"
#include "glissa/filter/constant_key_reducer.h"
#include "glissa/filter/key_reducer.h"
#include "glissa/filter/key_sync.h"
#include "glissa/filter/offset.h"
#include "glissa/filter/smooth2.h"
#include "glissa/utils/utils.h"
#include "tests/support/host_listener.h"
#include "tests/support/node_stubs.h"
#include "tests/support/stored_curve.h"

#include <gtest/gtest.h>

#include <functional>
#include <limits>
#include <string>
#include <vector>

namespace
{
constexpr float kBad = std::numeric_limits<float>::infinity();

// Keys of several kinds at 0 to 6 s, the fourth one custom.
void Fill(Glissa& pCurve)
{
    constexpr unsigned kKinds[] = {eInterpolationCubic | eTangentUserBreak,
                                   eInterpolationCubic | eTangentAuto,
                                   eInterpolationLinear,
                                   eInterpolationCustom | 0x100u,
                                   eInterpolationCubic | eTangentTCB,
                                   eInterpolationConstant,
                                   eInterpolationCubic | eTangentUser};
    for (int i = 0; i < 7; ++i) {
        pCurve.KeyAppendFast(Seconds(i), static_cast<float>(i * i % 5));
        pCurve.KeyAttrSet(i, {{kKinds[i], {1.0f, -2.0f, 0.0f, 0.0f}}, 0});
        pCurve.KeySetSelected(i, i % 2 == 1);
    }
}

GlissaKey MakeKey(unsigned pInterpolation, float pValue)
{
    return GlissaKey({Seconds(2), nullptr, pValue},
                     {{pInterpolation | 0x100u, {0.5f, 0.5f, 0.0f, 0.0f}}, 0});
}

void ExpectWhole(const Glissa& pCurve)
{
    EXPECT_TRUE(pCurve.CheckCurve());
    for (int i = 1; i < pCurve.KeyGetCount(); ++i) {
        EXPECT_LT(pCurve.KeyGetTime(i - 1), pCurve.KeyGetTime(i));
    }
}

using CurveOperation = std::function<void(Glissa&)>;

// pOther  a curve like the one that is edited.
std::vector<CurveOperation> CurveOperations(Glissa& pOther)
{
    Glissa* const other = &pOther;
    return {
        [](Glissa& c) { c.SetValue(3.0f); },
        [](Glissa& c) { c.SetPostExtrapolation(2); },
        [](Glissa& c) { c.KeyClear(); },
        [](Glissa& c) { c.KeyAppendFast(Seconds(9), kBad); },
        [](Glissa& c) { c.KeyAttrSet(3, *GlissaDefaultKeyAttr); },
        [](Glissa& c) { c.KeyAdd(Seconds(2.5), MakeKey(eInterpolationCustom, 1.0f)); },
        [](Glissa& c) { c.KeyAdd(Seconds(2), MakeKey(eInterpolationCubic, kBad)); },
        [](Glissa& c) { c.KeyAdd(Seconds(4.5)); },
        [](Glissa& c) {
            c.InternalPriKeyGetPtr(6)->mValue = kBad;  // the curve ends with it
            c.KeyAdd(Seconds(9));
        },
        [=](Glissa& c) { c.KeyAdd(Seconds(1.5), other, 3); },
        [=](Glissa& c) { c.KeyAppend(Seconds(8), other, 3); },
        [=](Glissa& c) { c.KeySet(2, MakeKey(eInterpolationLinear, kBad)); },
        [=](Glissa& c) { c.KeySet(2, other, 2); },
        [](Glissa& c) { c.KeySet(2, Seconds(2.2), kBad, eInterpolationCubic, eTangentUser); },
        [](Glissa& c) { c.KeyRemove(3); },
        [](Glissa& c) { c.Delete(2, 4); },
        [](Glissa& c) { c.Delete(Seconds(-1), Seconds(9), true); },
        [](Glissa& c) { c.KeyMultValue(3, kBad); },
        [](Glissa& c) { c.KeySetTime(3, Seconds(3.5)); },
        [](Glissa& c) { c.KeyMove(1, Seconds(4.5)); },
        [](Glissa& c) { c.KeyMoveOf(2, KTime(), kBad); },
        [](Glissa& c) { c.KeyMoveOf(true, Seconds(-1), 1.0f); },
        [](Glissa& c) { c.KeyMoveOf(Seconds(1.5), 1, 2); },
        [](Glissa& c) { c.KeyMoveValueTo(false, kBad); },
        [](Glissa& c) { c.KeyScaleValueAndTangeant(false, 2.0f); },
        [](Glissa& c) { c.KeyMultDerivative(0, 2.0f); },
        [](Glissa& c) { c.KeyTangeantSetInterpolation(false, eInterpolationCubic); },
        [](Glissa& c) { c.KeyTangeantSetMode(false, eTangentUser); },
        [](Glissa& c) { c.KeySelectAll(); },
        [](Glissa& c) { c.KeyInsert(Seconds(0.5)); },
        [](Glissa& c) {
            c.CandidateSet(Seconds(2.5), 9.0);
            c.CandidateKey(nullptr, eInterpolationCustom, 0x400, eContinuityInsert, true);
        },
        [=](Glissa& c) { c.CopyFrom(*other); },
        [=](Glissa& c) { c.Insert(other, Seconds(2.25), GlissaTangeantInfo()); },
        [=](Glissa& c) { c.Replace(other, Seconds(1), Seconds(4), true, false, Seconds(0.5)); },
        [](Glissa& c) { c.KeySetInterpolation(3, eInterpolationLinear); },
        [](Glissa& c) { c.KeySetTangeantMode(3, 0x200); },
        [](Glissa& c) { c.KeySetDataDouble(1, eDataRightWeight, 0.5f); },
        [](Glissa& c) { c.KeySetLeftDerivative(6, 4.0f); },
        [](Glissa& c) { c.KeySetRightTangeantVelocity(1, 2.0f); },
        [=](Glissa& c) {
            c.CopyExternalPriKeyAndAttr(reinterpret_cast<void**>(other->GetPriFCurveKeysList()),
                                        other->KeyGetCount());
        },
    };
}

// Calls back for keys of a custom type and for values that are not finite.
class ManagerListener
{
public:
    ManagerListener()
    {
        Tangents().AddNewCustomTangent("host", "host");
        for (const int id : kIds) {
            Tangents().Register(id, &mListener, kHear, 0);
        }
        GlissaInvalidKeyManager::TheOne().Register(eInvalidKeyFound, &mListener, kHear, 0);
    }
    ~ManagerListener()
    {
        GlissaInvalidKeyManager::TheOne().Unregister(eInvalidKeyFound, &mListener, kHear);
        for (const int id : kIds) {
            Tangents().Unregister(id, &mListener, kHear);
        }
        Tangents().RemoveCustomTangent("host");
    }
    ManagerListener(const ManagerListener&) = delete;
    ManagerListener& operator=(const ManagerListener&) = delete;

    /// Called with whether the key is about to change.
    std::function<void(bool)> mThen = [](bool) {};

private:
    static constexpr int kIds[] = {eCustomTangentAddKey, eCustomTangentAddCustomKey,
                                   eCustomTangentKeyChange};
    static GlissaCustomTangentManager& Tangents() { return GlissaCustomTangentManager::TheOne(); }

    HostListener mListener{[this](KEventBase* pEvent) {
        const auto* change = dynamic_cast<GlissaCustomKeyChangeEvent*>(pEvent);
        mThen(change && change->mBefore);
    }};
};

// A rotation with layers 1 and 3 whose nodes and curves all have a listener.
struct WatchedTree
{
    NodePtr parent{GlissaNodeCreate("Hips", static_cast<KDataType*>(nullptr), eLayerTypeVector,
                                    GlissaLayerInfo::Base)};
    GlissaNode* node = MakeChannel(KDataTypeLclRotation, "R").release();  // null when destroyed
    std::function<void(WatchedTree&)> then;
    int calls = 0;

    explicit WatchedTree(std::function<void(WatchedTree&)> pThen) : then(std::move(pThen))
    {
        parent->Add(node);
        for (const int id : {1, 3}) {
            node->CreateLayerAt({id, nullptr});
        }
        parent->CallbackRegister(HearNode, this);
        for (GlissaNode* layer = node; layer; layer = layer->LayerGet()) {
            layer->CallbackRegister(HearNode, this);
            for (int i = 0; i < 3; ++i) {
                Fill(*layer->Get(i)->FCurveGet());
                layer->Get(i)->CallbackRegister(HearNode, this);
                layer->Get(i)->FCurveGet()->CallbackRegister(HearCurve, this);
            }
        }
    }
    ~WatchedTree()
    {
        then = [](WatchedTree&) {};
        parent.reset();
    }
    // The curve of X, or null where it has been destroyed.
    Glissa* Curve() const
    {
        GlissaNode* const x = node ? node->Get(0) : nullptr;
        return x ? x->FCurveGet() : nullptr;
    }
    void React()
    {
        if (++calls < 40 && node) {
            then(*this);
        }
    }
    void End(GlissaNode* pNode)
    {
        if (std::exchange(node, nullptr)) {
            if (pNode == parent.get()) {
                parent.release();
            }
            pNode->Destroy();
        }
    }
    static void HearNode(GlissaNode*, GlissaNodeEvent* pEvent, void* pData)
    {
        EXPECT_GT(pEvent->GetEventCount(), 0);
        static_cast<WatchedTree*>(pData)->React();
    }
    static void HearCurve(Glissa* pCurve, GlissaEvent* pEvent, void* pData)
    {
        EXPECT_GT(pEvent->GetEventCount(), 0);
        EXPECT_NE(pEvent->GetType(), 0);
        ExpectWhole(*pCurve);
        static_cast<WatchedTree*>(pData)->React();
    }
};

using NodeOperation = std::function<void(GlissaNode&)>;

void SmoothTogether(GlissaNode& pNode, GlissaFilterSmooth2& pSmooth)
{
    Glissa* curves[3] = {};
    for (int i = 0; i < 3 && i < pNode.GetCount(); ++i) {
        curves[i] = pNode.Get(i)->FCurveGet();
    }
    if (curves[2]) {
        pSmooth.Apply(curves, 3);
    }
}

// Filters and utilities that walk over the curves of a node.
std::vector<NodeOperation> Walks(GlissaFilterSmooth2& pSmooth)
{
    return {
        [](GlissaNode& n) {
            GlissaFilterOffset offset;
            offset.SetOffset(1.0);
            offset.Apply(n, true);
        },
        [](GlissaNode& n) {
            GlissaFilterKeyReducer reducer;
            reducer.SetKeySync(true);
            reducer.Apply(n, true);
        },
        [](GlissaNode& n) { GlissaFilterKeySync().Apply(n, true); },
        [&](GlissaNode& n) { SmoothTogether(n, pSmooth); },
        [](GlissaNode& n) {
            GlissaUtils::ConvertCurveInterpolationRecursive(eInterpolationLinear, 0, n);
        },
    };
}

TEST(Listeners, SeeACurveWhenTheOperationHasDoneItsWork)
{
    ManagerListener manager;
    const CurveHandle other(GlissaCreate());
    Fill(*other);
    const std::vector<CurveOperation> operations = CurveOperations(*other);
    for (std::size_t i = 0; i < operations.size(); ++i) {
        SCOPED_TRACE(i);
        const CurveHandle finished(GlissaCreate());
        Fill(*finished);
        operations[i](*finished);
        const std::string expected = StoredText(*finished);
        WatchedTree tree(
            [&](WatchedTree& self) { EXPECT_EQ(expected, StoredText(*self.Curve())); });
        manager.mThen = [&](bool pIsBefore) {
            if (!pIsBefore) {
                tree.then(tree);
            }
        };
        operations[i](*tree.Curve());
        EXPECT_TRUE(tree.calls > 0 || i == 3 || i + 1 == operations.size());
        EXPECT_EQ(expected, StoredText(*tree.Curve()));
        manager.mThen = [](bool) {};
    }
}

TEST(Listeners, SeeAllCurvesWhenAWalkHasDoneItsWork)
{
    const auto describe = [](GlissaNode& node) {
        std::string text;
        for (int i = 0; i < 3; ++i) {
            text += StoredText(*node.Get(i)->FCurveGet()) + "\n";
        }
        return text;
    };
    GlissaFilterSmooth2 smooth;
    for (const NodeOperation& walk : Walks(smooth)) {
        WatchedTree finished([](WatchedTree&) {});
        walk(*finished.node);
        const std::string expected = describe(*finished.node);
        WatchedTree tree([&](WatchedTree& self) { EXPECT_EQ(expected, describe(*self.node)); });
        walk(*tree.node);
        EXPECT_GE(tree.calls, 3);
    }
}

TEST(Listeners, MayEditAndDestroyTheCurveInEveryOperation)
{
    const std::vector<std::function<void(WatchedTree&, Glissa&)>> reactions = {
        [](WatchedTree&, Glissa& curve) { curve.KeyClear(); },
        [](WatchedTree& self, Glissa& curve) { curve.KeyAdd(Seconds(self.calls * 0.3)); },
        [](WatchedTree&, Glissa& curve) { curve.KeyMoveOf(false, Seconds(1), 1.0f); },
        [](WatchedTree&, Glissa& curve) {
            curve.KeyModifyBegin();
            curve.Delete(0, 2);
            curve.KeyModifyEnd();
        },
        [](WatchedTree& self, Glissa& curve) {
            curve.CallbackUnregister(WatchedTree::HearCurve, &self);
            curve.KeySelectAll();
        },
        [](WatchedTree&, Glissa& curve) { curve.Destroy(); },
        [](WatchedTree& self, Glissa&) { self.End(self.node); },
    };
    const CurveHandle other(GlissaCreate());
    for (const bool byManager : {false, true}) {
        for (std::size_t r = 0; r < reactions.size(); ++r) {
            for (std::size_t i = 0; i < CurveOperations(*other).size(); ++i) {
                SCOPED_TRACE(testing::Message() << r << " in " << i << (byManager ? " m" : ""));
                other->KeyClear();
                Fill(*other);
                const auto react = [&](WatchedTree& self) {
                    if (Glissa* const curve = self.Curve()) {
                        reactions[r](self, *curve);
                    }
                };
                ManagerListener manager;
                WatchedTree tree([](WatchedTree&) {});
                if (byManager) {
                    manager.mThen = [&](bool) { ++tree.calls < 40 ? react(tree) : void(); };
                } else {
                    tree.then = react;
                }
                CurveOperations(*other)[i](*tree.Curve());
                manager.mThen = [](bool) {};
                tree.then = [](WatchedTree&) {};
                if (Glissa* const curve = tree.Curve()) {
                    ExpectWhole(*curve);
                    // The next post reaches its listeners.
                    const int before = tree.calls;
                    curve->CallbackRegister(WatchedTree::HearCurve, &tree);
                    curve->SetValue(1.0f);
                    EXPECT_GT(tree.calls, before);
                }
            }
        }
    }
}

TEST(Listeners, SeeTheKeyOfAValueThatTheCurveCannotHave)
{
    Glissa* const curve = GlissaCreate();
    curve->SetValue(kBad);
    ManagerListener manager;
    int keys = -1;
    manager.mThen = [&](bool) {
        if (std::exchange(keys, curve->KeyGetCount()) < 0) {
            curve->Destroy();
        }
    };
    curve->KeyAdd(Seconds(1));
    EXPECT_EQ(1, keys);
}

TEST(Listeners, AreNotCalledForAnObjectThatIsGone)
{
    Glissa* const gone = GlissaCreate();
    int calls = 0;
    {
        const KOperation operation;
        KOperation::CallAtEnd(nullptr, [gone] { gone->Destroy(); });
        KOperation::CallAtEnd(gone, [&calls] { ++calls; });
    }
    EXPECT_EQ(0, calls);
}

TEST(Listeners, ThatDestroyAChildLeaveNoPointerToIt)
{
    const NodePtr node = MakeChannel(KDataTypeLclRotation, "R");
    GlissaNode* const child = node->FindOrCreate("W", false);
    child->CallbackRegister(
        [](GlissaNode* pNode, GlissaNodeEvent* pEvent, void*) {
            if ((pEvent->GetType() & eNodeEventDestroy) == 0) {
                pNode->Destroy();
            }
        },
        nullptr);
    EXPECT_EQ(nullptr, node->FindOrCreate("W", true));
    EXPECT_EQ(3, node->GetCount());
}

TEST(Listeners, MayEditAndDestroyATreeInEveryOperation)
{
    const NodePtr other = MakeChannel(KDataTypeLclRotation, "R");
    other->CreateLayerAt({2, nullptr});
    const NodePtr warp = MakeChannel(KDataTypeTimeWarp, "W");
    double values[] = {400.0, 50.0, 60.0, 0.0};
    KTime one = Seconds(1);
    std::vector<NodeOperation> operations = {
        [](GlissaNode& n) { n.Get(0)->FCurveReplace(GlissaCreate()); },
        [](GlissaNode& n) { n.Delete(1); },
        [](GlissaNode& n) { n.SetVisibility(true, true, true, -1); },
        [&](GlissaNode& n) { n.TimeWarpSet(warp.get()); },
        [](GlissaNode& n) { n.Clear(); },
        [](GlissaNode& n) {
            n.CreateLayerAt({2, nullptr});
        },
        [](GlissaNode& n) {
            n.GetCorrectLayerAndCreateIfMissing({7, nullptr});
        },
        [](GlissaNode& n) {
            n.LayerCreate({2, nullptr}, true);
        },
        [](GlissaNode& n) { n.LayerSet(nullptr, true); },
        [](GlissaNode& n) { n.RemoveLayer(1, true); },
        [](GlissaNode& n) { n.RemoveLayerNode(3); },
        [&](GlissaNode& n) {
            n.InsertOrCopyLayer({2, nullptr}, other.get());
        },
        [&](GlissaNode& n) { n.CopyFrom(other.get(), false); },
        [](GlissaNode& n) { n.SetUseQuaternion(true); },
        [&](GlissaNode& n) { n.SetValue(values, true); },
        [&](GlissaNode& n) { n.KeyAdd(one, values, 0, 8, 0x100); },
        [&](GlissaNode& n) { n.KeyRecord(one, values); },
        [&](GlissaNode& n) { n.DeleteKey(one, nullptr, 0.0, 0); },
        [](GlissaNode& n) { n.Delete(KTime(), Seconds(2), true); },
        [&](GlissaNode& n) { n.Replace(other.get(), KTime(), one, true, true, KTime()); },
        [&](GlissaNode& n) {
            n.CandidateSet(one, values, {2, nullptr});
            n.CandidateKey(nullptr, {2, nullptr}, nullptr, false, 8, 0x400, 0, true);
        },
        [&](GlissaNode& n) {
            GlissaNodeCandidateState state;
            other->GetCandidateState(state);
            n.SetCandidateState(state, true);
        },
    };
    GlissaFilterSmooth2 smooth;
    for (const NodeOperation& walk : Walks(smooth)) {
        operations.push_back(walk);
    }
    const std::vector<std::function<void(WatchedTree&)>> reactions = {
        [&](WatchedTree& self) { SmoothTogether(*self.node, smooth); },
        [](WatchedTree& self) { self.node->Delete(KTime::MinusInfinite(), Seconds(9), true); },
        [](WatchedTree& self) { self.node->RemoveLayer(self.calls % 4, true); },
        [](WatchedTree& self) { self.node->Clear(); },
        [](WatchedTree& self) {
            self.node->CreateLayerAt({self.calls % 4, nullptr});
        },
        [](WatchedTree& self) {
            if (self.node->GetCount() > 0) {
                self.node->Delete(0);
            }
        },
        [](WatchedTree& self) { self.End(self.node); },
        [](WatchedTree& self) { self.End(self.parent.get()); },
    };
    for (std::size_t r = 0; r < reactions.size(); ++r) {
        for (std::size_t i = 0; i < operations.size(); ++i) {
            SCOPED_TRACE(testing::Message() << r << " in " << i);
            WatchedTree tree(reactions[r]);
            operations[i](*tree.node);
            tree.then = [](WatchedTree&) {};
            for (GlissaNode* layer = tree.node; layer && layer->LayerGet();
                 layer = layer->LayerGet()) {
                EXPECT_LT(layer->GetLayerID(), layer->LayerGet()->GetLayerID());
                EXPECT_EQ(tree.node, layer->LayerGet()->ObjectLayerGet());
            }
        }
    }
}

TEST(Listeners, AMadeNodeThatIsRemovedAtOnceIsNotGiven)
{
    WatchedTree tree([](WatchedTree& self) { self.node->RemoveLayer(2, true); });
    EXPECT_EQ(nullptr, tree.node->CreateLayerAt({2, nullptr}));
    tree.then = [](WatchedTree& self) { self.End(self.parent.get()); };
    EXPECT_EQ(nullptr, tree.node->LayerCreate({2, nullptr}, true));
}
}  // namespace
