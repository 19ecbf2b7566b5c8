// Copyright (c) 2026 The glissa authors
// SPDX-License-Identifier: MIT

// From a wanted total to what one layer must hold: the layers above and below it are undone. Then
// to pending values in that layer's curves, and to keys. A time from outside goes through the
// node's warp once, at the entrance; candidate times are warped ones.

#include "corvekit/event/operation.h"
#include "corvekit/math/rotation_order.h"
#include "glissa/curve/curve.h"
#include "glissa/node/node_state.h"

#include <algorithm>
#include <cmath>
#include <functional>
#include <limits>

namespace
{
constexpr int kEveryLayer = std::numeric_limits<int>::max();
constexpr double kNoPassthroughWeight = 0.001;

KgeRMatrix MatrixOf(const double* pAngles, const KVdRotationOrder& pOrder)
{
    KgeRMatrix matrix;
    pOrder.V2M(matrix, KgeRVector(pAngles));
    return matrix;
}

}  // namespace

void GlissaNode::ComputeCandidateForLayer(double* pResult, double* pTotal, KTime pTime, int pId,
                                          int*)
{
    GlissaNode* base = mState->mObjectLayer;
    FindShare(pResult, pTotal, base ? base->WarpedTime(pTime, false) : pTime, pId);
}

void GlissaNode::FindShare(double* pResult, const double* pTotal, KTime pTime, int pId)
{
    CORVEKIT_ASSERT(pResult && pTotal && IsChannel());
    GlissaNode* layer = LayerGet(pId);
    GlissaNode* base = mState->mObjectLayer ? mState->mObjectLayer : this;
    const int count = std::min(GetValueCount(), kNodeZeroValues);
    const auto evaluate = [this, base, pTime](double* pValues, int pExcludedId, int pFirstId,
                                              int pLastId) {
        std::fill_n(pValues, kNodeZeroValues, 0.0);
        GetZeroValues(pValues);
        base->EvaluatePart(pValues, pTime, pExcludedId, pFirstId, pLastId);
    };
    double others[kNodeZeroValues];
    int type = (layer ? layer : this)->GetLayerType();
    if (type == eLayerTypeRotation && count < 3) {
        type = eLayerTypeRotationByChannel;  // as they are blended
    }
    switch (type) {
    case eLayerTypeValue:
    case eLayerTypeVector:
    case eLayerTypeRotationByChannel:
        evaluate(others, pId, -1, kEveryLayer);
        std::transform(pTotal, pTotal + count, others, pResult, std::minus<>());
        break;
    case eLayerTypeScaling:
        evaluate(others, pId, -1, kEveryLayer);
        // What the others bring to nothing, no share can bring back: it rests.
        std::transform(pTotal, pTotal + count, others, pResult, [](double pWhole, double pOthers) {
            return pOthers != 0.0 ? pWhole / pOthers : 1.0;
        });
        break;
    case eLayerTypeRotation: {
        const KVdRotationOrder order(mState->mRotationOrder);
        evaluate(others, -1, pId + 1, kEveryLayer);
        KgeRMatrix wanted = MatrixOf(pTotal, order) * MatrixOf(others, order).Transpose();
        if (layer && layer->GetLayerInfo().GetLayerMode() != eLayerModeOverride) {
            const GlissaLayerInfo& info = layer->GetLayerInfo();
            if (info.GetLayerMode() == eLayerModeOverridePassthrough &&
                std::fabs(info.GetWeight(pTime)) <= kNoPassthroughWeight) {
                layer->GetZeroValues(others);
            } else {
                evaluate(others, -1, 0, pId - 1);
            }
            wanted = MatrixOf(others, order).Transpose() * wanted;
        }
        KgeRVector angles;
        order.M2V(angles, wanted);
        std::copy_n(angles.Data(), 3, pResult);
        std::copy(pTotal + 3, pTotal + count, pResult + 3);
        break;
    }
    default:
        std::copy_n(pTotal, count, pResult);
        break;
    }
}

