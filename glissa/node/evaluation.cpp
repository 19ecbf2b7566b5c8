// Copyright (c) 2026 The glissa authors
// SPDX-License-Identifier: MIT

// From a node and a time to values. Each node of the chain evaluates its curve or its children and
// blends the values onto those of the layers below, which are in the array; a node without layers
// writes them there at once.

#include "glissa/node/evaluation.h"

#include "glissa/curve/curve.h"
#include "glissa/node/blending.h"
#include "glissa/node/rotation_path.h"
#include "glissa/node/structure.h"
#include "glissa/node/values.h"

#include <algorithm>
#include <limits>

namespace
{
constexpr int kAnyRoom = std::numeric_limits<int>::max();

// Time warps that are being evaluated on this thread, each for the one before.
thread_local int nestedWarps = 0;

struct EvaluationMode
{
    bool candidates = false;   // pending values are read, and the results become pending
    bool ignoresMute = false;  // of a node and its children, not of their layers and children
};

double* EvaluateChain(GlissaNode& pNode, double* pValues, KTime pTime, int* pHint,
                      EvaluationMode pMode);

// Whether evaluation needs no more than three plain curves: most channels, most of the time.
inline bool IsPlainChannel(const GlissaNodeState& pState)
{
    return pState.mPlain.AreNoted() && pState.mPlain.Curve(0) && !pState.mTimeWarp &&
           !pState.IsBlended() && !pState.mLayer.IsMuted() && !pState.UsesQuaternion();
}

// Notes the curves of the children where these are three plain ones: a curve and no more, of the
// same layer as their parent, so that no mute, warp, chain or weight applies.
void NotePlainChildren(GlissaNodeState& pState)
{
    const std::uint64_t changes = nodeStructureChanges.load(std::memory_order_relaxed);
    Glissa* curves[3] = {};
    const KArrayTemplate<GlissaNode*, 16>& children = pState.mChildren;
    const auto isPlain = [&pState](const GlissaNode* pChild) {
        const GlissaNodeState& child = StateOf(*pChild);
        return child.mCurve && !child.mTimeWarp && !child.mNextLayer &&
               child.mLayer.GetLayer() == pState.mLayer.GetLayer() &&
               child.mLayer.GetLayerID() == pState.mLayer.GetLayerID() &&
               (child.mLayer.GetLayerID() == 0 ||
                (child.mParent && (child.mEvaluationFlags & kNodeLayerTypes) == kNodePlainValue));
    };
    if (!pState.mCurve && children.GetCount() == 3 &&
        std::all_of(children.begin(), children.end(), isPlain)) {
        for (int i = 0; i < 3; ++i) {
            curves[i] = StateOf(*children[i]).mCurve;
        }
    }
    pState.mPlain.Note(curves, changes);
}

double* EvaluateChildrenFrom(int pFirst, const GlissaNodeState& pState, double* pValues, int pRoom,
                             KTime pTime, int* pHint, EvaluationMode pMode)
{
    CORVEKIT_ASSERT(pFirst >= 0);
    int room = pRoom;
    for (int i = pFirst; i < pState.mChildren.GetCount(); ++i) {
        GlissaNode* child = pState.mChildren[i];
        const int width = WidthOf(StateOf(*child));
        room -= width;
        if (room < 0) {
            break;
        }
        if (pMode.ignoresMute) {
            WriteZeroValues(StateOf(*child), pValues);
            EvaluateChain(*child, pValues, pTime, pHint, pMode);
        } else {
            child->GeneralEvaluate(pValues, pTime, pHint, pMode.candidates);
        }
        pValues += width;
    }
    return pValues;
}

// The values of the children in their order, as many of them as pRoom holds.
double* EvaluateChildren(GlissaNodeState& pState, double* pValues, int pRoom, KTime pTime,
                         int* pHint, EvaluationMode pMode)
{
    CORVEKIT_ASSERT(pRoom >= 0);
    const PlainChildren& plain = pState.mPlain;
    if (!plain.AreNoted()) {
        NotePlainChildren(pState);
    }
    if (plain.Curve(0) && !pMode.candidates && pRoom >= 3 &&
        (pMode.ignoresMute || !pState.mLayer.IsMuted())) {
        // A layer's child adds its value to its zero value, which turns -0 into 0; adding -0 does
        // not.
        const double zero = pState.mLayer.GetLayerID() != 0 ? 0.0 : -0.0;
        for (int i = 0; i < 3; ++i) {
            pValues[i] = static_cast<double>(plain.Curve(i)->Evaluate(pTime, pHint)) + zero;
        }
        return pValues + 3;
    }
    return EvaluateChildrenFrom(0, pState, pValues, pRoom, pTime, pHint, pMode);
}

// How a rotation runs at a time; for a path its angles.
PathKind FindPath(const GlissaNodeState& pState, KTime pTime, int* pHint, KgeRVector& pAngles)
{
    if (!pState.UsesQuaternion() || pState.mChildren.GetCount() < 3) {
        return PathKind::none;
    }
    Glissa* curves[3] = {};
    for (int i = 0; i < 3; ++i) {
        curves[i] = StateOf(*pState.mChildren[i]).mCurve;
        if (!curves[i]) {
            return PathKind::none;
        }
    }
    return EvaluateRotationPath(curves, pState.mRotationOrder, pTime, pHint, pAngles);
}

// The values of the children of a rotation, the first three along its path where it has one.
void EvaluateRotation(GlissaNodeState& pState, double* pValues, int pRoom, KTime pTime, int* pHint,
                      EvaluationMode pMode)
{
    CORVEKIT_ASSERT(pValues && pRoom > 0);
    KgeRVector angles;
    const PathKind kind = FindPath(pState, pTime, pHint, angles);
    if (kind == PathKind::path) {
        // Children after the third are no part of the rotation.
        EvaluateChildrenFrom(3, pState, std::copy_n(angles.Data(), 3, pValues), pRoom - 3, pTime,
                             pHint, pMode);
    } else {
        EvaluateChildren(pState, pValues, pRoom, pTime, pHint, pMode);
    }
    if (kind == PathKind::none || !pMode.candidates) {
        return;
    }
    // Between keys the angles replace the pending values of the curves.
    for (int i = 0; i < 3; ++i) {
        GlissaNodeState& child = StateOf(*pState.mChildren[i]);
        child.mCurve->CandidateClear();
        if (pState.mLayer.GetLayerID() == 0) {
            StoreTotal(child, &pValues[i], 1, pTime);
        }
    }
}

// The node's own values, without its layers. The array holds the zero values, which remain where
// there is no curve.
double* EvaluateOwn(GlissaNodeState& pState, double* pValues, int pRoom, KTime pTime, int* pHint,
                    EvaluationMode pMode)
{
    CORVEKIT_ASSERT(pValues && pRoom > 0);
    if (Glissa* curve = pState.mCurve) {
        *pValues = pMode.candidates ? curve->CandidateEvaluate(pTime, pHint)
                                    : static_cast<double>(curve->Evaluate(pTime, pHint));
        return pValues + 1;
    }
    if (pState.IsRotation() && pState.UsesQuaternion()) {
        EvaluateRotation(pState, pValues, pRoom, pTime, pHint, pMode);
        return pValues + std::min(WidthOf(pState), pRoom);
    }
    return EvaluateChildren(pState, pValues, pRoom, pTime, pHint, pMode);
}

// This node and the chain after it. pRunning is null for a node that is not blended.
double* EvaluateNode(GlissaNode& pNode, double* pValues, KTime pTime, int* pHint,
                     EvaluationMode pMode, RunningRotation* pRunning)
{
    GlissaNodeState& state = StateOf(pNode);
    CORVEKIT_ASSERT(pRunning || !state.IsBlended());
    const KTime time = state.mTimeWarp ? WarpedTime(pNode, pTime, pMode.candidates) : pTime;
    const bool plays = pMode.ignoresMute || !state.mLayer.IsMuted();
    const bool keepsTotal = pMode.candidates && plays && state.mLayer.GetLayerID() == 0;
    double* end = pValues;
    // A branch of channels has no total of its own: those below have theirs.
    if (keepsTotal && state.HasTotal() && state.mCandidateTime == time && IsChannel(state)) {
        return ReadTotal(state, pValues);
    }
    int first = 0;
    int* hint = pHint ? pHint : &first;
    // A mute is ignored for this node and its children; those below the children have their own.
    const EvaluationMode own{pMode.candidates, false};
    if (plays && pRunning) {
        double values[kNodeZeroValues];
        WriteZeroValues(state, values);
        const double* valuesEnd = EvaluateOwn(state, values, kNodeZeroValues, time, hint, own);
        CORVEKIT_ASSERT(valuesEnd >= values && valuesEnd <= values + kNodeZeroValues);
        BlendLayer(pNode, pValues, values, time, -1, *pRunning);
        end = pValues + (valuesEnd - values);
    } else if (plays) {
        end = EvaluateOwn(state, pValues, kAnyRoom, time, hint, own);
    }
    if (GlissaNode* next = state.mNextLayer) {
        // Layers usually have keys at the times of the base: they start from its hint.
        int layerHint = *hint;
        EvaluateNode(*next, pValues, time, &layerHint, own, pRunning);
    }
    if (keepsTotal) {
        if (pRunning) {
            pRunning->WriteAngles(pValues);
        }
        StoreTotal(state, pValues, state.ValueCount(), time);
    }
    return end;
}

double* EvaluateChain(GlissaNode& pNode, double* pValues, KTime pTime, int* pHint,
                      EvaluationMode pMode)
{
    const GlissaNodeState& state = StateOf(pNode);
    if (!state.IsBlended()) {
        return EvaluateNode(pNode, pValues, pTime, pHint, pMode, nullptr);
    }
    RunningRotation running(state.mRotationOrder);
    double* end = EvaluateNode(pNode, pValues, pTime, pHint, pMode, &running);
    running.WriteAngles(pValues);
    return end;
}
}  // namespace

