// Copyright (c) 2026 The glissa authors
// SPDX-License-Identifier: MIT

// Evaluation of a thousand channels of a character at 30 frames per second, compared with the
// evaluation of the curves and the necessary trigonometry.

#include "benchmarks/paired.h"
#include "corvekit/math/rotation_order.h"
#include "glissa/curve/curve.h"
#include "glissa/node/node.h"

#include <array>
#include <memory>
#include <vector>

namespace
{
constexpr int kNodes = 1000;
constexpr int kKeys = 100;
constexpr int kFrames = 30;
constexpr std::int64_t kFrame = 141120000 / 30;
constexpr std::int64_t kKeyDistance = 3 * kFrame;

class BenchmarkLayer final : public GlissaLayer
{
public:
    BenchmarkLayer(eLayerMode pMode, double pWeight) : mMode(pMode), mWeight(pWeight) {}
    double GetWeight(KTime) const override { return mWeight; }
    bool IsMuted() const override { return false; }
    bool IsLocked() const override { return false; }
    eLayerMode GetLayerMode() const override { return mMode; }
    bool GetLayerModeBypass(KDataType*) const override { return false; }
    eWeightRotationAccumulationMode GetLayerRotationMode() const override
    {
        return eRotationByLayer;
    }
    eAnimLayerScaleAccumulationMode GetLayerScalingMode() const override { return eScaleMultiply; }

private:
    eLayerMode mMode;
    double mWeight;
};

// Channels of three curves with keys, and a layer on each for each of the modes.
class Channels
{
public:
    Channels(KDataType* pType, const std::vector<eLayerMode>& pModes, double pWeight)
    {
        for (const eLayerMode mode : pModes) {
            mLayers.push_back(std::make_unique<BenchmarkLayer>(mode, pWeight));
        }
        for (int i = 0; i < kNodes; ++i) {
            GlissaNode* node = FCurveNodeCreateFromDataType(pType, "channel");
            node->CreateFCurve();
            int id = 0;
            for (const auto& layer : mLayers) {
                node->CreateLayerAt(GlissaLayerInfo(++id, layer.get()));
            }
            for (GlissaNode* each = node; each; each = each->LayerGet()) {
                for (int k = 0; k < 3; ++k) {
                    Fill(*each->Get(k)->FCurveGet());
                }
            }
            mNodes.push_back(node);
        }
        mHints.resize(kNodes);
    }
    ~Channels()
    {
        for (GlissaNode* node : mNodes) {
            node->Destroy();
        }
    }
    Channels(const Channels&) = delete;
    Channels& operator=(const Channels&) = delete;

    const std::vector<GlissaNode*>& Nodes() const { return mNodes; }
    const std::vector<Glissa*>& Curves() const { return mCurves; }
    int* Hint(std::size_t pNode) { return &mHints[pNode]; }

private:
    void Fill(Glissa& pCurve)
    {
        pCurve.InitBuffers(kKeys, true);
        for (int i = 0; i < kKeys; ++i) {
            mState = mState * 6364136223846793005u + 1442695040888963407u;
            const auto value = static_cast<float>(mState >> 40) / 131072.0f - 64.0f;
            pCurve.KeyAppendFast(KTime(i * kKeyDistance), value);
        }
        mCurves.push_back(&pCurve);
    }