double* GlissaNode::CandidateSet(KTime pTime, double* pValues, const GlissaLayerInfo& pInfo, int)
{
    CORVEKIT_ASSERT(pValues);
    const KOperation operation;
    const GlissaLayerInfo info = GetCorrectLayerInfo(pInfo);
    if (info.IsLocked() || GetLayerID() != 0) {
        return pValues;
    }
    const KTime time = WarpedTime(pTime, true);
    const bool is_channel = IsChannel();
    if (is_channel) {
        GiveKeylessChannels(time, pValues, info);
    }
    SetSpecificCandidateMethod(eCandidateTotal);
    SetTotalCandidateMethod(eCandidateTotal);
    mState->mCandidateTime = time;
    if (mState->mCurve || mState->mChildren.IsEmpty()) {
        mState->mTotalCandidate[0] = static_cast<float>(pValues[0]);
        return pValues + 1;
    }
    double* running = pValues;
    for (int i = 0; i < GetCount(); ++i) {
        if (i < kNodeLayeredValues) {
            mState->mTotalCandidate[i] = static_cast<float>(*running);
        }
        running = Get(i)->CandidateSet(time, running, is_channel ? GlissaLayerInfo::Base : info);
    }
    return running;
}

// A channel without a key in any layer takes its share as the default value of the layer at once:
// it shows without a key.
void GlissaNode::GiveKeylessChannels(KTime pTime, double* pValues, const GlissaLayerInfo& pInfo)
{
    const int count = std::min(GetValueCount(), kNodeZeroValues);
    const bool is_leaf = mState->mCurve != nullptr;
    bool keyless[kNodeZeroValues] = {};
    if (is_leaf) {
        keyless[0] = !mState->mParent && KeyGetCount(true) == 0;
    } else {
        for (int i = 0; i < count; ++i) {
            keyless[i] = KeyGetCountOnChild(i) == 0;
        }
    }
    if (std::none_of(keyless, keyless + count, [](bool pKeyless) { return pKeyless; })) {
        return;
    }
    const int id = pInfo.GetLayerID();
    GlissaNode* layer = LayerGet(id);
    if (!layer) {
        layer = CreateLayerAt(pInfo);
    }
    if (!layer) {
        return;
    }
    double share[kNodeZeroValues] = {};
    FindShare(share, pValues, pTime, id);
    for (int i = 0; i < count; ++i) {
        GlissaNode* channel = is_leaf ? layer : layer->Get(i);
        Glissa* curve = keyless[i] && channel ? channel->FCurveGet() : nullptr;
        if (curve) {
            curve->SetValue(static_cast<float>(share[i]));
            curve->CandidateClear();
        }
    }
}

double* GlissaNode::CandidateSetSpecificLayer(KTime pTime, double* pValues,
                                              const GlissaLayerInfo& pInfo, bool pResolve)
{
    const KOperation operation;
    const GlissaLayerInfo info = GetCorrectLayerInfo(pInfo);
    if (info.IsLocked()) {
        return pValues;
    }
    return SetInLayer(WarpedTime(pTime, true), pValues, info, pResolve);
}

double* GlissaNode::SetInLayer(KTime pTime, double* pValues, const GlissaLayerInfo& pInfo,
                               bool pResolve)
{
    CORVEKIT_ASSERT(pValues);
    SetSpecificCandidateMethod(eCandidateSpecific);
    SetTotalCandidateMethod(eCandidateSpecific);
    const bool hands_on = !IsBlended() && !IsChannel();
    if (GetLayerID() != pInfo.GetLayerID() && !hands_on) {
        GlissaNode* next = mState->mNextLayer;
        if (!next || next->GetLayerID() > pInfo.GetLayerID()) {
            next = CreateLayerAt(pInfo);
        }
        return next ? next->CandidateSetSpecificLayer(pTime, pValues, pInfo, pResolve) : pValues;
    }
    if (pResolve && !hands_on) {
        ResolveWeightedValue(pValues, static_cast<double>(ShareOfTotal(pTime)));
    }
    if (Glissa* curve = mState->mCurve; curve && !curve->IsLocked()) {
        curve->CandidateSet(pTime, pValues[0]);
        if (curve->KeyGetCount() == 0) {
            curve->SetValue(static_cast<float>(pValues[0]), false);
        }
    }
    if (mState->mCurve || mState->mChildren.IsEmpty()) {
        return pValues + 1;
    }
    double* running = pValues;
    for (GlissaNode* child : mState->mChildren) {
        // A leaf hands its value on without a weight, which has been taken out here.
        const bool is_weighted = !child->mState->mCurve || !child->mState->mParent;
        const bool resolves = hands_on ? pResolve : is_weighted;
        running = child->CandidateSetSpecificLayer(pTime, running, pInfo, resolves);
    }
    return running;
}

