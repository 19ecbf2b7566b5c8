// Copyright (c) 2026 The glissa authors
// SPDX-License-Identifier: MIT

// The values of a node without its keys: zero values, default values and the pending total.

#include "glissa/node/values.h"

#include "corvekit/event/operation.h"
#include "glissa/curve/curve.h"

#include <algorithm>

int WidthOf(const GlissaNodeState& pState)
{
    if (pState.mCurve || pState.mChildren.IsEmpty()) {
        return 1;
    }
    int width = 0;
    for (const GlissaNode* child : pState.mChildren) {
        width += WidthOf(StateOf(*child));
    }
    return width;
}

int BlendedCount(const GlissaNodeState& pState)
{
    return std::min(pState.ValueCount(), kNodeZeroValues);
}

double* WriteZeroValues(const GlissaNodeState& pState, double* pValues)
{
    CORVEKIT_ASSERT(pValues);
    const EGlissaLayerType type = pState.LayerType();
    if (type == eLayerTypeScalingAlt) {
        return pValues;
    }
    return std::fill_n(pValues, BlendedCount(pState), type == eLayerTypeScaling ? 1.0 : 0.0);
}

// The layer type of a node decides for its leaves; a branch below has a layer type of its own.
void ResetToZeroValues(GlissaNode& pNode, bool pForce)
{
    const GlissaNodeState& state = StateOf(pNode);
    double zero = state.LayerType() == eLayerTypeScaling ? 1.0 : 0.0;
    if (state.mCurve) {
        pNode.SetValue(&zero, pForce);
        return;
    }
    for (GlissaNode* child : state.mChildren) {
        if (StateOf(*child).mCurve) {
            child->SetValue(&zero, pForce);
        } else {
            ResetToZeroValues(*child, pForce);
        }
    }
}

bool IsChannel(const GlissaNodeState& pState)
{
    const auto& children = pState.mChildren;
    return pState.mCurve ||
           (children.GetCount() <= kNodeZeroValues &&
            std::all_of(children.begin(), children.end(), [](const GlissaNode* pChild) {
                const GlissaNodeState& child = StateOf(*pChild);
                return child.mCurve || child.mChildren.IsEmpty();
            }));
}

void StoreTotal(GlissaNodeState& pState, const double* pValues, int pCount, KTime pTime)
{
    // A leaf without a curve has no value of its own, but can store one for its parent.
    CORVEKIT_ASSERT(pCount >= 0 && pCount <= std::max(pState.ValueCount(), 1));
    pState.SetTotalCandidateMethod(eCandidateTotal);
    pState.mCandidateTime = pTime;
    for (int i = 0; i < std::min(pCount, kNodeLayeredValues); ++i) {
        pState.mTotalCandidate[i] = static_cast<float>(pValues[i]);
    }
    if (pCount > kNodeLayeredValues && IsChannel(pState)) {
        for (int i = kNodeLayeredValues; i < pCount; ++i) {
            StoreTotal(StateOf(*pState.mChildren[i]), &pValues[i], 1, pTime);
        }
    }
}

double* ReadTotal(const GlissaNodeState& pState, double* pValues)
{
    CORVEKIT_ASSERT(pValues && IsChannel(pState));
    const int count = BlendedCount(pState);
    for (int i = 0; i < count; ++i) {
        const float total = i < kNodeLayeredValues
                                ? pState.mTotalCandidate[i]
                                : StateOf(*pState.mChildren[i]).mTotalCandidate[0];
        pValues[i] = static_cast<double>(total);
    }
    return pValues + count;
}

double* GlissaNode::GetZeroValues(double* pValues)
{
    return WriteZeroValues(*mState, pValues);
}

double* GlissaNode::GetValue(double* pValues)
{
    CORVEKIT_ASSERT(pValues);
    if (mState->mCurve) {
        *pValues = mState->mCurve->GetValue();
        return pValues + 1;
    }
    for (GlissaNode* child : mState->mChildren) {
        pValues = child->GetValue(pValues);
    }
    return pValues;
}

double* GlissaNode::SetValue(double* pValues, bool pForce)
{
    CORVEKIT_ASSERT(pValues);
    const KOperation operation;
    if (mState->mCurve) {
        if (pForce || !IsNodeLocked()) {
            mState->mCurve->SetValue(static_cast<float>(*pValues));
        }
        return pValues + 1;
    }
    for (GlissaNode* child : mState->mChildren) {
        pValues = child->SetValue(pValues, pForce);
    }
    return pValues;
}

void GlissaNode::ResetValue(bool pChain)
{
    const KOperation operation;
    for (GlissaNode* node = this; node; node = pChain ? node->LayerGet() : nullptr) {
        ResetToZeroValues(*node, false);
    }
}
