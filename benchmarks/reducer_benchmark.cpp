// Copyright (c) 2026 The glissa authors
// SPDX-License-Identifier: MIT

// Reduction of recorded curves. The floor of the key reducer evaluates each key once in each level
// of the subdivision, on the resulting curve.

#include "benchmarks/paired.h"
#include "glissa/curve/curve.h"
#include "glissa/filter/constant_key_reducer.h"
#include "glissa/filter/key_reducer.h"

#include <cmath>
#include <memory>
#include <random>
#include <utility>
#include <vector>

namespace
{
struct DestroyCurve
{
    void operator()(Glissa* pCurve) const { pCurve->Destroy(); }
};
using CurvePointer = std::unique_ptr<Glissa, DestroyCurve>;

// A recording with 120 frames per second: two waves with noise, at rest for half a second of two.
CurvePointer Recorded(int pCount)
{
    CurvePointer curve(GlissaCreate());
    curve->InitBuffers(pCount, true);
    std::mt19937 random(7);
    for (int i = 0; i < pCount; ++i) {
        const double t = i / 120.0;
        const double noise = (static_cast<double>(random()) / 4294967296.0 - 0.5) * 0.02;
        const bool rests = std::fmod(t, 2.0) > 1.5;
        const double value =
            rests ? noise * 0.1 : 20.0 * std::sin(t) + 5.0 * std::sin(7.3 * t) + noise;
        curve->KeyAppendFast(KTime(static_cast<std::int64_t>(i) * (KTime::kTicksPerSecond / 120)),
                             static_cast<float>(value));
    }
    return curve;
}

// Subdivides like the filter, without its code, and counts the keys that are tested. A fit has the
// slopes of the source at both ends.
std::int64_t CountTests(Glissa& pSource, double pPrecision)
{
    const CurvePointer fit(GlissaCreate());
    std::vector<std::pair<int, int>> spans = {{0, pSource.KeyGetCount() - 1}};
    std::int64_t tests = 0;
    fit->KeyAdd(KTime(0));
    fit->KeyAdd(KTime(1));
    while (!spans.empty()) {
        const auto [first, last] = spans.back();
        spans.pop_back();
        tests += last - first;
        fit->KeySet(1, pSource.KeyGetTime(last), pSource.KeyGetValue(last), eInterpolationCubic,
                    eTangentUser);
        fit->KeySet(0, pSource.KeyGetTime(first), pSource.KeyGetValue(first), eInterpolationCubic,
                    eTangentUser, pSource.KeyGetRightDerivative(first),
                    pSource.KeyGetLeftDerivative(last));
        double largest = pPrecision;
        int split = -1;
        for (int i = first; i < last; ++i) {
            const double error =
                std::fabs(static_cast<double>(fit->Evaluate(pSource.KeyGetTime(i), nullptr)) -
                          static_cast<double>(pSource.KeyGetValue(i)));
            if (error > largest) {
                largest = error;
                split = i;
            }
        }
        if (split > first) {
            for (const auto& half : {std::pair(first, split), std::pair(split, last)}) {
                if (half.second - half.first > 1) {
                    spans.push_back(half);
                }
            }
        }
    }
    return tests;
}

// Evaluates a curve at a number of keys of another one, in order and repeatedly.
std::uint64_t EvaluateKeys(Glissa& pCurve, Glissa& pAt, std::int64_t pTimes)
{
    const int count = pAt.KeyGetCount();
    std::int64_t left = pTimes;
    float sum = 0.0f;
    while (left > 0) {
        int hint = 0;
        for (int i = 0; i < count && left > 0; ++i, --left) {
            sum += pCurve.Evaluate(pAt.KeyGetTime(i), &hint);
        }
    }
    benchmark::DoNotOptimize(sum);
    Checksum check;
    for (int i = 0; i < count; i += 1000) {
        check.Add(pCurve.Evaluate(pAt.KeyGetTime(i), nullptr));
    }
    return check.Get();
}

void ReduceKeys(benchmark::State& pState)
{
    const int count = static_cast<int>(pState.range(0));
    GlissaFilterKeyReducer filter;
    filter.SetPrecision(static_cast<double>(pState.range(1)) / 1000.0);
    const CurvePointer source = Recorded(count);
    const CurvePointer reduced(source->Copy());
    filter.Apply(*reduced);
    const std::int64_t tests = CountTests(*source, filter.GetPrecision());
    const CurvePointer curve(GlissaCreate());
    RunPaired(
        pState, count,
        [&] {
            filter.Apply(*curve);
            return EvaluateKeys(*curve, *source, 0);
        },
        [&] { return EvaluateKeys(*reduced, *source, tests); }, [&] { curve->CopyFrom(*source); });
    pState.counters["levels"] = static_cast<double>(tests) / count;
    pState.counters["kept"] = static_cast<double>(reduced->KeyGetCount()) / count;
}

void ReduceConstantKeys(benchmark::State& pState)
{
    const CurvePointer source = Recorded(static_cast<int>(pState.range(0)));
    const CurvePointer curve(GlissaCreate());
    GlissaFilterConstantKeyReducer filter;
    double total = 0.0;
    for (auto unused : pState) {
        curve->CopyFrom(*source);
        const double start = ThreadSeconds();
        filter.Apply(*curve);
        const double seconds = ThreadSeconds() - start;
        pState.SetIterationTime(seconds);
        total += seconds;
    }
    const double items = static_cast<double>(pState.iterations() * pState.range(0));
    pState.counters["ns"] = total / items * 1e9;
    pState.counters["kept"] =
        static_cast<double>(curve->KeyGetCount()) / static_cast<double>(pState.range(0));
}

BENCHMARK(ReduceKeys)
    ->ArgsProduct({{1000, 10000, 100000, 1000000}, {50, 500}})
    ->ArgNames({"keys", "thousandths"})
    ->UseManualTime()
    ->Unit(benchmark::kMillisecond);
BENCHMARK(ReduceConstantKeys)
    ->RangeMultiplier(10)
    ->Range(1000, 1000000)
    ->ArgName("keys")
    ->UseManualTime()
    ->Unit(benchmark::kMillisecond);
}  // namespace
