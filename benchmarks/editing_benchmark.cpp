// Copyright (c) 2026 The glissa authors
// SPDX-License-Identifier: MIT

// Edits, compared with the memory accesses of the same work: pages of 42 records that are moved,
// floats that are written. The floors have no attributes, events and order.

#include "benchmarks/curve_check.h"
#include "glissa/curve/curve.h"
#include "glissa/curve/modify_bracket.h"

#include <memory>
#include <numeric>
#include <random>

namespace
{
constexpr std::int64_t kFrame = 4704000;  // 1/30 s
constexpr int kPerPage = KeyList::kKeysPerPage;
constexpr int kEdits = 100;  // in one measured call

struct CurveEnd
{
    void operator()(Glissa* pCurve) const { pCurve->Destroy(); }
};
using CurvePointer = std::unique_ptr<Glissa, CurveEnd>;

// pValues  number of different values, which are repeated.
CurvePointer Record(int pKeys, int pValues = 97)
{
    CurvePointer curve(GlissaCreate());
    curve->InitBuffers(pKeys, false);
    for (int i = 0; i < pKeys; ++i) {
        curve->KeyAppendFast(KTime(kFrame * i), static_cast<float>(i % pValues));
    }
    return curve;
}

std::vector<int> Shuffled(int pCount)
{
    std::vector<int> order(static_cast<std::size_t>(pCount));
    std::iota(order.begin(), order.end(), 0);
    std::mt19937 random(3);
    for (std::size_t i = order.size() - 1; i > 0; --i) {
        std::swap(order[i], order[random() % (i + 1)]);
    }
    return order;
}

GlissaKey FreshKey(float pValue)
{
    GlissaKey key;
    key.Set(KTime(), pValue, eInterpolationCubic, eTangentAuto, 0.0f, 0.0f, eWeightNone,
            kGlissaDefaultWeight, kGlissaDefaultWeight, 0.0f, 0.0f);
    return key;
}

// Pages of records with insertion and removal.
class Pages
{
public:
    struct Record
    {
        std::int64_t time;
        void* attribute;
        float value;
    };
    struct Page
    {
        Record records[kPerPage];
    };

