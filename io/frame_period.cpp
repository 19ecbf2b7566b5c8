// Copyright (c) 2026 The glissa authors
// SPDX-License-Identifier: MIT

#include "io/frame_period.h"

#include "corvekit/math/elementary.h"

#include <charconv>
#include <cmath>

namespace
{
// Rates in common use. Further rates would take short numbers away from these.
constexpr std::int64_t kRates[] = {10,  12,  15,  20,  24,  25,  30,  48,  50,  60,
                                   72,  75,  90,  96,  100, 120, 125, 144, 150, 180,
                                   200, 240, 250, 300, 360, 480, 500, 600, 960, 1000};
constexpr std::int64_t kBroadcastRates[] = {24, 30, 48, 60, 120};  // times 1000/1001

constexpr bool AllDivide()
{
    for (const std::int64_t rate : kRates) {
        if (KTime::kTicksPerSecond % rate != 0) {
            return false;
        }
    }
    for (const std::int64_t rate : kBroadcastRates) {
        if (KTime::kTicksPerSecond / rate * 1001 % 1000 != 0) {
            return false;
        }
    }
    return true;
}
static_assert(AllDivide());

constexpr double kSameNumber = 2e-5;

// The number of digits from the first to the last that is not 0, and the unit of the last one:
// ".0083300" has 3 and 1e-5.
struct Digits
{
    int mCount = 0;
    double mUnit = 1.0;
};

Digits ReadDigits(std::string_view pText)
{
    Digits digits;
    int significant = 0;
    int place = 0;
    int lastPlace = 0;
    bool isFraction = false;
    int exponent = 0;
    for (std::size_t i = 0; i < pText.size(); ++i) {
        const char each = pText[i];
        if (each == '.') {
            isFraction = true;
        } else if (each >= '0' && each <= '9') {
            place -= isFraction ? 1 : 0;
            significant += significant > 0 || each != '0' ? 1 : 0;
            if (each != '0') {
                digits.mCount = significant;
                lastPlace = place;
            }
        } else if (each == 'e' || each == 'E') {
            const std::size_t sign = i + 1 < pText.size() && pText[i + 1] == '+' ? 1 : 0;
            std::from_chars(pText.data() + i + 1 + sign, pText.data() + pText.size(), exponent);
            break;
        }
    }
    digits.mUnit = KgePower(10.0, static_cast<double>(lastPlace) + exponent);
    return digits;
}

// The period in ticks of the rate whose exact period pFits accepts, or 0. At most one does: the
// rates of a table are far enough apart.
template <std::size_t N, typename Fits>
std::int64_t FindIn(const std::int64_t (&pRates)[N], std::int64_t pThousandths, Fits pFits)
{
    for (const std::int64_t rate : pRates) {
        const std::int64_t ticks = KTime::kTicksPerSecond / rate * pThousandths / 1000;
        if (pFits(KTime(ticks).GetSecondDouble())) {
            return ticks;
        }
    }
    return 0;
}

template <typename Fits>
std::int64_t FindPeriod(Fits pFits)
{
    const std::int64_t whole = FindIn(kRates, 1000, pFits);
    return whole != 0 ? whole : FindIn(kBroadcastRates, 1001, pFits);
}
}  // namespace

KTime FramePeriodFromText(double pSeconds, std::string_view pText)
{
    const Digits digits = ReadDigits(pText);
    std::int64_t found = FindPeriod(
        [&](double pExact) { return std::fabs(pSeconds - pExact) <= kSameNumber * pExact; });
    if (found == 0 && digits.mCount >= 2) {
        // Slightly more than a half, since the difference is rounded too.
        found = FindPeriod([&](double pExact) {
            return std::fabs(pSeconds - pExact) <= 0.5000001 * digits.mUnit;
        });
    }
    if (found == 0 && digits.mCount >= 3) {
        found = FindPeriod(
            [&](double pExact) { return pSeconds <= pExact && pExact - pSeconds < digits.mUnit; });
    }
    return found != 0 ? KTime(found) : KTime::FromSeconds(pSeconds);
}
