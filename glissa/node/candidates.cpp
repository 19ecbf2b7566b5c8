// Copyright (c) 2026 The glissa authors
// SPDX-License-Identifier: MIT

// Where the pending values of a node live, and how they end.

#include "glissa/curve/curve.h"
#include "glissa/node/node_state.h"

int GlissaNode::GetSpecificCandidateMethod() const
{
    const unsigned flags = mState->mEvaluationFlags;
    return ((flags & kNodeCandidateTotal) != 0 ? 2 : 0) +
           ((flags & kNodeCandidateSpecific) != 0 ? 1 : 0);
}

void GlissaNode::SetSpecificCandidateMethod(int pMethod)
{
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
