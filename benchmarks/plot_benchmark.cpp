// Copyright (c) 2026 The glissa authors
// SPDX-License-Identifier: MIT

// Layers of rotations baked into curves. The floor of a dense bake is one blended evaluation and
// one appended key for each sample and channel. The cost a sample and a layer is that of one node.

#include "benchmarks/paired.h"
#include "glissa/curve/curve.h"
#include "glissa/node/node.h"
#include "glissa/plot/plot_in_layers.h"

#include <cmath>
#include <memory>
#include <vector>

namespace
{
constexpr KTime kPeriod(KTime::kTicksPerSecond / 30);
constexpr int kNodes = 100;
constexpr int kSamples = 10000;
constexpr int kSourceKeys = 1000;

struct EndNode
{
    void operator()(GlissaNode* pNode) const { pNode->Destroy(); }
};
using OwnedNode = std::unique_ptr<GlissaNode, EndNode>;

class HalfLayer final : public GlissaLayer
{
public:
    double GetWeight(KTime) const override { return 0.5; }
    bool IsMuted() const override { return false; }
    bool IsLocked() const override { return false; }
    eLayerMode GetLayerMode() const override { return eLayerModeAdditive; }
    bool GetLayerModeBypass(KDataType*) const override { return false; }
    eWeightRotationAccumulationMode GetLayerRotationMode() const override
    {
        return eRotationByLayer;
    }
    eAnimLayerScaleAccumulationMode GetLayerScalingMode() const override { return eScaleMultiply; }
};

// A rotation with layers of half weight after its base, and a node for the result.
class Channel
{
public:
    Channel(int pLayers, int pKeys, int pSamples, unsigned pSeed)
        : mNode(MakeNode()), mResult(MakeNode()), mStop(kPeriod * pSamples)
    {
        static const HalfLayer half;
        for (int id = 1; id < pLayers; ++id) {
            mNode->CreateLayerAt(GlissaLayerInfo(id, &half));
        }
        // Slow swings with a quicker one on top, as joints have them.
        double phase = pSeed;
        for (GlissaNode* layer = mNode.get(); layer; layer = layer->LayerGet()) {
            for (int i = 0; i < 3; ++i, phase += 0.7) {
                for (int k = 0; k < pKeys; ++k) {
                    const KTime time = mStop / pKeys * k;
                    const double t = time.GetSecondDouble();
                    layer->Get(i)->FCurveGet()->KeyAppendFast(
                        time, static_cast<float>(30.0 * std::sin(t + phase) +
                                                 8.0 * std::sin(2.3 * t - phase)));
                }
            }
        }
    }

    void Bake(bool pIsSmart)
    {
        KSmartPlotOptions options;
        options.mSmartPlot = pIsSmart;
        Glissa_PlotInLayers(mNode.get(), nullptr, GlissaLayerInfo::Base, 0, KTime(), mStop, kPeriod,
                            mResult.get(), nullptr, false, &options);
    }
    void EvaluateAndAppend()
    {
        for (int i = 0; i < 3; ++i) {
            mResult->Get(i)->FCurveReplace(GlissaCreate());
            mResult->Get(i)->FCurveGet()->InitBuffers(static_cast<int>((mStop / kPeriod).Get()) + 2,
                                                      true);
        }
        int hint = 0;
        for (KTime time; time <= mStop + kPeriod; time = time + kPeriod) {
            double values[3];
            mNode->GeneralEvaluate(values, time, &hint);
            for (int i = 0; i < 3; ++i) {
                mResult->Get(i)->FCurveGet()->KeyAppendFast(time, static_cast<float>(values[i]));
            }
        }
    }
    int ResultKeys() const { return mResult->Get(0)->FCurveGet()->KeyGetCount(); }

private:
    static GlissaNode* MakeNode()
    {
        GlissaNode* const node = FCurveNodeCreateFromDataType(KDataTypeLclRotation, "R");
        node->CreateFCurve();
        return node;
    }

    OwnedNode mNode;
    OwnedNode mResult;
    KTime mStop;
};

std::vector<std::unique_ptr<Channel>> MakeChannels(int pLayers)
{
    std::vector<std::unique_ptr<Channel>> channels;
    for (unsigned i = 0; i < kNodes; ++i) {
        channels.push_back(std::make_unique<Channel>(pLayers, kSourceKeys, kSamples, i));
    }
    return channels;
}

// The number of keys: a plot brings each rotation next to the one before, so values differ.
template <typename Work>
std::uint64_t OnAll(const std::vector<std::unique_ptr<Channel>>& pChannels, const Work& pWork)
{
    Checksum check;
    for (const auto& channel : pChannels) {
        pWork(*channel);
        check.Add(static_cast<float>(channel->ResultKeys()));
    }
    return check.Get();
}

void DenseBake(benchmark::State& pState)
{
    const auto channels = MakeChannels(3);
    RunPaired(
        pState, static_cast<double>(kNodes) * kSamples,
        [&] { return OnAll(channels, [](Channel& pChannel) { pChannel.Bake(false); }); },
        [&] { return OnAll(channels, [](Channel& pChannel) { pChannel.EvaluateAndAppend(); }); });
}
BENCHMARK(DenseBake)->UseManualTime();

// The floor is a dense bake, which has other keys: there is no checksum to compare.
void SmartBake(benchmark::State& pState)
{
    const auto channels = MakeChannels(3);
    int keys = 0;
    RunPaired(
        pState, static_cast<double>(kNodes) * kSamples,
        [&] {
            OnAll(channels, [](Channel& pChannel) { pChannel.Bake(true); });
            keys = channels.front()->ResultKeys();
            return std::uint64_t{0};
        },
        [&] {
            OnAll(channels, [](Channel& pChannel) { pChannel.Bake(false); });
            return std::uint64_t{0};
        });
    pState.counters["keys"] = keys;
}
BENCHMARK(SmartBake)->UseManualTime();

// Arguments: samples, layers.
void BakeOfOneNode(benchmark::State& pState)
{
    const auto samples = static_cast<int>(pState.range(0));
    const auto layers = static_cast<int>(pState.range(1));
    Channel channel(layers, 100, samples, 7);
    RunAlone(
        pState, static_cast<double>(samples) * layers, [&] { channel.Bake(false); }, [] {});
}
BENCHMARK(BakeOfOneNode)
    ->ArgsProduct({{1000, 10000, 100000}, {3}})
    ->ArgsProduct({{10000}, {1, 2, 4, 8, 16}})
    ->UseManualTime();
}  // namespace
