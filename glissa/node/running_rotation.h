// Copyright (c) 2026 The glissa authors
// SPDX-License-Identifier: MIT
// Not for hosts: rotations as a chain of layers blends them.
#pragma once

#include "corvekit/math/rotation_order.h"
#include "glissa/node/layer.h"

/// The matrix of Euler angles in degrees.
KgeRMatrix RotationMatrix(const double* pAngles, const KVdRotationOrder& pOrder);
/// Replaces angles by those of the part pWeight of their rotation. The weight 1 leaves them.
void ScaleRotation(double* pAngles, double pWeight, const KVdRotationOrder& pOrder);

/// The result of the layers of a rotation so far, as a matrix, so that angles are not made of it at
/// every layer. While it holds a matrix, the angles in the array of results are out of date.
class RunningRotation
{
public:
    explicit RunningRotation(int pOrder) : mOrder(pOrder) {}

    /// Blends a layer's angles onto the matrix, or onto the angles in the array where it holds
    /// none.
    void Blend(double* pResult, const double* pValues, double pWeight, eLayerMode pMode);
    /// Writes the angles of the matrix into the array, where it holds one.
    void WriteAngles(double* pAngles)
    {
        if (mHoldsMatrix) {
            ReleaseMatrix(pAngles);
        }
    }

private:
    void ReadAngles(const double* pAngles);
    void ReleaseMatrix(double* pAngles);

    KVdRotationOrder mOrder;
    KgeRMatrix mMatrix;
    bool mHoldsMatrix = false;
};
