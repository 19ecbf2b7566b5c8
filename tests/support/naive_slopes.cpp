// Copyright (c) 2026 The glissa authors
// SPDX-License-Identifier: MIT

// What the naive curve reads: slopes, auto parameters and values, with the roundings that the
// curve defines, so that the bits agree.

#include "tests/support/naive_curve.h"

#include <algorithm>
#include <cmath>

namespace
{
constexpr double kTicks = 141120000.0;

double H(double a, double x, double y)
{
    return ((100.0 - a) / 100.0 * y + (a + 100.0) / 100.0 * x) * 0.5;
}

double P(double a)
{
    return a > 0.0 ? (a - 500.0) / 500.0 * ((a - 500.0) / 500.0)
                   : (a + 500.0) / -500.0 * ((a + 500.0) / -500.0);
}

double LeftFromAuto(double a, double toLeft, double toRight)
{
    if (std::fabs(a - 100.0) < 1e-5) {
        return toLeft;
    }
    if (std::fabs(a + 100.0) < 1e-5) {
        return toRight;
    }
    const double h = H(a, toLeft, toRight);
    const double k = toLeft > toRight ? 1000.0 : -1000.0;
    return a > 500.0 ? h + P(a) * k : a < -500.0 ? h - P(a) * k : h;
}

double RightFromAuto(double a, double toLeft, double toRight)
{
    const double h = H(a, toRight, toLeft);
    const bool isEqual = std::fabs(toLeft - toRight) < 1e-5;
    const double k = (isEqual ? toRight >= toLeft : toRight > toLeft) ? 1000.0 : -1000.0;
    return a > 500.0 ? h + P(a) * k : a < -500.0 ? h - P(a) * k : h;
}

// The greater or lesser root of d = H(a, x, y) + P(a) K, by the school formula: it cancels, and so
// in more digits.
double Root(long double d, long double x, long double y, long double k, bool pGreater)
{
    const long double a = k / 250000.0L;
    const long double b = (x - y) / 200.0L - (pGreater ? 2.0L : -2.0L) * k / 500.0L;
    const long double c = (x + y) / 2.0L + k - d;
    const long double root = std::sqrt(std::fmax(b * b - 4.0L * a * c, 0.0L));
    const long double one = (root - b) / (2.0L * a);
    const long double two = (-root - b) / (2.0L * a);
    return static_cast<double>(pGreater ? std::fmax(one, two) : std::fmin(one, two));
}

double AutoFrom(double d, double x, double y, double pAbove, double pBelow, bool pSign)
{
    const auto drop = [](double& pSlope) { pSlope = std::fabs(pSlope) < 1e-5 ? 0.0 : pSlope; };
    drop(d);
    drop(pAbove);
    drop(pBelow);
    if (std::fabs(x - y) < 1e-5 && std::fabs(d - x) <= std::max(1e-5, 1e-15 * std::fabs(x))) {
        return 0.0;  // on a straight line
    }
    if (pSign ? d > pAbove : pAbove > d) {
        return Root(d, x, y, pSign ? 1000.0 : -1000.0, true);
    }
    if (pSign ? pBelow > d : d > pBelow) {
        return Root(d, x, y, pSign ? -1000.0 : 1000.0, false);
    }
    return std::fabs(x - y) < 1e-5 ? 0.0 : (200.0 * d - 100.0 * x - 100.0 * y) / (x - y);
}

float Mix(float pFrom, float pTo, double t)
{
    return static_cast<float>(pFrom + (pTo - pFrom) * t);
}

float Bezier(float p0, float p1, float p2, float p3, double t)
{
    const float q1 = Mix(p1, p2, t);
    return Mix(Mix(Mix(p0, p1, t), q1, t), Mix(q1, Mix(p2, p3, t), t), t);
}

// Secant method on the reversed time axis, 15 steps at most.
double Solve(float wr, float wl, double t)
{
    const auto f = [=](double s) { return Bezier(1.0f, 1.0f - wl, wr, 0.0f, s) - t; };
    double current = 1.0;
    double previous = 0.0;
    if (std::fabs(f(1.0)) > std::fabs(f(0.0))) {
        std::swap(current, previous);
    }
    for (int i = 0; i < 15 && f(current) != f(previous); ++i) {
        const double dx = (previous - current) * f(current) / (f(current) - f(previous));
        previous = current;
        current += dx;
        if (std::fabs(dx) < 1e-6 || f(current) == 0.0) {
            break;
        }
    }
    return current;
}
}  // namespace