KTime WarpedTime(const GlissaNode& pNode, KTime pTime, bool pCandidates)
{
    GlissaNode* const warp = StateOf(pNode).mTimeWarp;
    if (!warp || nestedWarps == GlissaNode::kMaxNestedWarps ||
        WidthOf(StateOf(*warp)) > kNodeZeroValues) {
        return pTime;
    }
    double seconds[kNodeZeroValues] = {};
    CORVEKIT_ASSERT(nestedWarps >= 0 && nestedWarps < GlissaNode::kMaxNestedWarps);
    ++nestedWarps;
    warp->GeneralEvaluate(seconds, pTime, nullptr, pCandidates);
    --nestedWarps;
    return KTime::FromSeconds(seconds[0]);
}

GlissaNode* FindLayerFrom(GlissaNode& pNode, int pId)
{
    CORVEKIT_ASSERT(IsChainInOrder(&pNode));
    GlissaNode* layer = &pNode;
    while (layer && layer->GetLayerID() < layer->GetCorrectLayerID(pId)) {
        layer = layer->LayerGet();
    }
    return layer && layer->GetLayerID() == layer->GetCorrectLayerID(pId) ? layer : nullptr;
}

double* EvaluateLayer(GlissaNode& pLayer, double* pValues, KTime pTime, int* pHint, bool pForce)
{
    CORVEKIT_ASSERT(pValues);
    GlissaNodeState& state = StateOf(pLayer);
    if (!pForce && state.mLayer.IsMuted()) {
        WriteZeroValues(state, pValues);
        return pValues;
    }
    double* end = pValues;
    if (state.mCurve) {
        *end++ = static_cast<double>(state.mCurve->Evaluate(pTime, pHint));
    } else if (state.IsRotation()) {
        EvaluateRotation(state, pValues, kAnyRoom, pTime, pHint, {false, pForce});
    } else {
        for (GlissaNode* child : state.mChildren) {
            end =
                child->EvaluateSpecificLayer(end, pTime, state.mLayer.GetLayerID(), pHint, pForce);
        }
    }
    if (!pForce) {
        pLayer.AddWeightedValue(pValues, state.mLayer.GetWeight(pTime));
    }
    return end;
}

