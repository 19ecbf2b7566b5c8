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
    std::function<void(WatchedTree&)> thenOfManager = [](WatchedTree&) {};
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
    void React(const std::function<void(WatchedTree&)>& pThen)
    {
        if (++calls < 40 && node) {
            pThen(*this);
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
        auto* const self = static_cast<WatchedTree*>(pData);
        self->React(self->then);
    }
    static void HearCurve(Glissa* pCurve, GlissaEvent* pEvent, void* pData)
    {
        EXPECT_GT(pEvent->GetEventCount(), 0);
        EXPECT_NE(pEvent->GetType(), 0);
        ExpectWhole(*pCurve);
        auto* const self = static_cast<WatchedTree*>(pData);
        self->React(self->then);
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

// The operations under test, and what they take from elsewhere.
struct Operations
{
    CurveHandle curve{GlissaCreate()};  // like those that are edited
    NodePtr node = MakeChannel(KDataTypeLclRotation, "R");
    NodePtr warp = MakeChannel(KDataTypeTimeWarp, "W");
    double values[4] = {400.0, 50.0, 60.0, 0.0};
    KTime one = Seconds(1);
    GlissaFilterSmooth2 smooth;

    const std::vector<std::function<void(Glissa&)>> ofCurves = {
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
        [this](Glissa& c) { c.KeyAdd(Seconds(1.5), curve.get(), 3); },
        [this](Glissa& c) { c.KeyAppend(Seconds(8), curve.get(), 3); },
        [](Glissa& c) { c.KeySet(2, MakeKey(eInterpolationLinear, kBad)); },
        [this](Glissa& c) { c.KeySet(2, curve.get(), 2); },
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
        [this](Glissa& c) { c.CopyFrom(*curve); },
        [this](Glissa& c) { c.Insert(curve.get(), Seconds(2.25), GlissaTangeantInfo()); },
        [this](Glissa& c) {
            c.Replace(curve.get(), Seconds(1), Seconds(4), true, false, Seconds(0.5));
        },
        [](Glissa& c) { c.KeySetInterpolation(3, eInterpolationLinear); },
        [](Glissa& c) { c.KeySetTangeantMode(3, 0x200); },
        [](Glissa& c) { c.KeySetDataDouble(1, eDataRightWeight, 0.5f); },
        [](Glissa& c) { c.KeySetLeftDerivative(6, 4.0f); },
        [](Glissa& c) { c.KeySetRightTangeantVelocity(1, 2.0f); },
        [this](Glissa& c) {
            c.CopyExternalPriKeyAndAttr(reinterpret_cast<void**>(curve->GetPriFCurveKeysList()),
                                        curve->KeyGetCount());
        },
    };
    // Filters and utilities that walk over the curves of a node.
    const std::vector<NodeOperation> walks = {
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
        [this](GlissaNode& n) { SmoothTogether(n, smooth); },
        [](GlissaNode& n) {
            GlissaUtils::ConvertCurveInterpolationRecursive(eInterpolationLinear, 0, n);
        },
    };
    const std::vector<NodeOperation> ofTrees = {
        [](GlissaNode& n) { n.Get(0)->FCurveReplace(GlissaCreate()); },
        [](GlissaNode& n) { n.Delete(1); },
        [](GlissaNode& n) { n.SetVisibility(true, true, true, -1); },
        [this](GlissaNode& n) { n.TimeWarpSet(warp.get()); },
        [](GlissaNode& n) { n.Clear(); },
        [](GlissaNode& n) { n.CreateLayerAt(GlissaLayerInfo(2, nullptr)); },
        [](GlissaNode& n) { n.GetCorrectLayerAndCreateIfMissing(GlissaLayerInfo(7, nullptr)); },
        [](GlissaNode& n) { n.LayerCreate(GlissaLayerInfo(2, nullptr), true); },
        [](GlissaNode& n) { n.LayerSet(nullptr, true); },
        [](GlissaNode& n) { n.RemoveLayer(1, true); },
        [](GlissaNode& n) { n.RemoveLayerNode(3); },
        [this](GlissaNode& n) { n.InsertOrCopyLayer(GlissaLayerInfo(2, nullptr), node.get()); },
        [this](GlissaNode& n) { n.CopyFrom(node.get(), false); },
        [](GlissaNode& n) { n.SetUseQuaternion(true); },
        [this](GlissaNode& n) { n.SetValue(values, true); },
        [this](GlissaNode& n) { n.KeyAdd(one, values, 0, 8, 0x100); },
        [this](GlissaNode& n) { n.KeyRecord(one, values); },
        [this](GlissaNode& n) { n.DeleteKey(one, nullptr, 0.0, 0); },
        [](GlissaNode& n) { n.Delete(KTime(), Seconds(2), true); },
        [this](GlissaNode& n) { n.Replace(node.get(), KTime(), one, true, true, KTime()); },
        [this](GlissaNode& n) {
            n.CandidateSet(one, values, {2, nullptr});
            n.CandidateKey(nullptr, {2, nullptr}, nullptr, false, 8, 0x400, 0, true);
        },
        [this](GlissaNode& n) {
            GlissaNodeCandidateState state;
            node->GetCandidateState(state);
            n.SetCandidateState(state, true);
        },
    };
    // All of them on a tree: those of curves, the walks, those of trees.
    std::vector<NodeOperation> all;

    Operations()
    {
        node->CreateLayerAt(GlissaLayerInfo(2, nullptr));
        for (const auto& each : ofCurves) {
            all.push_back([each](GlissaNode& n) { each(*n.Get(0)->FCurveGet()); });
        }
        all.insert(all.end(), walks.begin(), walks.end());
        all.insert(all.end(), ofTrees.begin(), ofTrees.end());
    }
    void Run(std::size_t pOperation, GlissaNode& pNode)
    {
        curve->KeyClear();
        Fill(*curve);
        all[pOperation](pNode);
    }
};

TEST(Listeners, SeeAllCurvesWhenTheOperationHasDoneItsWork)
{
    const auto describe = [](GlissaNode& node) {
        std::string text;
        for (int i = 0; i < 3; ++i) {
            text += StoredText(*node.Get(i)->FCurveGet()) + "\n";
        }
        return text;
    };
    ManagerListener manager;
    Operations operations;
    const std::size_t curveCount = operations.ofCurves.size();
    for (std::size_t i = 0; i < curveCount + operations.walks.size(); ++i) {
        SCOPED_TRACE(i);
        WatchedTree finished([](WatchedTree&) {});
        operations.Run(i, *finished.node);
        const std::string expected = describe(*finished.node);
        WatchedTree tree([&](WatchedTree& self) { EXPECT_EQ(expected, describe(*self.node)); });
        manager.mThen = [&](bool pIsBefore) {
            if (!pIsBefore) {
                tree.then(tree);
            }
        };
        operations.Run(i, *tree.node);
        EXPECT_TRUE(tree.calls > (i < curveCount ? 0 : 2) || i == 3 || i + 1 == curveCount);
        EXPECT_EQ(expected, describe(*tree.node));
        manager.mThen = [](bool) {};
    }
}

TEST(Listeners, MayEditAndDestroyTheTreeInEveryOperation)
{
    const auto onCurve = [](std::function<void(WatchedTree&, Glissa&)> pReact) {
        return [pReact](WatchedTree& self) {
            if (Glissa* const curve = self.Curve()) {
                pReact(self, *curve);
            }
        };
    };
    Operations operations;
    const std::vector<std::function<void(WatchedTree&)>> reactions = {
        onCurve([](WatchedTree&, Glissa& curve) { curve.KeyClear(); }),
        onCurve([](WatchedTree& self, Glissa& curve) { curve.KeyAdd(Seconds(self.calls * 0.3)); }),
        onCurve([](WatchedTree&, Glissa& curve) { curve.KeyMoveOf(false, Seconds(1), 1.0f); }),
        onCurve([](WatchedTree&, Glissa& curve) {
            curve.KeyModifyBegin();
            curve.Delete(0, 2);
            curve.KeyModifyEnd();
        }),
        onCurve([](WatchedTree& self, Glissa& curve) {
            curve.CallbackUnregister(WatchedTree::HearCurve, &self);
            curve.KeySelectAll();
        }),
        onCurve([](WatchedTree&, Glissa& curve) { curve.Destroy(); }),
        [&](WatchedTree& self) { SmoothTogether(*self.node, operations.smooth); },
        [](WatchedTree& self) { self.node->Delete(KTime::MinusInfinite(), Seconds(9), true); },
        [](WatchedTree& self) { self.node->RemoveLayer(self.calls % 4, true); },
        [](WatchedTree& self) { self.node->Clear(); },
        [](WatchedTree& self) {
            self.node->CreateLayerAt(GlissaLayerInfo(self.calls % 4, nullptr));
        },
        [](WatchedTree& self) {
            if (self.node->GetCount() > 0) {
                self.node->Delete(0);
            }
        },
        [](WatchedTree& self) { self.End(self.node); },
        [](WatchedTree& self) { self.End(self.parent.get()); },
    };
    for (std::size_t i = 0; i < 2 * operations.all.size(); ++i) {
        for (std::size_t r = 0; r < reactions.size(); ++r) {
            // By the listeners of nodes and curves, and by that of the managers.
            const bool byManager = i % 2 == 1;
            SCOPED_TRACE(testing::Message() << r << " in " << i / 2 << (byManager ? " m" : ""));
            ManagerListener manager;
            WatchedTree tree([](WatchedTree&) {});
            (byManager ? tree.thenOfManager : tree.then) = reactions[r];
            manager.mThen = [&](bool) { tree.React(tree.thenOfManager); };
            operations.Run(i / 2, *tree.node);
            tree.then = tree.thenOfManager = [](WatchedTree&) {};
            for (GlissaNode* layer = tree.node; layer && layer->LayerGet();
                 layer = layer->LayerGet()) {
                EXPECT_LT(layer->GetLayerID(), layer->LayerGet()->GetLayerID());
                EXPECT_EQ(tree.node, layer->LayerGet()->ObjectLayerGet());
            }
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

TEST(Listeners, AMadeNodeThatIsRemovedAtOnceIsNotGiven)
{
    WatchedTree tree([](WatchedTree& self) { self.node->RemoveLayer(2, true); });
    EXPECT_EQ(nullptr, tree.node->CreateLayerAt({2, nullptr}));
    tree.then = [](WatchedTree& self) { self.End(self.parent.get()); };
    EXPECT_EQ(nullptr, tree.node->LayerCreate({2, nullptr}, true));
}
}  // namespace
