// Copyright (c) 2026 The glissa authors
// SPDX-License-Identifier: MIT

#include "corvekit/array.h"

#include <gtest/gtest.h>

#include <limits>
#include <random>
#include <string>
#include <vector>

namespace
{
// On the heap, so that sanitizers find a missed or repeated destructor.
std::string Item(unsigned long pNumber)
{
    return "an item that does not fit into the object, " + std::to_string(pNumber);
}

TEST(KArrayTemplate, HoldsTheItemsOfAVectorAfterRandomEdits)
{
    using Array = KArrayTemplate<std::string>;
    std::mt19937 random(1);
    Array array;
    std::vector<std::string> model;
    for (int step = 0; step < 2000; ++step) {
        const int at = static_cast<int>(random() % (model.size() + 1));
        const bool isInside = at < static_cast<int>(model.size());
        if (random() % 5 < 3) {
            const std::string item = Item(random());
            ASSERT_EQ(at, array.InsertAt(at, item));
            model.insert(model.begin() + at, item);
        } else {
            ASSERT_EQ(isInside, array.RemoveAt(at));
            model.erase(model.begin() + at, model.begin() + at + (isInside ? 1 : 0));
        }
        ASSERT_EQ(static_cast<int>(model.size()), array.GetCount());
    }
    const auto isModel = [&model](const Array& pArray) {
        return std::equal(model.begin(), model.end(), pArray.begin(), pArray.end());
    };
    EXPECT_TRUE(isModel(array));
    Array other(array);
    other.Add(Item(1));
    EXPECT_TRUE(isModel(array));
    array = std::move(other);
    model.push_back(Item(1));
    EXPECT_TRUE(isModel(array));
}

TEST(KArrayHelper, CapacityGrowsInBlocksUpToWhatCanBeAddressed)
{
    constexpr int kMost = std::numeric_limits<int>::max();
    const struct
    {
        int capacity, needed, block;
        std::size_t size;
        int expected;
    } cases[] = {
        {16, 17, 16, 8, 32},
        {1600, 1601, 16, 8, 2400},
        {16, 1000, 16, 8, 1008},
        {kMost - 1, kMost, 16, 1, kMost},
        {0, kMost, 1, std::numeric_limits<std::size_t>::max() / 2, -1},
    };
    for (const auto& each : cases) {
        EXPECT_EQ(each.expected, KArrayHelper::GetNextArraySize(each.capacity, each.needed,
                                                                each.block, each.size));
    }
}
}  // namespace
