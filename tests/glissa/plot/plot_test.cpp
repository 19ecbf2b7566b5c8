// Copyright (c) 2026 The glissa authors
// SPDX-License-Identifier: MIT

#include "glissa/plot/plot_in_layers.h"
#include "tests/support/allocation_count.h"
#include "tests/support/curve_test.h"
#include "tests/support/layer_stack.h"
#include "tests/support/random_curve.h"

#include <algorithm>
#include <cmath>
#include <sstream>
#include <string>
#include <utility>
#include <vector>

namespace
{
using PlotInLayers = CurveTest;
using Sample = std::array<double, 3>;

constexpr int kSamples = 6;
constexpr KTime kStep(KTime::kTicksPerSecond / 120);
const KTime kPeriod = KTime::FromSeconds(0.1);
const KTime kStop = kPeriod * (kSamples - 1);

std::vector<Sample> AllOf(GlissaNode& pNode)
{
    std::vector<Sample> all(kSamples);
    for (int i = 0; i < kSamples; ++i) {
        pNode.GeneralEvaluate(all[static_cast<std::size_t>(i)].data(), kPeriod * i);
    }
    return all;
}

// A stack with random keys on its curves, near the values that it has.
struct MovingStack : LayerStack
{
    MovingStack(std::mt19937& pEngine, Random& pRandom) : LayerStack(pEngine, true)
    {
        for (const auto& layer : Layers()) {
            for (int i = 0; i < 3; ++i) {
                for (int k = pRandom.Below(4); k > 0; --k) {
                    const double value = std::fabs(layer->values[static_cast<std::size_t>(i)]) *
                                         (1.0 + 0.4 * pRandom.Signed());
                    AddKeys(layer->node->Get(i), {{0.17 * k, static_cast<float>(value)}});
                }
            }
        }
    }
    void ExpectNear(const std::vector<Sample>& pWanted, GlissaNode& pNode) const
    {
        const std::vector<Sample> got = AllOf(pNode);
        for (std::size_t i = 0; i < got.size(); ++i) {
            EXPECT_TRUE(IsNear(pWanted[i].data(), got[i].data(), 1e-4, 1e-3)) << "sample " << i;
        }
    }
};

// Ids and keys of the layers: what a refused plot must not change.
std::string LayersOf(GlissaNode& pNode)
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

GlissaLayerInfo Layer(int pId, const GlissaLayer* pLayer = nullptr)
{
    return GlissaLayerInfo(pId, pLayer);
}

// The arguments of a plot.
struct Plot
{
    GlissaNode* node;
    std::string list = "";  // ids of one digit, empty for all
    GlissaLayerInfo target = GlissaLayerInfo::Base;
    unsigned flags = 0;
    GlissaNode* result = nullptr;
    GlissaNode* reference = nullptr;
    KTime start = KTime();
    KTime stop = kStop;
    KTime period = kPeriod;
    KSmartPlotOptions options = {};

