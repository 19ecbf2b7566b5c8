// Copyright (c) 2026 The glissa authors
// SPDX-License-Identifier: MIT

// Nine new curves are filled from samples of the old ones, each of which goes through both chains,
// and replace these when all is done. What the chains are is in transform_chain.cpp.

#include "glissa/filter/matrix_converter.h"

#include "corvekit/math/rotation_order.h"
#include "glissa/curve/key_kind.h"
#include "glissa/filter/constant_key_reducer.h"
#include "glissa/filter/converted_curves.h"
#include "glissa/filter/resample.h"
#include "glissa/filter/rotation_curves.h"
#include "glissa/filter/rotation_helpers.h"
#include "glissa/filter/transform_chain.h"
#include "glissa/filter/unroll.h"
#include "glissa/node/node.h"
#include "glissa/node/rotation_path.h"

#include <algorithm>
#include <cmath>

template class KClassFrame<GlissaFilterMatrixConverter, GlissaFilter>;

namespace
{
constexpr int kAxes = 3;
constexpr int kCurves = 9;  // translation, rotation, scaling
constexpr double kMatrixTolerance = 1e-6;
// A sample so near to the last key is left out, as a part of the period.
constexpr double kLeastLastStep = 0.025;

constexpr char kMissingCurveText[] =
    "Missing at least a transform Glissa.  pCurveNode must possess T(x, y, z), R(x, y, z), S(x, y, "
    "z) Glissas";
const char* const kErrors[] = {
    "No key", "Left unchanged",
    "Invalid Apply method.  Use GlissaFilterMatrixConverter::Apply(GlissaNode&, bool)",
    kMissingCurveText};

// NaN is near to nothing.
bool AreNear(const KgeAMatrix& pLeft, const KgeAMatrix& pRight)
{
    for (int i = 0; i < 12; ++i) {
        if (!(std::fabs(pLeft(i % 3, i / 3) - pRight(i % 3, i / 3)) <= kMatrixTolerance)) {
            return false;
        }
    }
    return true;
}

bool IsFinite(const KgeAMatrix& pMatrix)
{
    bool isFinite = true;
    for (int i = 0; i < 12; ++i) {
        isFinite = isFinite && std::isfinite(pMatrix(i % 3, i / 3));
    }
    return isFinite;
}

bool HasInverse(const KgeAMatrix& pMatrix)
{
    bool isSingular = false;
    return IsFinite(pMatrix.Inverse(&isSingular)) && !isSingular;
}

void SetMatrix(GlissaFilterMatrixConverter::Cell& pCell, EMatrixID pId, const KgeAMatrix& pMatrix)
{
    CORVEKIT_ASSERT(pId >= 0 && pId < GlissaFilterMatrixConverter::kMatrixCount);
    pCell.mMatrix[pId] = pMatrix;
    pCell.mIsIdentity[pId] = AreNear(pMatrix, KgeAMatrix());
    pCell.mAllIdentity = pCell.mAllIdentity && pCell.mIsIdentity[pId];
}

/// The values of the three nodes at a time.
struct Transform
{
    KgeTVector translation;
    KgeRVector rotation;  // in the order of the node
    KgeSVector scaling;
};

/// The nine curves of an object and the nodes that hold them.
struct TransformCurves
{
    Glissa* all[kCurves];
    GlissaNode*
        leaves[kCurves];  // not the owners: a curve may be held by a node that is not its own
    GlissaNode* rotationNode;

    Glissa* const* Translation() const { return all; }
    Glissa* const* Rotation() const { return all + kAxes; }
    Glissa* const* Scaling() const { return all + 2 * kAxes; }

    bool FindBelow(GlissaNode& pNode)
    {
        if (!pNode.GetTransformCurves(all, all + kAxes, all + 2 * kAxes)) {
            return false;
        }
        rotationNode = pNode.FindRecursive("R");
        GlissaNode** leaf = leaves;
        for (const char* const channel : {"T", "R", "S"}) {
            GlissaNode* const node = pNode.FindRecursive(channel);
            for (const char* const axis : {"X", "Y", "Z"}) {
                *leaf++ = node->FindRecursive(axis);
            }
        }
        return true;
    }

