// Copyright (c) 2026 The glissa authors
// SPDX-License-Identifier: MIT

// Slopes at keys: from what a key stores to value per second.

#include "tests/support/reference.h"

#include <algorithm>
#include <cmath>

namespace
{
constexpr long double kTicksPerSecond = 141120000.0L;

RefNumber Plain(long double pValue)
{
    return {pValue, std::fabs(pValue)};
}

const RefKey& At(const RefCurve& pCurve, int pIndex)
{
    return pCurve.keys[static_cast<std::size_t>(pIndex)];
}

long double Secant(const RefCurve& pCurve, int pFrom, int pTo)
{
    const RefKey& from = At(pCurve, pFrom);
    const RefKey& to = At(pCurve, pTo);
    const long double seconds =
        static_cast<long double>(static_cast<RefWide>(to.time) - from.time) / kTicksPerSecond;
    return (static_cast<long double>(to.value) - static_cast<long double>(from.value)) / seconds;
}

// Secant slopes on both sides of a key; at an end both are the one there is.
struct Sides
{
    long double left;
    long double right;
};

Sides SidesOf(const RefCurve& pCurve, int pIndex)
{
    const int last = pCurve.Count() - 1;
    const long double left = Secant(pCurve, std::max(pIndex - 1, 0), std::max(pIndex, 1));
    const long double right =
        Secant(pCurve, std::min(pIndex, last - 1), std::min(pIndex + 1, last));
    return {left, right};
}

// The side of 1000 on which an auto parameter beyond 500 leaves the secants depends on which of
// the two is greater, as floats.
struct FloatSides
{
    float left;
    float right;
};

float FloatSecant(const RefCurve& pCurve, int pFrom, int pTo)
{
    const RefKey& from = At(pCurve, pFrom);
    const RefKey& to = At(pCurve, pTo);
    const double ticks = static_cast<double>(static_cast<RefWide>(to.time) - from.time);
    return (to.value - from.value) / static_cast<float>(ticks / 141120000.0);
}

FloatSides FloatSidesOf(const RefCurve& pCurve, int pIndex)
{
    const int last = pCurve.Count() - 1;
    return {FloatSecant(pCurve, std::max(pIndex - 1, 0), std::max(pIndex, 1)),
            FloatSecant(pCurve, std::min(pIndex, last - 1), std::min(pIndex + 1, last))};
}

// The slope of an auto parameter on one side. pSame weighs in with +100, pOther with -100.
RefNumber FromAuto(float pAuto, long double pSame, long double pOther, bool pSameIsGreater)
{
    const long double a = static_cast<long double>(pAuto);
    const long double other = (100.0L - a) / 200.0L * pOther;
    const long double same = (100.0L + a) / 200.0L * pSame;
    long double beyond = 0.0L;
    if (a > 500.0L) {
        beyond =
            (a - 500.0L) / 500.0L * ((a - 500.0L) / 500.0L) * (pSameIsGreater ? 1000.0L : -1000.0L);
    } else if (a < -500.0L) {
        beyond =
            (a + 500.0L) / 500.0L * ((a + 500.0L) / 500.0L) * (pSameIsGreater ? -1000.0L : 1000.0L);
    }
    return {other + same + beyond,
            std::max({std::fabs(other), std::fabs(same), std::fabs(beyond)})};
}

// Left: +100 is the secant to the left.
RefNumber LeftFromAuto(const RefCurve& pCurve, int pIndex, float pAuto)
{
    const Sides sides = SidesOf(pCurve, pIndex);
    if (std::fabs(static_cast<double>(pAuto) - 100.0) < 1e-5) {
        return Plain(sides.left);
    }
    if (std::fabs(static_cast<double>(pAuto) + 100.0) < 1e-5) {
        return Plain(sides.right);
    }
    const FloatSides floats = FloatSidesOf(pCurve, pIndex);
    return FromAuto(pAuto, sides.left, sides.right, floats.left > floats.right);
}

// Right: +100 is the secant to the right; equal secants count as rising ones.
RefNumber RightFromAuto(const RefCurve& pCurve, int pIndex, float pAuto)
{
    const Sides sides = SidesOf(pCurve, pIndex);
    const FloatSides floats = FloatSidesOf(pCurve, pIndex);
    const double left = static_cast<double>(floats.left);
    const double right = static_cast<double>(floats.right);
    const bool close = std::fabs(left - right) < 1e-5;
    return FromAuto(pAuto, sides.right, sides.left, close ? right >= left : right > left);
}

int Sign(long double pValue)
{
    return pValue < 0.0L ? -1 : 1;
}

// The one slope that overshoots neither neighbour.
RefNumber Progressive(const RefCurve& pCurve, int pIndex, bool pExtremes, bool pLeftSide)
{
    if (pIndex == 0 || pIndex == pCurve.Count() - 1) {
        const Sides sides = SidesOf(pCurve, pIndex);
        return pExtremes ? Plain(pLeftSide ? sides.left : sides.right) : RefNumber{};
    }
    const long double left = Secant(pCurve, pIndex - 1, pIndex);
    const long double right = Secant(pCurve, pIndex, pIndex + 1);
    const long double through = Secant(pCurve, pIndex - 1, pIndex + 1);
    const double l = static_cast<double>(At(pCurve, pIndex - 1).slots[1]);
    const double r = static_cast<double>(At(pCurve, pIndex).slots[0]);
    if (std::fabs(l + r) < 1e-5 && std::fabs(std::fabs(l) - 100.0) < 1e-5) {
        return Plain(l > 0.0 ? left : right);
    }
    if (Sign(left) != Sign(right) || Sign(left) != Sign(through)) {
        return {};
    }
    return Plain(right >= 0.0L ? std::min({through, 3.0L * right, 3.0L * left})
                               : std::max({through, 3.0L * right, 3.0L * left}));
}

// Kochanek and Bartels 1984. A missing neighbour leaves one summand, at its full size.
RefNumber TcbSum(const RefKey& pKey, long double pLeft, long double pRight, bool pHalf)
{
    const long double scale =
        (1.0L - static_cast<long double>(pKey.slots[0])) * (pHalf ? 0.5L : 1.0L);
    return {scale * (pLeft + pRight),
            std::fabs(scale) * std::max(std::fabs(pLeft), std::fabs(pRight))};
}

RefNumber TcbRight(const RefCurve& pCurve, int pIndex)
{
    const RefKey& key = At(pCurve, pIndex);
    const long double c = static_cast<long double>(key.slots[1]);
    const long double b = static_cast<long double>(key.Bias());
    const Sides sides = SidesOf(pCurve, pIndex);
    const bool inner = pIndex > 0;
    return TcbSum(key, inner ? (1.0L + c) * (1.0L + b) * sides.left : 0.0L,
                  (1.0L - c) * (1.0L - b) * sides.right, inner);
}

RefNumber TcbLeft(const RefCurve& pCurve, int pIndex, const RefKey& pParameters)
{
    const long double c = static_cast<long double>(pParameters.slots[1]);
    const long double b = static_cast<long double>(pParameters.Bias());
    const Sides sides = SidesOf(pCurve, pIndex);
    const bool inner = pIndex < pCurve.Count() - 1;
    return TcbSum(pParameters, (1.0L - c) * (1.0L + b) * sides.left,
                  inner ? (1.0L + c) * (1.0L - b) * sides.right : 0.0L, inner);
}

bool IsAuto(const RefKey& pKey)
{
    return (pKey.flags & 0xF00) == kRefAuto || (pKey.flags & 0xF00) == (kRefAuto | kRefBreak);
}

bool IsUser(const RefKey& pKey)
{
    return (pKey.flags & 0xF00) == kRefUser || (pKey.flags & 0xF00) == (kRefUser | kRefBreak);
}

bool IsTcb(const RefKey& pKey)
{
    return (pKey.flags & 0xF00) == kRefTcb;
}

bool NearZero(float pAuto)
{
    return std::fabs(static_cast<double>(pAuto)) < 0.01;
}

RefNumber AutoRight(const RefCurve& pCurve, int pIndex, bool pExtremes)
{
    const RefKey& key = At(pCurve, pIndex);
    bool left = false;
    bool right = false;
    RefIsClamped(pCurve, pIndex, left, right);
    if (right) {
        return {};
    }
    if ((key.flags & kRefProgressive) == kRefProgressive) {
        return Progressive(pCurve, pIndex, pExtremes, false);
    }
    if ((key.flags & kRefTimeIndependent) != 0 && NearZero(key.slots[0])) {
        return Plain(Secant(pCurve, std::max(pIndex - 1, 0), pIndex + 1));
    }
    return RightFromAuto(pCurve, pIndex, key.slots[0]);
}

RefNumber AutoLeft(const RefCurve& pCurve, int pIndex, bool pExtremes, bool pIgnoreClamp)
{
    const RefKey& key = At(pCurve, pIndex);
    const RefKey& previous = At(pCurve, pIndex - 1);
    const int last = pCurve.Count() - 1;
    const bool cubic = (key.flags & 0xF) == kRefCubic;
    if (cubic && !pIgnoreClamp) {
        bool left = false;
        bool right = false;
        RefIsClamped(pCurve, pIndex, left, right);
        if (left) {
            return {};
        }
    }
    float a = previous.slots[1];
    if (cubic && IsTcb(previous)) {
        const float mirrored = pIndex < last ? -key.slots[0] : 0.0f;
        a = (key.flags & kRefBreak) != 0 ? 100.0f : mirrored;
    }
    if ((key.flags & kRefProgressive) == kRefProgressive) {
        return Progressive(pCurve, pIndex, cubic && pExtremes, true);
    }
    if ((key.flags & kRefTimeIndependent) != 0 && NearZero(a)) {
        return Plain(Secant(pCurve, pIndex - 1, std::min(pIndex + 1, last)));
    }
    return LeftFromAuto(pCurve, pIndex, a);
}

// The left slope of a key that ends a cubic segment but starts another kind.
RefNumber LeftBesideOtherKind(const RefCurve& pCurve, int pIndex, RefNumber pAfterTcb)
{
    const RefKey& previous = At(pCurve, pIndex - 1);
    if (IsAuto(previous)) {
        return AutoLeft(pCurve, pIndex, false, true);
    }
    if (IsUser(previous)) {
        return Plain(static_cast<long double>(previous.slots[1]));
    }
    return IsTcb(previous) ? pAfterTcb : RefNumber{};
}

RefNumber LeftOfCubic(const RefCurve& pCurve, int pIndex, bool pExtremes, bool pIgnoreClamp)
{
    const RefKey& key = At(pCurve, pIndex);
    const RefKey& previous = At(pCurve, pIndex - 1);
    const bool last = pIndex == pCurve.Count() - 1;
    switch (key.flags & 0xF00) {
    case kRefAuto:
    case kRefAuto | kRefBreak:
        return AutoLeft(pCurve, pIndex, pExtremes, pIgnoreClamp);
    case kRefTcb:
        // The last key has no right side to take the slope from.
        return pCurve.tcb4051 && !last ? RefKeyRightDerivative(pCurve, pIndex)
                                       : TcbLeft(pCurve, pIndex, key);
    case kRefUser:
        if (IsTcb(previous)) {
            return last ? RefNumber{} : Plain(static_cast<long double>(key.slots[0]));
        }
        return Plain(static_cast<long double>(previous.slots[1]));
    case kRefUser | kRefBreak:
        return IsTcb(previous) ? TcbLeft(pCurve, pIndex, previous)
                               : Plain(static_cast<long double>(previous.slots[1]));
    default:
        return {};
    }
}
}  // namespace