    void Run()
    {
        KArrayTemplate<int, 16> ids;
        for (const char id : list) {
            ids.Add(id - '0');
        }
        Glissa_PlotInLayers(node, list.empty() ? nullptr : &ids, target, flags, start, stop, period,
                            result, reference, true, &options);
    }
};

TEST_F(PlotInLayers, ABakedStackShowsTheSameAtEverySample)
{
    int refused = 0;
    for (unsigned seed = 0; seed < 3000 && !HasFailure(); ++seed) {
        SCOPED_TRACE(seed);
        std::mt19937 engine(seed);
        Random random(seed);
        MovingStack stack(engine, random);
        stack.Layers()[0]->info.mMuted = false;
        const NodePtr warp(GlissaNodeCreate("", KDataTypeTimeWarp, 0, GlissaLayerInfo::Base));
        warp->CreateFCurve();
        AddKeys(warp.get(), {{0.0, 0.3f}, {0.3, 0.5f}, {0.5, 0.0f}});
        const int way = random.Below(4);
        stack.Node().TimeWarpSet(way == 0 ? warp.get() : nullptr);
        const std::vector<Sample> before = AllOf(stack.Node());
        const NodePtr result = EmptyCopy(stack.Node());
        Plot plot{&stack.Node()};
        StubLayer& any = stack.Layers()[random.Bits() % stack.Layers().size()]->info;
        any.mLocked = way > 1 && random.Below(4) == 0;
        refused += any.mLocked ? 1 : 0;
        if (way < 2) {
            plot.result = result.get();
        } else if (way == 2) {
            plot.flags = ePlotRemoveLayers | ePlotReplaceSpan;
            for (const auto& layer : stack.Layers()) {
                plot.list += static_cast<char>('0' + layer->id);
            }
        } else {
            plot.flags = ePlotZeroLayers | ePlotReplaceCurves;
            plot.target = Layer(99);
        }
        const std::string layers = LayersOf(stack.Node());
        plot.Run();
        stack.ExpectNear(before, stack.Node());
        EXPECT_EQ(way < 2 || any.mLocked, layers == LayersOf(stack.Node()));
        if (way < 2) {
            stack.ExpectNear(before, *result);
        }
    }
    EXPECT_GT(refused, 100);
}

TEST_F(PlotInLayers, ASolvedLayerMakesTheChainShowTheReference)
{
    for (unsigned seed = 0; seed < 3000 && !HasFailure(); ++seed) {
        SCOPED_TRACE(seed);
        std::mt19937 engine(seed);
        Random random(seed);
        MovingStack stack(engine, random);
        const std::size_t at = random.Bits() % stack.Layers().size();
        LayerStack::Layer& target = *stack.Layers()[at];
        target.info.mMuted = false;
        target.info.mWeight = std::max(target.info.mWeight, 0.05);
        for (std::size_t i = at + 1; i < stack.Layers().size(); ++i) {
            stack.Layers()[i]->info.mMode = eLayerModeAdditive;
        }
        // A total that can be reached: that of the layer before it loses its keys.
        std::vector<Sample> wanted = AllOf(stack.Node());
        const NodePtr reference = EmptyCopy(stack.Node());
        reference->SetLayerInfo(GlissaLayerInfo::Base);
        for (int i = 0; i < kSamples; ++i) {
            reference->KeyAppend(kPeriod * i, wanted[static_cast<std::size_t>(i)].data());
        }
        target.node->Delete(KTime(-9), Seconds(9.0), false);
        const unsigned flags = seed % 2 == 0 ? ePlotReplaceSpan : ePlotReplaceCurves;
        Plot{&stack.Node(), "", Layer(target.id), flags, nullptr, reference.get()}.Run();
        stack.ExpectNear(wanted, stack.Node());
    }
}

// A translation with the layers 2 and 5, held at 1, 10 and 100 on X.
NodePtr ThreeLayers()
{
    NodePtr node = MakeChannel(KDataTypeLclTranslation, "T");
    AddKeys(node->Get(0), {{0.0, 1.0f}, {2.0, 1.0f}});
    AddKeys(node->CreateLayerAt({2, nullptr})->Get(0), {{0.0, 10.0f}, {2.0, 10.0f}});
    AddKeys(node->CreateLayerAt({5, nullptr})->Get(0), {{0.0, 100.0f}, {2.0, 100.0f}});
    return node;
}

TEST_F(PlotInLayers, FlagsDecideWhatBecomesOfTheLayers)
{
    const struct
    {
        const char* list;
        int target;
        unsigned flags;
        const char* values;  // of each layer, inside the span and behind it
    } kRows[] = {
        {"", 5, 0, "0: 1 1 2: 10 10 5: 100 100 "},
        {"", 5, ePlotRemoveLayers, "0: 1 1 2: 10 10 5: 100 100 "},
        {"25", 5, ePlotRemoveLayers | ePlotReplaceSpan, "0: 1 1 5: 110 100 "},
        {"525", 5, ePlotRemoveLayers | ePlotReplaceCurves, "0: 1 1 5: 110 110 "},
        {"0", 7, ePlotRemoveLayers | ePlotReplaceCurves, "0: 0 0 2: 10 10 5: 100 100 7: 1 1 "},
        {"", 7, ePlotZeroLayers | ePlotReplaceCurves, "0: 0 1 2: 0 10 5: 0 100 7: 111 111 "},
        {"2", 7, ePlotZeroLayers | ePlotRemoveLayers, "0: 1 1 2: 0 10 5: 100 100 "},
    };
    for (const auto& row : kRows) {
        SCOPED_TRACE(row.values);
        const NodePtr node = ThreeLayers();
        Plot{node.get(), row.list, Layer(row.target), row.flags}.Run();
        std::ostringstream values;
        for (GlissaNode* layer = node.get(); layer; layer = layer->LayerGet()) {
            Glissa& curve = *layer->Get(0)->FCurveGet();
            values << layer->GetLayerID() << ": " << curve.Evaluate(kPeriod, nullptr) << " "
                   << curve.Evaluate(Seconds(3.0), nullptr) << " ";
        }
        EXPECT_EQ(row.values, values.str());
    }
    // A layer that takes the result is not removed, and the new curves look like the old ones.
    const NodePtr node = ThreeLayers();
    GlissaNode* const kept = node->LayerGet(5);
    node->Get(0)->FCurveGet()->SetWasData(7);
    Plot{node.get(), "5", Layer(0), ePlotRemoveLayers | ePlotReplaceCurves, kept}.Run();
    EXPECT_EQ(kept, node->LayerGet(5));
    EXPECT_EQ(KeysOf(*kept->Get(0)->FCurveGet()), KeysOf(*node->Get(0)->FCurveGet()));
    EXPECT_EQ(7, node->Get(0)->FCurveGet()->GetWasData());
    // The base of a leaf is emptied as well.
    const NodePtr leaf = MakeChannel(KDataTypeNumber, "N");
    leaf->FCurveGet()->SetValue(5.0f);
    AddKeys(leaf->CreateLayerAt({2, nullptr}), {{0.0, 1.0f}});
    Plot{leaf.get(), "02", Layer(7), ePlotRemoveLayers | ePlotReplaceCurves}.Run();
    EXPECT_EQ(6.0, AllOf(*leaf)[0][0]);
}

TEST_F(PlotInLayers, NothingIsLostWhereAPlotIsRefused)
{
    static StubLayer locked;
    static StubLayer replacing;
    locked.mLocked = true;
    replacing.mMode = eLayerModeOverride;
    const NodePtr narrow = MakeChannel(KDataTypeVector2, "T");
    const struct
    {
        const char* name;
        bool isRefused;
        void (*change)(Plot&);
    } kRows[] = {
        {"nothing changed", false, [](Plot&) {}},
        {"infinite stop", false, [](Plot& p) { p.stop = KTime::Infinite(); }},
        {"no period", true, [](Plot& p) { p.period = KTime(); }},
        {"too many samples", true, [](Plot& p) { p.period = KTime(1), p.stop = Seconds(99.0); }},
        {"id below the base", true, [](Plot& p) { p.target = Layer(-3); }},
        {"no layers allowed", true, [](Plot& p) { p.node->SetMultiLayer(false); }},
        {"target locked", true, [](Plot& p) { p.target = Layer(9, &locked); }},
        {"locked", true, [](Plot& p) { p.node->LayerGet()->SetLayerInfo(Layer(2, &locked)); }},
        {"layer type", true, [](Plot& p) { p.node->SetLayerType(eLayerTypeScalingAlt); }},
        {"no curve", true, [](Plot& p) { p.node->Get(1)->FCurveReplace(nullptr); }},
        {"infinite start and no keys", true,
         [](Plot& p) { p.node->Delete(KTime(-9), Seconds(9.0), true), p.start = kFromStart; }},
        {"narrow reference", true, [](Plot& p) { std::swap(p.reference, p.result); }},
        {"override above", true,
         [](Plot& p) {
             p.node->LayerGet(5)->SetLayerInfo(Layer(5, &replacing));
             p.reference = p.node, p.target = Layer(3);
         }},
    };
    for (const auto& row : kRows) {
        SCOPED_TRACE(row.name);
        const NodePtr node = ThreeLayers();
        Plot plot{node.get(), "2", Layer(9), ePlotRemoveLayers | ePlotReplaceSpan, narrow.get()};
        row.change(plot);
        const std::string layers = LayersOf(*node);
        plot.Run();
        EXPECT_EQ(row.isRefused, layers == LayersOf(*node)) << layers;
    }
}

NodePtr Bake(GlissaNode& pNode, double pStop, double pPeriod, const KSmartPlotOptions& pOptions)
{
    NodePtr result = EmptyCopy(pNode);
    Plot plot{&pNode, "", Layer(0), 0, result.get(), nullptr, KTime(), Seconds(pStop)};
    plot.period = Seconds(pPeriod);
    plot.options = pOptions;
    plot.Run();
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
    const NodePtr sparse = Bake(*node, 1.0, 0.5, options);
    EXPECT_EQ("0:1 0.4:2 1:2 ", KeysOf(*sparse->Get(0)->FCurveGet()));
    EXPECT_EQ("0:1 0.4:1 0.6:5 1:5 ", KeysOf(*sparse->Get(1)->FCurveGet()));
    EXPECT_EQ("0:0 1:0 ", KeysOf(*sparse->Get(2)->FCurveGet()));
    options.mKeepDenseResult = true;
    const NodePtr dense = Bake(*node, 1.0, 0.5, options);
    EXPECT_EQ("0:1 0.01:1 0.39:1 0.4:1 0.41:1.2 0.5:3 0.59:4.8 0.6:5 0.61:5 0.99:5 1:5 1.01:5 ",
              KeysOf(*dense->Get(1)->FCurveGet()));
    // A cycle goes on behind the keys. Constant keys are merged, with one at the start.
    const NodePtr cycle = MakeChannel(KDataTypeNumber, "N");
    AddKeys(cycle.get(), {{0.4, 1.0f}, {0.7, 5.0f}, {1.0, 1.0f}});
    cycle->FCurveGet()->SetPostExtrapolation(eExtrapolationRepetition);
    cycle->FCurveGet()->SetPostExtrapolationCount(9);
    options = {};
    options.mSmartPlot = true;
    const NodePtr baked = Bake(*cycle, 3.0, 0.05, options);
    EXPECT_NEAR(3.0f, baked->FCurveGet()->Evaluate(Seconds(2.05), nullptr), 0.5);
    cycle->FCurveGet()->KeyTangeantSetInterpolation(false, eInterpolationConstant);
    EXPECT_EQ("0:1 0.4:1 0.7:5 ", KeysOf(*Bake(*cycle, 0.8, 0.1, options)->FCurveGet()));
}

TEST_F(PlotInLayers, ASmartPlotIsWithinItsToleranceBetweenTheSamples)
{
    int sparseKeys = 0;
    int denseKeys = 0;
    for (unsigned seed = 0; seed < 300 && !HasFailure(); ++seed) {
        SCOPED_TRACE(seed);
        Random random(seed);
        const NodePtr node = MakeChannel(KDataTypeNumber, "N");
        for (int id = 0; id < 3; ++id) {
            GlissaNode* const layer = id == 0 ? node.get() : node->CreateLayerAt({id, nullptr});
            double time = 0.0;
            for (int k = random.Below(6); k >= 0; --k) {
                time += 0.2 + 0.1 * random.Scale(0, 4);
                layer->FCurveGet()->KeyAppendFast(Seconds(time),
                                                  static_cast<float>(10.0 * random.Signed()));
            }
        }
        KSmartPlotOptions options;
        options.mSmartPlot = true;
        options.mFidelityTolerance = 0.02 * random.Scale(0, 4);
        options.mBreakTangents = seed % 2 == 0;
        options.mFidelityBreakTangents = seed % 3 != 0;
        options.mFidelitySubdivisions = 2 + random.Below(3);
        const NodePtr sparse = Bake(*node, 5.0, 1.0 / 30.0, options);
        options.mKeepDenseResult = true;
        const NodePtr dense = Bake(*node, 5.0, 1.0 / 30.0, options);
        Glissa& keys = *sparse->FCurveGet();
        sparseKeys += keys.KeyGetCount();
        denseKeys += dense->FCurveGet()->KeyGetCount();
        for (KTime time; time < Seconds(5.0); time += Seconds(1.0 / 240.0)) {
            // A key nearer to the time is nearer than another one may be put.
            const double before = std::floor(keys.KeyFind(time - kStep, nullptr));
            const double behind = keys.KeyFind(time + kStep, nullptr);
            if (before == std::floor(behind) && before != behind) {
                EXPECT_NEAR(dense->FCurveGet()->Evaluate(time, nullptr),
                            keys.Evaluate(time, nullptr), options.mFidelityTolerance + 1e-5)
                    << time.GetSecondDouble();
            }
        }
    }
    EXPECT_LT(sparseKeys * 4, denseKeys);
}

TEST_F(PlotInLayers, SamplingAllocatesForTheKeysAlone)
{
    const NodePtr node = ThreeLayers();
    const auto allocations = [&node](double pStop) {
        const std::size_t before = AllocationCount();
        const NodePtr result = Bake(*node, pStop, 0.001, {});
        return AllocationCount() - before;
    };
    allocations(9.0);
    // At most two for each page of 42 keys of the three curves.
    EXPECT_LT(allocations(9.0), allocations(1.0) + 3 * 2 * 8000 / 42);
}
}  // namespace