    Transform Defaults() const
    {
        Transform values;
        for (int i = 0; i < kAxes; ++i) {
            values.translation[i] = Translation()[i]->GetValue();
            values.rotation[i] = Rotation()[i]->GetValue();
            values.scaling[i] = Scaling()[i]->GetValue();
        }
        return values;
    }
};

/// The curves at ascending times.
class TransformSampler
{
public:
    explicit TransformSampler(const TransformCurves& pCurves) : mCurves(pCurves)
    {
        GlissaNode& node = *pCurves.rotationNode;
        mHasPath = node.GetUseQuaternion() && node.GetCount() == kAxes &&
                   AreChildCurves(node, pCurves.Rotation());
    }

    Transform At(KTime pTime)
    {
        double values[kCurves];
        for (int i = 0; i < kCurves; ++i) {
            values[i] = mCurves.all[i]->Evaluate(pTime, &mHints[i]);
        }
        KgeRVector rotation(values + kAxes);
        if (mHasPath) {
            Glissa* const curves[] = {mCurves.all[kAxes], mCurves.all[kAxes + 1],
                                      mCurves.all[kAxes + 2]};
            // Only a path is written.
            EvaluateRotationPath(curves, mCurves.rotationNode->GetRotationOrder(), pTime,
                                 &mHints[kAxes], rotation);
        }
        return {KgeTVector(values), rotation, KgeSVector(values + 2 * kAxes)};
    }

private:
    const TransformCurves& mCurves;
    bool mHasPath;  // the rotation runs along a path of quaternions
    int mHints[kCurves] = {};
};

/// From the values of one chain to those of another one.
struct ChainConversion
{
    TransformChain source;
    TransformChain destination;
    KVdRotationOrder sourceOrder;
    KVdRotationOrder destinationOrder;

    Transform Convert(const Transform& pFrom) const
    {
        KgeRMatrix rotation;
        sourceOrder.V2M(rotation, pFrom.rotation);
        const KgeTMatrix translation(pFrom.translation);
        const KgeAMatrix total = source.Total(translation, rotation, KgeSMatrix(pFrom.scaling));
        // A flattened object still has a rotation, which its total matrix does not.
        KgeSVector whole = pFrom.scaling;
        for (int i = 0; i < kAxes; ++i) {
            whole[i] = whole[i] == 0.0 ? 1.0 : whole[i];
        }
        Transform to;
        if (whole == pFrom.scaling) {
            destination.Extract(to.scaling, to.rotation, to.translation, total);
        } else {
            const KgeAMatrix unflattened = source.Total(translation, rotation, KgeSMatrix(whole));
            destination.Extract(to.scaling, to.rotation, to.translation, total, &unflattened);
        }
        if (destinationOrder.GetOrder() != 0) {
            destinationOrder.M2V(to.rotation, EulerToMatrix(to.rotation));
        }
        return to;
    }
};

// A user key gets the slopes that an automatic one would have there.
void SetUserSlopes(Glissa& pCurve)
{
    for (int i = 0; i < pCurve.KeyGetCount(); ++i) {
        if (IsCubicUser(pCurve, i)) {
            double left = 0.0;
            double right = 0.0;
            GLISSA_ComputeBezierFromAutoForKey(left, right, 0.0, 0.0, &pCurve, i);
            pCurve.KeySetRightDerivative(i, static_cast<float>(right));
            pCurve.KeySetLeftDerivative(i, static_cast<float>(left));
        }
    }
}
}  // namespace

void GlissaFilterMatrixConverter::Cell::Reset()
{
    std::fill_n(mIsIdentity, kMatrixCount, true);
    mAllIdentity = true;
}

void GlissaFilterMatrixConverter::Cell::InverseMatrices()
{
    for (int i = 0; i < kMatrixCount; ++i) {
        bool isSingular = false;
        const KgeAMatrix inverse = Effective(i).Inverse(&isSingular);
        if (!mIsIdentity[i] && !isSingular) {
            mMatrix[i] = inverse;
        }
    }
}

GlissaFilterMatrixConverter::GlissaFilterMatrixConverter()
    : KClassFrame("FCurve Matrix Converter", kErrors, 4)
{
    GlissaFilterMatrixConverter::Reset();
}