    std::vector<std::unique_ptr<BenchmarkLayer>> mLayers;
    std::vector<GlissaNode*> mNodes;
    std::vector<Glissa*> mCurves;
    std::vector<int> mHints;
    std::uint64_t mState = 7;
};

KTime TimeOf(int pFrame)
{
    // Between keys, like most samples.
    return KTime(kKeyDistance * 40 + pFrame * kFrame + 12345);
}

std::uint64_t EvaluateAll(Channels& pChannels)
{
    Checksum check;
    for (int frame = 0; frame < kFrames; ++frame) {
        for (std::size_t i = 0; i < pChannels.Nodes().size(); ++i) {
            double values[3];
            pChannels.Nodes()[i]->GeneralEvaluate(values, TimeOf(frame), pChannels.Hint(i));
            for (const double value : values) {
                check.Add(static_cast<float>(value));
            }
        }
    }
    return check.Get();
}

// Only the evaluation of the curves, with one hint for each node.
template <typename Then>
std::uint64_t CallCurves(Channels& pChannels, Then&& pThen)
{
    Checksum check;
    const std::size_t curves = pChannels.Curves().size() / pChannels.Nodes().size();
    for (int frame = 0; frame < kFrames; ++frame) {
        Glissa* const* curve = pChannels.Curves().data();
        for (std::size_t i = 0; i < pChannels.Nodes().size(); ++i) {
            double values[12];
            for (std::size_t k = 0; k < curves; ++k) {
                values[k] =
                    static_cast<double>((*curve++)->Evaluate(TimeOf(frame), pChannels.Hint(i)));
            }
            pThen(values);
            for (int k = 0; k < 3; ++k) {
                check.Add(static_cast<float>(values[k]));
            }
        }
    }
    return check.Get();
}

void Nothing(double*) {}

// A floor with other values than the library is compared with itself.
template <typename Floor>
void RunBeside(benchmark::State& pState, Channels& pChannels, Floor&& pFloor)
{
    const std::uint64_t expected = EvaluateAll(pChannels);
    RunPaired(
        pState, static_cast<double>(kNodes) * kFrames, [&] { return EvaluateAll(pChannels); },
        [&] {
            benchmark::DoNotOptimize(pFloor());
            return expected;
        });
}

void NoLayers(benchmark::State& pState)
{
    Channels channels(KDataTypeLclTranslation, {}, 1.0);
    RunPaired(
        pState, static_cast<double>(kNodes) * kFrames, [&] { return EvaluateAll(channels); },
        [&] { return CallCurves(channels, Nothing); });
}

void ThreeLayers(benchmark::State& pState)
{
    Channels channels(KDataTypeLclTranslation,
                      {eLayerModeAdditive, eLayerModeOverride, eLayerModeOverridePassthrough}, 0.5);
    RunBeside(pState, channels, [&] { return CallCurves(channels, Nothing); });
}

void AdditiveRotation(benchmark::State& pState)
{
    Channels channels(KDataTypeLclRotation, {eLayerModeAdditive}, 1.0);
    const auto turn = [](double* pValues) {
        const KVdRotationOrder order;
        KgeRMatrix base, layer;
        order.V2M(base, KgeRVector(pValues));
        order.V2M(layer, KgeRVector(pValues + 3));
        KgeRVector result;
        order.M2V(result, base * layer);
        std::copy_n(result.Data(), 3, pValues);
    };
    RunBeside(pState, channels, [&] { return CallCurves(channels, turn); });
}

// A base and two layers of half weight: a power of a rotation, and an interpolation of two.
void TwoRotationLayers(benchmark::State& pState)
{
    Channels channels(KDataTypeLclRotation, {eLayerModeAdditive, eLayerModeOverridePassthrough},
                      0.5);
    RunBeside(pState, channels, [&] { return CallCurves(channels, Nothing); });
}

void TwoScalingLayers(benchmark::State& pState)
{
    // No weight whose power is simpler than others.
    Channels channels(KDataTypeLclScaling, {eLayerModeAdditive, eLayerModeOverridePassthrough},
                      0.3);
    RunBeside(pState, channels, [&] { return CallCurves(channels, Nothing); });
}

void QuaternionPath(benchmark::State& pState)
{
    Channels channels(KDataTypeLclRotation, {}, 1.0);
    for (GlissaNode* node : channels.Nodes()) {
        node->SetUseQuaternion(true);
    }
    // Four orientations at keys and the result, and the evaluation of the curves at four keys.
    const auto floor = [&] {
        Checksum check;
        const KVdRotationOrder order;
        for (int frame = 0; frame < kFrames; ++frame) {
            Glissa* const* curve = channels.Curves().data();
            for (std::size_t i = 0; i < channels.Nodes().size(); ++i, curve += 3) {
                int key = 0;
                const int first = static_cast<int>(curve[0]->KeyFind(TimeOf(frame), &key));
                KgeRMatrix product;
                for (int k = first - 1; k <= first + 2; ++k) {
                    KgeRVector angles;
                    const KTime time = curve[0]->KeyGetTime(k);
                    for (int axis = 0; axis < 3; ++axis) {
                        angles[axis] =
                            static_cast<double>(curve[axis]->Evaluate(time, channels.Hint(i)));
                    }
                    KgeRMatrix matrix;
                    order.V2M(matrix, angles);
                    product = product * matrix;
                }
                KgeRVector result;
                order.M2V(result, product);
                check.Add(static_cast<float>(result[0]));
            }
        }
        return check.Get();
    };
    RunBeside(pState, channels, floor);
}

void NextKeyTime(benchmark::State& pState)
{
    Channels channels(KDataTypeLclTranslation, {}, 1.0);
    const auto library = [&] {
        Checksum check;
        for (GlissaNode* node : channels.Nodes()) {
            KTime time = KTime(-1);
            for (int step = 0; step < kFrames; ++step) {
                time = node->GetNextKeyTime(time, nullptr, true);
                check.Add(static_cast<float>(time.GetSecondDouble()));
            }
        }
        return check.Get();
    };
    const auto floor = [&] {
        Checksum check;
        Glissa* const* curve = channels.Curves().data();
        for (std::size_t i = 0; i < channels.Nodes().size(); ++i, curve += 3) {
            KTime time = KTime(-1);
            for (int step = 0; step < kFrames; ++step) {
                KTime best = KTime::Infinite();
                for (int k = 0; k < 3; ++k) {
                    int low = 0;
                    int high = kKeys;
                    while (low < high) {
                        const int middle = (low + high) / 2;
                        if (curve[k]->KeyGetTime(middle) <= time) {
                            low = middle + 1;
                        } else {
                            high = middle;
                        }
                    }
                    if (low < kKeys) {
                        best = std::min(best, curve[k]->KeyGetTime(low));
                    }
                }
                time = best;
                check.Add(static_cast<float>(time.GetSecondDouble()));
            }
        }
        return check.Get();
    };
    RunPaired(pState, static_cast<double>(kNodes) * kFrames, library, floor);
}
}  // namespace

// "ratio" is the time of the library divided by that of its floor, measured in the same run.
BENCHMARK(NoLayers)->UseManualTime()->Unit(benchmark::kMillisecond);
BENCHMARK(ThreeLayers)->UseManualTime()->Unit(benchmark::kMillisecond);
BENCHMARK(AdditiveRotation)->UseManualTime()->Unit(benchmark::kMillisecond);
BENCHMARK(TwoRotationLayers)->UseManualTime()->Unit(benchmark::kMillisecond);
BENCHMARK(TwoScalingLayers)->UseManualTime()->Unit(benchmark::kMillisecond);
BENCHMARK(QuaternionPath)->UseManualTime()->Unit(benchmark::kMillisecond);
BENCHMARK(NextKeyTime)->UseManualTime()->Unit(benchmark::kMillisecond);
