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
// Long enough to live on the heap, so that a missed or doubled destructor shows under sanitizers.
std::string Item(unsigned long pNumber)
{
    return "an item that does not fit into the object, " + std::to_string(pNumber);
}

template <typename T, int Block>
void ExpectSame(const std::vector<T>& pModel, const KArrayTemplate<T, Block>& pArray)
{
    ASSERT_EQ(static_cast<int>(pModel.size()), pArray.GetCount());
    EXPECT_TRUE(std::equal(pModel.begin(), pModel.end(), pArray.begin(), pArray.end()));
    EXPECT_EQ(0, pArray.GetCapacity() % Block);
}

TEST(KArrayTemplate, HoldsWhatAVectorHoldsThroughAnyEdits)
{
    std::mt19937 random(1);
    KArrayTemplate<std::string> array;
    std::vector<std::string> model;
    for (int step = 0; step < 2000; ++step) {
        const int at = static_cast<int>(random() % (model.size() + 1));
        if (random() % 5 < 3) {
            ASSERT_EQ(at, array.InsertAt(at, Item(random())));
            model.insert(model.begin() + at, array[at]);
        } else {
            ASSERT_EQ(at < static_cast<int>(model.size()), array.RemoveAt(at));
            if (at < static_cast<int>(model.size())) {
                model.erase(model.begin() + at);
            }
        }
        ASSERT_EQ(static_cast<int>(model.size()), array.GetCount());
    }
    ExpectSame(model, array);

    KArrayTemplate<std::string> other(array);
    other.Add(Item(1));
    ExpectSame(model, array);
    array = std::move(other);
    model.push_back(Item(1));
    ExpectSame(model, array);
    const KArrayTemplate<std::string>& itself = array;
    array = itself;
    ExpectSame(model, array);
    array.Clear();
    EXPECT_EQ(0, array.GetCapacity());
}

TEST(KArrayHelper, CapacityGrowsInBlocksAndNeverBeyondWhatCanBeAddressed)
{
    constexpr int most = std::numeric_limits<int>::max();
    const struct
    {
        int capacity, needed, block;
        std::size_t size;
        int expected;
    } cases[] = {
        {0, 1, 16, 8, 16},
        {16, 17, 16, 8, 32},
        {1600, 1601, 16, 8, 2400},
        {16, 1000, 16, 8, 1008},
        {most - 1, most, 16, 1, most},
        {0, most, 1, std::numeric_limits<std::size_t>::max() / 2, -1},
    };
    for (const auto& each : cases) {
        EXPECT_EQ(each.expected, KArrayHelper::GetNextArraySize(each.capacity, each.needed,
                                                                each.block, each.size));
    }
}
}  // namespace
