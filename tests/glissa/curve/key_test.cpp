// Copyright (c) 2026 The glissa authors
// SPDX-License-Identifier: MIT

#include "glissa/curve/key.h"

#include "glissa/ext/custom_tangent_manager.h"

#include <gtest/gtest.h>

#include <cmath>
#include <cstring>
#include <limits>
#include <tuple>
#include <utility>

namespace
{
using Pair = std::pair<int, int>;
constexpr float kInfinity = std::numeric_limits<float>::infinity();
constexpr float kNaN = std::numeric_limits<float>::quiet_NaN();

GlissaKey KeyWithFlags(unsigned pFlags)
{
    return GlissaKey({KTime(), nullptr, 0.0f}, {{pFlags, {1.5f, -2.5f, 3.5f, 4.5f}}, 7});
}

unsigned Flags(const GlissaKey& pKey)
{
    return pKey.GetKeyAttr().mFlags;
}

Pair Numbers(const GlissaKey& pKey, int pSlot)
{
    std::uint32_t bits = 0;
    std::memcpy(&bits, pKey.GetDataPtr() + pSlot, sizeof(bits));
    return {static_cast<std::int16_t>(bits & 0xFFFF), static_cast<std::int16_t>(bits >> 16)};
}

TEST(Key, WeightsAndVelocitiesAreStoredInSixteenBits)
{
    // Weights are clamped, velocities stop at the ends of the field; both truncate toward zero.
    using Row = std::tuple<EGlissaDataIndex, float, int>;
    constexpr auto kWeight = eDataRightWeight;
    constexpr auto kVelocity = eDataRightVelocity;
    for (const auto& [first, value, stored] :
         {Row{kWeight, 0.0f, 1}, Row{kWeight, -3.0f, 1}, Row{kWeight, kNaN, 1},
          Row{kWeight, 0.5f, 4999}, Row{kWeight, 0.33333334f, 3333}, Row{kWeight, 1.0f, 9899},
          Row{kWeight, kInfinity, 9899}, Row{kVelocity, 0.5f, 4999}, Row{kVelocity, -0.5f, -4999},
          Row{kVelocity, 1.0f, 9999}, Row{kVelocity, 3.2772f, 32767},
          Row{kVelocity, -kInfinity, -32768}, Row{kVelocity, kNaN, 0}}) {
        SCOPED_TRACE(value);
        const int slot = first / 2 + 1;
        for (const int side : {0, 1}) {
            GlissaKey key;
            key.Set(KTime(), 0.0f, eInterpolationCubic, eTangentUser, 0.0f, 0.0f, eWeightNone,
                    0.25f, 0.25f, 0.25f, 0.25f);
            const auto index = static_cast<EGlissaDataIndex>(first + side);
            key.SetDataDouble(index, value);
            EXPECT_EQ(side == 0 ? Pair(stored, 2499) : Pair(2499, stored), Numbers(key, slot));
            EXPECT_EQ(Pair(2499, 2499), Numbers(key, 5 - slot));
            EXPECT_EQ(static_cast<float>(stored) / 9999.0f, key.GetDataDouble(index));
        }
    }
    // What was read can be written back. Truncation alone would take a step off some 600 weights.
    for (int stored = 1; stored <= 32767; ++stored) {
        for (const float sign : {1.0f, -1.0f}) {
            const float real = sign * static_cast<float>(stored) / 9999.0f;
            GlissaKey key = KeyWithFlags(0x408);
            key.SetDataDouble(kVelocity, real);
            ASSERT_EQ(real, key.GetDataDouble(kVelocity));
            if (stored <= 9899) {
                key.SetDataDouble(kWeight, std::fabs(real));
                ASSERT_EQ(std::fabs(real), key.GetDataDouble(kWeight));
            }
        }
    }
    GlissaKey key = KeyWithFlags(0x208);
    key.SetDataFloat(eDataTCBBias, 0.75f);  // raw, over both weights
    EXPECT_EQ(0.75f, key.GetDataPtr()[2]);
}

TEST(Key, SetAndSetTCBKeepWhatTheyAreNotGiven)
{
    using Row = std::tuple<unsigned, unsigned, unsigned, unsigned, unsigned>;
    for (const auto& [before, interpolation, mode, weightMode, after] :
         {Row{0x333F7F04, 8, 0xFFFFFFFF, 0xFFFFFFFF, 0x030F7F08},  // to cubic: no velocity mode
          Row{0x333F7F08, 4, 0, 0, 0x300F0004}, Row{0x333F7F08, 8, 0x400, 0x2000000, 0x320F0408},
          Row{0x108, 1, 0x400, 0, 0x408}, Row{0x108, 2, 0x100, 0, 0x102}}) {
        GlissaKey key = KeyWithFlags(before);
        key.Set(KTime(5), 2.0f, interpolation, mode, 1.0f, -1.0f, weightMode, 0.0f, 0.5f, 2.0f,
                -1.0f);
        EXPECT_EQ(after, Flags(key)) << std::hex << before;
        EXPECT_EQ(std::pair(KTime(5), 2.0f), std::pair(key.GetTime(), key.GetValue()));
        EXPECT_EQ(std::pair(1.0f, -1.0f), std::pair(key.GetDataPtr()[0], key.GetDataPtr()[1]));
        EXPECT_EQ(Pair(1, 4999), Numbers(key, 2));
        EXPECT_EQ(Pair(19998, -9999), Numbers(key, 3));
    }
    for (const auto& [before, after] :
         {std::pair{0x333F7F08u, 0x330F0208u}, {0x333F7F04u, 0x000F0208u}}) {
        GlissaKey key = KeyWithFlags(before);
        key.SetTCB(KTime(5), 2.0f, 0.25f, 0.5f, 0.75f);
        EXPECT_EQ(after, Flags(key));
        EXPECT_EQ(0.75f, key.GetDataPtr()[2]);
    }
}

TEST(Key, AChangeOfInterpolationFollowsItsRules)
{
    auto& manager = GlissaCustomTangentManager::TheOne();
    const char* const names[] = {"a", "b", "c"};
    using Row = std::tuple<int, unsigned, unsigned, unsigned>;
    for (const auto& [types, before, interpolation, after] :
         {Row{0, 0x33000108, 8, 0x33000108}, Row{0, 0x33000104, 8, 0x108},
          Row{0, 0x33000301, 4, 0x33000304}, Row{0, 0x108, 1, 0x108}, Row{1, 0x108, 1, 0x101},
          Row{1, 0x208, 1, 0x101}, Row{2, 0x208, 1, 0x201}, Row{2, 0xC08, 1, 0x901},
          Row{3, 0xC08, 1, 0xC01}, Row{3, 0x704, 1, 0x101}, Row{3, 0x004, 1, 0x101},
          Row{1, 0x401, 1, 0x401}}) {
        for (int i = 0; i < types; ++i) {
            manager.AddNewCustomTangent(names[i], names[i]);
        }
        GlissaKey key = KeyWithFlags(before);
        key.SetInterpolation(interpolation);
        EXPECT_EQ(after, Flags(key)) << types << ' ' << std::hex << before << ' ' << interpolation;
        const bool reset = interpolation == 8 && (before & 8) == 0;
        EXPECT_EQ(std::pair(1.5f, -2.5f), std::pair(key.GetDataPtr()[0], key.GetDataPtr()[1]));
        EXPECT_EQ(reset, Numbers(key, 2) == Pair(3333, 3333));
        EXPECT_EQ(reset ? 0.0f : 4.5f, key.GetDataPtr()[3]);
        // A custom index has to name a type that is registered.
        GlissaKey custom = KeyWithFlags(0x101);
        custom.SetCustomIndex(0x200);
        EXPECT_EQ(types >= 2 ? 0x200u : 0x100u, custom.GetCustomIndex());
        for (const char* name : names) {
            manager.RemoveCustomTangent(name);
        }
    }
}
}  // namespace