double* EvaluatePart(GlissaNode& pNode, double* pValues, KTime pTime, int pExcludedId, int pFirstId,
                     int pLastId)
{
    CORVEKIT_ASSERT(pValues);
    GlissaNodeState& state = StateOf(pNode);
    const int id = state.mLayer.GetLayerID();
    double* end = pValues;
    if (!state.mLayer.IsMuted()) {
        double own[kNodeZeroValues] = {};
        WriteZeroValues(state, own);
        const double* ownEnd = own + BlendedCount(state);
        const bool takesPart = id != pExcludedId && id >= pFirstId && id <= pLastId;
        if (takesPart) {
            int hint = 0;
            ownEnd = EvaluateOwn(state, own, kNodeZeroValues, pTime, &hint, {});
        }
        end = pValues + (ownEnd - own);
        if (state.IsBlended()) {
            pNode.AccumulateValue(pValues, own, pTime, pExcludedId, pFirstId, pLastId);
        } else if (takesPart) {
            std::copy(static_cast<const double*>(own), ownEnd, pValues);
        } else {
            WriteZeroValues(state, pValues);
        }
    }
    if (GlissaNode* next = state.mNextLayer) {
        next->Internal_GeneralEvaluateLayerExcluded(pValues, pTime, pExcludedId, pFirstId, pLastId);
    }
    return end;
}

