// Copyright (c) 2026 The glissa authors
// SPDX-License-Identifier: MIT

// Where the pending values of a node live, how they are read, kept and put back, and how they end.

#include "corvekit/event/operation.h"
#include "glissa/curve/curve.h"
#include "glissa/node/node_state.h"

#include <algorithm>

int GlissaNode::GetSpecificCandidateMethod() const
{
    const unsigned flags = mState->mEvaluationFlags;
    return ((flags & kNodeCandidateTotal) != 0 ? 2 : 0) +
           ((flags & kNodeCandidateSpecific) != 0 ? 1 : 0);
}

void GlissaNode::SetSpecificCandidateMethod(int pMethod)
{
    CORVEKIT_ASSERT(pMethod >= 0 && pMethod <= eCandidateTotalAndSpecific);
    const auto method = static_cast<unsigned>(pMethod);
    unsigned& flags = mState->mEvaluationFlags;
    flags &= ~(kNodeCandidateUnused | kNodeCandidateTotal);
    flags |= (method & 2u) != 0 ? kNodeCandidateTotal : 0u;
    flags |= (method & 1u) != 0 ? kNodeCandidateSpecific : 0u;
}

eCandidateMethod GlissaNode::GetTotalCandidateMethod() const
{
    return (mState->mEvaluationFlags & kNodeCandidateSpecific) != 0 ? eCandidateSpecific
                                                                    : eCandidateTotal;
}

void GlissaNode::SetTotalCandidateMethod(eCandidateMethod pMethod)
{
    CORVEKIT_ASSERT(pMethod == eCandidateSpecific || pMethod == eCandidateTotal);
    mState->mEvaluationFlags &= ~kNodeCandidateSpecific;
    mState->mEvaluationFlags |= pMethod == eCandidateSpecific ? kNodeCandidateSpecific : 0u;
}

bool GlissaNode::CandidateClear(int pId, bool pSubLayers)
{
    const int id = GetCorrectLayerID(pId);
    if (GetLayerID() != id) {
        GlissaNode* next = mState->mNextLayer;
        return !next || next->GetLayerID() > id || next->CandidateClear(pId, pSubLayers);
    }
    if (mState->mCurve) {
        mState->mCurve->CandidateClear();
    }
    mState->mCandidateTime = KTime::Infinite();
    SetSpecificCandidateMethod(eCandidateSpecific);
    SetTotalCandidateMethod(eCandidateSpecific);
    for (GlissaNode* child : mState->mChildren) {
        child->CandidateClear(id, pSubLayers);
    }
    if (pSubLayers) {
        CandidateClearSubLayers();
    }
    return true;
}

void GlissaNode::CandidateClearSubLayers()
{
    if (GlissaNode* next = mState->mNextLayer) {
        next->CandidateClearSubLayers();
        next->CandidateClear(next->GetLayerID(), false);
    }
}

double* GlissaNode::CandidateGet(double* pValues, int)
{
    if (!IsCandidate()) {
        return pValues;
    }
    return TakeTotal(pValues);
}

void GlissaNode::CandidateGetTotalCandidate(double* pValues, KTime& pTime)
{
    CORVEKIT_ASSERT(pValues);
    pTime = mState->mCandidateTime;
    std::copy_n(mState->mTotalCandidate, kNodeLayeredValues, pValues);
}

double* GlissaNode::CandidateGetWithTime(double* pValues, KTime& pTime)
{
    CORVEKIT_ASSERT(pValues);
    if (const Glissa* curve = mState->mCurve) {
        *pValues = curve->CandidateGet();
        pTime = curve->CandidateGetTime();
        return pValues + 1;
    }
    for (GlissaNode* child : mState->mChildren) {
        pValues = child->CandidateGetWithTime(pValues, pTime);
    }
    return pValues;
}

double* GlissaNode::CandidateEvaluate(double* pValues, KTime pTime, int* pHint)
{
    return GeneralEvaluate(pValues, pTime, pHint, true);
}

double* GlissaNode::CandidateEvaluateSpecificLayer(double* pValues, KTime pTime, int pId,
                                                   int* pHint)
{
    GlissaNode* layer = FindLayerHere(pId);
    if (!layer || layer->IsNodeMuted()) {
        return pValues;
    }
    if (Glissa* curve = layer->mState->mCurve) {
        *pValues = curve->CandidateEvaluate(pTime, pHint);
        return pValues + 1;
    }
    if (layer->IsRotationLayerType()) {
        layer->RotationNodeEvaluate(pValues, pTime, pHint, true);
        return pValues;
    }
    double* running = pValues;
    for (GlissaNode* child : layer->mState->mChildren) {
        running = child->CandidateEvaluateSpecificLayer(running, pTime, layer->GetLayerID(), pHint);
    }
    return running;
}