double NaiveCurve::Seconds(int pFrom, int pTo) const
{
    return static_cast<double>(Key(pTo).time - Key(pFrom).time) / kTicks;
}

double NaiveCurve::Secant(int pFrom, int pTo) const
{
    return (Key(pTo).value - Key(pFrom).value) / Seconds(pFrom, pTo);
}

void NaiveCurve::Secants(int pIndex, double& pToLeft, double& pToRight) const
{
    const auto secant = [this](int pFrom) {
        return (Key(pFrom + 1).value - Key(pFrom).value) /
               static_cast<float>(Seconds(pFrom, pFrom + 1));
    };
    const bool isFirst = pIndex == 0;
    const bool isLast = pIndex == Count() - 1;
    pToLeft = isFirst ? isLast ? 0.0f : secant(0) : secant(pIndex - 1);
    pToRight = isLast ? pToLeft : secant(pIndex);
}

double NaiveCurve::LeftSlopeOf(int pIndex, double pAuto) const
{
    double toLeft = 0.0;
    double toRight = 0.0;
    Secants(pIndex, toLeft, toRight);
    return LeftFromAuto(pAuto, toLeft, toRight);
}

double NaiveCurve::RightSlopeOf(int pIndex, double pAuto) const
{
    double toLeft = 0.0;
    double toRight = 0.0;
    Secants(pIndex, toLeft, toRight);
    return RightFromAuto(pAuto, toLeft, toRight);
}

double NaiveCurve::LeftAutoOf(int pIndex, double pSlope) const
{
    double l = 0.0;
    double r = 0.0;
    Secants(pIndex, l, r);
    return AutoFrom(pSlope, l, r, LeftFromAuto(500.0, l, r), RightFromAuto(500.0, l, r), l > r);
}

double NaiveCurve::RightAutoOf(int pIndex, double pSlope) const
{
    double l = 0.0;
    double r = 0.0;
    Secants(pIndex, l, r);
    return AutoFrom(pSlope, r, l, RightFromAuto(500.0, l, r), LeftFromAuto(500.0, l, r), !(l > r));
}

bool NaiveCurve::IsClamped(int pIndex, bool pLeft) const
{
    const NaiveKey& key = Key(pIndex);
    if ((key.flags & 0x1100) != 0x1100) {
        return false;
    }
    const auto isFlat = [&](int pOther) {
        return std::fabs(static_cast<double>(key.value - Key(pOther).value)) <= 0.0001;
    };
    const bool isBroken = (key.flags & 0x800) != 0;
    const bool flatLeft = pIndex > 0 && isFlat(pIndex - 1);
    const bool flatRight = pIndex < Count() - 1 && isFlat(pIndex + 1);
    if (flatLeft && !isBroken) {
        return true;
    }
    return pLeft
               ? flatLeft || (flatRight && !isBroken && pIndex > 0 && Key(pIndex - 1).Is(kRefCubic))
               : flatRight;
}

float NaiveCurve::Progressive(int pIndex) const
{
    if (pIndex == 0 || pIndex == Count() - 1) {
        return 0.0f;
    }
    const auto slope = [this](int pFrom, int pTo) {
        return static_cast<double>(Key(pTo).value - Key(pFrom).value) /
               static_cast<double>(static_cast<float>(Seconds(pFrom, pTo)));
    };
    const double s = slope(pIndex - 1, pIndex + 1);
    const double sl = slope(pIndex - 1, pIndex);
    const double sr = slope(pIndex, pIndex + 1);
    const double left = Key(pIndex - 1).slots[1];
    const double right = Key(pIndex).slots[0];
    if (std::fabs(left + right) < 1e-5 && std::fabs(std::fabs(left) - 100.0) < 1e-5) {
        return static_cast<float>(left > 0.0 ? sl : sr);
    }
    if ((sl < 0.0) != (sr < 0.0) || (sl < 0.0) != (s < 0.0)) {
        return 0.0f;
    }
    return static_cast<float>(sr < 0.0 ? std::max({s, 3.0 * sr, 3.0 * sl})
                                       : std::min({s, 3.0 * sr, 3.0 * sl}));
}

