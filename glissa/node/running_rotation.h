// Copyright (c) 2026 The glissa authors
// SPDX-License-Identifier: MIT
// Not for hosts: a rotation on its way along a chain of layers.
#pragma once

#include "corvekit/math/rotation_order.h"
#include "glissa/node/node.h"

// The running result of a chain of rotations, as a matrix, so that angles are not made of it at
// every layer. While it holds one, the angles in the result array are behind.
class GlissaNode::RunningRotation
{
public:
    explicit RunningRotation(int pOrder) : mOrder(pOrder) {}

    // Blends a layer's angles onto what is held, or else onto the angles in the array.
    void Blend(double* pResult, const double* pValues, double pWeight, eLayerMode pMode);
    // Writes what is held into the array.
    void Put(double* pAngles);

private:
    void Take(const double* pAngles);

    KVdRotationOrder mOrder;
    KgeRMatrix mMatrix;
    bool mHolds = false;
};
