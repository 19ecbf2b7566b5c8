// Copyright (c) 2026 The glissa authors
// SPDX-License-Identifier: MIT

// The field store with the keys of a long curve. The floor copies the same bytes, computes their
// checksum or writes them.

#include "corvekit/store/crc32c.h"
#include "corvekit/store/tdf.h"

#include <benchmark/benchmark.h>

#include <cmath>
#include <cstdio>
#include <ostream>
#include <span>
#include <sstream>
#include <streambuf>
#include <string>
#include <vector>

namespace
{
// A key with automatic tangents: time, value, interpolation, tangent, weight and clamp.
constexpr int kValuesPerKey = 6;

void WriteKeys(KTdf& pTdf, int pKeys)
{
    pTdf.FieldWriteBegin("Key");
    for (int i = 0; i < pKeys; ++i) {
        pTdf.FieldWriteT(KTime(4704000LL * i));  // 30 per second
        pTdf.FieldWriteD(static_cast<double>(std::sin(0.1f * static_cast<float>(i))));
        pTdf.FieldWriteCH('U');
        pTdf.FieldWriteCH('a');
        pTdf.FieldWriteCH('n');
        pTdf.FieldWriteCH('n');
    }
    pTdf.FieldWriteEnd();
}

std::string SavedKeys(int pKeys)
{
    KTdf tdf;
    WriteKeys(tdf, pKeys);
    std::ostringstream stream;
    tdf.Save(stream);
    return stream.str();
}

// A stream that writes to memory allocated before.
class Memory : public std::streambuf
{
public:
    explicit Memory(std::size_t pSize) : mBytes(pSize) { Rewind(); }
    void Rewind() { setp(mBytes.data(), mBytes.data() + mBytes.size()); }

private:
    std::vector<char> mBytes;
};

void CountBytes(benchmark::State& pState, std::size_t pSize, int pKeys)
{
    pState.SetBytesProcessed(pState.iterations() * static_cast<std::int64_t>(pSize));
    pState.counters["bytes_per_key"] =
        benchmark::Counter(static_cast<double>(pSize) / static_cast<double>(pKeys));
}

// Writes all values and reads them; the sums prevent the removal of both by the compiler.
void WriteAndReadBack(benchmark::State& pState)
{
    const int keys = static_cast<int>(pState.range(0));
    double checksum = 0.0;
    for (auto _ : pState) {
        KTdf tdf;
        tdf.FieldWriteBegin("Key");
        for (int i = 0; i < keys; ++i) {
            tdf.FieldWriteT(KTime(4704000LL * i));
            tdf.FieldWriteD(static_cast<double>(static_cast<float>(i) * 0.1f));
            tdf.FieldWriteCH('U');
            tdf.FieldWriteCH('a');
            tdf.FieldWriteCH('n');
            tdf.FieldWriteCH('n');
        }
        tdf.FieldWriteEnd();
        tdf.FieldReadBegin("Key");
        checksum = 0.0;
        while (tdf.FieldReadGetRemain() > 0) {
            checksum += static_cast<double>(tdf.FieldReadT().Get());
            checksum += tdf.FieldReadD();
            checksum += tdf.FieldReadCH() + tdf.FieldReadCH() + tdf.FieldReadCH();
            checksum += tdf.FieldReadCH();
        }
    }
    pState.counters["checksum"] = benchmark::Counter(checksum);
    pState.SetItemsProcessed(pState.iterations() * keys * kValuesPerKey);
}
BENCHMARK(WriteAndReadBack)->Arg(1000)->Arg(100000)->Arg(1000000);

// One type at a time, written and read back.
template <class Write, class Read>
void OneType(benchmark::State& pState, Write pWrite, Read pRead)
{
    constexpr int kValues = 100000;
    for (auto _ : pState) {
        KTdf tdf;
        tdf.FieldWriteBegin("Values");
        for (int i = 0; i < kValues; ++i) {
            pWrite(tdf, i);
        }
        tdf.FieldWriteEnd();
        tdf.FieldReadBegin("Values");
        for (int i = 0; i < kValues; ++i) {
            benchmark::DoNotOptimize(pRead(tdf));
        }
    }
    pState.SetItemsProcessed(pState.iterations() * kValues);
}
void Times(benchmark::State& pState)
{
    OneType(
        pState, [](KTdf& pTdf, int i) { pTdf.FieldWriteT(KTime(4704000LL * i)); },
        [](KTdf& pTdf) { return pTdf.FieldReadT(); });
}
BENCHMARK(Times);
void Doubles(benchmark::State& pState)
{
    OneType(
        pState, [](KTdf& pTdf, int i) { pTdf.FieldWriteD(0.1 * i); },
        [](KTdf& pTdf) { return pTdf.FieldReadD(); });
}
BENCHMARK(Doubles);
void Ints(benchmark::State& pState)
{
    OneType(
        pState, [](KTdf& pTdf, int i) { pTdf.FieldWriteI(i); },
        [](KTdf& pTdf) { return pTdf.FieldReadI(); });
}
BENCHMARK(Ints);
void Characters(benchmark::State& pState)
{
    OneType(
        pState, [](KTdf& pTdf, int i) { pTdf.FieldWriteCH(static_cast<char>(i)); },
        [](KTdf& pTdf) { return pTdf.FieldReadCH(); });
}
BENCHMARK(Characters);

void SaveToMemory(benchmark::State& pState)
{
    const int keys = static_cast<int>(pState.range(0));
    const std::size_t size = SavedKeys(keys).size();
    KTdf tdf;
    WriteKeys(tdf, keys);
    Memory memory(size);
    std::ostream stream(&memory);
    for (auto _ : pState) {
        memory.Rewind();
        benchmark::DoNotOptimize(tdf.Save(stream));
    }
    CountBytes(pState, size, keys);
}
BENCHMARK(SaveToMemory)->Arg(100000)->Arg(1000000);

void FloorWriteAndSumBytes(benchmark::State& pState)
{
    const int keys = static_cast<int>(pState.range(0));
    const std::string bytes = SavedKeys(keys);
    Memory memory(bytes.size());
    std::ostream stream(&memory);
    for (auto _ : pState) {
        memory.Rewind();
        benchmark::DoNotOptimize(Crc32c(bytes.data(), bytes.size()));
        stream.write(bytes.data(), static_cast<std::streamsize>(bytes.size()));
    }
    CountBytes(pState, bytes.size(), keys);
}
BENCHMARK(FloorWriteAndSumBytes)->Arg(100000)->Arg(1000000);

void SaveToPath(benchmark::State& pState)
{
    const int keys = static_cast<int>(pState.range(0));
    KTdf tdf;
    WriteKeys(tdf, keys);
    for (auto _ : pState) {
        if (!tdf.Save("store_benchmark.tmp")) {
            pState.SkipWithError(tdf.GetError().GetLastErrorString());
            break;
        }
    }
    std::remove("store_benchmark.tmp");
    CountBytes(pState, SavedKeys(keys).size(), keys);
}
BENCHMARK(SaveToPath)->Arg(1000000)->UseRealTime();

void LoadFromMemory(benchmark::State& pState)
{
    const int keys = static_cast<int>(pState.range(0));
    const std::string bytes = SavedKeys(keys);
    const std::span<const std::uint8_t> span(reinterpret_cast<const std::uint8_t*>(bytes.data()),
                                             bytes.size());
    for (auto _ : pState) {
        KTdf tdf;
        if (!tdf.Load(span)) {
            pState.SkipWithError(tdf.GetError().GetLastErrorString());
            break;
        }
    }
    CountBytes(pState, bytes.size(), keys);
    pState.SetItemsProcessed(pState.iterations() * keys * kValuesPerKey);
}
BENCHMARK(LoadFromMemory)->Arg(100000)->Arg(1000000);

// Many small fields in one block, opened by name in the order written.
void OpenFields(benchmark::State& pState)
{
    const int fields = static_cast<int>(pState.range(0));
    std::vector<std::string> names;
    KTdf tdf;
    for (int i = 0; i < fields; ++i) {
        names.push_back("field" + std::to_string(i));
        tdf.FieldWriteBegin(names.back().c_str());
        tdf.FieldWriteI(i);
        tdf.FieldWriteEnd();
    }
    std::int64_t sum = 0;
    for (auto _ : pState) {
        tdf.FieldReadRewind();
        for (const std::string& each : names) {
            sum += tdf.FieldReadI(each.c_str(), -1);
        }
    }
    benchmark::DoNotOptimize(sum);
    pState.SetItemsProcessed(pState.iterations() * fields);
}
BENCHMARK(OpenFields)->Arg(10)->Arg(1000)->Arg(100000);

void TableSum(benchmark::State& pState)
{
    const std::string bytes(1 << 20, 'x');
    for (auto _ : pState) {
        benchmark::DoNotOptimize(Crc32cByTable(bytes.data(), bytes.size()));
    }
    pState.SetBytesProcessed(pState.iterations() * static_cast<std::int64_t>(bytes.size()));
}
BENCHMARK(TableSum);

void InstructionSum(benchmark::State& pState)
{
    const std::string bytes(1 << 20, 'x');
    for (auto _ : pState) {
        benchmark::DoNotOptimize(Crc32cByInstruction(bytes.data(), bytes.size()));
    }
    pState.SetBytesProcessed(pState.iterations() * static_cast<std::int64_t>(bytes.size()));
}
BENCHMARK(InstructionSum);
}  // namespace

BENCHMARK_MAIN();