bool GlissaNode::CandidateKeySpecificLayer(int* pLast, int pId, bool* pMask, int pInterpolation,
                                           int pTangentMode, int pContinuity, bool pTangentOverride,
                                           KTime pTime, double pTolerance)
{
    const KOperation operation;
    const int id = GetCorrectLayerID(pId);
    const bool hands_on = !IsBlended() && !IsChannel();
    if ((GetLayerID() != id && !hands_on) || IsNodeLocked()) {
        GlissaNode* next = mState->mNextLayer;
        return !next || next->GetLayerID() > id ||
               next->CandidateKeySpecificLayer(pLast, pId, pMask, pInterpolation, pTangentMode,
                                               pContinuity, pTangentOverride, pTime, pTolerance);
    }
    if (mState->mCurve) {
        if (!pMask || pMask[0]) {
            mState->mCurve->CandidateKey(pLast, pInterpolation, pTangentMode, pContinuity,
                                         pTangentOverride, pTime, pTolerance);
        }
        return true;
    }
    for (int i = 0; i < GetCount(); ++i) {
        if (!pMask || pMask[i]) {
            Get(i)->CandidateKeySpecificLayer(pLast, id, pMask ? &pMask[i] : nullptr,
                                              pInterpolation, pTangentMode, pContinuity,
                                              pTangentOverride, pTime, pTolerance);
        }
    }
    return true;
}

void GlissaNode::GetCandidateState(GlissaNodeCandidateState& pState)
{
    GlissaNodeCandidateState* state = &pState;
    for (GlissaNode* node = this; node; node = node->LayerGet()) {
        state->Clear();
        const State& held = *node->mState;
        state->mLayerID = node->GetLayerID();
        state->mSpecificCandidateMethod = node->GetSpecificCandidateMethod();
        state->mTotalCandidateMethod = node->GetTotalCandidateMethod();
        std::copy_n(held.mTotalCandidate, kNodeLayeredValues, state->mCandidateTotalValue);
        state->mCandidateTotalTime = held.mCandidateTime;
        if (const Glissa* curve = held.mCurve) {
            state->mCandidateSpecificValue = static_cast<float>(curve->CandidateGet());
            state->mCandidateSpecificTime = curve->CandidateGetTime();
            state->mFCurveValue = curve->GetValue();
        }
        for (int i = 0; i < std::min(node->GetCount(), kNodeLayeredValues); ++i) {
            state->mSubStates[i] = new GlissaNodeCandidateState;
            node->Get(i)->GetCandidateState(*state->mSubStates[i]);
        }
        if (held.mNextLayer) {
            state->mLayerState = new GlissaNodeCandidateState;
            state = state->mLayerState;
        }
    }
}

// Removes the layers behind this node that a state does not hold; both rise by id.
void GlissaNode::TrimLayers(const GlissaNodeCandidateState& pState)
{
    CORVEKIT_ASSERT(GetLayerID() == 0);
    const GlissaNodeCandidateState* state = pState.mLayerState;
    GlissaNode* layer = mState->mNextLayer;
    while (layer) {
        const int id = layer->GetLayerID();
        layer = layer->LayerGet();
        while (state && state->mLayerID < id) {
            state = state->mLayerState;
        }
        if (!state || state->mLayerID != id) {
            RemoveLayer(id, true);
        }
    }
}

void GlissaNode::SetCandidateState(const GlissaNodeCandidateState& pState, bool pTrimLayers)
{
    const KOperation operation;
    if (pTrimLayers && GetLayerID() == 0) {
        TrimLayers(pState);
    }
    const GlissaNodeCandidateState* state = &pState;
    GlissaNode* node = this;
    while (node && state) {
        State& held = *node->mState;
        node->SetSpecificCandidateMethod(state->mSpecificCandidateMethod);
        node->SetTotalCandidateMethod(static_cast<eCandidateMethod>(state->mTotalCandidateMethod));
        std::copy_n(state->mCandidateTotalValue, kNodeLayeredValues, held.mTotalCandidate);
        held.mCandidateTime = state->mCandidateTotalTime;
        if (Glissa* curve = held.mCurve) {
            curve->CandidateSet(state->mCandidateSpecificTime,
                                static_cast<double>(state->mCandidateSpecificValue));
            curve->SetValue(state->mFCurveValue);
        }
        for (int i = 0; i < std::min(node->GetCount(), kNodeLayeredValues); ++i) {
            if (state->mSubStates[i]) {
                node->Get(i)->SetCandidateState(*state->mSubStates[i], false);
            }
        }
        node = node->LayerGet();
        state = state->mLayerState;
        // A layer that is new, or gone, is passed over.
        while (node && state && node->GetLayerID() != state->mLayerID) {
            if (node->GetLayerID() < state->mLayerID) {
                node = node->LayerGet();
            } else {
                state = state->mLayerState;
            }
        }
    }
}
