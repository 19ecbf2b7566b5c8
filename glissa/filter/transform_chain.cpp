// Copyright (c) 2026 The glissa authors
// SPDX-License-Identifier: MIT

#include "glissa/filter/transform_chain.h"

#include "glissa/filter/rotation_helpers.h"

#include <cmath>

namespace
{
using Cell = GlissaFilterMatrixConverter::Cell;

// Axes count as at right angles below this: what their signs change then is lost in rounding.
constexpr double kLeastCosine = 1e-10;
// A factor that is smaller by this than the largest one may be 0 and rounding.
constexpr double kLeastFactor = 1e-12;

KgeAMatrix Inverse(const Cell& pCell, int pId)
{
    return pCell.mIsIdentity[pId] ? KgeAMatrix() : pCell.mMatrix[pId].Inverse();
}

// Of the angle between the two axes other than pAxis; 0 where one has no length.
double CosineOfOthers(const KgeAMatrix& pMatrix, int pAxis)
{
    const KgeTVector left = pMatrix.GetAxis((pAxis + 1) % 3);
    const KgeTVector right = pMatrix.GetAxis((pAxis + 2) % 3);
    const double lengths = left.Length() * right.Length();
    return lengths > 0.0 ? left.Dot(right) / lengths : 0.0;
}

// The linear part alone.
KgeAMatrix WithoutTranslation(const KgeAMatrix& pMatrix)
{
    KgeAMatrix linear = pMatrix;
    linear.SetTranslation(KgeTVector());
    return linear;
}

// Makes the lengths of the axes of M, for which M = R B S with a rotation R, the factors of S:
// gives them their signs. The angles between the axes of M are those between the axes of B, but for
// the signs of two factors each; where the axes of B are at right angles, only the sign of the
// determinant is left.
//
// pCosines  of the angle between the two other axes of B.
void FindSigns(KgeSVector& pScale, const KgeAMatrix& pM, const double (&pCosines)[3],
               bool pIsMirrored)
{
    double agreement[3];
    for (int i = 0; i < 3; ++i) {
        agreement[i] =
            std::fabs(pCosines[i]) < kLeastCosine ? 0.0 : pCosines[i] * CosineOfOthers(pM, i);
    }
    // All signs are equal, or one is unlike the two others.
    int odd = -1;
    double best = agreement[0] + agreement[1] + agreement[2];
    for (int i = 0; i < 3; ++i) {
        const double sum = agreement[i] - agreement[(i + 1) % 3] - agreement[(i + 2) % 3];
        if (sum > best) {
            best = sum;
            odd = i;
        }
    }
    const double all = pIsMirrored ? -1.0 : 1.0;
    for (int i = 0; i < 3; ++i) {
        pScale[i] *= odd < 0 || odd == i ? all : -all;
    }
}

// A rotation that turns the axes of pB to those of pN, of which those with length 0 are unknown.
KgeAMatrix TurnOfKnownAxes(KgeAMatrix pN, KgeAMatrix pB, const bool (&pIsLost)[3], int pLostCount)
{
    if (pLostCount == 3) {
        return KgeAMatrix();
    }
    if (pLostCount == 2) {
        const int known = !pIsLost[0] ? 0 : !pIsLost[1] ? 1 : 2;
        KgeQuaternion turn;
        GetQuaternionFromPositionToPosition(turn, pB.GetAxis(known), pN.GetAxis(known));
        return QuaternionToMatrix(turn);
    }
    for (int i = 0; i < 3; ++i) {
        if (pIsLost[i]) {
            pN.SetAxis(i, pN.GetAxis((i + 1) % 3).Cross(pN.GetAxis((i + 2) % 3)));
            pB.SetAxis(i, pB.GetAxis((i + 1) % 3).Cross(pB.GetAxis((i + 2) % 3)));
        }
    }
    return pN * pB.Inverse();
}
}  // namespace