// How much of the layer reaches the total: its weight, and what the mixing layers above it let
// through.
float GlissaNode::ShareOfTotal(KTime pTime) const
{
    auto share = static_cast<float>(mState->mLayer.GetWeight(pTime));
    for (const GlissaNode* node = mState->mNextLayer; node; node = node->LayerGet()) {
        const GlissaLayerInfo& info = node->mState->mLayer;
        if (info.GetLayerMode() == eLayerModeOverridePassthrough && !node->IsNodeMuted()) {
            share = static_cast<float>((1.0 - info.GetWeight(pTime)) * static_cast<double>(share));
        }
    }
    return share;
}

void GlissaNode::FromTotalCandidateToSpecificCandidate(const GlissaLayerInfo& pInfo)
{
    const KOperation operation;
    if (GetLayerID() != 0 || !IsCandidate() || GetSpecificCandidateMethod() != eCandidateTotal) {
        return;
    }
    const GlissaLayerInfo info = GetCorrectLayerInfo(pInfo);
    if (!IsChannel()) {
        for (GlissaNode* child : mState->mChildren) {
            child->FromTotalCandidateToSpecificCandidate(info);
        }
    } else if (!info.IsLocked()) {
        double total[kNodeZeroValues] = {};
        double share[kNodeZeroValues] = {};
        TakeTotal(total);
        FindShare(share, total, mState->mCandidateTime, info.GetLayerID());
        SetInLayer(mState->mCandidateTime, share, info, info.GetLayerID() != 0 || IsBlended());
    }
    SetSpecificCandidateMethod(eCandidateTotalAndSpecific);
    SetTotalCandidateMethod(eCandidateTotal);
}

double* GlissaNode::CandidateGetSpecificLayer(double* pValues, KTime& pTime,
                                              const GlissaLayerInfo& pInfo)
{
    const KOperation operation;
    const GlissaLayerInfo info = GetCorrectLayerInfo(pInfo);
    const bool is_layer = GetLayerID() == info.GetLayerID();
    GlissaNode* next = mState->mNextLayer;
    if (GetSpecificCandidateMethod() == eCandidateTotal) {
        if (is_layer) {
            FromTotalCandidateToSpecificCandidate(info);
        } else if (!next) {
            double total[kNodeZeroValues] = {};
            TakeTotal(total);
            pTime = mState->mCandidateTime;
            FindShare(pValues, total, pTime, info.GetLayerID());
            return pValues;
        }
    }
    if (is_layer) {
        return CandidateGetWithTime(pValues, pTime);
    }
    if (next && next->GetLayerID() <= info.GetLayerID()) {
        return next->CandidateGetSpecificLayer(pValues, pTime, info);
    }
    GetZeroValues(pValues);
    return nullptr;
}

bool GlissaNode::IsEulerRotation() const
{
    const bool turns = IsRotationLayerType() ||
                       (GetDataType() == KDataTypeRotation && GetLayerType() == eLayerTypeVector &&
                        mState->mChildren.GetCount() == 3);
    return turns && !GetUseQuaternion();
}

