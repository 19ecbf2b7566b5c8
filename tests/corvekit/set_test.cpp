// Copyright (c) 2026 The glissa authors
// SPDX-License-Identifier: MIT

#include "corvekit/bitset.h"
#include "corvekit/set.h"

#include <gtest/gtest.h>

#include <map>
#include <random>
#include <set>

namespace
{
TEST(KSet, IsAnOrderedMapAfterRandomEdits)
{
    std::mt19937 random(1);
    KSet<int, std::string> set;
    std::map<int, std::string> model;
    for (int step = 0; step < 3000; ++step) {
        const int key = static_cast<int>(random() % 100) - 50;
        const std::string value = "a value on the heap, " + std::to_string(step);
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
        ASSERT_EQ(model.count(key) == 1, set.Find(key) != nullptr);
    }
    EXPECT_TRUE(std::equal(model.begin(), model.end(), set.begin(), set.end(),
                           [](const auto& pWanted, const auto& pFound) {
                               return pWanted.first == pFound.mKey &&
                                      pWanted.second == pFound.mValue;
                           }));
}

TEST(KBitSet, IsASetOfPositionsAfterRandomEdits)
{
    constexpr int kFar = 2147483000;  // near the greatest position
    std::mt19937 random(2);
    KBitSet bits;
    std::set<int> model;
    for (int step = 0; step < 20000; ++step) {
        const int position = static_cast<int>(random() % 300) + (random() % 2 ? 0 : kFar);
        // At first most steps set a position, at the end all clear one.
        if (static_cast<int>(random() % 12000) > step) {
            bits.Set(position);
            model.insert(position);
        } else {
            bits.Clear(position);
            model.erase(position);
        }
        const int other = static_cast<int>(random() % 300) - 1;
        ASSERT_EQ(model.count(other) == 1, bits.Test(other));
        ASSERT_EQ(static_cast<int>(model.size()), bits.GetCount());
        ASSERT_EQ(model.empty(), bits.IsEmpty());
    }
    EXPECT_TRUE(bits.IsEmpty());
}
}  // namespace
