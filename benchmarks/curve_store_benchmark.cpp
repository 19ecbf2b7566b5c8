// Copyright (c) 2026 The glissa authors
// SPDX-License-Identifier: MIT

// Storing and reading a recorded curve. The floor computes the checksum of the same number of bytes
// and writes them to a file, or reads them and computes the checksum.

#include "benchmarks/paired.h"
#include "corvekit/store/crc32c.h"
#include "corvekit/store/tdf.h"
#include "glissa/curve/curve.h"

#include <benchmark/benchmark.h>

#include <bit>
#include <cmath>
#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <memory>
#include <string>

#include <unistd.h>

namespace
{
constexpr const char* kPath = "curve_store_benchmark.tmp";
constexpr const char* kFloorPath = "curve_store_benchmark_floor.tmp";

struct DestroyCurve
{
    void operator()(Glissa* pCurve) const { pCurve->Destroy(); }
};
using CurveHandle = std::unique_ptr<Glissa, DestroyCurve>;

CurveHandle Recording(int pKeys)
{
    CurveHandle curve(GlissaCreate());
    curve->ResizeKeyBuffer(pKeys, false);
    for (int i = 0; i < pKeys; ++i) {
        curve->KeyAppendFast(KTime(4704000LL * i), std::sin(0.1f * static_cast<float>(i)));
    }
    return curve;
}

bool Store(Glissa& pCurve)
{
    KTdf tdf;
    pCurve.TdfStore(&tdf, false, false, false);
    return tdf.Save(kPath);
}

CurveHandle Retrieve()
{
    CurveHandle curve(GlissaCreate());
    KTdf tdf;
    if (!tdf.Load(kPath) || !curve->TdfRetrieve(&tdf, false, false)) {
        return nullptr;
    }
    return curve;
}

bool SameKeys(const Glissa& pLeft, const Glissa& pRight)
{
    if (pLeft.KeyGetCount() != pRight.KeyGetCount()) {
        return false;
    }
    for (int i = 0; i < pLeft.KeyGetCount(); ++i) {
        if (pLeft.KeyGetTime(i) != pRight.KeyGetTime(i) ||
            std::bit_cast<unsigned>(pLeft.KeyGetValue(i)) !=
                std::bit_cast<unsigned>(pRight.KeyGetValue(i)) ||
            pLeft.InternalPriKeyAttrGetPtr(i) != pRight.InternalPriKeyAttrGetPtr(i)) {
            return false;
        }
    }
    return true;
}

std::string StoredBytes()
{
    std::ifstream file(kPath, std::ios::binary);
    return std::string(std::istreambuf_iterator<char>(file), {});
}

std::uint64_t FloorWrite(const std::string& pBytes)
{
    std::FILE* file = std::fopen(kFloorPath, "wb");
    benchmark::DoNotOptimize(Crc32c(pBytes.data(), pBytes.size()));
    const std::size_t written = std::fwrite(pBytes.data(), 1, pBytes.size(), file);
    std::fflush(file);
    fsync(fileno(file));
    std::fclose(file);
    return written;
}

std::uint64_t FloorRead(std::size_t pSize)
{
    std::FILE* file = std::fopen(kPath, "rb");
    void* bytes = std::malloc(pSize);
    const std::size_t read = std::fread(bytes, 1, pSize, file);
    benchmark::DoNotOptimize(Crc32c(bytes, read));
    std::free(bytes);
    std::fclose(file);
    return read;
}

// The measured functions return the number of bytes. The bytes are checked before.
template <typename Library, typename Floor>
void ThroughAFile(benchmark::State& pState, Library&& pLibrary, Floor&& pFloor)
{
    const int keys = static_cast<int>(pState.range(0));
    const CurveHandle curve = Recording(keys);
    if (!Store(*curve)) {
        pState.SkipWithError("the curve cannot be saved");
        return;
    }
    const CurveHandle back = Retrieve();
    if (!back || !SameKeys(*curve, *back)) {
        pState.SkipWithError("the curve does not come back as it was");
        return;
    }
    const std::string bytes = StoredBytes();
    RunPaired(
        pState, keys, [&] { return pLibrary(*curve, bytes); }, [&] { return pFloor(bytes); });
    pState.counters["bytes_per_key"] = static_cast<double>(bytes.size()) / keys;
    std::remove(kPath);
    std::remove(kFloorPath);
}

void StoreToFile(benchmark::State& pState)
{
    ThroughAFile(
        pState,
        [](Glissa& pCurve, const std::string&) -> std::uint64_t {
            return Store(pCurve) ? std::filesystem::file_size(kPath) : 0;
        },
        FloorWrite);
}
BENCHMARK(StoreToFile)->Arg(1000)->Arg(1000000)->UseManualTime();

void RetrieveFromFile(benchmark::State& pState)
{
    ThroughAFile(
        pState,
        [](Glissa& pCurve, const std::string& pBytes) -> std::uint64_t {
            const CurveHandle curve = Retrieve();
            return curve && curve->KeyGetCount() == pCurve.KeyGetCount() ? pBytes.size() : 0;
        },
        [](const std::string& pBytes) { return FloorRead(pBytes.size()); });
}
BENCHMARK(RetrieveFromFile)->Arg(1000)->Arg(1000000)->UseManualTime();

// The parts without the file.
void StoreToDocument(benchmark::State& pState)
{
    const CurveHandle curve = Recording(static_cast<int>(pState.range(0)));
    for (auto unused : pState) {
        const double start = ThreadSeconds();
        KTdf tdf;
        curve->TdfStore(&tdf, false, false, false);
        benchmark::DoNotOptimize(&tdf);
        pState.SetIterationTime(ThreadSeconds() - start);
    }
    pState.SetItemsProcessed(pState.iterations() * pState.range(0));
}
BENCHMARK(StoreToDocument)->Arg(1000000)->UseManualTime();

void RetrieveFromDocument(benchmark::State& pState)
{
    const CurveHandle curve = Recording(static_cast<int>(pState.range(0)));
    KTdf tdf;
    curve->TdfStore(&tdf, false, false, false);
    for (auto unused : pState) {
        tdf.FieldReadRewind();
        const double start = ThreadSeconds();
        const CurveHandle back(GlissaCreate());
        back->TdfRetrieve(&tdf, false, false);
        pState.SetIterationTime(ThreadSeconds() - start);
    }
    pState.SetItemsProcessed(pState.iterations() * pState.range(0));
}
BENCHMARK(RetrieveFromDocument)->Arg(1000000)->UseManualTime();

void LoadDocument(benchmark::State& pState)
{
    if (!Store(*Recording(static_cast<int>(pState.range(0))))) {
        pState.SkipWithError("the curve cannot be saved");
        return;
    }
    for (auto unused : pState) {
        const double start = ThreadSeconds();
        KTdf tdf;
        benchmark::DoNotOptimize(tdf.Load(kPath));
        pState.SetIterationTime(ThreadSeconds() - start);
    }
    std::remove(kPath);
    pState.SetItemsProcessed(pState.iterations() * pState.range(0));
}
BENCHMARK(LoadDocument)->Arg(1000000)->UseManualTime();
}  // namespace