TransformChain::TransformChain(const Cell& pCell)
    : mOuter(pCell.Effective(eMatrixPreGlobal) * pCell.Effective(eMatrixPreTranslate)),
      mBetween(pCell.Effective(eMatrixPostTranslate)),
      mBeforeR(pCell.Effective(eMatrixRotationPivot) * pCell.Effective(eMatrixPreRotate)),
      mMiddle(pCell.Effective(eMatrixPostRotate) * Inverse(pCell, eMatrixRotationPivot) *
              pCell.Effective(eMatrixScalingPivot) * pCell.Effective(eMatrixPreScale)),
      mAfterS(pCell.Effective(eMatrixPostScale) * Inverse(pCell, eMatrixScalingPivot) *
              pCell.Effective(eMatrixPostGlobal)),
      mHasBlock(!pCell.mIsIdentity[eMatrixOffset]),
      mMoves(mHasBlock || !pCell.mIsIdentity[eMatrixRotationPivot] ||
             !pCell.mIsIdentity[eMatrixScalingPivot])
{
    const auto either = [&pCell](EMatrixID pFirst, EMatrixID pSecond) {
        return pCell.Effective(pCell.mIsIdentity[pFirst] ? pSecond : pFirst);
    };
    mBlockBeforeR = either(eMatrixPreRotate, eMatrixAltPreRotate);
    mBlockAfterR = either(eMatrixPostRotate, eMatrixAltPostRotate) * pCell.Effective(eMatrixOffset);
    mFromOuter = mOuter.Inverse();
    mFromLeftOfR = WithoutTranslation(mOuter * mBetween * mBeforeR).Inverse();
    mFromMiddle = WithoutTranslation(mMiddle).Inverse();
    for (int i = 0; i < 3; ++i) {
        mMiddleLength[i] = mMiddle.GetAxis(i).Length();
        mMiddleCosine[i] = CosineOfOthers(mMiddle, i);
    }
    mFromAfterS = WithoutTranslation(mAfterS).Inverse();
}

KgeAMatrix TransformChain::Block(const KgeAMatrix& pR) const
{
    return KgeAMatrix((mBlockBeforeR * pR * mBlockAfterR).GetTranslation());
}

KgeAMatrix TransformChain::AfterTranslation(const KgeAMatrix& pR, const KgeAMatrix& pS) const
{
    const KgeAMatrix rest = mBeforeR * pR * mMiddle * pS * mAfterS;
    return mBetween * (mHasBlock ? Block(pR) * rest : rest);
}

KgeAMatrix TransformChain::Total(const KgeAMatrix& pT, const KgeAMatrix& pR,
                                 const KgeAMatrix& pS) const
{
    return mOuter * pT * AfterTranslation(pR, pS);
}

// R Middle S, the linear part of it.
KgeAMatrix TransformChain::RotationAndScaling(const KgeAMatrix& pTotal) const
{
    return mFromLeftOfR * WithoutTranslation(pTotal) * mFromAfterS;
}

// A rotation keeps lengths: the factors of the scaling are those by which the axes of R Middle S
// are longer than those of Middle. Axes without length are lost.
void TransformChain::FindScaleAndRotation(KgeSVector& pS, KgeRVector& pR,
                                          const KgeAMatrix& pProduct, bool (&pIsLost)[3]) const
{
    double largest = 0.0;
    for (int i = 0; i < 3; ++i) {
        pS[i] = pProduct.GetAxis(i).Length() / mMiddleLength[i];
        largest = std::fmax(largest, pS[i]);
    }
    double cosines[3];
    int lostCount = 0;
    for (int i = 0; i < 3; ++i) {
        pIsLost[i] = pS[i] <= largest * kLeastFactor;
        lostCount += pIsLost[i] ? 1 : 0;
    }
    for (int i = 0; i < 3; ++i) {
        const bool isKnown = !pIsLost[(i + 1) % 3] && !pIsLost[(i + 2) % 3];
        cosines[i] = isKnown ? mMiddleCosine[i] : 0.0;
    }
    const bool isMirrored =
        lostCount == 0 && (pProduct.Determinant() < 0.0) != (mMiddle.Determinant() < 0.0);
    FindSigns(pS, pProduct, cosines, isMirrored);
    KgeAMatrix turned;  // R Middle
    for (int i = 0; i < 3; ++i) {
        turned.SetAxis(i, pIsLost[i] ? KgeTVector() : pProduct.GetAxis(i) / pS[i]);
    }
    MatrixToEuler(pR, lostCount == 0 ? turned * mFromMiddle
                                     : TurnOfKnownAxes(turned, WithoutTranslation(mMiddle), pIsLost,
                                                       lostCount));
}

void TransformChain::Extract(KgeSVector& pS, KgeRVector& pR, KgeTVector& pT,
                             const KgeAMatrix& pTotal, const KgeAMatrix* pWhole) const
{
    const KgeAMatrix product = RotationAndScaling(pTotal);
    bool isLost[3];
    FindScaleAndRotation(pS, pR, pWhole ? RotationAndScaling(*pWhole) : product, isLost);
    const KgeAMatrix rotation = EulerToMatrix(pR);
    for (int i = 0; i < 3; ++i) {
        if (pWhole || isLost[i]) {
            // With a shear the axis has not quite the direction that the rotation gives it.
            const KgeTVector axis = rotation.TransformDirection(mMiddle.GetAxis(i));
            const double part = product.GetAxis(i).Dot(axis) / axis.SquareLength();
            const double length = product.GetAxis(i).Length() / mMiddleLength[i];
            pS[i] = isLost[i] ? part : std::copysign(length, part);
        }
    }
    const KgeAMatrix rest = AfterTranslation(rotation, KgeSMatrix(pS));
    pT = (mFromOuter * pTotal).GetTranslation() - rest.GetTranslation();
}
