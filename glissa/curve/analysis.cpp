// Copyright (c) 2026 The glissa authors
// SPDX-License-Identifier: MIT

// Questions about a curve, and keys taken over from a table made outside.

#include "corvekit/event/operation.h"
#include "glissa/curve/curve.h"
#include "glissa/curve/key_kind.h"
#include "glissa/curve/slope_rules.h"
#include "glissa/ext/active.h"

#include <algorithm>
#include <cmath>
#include <new>

namespace
{
// The slope of the Bézier through the slopes of the two keys is zero where a u^2 + b u + c = 0. The
// interpolation of the key is not tested. Where a is 0 no root is finite, and none is counted.
int FindPeakTimes(Glissa& pCurve, int pIndex, KTime (&pTimes)[2])
{
    CORVEKIT_ASSERT(pIndex >= 0 && pIndex + 1 < pCurve.KeyGetCount());
    const KPriFCurveKey& from = *pCurve.InternalPriKeyGetPtr(pIndex);
    const KPriFCurveKey& to = *pCurve.InternalPriKeyGetPtr(pIndex + 1);
    const float seconds = static_cast<float>(SecondsBetween(from, to));
    const float p0 = from.mValue;
    const float p3 = to.mValue;
    const float p1 = static_cast<float>(p0 + pCurve.KeyGetRightDerivative(pIndex) * seconds / 3.0);
    const float p2 =
        static_cast<float>(p3 - pCurve.KeyGetLeftDerivative(pIndex + 1) * seconds / 3.0);
    const float a = 3.0f * p3 - 9.0f * p2 + 9.0f * p1 - 3.0f * p0;
    const float b = 6.0f * p2 - 12.0f * p1 + 6.0f * p0;
    const float c = 3.0f * p1 - 3.0f * p0;
    const float discriminant = b * b - 4.0f * a * c;
    if (!(discriminant >= 0.0f)) {
        return 0;
    }
    const float root = std::sqrt(discriminant);
    const float roots[] = {(root - b) / (2.0f * a), (-root - b) / (2.0f * a)};
    const int rootCount = discriminant > 0.0f ? 2 : 1;
    int count = 0;
    for (int i = 0; i < rootCount; ++i) {
        // In ascending order.
        const float u = a > 0.0f ? roots[rootCount - 1 - i] : roots[i];
        const double offset = static_cast<double>(u) * seconds;
        const KTime time = KTime::FromSeconds(from.mTime.GetSecondDouble() + offset);
        if (std::isfinite(u) && from.mTime < time && time < to.mTime) {
            pTimes[count++] = time;
        }
    }
    return count;
}
}  // namespace

int Glissa::FindPeaks(int pIndex, KTime& pTime1, float& pValue1, KTime& pTime2, float& pValue2)
{
    const int count = FindPeaks(pIndex, pTime1, pTime2);
    if (count > 0) {
        pValue1 = Evaluate(pTime1, nullptr);
    }
    if (count > 1) {
        pValue2 = Evaluate(pTime2, nullptr);
    }
    return count;
}

int Glissa::FindPeaks(int pIndex, KTime& pTime1, KTime& pTime2)
{
    KTime times[2];
    const int count = FindPeakTimes(*this, pIndex, times);
    pTime1 = count > 0 ? times[0] : pTime1;
    pTime2 = count > 1 ? times[1] : pTime2;
    return count;
}

int Glissa::FindPeaks(int pIndex, float& pValue1, float& pValue2)
{
    KTime times[2];
    return FindPeaks(pIndex, times[0], pValue1, times[1], pValue2);
}

void Glissa::ExtractKeysIndex(KArrayTemplate<int>& pIndexes, int pFirst, int pLast,
                              double pMinValue, double pMaxValue) const
{
    const int last = std::min(pLast, KeyGetCount() - 1);
    for (int i = std::max(pFirst, 0); i <= last; ++i) {
        const double value = KeyGetValue(i);
        if (value >= pMinValue && value <= pMaxValue) {
            pIndexes.Add(i);
        }
    }
}

