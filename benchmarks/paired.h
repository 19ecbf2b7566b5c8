// Copyright (c) 2026 The glissa authors
// SPDX-License-Identifier: MIT
// Not for hosts: one line of a benchmark, the library beside its floor.
#pragma once

#include <benchmark/benchmark.h>

#include <algorithm>
#include <cstdint>
#include <cstdio>
#include <cstring>
#include <ctime>
#include <string>
#include <vector>

/// The values of a run as one number: speed is never bought with a changed answer.
class Checksum
{
public:
    void Add(float pValue)
    {
        std::uint32_t bits = 0;
        std::memcpy(&bits, &pValue, sizeof bits);
        mHash = (mHash ^ bits) * 0x100000001B3u;
    }
    std::uint64_t Get() const { return mHash; }

private:
    std::uint64_t mHash = 0xCBF29CE484222325u;
};

/// Processor time of this thread, which a busy machine does not stretch as it does the clock.
inline double ThreadSeconds()
{
    timespec now{};
    clock_gettime(CLOCK_THREAD_CPUTIME_ID, &now);
    return static_cast<double>(now.tv_sec) + static_cast<double>(now.tv_nsec) * 1e-9;
}

/// Times the library and the bare arithmetic of the same work in turn, so that both see the same
/// machine, and prints nanoseconds an item of each and the median ratio of the pairs.
///
/// pItems    items that one call of either function works through.
/// pLibrary, pFloor  callables without arguments that give a checksum of what they computed.
/// pPrepare  called before each call of pLibrary, outside the time.
/// The two checksums must agree.
template <typename Library, typename Floor, typename Prepare>
void RunPaired(benchmark::State& pState, double pItems, Library&& pLibrary, Floor&& pFloor,
               Prepare&& pPrepare)
{
    std::vector<double> library;
    std::vector<double> floor;
    std::vector<double> ratios;
    pPrepare();
    std::uint64_t libraryCheck = pLibrary();
    std::uint64_t floorCheck = pFloor();
    if (libraryCheck != floorCheck) {
        pState.SkipWithError("library and floor compute different values");
        return;
    }
    for (auto unused : pState) {
        pPrepare();
        const double start = ThreadSeconds();
        benchmark::DoNotOptimize(libraryCheck = pLibrary());
        const double middle = ThreadSeconds();
        benchmark::DoNotOptimize(floorCheck = pFloor());
        const double stop = ThreadSeconds();
        const double a = middle - start;
        const double b = stop - middle;
        pState.SetIterationTime(a);
        library.push_back(a);
        floor.push_back(b);
        ratios.push_back(a / b);
    }
    const auto median = [](std::vector<double>& pValues) {
        std::nth_element(pValues.begin(), pValues.begin() + pValues.size() / 2, pValues.end());
        return pValues[pValues.size() / 2];
    };
    pState.counters["ns"] = median(library) / pItems * 1e9;
    pState.counters["floor_ns"] = median(floor) / pItems * 1e9;
    pState.counters["ratio"] = median(ratios);
    char check[32];
    std::snprintf(check, sizeof check, "check %016llx",
                  static_cast<unsigned long long>(libraryCheck));
    pState.SetLabel(check);
}

template <typename Library, typename Floor>
void RunPaired(benchmark::State& pState, double pItems, Library&& pLibrary, Floor&& pFloor)
{
    RunPaired(pState, pItems, pLibrary, pFloor, [] {});
}
