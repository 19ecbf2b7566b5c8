// Copyright (c) 2026 The glissa authors
// SPDX-License-Identifier: MIT
#pragma once

#include "corvekit/math/matrix.h"
#include "glissa/filter/filter.h"

/// The constant matrices of a transform chain.
enum EMatrixID : int
{
    eMatrixPreGlobal = 0,  ///< left of all: acts last
    eMatrixPreTranslate = 1,
    eMatrixPostTranslate = 2,
    eMatrixPreRotate = 3,
    eMatrixPostRotate = 4,
    eMatrixPreScale = 5,
    eMatrixPostScale = 6,
    eMatrixPostGlobal = 7,      ///< right of all: acts first
    eMatrixOffset = 8,          ///< a point that turns with the rotation; adds the offset block
    eMatrixAltPreRotate = 9,    ///< for the pre-rotation in the block, where that is the identity
    eMatrixAltPostRotate = 10,  ///< for the post-rotation in the block, where that is the identity
    eMatrixRotationPivot = 11,
    eMatrixScalingPivot = 12,
};

/// Rewrites the translation, rotation and scaling of an object so that it keeps its motion while
/// the constant matrices around the three change. The motion is sampled at even distances; each
/// sample goes through the source chain, and what comes out is taken apart for the destination
/// chain. Then the rotation is unrolled and resampled, and keys of plateaus are removed.
///
/// The total matrix of a chain, in which the rightmost matrix acts first, is
///
///     PreGlobal PreTranslate T PostTranslate Block
///         RotationPivot PreRotate R PostRotate RotationPivot^-1
///         ScalingPivot PreScale S PostScale ScalingPivot^-1 PostGlobal
///
/// Block is the translation of PreRotate R PostRotate Offset, with the alternatives for a pre- or
/// post-rotation that is the identity, and only there where Offset is not the identity.
///
/// Set the resampling period and both rotation orders first. Curves are replaced by new ones, so
/// that listeners of the old ones end with these; keys outside the span are lost. A locked curve
/// stays, and the pose is then a mixture of both chains.
class GLISSA_API GlissaFilterMatrixConverter
    : public KClassFrame<GlissaFilterMatrixConverter, GlissaFilter>
{
public:
    static constexpr char kClassName[] = "GlissaFilterMatrixConverter";
    static constexpr int kMatrixCount = 13;
    /// The further errors.
    static constexpr int kInvalidApply = 2;
    static constexpr int kMissingCurve = 3;

    /// The matrices of a chain, by EMatrixID. One whose flag is set counts as the identity,
    /// whatever is stored.
    struct GLISSA_API Cell
    {
        Cell() { Reset(); }

        /// Sets all flags. The matrices stay.
        void Reset();
        /// Inverts each matrix that does not count as the identity; one without an inverse stays. A
        /// second call undoes the first one, to rounding.
        void InverseMatrices();
        /// The matrix that counts.
        KgeAMatrix Effective(int pId) const
        {
            return mIsIdentity[pId] ? KgeAMatrix() : mMatrix[pId];
        }

        KgeAMatrix mMatrix[kMatrixCount];
        bool mIsIdentity[kMatrixCount];
        bool mAllIdentity;  ///< false as soon as a matrix other than the identity was set
    };

    GlissaFilterMatrixConverter();
    /// Leaves the period and the rotation orders.
    void Reset() override;

    /// False, with kInvalidApply, and so is an array.
    bool Apply(Glissa& pCurve) override;
    bool Apply(Glissa** pCurves, int pCount) override;
    /// Converts the nodes "T", "R" and "S" below a node, whatever pRecursive. False without an
    /// error for a locked node; with kMissingCurve where one of the nine curves is missing. With
    /// eFilterUnchanged for a matrix that is not finite, for one that is inverted and has no
    /// inverse, for a start after the stop, for a period below a tick or one that asks for more
    /// keys than an int counts, where there are keys; and where both chains and orders are equal:
    /// then the rotation is unrolled and resampled and the keys are reduced all the same.
    bool Apply(GlissaNode& pNode, bool pRecursive) override;
    /// Apply without the checks of the matrices and what follows the conversion. The destination
    /// matrices have been inverted.
    bool DoConvert(GlissaNode& pNode);

    /// The total matrix of a chain. One with a block or a pivot turns GetResampleTranslation on.
    void ComputeTotalMatrix(KgeAMatrix& pTotal, const Cell& pCell, const KgeAMatrix& pT,
                            const KgeAMatrix& pR, const KgeAMatrix& pS);
    /// The scaling, the rotation in the order X, Y, Z and the translation with which a chain has a
    /// total matrix, for every one that it can have. Several solutions differ by signs of the
    /// scaling: all are negative where the rest leaves the choice and the determinant is negative.
    /// Where a shear is left over, the scaling is the length of the axes, and the rotation that of
    /// MatrixToEuler.
    ///
    /// pCell  the chain after InverseMatrices.
    void ExtractTransforms(KgeSVector& pS, KgeRVector& pR, KgeTVector& pT, const KgeAMatrix& pTotal,
                           const Cell& pCell);
    /// From the first to the last key of nine curves, within the span of the filter; with
    /// GetResamplingOnFrameRateMultiple the start is rounded down to a multiple of the period.
    /// Infinite() to MinusInfinite() without keys in an unbounded span.
    void FindTimeInterval(KTime& pStart, KTime& pStop, Glissa* const* pT, Glissa* const* pR,
                          Glissa* const* pS);
    /// The kinds of the keys of three curves at or before a time, of the first keys before them:
    /// interpolation and kind of tangent, for a constant key the constant mode. Cubic and automatic
    /// for a curve without keys, a custom key, and a tangent of no known kind.
    void FillInterpAndTangeant(KTime pTime, Glissa* const* pCurves, unsigned int* pInterpolation,
                               unsigned int* pTangentMode);
    /// Writes a key of three curves, at an index up to the key count, with slopes of 0.
    void SetDestFCurve(Glissa* const* pCurves, int pIndex, KTime pTime, const double* pValues,
                       const unsigned int* pInterpolation, const unsigned int* pTangentMode);
    /// Whether the elements of 13 matrices differ by 1e-6 at most.
    bool MatricesEquivalence(const KgeAMatrix* pLeft, const KgeAMatrix* pRight) const;

    /// What is stored. A matrix whose elements differ from those of the identity by 1e-6 at most
    /// counts as the identity.
    void GetSourceMatrix(EMatrixID pId, KgeAMatrix& pMatrix) const;
    void SetSourceMatrix(EMatrixID pId, const KgeAMatrix& pMatrix);
    void GetDestMatrix(EMatrixID pId, KgeAMatrix& pMatrix) const;
    void SetDestMatrix(EMatrixID pId, const KgeAMatrix& pMatrix);

    /// Ticks; 0 at first. Asked for only where a curve has keys.
    KTime GetResamplingPeriod() const { return mResamplingPeriod; }
    void SetResamplingPeriod(const KTime& pPeriod) { mResamplingPeriod = pPeriod; }
    /// Whether keys lie on multiples of the period; on by default.
    bool GetResamplingOnFrameRateMultiple() const { return mResamplingOnFrameRateMultiple; }
    void SetResamplingOnFrameRateMultiple(bool pOn) { mResamplingOnFrameRateMultiple = pOn; }
    /// Whether the rotation is unrolled and resampled afterwards; on by default.
    bool GetApplyUnroll() const { return mApplyUnroll; }
    void SetApplyUnroll(bool pApply) { mApplyUnroll = pApply; }
    /// Whether keys of plateaus are removed afterwards; on by default.
    bool GetApplyConstantKeyReducer() const { return mApplyConstantKeyReducer; }
    void SetApplyConstantKeyReducer(bool pApply) { mApplyConstantKeyReducer = pApply; }
    /// 0 to 5, as KVdRotationOrder; 0 at first. The node "R" gets the destination order after a
    /// conversion.
    void SetSrcRotateOrder(int pOrder) { mSrcRotateOrder = pOrder; }
    void SetDestRotateOrder(int pOrder) { mDestRotateOrder = pOrder; }
    /// Whether the last key lies at the end of the motion, on by default, or a period behind the
    /// one before.
    bool GetGenerateLastKeyExactlyAtEndTime() const { return mGenerateLastKeyExactlyAtEndTime; }
    void SetGenerateLastKeyExactlyAtEndTime(bool pGenerate)
    {
        mGenerateLastKeyExactlyAtEndTime = pGenerate;
    }
    /// Whether the translation is rewritten too; on by default. A chain with a block or a pivot
    /// turns it on, and it stays on: set it before each Apply.
    bool GetResampleTranslation() const { return mResampleTranslation; }
    void SetResampleTranslation(bool pResample) { mResampleTranslation = pResample; }

private:
    const char* FindFault() const;
    bool HasSameChain() const;
    void CleanUp(GlissaNode& pNode, bool pIsConverted);

    Cell mSource;
    Cell mDest;
    KTime mResamplingPeriod;
    bool mResamplingOnFrameRateMultiple;
    bool mApplyUnroll;
    bool mApplyConstantKeyReducer;
    int mSrcRotateOrder = 0;
    int mDestRotateOrder = 0;
    bool mGenerateLastKeyExactlyAtEndTime;
    bool mResampleTranslation;
};

extern template class KClassFrame<GlissaFilterMatrixConverter, GlissaFilter>;