void RefIsClamped(const RefCurve& pCurve, int pIndex, bool& pLeft, bool& pRight)
{
    pLeft = false;
    pRight = false;
    const RefKey& key = At(pCurve, pIndex);
    if ((key.flags & kRefAuto) == 0 || (key.flags & kRefClamp) == 0) {
        return;
    }
    const bool broken = (key.flags & kRefBreak) != 0;
    const auto level = [&key](const RefKey& pOther) {
        return std::fabs(static_cast<double>(key.value - pOther.value)) <= 0.0001;
    };
    bool cubicBefore = false;
    if (pIndex > 0) {
        const RefKey& previous = At(pCurve, pIndex - 1);
        cubicBefore = (previous.flags & 0xF) == kRefCubic;
        if (level(previous)) {
            pLeft = true;
            if (!broken) {
                pRight = true;
                return;
            }
        }
    }
    if (pIndex == pCurve.Count() - 1 || !level(At(pCurve, pIndex + 1))) {
        return;
    }
    pRight = true;
    if (!broken && cubicBefore) {
        pLeft = true;
    }
}

RefNumber RefKeyRightDerivative(const RefCurve& pCurve, int pIndex, bool pExtremes)
{
    if (pIndex >= pCurve.Count() - 1) {
        return pCurve.Count() < 2 ? RefNumber{} : RefKeyLeftDerivative(pCurve, pIndex);
    }
    const RefKey& key = At(pCurve, pIndex);
    switch (key.flags & 0xF) {
    case kRefCustom:
        return Plain(static_cast<long double>(key.slots[0]));
    case kRefLinear:
        return Plain(Secant(pCurve, pIndex, pIndex + 1));
    case kRefCubic:
        if (IsUser(key)) {
            return Plain(static_cast<long double>(key.slots[0]));
        }
        if (IsTcb(key)) {
            return TcbRight(pCurve, pIndex);
        }
        return IsAuto(key) ? AutoRight(pCurve, pIndex, pExtremes) : RefNumber{};
    default:
        return {};
    }
}

