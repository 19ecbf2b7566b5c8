// Copyright (c) 2026 The glissa authors
// SPDX-License-Identifier: MIT

// Reading of motion files, in bytes per second on one core; the aim is 50 MB/s. There are two
// floors: a pass that only reads the bytes, and one that converts the numbers without checks.

#include "glissa/curve/curve.h"
#include "io/bvh_reader.h"
#include "io/curve_clip.h"
#include "io/text_file.h"

#include <benchmark/benchmark.h>

#include <charconv>
#include <numeric>

namespace
{
const std::string kWalk = std::string(GLISSA_SOURCE_DIR) + "/data/walk.bvh";

std::string ReadWalk(benchmark::State& pState)
{
    IoResult<std::string> text = ReadTextFile(kWalk);
    if (!text) {
        pState.SkipWithError(text.GetError().GetText().c_str());
        return {};
    }
    return std::move(*text);
}

// The clip in data/ with its frames repeated: 20 times are 10 MB, more than the caches of a core.
std::string RepeatedWalk(benchmark::State& pState)
{
    const std::string walk = ReadWalk(pState);
    const std::size_t count = walk.find("Frames: 1200");
    const std::size_t time = walk.find("Frame Time");
    const std::size_t frames = walk.find('\n', time) + 1;
    if (count == std::string::npos || time == std::string::npos) {
        return {};
    }
    const auto times = pState.range(0);
    std::string text = walk.substr(0, count) + "Frames: " + std::to_string(1200 * times) + '\n' +
                       walk.substr(time, frames - time);
    for (std::int64_t i = 0; i < times; ++i) {
        text.append(walk, frames);
    }
    return text;
}

void Report(benchmark::State& pState, std::size_t pBytes, double pChecksum)
{
    pState.SetBytesProcessed(pState.iterations() * static_cast<std::int64_t>(pBytes));
    pState.counters["checksum"] = pChecksum;
}

double Sum(const Clip& pClip)
{
    return std::accumulate(pClip.mValues.begin(), pClip.mValues.end(), 0.0);
}

void ParseWalk(benchmark::State& pState)
{
    const std::string text = RepeatedWalk(pState);
    double checksum = 0.0;
    for (auto _ : pState) {
        const IoResult<Clip> clip = ParseBvh(text, "walk.bvh");
        if (!clip) {
            pState.SkipWithError(clip.GetError().GetText().c_str());
            return;
        }
        pState.PauseTiming();
        checksum = Sum(*clip);
        pState.ResumeTiming();
    }
    Report(pState, text.size(), checksum);
}
BENCHMARK(ParseWalk)->Arg(1)->Arg(20);

void ReadWalkFile(benchmark::State& pState)
{
    double checksum = 0.0;
    for (auto _ : pState) {
        const IoResult<Clip> clip = ReadBvh(kWalk);
        if (!clip) {
            pState.SkipWithError(clip.GetError().GetText().c_str());
            return;
        }
        pState.PauseTiming();
        checksum = Sum(*clip);
        pState.ResumeTiming();
    }
    Report(pState, ReadWalk(pState).size(), checksum);
}
BENCHMARK(ReadWalkFile);

void MakeCurves(benchmark::State& pState)
{
    const IoResult<Clip> clip = ReadBvh(kWalk);
    if (!clip) {
        pState.SkipWithError(clip.GetError().GetText().c_str());
        return;
    }
    double checksum = 0.0;
    for (auto _ : pState) {
        const CurveClip curves(*clip);
        checksum = static_cast<double>(curves.GetCurves().back().mCurve->KeyGetValue(0));
    }
    pState.SetItemsProcessed(pState.iterations() * static_cast<std::int64_t>(clip->mValues.size()));
    pState.counters["checksum"] = checksum;
}
BENCHMARK(MakeCurves);

void FloorConvertNumbers(benchmark::State& pState)
{
    const std::string text = RepeatedWalk(pState);
    const std::size_t frames = text.find('\n', text.find("Frame Time")) + 1;
    double checksum = 0.0;
    for (auto _ : pState) {
        checksum = 0.0;
        const char* const end = text.data() + text.size();
        for (const char* at = text.data() + frames; at < end; ++at) {
            double value = 0.0;
            at = std::from_chars(at, end, value).ptr;
            checksum += value;
        }
        benchmark::DoNotOptimize(checksum);
    }
    Report(pState, text.size() - frames, checksum);
}
BENCHMARK(FloorConvertNumbers)->Arg(1)->Arg(20);

void FloorLookAtBytes(benchmark::State& pState)
{
    const std::string text = RepeatedWalk(pState);
    double checksum = 0.0;
    for (auto _ : pState) {
        std::uint32_t sum = 0;
        for (const char each : text) {
            sum += static_cast<unsigned char>(each);
        }
        benchmark::DoNotOptimize(sum);
        checksum = sum;
    }
    Report(pState, text.size(), checksum);
}
BENCHMARK(FloorLookAtBytes)->Arg(20);
}  // namespace
