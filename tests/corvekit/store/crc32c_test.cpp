// Copyright (c) 2026 The glissa authors
// SPDX-License-Identifier: MIT

#include "corvekit/store/crc32c.h"

#include <gtest/gtest.h>

#include <random>
#include <string>

namespace
{
std::string Counting(char pFrom, int pStep)
{
    std::string bytes(32, pFrom);
    for (std::size_t i = 1; i < bytes.size(); ++i) {
        bytes[i] = static_cast<char>(bytes[i - 1] + pStep);
    }
    return bytes;
}

TEST(Crc32c, BothMethodsGiveThePublishedSums)
{
    // The check value of the polynomial and the vectors of RFC 3720, B.4.
    const struct
    {
        std::string bytes;
        std::uint32_t sum;
    } cases[] = {
        {"", 0x00000000},
        {"123456789", 0xE3069283},
        {std::string(32, '\0'), 0x8A9136AA},
        {std::string(32, '\xFF'), 0x62A8AB43},
        {Counting(0, 1), 0x46DD794E},
        {Counting(31, -1), 0x113FDB5C},
    };
    for (const auto& each : cases) {
        EXPECT_EQ(each.sum, Crc32cByTable(each.bytes.data(), each.bytes.size()));
        EXPECT_EQ(each.sum, Crc32c(each.bytes.data(), each.bytes.size()));
    }
}

TEST(Crc32c, MethodsAgreeForEveryLengthAndAlignmentAndPiecesChain)
{
    std::string bytes(256, '\0');
    std::mt19937 random(1);
    for (char& each : bytes) {
        each = static_cast<char>(random());
    }
    for (std::size_t from = 0; from < 8; ++from) {
        for (std::size_t size = 0; size + from <= 80; ++size) {
            const char* const at = bytes.data() + from;
            const std::uint32_t sum = Crc32cByTable(at, size);
            ASSERT_TRUE(!Crc32cHasInstruction() || sum == Crc32cByInstruction(at, size));
            const std::size_t third = size / 3;
            ASSERT_EQ(sum, Crc32cByTable(at + third, size - third, Crc32cByTable(at, third)));
            ASSERT_EQ(sum, Crc32c(at + third, size - third, Crc32c(at, third)));
        }
    }
}
}  // namespace
