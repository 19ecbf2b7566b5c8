// Copyright (c) 2026 The glissa authors
// SPDX-License-Identifier: MIT

// The candidates of a node, saved and restored.

#include "glissa/node/candidate_state.h"

#include "corvekit/event/operation.h"
#include "corvekit/trace.h"
#include "glissa/curve/curve.h"
#include "glissa/node/node_state.h"

#include <algorithm>
#include <string>

namespace
{
// Removes the layers of a base node that a state does not hold. Ids ascend along both.
void TrimLayers(GlissaNode& pBase, const GlissaNodeCandidateState& pState)
{
    CORVEKIT_ASSERT(pBase.GetLayerID() == 0);
    const GlissaNodeCandidateState* state = pState.mLayerState;
    GlissaNode* layer = pBase.LayerGet();
    while (layer) {
        const int id = layer->GetLayerID();
        layer = layer->LayerGet();
        while (state && state->mLayerID < id) {
            state = state->mLayerState;
        }
        if (!state || state->mLayerID != id) {
            pBase.RemoveLayer(id, true);
        }
    }
}
}  // namespace

GlissaNodeCandidateState::~GlissaNodeCandidateState()
{
    Clear();
}

void GlissaNodeCandidateState::Clear()
{
    for (GlissaNodeCandidateState*& state : mSubStates) {
        delete state;
        state = nullptr;
    }
    delete mLayerState;
    mLayerState = nullptr;
}

void GlissaNodeCandidateState::Dump(int pIndent) const
{
    const std::string indent(static_cast<std::size_t>(pIndent > 0 ? pIndent : 0), ' ');
    const char* const blanks = indent.c_str();
    const float* const total = mCandidateTotalValue;
    KTrace("%smSpecificCandidateMethod = %d\n", blanks, mSpecificCandidateMethod);
    KTrace("%smTotalCandidateMethod = %d\n", blanks, mTotalCandidateMethod);
    KTrace("%smCandidateTotalValue = %f, %f, %f, %f\n", blanks, static_cast<double>(total[0]),
           static_cast<double>(total[1]), static_cast<double>(total[2]),
           static_cast<double>(total[3]));
    KTrace("%smCandidateTotalTime = %f\n", blanks, mCandidateTotalTime.GetSecondDouble());
    KTrace("%smCandidateSpecificValue = %f\n", blanks,
           static_cast<double>(mCandidateSpecificValue));
    KTrace("%smFCurveValue = %f\n", blanks, static_cast<double>(mFCurveValue));
    KTrace("%smCandidateSpecificTime = %f\n", blanks, mCandidateSpecificTime.GetSecondDouble());
    if (mLayerState) {
        KTrace("%smLayerState:\n", blanks);
        mLayerState->Dump(pIndent + 1);
    }
    for (int i = 0; i < 4; ++i) {
        if (mSubStates[i]) {
            KTrace("%smSubStates[%d]:\n", blanks, i);
            mSubStates[i]->Dump(pIndent + 1);
        }
    }
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

void GlissaNode::SetCandidateState(const GlissaNodeCandidateState& pState, bool pTrimLayers)
{
    const KOperation operation;
    if (pTrimLayers && GetLayerID() == 0) {
        TrimLayers(*this, pState);
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
        // A layer that is missing on either side is skipped.
        while (node && state && node->GetLayerID() != state->mLayerID) {
            if (node->GetLayerID() < state->mLayerID) {
                node = node->LayerGet();
            } else {
                state = state->mLayerState;
            }
        }
    }
}
