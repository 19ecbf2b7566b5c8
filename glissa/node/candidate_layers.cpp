// Copyright (c) 2026 The glissa authors
// SPDX-License-Identifier: MIT

// From a wanted total to the values of one layer: the effect of the layers above and below it is
// taken out. Then to pending values in the curves of that layer, and to keys. The warp of the node
// is applied once, in the public operations; candidate times are warped.

#include "corvekit/event/operation.h"
#include "glissa/curve/curve.h"
#include "glissa/node/evaluation.h"
#include "glissa/node/running_rotation.h"
#include "glissa/node/structure.h"
#include "glissa/node/values.h"

#include <algorithm>
#include <cmath>
#include <functional>
#include <limits>
#include <vector>

namespace
{
constexpr int kEveryLayer = std::numeric_limits<int>::max();
constexpr double kNoPassthroughWeight = 0.001;
const KTime kNoTime = KTime::Infinite();

// What a layer must hold for the blended values of a channel to be pTotal.
void FindShare(GlissaNode& pNode, double* pResult, const double* pTotal, KTime pTime, int pId)
{
    const GlissaNodeState& state = StateOf(pNode);
    CORVEKIT_ASSERT(pResult && pTotal && IsChannel(state));
    GlissaNode* const layer = pNode.LayerGet(pId);
    GlissaNode& base = state.mObjectLayer ? *state.mObjectLayer : pNode;
    const int count = BlendedCount(state);
    const auto evaluate = [&](double* pValues, int pExcludedId, int pFirstId, int pLastId) {
        std::fill_n(pValues, kNodeZeroValues, 0.0);
        WriteZeroValues(state, pValues);
        EvaluatePart(base, pValues, pTime, pExcludedId, pFirstId, pLastId);
    };
    double others[kNodeZeroValues];
    int type = (layer ? layer : &pNode)->GetLayerType();
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
        // Where the other layers scale to 0, no share can reach the total: it becomes 1.
        std::transform(pTotal, pTotal + count, others, pResult, [](double pWhole, double pOthers) {
            return pOthers != 0.0 ? pWhole / pOthers : 1.0;
        });
        break;
    case eLayerTypeRotation: {
        const KVdRotationOrder order(state.mRotationOrder);
        evaluate(others, -1, pId + 1, kEveryLayer);
        KgeRMatrix wanted =
            RotationMatrix(pTotal, order) * RotationMatrix(others, order).Transpose();
        if (layer && layer->GetLayerInfo().GetLayerMode() != eLayerModeOverride) {
            const GlissaLayerInfo& info = layer->GetLayerInfo();
            if (info.GetLayerMode() == eLayerModeOverridePassthrough &&
                std::fabs(info.GetWeight(pTime)) <= kNoPassthroughWeight) {
                layer->GetZeroValues(others);
            } else {
                evaluate(others, -1, 0, pId - 1);
            }
            wanted = RotationMatrix(others, order).Transpose() * wanted;
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

// A channel without a key in any layer takes its share as the default value of the layer, so that
// it shows without a key.
void SetKeylessValues(GlissaNode& pNode, KTime pTime, const double* pTotal,
                      const GlissaLayerInfo& pInfo)
{
    const GlissaNodeState& state = StateOf(pNode);
    const int count = BlendedCount(state);
    const bool isLeaf = state.mCurve != nullptr;
    bool keyless[kNodeZeroValues] = {};
    if (isLeaf) {
        keyless[0] = !state.mParent && pNode.KeyGetCount(true) == 0;
    } else {
        for (int i = 0; i < count; ++i) {
            keyless[i] = pNode.KeyGetCountOnChild(i) == 0;
        }
    }
    if (std::none_of(keyless, keyless + count, [](bool pKeyless) { return pKeyless; })) {
        return;
    }
    const int id = pInfo.GetLayerID();
    GlissaNode* layer = pNode.LayerGet(id);
    if (!layer) {
        layer = pNode.CreateLayerAt(pInfo);
    }
    if (!layer) {
        return;
    }
    double share[kNodeZeroValues] = {};
    FindShare(pNode, share, pTotal, pTime, id);
    for (int i = 0; i < count; ++i) {
        GlissaNode* channel = isLeaf ? layer : layer->Get(i);
        Glissa* curve = keyless[i] && channel ? channel->FCurveGet() : nullptr;
        if (curve) {
            curve->SetValue(static_cast<float>(share[i]));
            curve->CandidateClear();
        }
    }
}

// The factor between the values of a layer and their part of the total: the weight of the layer,
// and what the passthrough layers above it leave of the values below them.
double WeightInTotal(const GlissaNode& pLayer, KTime pTime)
{
    CORVEKIT_ASSERT(IsChainInOrder(&pLayer));
    auto weight = static_cast<float>(pLayer.GetLayerInfo().GetWeight(pTime));
    for (const GlissaNode* node = pLayer.LayerGet(); node; node = node->LayerGet()) {
        const GlissaLayerInfo& info = node->GetLayerInfo();
        if (info.GetLayerMode() == eLayerModeOverridePassthrough && !node->IsNodeMuted()) {
            weight =
                static_cast<float>((1.0 - info.GetWeight(pTime)) * static_cast<double>(weight));
        }
    }
    return static_cast<double>(weight);
}

// The values that callers have for a node of a layer: those of its base.
int GivenCount(const GlissaNodeState& pState)
{
    return WidthOf(pState.mObjectLayer ? StateOf(*pState.mObjectLayer) : pState);
}

// Takes the weight of a layer out of its values, in place.
void ResolveGiven(GlissaNode& pLayer, double* pValues, KTime pTime)
{
    const double weight = WeightInTotal(pLayer, pTime);
    const int given = GivenCount(StateOf(pLayer));
    const int count = StateOf(pLayer).ValueCount();
    if (count <= given) {
        pLayer.ResolveWeightedValue(pValues, weight);
        return;
    }
    // A layer may have children that its base lacks.
    std::vector<double> values(static_cast<std::size_t>(count));
    std::copy_n(pValues, given, values.begin());
    pLayer.ResolveWeightedValue(values.data(), weight);
    std::copy_n(values.begin(), given, pValues);
}

// Sets the pending values of a layer, which is made where it is missing. With pResolve its weight
// is taken out of them, in place. The time is warped already.
double* SetInLayer(GlissaNode& pNode, KTime pTime, double* pValues, const GlissaLayerInfo& pInfo,
                   bool pResolve)
{
    CORVEKIT_ASSERT(pValues);
    GlissaNodeState& state = StateOf(pNode);
    state.SetSpecificCandidateMethod(eCandidateSpecific);
    state.SetTotalCandidateMethod(eCandidateSpecific);
    // A branch of channels leaves the layers to these.
    const bool isBranch = !state.IsBlended() && !IsChannel(state);
    if (pNode.GetLayerID() != pInfo.GetLayerID() && !isBranch) {
        GlissaNode* next = pNode.LayerGet();
        if (!next || next->GetLayerID() > pInfo.GetLayerID()) {
            next = pNode.CreateLayerAt(pInfo);
        }
        return next ? next->CandidateSetSpecificLayer(pTime, pValues, pInfo, pResolve) : pValues;
    }
    if (pResolve && !isBranch) {
        ResolveGiven(pNode, pValues, pTime);
    }
    if (Glissa* curve = state.mCurve; curve && !curve->IsLocked()) {
        curve->CandidateSet(pTime, pValues[0]);
        if (curve->KeyGetCount() == 0) {
            curve->SetValue(static_cast<float>(pValues[0]), false);
        }
    }
    if (state.mCurve || state.mChildren.IsEmpty()) {
        return pValues + 1;
    }
    double* running = pValues;
    const double* const end = pValues + GivenCount(state);
    for (GlissaNode* child : state.mChildren) {
        if (GivenCount(StateOf(*child)) > end - running) {
            break;
        }
        // The weight of a leaf with a parent has been taken out here.
        const GlissaNodeState& below = StateOf(*child);
        const bool isWeighted = !below.mCurve || !below.mParent;
        running = child->CandidateSetSpecificLayer(pTime, running, pInfo,
                                                   isBranch ? pResolve : isWeighted);
    }
    return running;
}

bool IsEulerRotation(const GlissaNode& pNode)
{
    const GlissaNodeState& state = StateOf(pNode);
    const bool turns = state.IsRotation() ||
                       (pNode.GetDataType() == KDataTypeRotation &&
                        state.LayerType() == eLayerTypeVector && state.mChildren.GetCount() == 3);
    return turns && !state.UsesQuaternion();
}

// Brings angles to the form that is nearest to the angles of a layer, so that its keys do not jump
// by a turn. pIsSum  the angles are a part of a sum, with the weight of the layer in it.
void MakeNearest(GlissaNode& pLayer, double* pAngles, KTime pTime, int* pHint, bool pIsSum)
{
    CORVEKIT_ASSERT(pAngles && WidthOf(StateOf(pLayer)) <= kNodeZeroValues);
    double held[kNodeZeroValues] = {};
    EvaluateLayer(pLayer, held, pTime, pHint, !pIsSum);
    if (pIsSum) {
        // The flipped form is the same rotation, but another part of a sum of angles.
        for (int i = 0; i < 3; ++i) {
            pAngles[i] -= 360.0 * std::round((pAngles[i] - held[i]) / 360.0);
        }
        return;
    }
    KgeRVector nearest;
    const KVdRotationOrder order(StateOf(pLayer).mRotationOrder);
    order.V2VRef(nearest, KgeRVector(pAngles), KgeRVector(held));
    std::copy_n(nearest.Data(), 3, pAngles);
}
}  // namespace

void GlissaNode::ComputeCandidateForLayer(double* pResult, double* pTotal, KTime pTime, int pId,
                                          int*)
{
    GlissaNode* base = mState->mObjectLayer;
    FindShare(*this, pResult, pTotal, base ? WarpedTime(*base, pTime, false) : pTime, pId);
}

double* GlissaNode::CandidateSet(KTime pTime, double* pValues, const GlissaLayerInfo& pInfo, int)
{
    CORVEKIT_ASSERT(pValues);
    const KOperation operation;
    const GlissaLayerInfo info = GetCorrectLayerInfo(pInfo);
    if (info.IsLocked() || GetLayerID() != 0) {
        return pValues;
    }
    const KTime time = WarpedTime(*this, pTime, true);
    const bool isChannel = IsChannel(*mState);
    if (isChannel) {
        SetKeylessValues(*this, time, pValues, info);
    }
    mState->SetSpecificCandidateMethod(eCandidateTotal);
    mState->SetTotalCandidateMethod(eCandidateTotal);
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
        running = Get(i)->CandidateSet(time, running, isChannel ? GlissaLayerInfo::Base : info);
    }
    return running;
}

double* GlissaNode::CandidateSetSpecificLayer(KTime pTime, double* pValues,
                                              const GlissaLayerInfo& pInfo, bool pResolve)
{
    const KOperation operation;
    const GlissaLayerInfo info = GetCorrectLayerInfo(pInfo);
    if (info.IsLocked()) {
        return pValues;
    }
    return SetInLayer(*this, WarpedTime(*this, pTime, true), pValues, info, pResolve);
}

void GlissaNode::FromTotalCandidateToSpecificCandidate(const GlissaLayerInfo& pInfo)
{
    const KOperation operation;
    if (GetLayerID() != 0 || !IsCandidate() || GetSpecificCandidateMethod() != eCandidateTotal) {
        return;
    }
    const GlissaLayerInfo info = GetCorrectLayerInfo(pInfo);
    if (!IsChannel(*mState)) {
        for (GlissaNode* child : mState->mChildren) {
            child->FromTotalCandidateToSpecificCandidate(info);
        }
    } else if (!info.IsLocked()) {
        double total[kNodeZeroValues] = {};
        double share[kNodeZeroValues] = {};
        ReadTotal(*mState, total);
        FindShare(*this, share, total, mState->mCandidateTime, info.GetLayerID());
        SetInLayer(*this, mState->mCandidateTime, share, info,
                   info.GetLayerID() != 0 || mState->IsBlended());
    }
    mState->SetSpecificCandidateMethod(eCandidateTotalAndSpecific);
    mState->SetTotalCandidateMethod(eCandidateTotal);
}

double* GlissaNode::CandidateGetSpecificLayer(double* pValues, KTime& pTime,
                                              const GlissaLayerInfo& pInfo)
{
    const KOperation operation;
    const GlissaLayerInfo info = GetCorrectLayerInfo(pInfo);
    const bool isLayer = GetLayerID() == info.GetLayerID();
    GlissaNode* next = mState->mNextLayer;
    if (GetSpecificCandidateMethod() == eCandidateTotal) {
        if (isLayer) {
            FromTotalCandidateToSpecificCandidate(info);
        } else if (!next) {
            double total[kNodeZeroValues] = {};
            ReadTotal(*mState, total);
            pTime = mState->mCandidateTime;
            FindShare(*this, pValues, total, pTime, info.GetLayerID());
            return pValues;
        }
    }
    if (isLayer) {
        return CandidateGetWithTime(pValues, pTime);
    }
    if (next && next->GetLayerID() <= info.GetLayerID()) {
        return next->CandidateGetSpecificLayer(pValues, pTime, info);
    }
    GetZeroValues(pValues);
    return nullptr;
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
    GlissaNode* base = mState->mObjectLayer;
    const KTime given = pTime != kNoTime && base ? WarpedTime(*base, pTime, true) : pTime;
    if (!IsChannel(*mState)) {
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
    const GlissaNode* const target = LayerGet(id);
    if (GivenCount(*mState) > kNodeZeroValues ||
        (target && WidthOf(StateOf(*target)) > kNodeZeroValues)) {
        // A chain that a host built: its base or this layer has more values than are blended.
        if (base) {
            base->CandidateClear(0, true);
        }
        return true;
    }
    double wanted[kNodeZeroValues] = {};
    KTime pending = kNoTime;
    if (IsCandidate()) {
        pending = mState->mCandidateTime;
        ReadTotal(*mState, wanted);
    }
    const KTime time = pTime != kNoTime ? given : pending;
    if (pTime != kNoTime && pending == kNoTime) {
        // The present values are the wanted ones. Their evaluation makes them a pending total.
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
            const bool isSum = layer->GetLayerType() != eLayerTypeRotation && mState->IsBlended();
            if (!isSum && pResolve) {
                ResolveGiven(*layer, pValues, time);
                resolves = false;
            }
            MakeNearest(*layer, pValues, time, pLast, isSum);
        }
        SetInLayer(*this, time, pValues, info, resolves);
        CandidateKeySpecificLayer(pLast, id, pMask, pInterpolation, pTangentMode, pContinuity,
                                  pTangentOverride, time, pTolerance);
    };
    // Read here since the evaluation above may have changed it.
    const int method = GetSpecificCandidateMethod();
    const bool hasTotal = (method & eCandidateTotal) != 0;
    if (pending == kNoTime) {
        // Nothing is pending, and there is no time at which to take the present values.
    } else if (pZeroKey) {
        double zero[kNodeZeroValues] = {};
        GetZeroValues(zero);
        key(zero, true, IsRotationLayerType() && hasTotal);
    } else {
        GlissaNode* layer = GetCorrectLayerAndCreateIfMissing(info);
        double share[kNodeZeroValues] = {};
        FindShare(*this, share, wanted, time, id);
        const bool turns = IsEulerRotation(*this);
        const bool isSpecific = layer && (turns ? !hasTotal : method == eCandidateSpecific);
        if (isSpecific) {
            CandidateEvaluateSpecificLayer(share, time, id, pLast);
        }
        // Specific values have no weight in them to take out, nor have those of a base alone.
        key(share, !isSpecific && (id != 0 || mState->IsBlended()), turns && hasTotal);
    }
    if (base) {
        base->CandidateClear(0, true);
    }
    return true;
}
