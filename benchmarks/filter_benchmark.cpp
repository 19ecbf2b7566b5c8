// Copyright (c) 2026 The glissa authors
// SPDX-License-Identifier: MIT

// Filters of values and times, and filters that put keys on grids, compared with a plain loop of
// the same work.

#include "benchmarks/curve_check.h"
#include "glissa/filter/clamp.h"
#include "glissa/filter/delete_key.h"
#include "glissa/filter/inverse.h"
#include "glissa/filter/key_sync.h"
#include "glissa/filter/keys_on_frame.h"
#include "glissa/filter/offset.h"
#include "glissa/filter/resample.h"
#include "glissa/filter/scale.h"
#include "glissa/filter/time_clamp.h"
#include "glissa/filter/time_shift_and_scale.h"
#include "glissa/utils/scratch_curve.h"

#include <array>
#include <cmath>

namespace
{
constexpr KTime kFrame(KTime::kTicksPerSecond / 30);
constexpr KTime kAway(1000000);  // a fifth of a frame

ScratchCurve Record(int pKeys, KTime pStart = KTime())
{
    ScratchCurve curve(GlissaCreate());
    curve->InitBuffers(pKeys, false);
    for (int i = 0; i < pKeys; ++i) {
        const double value = 30.0 * std::sin(i * 0.05) + i % 7;
        curve->KeyAppendFast(pStart + kFrame * i, static_cast<float>(value));
    }
    return curve;
}

// The filters with the parameters of the benchmarks.
struct Offset : GlissaFilterOffset
{
    Offset() { SetOffset(1.5); }
    static double Map(double pValue) { return pValue + 1.5; }
};
struct Scale : GlissaFilterScale
{
    Scale() { SetScale(0.75); }
    static double Map(double pValue) { return pValue * 0.75; }
};
struct Inverse : GlissaFilterInverse
{
    static double Map(double pValue) { return 100.0 - pValue; }
};
struct Clamp : GlissaFilterClamp
{
    Clamp()
    {
        SetApplyCeilClamping(true);
        SetApplyFloorClamping(true);
        SetCeil(25.0);
        SetFloor(-25.0);
    }
};
struct CutTime : GlissaFilterDeleteKey
{
    CutTime()
    {
        SetStartTime(KTime::FromSeconds(5));
        SetStopTime(KTime::FromSeconds(10));
    }
};
struct TimeClamp : GlissaFilterTimeClamp
{
    TimeClamp() { SetMin(KTime::FromSeconds(5)); }
};
struct Stretch : GlissaFilterTimeShiftAndScale
{
    Stretch() { SetScale(2.0); }
};
struct Resample : GlissaFilterResample
{
    Resample() { SetPeriodTime(KTime(kFrame.Get() / 2)); }
};
struct KeysOnFrame : GlissaFilterKeysOnFrame
{
    KeysOnFrame() { Reset(); }
};

// The floor: floats in pages of 42, and an event for each.
template <typename Filter>
void Values(benchmark::State& pState)
{
    const int keys = static_cast<int>(pState.range(0));
    const ScratchCurve source = Record(keys);
    const ScratchCurve filtered(GlissaCreate());
    const ScratchCurve floats(GlissaCreate());
    Filter filter;
    RunPaired(
        pState, keys,
        [&] {
            filter.Apply(*filtered);
            return std::uint64_t{0};
        },
        [&] {
            GlissaEvent event;
            int updateId = 0;
            KPriFCurveKey** pages = floats->GetPriFCurveKeysList();
            for (int i = 0; i < keys; ++i) {
                float& value = pages[i / KeyList::kKeysPerPage][i % KeyList::kKeysPerPage].mValue;
                value = static_cast<float>(Filter::Map(value));
                event.Add(kGlissaEventValue, i);
                benchmark::DoNotOptimize(++updateId);
            }
            return std::uint64_t{0};
        },
        [&] {
            filtered->CopyFrom(*source);
            floats->CopyFrom(*source);
        });
    if (CheckOf(*filtered) != CheckOf(*floats)) {
        pState.SkipWithError("the values are others");
    }
}
BENCHMARK(Values<Offset>)->Arg(1000000)->UseManualTime();
BENCHMARK(Values<Scale>)->Arg(1000000)->UseManualTime();
BENCHMARK(Values<Inverse>)->Arg(1000000)->UseManualTime();

// The floor: samples of a curve at given times, appended to an empty curve.
std::uint64_t Sampled(Glissa& pSource, int pCount, KTime pStart, KTime pPeriod)
{
    const ScratchCurve result(GlissaCreate());
    result->InitBuffers(pCount, false);
    int hint = 0;
    KTime time = pStart;
    for (int i = 0; i < pCount; ++i, time += pPeriod) {
        result->KeyAppendFast(time, pSource.Evaluate(time, &hint));
    }
    return CheckOf(*result);
}

void ResampleCurve(benchmark::State& pState)
{
    const int keys = static_cast<int>(pState.range(0));
    const ScratchCurve source = Record(keys);
    const ScratchCurve filtered(GlissaCreate());
    Resample filter;
    RunPaired(
        pState, keys,
        [&] {
            filter.Apply(*filtered);
            return CheckOf(*filtered);
        },
        [&] { return Sampled(*source, 2 * keys - 1, KTime(), filter.GetPeriodTime()); },
        [&] { filtered->CopyFrom(*source); });
}
BENCHMARK(ResampleCurve)->Arg(100000)->UseManualTime();

void PutKeysOnFrames(benchmark::State& pState)
{
    const int keys = static_cast<int>(pState.range(0));
    const ScratchCurve source = Record(keys, kAway);
    const ScratchCurve filtered(GlissaCreate());
    KeysOnFrame filter;
    RunPaired(
        pState, keys,
        [&] {
            filter.Apply(*filtered);
            return CheckOf(*filtered);
        },
        [&] { return Sampled(*source, keys, kAway, kFrame); },
        [&] { filtered->CopyFrom(*source); });
}
BENCHMARK(PutKeysOnFrames)->Arg(100000)->UseManualTime();

// Three curves, with equal times and with different ones.
void Synchronise(benchmark::State& pState)
{
    const int keys = static_cast<int>(pState.range(0));
    const bool isInStep = pState.range(1) != 0;
    std::array<ScratchCurve, 3> sources;
    std::array<ScratchCurve, 3> curves;
    Glissa* all[3];
    for (std::size_t i = 0; i < 3; ++i) {
        const KTime start = isInStep ? KTime() : kAway * static_cast<int>(i);
        sources[i] = Record(keys, start);
        curves[i] = ScratchCurve(GlissaCreate());
        all[i] = curves[i].get();
    }
    GlissaFilterKeySync filter;
    RunPaired(
        pState, 3 * keys,
        [&] {
            filter.Apply(all, 3);
            std::uint64_t check = 0;
            for (const ScratchCurve& each : curves) {
                check += CheckOf(*each);
            }
            return check;
        },
        [&] {
            std::uint64_t check = 0;
            for (const ScratchCurve& each : sources) {
                const ScratchCurve result(GlissaCreate());
                result->InitBuffers(3 * keys, false);
                int hint = 0;
                for (int i = 0; i < keys; ++i) {
                    for (int k = 0; k < (isInStep ? 1 : 3); ++k) {
                        const KTime time = kFrame * i + kAway * k;
                        result->KeyAppendFast(time, each->Evaluate(time, &hint));
                    }
                }
                check += CheckOf(*result);
            }
            return check;
        },
        [&] {
            for (std::size_t i = 0; i < 3; ++i) {
                curves[i]->CopyFrom(*sources[i]);
            }
        });
}
BENCHMARK(Synchronise)->Args({100000, 1})->Args({100000, 0})->UseManualTime();

void SynchroniseTwo(Glissa& pFirst, Glissa& pSecond)
{
    Glissa* both[] = {&pFirst, &pSecond};
    GlissaFilterKeySync().Apply(both, 2);
}

// Nanoseconds per key, by the number of keys.
template <typename Filter>
void Growth(benchmark::State& pState)
{
    const int keys = static_cast<int>(pState.range(0));
    const ScratchCurve source = Record(keys, kAway);
    const ScratchCurve other = Record(keys);
    const ScratchCurve filtered(GlissaCreate());
    const ScratchCurve second(GlissaCreate());
    Filter filter;
    RunAlone(
        pState, keys,
        [&] {
            if constexpr (std::is_same_v<Filter, GlissaFilterKeySync>) {
                SynchroniseTwo(*filtered, *second);
            } else {
                filter.Apply(*filtered);
            }
        },
        [&] {
            filtered->CopyFrom(*source);
            second->CopyFrom(*other);
        });
}

template <typename... Filters>
int RegisterGrowth(const std::array<const char*, sizeof...(Filters)>& pNames)
{
    std::size_t i = 0;
    (benchmark::RegisterBenchmark(pNames[i++], Growth<Filters>)
         ->RangeMultiplier(10)
         ->Range(1000, 1000000)
         ->UseManualTime(),
     ...);
    return 0;
}
const int gRegistered = RegisterGrowth<Offset, Scale, Inverse, Clamp, CutTime, TimeClamp, Stretch,
                                       Resample, KeysOnFrame, GlissaFilterKeySync>(
    {"Growth/offset", "Growth/scale", "Growth/inverse", "Growth/clamp", "Growth/cut_time",
     "Growth/time_clamp", "Growth/stretch", "Growth/resample", "Growth/keys_on_frame",
     "Growth/synchronise"});
}  // namespace
