// Copyright (c) 2026 The glissa authors
// SPDX-License-Identifier: MIT

// What a curve does before its first and after its last key: the settings, and the mapping of a
// time or an index outside the keys to one inside, or to a value. A repetition is a span as long as
// the keys; the first one lies right next to them.

#include "glissa/curve/curve.h"
#include "glissa/curve/segment_search.h"

#include <algorithm>
#include <limits>

namespace
{
constexpr unsigned kEndlessCount = 0xFFFFFFFFu;

unsigned FittingCount(unsigned long pCount)
{
    return static_cast<unsigned>(std::min<unsigned long>(pCount, kEndlessCount));
}

void Change(Glissa& pCurve, unsigned& pField, unsigned pValue, int pEvent)
{
    pField = pValue;
    pCurve.CallbackAddEvent(kGlissaEventOther | pEvent, -1);
}

// The repetitions for a count. Where they would pass the end of time, pRoom ticks away, only whole
// ones inside the range count, and the outermost of these holds its value.
std::int64_t Repetitions(unsigned pCount, std::uint64_t pSpan, std::uint64_t pRoom)
{
    CORVEKIT_ASSERT(pSpan > 0);
    const std::uint64_t fitting = pRoom / pSpan;
    return pCount <= fitting ? static_cast<std::int64_t>(pCount)
                             : static_cast<std::int64_t>(fitting) - 1;
}
}  // namespace

void Glissa::SetPreExtrapolation(unsigned pMode)
{
    Change(*this, mPreExtrapolation, pMode, eEventEditPreExtrapolation);
}

void Glissa::SetPreExtrapolationCount(unsigned long pCount)
{
    Change(*this, mPreExtrapolationCount, FittingCount(pCount), eEventEditPreExtrapolation);
}

void Glissa::SetPostExtrapolation(unsigned pMode)
{
    Change(*this, mPostExtrapolation, pMode, eEventEditPostExtrapolation);
}

void Glissa::SetPostExtrapolationCount(unsigned long pCount)
{
    Change(*this, mPostExtrapolationCount, FittingCount(pCount), eEventEditPostExtrapolation);
}

int Glissa::KeyGetCountAll() const
{
    const std::int64_t repeated = static_cast<std::int64_t>(mPreExtrapolationCount) +
                                  static_cast<std::int64_t>(mPostExtrapolationCount);
    // Beyond the range of an int the number stops at its ends.
    std::int64_t all = 0;
    if (__builtin_mul_overflow(repeated, static_cast<std::int64_t>(KeyGetCount()) - 1, &all) ||
        __builtin_add_overflow(all, static_cast<std::int64_t>(KeyGetCount()), &all) ||
        all > std::numeric_limits<int>::max()) {
        return std::numeric_limits<int>::max();
    }
    return all < std::numeric_limits<int>::min() ? std::numeric_limits<int>::min()
                                                 : static_cast<int>(all);
}

double Glissa::KeyFindAll(KTime pTime, int* pHint)
{
    if (KeyGetCount() == 0) {
        return -1.0;
    }
    if (!pHint) {
        return WithOwnHint([this, pTime](int& pOwn) { return KeyFindAll(pTime, &pOwn); });
    }
    int& hint = *pHint;
    const bool isOutside = pTime < mKeys.FirstTime() || mKeys.LastTime() < pTime;
    return isOutside ? FindOutside(pTime, hint) : KeyFind(pTime, &hint);
}

// Maps a time before the first or after the last key into the keys. Beyond the repetitions, and
// where the mode has none, the end key is held.
double Glissa::FindOutside(KTime pTime, int& pHint)
{
    const KTime first = mKeys.FirstTime();
    const KTime last = mKeys.LastTime();
    const bool isBefore = pTime < first;
    CORVEKIT_ASSERT(isBefore || last < pTime);
    const unsigned mode = isBefore ? mPreExtrapolation : mPostExtrapolation;
    const auto hold = [&] {
        pHint = isBefore ? 0 : KeyGetCount() - 1;
        return static_cast<double>(pHint);
    };
    if (mode == eExtrapolationConstant || !(first < last)) {
        return hold();
    }
    const std::uint64_t span = TicksBetween(first, last);
    const std::uint64_t distance =
        isBefore ? TicksBetween(pTime, first) : TicksBetween(last, pTime);
    const std::uint64_t repetition = distance / span;
    const std::uint64_t rest = distance % span;
    if (isBefore) {
        const std::int64_t repetitions =
            Repetitions(mPreExtrapolationCount, span, TicksBetween(kNoKeyTime, first));
        if (repetitions < 0 || repetition >= static_cast<std::uint64_t>(repetitions)) {
            return hold();
        }
    } else if (repetition >= mPostExtrapolationCount || pTime == KTime::Infinite()) {
        // Past the end of time the limit is the greatest time, which no time is above.
        return hold();
    }
    const KTime repeated = isBefore ? Earlier(last, rest) : Later(first, rest);
    const KTime mirrored = isBefore ? Later(first, rest) : Earlier(last, rest);
    switch (mode) {
    case eExtrapolationRepetition:
    case eExtrapolationRelativeRepetition:
        return KeyFind(repeated, &pHint);
    case eExtrapolationMirror:
        return KeyFind(repetition % 2 == 0 ? mirrored : repeated, &pHint);
    default:
        return KeyFind(pTime, &pHint);
    }
}