    explicit Pages(int pRoom)
    {
        for (int i = 0; i <= pRoom / kPerPage; ++i) {
            mPages.push_back(std::make_unique<Page>());
        }
    }
    int Count() const { return mCount; }
    Record& At(int pIndex)
    {
        return mPages[static_cast<std::size_t>(pIndex / kPerPage)]->records[pIndex % kPerPage];
    }
    void Insert(int pIndex, const Record& pRecord)
    {
        const int page = pIndex / kPerPage;
        int last = mCount / kPerPage;
        int filled = mCount % kPerPage;
        for (; last > page; --last) {
            Record* records = &At(last * kPerPage);
            std::memmove(records + 1, records, sizeof(Record) * static_cast<std::size_t>(filled));
            records[0] = At(last * kPerPage - 1);
            filled = kPerPage - 1;
        }
        Record* gap = &At(pIndex);
        std::memmove(gap + 1, gap,
                     sizeof(Record) * static_cast<std::size_t>(filled - pIndex % kPerPage));
        *gap = pRecord;
        ++mCount;
    }
    void Remove(int pIndex)
    {
        const int last = (mCount - 1) / kPerPage;
        int slot = pIndex % kPerPage;
        for (int page = pIndex / kPerPage; page <= last; ++page, slot = 0) {
            const int filled = page == last ? (mCount - 1) % kPerPage + 1 : kPerPage;
            Record* records = &At(page * kPerPage);
            std::memmove(records + slot, records + slot + 1,
                         sizeof(Record) * static_cast<std::size_t>(filled - slot - 1));
            if (page < last) {
                records[kPerPage - 1] = At((page + 1) * kPerPage);
            }
        }
        --mCount;
    }
    int Below(std::int64_t pTime)
    {
        int base = 0;
        for (int length = mCount; length > 1; length -= length / 2) {
            base += length / 2 & -static_cast<int>(At(base + length / 2).time <= pTime);
        }
        return base;
    }
    std::uint64_t Check()
    {
        Checksum check;
        for (int i = 0; i < mCount; ++i) {
            check.Add(At(i).value);
        }
        return check.Get();
    }

private:
    std::vector<std::unique_ptr<Page>> mPages;
    int mCount = 0;
};

std::unique_ptr<Pages> RecordedPages(int pKeys, int pValues = 97)
{
    auto pages = std::make_unique<Pages>(pKeys + kEdits);
    for (int i = 0; i < pKeys; ++i) {
        pages->Insert(i, {kFrame * i, nullptr, static_cast<float>(i % pValues)});
    }
    return pages;
}

// Compared with recording of the same keys. Ten times that, or 50 ns per key, is the cost of a key
// with its own attributes, two events and a call of the custom tangent manager.
void AddAscending(benchmark::State& pState)
{
    const int keys = static_cast<int>(pState.range(0));
    CurvePointer curve;
    CurvePointer floor;
    RunPaired(
        pState, keys,
        [&] {
            int hint = 0;
            GlissaKey key = FreshKey(0.0f);
            for (int i = 0; i < keys; ++i) {
                key.SetValue(static_cast<float>(i % 97));
                curve->KeyAdd(KTime(kFrame * i), key, &hint);
            }
            return CheckOf(*curve);
        },
        [&] {
            for (int i = 0; i < keys; ++i) {
                floor->KeyAppendFast(KTime(kFrame * i), static_cast<float>(i % 97));
            }
            return CheckOf(*floor);
        },
        [&] {
            curve.reset(GlissaCreate());
            floor.reset(GlissaCreate());
            curve->InitBuffers(keys, false);
            floor->InitBuffers(keys, false);
        });
}
BENCHMARK(AddAscending)->Arg(1000)->Arg(100000)->UseManualTime();

void AddInRandomOrder(benchmark::State& pState)
{
    const int keys = static_cast<int>(pState.range(0));
    const std::vector<int> order = Shuffled(keys);
    CurvePointer curve;
    RunPaired(
        pState, keys,
        [&] {
            GlissaKey key = FreshKey(0.0f);
            for (const int i : order) {
                key.SetValue(static_cast<float>(i % 97));
                curve->KeyAdd(KTime(kFrame * i), key);
            }
            return CheckOf(*curve);
        },
        [&] {
            Pages pages(keys);
            for (const int i : order) {
                const int below = pages.Count() == 0 ? -1 : pages.Below(kFrame * i);
                const bool isBefore = below == 0 && pages.At(0).time > kFrame * i;
                pages.Insert(isBefore ? 0 : below + 1,
                             {kFrame * i, nullptr, static_cast<float>(i % 97)});
            }
            return pages.Check();
        },
        [&] {
            curve.reset(GlissaCreate());
            curve->InitBuffers(keys, false);
        });
}
BENCHMARK(AddInRandomOrder)->Arg(8000)->UseManualTime();

void RemoveInTheMiddle(benchmark::State& pState)
{
    const int keys = static_cast<int>(pState.range(0));
    CurvePointer curve;
    std::unique_ptr<Pages> pages;
    RunPaired(
        pState, kEdits,
        [&] {
            for (int i = 0; i < kEdits; ++i) {
                curve->KeyRemove(keys / 2 - i);
            }
            return CheckOf(*curve);
        },
        [&] {
            for (int i = 0; i < kEdits; ++i) {
                pages->Remove(keys / 2 - i);
            }
            return pages->Check();
        },
        [&] {
            curve = Record(keys);
            pages = RecordedPages(keys);
        });
}
BENCHMARK(RemoveInTheMiddle)->Arg(100000)->UseManualTime();

// Inserts keys that keep the shape. All values are equal, as the floor evaluates nothing.
void InsertInTheMiddle(benchmark::State& pState)
{
    const int keys = static_cast<int>(pState.range(0));
    CurvePointer curve;
    std::unique_ptr<Pages> pages;
    RunPaired(
        pState, kEdits,
        [&] {
            for (int i = 0; i < kEdits; ++i) {
                curve->KeyInsert(KTime(kFrame * (keys / 2 + i) + kFrame / 2));
            }
            return CheckOf(*curve);
        },
        [&] {
            for (int i = 0; i < kEdits; ++i) {
                const std::int64_t time = kFrame * (keys / 2 + i) + kFrame / 2;
                pages->Insert(pages->Below(time) + 1, {time, nullptr, 0.0f});
            }
            return pages->Check();
        },
        [&] {
            curve = Record(keys, 1);
            pages = RecordedPages(keys, 1);
        });
    if (curve->KeyGetCount() != keys + kEdits) {
        pState.SkipWithError("keys were not inserted");
    }
}
BENCHMARK(InsertInTheMiddle)->Arg(1000)->Arg(100000)->UseManualTime();

// Past three keys: removed and inserted again.
void MoveInTheMiddle(benchmark::State& pState)
{
    const int keys = static_cast<int>(pState.range(0));
    CurvePointer curve;
    std::unique_ptr<Pages> pages;
    RunPaired(
        pState, kEdits,
        [&] {
            for (int i = 0; i < kEdits; ++i) {
                const int from = keys / 2 + i * 5;
                curve->KeyMove(from, curve->KeyGetTime(from + 3) + KTime(kFrame / 2));
            }
            return CheckOf(*curve);
        },
        [&] {
            for (int i = 0; i < kEdits; ++i) {
                const int from = keys / 2 + i * 5;
                Pages::Record record = pages->At(from);
                record.time = pages->At(from + 3).time + kFrame / 2;
                pages->Remove(from);
                pages->Insert(pages->Below(record.time) + 1, record);
            }
            return pages->Check();
        },
        [&] {
            curve = Record(keys);
            pages = RecordedPages(keys);
        });
}
BENCHMARK(MoveInTheMiddle)->Arg(1000)->Arg(100000)->UseManualTime();

// A bracket with a listener. The floor writes floats to records and counts an event for each.
void SetValues(benchmark::State& pState)
{
    const int keys = static_cast<int>(pState.range(0));
    int heard = 0;
    const CurvePointer curve = Record(keys);
    const std::unique_ptr<Pages> pages = RecordedPages(keys);
    curve->CallbackRegister(
        [](Glissa*, GlissaEvent* pEvent, void* pObject) {
            *static_cast<int*>(pObject) += pEvent->GetEventCount();
        },
        &heard);
    RunPaired(
        pState, keys,
        [&] {
            const KeyModifyBracket bracket(*curve);
            for (int i = 0; i < keys; ++i) {
                curve->KeySetValue(i, static_cast<float>(i % 89));
            }
            return std::uint64_t{0};
        },
        [&] {
            GlissaEvent event;
            int updateId = 0;
            for (int i = 0; i < keys; ++i) {
                pages->At(i).value = static_cast<float>(i % 89);
                event.Add(kGlissaEventValue, i);
                benchmark::DoNotOptimize(++updateId);
            }
            return std::uint64_t{0};
        });
    if (heard == 0 || CheckOf(*curve) != pages->Check()) {
        pState.SkipWithError("the values set are others");
    }
}
BENCHMARK(SetValues)->Arg(100000)->UseManualTime();
}  // namespace
