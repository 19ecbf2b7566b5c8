// Copyright (c) 2026 The glissa authors
// SPDX-License-Identifier: MIT
// For tests only, not installed.
#pragma once

#include "tests/support/node_stubs.h"

#include <array>
#include <random>
#include <vector>

// A rotation as a plain matrix of doubles: worked out from its definition, one turn about an axis
// after the other, and without the library.
struct RefRotation
{
    double m[3][3] = {{1, 0, 0}, {0, 1, 0}, {0, 0, 1}};

    /// Angles in degrees; orders 0 to 5 are XYZ XZY YZX YXZ ZXY ZYX, the first axis turning first.
    static RefRotation OfAngles(const double* pAngles, int pOrder);
    RefRotation Inverse() const;
    /// The part pWeight of the shortest turn; a turn below half a degree stays whole unless the
    /// weight is 0, as the power of a rotation is defined.
    RefRotation Power(double pWeight) const;
    /// The shortest turn in degrees.
    double Angle() const;
    friend RefRotation operator*(const RefRotation& pLeft, const RefRotation& pRight);
};
RefRotation RefSlerp(const RefRotation& pFrom, const RefRotation& pTo, double pRatio);
/// Degrees between two rotations.
double RefDistance(const RefRotation& pLeft, const RefRotation& pRight);

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
