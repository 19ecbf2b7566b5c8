// Copyright (c) 2026 The glissa authors
// SPDX-License-Identifier: MIT

// Random edits, checked as edit_script.h describes. GLISSA_EDIT_STEPS sets their number,
// GLISSA_EDIT_SEED the first seed.

#include "tests/support/edit_script.h"

#include <gtest/gtest.h>

#include <cstdlib>

namespace
{
long FromEnvironment(const char* pName, long pDefault)
{
    const char* text = std::getenv(pName);
    return text ? std::atol(text) : pDefault;
}

TEST(CurveModel, RandomEditsEqualThoseOfAPlainCopyAndAreDescribedByTheirEvents)
{
    constexpr long kStepsOfScript = 2000;
    const long steps = FromEnvironment("GLISSA_EDIT_STEPS", 40000);
    const long firstSeed = FromEnvironment("GLISSA_EDIT_SEED", 1);
    for (long done = 0; done < steps; done += kStepsOfScript) {
        const long seed = firstSeed + done / kStepsOfScript;
        EditScript script{EditChoices(static_cast<std::uint64_t>(seed))};
        for (long step = 0; step < kStepsOfScript; ++step) {
            ASSERT_EQ("", script.Step()) << "seed " << seed << ", step " << step;
        }
    }
}
}  // namespace