float NaiveCurve::TcbSlope(int pIndex, const NaiveKey& pParameters, bool pLeft) const
{
    const double t = pParameters.slots[0];
    const double c = pLeft ? -static_cast<double>(pParameters.slots[1]) : pParameters.slots[1];
    const double b = pParameters.Slot(2);
    const bool hasIn = pIndex > 0;
    const bool hasOut = pIndex < Count() - 1;
    const float in =
        hasIn ? static_cast<float>((1.0 + c) * (1.0 + b) * Secant(pIndex - 1, pIndex)) : 0.0f;
    const float out =
        hasOut ? static_cast<float>((1.0 - c) * (1.0 - b) * Secant(pIndex, pIndex + 1)) : 0.0f;
    return static_cast<float>(hasIn && hasOut ? (1.0 - t) * 0.5 * (in + out)
                                              : (1.0 - t) * (hasIn ? in : out));
}

float NaiveCurve::RightSlope(int pIndex) const
{
    const int last = Count() - 1;
    if (last < 1) {
        return 0.0f;
    }
    if (pIndex >= last) {
        return LeftSlope(last);
    }
    const NaiveKey& key = Key(pIndex);
    if (key.Is(kRefCustom) || key.IsUser()) {
        return key.slots[0];
    }
    if (key.Is(kRefLinear)) {
        return static_cast<float>(Secant(pIndex, pIndex + 1));
    }
    if (key.IsCubic(0x200)) {
        return TcbSlope(pIndex, key, false);
    }
    if (!key.IsAuto() || IsClamped(pIndex, false)) {
        return 0.0f;
    }
    if ((key.flags & 0x6000) == 0x6000) {
        return Progressive(pIndex);
    }
    if ((key.flags & 0x2000) != 0 && std::fabs(static_cast<double>(key.slots[0])) < 0.01) {
        return static_cast<float>(Secant(std::max(pIndex - 1, 0), pIndex + 1));
    }
    return static_cast<float>(RightSlopeOf(pIndex, key.slots[0]));
}

float NaiveCurve::LeftSlope(int pIndex) const
{
    const int last = Count() - 1;
    if (last < 1) {
        return 0.0f;
    }
    if (pIndex <= 0) {
        return RightSlope(0);
    }
    const NaiveKey& p = Key(pIndex - 1);
    const NaiveKey& k = Key(pIndex);
    const bool isLast = pIndex == last;
    if (p.Is(kRefLinear)) {
        return static_cast<float>(Secant(pIndex - 1, pIndex));
    }
    if (p.Is(kRefCustom) || (p.Is(kRefCubic) && k.Is(kRefCustom))) {
        return p.slots[1];
    }
    if (!p.Is(kRefCubic)) {
        return 0.0f;
    }
    if (k.Is(kRefCubic)) {
        if (k.IsAuto()) {
            return IsClamped(pIndex, true) ? 0.0f : LeftAutomatic(pIndex);
        }
        if (k.IsCubic(0x200)) {
            return TcbSlope(pIndex, k, true);
        }
        if (!k.IsUser()) {
            return 0.0f;
        }
        if (!p.IsCubic(0x200)) {
            return p.slots[1];
        }
        return k.Kind() == 0xC00 ? TcbSlope(pIndex, p, true) : isLast ? 0.0f : k.slots[0];
    }
    if (!k.Is(kRefLinear) && !k.Is(kRefConstant)) {
        return 0.0f;
    }
    if (p.IsAuto()) {
        return LeftAutomatic(pIndex);
    }
    if (p.IsUser()) {
        return p.slots[1];
    }
    return p.IsCubic(0x200) && k.Is(kRefLinear) && !isLast ? RightSlope(pIndex) : 0.0f;
}

float NaiveCurve::LeftAutomatic(int pIndex) const
{
    const NaiveKey& p = Key(pIndex - 1);
    const NaiveKey& k = Key(pIndex);
    const bool isLast = pIndex == Count() - 1;
    double a = p.slots[1];
    if (k.Is(kRefCubic) && p.IsCubic(0x200)) {
        a = (k.flags & 0x800) != 0 ? 100.0 : isLast ? 0.0 : -k.slots[0];
    }
    if ((k.flags & 0x6000) == 0x6000) {
        return Progressive(pIndex);
    }
    if ((k.flags & 0x2000) != 0 && std::fabs(a) < 0.01) {
        return static_cast<float>(Secant(pIndex - 1, isLast ? pIndex : pIndex + 1));
    }
    return static_cast<float>(LeftSlopeOf(pIndex, a));
}

