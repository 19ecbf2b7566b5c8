// Copyright (c) 2026 The glissa authors
// SPDX-License-Identifier: MIT

// Evaluation and search, compared with the same arithmetic on arrays. The floors compute only what
// the result needs: no curve object, no pages, no kinds of keys.

#include "benchmarks/paired.h"
#include "glissa/curve/curve.h"

#include <malloc.h>

#include <cmath>
#include <memory>
#include <random>

namespace
{
constexpr double kTicksPerSecond = 141120000.0;
constexpr std::int64_t kFrame = 4704000;  // 1/30 s

struct FlatKey
{
    std::int64_t time;
    float value;
    float slot0;
    float slot1;
};
static_assert(sizeof(FlatKey) == 24);

using FlatCurve = std::vector<FlatKey>;

struct CurveEnd
{
    void operator()(Glissa* pCurve) const { pCurve->Destroy(); }
};
using CurvePointer = std::unique_ptr<Glissa, CurveEnd>;

FlatCurve MakeKeys(int pCount, unsigned pSeed)
{
    std::mt19937 random(pSeed);
    FlatCurve keys;
    std::int64_t time = 0;
    for (int i = 0; i < pCount; ++i) {
        const float value = static_cast<float>(static_cast<int>(random() % 20000) - 10000) / 97.0f;
        const float slope = static_cast<float>(static_cast<int>(random() % 20000) - 10000) / 31.0f;
        keys.push_back({time, value, slope, slope});
        time += kFrame * (1 + static_cast<std::int64_t>(random() % 8));
    }
    return keys;
}

CurvePointer MakeCurve(const FlatCurve& pKeys)
{
    CurvePointer curve(GlissaCreate());
    curve->InitBuffers(static_cast<int>(pKeys.size()), true);
    for (const FlatKey& key : pKeys) {
        curve->KeyAppendFast(KTime(key.time), key.value);
    }
    return curve;
}

std::vector<std::int64_t> SequentialTimes(const FlatCurve& pKeys, std::int64_t pStep)
{
    std::vector<std::int64_t> times;
    for (std::int64_t time = pKeys.front().time; time <= pKeys.back().time; time += pStep) {
        times.push_back(time);
    }
    return times;
}

std::vector<std::int64_t> RandomTimes(const FlatCurve& pKeys, int pCount)
{
    std::mt19937_64 random(7);
    std::vector<std::int64_t> times;
    for (int i = 0; i < pCount; ++i) {
        times.push_back(
            static_cast<std::int64_t>(random() % static_cast<std::uint64_t>(pKeys.back().time)));
    }
    return times;
}

float Between(float pFrom, float pTo, double pT)
{
    return static_cast<float>(pFrom + (pTo - pFrom) * pT);
}

float Bezier(float p0, float p1, float p2, float p3, double pT)
{
    const float q0 = Between(p0, p1, pT);
    const float q1 = Between(p1, p2, pT);
    const float q2 = Between(p2, p3, pT);
    return Between(Between(q0, q1, pT), Between(q1, q2, pT), pT);
}

double Seconds(std::int64_t pTicks)
{
    return static_cast<double>(pTicks) / kTicksPerSecond;
}

double Fraction(const FlatKey* pKeys, int pIndex, std::int64_t pTime)
{
    const double f = static_cast<double>(pTime - pKeys[pIndex].time) /
                     static_cast<double>(pKeys[pIndex + 1].time - pKeys[pIndex].time);
    return (pIndex + f) - pIndex;
}

int Walk(const FlatKey* pKeys, int pLast, std::int64_t pTime, int pHint)
{
    int i = pHint;
    while (i < pLast - 1 && pKeys[i + 1].time <= pTime) {
        ++i;
    }
    return i;
}

int Bisect(const FlatKey* pKeys, int pLast, std::int64_t pTime)
{
    int base = 0;
    int length = pLast;
    while (length > 1) {
        const int half = length / 2;
        base += half & -static_cast<int>(pKeys[base + half].time <= pTime);
        length -= half;
    }
    return base;
}

// Three secants, two slopes, the Bézier.
float FloorAuto(const FlatKey* pKeys, int pLast, int pIndex, std::int64_t pTime)
{
    const FlatKey& from = pKeys[pIndex];
    const FlatKey& to = pKeys[pIndex + 1];
    const double t = Fraction(pKeys, pIndex, pTime);
    const auto secant = [](const FlatKey& a, const FlatKey& b) {
        return (b.value - a.value) / static_cast<float>(Seconds(b.time - a.time));
    };
    const float dt = static_cast<float>(Seconds(to.time - from.time));
    const double through = (to.value - from.value) / dt;
    const double toLeft = pIndex > 0 ? secant(pKeys[pIndex - 1], from) : through;
    const double toRight = pIndex + 2 <= pLast ? secant(to, pKeys[pIndex + 2]) : through;
    const float rd = static_cast<float>((toLeft + through) * 0.5);
    const float ld = static_cast<float>((through + toRight) * 0.5);
    if (t == 0.0) {
        return from.value;
    }
    return Bezier(from.value, static_cast<float>(from.value + rd * dt / 3.0),
                  static_cast<float>(to.value - ld * dt / 3.0), to.value, t);
}

float FloorLinear(const FlatKey* pKeys, int pIndex, std::int64_t pTime)
{
    return Between(pKeys[pIndex].value, pKeys[pIndex + 1].value, Fraction(pKeys, pIndex, pTime));
}

// The secant method on the time axis, then the value.
float FloorWeighted(const FlatKey* pKeys, int pIndex, std::int64_t pTime, float pRight, float pLeft)
{
    const FlatKey& from = pKeys[pIndex];
    const FlatKey& to = pKeys[pIndex + 1];
    const double t = Fraction(pKeys, pIndex, pTime);
    if (t == 0.0) {
        return from.value;
    }
    const float dt = static_cast<float>(Seconds(to.time - from.time));
    const auto f = [=](double s) { return Bezier(1.0f, 1.0f - pLeft, pRight, 0.0f, s) - t; };
    double s0 = 0.0;
    double s1 = 1.0;
    double f0 = f(s0);
    double f1 = f(s1);
    if (std::fabs(f1) > std::fabs(f0)) {
        std::swap(s0, s1);
        std::swap(f0, f1);
    }
    for (int i = 0; i < 15 && f1 != f0; ++i) {
        const double dx = (s0 - s1) * f1 / (f1 - f0);
        s0 = s1;
        f0 = f1;
        s1 += dx;
        f1 = f(s1);
        if (std::fabs(dx) < 1e-6 || f1 == 0.0) {
            break;
        }
    }
    return Bezier(to.value, to.value - to.slot1 * dt * pLeft, from.value + from.slot0 * dt * pRight,
                  from.value, s1);
}

enum class Order
{
    Sequential,
    Random
};

std::vector<std::int64_t> TimesFor(const FlatCurve& pKeys, Order pOrder)
{
    return pOrder == Order::Sequential ? SequentialTimes(pKeys, KTime::kTicksPerSecond / 240)
                                       : RandomTimes(pKeys, 40000);
}

// Evaluates a curve at times in order with a hint, or in random order, compared with a floor that
// returns the value in a segment.
template <typename FloorValue>
void RunCurve(benchmark::State& pState, Glissa& pCurve, const FlatCurve& pKeys, Order pOrder,
              FloorValue&& pFloorValue)
{
    const std::vector<std::int64_t> times = TimesFor(pKeys, pOrder);
    const int last = static_cast<int>(pKeys.size()) - 1;
    const auto library = [&] {
        Checksum check;
        int hint = 0;
        for (const std::int64_t time : times) {
            check.Add(pCurve.Evaluate(KTime(time), &hint));
        }
        return check.Get();
    };
    const auto floor = [&] {
        Checksum check;
        const FlatKey* keys = pKeys.data();
        int hint = 0;
        for (const std::int64_t time : times) {
            if (pOrder == Order::Random) {
                hint = Bisect(keys, last, time);
            } else {
                if (time < keys[hint].time) {
                    hint = 0;
                }
                hint = Walk(keys, last, time, hint);
            }
            check.Add(time == keys[last].time ? keys[last].value
                                              : pFloorValue(keys, last, hint, time));
        }
        return check.Get();
    };
    RunPaired(pState, static_cast<double>(times.size()), library, floor);
}

void AutoCurve(benchmark::State& pState, Order pOrder)
{
    const FlatCurve keys = MakeKeys(1000, 1);
    const CurvePointer curve = MakeCurve(keys);
    RunCurve(pState, *curve, keys, pOrder, FloorAuto);
}

void LinearCurve(benchmark::State& pState, Order pOrder)
{
    const FlatCurve keys = MakeKeys(1000, 2);
    const CurvePointer curve = MakeCurve(keys);
    KPriFCurveKeyAttr linear = *GlissaDefaultKeyAttr;
    linear.SetInterpolation(eInterpolationLinear);
    for (int i = 0; i < curve->KeyGetCount(); ++i) {
        curve->KeyAttrSet(i, linear);
    }
    curve->KeyAttrShrink(0, curve->KeyGetCount());
    RunCurve(pState, *curve, keys, pOrder,
             [](const FlatKey* pKeys, int, int pIndex, std::int64_t pTime) {
                 return FloorLinear(pKeys, pIndex, pTime);
             });
}

void WeightedCurve(benchmark::State& pState)
{
    const FlatCurve keys = MakeKeys(1000, 3);
    const CurvePointer curve = MakeCurve(keys);
    GlissaKeyAttributes attributes = *GlissaDefaultKeyAttr;
    attributes.SetTangeantMode(eTangentUser);
    attributes.SetTangeantWeightMode(eWeightAll, eWeightAll);
    attributes.SetDataDouble(eDataRightWeight, 0.55f);
    attributes.SetDataDouble(eDataNextLeftWeight, 0.2f);
    for (int i = 0; i < curve->KeyGetCount(); ++i) {
        const std::size_t next = std::min(static_cast<std::size_t>(i) + 1, keys.size() - 1);
        attributes.mData[eDataRightSlope] = keys[static_cast<std::size_t>(i)].slot0;
        attributes.mData[eDataNextLeftSlope] = keys[next].slot1;
        curve->KeyAttrSet(i, KPriFCurveKeyAttr{attributes, 0});
    }
    const float right = attributes.GetDataDouble(eDataRightWeight);
    const float left = attributes.GetDataDouble(eDataNextLeftWeight);
    RunCurve(pState, *curve, keys, Order::Sequential,
             [=](const FlatKey* pKeys, int, int pIndex, std::int64_t pTime) {
                 return FloorWeighted(pKeys, pIndex, pTime, right, left);
             });
}

// All curves at each time, like a host that plays a scene.
void ManyCurves(benchmark::State& pState)
{
    constexpr int kCurves = 10000;
    constexpr int kKeys = 100;
    constexpr int kSteps = 60;
    std::vector<FlatCurve> flat;
    std::vector<CurvePointer> curves;
    for (int i = 0; i < kCurves; ++i) {
        flat.push_back(MakeKeys(kKeys, static_cast<unsigned>(i)));
    }
    for (const FlatCurve& keys : flat) {
        curves.push_back(MakeCurve(keys));
    }
    const auto library = [&] {
        std::vector<int> hints(kCurves, 0);
        Checksum check;
        for (int step = 0; step < kSteps; ++step) {
            for (std::size_t i = 0; i < kCurves; ++i) {
                check.Add(curves[i]->Evaluate(KTime(kFrame * step), &hints[i]));
            }
        }
        return check.Get();
    };
    const auto floor = [&] {
        std::vector<int> hints(kCurves, 0);
        Checksum check;
        for (int step = 0; step < kSteps; ++step) {
            const std::int64_t time = kFrame * step;
            for (std::size_t i = 0; i < kCurves; ++i) {
                const FlatKey* keys = flat[i].data();
                hints[i] = Walk(keys, kKeys - 1, time, hints[i]);
                check.Add(FloorAuto(keys, kKeys - 1, hints[i], time));
            }
        }
        return check.Get();
    };
    RunPaired(pState, static_cast<double>(kCurves) * kSteps, library, floor);
}

void RandomSeek(benchmark::State& pState)
{
    constexpr int kKeysPerPage = 42;
    const FlatCurve keys = MakeKeys(1000000, 4);
    const CurvePointer curve = MakeCurve(keys);
    const std::vector<std::int64_t> times = RandomTimes(keys, 100000);
    // Pages of the floor: records of 24 bytes in blocks of 1024, and the first time of each.
    const int pageCount = static_cast<int>(keys.size()) / kKeysPerPage + 1;
    std::vector<std::int64_t> firsts;
    std::vector<std::unique_ptr<FlatKey[]>> pages;
    for (int i = 0; i < pageCount; ++i) {
        const std::size_t begin = static_cast<std::size_t>(i) * kKeysPerPage;
        const std::size_t end = std::min(begin + kKeysPerPage, keys.size());
        pages.push_back(std::make_unique<FlatKey[]>(kKeysPerPage));
        std::copy(keys.begin() + static_cast<std::ptrdiff_t>(begin),
                  keys.begin() + static_cast<std::ptrdiff_t>(end), pages.back().get());
        firsts.push_back(pages.back()[0].time);
    }
    const auto add = [](std::uint64_t& pSum, double pPlace) {
        pSum = pSum * 31 + static_cast<std::uint64_t>(pPlace * 1024.0);
    };
    const auto library = [&] {
        std::uint64_t sum = 0;
        int hint = 0;
        for (const std::int64_t time : times) {
            add(sum, curve->KeyFind(KTime(time), &hint));
        }
        return sum;
    };
    const auto floor = [&] {
        std::uint64_t sum = 0;
        for (const std::int64_t time : times) {
            int page = 0;
            for (int length = pageCount; length > 1;) {
                const int half = length / 2;
                page +=
                    half & -static_cast<int>(firsts[static_cast<std::size_t>(page + half)] <= time);
                length -= half;
            }
            const FlatKey* found = pages[static_cast<std::size_t>(page)].get();
            const char* bytes = reinterpret_cast<const char*>(found);
            for (std::size_t line = 0; line < kKeysPerPage * sizeof(FlatKey); line += 64) {
                __builtin_prefetch(bytes + line);
            }
            const int slot = Bisect(found, kKeysPerPage, time);
            const std::int64_t next = slot + 1 < kKeysPerPage
                                          ? found[slot + 1].time
                                          : firsts[static_cast<std::size_t>(page) + 1];
            add(sum, page * kKeysPerPage + slot +
                         static_cast<double>(time - found[slot].time) /
                             static_cast<double>(next - found[slot].time));
        }
        return sum;
    };
    RunPaired(pState, static_cast<double>(times.size()), library, floor);
}

void AppendFast(benchmark::State& pState)
{
    constexpr int kCount = 1000000;
    std::vector<FlatKey> records(kCount);
    CurvePointer curve;
    const auto prepare = [&] {
        curve.reset(GlissaCreate());
        curve->InitBuffers(kCount, true);
    };
    const auto library = [&] {
        for (int i = 0; i < kCount; ++i) {
            curve->KeyAppendFast(KTime(kFrame * i), static_cast<float>(i));
        }
        return static_cast<std::uint64_t>(curve->KeyGetCount());
    };
    const auto floor = [&] {
        benchmark::DoNotOptimize(records.data());
        for (int i = 0; i < kCount; ++i) {
            records[static_cast<std::size_t>(i)] = {kFrame * i, static_cast<float>(i), 0.0f, 0.0f};
            benchmark::ClobberMemory();
        }
        return std::uint64_t{kCount};
    };
    RunPaired(pState, kCount, library, floor, prepare);
}

// Bytes of the heap, not those counted by the library.
void RecordedMemory(benchmark::State& pState)
{
    constexpr int kCount = 1000000;
    double bytes = 0.0;
    for (auto unused : pState) {
        const auto before = mallinfo2();
        const CurvePointer curve(GlissaCreate());
        curve->InitBuffers(kCount, true);
        for (int i = 0; i < kCount; ++i) {
            curve->KeyAppendFast(KTime(kFrame * i), static_cast<float>(i));
        }
        int hint = 0;
        benchmark::DoNotOptimize(curve->KeyFind(KTime(kFrame * (kCount / 2)), &hint));
        const auto after = mallinfo2();
        bytes = static_cast<double>(after.uordblks + after.hblkhd) -
                static_cast<double>(before.uordblks + before.hblkhd);
    }
    pState.counters["MB"] = bytes / 1e6;
    pState.counters["bytes_per_key"] = bytes / kCount;
}

void Register()
{
    const auto add = [](const char* pName, auto pFunction) {
        benchmark::RegisterBenchmark(pName, pFunction)->UseManualTime();
    };
    add("auto/1000keys/240Hz/hint", [](auto& s) { AutoCurve(s, Order::Sequential); });
    add("auto/1000keys/random", [](auto& s) { AutoCurve(s, Order::Random); });
    add("auto/10000curves/30Hz", ManyCurves);
    add("weighted/1000keys/240Hz", WeightedCurve);
    add("linear/1000keys/240Hz/hint", [](auto& s) { LinearCurve(s, Order::Sequential); });
    add("linear/1000keys/random", [](auto& s) { LinearCurve(s, Order::Random); });
    add("seek/1000000keys/random", RandomSeek);
    add("append/1000000keys", AppendFast);
    benchmark::RegisterBenchmark("memory/1000000keys", RecordedMemory)->Iterations(1);
}
}  // namespace

int main(int pCount, char** pArguments)
{
    Register();
    benchmark::Initialize(&pCount, pArguments);
    if (benchmark::ReportUnrecognizedArguments(pCount, pArguments)) {
        return 1;
    }
    benchmark::RunSpecifiedBenchmarks();
    return 0;
}
