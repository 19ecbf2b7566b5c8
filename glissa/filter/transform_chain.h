// Copyright (c) 2026 The glissa authors
// SPDX-License-Identifier: MIT
// Not for hosts: a transform chain with its constant matrices multiplied together.
#pragma once

#include "glissa/filter/matrix_converter.h"

/// The chain of GlissaFilterMatrixConverter as
///
///     Outer T Between Block BeforeR R Middle S AfterS
///
/// Building one inverts matrices; the operations invert none.
class TransformChain
{
public:
    using Cell = GlissaFilterMatrixConverter::Cell;

    /// The chain of matrices that are not inverted.
    explicit TransformChain(const Cell& pCell);

    /// Whether the position of the object depends on its rotation or scaling.
    bool MovesWithRotationOrScaling() const { return mMoves; }
    KgeAMatrix Total(const KgeAMatrix& pT, const KgeAMatrix& pR, const KgeAMatrix& pS) const;
    /// As GlissaFilterMatrixConverter::ExtractTransforms.
    ///
    /// pWhole  null, or what the total would be with another scaling, none of whose factors is 0:
    ///         the rotation is read from it.
    void Extract(KgeSVector& pS, KgeRVector& pR, KgeTVector& pT, const KgeAMatrix& pTotal,
                 const KgeAMatrix* pWhole = nullptr) const;

private:
    KgeAMatrix Block(const KgeAMatrix& pR) const;
    KgeAMatrix RotationAndScaling(const KgeAMatrix& pTotal) const;
    void FindScaleAndRotation(KgeSVector& pS, KgeRVector& pR, const KgeAMatrix& pProduct,
                              bool (&pIsLost)[3]) const;
    KgeAMatrix AfterTranslation(const KgeAMatrix& pR, const KgeAMatrix& pS) const;

    KgeAMatrix mOuter;
    KgeAMatrix mBetween;
    KgeAMatrix mBeforeR;
    KgeAMatrix mMiddle;
    KgeAMatrix mAfterS;
    // Of the block.
    bool mHasBlock;
    KgeAMatrix mBlockBeforeR;
    KgeAMatrix mBlockAfterR;
    bool mMoves;
    // Inverses.
    KgeAMatrix mFromOuter;
    KgeAMatrix mFromLeftOfR;
    KgeAMatrix mFromMiddle;
    KgeAMatrix mFromAfterS;
    double mMiddleLength[3];
    double mMiddleCosine[3];  // of the angle between the two other axes
};