double* GlissaNode::Evaluate(double* pValues, KTime pTime, int* pHint)
{
    CORVEKIT_ASSERT(pValues);
    if (mState->mLayer.IsMuted()) {
        return pValues;
    }
    if (mState->mCurve) {
        *pValues = static_cast<double>(mState->mCurve->Evaluate(pTime, pHint));
        return pValues + 1;
    }
    for (GlissaNode* child : mState->mChildren) {
        pValues = child->Evaluate(pValues, pTime, pHint);
    }
    return pValues;
}

double* GlissaNode::GeneralEvaluate(double* pValues, KTime pTime, int* pHint, bool pCandidate)
{
    CORVEKIT_ASSERT(pValues);
    if (!pCandidate && IsPlainChannel(*mState)) {
        int first = 0;
        int* const hint = pHint ? pHint : &first;
        for (int i = 0; i < 3; ++i) {
            pValues[i] = static_cast<double>(mState->mPlain.Curve(i)->Evaluate(pTime, hint));
        }
        return pValues + 3;
    }
    WriteZeroValues(*mState, pValues);
    return EvaluateChain(*this, pValues, pTime, pHint, {pCandidate, false});
}

double* GlissaNode::Internal_GeneralEvaluate(double* pValues, KTime pTime, int* pHint,
                                             bool pCandidate)
{
    CORVEKIT_ASSERT(pValues);
    return EvaluateChain(*this, pValues, pTime, pHint, {pCandidate, false});
}

double* GlissaNode::Internal_GeneralEvaluateLayerExcluded(double* pValues, KTime pTime,
                                                          int pExcludedId, int pFirstId,
                                                          int pLastId)
{
    CORVEKIT_ASSERT(pValues);
    return EvaluatePart(*this, pValues, WarpedTime(*this, pTime, false), pExcludedId, pFirstId,
                        pLastId);
}

double* GlissaNode::EvaluateSpecificLayer(double* pValues, KTime pTime, int pId, int* pHint,
                                          bool pForce)
{
    GlissaNode* layer = FindLayerFrom(*this, pId);
    return layer ? EvaluateLayer(*layer, pValues, pTime, pHint, pForce) : pValues;
}

void GlissaNode::RotationNodeEvaluate(double* pValues, KTime pTime, int* pHint, bool pCandidate)
{
    EvaluateRotation(*mState, pValues, kAnyRoom, pTime, pHint, {pCandidate, false});
}
