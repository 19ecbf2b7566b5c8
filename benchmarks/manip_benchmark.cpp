// Copyright (c) 2026 The glissa authors
// SPDX-License-Identifier: MIT

// Steps of a drag, against writing the keys of the result with one event each; begin and end,
// against eleven copies of each curve; a selection, against a test and an event for each key.

#include "benchmarks/paired.h"
#include "glissa/curve/modify_bracket.h"
#include "glissa/manip/manipulator.h"
#include "glissa/node/node.h"
#include "glissa/utils/scratch_curve.h"
#include "tests/support/node_stubs.h"

#include <cmath>
#include <functional>

namespace
{
enum Keys
{
    kRecorded,  // all of one attribute block
    kUser,      // each with a slope of its own
};

ScratchCurve MakeCurve(Keys pKind, int pKeys)
{
    ScratchCurve curve(GlissaCreate());
    for (int i = 0; i < pKeys; ++i) {
        const KTime time(KTime::kTicksPerSecond / 30 * i);
        const float value = std::sin(0.1f * static_cast<float>(i));
        curve->KeyAppendFast(time, value);
        if (pKind == kUser) {
            curve->KeySet(i, time, value, eInterpolationCubic, eTangentUser, value, value * 0.5f);
        }
    }
    return curve;
}

// Curves in a manipulation in which a part of the keys is marked.
struct Scene
{
    NodePtr mNode = NodePtr(GlissaNodeCreate("scene", nullptr, eLayerTypeVector, {}));
    std::vector<Glissa*> mCurves;
    GlissaManipulator mManipulator;

    Scene(Keys pKind, int pCurves, int pKeys, int pFirst, int pLast)
    {
        const ScratchCurve source = MakeCurve(pKind, pKeys);
        for (int i = 0; i < pCurves; ++i) {
            mCurves.push_back(mNode->FindOrCreate(std::to_string(i).c_str(), true)->FCurveGet());
            mCurves.back()->CopyFrom(*source, true);
            for (int k = pFirst; k <= pLast; ++k) {
                mCurves.back()->KeySetSelected(k, true);
            }
        }
        mManipulator.Add(mNode.get());
        mManipulator.MarkAllCurveNodeForManip(true);
        mManipulator.MarkKeysForManipFromSelection();
        mManipulator.FrameManipulation();
    }
    std::uint64_t Check() const
    {
        Checksum checksum;
        for (const Glissa* curve : mCurves) {
            for (int i = 0; i < curve->KeyGetCount(); i += 97) {
                checksum.Add(curve->KeyGetValue(i));
            }
        }
        return checksum.Get();
    }
};

using Edit = std::function<void(GlissaManipulator&)>;

void OffsetTime(GlissaManipulator& pTo)
{
    pTo.OffsetX(KTime::FromSeconds(0.01));
}
void OffsetValue(GlissaManipulator& pTo)
{
    pTo.OffsetY(1.5, 0.0);
}
void StretchTime(GlissaManipulator& pTo)
{
    pTo.StretchX(KTime::FromSeconds(10), KTime::FromSeconds(20), KTime::FromSeconds(0.003), false);
}
void StretchValue(GlissaManipulator& pTo)
{
    pTo.StretchY(0.0, 1.0, 0.5, false, 0.0);
}
void StretchBoth(GlissaManipulator& pTo)
{
    pTo.StretchXY(KTime::FromSeconds(10), 0.0, KTime::FromSeconds(20), 1.0,
                  KTime::FromSeconds(0.003), 0.5, false, 0.0);
}

// The floor writes the curves that the first step has made.
void Step(benchmark::State& pState, Scene& pScene, int pKeys, const Edit& pEdit)
{
    pScene.mManipulator.BeginManipulation(eManipRightEdge, false, 0.0);
    pEdit(pScene.mManipulator);
    std::vector<ScratchCurve> results;
    Scene written(kRecorded, static_cast<int>(pScene.mCurves.size()), 2, 0, 0);
    for (const Glissa* curve : pScene.mCurves) {
        results.emplace_back(curve->Copy());
    }
    RunPaired(
        pState, pKeys,
        [&] {
            pEdit(pScene.mManipulator);
            return pScene.Check();
        },
        [&] {
            for (std::size_t i = 0; i < results.size(); ++i) {
                Glissa& to = *written.mCurves[i];
                const KeyModifyBracket bracket(to);
                to.InitBuffers(results[i]->KeyGetCount(), true);
                for (int k = 0; k < results[i]->KeyGetCount(); ++k) {
                    to.KeyAppend(results[i]->KeyGetTime(k), results[i].get(), k);
                }
            }
            return written.Check();
        });
}

void FewKeys(benchmark::State& pState, Keys pKind, const Edit& pEdit)
{
    Scene scene(pKind, 1, 10000, 400, 499);
    Step(pState, scene, 10000, pEdit);
}

void ManyCurves(benchmark::State& pState, Keys pKind, const Edit& pEdit)
{
    Scene scene(pKind, 300, 1000, 0, 999);
    Step(pState, scene, 300000, pEdit);
}

void BeginAndEnd(benchmark::State& pState)
{
    Scene scene(kUser, 300, 1000, 0, 999);
    RunPaired(
        pState, 300000,
        [&] {
            scene.mManipulator.BeginManipulation(eManipRightEdge, false, 0.0);
            scene.mManipulator.EndManipulation();
            return scene.Check();
        },
        [&] {
            for (const Glissa* curve : scene.mCurves) {
                ScratchCurve copies[11];
                for (ScratchCurve& copy : copies) {
                    copy.reset(curve->Copy());
                }
            }
            return scene.Check();
        });
}

void Select(benchmark::State& pState)
{
    constexpr int kKeys = 1000000;
    constexpr int kFirst = 400000;
    Scene scene(kRecorded, 1, kKeys, 0, -1);
    Glissa& curve = *scene.mCurves.front();
    const KTime start = curve.KeyGetTime(kFirst);
    const KTime stop = curve.KeyGetTime(kFirst + kKeys / 10 - 1);
    RunPaired(
        pState, kKeys,
        [&] {
            scene.mManipulator.SelectKeys(eSelectionToggle, start, stop, -2.0, 2.0);
            return scene.Check();
        },
        [&] {
            const KeyModifyBracket bracket(curve);
            for (int i = 0; i < kKeys; ++i) {
                const KTime time = curve.KeyGetTime(i);
                const float value = curve.KeyGetValue(i);
                if (start <= time && time <= stop && value >= -2.0f && value <= 2.0f) {
                    curve.CallbackAddEvent(eEventSelection, i);
                }
            }
            return scene.Check();
        });
}
}  // namespace