float NaiveCurve::LeftAuto(int pIndex) const
{
    if (pIndex == 0) {
        return Key(0).IsAuto() ? Key(0).slots[0] : 0.0f;
    }
    const NaiveKey& p = Key(pIndex - 1);
    const NaiveKey& k = Key(pIndex);
    if (p.Is(kRefConstant)) {
        return 0.0f;
    }
    if (p.Is(kRefLinear)) {
        return 100.0f;
    }
    if (k.IsAuto()) {
        return !p.IsCubic(0x200) ? p.slots[1] : (k.flags & 0x800) != 0 ? 100.0f : -k.slots[0];
    }
    return static_cast<float>(LeftAutoOf(pIndex, LeftSlope(pIndex)));
}

float NaiveCurve::RightAuto(int pIndex) const
{
    if (Key(pIndex).IsAuto()) {
        return Key(pIndex).slots[0];
    }
    return pIndex == Count() - 1 ? 0.0f
                                 : static_cast<float>(RightAutoOf(pIndex, RightSlope(pIndex)));
}

NaiveSide NaiveCurve::LeftSide(int pIndex) const
{
    NaiveSide side;
    side.slope = LeftSlope(pIndex);
    side.parameter = LeftAuto(pIndex);
    if (pIndex > 0) {
        const NaiveKey& p = Key(pIndex - 1);
        side.isWeighted = (p.flags & 0x2000000) != 0;
        side.hasVelocity = (p.flags & 0x20000000) != 0;
        side.weight = side.isWeighted ? p.Data(3) : side.weight;
        side.velocity = side.hasVelocity ? p.Data(5) : 0.0f;
    }
    return side;
}

NaiveSide NaiveCurve::RightSide(int pIndex) const
{
    const NaiveKey& k = Key(pIndex);
    const bool hasKind = k.Is(kRefCubic) && (k.flags & 0xD00) != 0;
    const bool isLast = pIndex == Count() - 1;
    NaiveSide side;
    side.slope = RightSlope(pIndex);
    side.parameter = RightAuto(pIndex);
    side.isWeighted = !isLast && (k.flags & 0x1000000) != 0 && (hasKind || k.Is(kRefCustom));
    side.hasVelocity = !isLast && (k.flags & 0x10000000) != 0 && hasKind;
    side.weight = side.isWeighted ? k.Data(2) : side.weight;
    side.velocity = side.hasVelocity ? k.Data(4) : 0.0f;
    return side;
}

double NaiveCurve::Find(std::int64_t pTime) const
{
    if (keys.empty()) {
        return -1.0;
    }
    if (pTime < keys.front().time) {
        return -0.5;
    }
    int i = 0;
    while (i + 1 < Count() && Key(i + 1).time <= pTime) {
        ++i;
    }
    if (Key(i).time == pTime) {
        return i;
    }
    if (i == Count() - 1) {
        return Count() - 0.5;
    }
    return i + static_cast<double>(pTime - Key(i).time) /
                   static_cast<double>(Key(i + 1).time - Key(i).time);
}

float NaiveCurve::Evaluate(std::int64_t pTime) const
{
    if (keys.empty()) {
        return value;
    }
    const double x = std::clamp(Find(pTime), 0.0, Count() - 1.0);
    const int f = static_cast<int>(std::floor(x));
    const int c = static_cast<int>(std::ceil(x));
    if (customTypes > 0 && (Key(f).Is(kRefCustom) || Key(c).Is(kRefCustom))) {
        return 0.0f;  // what nobody answers
    }
    return f == c ? Key(f).value : Segment(f, x - f);
}

float NaiveCurve::Segment(int pIndex, double pT) const
{
    const NaiveKey& from = Key(pIndex);
    const NaiveKey& to = Key(pIndex + 1);
    if (from.Is(kRefConstant)) {
        return (from.flags & 0x100) != 0 ? to.value : from.value;
    }
    if (from.Is(kRefLinear)) {
        return Mix(from.value, to.value, pT);
    }
    if (!from.Is(kRefCubic)) {
        return 0.0f;
    }
    const float dt = static_cast<float>(Seconds(pIndex, pIndex + 1));
    const float out = RightSlope(pIndex) * dt;
    const float in = LeftSlope(pIndex + 1) * dt;
    if ((from.flags & 0x3000000) == 0) {
        return Bezier(from.value, static_cast<float>(from.value + out / 3.0),
                      static_cast<float>(to.value - in / 3.0), to.value, pT);
    }
    const float wr = RightSide(pIndex).weight;
    const float wl = LeftSide(pIndex + 1).weight;
    return Bezier(to.value, to.value - in * wl, from.value + out * wr, from.value,
                  Solve(wr, wl, pT));
}
