// Copyright (c) 2026 The glissa authors
// SPDX-License-Identifier: MIT
// For tests only, not installed.
#pragma once

#include "tests/support/node_stubs.h"
#include "tests/support/ref_rotation.h"

#include <array>
#include <random>
#include <vector>

// A channel of random type with random layers, and the plain evaluation of the blending tables.
class LayerStack
{
public:
    explicit LayerStack(std::mt19937& pRandom, bool pPositive = false);

    struct Layer
    {
        StubLayer info;
        std::array<double, 3> values;
        int id;
        GlissaNode* node;
    };

    GlissaNode& Node() { return *mNode; }
    std::vector<std::unique_ptr<Layer>>& Layers() { return mLayers; }
    int Type() const { return mType; }
    bool IsRotation() const { return mType == eLayerTypeRotation; }
    int Order() const { return mOrder; }
    /// The blended values of the layers pFirst to pLast by place, the others blending nothing.
    std::array<double, 3> Values(int pFirst = 0, int pLast = 99) const;
    /// The same for a rotation.
    RefRotation Rotation(int pFirst = 0, int pLast = 99) const;
    /// Whether two triples are the same values to a relative tolerance; angles, with pDegrees above
    /// 0, the same rotation to that many degrees.
    bool IsNear(const double* pLeft, const double* pRight, double pTolerance,
                double pDegrees) const;

private:
    int mType;
    int mOrder;
    std::vector<std::unique_ptr<Layer>> mLayers;  // the base first
    NodePtr mNode;
};