void GlissaFilterMatrixConverter::Reset()
{
    mSource.Reset();
    mDest.Reset();
    mResamplingOnFrameRateMultiple = true;
    mApplyUnroll = true;
    mApplyConstantKeyReducer = true;
    mGenerateLastKeyExactlyAtEndTime = true;
    mResampleTranslation = true;
    GlissaFilter::Reset();
}

void GlissaFilterMatrixConverter::GetSourceMatrix(EMatrixID pId, KgeAMatrix& pMatrix) const
{
    CORVEKIT_ASSERT(pId >= 0 && pId < kMatrixCount);
    pMatrix = mSource.mMatrix[pId];
}

void GlissaFilterMatrixConverter::SetSourceMatrix(EMatrixID pId, const KgeAMatrix& pMatrix)
{
    SetMatrix(mSource, pId, pMatrix);
}

void GlissaFilterMatrixConverter::GetDestMatrix(EMatrixID pId, KgeAMatrix& pMatrix) const
{
    CORVEKIT_ASSERT(pId >= 0 && pId < kMatrixCount);
    pMatrix = mDest.mMatrix[pId];
}

void GlissaFilterMatrixConverter::SetDestMatrix(EMatrixID pId, const KgeAMatrix& pMatrix)
{
    SetMatrix(mDest, pId, pMatrix);
}

bool GlissaFilterMatrixConverter::Apply(Glissa&)
{
    return Refuse(kInvalidApply, "MatrixConverter, invalid apply method.");
}

bool GlissaFilterMatrixConverter::Apply(Glissa**, int)
{
    return Refuse(kInvalidApply, "MatrixConverter, invalid apply method.");
}

bool GlissaFilterMatrixConverter::MatricesEquivalence(const KgeAMatrix* pLeft,
                                                      const KgeAMatrix* pRight) const
{
    return std::equal(pLeft, pLeft + kMatrixCount, pRight, AreNear);
}

bool GlissaFilterMatrixConverter::HasSameChain() const
{
    KgeAMatrix source[kMatrixCount];
    KgeAMatrix destination[kMatrixCount];
    for (int i = 0; i < kMatrixCount; ++i) {
        source[i] = mSource.Effective(i);
        destination[i] = mDest.Effective(i);
    }
    return mSrcRotateOrder == mDestRotateOrder && MatricesEquivalence(source, destination);
}

// Why the matrices are refused, or null.
const char* GlissaFilterMatrixConverter::FindFault() const
{
    bool haveInverses = HasInverse(mSource.Effective(eMatrixRotationPivot)) &&
                        HasInverse(mSource.Effective(eMatrixScalingPivot));
    for (int i = 0; i < kMatrixCount; ++i) {
        if (!IsFinite(mSource.Effective(i)) || !IsFinite(mDest.Effective(i))) {
            return "MatrixConverter, A matrix is not finite.";
        }
        haveInverses = haveInverses && HasInverse(mDest.Effective(i));
    }
    return haveInverses ? nullptr : "MatrixConverter, A matrix has no inverse.";
}

bool GlissaFilterMatrixConverter::Apply(GlissaNode& pNode, bool)
{
    if (pNode.IsNodeLocked()) {
        return false;
    }
    const bool isSame = HasSameChain();
    if (!isSame) {
        if (const char* const fault = FindFault()) {
            return Refuse(eFilterUnchanged, fault);
        }
    }
    const KOperation operation;
    if (isSame) {
        Refuse(eFilterUnchanged, "MatrixConverter, No key were changed by filter.");
    } else {
        // Put back as they were, without the rounding of a second inversion.
        struct Restored
        {
            ~Restored() { cell = before; }
            Cell& cell;
            Cell before;
        } const restored{mDest, mDest};
        mDest.InverseMatrices();
        if (!DoConvert(pNode)) {
            return false;
        }
    }
    CleanUp(pNode, !isSame);
    return !isSame;
}