BENCHMARK_CAPTURE(FewKeys, recorded_offset_time, kRecorded, OffsetTime)->UseManualTime();
BENCHMARK_CAPTURE(FewKeys, recorded_offset_value, kRecorded, OffsetValue)->UseManualTime();
BENCHMARK_CAPTURE(FewKeys, recorded_stretch_time, kRecorded, StretchTime)->UseManualTime();
BENCHMARK_CAPTURE(FewKeys, recorded_stretch_value, kRecorded, StretchValue)->UseManualTime();
BENCHMARK_CAPTURE(FewKeys, recorded_stretch_both, kRecorded, StretchBoth)->UseManualTime();
BENCHMARK_CAPTURE(FewKeys, user_offset_time, kUser, OffsetTime)->UseManualTime();
BENCHMARK_CAPTURE(FewKeys, user_offset_value, kUser, OffsetValue)->UseManualTime();
BENCHMARK_CAPTURE(FewKeys, user_stretch_time, kUser, StretchTime)->UseManualTime();
BENCHMARK_CAPTURE(FewKeys, user_stretch_value, kUser, StretchValue)->UseManualTime();
BENCHMARK_CAPTURE(FewKeys, user_stretch_both, kUser, StretchBoth)->UseManualTime();
BENCHMARK_CAPTURE(ManyCurves, recorded_offset_time, kRecorded, OffsetTime)->UseManualTime();
BENCHMARK_CAPTURE(ManyCurves, recorded_offset_value, kRecorded, OffsetValue)->UseManualTime();
BENCHMARK_CAPTURE(ManyCurves, recorded_stretch_time, kRecorded, StretchTime)->UseManualTime();
BENCHMARK_CAPTURE(ManyCurves, recorded_stretch_value, kRecorded, StretchValue)->UseManualTime();
BENCHMARK_CAPTURE(ManyCurves, recorded_stretch_both, kRecorded, StretchBoth)->UseManualTime();
BENCHMARK_CAPTURE(ManyCurves, user_offset_time, kUser, OffsetTime)->UseManualTime();
BENCHMARK_CAPTURE(ManyCurves, user_offset_value, kUser, OffsetValue)->UseManualTime();
BENCHMARK_CAPTURE(ManyCurves, user_stretch_time, kUser, StretchTime)->UseManualTime();
BENCHMARK_CAPTURE(ManyCurves, user_stretch_value, kUser, StretchValue)->UseManualTime();
BENCHMARK_CAPTURE(ManyCurves, user_stretch_both, kUser, StretchBoth)->UseManualTime();
BENCHMARK(BeginAndEnd)->UseManualTime();
BENCHMARK(Select)->UseManualTime();