// Brings angles to the form that lies nearest to what this layer holds, so that keys do not jump by
// a turn. pIsShare  the angles are a share of a total with the layer's weight in it.
void GlissaNode::MakeNearest(double* pAngles, KTime pTime, int* pHint, bool pIsShare)
{
    CORVEKIT_ASSERT(pAngles && GetCount() >= 3);
    double held[kNodeZeroValues] = {};
    EvaluateLayer(held, pTime, pHint, !pIsShare);
    if (pIsShare) {
        // The flipped form is the same rotation, but not the same share of a sum of angles.
        for (int i = 0; i < 3; ++i) {
            pAngles[i] -= 360.0 * std::round((pAngles[i] - held[i]) / 360.0);
        }
        return;
    }
    KgeRVector nearest;
    KVdRotationOrder(mState->mRotationOrder).V2VRef(nearest, KgeRVector(pAngles), KgeRVector(held));
    std::copy_n(nearest.Data(), 3, pAngles);
}

bool GlissaNode::CandidateKey(int* pLast, const GlissaLayerInfo& pInfo, bool* pMask, bool pZeroKey,
                              int pInterpolation, int pTangentMode, int pContinuity,
                              bool pTangentOverride, KTime pTime, double pTolerance)
{
    const KOperation operation;
    const GlissaLayerInfo info = GetCorrectLayerInfo(pInfo);
    const int id = info.GetLayerID();
    if (info.IsLocked()) {
        return true;
    }
    const KTime no_time = KTime::Infinite();
    GlissaNode* base = mState->mObjectLayer;
    const KTime given = pTime != no_time && base ? base->WarpedTime(pTime, true) : pTime;
    if (!IsChannel()) {
        for (int i = 0; i < GetCount(); ++i) {
            if (!pMask || pMask[i]) {
                Get(i)->CandidateKey(pLast, info, pMask ? &pMask[i] : nullptr, pZeroKey,
                                     pInterpolation, pTangentMode, pContinuity, pTangentOverride,
                                     given, pTolerance);
            }
        }
        CandidateClear(0, true);
        return true;
    }
    double wanted[kNodeZeroValues] = {};
    KTime pending = no_time;
    if (IsCandidate()) {
        pending = mState->mCandidateTime;
        TakeTotal(wanted);
    }
    const KTime time = pTime != no_time ? given : pending;
    if (pTime != no_time && pending == no_time) {
        // What is seen now is what is wanted, and from here on it is pending as a total.
        int hint = 0;
        CandidateEvaluate(wanted, pTime, &hint);
        pending = time;
    }
    const auto key = [&](double* pValues, bool pResolve, bool pNearest) {
        GlissaNode* layer = LayerGet(id);
        bool resolves = pResolve;
        if (pNearest && layer && GetCount() >= 3) {
            // A sum of angles is placed before the weight is taken out, a rotation after it: taking
            // a weight out of a rotation leaves no turns.
            const bool is_sum = layer->GetLayerType() != eLayerTypeRotation && IsBlended();
            if (!is_sum && pResolve) {
                layer->ResolveWeightedValue(pValues,
                                            static_cast<double>(layer->ShareOfTotal(time)));
                resolves = false;
            }
            layer->MakeNearest(pValues, time, pLast, is_sum);
        }
        SetInLayer(time, pValues, info, resolves);
        CandidateKeySpecificLayer(pLast, id, pMask, pInterpolation, pTangentMode, pContinuity,
                                  pTangentOverride, time, pTolerance);
    };
    // As it stands now: evaluation may have changed it.
    const int method = GetSpecificCandidateMethod();
    const bool has_total = (method & eCandidateTotal) != 0;
    if (pending == no_time) {
        // Nothing is pending, and there is no time to take what is seen.
    } else if (pZeroKey) {
        double zero[kNodeZeroValues] = {};
        GetZeroValues(zero);
        key(zero, true, IsRotationLayerType() && has_total);
    } else {
        GlissaNode* layer = GetCorrectLayerAndCreateIfMissing(info);
        double share[kNodeZeroValues] = {};
        FindShare(share, wanted, time, id);
        const bool turns = IsEulerRotation();
        const bool is_held = layer && (turns ? !has_total : method == eCandidateSpecific);
        if (is_held) {
            CandidateEvaluateSpecificLayer(share, time, id, pLast);
        }
        // What the layer holds already has no weight in it to take out, nor has a base alone.
        key(share, !is_held && (id != 0 || IsBlended()), turns && has_total);
    }
    if (base) {
        base->CandidateClear(0, true);
    }
    return true;
}
