// Copyright (c) 2026 The glissa authors
// SPDX-License-Identifier: MIT
// Not for hosts: benchmarks of the library and of a floor, the plain arithmetic of the same work.
#pragma once

#include <benchmark/benchmark.h>

#include <algorithm>
#include <cstdint>
#include <cstdio>
#include <cstring>
#include <ctime>
#include <string>
#include <vector>

/// A checksum of the values of a run, which must not change with the speed.
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

/// Processor time of this thread, which depends less on the load of the machine than the clock.
inline double ThreadSeconds()
{
    timespec now{};
    clock_gettime(CLOCK_THREAD_CPUTIME_ID, &now);
    return static_cast<double>(now.tv_sec) + static_cast<double>(now.tv_nsec) * 1e-9;
}

inline double Median(std::vector<double>& pValues)
{
    std::nth_element(pValues.begin(), pValues.begin() + pValues.size() / 2, pValues.end());
    return pValues[pValues.size() / 2];
}

/// Measures the library and the floor in turn, so that both have the same load of the machine.
/// Reports the nanoseconds per item of each and the median ratio of the pairs.
///
/// pItems    number of items of a call of either function.
/// pLibrary, pFloor  callables without arguments that return a checksum of their results.
/// pPrepare  called before each call of pLibrary, outside the measured time.
/// The two checksums must be equal.
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
    pState.counters["ns"] = Median(library) / pItems * 1e9;
    pState.counters["floor_ns"] = Median(floor) / pItems * 1e9;
    pState.counters["ratio"] = Median(ratios);
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

/// Measures the library without a floor and reports the median of the nanoseconds per item.
///
/// pLibrary  a callable without arguments; the others as for RunPaired.
template <typename Library, typename Prepare>
void RunAlone(benchmark::State& pState, double pItems, Library&& pLibrary, Prepare&& pPrepare)
{
    std::vector<double> seconds;
    for (auto unused : pState) {
        pPrepare();
        const double start = ThreadSeconds();
        pLibrary();
        seconds.push_back(ThreadSeconds() - start);
        pState.SetIterationTime(seconds.back());
    }
    pState.counters["ns_a_key"] = Median(seconds) / pItems * 1e9;
}
