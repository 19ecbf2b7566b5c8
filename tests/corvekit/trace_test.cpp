// Copyright (c) 2026 The glissa authors
// SPDX-License-Identifier: MIT

#include "corvekit/trace.h"

#include <gtest/gtest.h>

#include <string>

namespace
{
std::string gText;

void Keep(const char* pText)
{
    gText += pText;
}

TEST(KTrace, FormatsTextOfAnyLengthForTheInstalledSink)
{
    testing::internal::CaptureStderr();
    KTrace("%s\n", "to standard error");
    EXPECT_EQ("to standard error\n", testing::internal::GetCapturedStderr());

    const KTraceSink before = KSetTraceSink(Keep);
    KTrace("mLayerID = %d, %s\n", -7, "100%");
    EXPECT_EQ("mLayerID = -7, 100%\n", gText);
    for (const std::size_t length : {254u, 255u, 256u, 257u, 5000u}) {
        gText.clear();
        const std::string text(length, 'x');
        KTrace("%s", text.c_str());
        EXPECT_EQ(text, gText);
    }
    EXPECT_EQ(&Keep, KSetTraceSink(nullptr));
    EXPECT_EQ(before, KSetTraceSink(before));
}
}  // namespace
