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

TEST(KPlug, AConnectionEndsAtBothEnds)
{
    Plug source;
    Plug other;
    {
        Plug destination;
        EXPECT_TRUE(source.Connect(&destination));
        EXPECT_TRUE(other.Connect(&destination));
        EXPECT_TRUE(destination.Connect(&source));
        for (KPlug* const each : {static_cast<KPlug*>(&destination), static_cast<KPlug*>(&source),
                                  static_cast<KPlug*>(nullptr)}) {
            EXPECT_FALSE(source.Connect(each));
        }
        EXPECT_EQ(&source, destination.GetSource(0));
        EXPECT_TRUE(other.Disconnect(&destination));
        EXPECT_FALSE(other.Disconnect(&destination));
        EXPECT_EQ(1, destination.GetSourceCount());
        EXPECT_EQ(0, Plug(source).GetDestinationCount());  // a copy has no connections
    }
    EXPECT_EQ(nullptr, source.GetDestination(0));
}
}  // namespace