void GlissaFilterMatrixConverter::CleanUp(GlissaNode& pNode, bool pIsConverted)
{
    GlissaNode* const rotation = pNode.FindRecursive("R");
    Glissa* curves[kAxes];
    if (mApplyUnroll && rotation && FindRotationCurves(*rotation, curves)) {
        const KeptOnFailure kept(curves, kAxes);
        GlissaFilterUnroll unroll;
        unroll.Apply(*rotation, true);
        for (Glissa* const each : curves) {
            // The slopes at the jumps that were removed are those of the jumps.
            if (pIsConverted && !each->IsLocked()) {
                SetUserSlopes(*each);
            }
        }
        GlissaFilterResample resample;
        resample.SetIntelligentMode(true);
        resample.SetPeriodTime(mResamplingPeriod);
        resample.SetKeysOnFrame(mResamplingOnFrameRateMultiple);
        resample.Apply(*rotation, true);
    }
    if (mApplyConstantKeyReducer) {
        GlissaFilterConstantKeyReducer reducer;
        reducer.Apply(pNode, true);
    }
    pNode.CandidateClear(0, true);
}

void GlissaFilterMatrixConverter::ComputeTotalMatrix(KgeAMatrix& pTotal, const Cell& pCell,
                                                     const KgeAMatrix& pT, const KgeAMatrix& pR,
                                                     const KgeAMatrix& pS)
{
    const TransformChain chain(pCell);
    pTotal = chain.Total(pT, pR, pS);
    mResampleTranslation = mResampleTranslation || chain.MovesWithRotationOrScaling();
}

void GlissaFilterMatrixConverter::ExtractTransforms(KgeSVector& pS, KgeRVector& pR, KgeTVector& pT,
                                                    const KgeAMatrix& pTotal, const Cell& pCell)
{
    Cell cell = pCell;
    cell.InverseMatrices();
    TransformChain(cell).Extract(pS, pR, pT, pTotal);
}

void GlissaFilterMatrixConverter::FindTimeInterval(KTime& pStart, KTime& pStop, Glissa* const* pT,
                                                   Glissa* const* pR, Glissa* const* pS)
{
    Glissa* curves[kCurves];
    std::copy_n(pS, kAxes, std::copy_n(pR, kAxes, std::copy_n(pT, kAxes, curves)));
    const KTimeSpan span = SpanOfKeys(curves, kCurves);
    pStop = std::min(span.GetStop(), GetStopTime());
    pStart = std::max(std::min(span.GetStart(), pStop), GetStartTime());
    if (mResamplingOnFrameRateMultiple && mResamplingPeriod >= KTime(1)) {
        const KTime rest(pStart.Get() % mResamplingPeriod.Get());
        pStart = pStart - (rest < KTime() ? rest + mResamplingPeriod : rest);
    }
}

void GlissaFilterMatrixConverter::FillInterpAndTangeant(KTime pTime, Glissa* const* pCurves,
                                                        unsigned int* pInterpolation,
                                                        unsigned int* pTangentMode)
{
    for (int i = 0; i < kAxes; ++i) {
        pInterpolation[i] = eInterpolationCubic;
        pTangentMode[i] = eTangentAuto;
        // In front of the first key the place is -0.5, which is cut to 0.
        const int index = static_cast<int>(pCurves[i]->KeyFind(pTime, nullptr));
        if (index < 0) {
            continue;
        }
        const unsigned interpolation = pCurves[i]->KeyGetInterpolation(index);
        const unsigned kind = pCurves[i]->KeyGetTangeantMode(index, false);
        const bool isKnown = kind == eTangentAuto || kind == eTangentAutoBreak ||
                             kind == eTangentTCB || kind == eTangentUser ||
                             kind == eTangentUserBreak;
        if (interpolation == eInterpolationConstant) {
            pInterpolation[i] = interpolation;
            pTangentMode[i] = pCurves[i]->KeyGetConstantMode(index);
        } else if (interpolation != eInterpolationCustom) {
            pInterpolation[i] = interpolation;
            pTangentMode[i] = isKnown ? kind : static_cast<unsigned>(eTangentAuto);
        }
    }
}

