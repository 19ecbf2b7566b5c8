// Copyright (c) 2026 The glissa authors
// SPDX-License-Identifier: MIT

#include "io/filter_compare.h"
#include "tests/support/node_stubs.h"

#include <gtest/gtest.h>

#include <array>

namespace
{
using Angles = std::array<float, 3>;

// Both rotations have a key at 0 s and at 1 s.
TEST(FilterCompare, TheLargestTurnIsLookedForAtKeysAndHalfwayInTheOrder)
{
    const struct
    {
        Angles before[2], after[2];
        int order;
        bool holds;  // the keys after
        double degrees, seconds;
    } rows[] = {
        {{{0, 0, 0}, {0, 0, 0}}, {{0, 0, 0}, {0, 270, 0}}, 0, true, 90, 1},
        {{{0, 0, 0}, {0, 0, 80}}, {{0, 0, 0}, {0, 0, 80}}, 0, true, 40, 0.5},
        {{{10, 20, 30}, {10, 20, 30}}, {{370, 20, 30}, {10, 20, 390}}, 2, true, 0, 0},
        // The other form in the order Z, X, Y, whose middle axis is X.
        {{{10, 20, 30}, {10, 20, 30}}, {{170, 200, 210}, {170, 200, 210}}, 4, false, 0, 0},
    };
    for (const auto& row : rows) {
        const NodePtr nodes[] = {MakeChannel(KDataTypeLclRotation, "R"),
                                 MakeChannel(KDataTypeLclRotation, "R")};
        std::vector<Glissa*> curves[2];
        for (int i = 0; i < 2; ++i) {
            for (std::size_t axis = 0; axis < 3; ++axis) {
                const auto& keys = i == 0 ? row.before : row.after;
                GlissaNode* const leaf = nodes[i]->Get(static_cast<int>(axis));
                AddKeys(leaf, {{0.0, keys[0][axis]}, {1.0, keys[1][axis]}});
                if (i == 1 && row.holds) {
                    leaf->FCurveGet()->KeySetInterpolation(0, eInterpolationConstant);
                }
                curves[i].push_back(leaf->FCurveGet());
            }
        }
        const LargestChange change =
            CompareRotations(curves[0], curves[1], row.order, KgeRMatrix());
        EXPECT_NEAR(row.degrees, change.mSize, 1e-4);
        EXPECT_EQ(row.seconds, change.mWhen.GetSecondDouble());
    }
}
}  // namespace