RefNumber RefKeyLeftDerivative(const RefCurve& pCurve, int pIndex, bool pExtremes,
                               bool pIgnoreClamp)
{
    if (pIndex <= 0) {
        return pCurve.Count() < 2 ? RefNumber{} : RefKeyRightDerivative(pCurve, pIndex);
    }
    const RefKey& key = At(pCurve, pIndex);
    const RefKey& previous = At(pCurve, pIndex - 1);
    switch (previous.flags & 0xF) {
    case kRefCustom:
        return Plain(static_cast<long double>(previous.slots[1]));
    case kRefLinear:
        return Plain(Secant(pCurve, pIndex - 1, pIndex));
    case kRefCubic:
        break;
    default:
        return {};
    }
    switch (key.flags & 0xF) {
    case kRefCubic:
        return LeftOfCubic(pCurve, pIndex, pExtremes, pIgnoreClamp);
    case kRefLinear:
        return LeftBesideOtherKind(
            pCurve, pIndex,
            pIndex == pCurve.Count() - 1 ? RefNumber{} : RefKeyRightDerivative(pCurve, pIndex));
    case kRefConstant:
        return LeftBesideOtherKind(pCurve, pIndex, RefNumber{});
    case kRefCustom:
        return Plain(static_cast<long double>(previous.slots[1]));
    default:
        return {};
    }
}
