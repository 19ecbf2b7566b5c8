// Copyright (c) 2026 The glissa authors
// SPDX-License-Identifier: MIT

#include "corvekit/object/plug.h"

#include <gtest/gtest.h>

namespace
{
class Plug final : public KPlug
{
public:
    IObject* IQuery(unsigned long, int) override { return nullptr; }
    void Destroy(int) override { delete this; }
};

TEST(KPlug, BothEndsKnowOfAConnectionAndEitherEndsIt)
{
    Plug source;
    Plug other;
    {
        Plug destination;
        EXPECT_TRUE(source.Connect(&destination));
        EXPECT_FALSE(source.Connect(&destination));
        EXPECT_FALSE(source.Connect(&source));
        EXPECT_FALSE(source.Connect(nullptr));
        EXPECT_TRUE(other.Connect(&destination));
        EXPECT_TRUE(destination.Connect(&source));
        EXPECT_EQ(&source, destination.GetSource(0));
        EXPECT_EQ(&destination, source.GetSource(0));
        EXPECT_TRUE(other.Disconnect(&destination));
        EXPECT_FALSE(other.Disconnect(&destination));
        EXPECT_EQ(1, destination.GetSourceCount());

        const Plug copy(source);
        EXPECT_EQ(0, copy.GetDestinationCount());
    }
    EXPECT_EQ(0, source.GetDestinationCount());
    EXPECT_EQ(0, source.GetSourceCount());
    EXPECT_EQ(nullptr, source.GetDestination(0));
    EXPECT_EQ(nullptr, source.GetSource(-1));
}
}  // namespace