void GlissaFilterMatrixConverter::SetDestFCurve(Glissa* const* pCurves, int pIndex, KTime pTime,
                                                const double* pValues,
                                                const unsigned int* pInterpolation,
                                                const unsigned int* pTangentMode)
{
    for (int i = 0; i < kAxes; ++i) {
        CORVEKIT_ASSERT(pIndex >= 0 && pIndex <= pCurves[i]->KeyGetCount());
        const float value = static_cast<float>(pValues[i]);
        const unsigned mode = pTangentMode[i] & GlissaKeyAttributes::kTangentModeMask;
        // What most samples are, without an attribute block of their own.
        if (pIndex == pCurves[i]->KeyGetCount() && pInterpolation[i] == eInterpolationCubic &&
            mode == eTangentAuto) {
            pCurves[i]->KeyAppendFast(pTime, value);
        } else {
            pCurves[i]->KeySet(pIndex, pTime, value, pInterpolation[i], mode);
        }
    }
}

bool GlissaFilterMatrixConverter::DoConvert(GlissaNode& pNode)
{
    const KOperation operation;
    TransformCurves old{};
    if (!old.FindBelow(pNode)) {
        return Refuse(kMissingCurve, "MatrixConverter, Missing curve.");
    }
    const bool hasKeys = std::any_of(
        old.all, old.all + kCurves, [](const Glissa* pCurve) { return pCurve->KeyGetCount() > 0; });
    KTime start;
    KTime stop;
    FindTimeInterval(start, stop, old.Translation(), old.Rotation(), old.Scaling());
    const int samples = SampleGrid(start, stop, mResamplingPeriod).count;
    // Before it is rounded down.
    if (hasKeys && GetStartTime() > stop) {
        return Refuse(eFilterUnchanged, "MatrixConverter, The start lies behind the stop.");
    }
    if (hasKeys && samples == 0) {
        return Refuse(eFilterUnchanged, "MatrixConverter, The resampling period is out of range.");
    }

    Cell destination = mDest;
    destination.InverseMatrices();
    const ChainConversion conversion{TransformChain(mSource), TransformChain(destination),
                                     KVdRotationOrder(mSrcRotateOrder),
                                     KVdRotationOrder(mDestRotateOrder)};
    mResampleTranslation = mResampleTranslation || conversion.source.MovesWithRotationOrScaling();

    ScratchCurve owned[kCurves];
    TransformCurves made{};
    for (int i = 0; i < kCurves; ++i) {
        owned[i].reset(GlissaCreate());
        made.all[i] = owned[i].get();
        made.all[i]->CopyFrom(*old.all[i], false);
    }
    const Transform defaults = conversion.Convert(old.Defaults());
    for (int i = 0; i < kAxes; ++i) {
        made.Translation()[i]->SetValue(static_cast<float>(defaults.translation[i]));
        made.Rotation()[i]->SetValue(static_cast<float>(defaults.rotation[i]));
        made.Scaling()[i]->SetValue(static_cast<float>(defaults.scaling[i]));
    }

    if (hasKeys) {
        for (Glissa* curve : made.all) {
            curve->ResizeKeyBuffer(samples + 1, false);
        }
        TransformSampler sampler(old);
        int index = 0;
        const auto addKey = [&](KTime pTime) {
            const Transform values = conversion.Convert(sampler.At(pTime));
            const double* const numbers[] = {values.translation.Data(), values.rotation.Data(),
                                             values.scaling.Data()};
            for (int i = 0; i < kAxes; ++i) {
                unsigned int interpolation[kAxes];
                unsigned int tangentMode[kAxes];
                FillInterpAndTangeant(pTime, old.all + i * kAxes, interpolation, tangentMode);
                SetDestFCurve(made.all + i * kAxes, index, pTime, numbers[i], interpolation,
                              tangentMode);
            }
            ++index;
        };
        const KTime leastStep =
            KTime::FromSeconds(mResamplingPeriod.GetSecondDouble() * kLeastLastStep);
        KTime time = start;
        for (; time < stop - leastStep; time += mResamplingPeriod) {
            addKey(time);
        }
        addKey(mGenerateLastKeyExactlyAtEndTime ? stop : time);
        for (Glissa* curve : made.all) {
            SetUserSlopes(*curve);
        }
    }

    for (int i = mResampleTranslation ? 0 : kAxes; i < kCurves; ++i) {
        if (!old.leaves[i]->IsNodeLocked()) {
            old.leaves[i]->FCurveReplace(owned[i].release());
        }
    }
    old.rotationNode->SetRotationOrder(conversion.destinationOrder.GetOrder());
    return true;
}
