// Copyright (c) 2026 The glissa authors
// SPDX-License-Identifier: MIT

// The elementary functions compared with those of the C library on the same arguments: "floor" is
// the C library.

#include "benchmarks/paired.h"
#include "corvekit/math/elementary.h"

#include <array>
#include <cmath>
#include <numbers>

namespace
{
constexpr std::size_t kCount = 3 * 16384;  // more than a branch predictor learns
using Numbers = std::array<double, kCount>;

// Random numbers between two others.
const Numbers& NumbersBetween(double pLeast, double pGreatest)
{
    static Numbers numbers;
    std::uint64_t state = 7;
    for (double& number : numbers) {
        state = state * 6364136223846793005u + 1442695040888963407u;
        number = pLeast + (pGreatest - pLeast) * static_cast<double>(state >> 11) * 0x1p-53;
    }
    return numbers;
}

template <typename Library, typename Floor>
void Compare(benchmark::State& pState, double pLeast, double pGreatest, Library&& pLibrary,
             Floor&& pFloor)
{
    const Numbers& x = NumbersBetween(pLeast, pGreatest);
    const auto sum = [&x](auto&& pFunction) {
        double total = 0.0;
        for (std::size_t i = 0; i + 3 <= kCount; i += 3) {
            total += pFunction(&x[i]);
        }
        benchmark::DoNotOptimize(total);
        return std::uint64_t{1};
    };
    RunPaired(
        pState, kCount, [&] { return sum(pLibrary); }, [&] { return sum(pFloor); });
}

// A function of one number for three of them.
template <typename Function>
auto OfEach(Function pFunction)
{
    return [pFunction](const double* x) {
        return pFunction(x[0], x[1]) + pFunction(x[1], x[2]) + pFunction(x[2], x[0]);
    };
}

const auto kLibrarySineCosine = OfEach([](double x, double) {
    const double radians = x * (std::numbers::pi / 180.0);
    return std::sin(radians) + std::cos(radians);
});

void SineCosine(benchmark::State& pState)
{
    const auto library = OfEach([](double x, double) {
        const KgeSineCosine result = KgeSinCos(x);
        return result.sine + result.cosine;
    });
    Compare(pState, -400.0, 400.0, library, kLibrarySineCosine);
}

void SineCosineOfThree(benchmark::State& pState)
{
    const auto library = [](const double* x) {
        KgeSineCosine result[3];
        KgeSinCos({x[0], x[1], x[2]}, result);
        return result[0].sine + result[0].cosine + result[1].sine + result[1].cosine +
               result[2].sine + result[2].cosine;
    };
    Compare(pState, -400.0, 400.0, library, kLibrarySineCosine);
}

void ArcTangent(benchmark::State& pState)
{
    Compare(
        pState, -1.0, 1.0, OfEach([](double y, double x) { return KgeArcTangent(y, x); }),
        OfEach([](double y, double x) { return std::atan2(y, x) * (180.0 / std::numbers::pi); }));
}

void ArcCosine(benchmark::State& pState)
{
    Compare(pState, -1.0, 1.0, OfEach([](double x, double) { return KgeArcCosine(x); }),
            OfEach([](double x, double) { return std::acos(x) * (180.0 / std::numbers::pi); }));
}

void Power(benchmark::State& pState)
{
    Compare(pState, 0.5, 2.0, OfEach([](double x, double y) { return KgePower(x, y - 1.0); }),
            OfEach([](double x, double y) { return std::pow(x, y - 1.0); }));
}

void Exponential(benchmark::State& pState)
{
    Compare(pState, -10.0, 10.0, OfEach([](double x, double) { return KgeExponential(x); }),
            OfEach([](double x, double) { return std::exp(x); }));
}

void Length(benchmark::State& pState)
{
    Compare(pState, -10.0, 10.0, OfEach([](double x, double y) { return KgeLength(x, y, x * y); }),
            OfEach([](double x, double y) { return std::hypot(x, y, x * y); }));
}
}  // namespace

BENCHMARK(SineCosine)->UseManualTime();
BENCHMARK(SineCosineOfThree)->UseManualTime();
BENCHMARK(ArcTangent)->UseManualTime();
BENCHMARK(ArcCosine)->UseManualTime();
BENCHMARK(Power)->UseManualTime();
BENCHMARK(Exponential)->UseManualTime();
BENCHMARK(Length)->UseManualTime();
