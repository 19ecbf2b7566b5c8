// Copyright (c) 2026 The glissa authors
// SPDX-License-Identifier: MIT

// The pending values of a node: where they are stored, how they are read, keyed and dropped.

#include "corvekit/event/operation.h"
#include "glissa/curve/curve.h"
#include "glissa/node/evaluation.h"
#include "glissa/node/values.h"

#include <algorithm>

int GlissaNode::GetSpecificCandidateMethod() const
{
    return mState->GetSpecificCandidateMethod();
}

void GlissaNode::SetSpecificCandidateMethod(int pMethod)
{
    mState->SetSpecificCandidateMethod(pMethod);
}

eCandidateMethod GlissaNode::GetTotalCandidateMethod() const
{
    return mState->HasTotal() ? eCandidateTotal : eCandidateSpecific;
}

void GlissaNode::SetTotalCandidateMethod(eCandidateMethod pMethod)
{
    mState->SetTotalCandidateMethod(pMethod);
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
    return mState->HasTotal() ? ReadTotal(*mState, pValues) : pValues;
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
    GlissaNode* layer = FindLayerFrom(*this, pId);
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
    // A branch of channels leaves the layers to these.
    const bool isBranch = !mState->IsBlended() && !IsChannel(*mState);
    if ((GetLayerID() != id && !isBranch) || IsNodeLocked()) {
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
    // A mask has an entry for each child of the base, a layer may have more.
    GlissaNode* const base = mState->mObjectLayer;
    const int count = pMask && base ? std::min(GetCount(), base->GetCount()) : GetCount();
    for (int i = 0; i < count; ++i) {
        if (!pMask || pMask[i]) {
            Get(i)->CandidateKeySpecificLayer(pLast, id, pMask ? &pMask[i] : nullptr,
                                              pInterpolation, pTangentMode, pContinuity,
                                              pTangentOverride, pTime, pTolerance);
        }
    }
    return true;
}
