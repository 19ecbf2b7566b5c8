// Copyright (c) 2026 The glissa authors
// SPDX-License-Identifier: MIT

#include "corvekit/bitset.h"
#include "corvekit/set.h"

#include <gtest/gtest.h>

#include <map>
#include <random>
#include <set>
#include <string>

namespace
{
constexpr int kFar = 2147483000;  // a run of positions that ends close to the greatest one

TEST(KSet, ReadsFromTheFirstKeyToTheLastThroughAnyEdits)
{
    std::mt19937 random(1);
    KSet<int, std::string> set;
    std::map<int, std::string> model;
    for (int step = 0; step < 3000; ++step) {
        const int key = static_cast<int>(random() % 100) - 50;
        const std::string value = "a value that lives on the heap, " + std::to_string(step);
        switch (random() % 3) {
        case 0:
            ASSERT_EQ(model.emplace(key, value).second, set.Add(key, value));
            break;
        case 1:
            model[key] = value;
            set.Set(key, value);
            break;
        default:
            ASSERT_EQ(model.erase(key) == 1, set.Remove(key));
        }
        const auto found = model.find(key);
        ASSERT_EQ(found != model.end(), set.Find(key) != nullptr);
    }
    ASSERT_EQ(static_cast<int>(model.size()), set.GetCount());
    ASSERT_GT(set.GetCount(), 10);
    auto expected = model.begin();
    for (const auto& each : set) {
        EXPECT_EQ(expected->first, each.mKey);
        EXPECT_EQ(expected->second, each.mValue);
        ++expected;
    }
}

TEST(KBitSet, HoldsWhatASetOfNumbersHolds)
{
    std::mt19937 random(2);
    KBitSet bits;
    std::set<int> model;
    for (int step = 0; step < 3000; ++step) {
        const int position = static_cast<int>(random() % 300) + (random() % 2 ? 0 : kFar);
        if (random() % 2) {
            bits.Set(position);
            model.insert(position);
        } else {
            bits.Clear(position);
            model.erase(position);
        }
        const int other = static_cast<int>(random() % 300);
        ASSERT_EQ(model.count(other) == 1, bits.Test(other));
        ASSERT_EQ(static_cast<int>(model.size()), bits.GetCount());
    }
    for (int position = 0; position < 300; ++position) {
        bits.Clear(position);
        bits.Clear(kFar + position);
    }
    EXPECT_TRUE(bits.IsEmpty());
    bits.Set(63);
    EXPECT_FALSE(bits.Test(-1));
    bits.Clear(-1);
    EXPECT_EQ(1, bits.GetCount());
    bits.ClearAll();
    EXPECT_FALSE(bits.Test(63));
}
}  // namespace
