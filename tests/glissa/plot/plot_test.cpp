// Copyright (c) 2026 The glissa authors
// SPDX-License-Identifier: MIT

#include "glissa/plot/plot_in_layers.h"
#include "tests/support/curve_test.h"
#include "tests/support/layer_stack.h"
#include "tests/support/random_curve.h"

#include <algorithm>
#include <cmath>
#include <functional>
#include <string>
#include <vector>

namespace
{
using PlotInLayers = CurveTest;

using Values = std::array<double, 3>;
using Ids = KArrayTemplate<int, 16>;

constexpr int kSamples = 6;
constexpr KTime kStep(KTime::kTicksPerSecond / 120);
const KTime kPeriod = KTime::FromSeconds(0.1);
const KTime kStop = kPeriod * (kSamples - 1);

Values At(GlissaNode& pNode, int pSample)
{
    Values values = {};
    pNode.GeneralEvaluate(values.data(), kPeriod * pSample);
    return values;
}

std::vector<Values> AllOf(GlissaNode& pNode)
{
    std::vector<Values> all;
    for (int i = 0; i < kSamples; ++i) {
        all.push_back(At(pNode, i));
    }
    return all;
}

// Random keys on the curves of every layer of a stack, near the values that it has.
void Animate(LayerStack& pStack, Random& pRandom)
{
    for (const auto& layer : pStack.Layers()) {
        for (int i = 0; i < 3; ++i) {
            for (int k = pRandom.Below(4); k > 0; --k) {
                const double value = std::fabs(layer->values[static_cast<std::size_t>(i)]) *
                                     (1.0 + 0.4 * pRandom.Signed());
                AddKeys(layer->node->Get(i), {{0.17 * k, static_cast<float>(value)}});
            }
        }
    }
}

// What a refused plot must not change.
std::string StateOf(GlissaNode& pNode)
{
    std::string text;
    for (GlissaNode* layer = &pNode; layer; layer = layer->LayerGet()) {
        text += std::to_string(layer->GetLayerID()) + ": ";
        for (int i = 0; i < layer->GetCount(); ++i) {
            const Glissa* const curve = layer->Get(i)->FCurveGet();
            text += curve ? KeysOf(*curve) + "; " : "none; ";
        }
    }
    return text;
}

NodePtr EmptyCopy(GlissaNode& pNode)
{
    return NodePtr(pNode.CloneTemplate(false, false, true, GlissaLayerInfo::Invalid));
}

void ExpectNear(const LayerStack& pStack, const std::vector<Values>& pWanted, GlissaNode& pNode)
{
    const std::vector<Values> got = AllOf(pNode);
    for (std::size_t i = 0; i < got.size(); ++i) {
        EXPECT_TRUE(pStack.IsNear(pWanted[i].data(), got[i].data(), 1e-4, 1e-3)) << "sample " << i;
    }
}

TEST_F(PlotInLayers, ABakedStackShowsTheSameAtEverySample)
{
    int refused = 0;
    for (unsigned seed = 0; seed < 3000 && !HasFailure(); ++seed) {
        SCOPED_TRACE(seed);
        std::mt19937 engine(seed);
        Random random(seed);
        LayerStack stack(engine, true);
        Animate(stack, random);
        stack.Layers()[0]->info.mMuted = false;
        GlissaNode& node = stack.Node();
        Ids all;
        for (const auto& layer : stack.Layers()) {
            all.Add(layer->id);
        }
        const int way = random.Below(3);
        NodePtr warp;
        if (way == 0 && random.Below(2) == 0) {
            warp.reset(GlissaNodeCreate("", KDataTypeTimeWarp, 0, GlissaLayerInfo::Base));
            warp->CreateFCurve();
            AddKeys(warp.get(), {{0.0, 0.3f}, {0.3, 0.5f}, {0.5, 0.0f}});
            node.TimeWarpSet(warp.get());
        }
        const std::vector<Values> before = AllOf(node);
        if (way == 0) {
            const NodePtr result = EmptyCopy(node);
            Glissa_PlotInLayers(&node, nullptr, GlissaLayerInfo::Base, 0, KTime(), kStop, kPeriod,
                                result.get(), nullptr, true, nullptr);
            ExpectNear(stack, before, *result);
            ExpectNear(stack, before, node);
            continue;
        }
        const std::size_t at = random.Bits() % stack.Layers().size();
        stack.Layers()[at]->info.mLocked = random.Below(4) == 0;
        const bool isLocked = stack.Layers()[at]->info.mLocked;
        const std::string state = StateOf(node);
        if (way == 1) {
            Glissa_PlotInLayers(&node, &all, GlissaLayerInfo::Base,
                                ePlotRemoveLayers | ePlotReplaceSpan, KTime(), kStop, kPeriod,
                                nullptr, nullptr, false, nullptr);
        } else {
            Glissa_PlotInLayers(&node, nullptr, GlissaLayerInfo(99, nullptr),
                                ePlotZeroLayers | ePlotReplaceCurves, KTime(), kStop, kPeriod,
                                nullptr, nullptr, false, nullptr);
        }
        ExpectNear(stack, before, node);
        EXPECT_EQ(isLocked, state == StateOf(node));
        refused += isLocked ? 1 : 0;
    }
    EXPECT_GT(refused, 100);
}

TEST_F(PlotInLayers, ASolvedLayerMakesTheChainShowTheReference)
{
    for (unsigned seed = 0; seed < 3000 && !HasFailure(); ++seed) {
        SCOPED_TRACE(seed);
        std::mt19937 engine(seed);
        Random random(seed);
        LayerStack stack(engine, true);
        Animate(stack, random);
        GlissaNode& node = stack.Node();
        const std::size_t at = random.Bits() % stack.Layers().size();
        LayerStack::Layer& target = *stack.Layers()[at];
        target.info.mMuted = false;
        target.info.mWeight = std::max(target.info.mWeight, 0.05);
        for (std::size_t i = at + 1; i < stack.Layers().size(); ++i) {
            stack.Layers()[i]->info.mMode = eLayerModeAdditive;
        }
        // A total that can be reached: that of the layer before its keys are lost.
        const std::vector<Values> wanted = AllOf(node);
        const NodePtr reference = EmptyCopy(node);
        reference->SetLayerInfo(GlissaLayerInfo::Base);
        for (int i = 0; i < kSamples; ++i) {
            Values values = wanted[static_cast<std::size_t>(i)];
            reference->KeyAppend(kPeriod * i, values.data());
        }
        for (int i = 0; i < 3; ++i) {
            target.node->Get(i)->FCurveGet()->KeyClear();
            target.node->Get(i)->FCurveGet()->SetValue(1.0f);
        }
        Glissa_PlotInLayers(&node, nullptr, GlissaLayerInfo(target.id, nullptr),
                            seed % 2 == 0 ? ePlotReplaceSpan : ePlotReplaceCurves, KTime(), kStop,
                            kPeriod, nullptr, reference.get(), false, nullptr);
        ExpectNear(stack, wanted, node);
    }
}

// A translation with the layers 2 and 5, all with keys 0, 1 and 2 s of values 1, 10 and 100.
NodePtr ThreeLayers()
{
    NodePtr node = MakeChannel(KDataTypeLclTranslation, "T");
    float value = 1.0f;
    for (const int id : {0, 2, 5}) {
        GlissaNode* const layer = id == 0 ? node.get() : node->CreateLayerAt({id, nullptr});
        for (int i = 0; i < 3; ++i) {
            AddKeys(layer->Get(i), {{0.0, value}, {2.0, value}});
        }
        value *= 10.0f;
    }
    return node;
}

TEST_F(PlotInLayers, FlagsDecideWhatBecomesOfTheLayers)
{
    // Values of the layers 0, 2, 5 and 7 at 1 s and at 3 s; -1 for none.
    const struct
    {
        const char* name;
        std::vector<int> list;  // empty for none
        int target;
        unsigned flags;
        std::vector<double> values;
    } kRows[] = {
        {"nothing", {}, 5, 0, {1, 1, 10, 10, 100, 100, -1, -1}},
        {"no list, no removal", {}, 5, ePlotRemoveLayers, {1, 1, 10, 10, 100, 100, -1, -1}},
        {"removed but for the target",
         {2, 5},
         5,
         ePlotRemoveLayers | ePlotReplaceSpan,
         {1, 1, -1, -1, 110, 100, -1, -1}},
        {"removed and created again",
         {5, 2, 5},
         5,
         ePlotRemoveLayers | ePlotReplaceCurves,
         {1, 1, -1, -1, 110, 110, -1, -1}},
        {"base emptied",
         {0},
         7,
         ePlotRemoveLayers | ePlotReplaceCurves,
         {0, 0, 10, 10, 100, 100, 1, 1}},
        {"zeros of a span",
         {},
         7,
         ePlotZeroLayers | ePlotReplaceCurves,
         {0, 1, 0, 10, 0, 100, 111, 111}},
        {"zeros go before removal",
         {2},
         7,
         ePlotZeroLayers | ePlotRemoveLayers,
         {1, 1, 0, 10, 100, 100, -1, -1}},
    };
    for (const auto& row : kRows) {
        SCOPED_TRACE(row.name);
        const NodePtr node = ThreeLayers();
        Ids list;
        for (const int id : row.list) {
            list.Add(id);
        }
        Glissa_PlotInLayers(node.get(), row.list.empty() ? nullptr : &list, {row.target, nullptr},
                            row.flags, KTime(), Seconds(1.5), Seconds(0.5), nullptr, nullptr, false,
                            nullptr);
        std::vector<double> values;
        for (const int id : {0, 2, 5, 7}) {
            GlissaNode* const layer = node->LayerGet(id);
            for (const double time : {1.0, 3.0}) {
                values.push_back(
                    layer ? layer->Get(1)->FCurveGet()->Evaluate(Seconds(time), nullptr) : -1.0);
            }
        }
        EXPECT_EQ(row.values, values);
    }
    // The base of a leaf is emptied as well.
    const NodePtr leaf = MakeChannel(KDataTypeNumber, "N");
    leaf->FCurveGet()->SetValue(5.0f);
    AddKeys(leaf->CreateLayerAt({2, nullptr}), {{0.0, 1.0f}});
    Ids both;
    both.Add(0);
    both.Add(2);
    Glissa_PlotInLayers(leaf.get(), &both, {7, nullptr}, ePlotRemoveLayers | ePlotReplaceCurves,
                        KTime(), Seconds(1.0), Seconds(0.5), nullptr, nullptr, false, nullptr);
    EXPECT_EQ(6.0, At(*leaf, 0)[0]);
    // A layer that takes the result is not destroyed, and the new curves look like the old ones.
    const NodePtr node = ThreeLayers();
    GlissaNode* const kept = node->LayerGet(5);
    const float red[] = {1.0f, 0.0f, 0.0f};
    node->Get(0)->FCurveGet()->SetColor(red);
    node->Get(0)->FCurveGet()->SetWasData(7);
    Ids list;
    list.Add(5);
    Glissa_PlotInLayers(node.get(), &list, GlissaLayerInfo::Base,
                        ePlotRemoveLayers | ePlotReplaceCurves, KTime(), Seconds(1.0), Seconds(1.0),
                        kept, nullptr, false, nullptr);
    EXPECT_EQ(kept, node->LayerGet(5));
    EXPECT_EQ("0:100 1:100 2:100 ", KeysOf(*kept->Get(2)->FCurveGet()));
    EXPECT_EQ("0:100 1:100 2:100 ", KeysOf(*node->Get(2)->FCurveGet()));
    EXPECT_EQ(7, node->Get(0)->FCurveGet()->GetWasData());
    EXPECT_EQ(0.0f, node->Get(0)->FCurveGet()->GetColor()[1]);
}

TEST_F(PlotInLayers, NothingIsLostWhereAPlotIsRefused)
{
    StubLayer locked;
    locked.mLocked = true;
    const NodePtr reference = MakeChannel(KDataTypeLclTranslation, "T");
    const NodePtr narrow = MakeChannel(KDataTypeVector2, "T");
    StubLayer override;
    override.mMode = eLayerModeOverride;
    struct Call
    {
        GlissaLayerInfo target = {9, nullptr};
        KTime start;
        KTime stop = KTime::FromSeconds(1.0);
        KTime period = KTime::FromSeconds(0.5);
        GlissaNode* reference = nullptr;
    };
    const struct
    {
        const char* name;
        std::function<void(GlissaNode&, Call&)> change;
        bool isRefused;
    } kRows[] = {
        {"none of them", [](GlissaNode&, Call&) {}, false},
        {"no period", [](GlissaNode&, Call& pCall) { pCall.period = KTime(); }, true},
        {"samples beyond an int",
         [](GlissaNode&, Call& pCall) {
             pCall.period = KTime(1);
             pCall.stop = Seconds(100.0);
         },
         true},
        {"id below the base",
         [](GlissaNode&, Call& pCall) {
             pCall.target = {-3, nullptr};
         },
         true},
        {"no layers allowed", [](GlissaNode& pNode, Call&) { pNode.SetMultiLayer(false); }, true},
        {"target locked",
         [&](GlissaNode&, Call& pCall) {
             pCall.target = {9, &locked};
         },
         true},
        {"removed layer locked",
         [&](GlissaNode& pNode, Call&) {
             pNode.LayerGet(2)->SetLayerInfo({2, &locked});
         },
         true},
        {"layer type", [](GlissaNode& pNode, Call&) { pNode.SetLayerType(eLayerTypeScalingAlt); },
         true},
        {"channel without a curve",
         [](GlissaNode& pNode, Call&) { pNode.Get(1)->FCurveReplace(nullptr); }, true},
        {"narrow reference", [&](GlissaNode&, Call& pCall) { pCall.reference = narrow.get(); },
         true},
        {"override above the solved layer",
         [&](GlissaNode& pNode, Call& pCall) {
             pNode.LayerGet(5)->SetLayerInfo({5, &override});
             pCall.reference = reference.get();
             pCall.target = {3, nullptr};
         },
         true},
        {"infinite span", [](GlissaNode&, Call& pCall) { pCall.stop = KTime::Infinite(); }, false},
        {"infinite span without keys",
         [](GlissaNode& pNode, Call& pCall) {
             pNode.Delete(KTime(-9), Seconds(9.0), true);
             pCall.start = KTime::MinusInfinite();
         },
         true},
    };
    for (const auto& row : kRows) {
        SCOPED_TRACE(row.name);
        const NodePtr node = ThreeLayers();
        Call call;
        row.change(*node, call);
        const std::string state = StateOf(*node);
        Ids list;
        list.Add(2);
        Glissa_PlotInLayers(node.get(), &list, call.target, ePlotRemoveLayers | ePlotReplaceSpan,
                            call.start, call.stop, call.period, nullptr, call.reference, false,
                            nullptr);
        EXPECT_EQ(row.isRefused, state == StateOf(*node)) << state;
    }
}

// The numbers of a baked translation, dense or sparse.
NodePtr Bake(GlissaNode& pNode, KTime pStop, KTime pPeriod, KSmartPlotOptions pOptions)
{
    NodePtr result = EmptyCopy(pNode);
    Glissa_PlotInLayers(&pNode, nullptr, GlissaLayerInfo::Base, 0, KTime(), pStop, pPeriod,
                        result.get(), nullptr, true, &pOptions);
    return result;
}

TEST_F(PlotInLayers, ASmartPlotHasItsKeysWhereTheLayersHaveTheirs)
{
    const NodePtr node = MakeChannel(KDataTypeLclTranslation, "T");
    AddKeys(node->Get(0), {{0.0, 1.0f}, {0.4, 2.0f}, {3.0, 2.0f}});
    AddKeys(node->CreateLayerAt({1, nullptr})->Get(1), {{0.4, 1.0f}, {0.6, 5.0f}});
    KSmartPlotOptions options;
    options.mSmartPlot = true;
    options.mIncreaseFidelity = false;
    options.mLookAroundPeriod = Seconds(0.01);
    const NodePtr sparse = Bake(*node, Seconds(1.0), Seconds(0.5), options);
    EXPECT_EQ("0:1 0.4:2 1:2 ", KeysOf(*sparse->Get(0)->FCurveGet()));
    EXPECT_EQ("0:1 0.4:1 0.6:5 1:5 ", KeysOf(*sparse->Get(1)->FCurveGet()));
    EXPECT_EQ("0:0 1:0 ", KeysOf(*sparse->Get(2)->FCurveGet()));
    options.mKeepDenseResult = true;
    const NodePtr dense = Bake(*node, Seconds(1.0), Seconds(0.5), options);
    EXPECT_EQ("0:1 0.01:1 0.39:1 0.4:1 0.41:1.2 0.5:3 0.59:4.8 0.6:5 0.61:5 0.99:5 1:5 1.01:5 ",
              KeysOf(*dense->Get(1)->FCurveGet()));
    // Constant keys are merged, with one at the start; a cycle that goes on behind the keys is not
    // lost.
    const NodePtr stepped = MakeChannel(KDataTypeNumber, "N");
    AddKeys(stepped.get(), {{0.4, 1.0f}, {0.7, 5.0f}, {1.0, 1.0f}});
    stepped->FCurveGet()->SetPostExtrapolation(eExtrapolationRepetition);
    stepped->FCurveGet()->SetPostExtrapolationCount(9);
    options = {};
    options.mSmartPlot = true;
    const NodePtr cycle = Bake(*stepped, Seconds(3.0), Seconds(0.05), options);
    EXPECT_NEAR(3.0f, cycle->FCurveGet()->Evaluate(Seconds(2.05), nullptr), 0.5);
    stepped->FCurveGet()->KeyTangeantSetInterpolation(false, eInterpolationConstant);
    const NodePtr merged = Bake(*stepped, Seconds(0.8), Seconds(0.1), options);
    EXPECT_EQ("0:1 0.4:1 0.7:5 ", KeysOf(*merged->FCurveGet()));
}

TEST_F(PlotInLayers, ASmartPlotIsWithinItsToleranceBetweenTheSamples)
{
    int sparseKeys = 0;
    int denseKeys = 0;
    for (unsigned seed = 0; seed < 200 && !HasFailure(); ++seed) {
        SCOPED_TRACE(seed);
        Random random(seed);
        const NodePtr node = MakeChannel(KDataTypeLclTranslation, "T");
        for (int id = 0; id < 3; ++id) {
            GlissaNode* const layer = id == 0 ? node.get() : node->CreateLayerAt({id, nullptr});
            for (int i = 0; i < 3; ++i) {
                double time = 0.0;
                for (int k = random.Below(6); k >= 0; --k) {
                    time += 0.2 + 0.1 * random.Scale(0, 4);
                    layer->Get(i)->FCurveGet()->KeyAppendFast(
                        Seconds(time), static_cast<float>(10.0 * random.Signed()));
                }
            }
        }
        KSmartPlotOptions options;
        options.mSmartPlot = true;
        options.mFidelityTolerance = 0.02 * random.Scale(0, 4);
        options.mBreakTangents = seed % 2 == 0;
        options.mFidelityBreakTangents = seed % 3 != 0;
        options.mFidelitySubdivisions = 2 + random.Below(3);
        const KTime period = Seconds(1.0 / 30.0);
        const KTime stop = Seconds(5.0);
        const NodePtr sparse = Bake(*node, stop, period, options);
        options.mKeepDenseResult = true;
        const NodePtr dense = Bake(*node, stop, period, options);
        for (int i = 0; i < 3; ++i) {
            Glissa& keys = *sparse->Get(i)->FCurveGet();
            sparseKeys += keys.KeyGetCount();
            denseKeys += dense->Get(i)->FCurveGet()->KeyGetCount();
            for (KTime time; time < stop; time += period / 8) {
                // A key nearer to the time is nearer than refinement may put one.
                const double before = keys.KeyFind(time - kStep, nullptr);
                const double behind = keys.KeyFind(time + kStep, nullptr);
                if (std::floor(before) == std::floor(behind) && std::floor(before) != before) {
                    EXPECT_NEAR(dense->Get(i)->FCurveGet()->Evaluate(time, nullptr),
                                keys.Evaluate(time, nullptr), options.mFidelityTolerance + 1e-5)
                        << time.GetSecondDouble();
                }
            }
        }
    }
    EXPECT_LT(sparseKeys * 4, denseKeys);
}
}  // namespace
