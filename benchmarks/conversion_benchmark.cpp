// Copyright (c) 2026 The glissa authors
// SPDX-License-Identifier: MIT

// Conversions of rotations and of whole transforms, on curves with 120 keys per second.

#include "benchmarks/curve_check.h"
#include "corvekit/math/matrix.h"
#include "glissa/filter/euler_to_quat.h"
#include "glissa/filter/matrix_converter.h"
#include "glissa/filter/quat_to_euler.h"
#include "glissa/node/node.h"

#include <algorithm>
#include <cmath>
#include <memory>
#include <vector>

namespace
{
constexpr KTime kStep(KTime::kTicksPerSecond / 120);

struct DestroyCurve
{
    void operator()(Glissa* pCurve) const { pCurve->Destroy(0); }
};

struct DestroyNode
{
    void operator()(GlissaNode* pNode) const { pNode->Destroy(); }
};
using OwnedNode = std::unique_ptr<GlissaNode, DestroyNode>;
using OwnedCurve = std::unique_ptr<Glissa, DestroyCurve>;

OwnedNode Record(KDataType* pType, const char* pName, int pKeys)
{
    OwnedNode node(FCurveNodeCreateFromDataType(pType, pName));
    node->CreateFCurve();
    for (int i = 0; i < pKeys; ++i) {
        for (int axis = 0; axis < 3; ++axis) {
            const double value = 40.0 + 30.0 * std::sin(i * 0.05 + axis);
            node->Get(axis)->FCurveGet()->KeyAppendFast(kStep * i, static_cast<float>(value));
        }
    }
    return node;
}

// The floor evaluates the angles, converts them and keeps the sign of the quaternion before.
void EulerToQuat(benchmark::State& pState)
{
    const int keys = static_cast<int>(pState.range(0));
    const OwnedNode source = Record(KDataTypeLclRotation, "R", keys);
    OwnedNode filtered;
    GlissaFilterEulerToQuat filter;
    filter.SetFramePeriod(kStep);
    const auto library = [&] {
        filter.Apply(*filtered, false);
        return CheckOf(*filtered->Get(3)->FCurveGet());
    };
    std::vector<KgeQuaternion> path(static_cast<std::size_t>(keys));
    const auto floor = [&] {
        Checksum check;
        int hints[3] = {};
        KgeQuaternion before;
        for (int i = 0; i < keys; ++i) {
            KgeRVector angles;
            for (int axis = 0; axis < 3; ++axis) {
                angles[axis] = source->Get(axis)->FCurveGet()->Evaluate(kStep * i, &hints[axis]);
            }
            const KgeQuaternion turn{KgeRMatrix(angles)};
            before = before.Dot(turn) < 0.0 ? -turn : turn;
            path[static_cast<std::size_t>(i)] = before;
            check.Add(static_cast<float>(before[3]));
        }
        benchmark::DoNotOptimize(path.data());
        return check.Get();
    };
    RunPaired(pState, keys, library, floor, [&] { filtered.reset(source->Clone(false)); });
}
BENCHMARK(EulerToQuat)->RangeMultiplier(10)->Range(1000, 100000)->UseManualTime();

// There and back, with the gimbal killer, which adds no key here. The floor evaluates the angles,
// keeps their quaternions as curves, evaluates these, and keeps their angles.
void ThereAndBack(benchmark::State& pState)
{
    const int keys = static_cast<int>(pState.range(0));
    const OwnedNode source = Record(KDataTypeLclRotation, "R", keys);
    OwnedNode filtered;
    GlissaFilterEulerToQuat there;
    GlissaFilterQuatToEuler back;
    there.SetFramePeriod(kStep);
    back.SetFramePeriod(kStep);
    const auto library = [&] {
        there.Apply(*filtered, false);
        back.Apply(*filtered, false);
        return CheckOf(*filtered->Get(2)->FCurveGet());
    };
    const auto floor = [&] {
        OwnedCurve parts[4];
        for (OwnedCurve& each : parts) {
            each.reset(GlissaCreate());
        }
        int hints[4] = {};
        KgeQuaternion before;
        for (int i = 0; i < keys; ++i) {
            KgeRVector angles;
            for (int axis = 0; axis < 3; ++axis) {
                angles[axis] = source->Get(axis)->FCurveGet()->Evaluate(kStep * i, &hints[axis]);
            }
            const KgeQuaternion turn{KgeRMatrix(angles)};
            before = before.Dot(turn) < 0.0 ? -turn : turn;
            for (int part = 0; part < 4; ++part) {
                parts[part]->KeyAppendFast(kStep * i, static_cast<float>(before[part]));
            }
        }
        OwnedCurve result[3];
        for (OwnedCurve& each : result) {
            each.reset(GlissaCreate());
        }
        std::fill(hints, hints + 4, 0);
        for (int i = 0; i < keys; ++i) {
            KgeQuaternion turn;
            for (int part = 0; part < 4; ++part) {
                turn[part] = parts[part]->Evaluate(kStep * i, &hints[part]);
            }
            const KgeRVector angles{KgeRMatrix(turn)};
            for (int axis = 0; axis < 3; ++axis) {
                result[axis]->KeyAppendFast(kStep * i, static_cast<float>(angles[axis]));
            }
        }
        return CheckOf(*result[2]);
    };
    RunPaired(pState, keys, library, floor, [&] { filtered.reset(source->Clone(false)); });
}
BENCHMARK(ThereAndBack)->RangeMultiplier(10)->Range(1000, 100000)->UseManualTime();

OwnedNode RecordObject(int pKeys)
{
    OwnedNode object(GlissaNodeCreate("Hips", static_cast<KDataType*>(nullptr), eLayerTypeVector,
                                      GlissaLayerInfo::Base));
    object->Add(Record(KDataTypeLclTranslation, "T", pKeys).release());
    object->Add(Record(KDataTypeLclRotation, "R", pKeys).release());
    object->Add(Record(KDataTypeLclScaling, "S", pKeys).release());
    return object;
}

// Nanoseconds per sample of nine curves.
void MatrixConverter(benchmark::State& pState)
{
    const int keys = static_cast<int>(pState.range(0));
    const OwnedNode source = RecordObject(keys);
    OwnedNode filtered;
    GlissaFilterMatrixConverter filter;
    filter.SetSourceMatrix(eMatrixPreRotate, KgeRMatrix(10.0, 20.0, 30.0));
    filter.SetResamplingPeriod(kStep);
    filter.SetApplyUnroll(false);
    filter.SetApplyConstantKeyReducer(false);
    RunAlone(
        pState, keys, [&] { filter.Apply(*filtered, false); },
        [&] { filtered.reset(source->Clone(false)); });
}
BENCHMARK(MatrixConverter)->RangeMultiplier(10)->Range(1000, 100000)->UseManualTime();

// The floor of it: the curves evaluated, the chain multiplied, taken apart, and nine keys appended.
void MatrixConverterFloor(benchmark::State& pState)
{
    const int keys = static_cast<int>(pState.range(0));
    const OwnedNode source = RecordObject(keys);
    OwnedNode made;
    const KgeAMatrix before = KgeRMatrix(10.0, 20.0, 30.0);
    RunAlone(
        pState, keys,
        [&] {
            int hints[9] = {};
            for (int i = 0; i < keys; ++i) {
                double v[9];
                for (int k = 0; k < 9; ++k) {
                    v[k] =
                        source->Get(k / 3)->Get(k % 3)->FCurveGet()->Evaluate(kStep * i, &hints[k]);
                }
                const KgeAMatrix total = KgeAMatrix(KgeTVector(v)) * before *
                                         KgeRMatrix(KgeRVector(v + 3)) *
                                         KgeSMatrix(KgeSVector(v + 6));
                const KgeSVector scale(total);
                const KgeRVector angles{KgeRMatrix(total)};
                for (int k = 0; k < 9; ++k) {
                    const double value = k < 3   ? total.GetTranslation()[k]
                                         : k < 6 ? angles[k - 3]
                                                 : scale[k - 6];
                    made->Get(k / 3)->Get(k % 3)->FCurveGet()->KeyAppendFast(
                        kStep * i, static_cast<float>(value));
                }
            }
        },
        [&] { made = RecordObject(0); });
}
BENCHMARK(MatrixConverterFloor)->RangeMultiplier(10)->Range(1000, 100000)->UseManualTime();
}  // namespace
