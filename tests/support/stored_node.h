// Copyright (c) 2026 The glissa authors
// SPDX-License-Identifier: MIT
// For tests only, not installed.
#pragma once

#include "corvekit/store/tdf.h"
#include "tests/support/node_stubs.h"
#include "tests/support/text_document.h"

#include <gtest/gtest.h>

#include <string>

// Nodes stored in documents and read from them, and documents written as text.

inline std::string Numbered(const char* pText, int pNumber)
{
    return std::string(pText).append(std::to_string(pNumber));
}

inline KTdf Stored(GlissaNode& pNode, bool pShortNames = false, bool pOnlyDefaults = false)
{
    KTdf tdf;
    EXPECT_TRUE(pNode.TdfStore(&tdf, pOnlyDefaults, pShortNames, false, "Channel", false, false));
    EXPECT_EQ(-1, tdf.GetError().GetLastErrorID()) << tdf.GetError().GetLastErrorString();
    return tdf;
}

inline KTdf FromText(const std::string& pText)
{
    KTdf tdf;
    std::string error;
    EXPECT_TRUE(DocumentFromText(pText, tdf, error)) << error;
    return tdf;
}

inline NodePtr Retrieved(const std::string& pText, NodePtr pNode, bool pCreate = true)
{
    KTdf tdf = FromText(pText);
    EXPECT_TRUE(pNode->TdfRetrieve(&tdf, false, pCreate, true));
    return pNode;
}

inline NodePtr EmptyNode()
{
    return NodePtr(GlissaNodeCreate("", static_cast<KDataType*>(nullptr), 0, GlissaLayerInfo()));
}
