// Copyright (c) 2026 The glissa authors
// SPDX-License-Identifier: MIT
// For tests only, not installed.
#pragma once

#include "glissa/curve/curve.h"

#include <cstdint>
#include <limits>
#include <vector>

// Curves as plain data, and their evaluation in long double: what the library rounds to float is
// exact here to 64 bits of mantissa, and the time of a weighted segment is solved to the last bit.
// The evaluation starts from the slopes and weights that the library returns for the keys, so it
// judges everything after them. The rules for the slopes have tests of their own.

/// Whole numbers: exact up to 2^64, which is the largest difference of 64-bit times.
using RefWide = long double;
static_assert(std::numeric_limits<RefWide>::digits >= 64);

// Bits of the flag word, as numbers: this side names nothing from the library.
constexpr std::uint32_t kRefCustom = 0x1, kRefConstant = 0x2, kRefLinear = 0x4, kRefCubic = 0x8;
constexpr std::uint32_t kRefConstantNext = 0x100;
constexpr std::uint32_t kRefAuto = 0x100, kRefTcb = 0x200, kRefUser = 0x400, kRefBreak = 0x800;
constexpr std::uint32_t kRefClamp = 0x1000, kRefTimeIndependent = 0x2000, kRefProgressive = 0x6000;
constexpr std::uint32_t kRefWeightRight = 0x1000000, kRefWeightNextLeft = 0x2000000;

/// Keys without a weight of their own have a third on both sides, 3333 of 9999.
constexpr std::uint32_t kRefDefaultWeights = 0x0D050D05;

/// One key: what is stored, bit for bit.
struct RefKey
{
    std::int64_t time = 0;  ///< ticks
    float value = 0.0f;
    std::uint32_t flags = kRefCubic | kRefAuto;
    float slots[2] = {0.0f, 0.0f};             ///< slopes, auto parameters, tension and continuity
    std::uint32_t slot2 = kRefDefaultWeights;  ///< two 16-bit weights, or the bits of the bias
    std::uint32_t slot3 = 0;                   ///< two 16-bit velocities

    void SetWeights(int pRight, int pNextLeft);  ///< as stored, times 9999
    void SetBias(float pBias);
};

enum RefExtrapolation : std::uint32_t
{
    kRefHoldNone = 0,
    kRefHold = 1,
    kRefRepeat = 2,
    kRefMirror = 3,
    kRefKeepSlope = 4,
    kRefRelativeRepeat = 5,
};

struct RefCurve
{
    std::vector<RefKey> keys;
    float value = 0.0f;  ///< of a curve without keys
    std::uint32_t pre = kRefHold, preCount = 0;
    std::uint32_t post = kRefHold, postCount = 0;

    int Count() const { return static_cast<int>(keys.size()); }
};

/// A number and the largest operand that it was computed from. Error bounds are multiples of the
/// latter: the sum of 1e6 and -1e6 may be 0, but not with the error of a 0.
struct RefNumber
{
    long double value = 0.0L;
    long double largest = 0.0L;
};

/// A fractional key index: the double that the search returns, and the fraction without its
/// rounding. Where the double is whole, the fraction is 0 and the place is a key.
struct RefPlace
{
    double index = -1.0;
    int key = -1;
    long double fraction = 0.0L;
};

/// A cubic segment: value handles and, on a time axis from 0 to 1, time handles.
struct RefSegment
{
    long double value[4];
    long double time[4];
    long double seconds;
    long double largest;  ///< of the value handles and what they are sums of
    bool weighted;
};

/// The place of a time among the keys.
RefPlace RefKeyFind(const Glissa& pCurve, std::int64_t pTime);
/// The value at a time from the first key on and before the last one.
RefNumber RefEvaluate(Glissa& pCurve, std::int64_t pTime);

/// The segment from key pIndex to the next, which has to be cubic.
RefSegment RefSegmentAt(Glissa& pCurve, int pIndex);
/// The parameter at which the time axis reaches pTime, in [0, 1]; the axis of a segment with
/// weights in range never turns back.
long double RefSolve(const RefSegment& pSegment, long double pTime);
/// Value and slope (value per second) of a segment at a parameter.
long double RefValueOf(const RefSegment& pSegment, long double pParameter);
long double RefSlopeOf(const RefSegment& pSegment, long double pParameter);
/// A cubic Bezier in Bernstein form, and its derivative by the parameter.
long double RefBezier(const long double (&pPoints)[4], long double pParameter);
long double RefBezierDerivative(const long double (&pPoints)[4], long double pParameter);
