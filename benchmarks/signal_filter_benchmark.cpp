// Copyright (c) 2026 The glissa authors
// SPDX-License-Identifier: MIT

// Filters of signals, on curves with 120 keys per second.

#include "benchmarks/curve_check.h"
#include "glissa/filter/butterworth.h"
#include "glissa/filter/gaussian.h"
#include "glissa/filter/peak_remover.h"
#include "glissa/filter/smooth.h"
#include "glissa/utils/scratch_curve.h"

#include <cmath>

namespace
{
constexpr KTime kStep(KTime::kTicksPerSecond / 120);

ScratchCurve Record(int pKeys)
{
    ScratchCurve curve(GlissaCreate());
    curve->InitBuffers(pKeys, false);
    for (int i = 0; i < pKeys; ++i) {
        const double value = 30.0 * std::sin(i * 0.05) + std::sin(i * 1.7) + i % 7;
        curve->KeyAppendFast(kStep * i, static_cast<float>(value));
    }
    return curve;
}

/// A second order section.
struct Section
{
    double a1, a2, gain;
    double w1 = 0.0;
    double w2 = 0.0;

    double operator()(double pInput)
    {
        const double w = pInput + w1 * a1 + w2 * a2;
        const double output = (w + w1 * 2.0 + w2) * gain;
        w2 = w1;
        w1 = w;
        return output;
    }
};

template <typename Iterator>
void Pass(Iterator pBegin, Iterator pEnd, Section pFirst, Section pSecond)
{
    const double base = *pBegin;
    for (Iterator i = pBegin; i != pEnd; ++i) {
        *i = pSecond(pFirst(*i - base)) + base;
    }
}

// The floor evaluates 240 samples per second, with 250 on straight lines at both ends, applies two
// sections forward and backward, and appends every second sample to an empty curve.
void Butterworth(benchmark::State& pState)
{
    const int keys = static_cast<int>(pState.range(0));
    const ScratchCurve source = Record(keys);
    const ScratchCurve filtered(GlissaCreate());
    GlissaFilterButterworth filter;
    const double rate = 120.0;
    filter.FastFindPropertyByName("SamplingRate")->SetPropertyConstant(&rate);
    double c[6][10];
    int sections = 0;
    double delay = 0.0;
    filter.ComputeFilterCoefficients(7.0, 1.0 / 240.0, 4, c, &sections, &delay);

    const auto library = [&] {
        filter.Apply(*filtered);
        return CheckOf(*filtered);
    };
    const auto floor = [&] {
        constexpr int kLead = 250;
        const int body = 2 * (keys - 3);  // periods from the second key to the one before the last
        std::vector<double> samples(static_cast<std::size_t>(body + 2 * kLead + 1));
        const KTime half(kStep.Get() / 2);
        int hint = 0;
        const auto at = [&](int pIndex) -> double {
            return source->Evaluate(kStep + half * pIndex, &hint);
        };
        const double rise = at(0) - at(-1);
        for (int i = 0; i < kLead; ++i) {
            samples[static_cast<std::size_t>(i)] = i * rise + (at(0) - kLead * rise);
        }
        for (int i = 0; i <= body; ++i) {
            samples[static_cast<std::size_t>(kLead + i)] = at(i);
        }
        const double fall = at(body + 1) - at(body);
        for (int i = kLead + body + 1; i <= 2 * kLead + body; ++i) {
            samples[static_cast<std::size_t>(i)] = i * fall + (at(body) - (kLead + body) * fall);
        }
        const Section first{c[1][1], c[2][1], c[5][1]};
        const Section second{c[1][2], c[2][2], c[5][2]};
        Pass(samples.begin(), samples.end(), first, second);
        Pass(samples.rbegin(), samples.rend(), first, second);
        const ScratchCurve result(GlissaCreate());
        result->InitBuffers(keys, false);
        result->KeyAppendFast(KTime(), source->KeyGetValue(0));
        for (int i = 0; i <= body; i += 2) {
            result->KeyAppendFast(kStep + half * i,
                                  static_cast<float>(samples[static_cast<std::size_t>(kLead + i)]));
        }
        result->KeyAppendFast(kStep * (keys - 1), source->KeyGetValue(keys - 1));
        return CheckOf(*result);
    };
    RunPaired(pState, keys, library, floor, [&] { filtered->CopyFrom(*source); });
}
BENCHMARK(Butterworth)->Arg(100000)->UseManualTime();

// Nanoseconds per key, by the number of keys.
template <typename Filter>
void Growth(benchmark::State& pState)
{
    const int keys = static_cast<int>(pState.range(0));
    const ScratchCurve source = Record(keys);
    const ScratchCurve filtered(GlissaCreate());
    Filter filter;
    RunAlone(
        pState, keys, [&] { filter.Apply(*filtered); }, [&] { filtered->CopyFrom(*source); });
}
BENCHMARK(Growth<GlissaFilterButterworth>)
    ->RangeMultiplier(10)
    ->Range(1000, 1000000)
    ->UseManualTime();
BENCHMARK(Growth<GlissaFilterGaussian>)->RangeMultiplier(10)->Range(1000, 1000000)->UseManualTime();
BENCHMARK(Growth<GlissaFilterPeakRemover>)
    ->RangeMultiplier(10)
    ->Range(1000, 1000000)
    ->UseManualTime();
BENCHMARK(Growth<GlissaFilterSmooth>)->RangeMultiplier(10)->Range(1000, 1000000)->UseManualTime();
}  // namespace