int Glissa::GuessWasData(KTime* pFirstTime, KTime* pPeriod) const
{
    constexpr KTime kTick(1);
    const int count = KeyGetCount();
    int result = count >= 2 ? 2 : 1;
    if (count > 0 && pFirstTime) {
        *pFirstTime = KeyGetTime(0);
    }
    KTime period;
    for (int i = 1; i < count; ++i) {
        const KTime gap = KeyGetTime(i) - KeyGetTime(i - 1);
        if (i == 1) {
            period = gap;
            if (pPeriod) {
                *pPeriod = gap;
            }
        } else if (gap < period - kTick || gap > period + kTick) {
            result = 1;
        }
        if ((KeyGetInterpolation(i) & ~KeyGetInterpolation(i - 1)) != 0 ||
            (IsCubic(Attr(i)) && !IsCubicAuto(Attr(i)))) {
            return 0;
        }
    }
    return result;
}

bool Glissa::NormalsSeemsToComeFromAPlot() const
{
    for (int i = 1; i < KeyGetCount(); ++i) {
        const GlissaKeyAttributes& key = Attr(i);
        if (IsCubicWith(key, eTangentAuto) && key.mData[0] == 0.0f && key.mData[1] == 0.0f) {
            return true;
        }
    }
    return false;
}

void Glissa::KeyGetPeriods(KTime& pAverage, KTime& pMinimum, KTime& pMaximum) const
{
    const int gaps = KeyGetCount() - 1;
    pAverage = KTime::Infinite();
    pMinimum = KTime::Infinite();
    pMaximum = KTime();
    for (int i = 0; i < gaps; ++i) {
        const KTime gap = KeyGetTime(i + 1) - KeyGetTime(i);
        pMinimum = std::min(pMinimum, gap);
        pMaximum = std::max(pMaximum, gap);
    }
    if (gaps > 0) {
        // The sum of the gaps, which may take all 64 bits.
        const std::uint64_t sum = static_cast<std::uint64_t>(mKeys.LastTime().Get()) -
                                  static_cast<std::uint64_t>(mKeys.FirstTime().Get());
        const std::uint64_t greatest = static_cast<std::uint64_t>(KTime::Infinite().Get());
        const std::uint64_t average = sum / static_cast<std::uint64_t>(gaps);
        pAverage = KTime(static_cast<std::int64_t>(std::min(average, greatest)));
    }
}

bool Glissa::CheckCurve() const
{
    KPriFCurveKey* const* const table = mKeys.Table();
    const int lastPage = mKeys.LastPage();
    if (!table) {
        return lastPage == -1 && KeyGetCount() == 0;
    }
    if (lastPage == -1) {
        return false;
    }
    const int needed = std::max((KeyGetCount() - 1) / KeyList::kKeysPerPage, lastPage);
    const int entries = mKeys.Capacity() / KeyList::kKeysPerPage;
    for (int i = 0; i < entries; ++i) {
        if ((table[i] != nullptr) != (i <= needed)) {
            return false;
        }
    }
    return needed < entries;
}

void Glissa::CopyExternalPriKeyAndAttr(void** pPages, int pCount)
{
    const KOperation operation(IsObserved());
    if (KeyGetCount() > 0) {
        KeyClear();
    }
    if (pCount < 1) {
        return;
    }
    CORVEKIT_ASSERT(pPages);
    ResizeKeyBuffer(pCount, false);
    mKeys.CopyRecords(reinterpret_cast<KPriFCurveKey* const*>(pPages), pCount);
    const KPriFCurveKeyAttr* external = nullptr;  // the block last seen
    KPriFCurveKeyAttr* own = nullptr;             // the block of this curve that replaces it
    for (int i = 0; i < pCount; ++i) {
        KPriFCurveKey& key = mKeys[i];
        key.mValue = CheckedKeyValue(key.mValue);
        const KPriFCurveKeyAttr* block = key.mAttribute;
        CORVEKIT_ASSERT(block);
        key.mAttribute = nullptr;
        if (own && (block == external || *block == *external)) {
            PointToAttribute(key, own);
            continue;
        }
        external = block;
        if (*block == *GlissaDefaultKeyAttr) {
            PointToAttribute(key, GlissaDefaultKeyAttr);
        } else {
            try {
                KeyAttrSeparate(i);
            } catch (const std::bad_alloc&) {
                // The records from this one on point to blocks of the caller.
                mKeys.CloseGap(i, pCount - 1);
                ReleaseAllAttributes();
                mKeys.FreeAll();
                throw;
            }
            static_cast<GlissaKeyAttributes&>(*key.mAttribute) = *block;
        }
        own = key.mAttribute;
    }
    IncrementUpdateId(1);
}