// Before the first or after the last of two keys at least.
float Glissa::EvaluateOutside(KTime pTime, int& pHint)
{
    CORVEKIT_ASSERT(KeyGetCount() > 1);
    CORVEKIT_ASSERT(pTime < mKeys.FirstTime() || mKeys.LastTime() < pTime);
    const int count = KeyGetCount();
    const KTime first = mKeys.FirstTime();
    const KTime last = mKeys.LastTime();
    const bool isBefore = pTime < first;
    const unsigned mode = isBefore ? mPreExtrapolation : mPostExtrapolation;
    const unsigned repetitions = isBefore ? mPreExtrapolationCount : mPostExtrapolationCount;
    const std::uint64_t span = TicksBetween(first, last);
    const std::uint64_t distance =
        isBefore ? TicksBetween(pTime, first) : TicksBetween(last, pTime);
    if (mode == eExtrapolationKeepSlope && span != 0) {
        // The line continues for the spans of the count and then holds its value.
        const bool isHeld = repetitions != kEndlessCount && distance / span >= repetitions;
        const double ticks =
            isHeld ? static_cast<double>(span) * repetitions : static_cast<double>(distance);
        const double seconds = ticks / static_cast<double>(KTime::kTicksPerSecond);
        return static_cast<float>(isBefore ? mKeys[0].mValue - seconds * KeyGetRightDerivative(0)
                                           : mKeys[count - 1].mValue +
                                                 seconds * KeyGetLeftDerivative(count - 1));
    }

    float value = EvaluateIndex(KeyFindAll(pTime, &pHint));
    if (mode == eExtrapolationRelativeRepetition && span != 0) {
        const double rise = static_cast<double>(mKeys[count - 1].mValue) - mKeys[0].mValue;
        const auto turns = std::min<std::uint64_t>(distance / span + 1, repetitions);
        const double shift = static_cast<double>(turns) * rise;
        value = static_cast<float>(isBefore ? value - shift : value + shift);
    }
    return value;
}

int Glissa::MapIndexAll(int pIndexAll, int& pPart) const
{
    const std::int64_t index = pIndexAll;
    const std::int64_t count = KeyGetCount();
    const std::int64_t step = count - 1;
    const std::int64_t before = step * mPreExtrapolationCount;
    const std::int64_t all =
        (static_cast<std::int64_t>(mPreExtrapolationCount) + mPostExtrapolationCount) * step +
        count;
    const auto isOdd = [](std::int64_t pNumber) { return (pNumber & 1) != 0; };

    if (index < 0) {
        pPart = 0;
        return 0;
    }
    if (index < before) {
        pPart = 1;
        switch (mPreExtrapolation) {
        case eExtrapolationConstant:
            return 0;
        case eExtrapolationRepetition:
        case eExtrapolationRelativeRepetition:
            return static_cast<int>(index % step);
        case eExtrapolationMirror: {
            const std::int64_t rest = index % step;
            return static_cast<int>(isOdd(mPreExtrapolationCount) ? count - rest - 1 : rest);
        }
        default:
            return pIndexAll;
        }
    }
    if (index < before + count) {
        pPart = 2;
        return static_cast<int>(index - before);
    }
    if (index < all) {
        pPart = 3;
        const std::int64_t place = index - 1 + count - before;
        switch (mPostExtrapolation) {
        case eExtrapolationConstant:
            return static_cast<int>(step);
        case eExtrapolationRepetition:
        case eExtrapolationRelativeRepetition:
            return static_cast<int>(place % step);
        case eExtrapolationMirror: {
            const std::int64_t rest = place % step;
            const std::int64_t turn = (count - before - 1 + rest) / step;
            return static_cast<int>(isOdd(mPostExtrapolationCount - turn - 1) ? count - rest - 1
                                                                              : rest);
        }
        default:
            return pIndexAll;
        }
    }
    pPart = 4;
    return static_cast<int>(step);
}
