// Copyright (c) 2026 The glissa authors
// SPDX-License-Identifier: MIT
// Not for hosts: two doubles computed with at a time, by SSE2, NEON or one after the other.
#pragma once

#include <bit>
#include <cstdint>

#if defined(__SSE2__) || defined(_M_X64)
#    define CORVEKIT_LANES_SSE2
#    include <emmintrin.h>
#elif defined(__ARM_NEON) && (defined(__aarch64__) || defined(_M_ARM64))
#    define CORVEKIT_LANES_NEON
#    include <arm_neon.h>
#endif

/// Two doubles, computed with one after the other. Every operation is one of IEEE 754 in each lane
/// and rounds once, so that the forms below give the same bits.
struct ScalarLanes
{
    double first;
    double second;

    static ScalarLanes Of(double pBoth) { return {pBoth, pBoth}; }
    static ScalarLanes Of(double pFirst, double pSecond) { return {pFirst, pSecond}; }
    /// From an array of two, aligned to 16 bytes.
    static ScalarLanes Load(const double* pPair) { return {pPair[0], pPair[1]}; }
    void Store(double* pPair) const
    {
        pPair[0] = first;
        pPair[1] = second;
    }
    ScalarLanes Swapped() const { return {second, first}; }
    /// Each lane with its sign changed where the sign of pSigns is negative.
    ScalarLanes Signed(ScalarLanes pSigns) const
    {
        const auto change = [](double pValue, double pSign) {
            return std::bit_cast<double>(std::bit_cast<std::uint64_t>(pValue) ^
                                         (std::bit_cast<std::uint64_t>(pSign) & 1ull << 63));
        };
        return {change(first, pSigns.first), change(second, pSigns.second)};
    }

    friend ScalarLanes operator+(ScalarLanes pA, ScalarLanes pB)
    {
        return {pA.first + pB.first, pA.second + pB.second};
    }
    friend ScalarLanes operator-(ScalarLanes pA, ScalarLanes pB)
    {
        return {pA.first - pB.first, pA.second - pB.second};
    }
    friend ScalarLanes operator*(ScalarLanes pA, ScalarLanes pB)
    {
        return {pA.first * pB.first, pA.second * pB.second};
    }
};

#if defined(CORVEKIT_LANES_SSE2)

struct TwoLanes
{
    __m128d value;

    static TwoLanes Of(double pBoth) { return {_mm_set1_pd(pBoth)}; }
    static TwoLanes Of(double pFirst, double pSecond) { return {_mm_set_pd(pSecond, pFirst)}; }
    static TwoLanes Load(const double* pPair) { return {_mm_load_pd(pPair)}; }
    void Store(double* pPair) const { _mm_store_pd(pPair, value); }
    TwoLanes Swapped() const { return {_mm_shuffle_pd(value, value, 1)}; }
    TwoLanes Signed(TwoLanes pSigns) const
    {
        return {_mm_xor_pd(value, _mm_and_pd(pSigns.value, _mm_set1_pd(-0.0)))};
    }

    friend TwoLanes operator+(TwoLanes pA, TwoLanes pB) { return {_mm_add_pd(pA.value, pB.value)}; }
    friend TwoLanes operator-(TwoLanes pA, TwoLanes pB) { return {_mm_sub_pd(pA.value, pB.value)}; }
    friend TwoLanes operator*(TwoLanes pA, TwoLanes pB) { return {_mm_mul_pd(pA.value, pB.value)}; }
};

#elif defined(CORVEKIT_LANES_NEON)

struct TwoLanes
{
    float64x2_t value;

    static TwoLanes Of(double pBoth) { return {vdupq_n_f64(pBoth)}; }
    static TwoLanes Of(double pFirst, double pSecond)
    {
        return {vsetq_lane_f64(pSecond, vdupq_n_f64(pFirst), 1)};
    }
    static TwoLanes Load(const double* pPair) { return {vld1q_f64(pPair)}; }
    void Store(double* pPair) const { vst1q_f64(pPair, value); }
    TwoLanes Swapped() const { return {vextq_f64(value, value, 1)}; }
    TwoLanes Signed(TwoLanes pSigns) const
    {
        const uint64x2_t sign =
            vandq_u64(vreinterpretq_u64_f64(pSigns.value), vdupq_n_u64(1ull << 63));
        return {vreinterpretq_f64_u64(veorq_u64(vreinterpretq_u64_f64(value), sign))};
    }

    friend TwoLanes operator+(TwoLanes pA, TwoLanes pB) { return {vaddq_f64(pA.value, pB.value)}; }
    friend TwoLanes operator-(TwoLanes pA, TwoLanes pB) { return {vsubq_f64(pA.value, pB.value)}; }
    friend TwoLanes operator*(TwoLanes pA, TwoLanes pB) { return {vmulq_f64(pA.value, pB.value)}; }
};

#else

using TwoLanes = ScalarLanes;

#endif
