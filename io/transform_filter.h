// Copyright (c) 2026 The glissa authors
// SPDX-License-Identifier: MIT
// Host side, not installed.
#pragma once

#include "corvekit/math/matrix.h"
#include "glissa/filter/trs.h"

/// GlissaFilterTRS for nodes whose channels have different keys or none. A channel whose keys do
/// not cover those of the node gets a key at each plot period first. The default values of a node
/// without keys are transformed, and those of a node with keys stay.
class TransformFilter : public GlissaFilterTRS
{
public:
    using GlissaFilterTRS::Apply;
    bool Apply(GlissaNode& pNode, bool pRecursive) override;

    void SetR(double pX, double pY, double pZ) override;
    /// The rotation of SetR.
    const KgeRMatrix& GetTurn() const { return mTurn; }

private:
    KgeRMatrix mTurn;
};
