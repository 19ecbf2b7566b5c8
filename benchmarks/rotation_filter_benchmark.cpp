// Copyright (c) 2026 The glissa authors
// SPDX-License-Identifier: MIT

// Filters of rotations, on nodes with 120 keys per second whose angles wrap at half a turn.

#include "benchmarks/paired.h"
#include "corvekit/math/vector.h"
#include "glissa/curve/curve.h"
#include "glissa/filter/gimble_killer.h"
#include "glissa/filter/gimble_killer2.h"
#include "glissa/filter/roll.h"
#include "glissa/filter/unroll.h"
#include "glissa/node/node.h"

#include <cmath>
#include <memory>
#include <vector>

namespace
{
struct DestroyNode
{
    void operator()(GlissaNode* pNode) const { pNode->Destroy(); }
};
using OwnedNode = std::unique_ptr<GlissaNode, DestroyNode>;

OwnedNode Record(int pKeys)
{
    OwnedNode node(FCurveNodeCreateFromDataType(KDataTypeLclRotation, "R"));
    node->CreateFCurve();
    const KTime step(KTime::kTicksPerSecond / 120);
    for (int i = 0; i < pKeys; ++i) {
        const double angles[] = {i * 3.1, 60.0 * std::sin(i * 0.05), 250.0 * std::sin(i * 0.01)};
        for (int axis = 0; axis < 3; ++axis) {
            const double wrapped = std::remainder(angles[axis], 360.0);
            node->Get(axis)->FCurveGet()->KeyAppendFast(step * i, static_cast<float>(wrapped));
        }
    }
    return node;
}

void AddKey(Checksum& pCheck, const KgeRVector& pAngles)
{
    for (int axis = 0; axis < 3; ++axis) {
        pCheck.Add(static_cast<float>(pAngles[axis]));
    }
}

KgeRVector KeyOf(GlissaNode& pNode, int pKey)
{
    KgeRVector angles;
    for (int axis = 0; axis < 3; ++axis) {
        angles[axis] = pNode.Get(axis)->FCurveGet()->KeyGetValue(pKey);
    }
    return angles;
}

double NextTo(double pAngle, double pReference)
{
    double turns = 0.0;
    const double rest = std::modf((pReference - pAngle) / 360.0, &turns);
    turns += rest > 0.5 ? 1.0 : rest < -0.5 ? -1.0 : 0.0;
    return pAngle + 360.0 * turns;
}

// The floor brings both forms of each key next to the key before and takes the nearer one.
void Unroll(benchmark::State& pState)
{
    const int keys = static_cast<int>(pState.range(0));
    const OwnedNode source = Record(keys);
    const OwnedNode filtered(source->Clone(false));
    GlissaFilterUnroll filter;

    std::vector<KgeRVector> recorded;
    for (int i = 0; i < keys; ++i) {
        recorded.push_back(KeyOf(*source, i));
    }
    std::vector<KgeRVector> unrolled(recorded.size());
    const auto library = [&] {
        filter.Apply(*filtered, false);
        Checksum check;
        for (int i = 0; i < keys; ++i) {
            AddKey(check, KeyOf(*filtered, i));
        }
        return check.Get();
    };
    const auto floor = [&] {
        KgeRVector reference;
        Checksum check;
        for (std::size_t i = 0; i < recorded.size(); ++i) {
            const KgeRVector& in = recorded[i];
            KgeRVector form;
            KgeRVector other(in[0] + 180.0, 180.0 - in[1], in[2] + 180.0);
            for (int axis = 0; axis < 3; ++axis) {
                form[axis] = NextTo(in[axis], reference[axis]);
                other[axis] = NextTo(other[axis], reference[axis]);
            }
            const bool isNearer =
                (other - reference).SquareLength() < (form - reference).SquareLength();
            reference = isNearer ? other : form;
            unrolled[i] = reference;
            AddKey(check, reference);
        }
        benchmark::DoNotOptimize(unrolled.data());
        return check.Get();
    };
    RunPaired(pState, keys, library, floor,
              [&] { filtered->SingleLayerCopyFrom(source.get(), false); });
}
BENCHMARK(Unroll)->RangeMultiplier(10)->Range(1000, 100000)->UseManualTime();

// Nanoseconds per key of a rotation, by the number of keys.
template <typename Filter>
void Growth(benchmark::State& pState)
{
    const int keys = static_cast<int>(pState.range(0));
    const OwnedNode source = Record(keys);
    const OwnedNode filtered(source->Clone(false));
    Filter filter;
    RunAlone(
        pState, keys, [&] { filter.Apply(*filtered, false); },
        [&] { filtered->SingleLayerCopyFrom(source.get(), false); });
}
BENCHMARK(Growth<GlissaFilterGimbleKiller>)
    ->RangeMultiplier(10)
    ->Range(1000, 100000)
    ->UseManualTime();
BENCHMARK(Growth<GlissaFilterGimbleKiller2>)
    ->RangeMultiplier(10)
    ->Range(1000, 100000)
    ->UseManualTime();
BENCHMARK(Growth<GlissaFilterRoll>)->RangeMultiplier(10)->Range(1000, 100000)->UseManualTime();
}  // namespace
