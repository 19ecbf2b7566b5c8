// Copyright (c) 2026 The glissa authors
// SPDX-License-Identifier: MIT

// From a node and a time to values. Each node of the chain works its own values out, from its curve
// or from its children, and blends them onto what the layers below have left in the array; a node
// without layers writes them there at once.

#include "glissa/curve/curve.h"
#include "glissa/node/node_state.h"
#include "glissa/node/running_rotation.h"

#include <algorithm>
#include <limits>
#include <utility>

namespace
{
constexpr int kAnyRoom = std::numeric_limits<int>::max();

// Warps that are being evaluated on this thread, each for the sake of the one before.
thread_local int nested_warps = 0;
}  // namespace

// How many values the node and all below it write side by side: one for a leaf, a curve or not.
int GlissaNode::Width() const
{
    if (mState->mCurve || mState->mChildren.IsEmpty()) {
        return 1;
    }
    int width = 0;
    for (const GlissaNode* child : mState->mChildren) {
        width += child->Width();
    }
    return width;
}

// The time that the node's warp makes of a time, or that time without a warp.
KTime GlissaNode::WarpedTime(KTime pTime, bool pCandidate) const
{
    GlissaNode* warp = mState->mTimeWarp;
    if (!warp || nested_warps == kMaxNestedWarps || warp->Width() > kNodeZeroValues) {
        return pTime;
    }
    double seconds[kNodeZeroValues] = {};
    CORVEKIT_ASSERT(nested_warps >= 0 && nested_warps < kMaxNestedWarps);
    ++nested_warps;
    warp->GeneralEvaluate(seconds, pTime, nullptr, pCandidate);
    --nested_warps;
    return KTime::FromSeconds(seconds[0]);
}

// Whether the node's values are blended rather than written: it is one of several, or a layer.
bool GlissaNode::IsBlended() const
{
    return mState->mNextLayer || mState->mLayer.GetLayerID() != 0;
}

// Whether three plain curves are all that the node evaluates: most channels, most of the time.
inline bool GlissaNode::IsPlainChannel() const
{
    return mState->mPlain.AreNoted() && mState->mPlain.Curve(0) && !mState->mTimeWarp &&
           !IsBlended() && !mState->mLayer.IsMuted() &&
           (mState->mEvaluationFlags & kNodeUseQuaternion) == 0;
}

double* GlissaNode::Evaluate(double* pValues, KTime pTime, int* pHint)
{
    CORVEKIT_ASSERT(pValues);
    if (IsNodeMuted()) {
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
    if (!pCandidate && IsPlainChannel()) {
        int first = 0;
        int* const hint = pHint ? pHint : &first;
        for (int i = 0; i < 3; ++i) {
            pValues[i] = static_cast<double>(mState->mPlain.Curve(i)->Evaluate(pTime, hint));
        }
        return pValues + 3;
    }
    GetZeroValues(pValues);
    return EvaluateChain(pValues, pTime, pHint, {pCandidate, false});
}

// Notes the curves of the children where these are three plain ones: a curve and no more, of the
// same layer as their parent, so that neither mute, warp, chain nor weight can come in.
void GlissaNode::NotePlainChildren()
{
    const std::uint64_t changes = node_structure_changes.load(std::memory_order_relaxed);
    Glissa* curves[3] = {};
    const KArrayTemplate<GlissaNode*, 16>& children = mState->mChildren;
    const auto is_plain = [this](const GlissaNode* pChild) {
        const State& child = *pChild->mState;
        return child.mCurve && !child.mTimeWarp && !child.mNextLayer &&
               child.mLayer.GetLayer() == mState->mLayer.GetLayer() &&
               child.mLayer.GetLayerID() == mState->mLayer.GetLayerID() &&
               (child.mLayer.GetLayerID() == 0 ||
                (child.mParent && (child.mEvaluationFlags & kNodeLayerTypes) == kNodePlainValue));
    };
    if (!mState->mCurve && children.GetCount() == 3 &&
        std::all_of(children.begin(), children.end(), is_plain)) {
        for (int i = 0; i < 3; ++i) {
            curves[i] = children[i]->mState->mCurve;
        }
    }
    mState->mPlain.Note(curves, changes);
}

// The children's values side by side, as many of them as pRoom holds.
double* GlissaNode::EvaluateChildren(double* pValues, int pRoom, KTime pTime, int* pHint,
                                     EvaluationMode pMode)
{
    CORVEKIT_ASSERT(pRoom >= 0);
    const PlainChildren& plain = mState->mPlain;
    if (!plain.AreNoted()) {
        NotePlainChildren();
    }
    if (plain.Curve(0) && !pMode.candidates && pRoom >= 3 &&
        (pMode.ignoresMute || !mState->mLayer.IsMuted())) {
        // A layer's child adds its value to its zero value, which turns -0 into 0; adding -0 does
        // not.
        const double zero = GetLayerID() != 0 ? 0.0 : -0.0;
        for (int i = 0; i < 3; ++i) {
            pValues[i] = static_cast<double>(plain.Curve(i)->Evaluate(pTime, pHint)) + zero;
        }
        return pValues + 3;
    }
    return EvaluateChildrenFrom(0, pValues, pRoom, pTime, pHint, pMode);
}

double* GlissaNode::EvaluateChildrenFrom(int pFirst, double* pValues, int pRoom, KTime pTime,
                                         int* pHint, EvaluationMode pMode)
{
    CORVEKIT_ASSERT(pFirst >= 0);
    int room = pRoom;
    for (int i = pFirst; i < mState->mChildren.GetCount(); ++i) {
        GlissaNode* child = mState->mChildren[i];
        const int width = child->Width();
        room -= width;
        if (room < 0) {
            break;
        }
        if (pMode.ignoresMute) {
            child->GetZeroValues(pValues);
            child->EvaluateChain(pValues, pTime, pHint, pMode);
        } else {
            child->GeneralEvaluate(pValues, pTime, pHint, pMode.candidates);
        }
        pValues += width;
    }
    return pValues;
}

// The node's own values, without its layers. The array holds the zero values, which stay where
// there is no curve.
double* GlissaNode::EvaluateOwn(double* pValues, int pRoom, KTime pTime, int* pHint,
                                EvaluationMode pMode)
{
    CORVEKIT_ASSERT(pValues && pRoom > 0);
    if (Glissa* curve = mState->mCurve) {
        *pValues = pMode.candidates ? curve->CandidateEvaluate(pTime, pHint)
                                    : static_cast<double>(curve->Evaluate(pTime, pHint));
        return pValues + 1;
    }
    if (IsRotationLayerType() && GetUseQuaternion()) {
        EvaluateRotation(pValues, pRoom, pTime, pHint, pMode);
        return pValues + std::min(Width(), pRoom);
    }
    return EvaluateChildren(pValues, pRoom, pTime, pHint, pMode);
}

double* GlissaNode::Internal_GeneralEvaluate(double* pValues, KTime pTime, int* pHint,
                                             bool pCandidate)
{
    return EvaluateChain(pValues, pTime, pHint, {pCandidate, false});
}

double* GlissaNode::EvaluateChain(double* pValues, KTime pTime, int* pHint, EvaluationMode pMode)
{
    if (!IsBlended()) {
        return EvaluateNode(pValues, pTime, pHint, pMode, nullptr);
    }
    RunningRotation running(mState->mRotationOrder);
    double* end = EvaluateNode(pValues, pTime, pHint, pMode, &running);
    running.Put(pValues);
    return end;
}

// This node and the chain behind it; pRunning for a node that is blended.
double* GlissaNode::EvaluateNode(double* pValues, KTime pTime, int* pHint, EvaluationMode pMode,
                                 RunningRotation* pRunning)
{
    CORVEKIT_ASSERT(pRunning || !IsBlended());
    const KTime time = mState->mTimeWarp ? WarpedTime(pTime, pMode.candidates) : pTime;
    const bool plays = pMode.ignoresMute || !IsNodeMuted();
    const bool holds_total = pMode.candidates && plays && GetLayerID() == 0;
    double* end = pValues;
    // Where the node does not hold all of its total, those below have theirs.
    if (holds_total && IsCandidate() && mState->mCandidateTime == time && IsChannel()) {
        return TakeTotal(pValues);
    }
    int first = 0;
    int* hint = pHint ? pHint : &first;
    if (plays && pRunning) {
        double own[kNodeZeroValues];
        GetZeroValues(own);
        // A mute is ignored for this node and its children; what is below the children has its own.
        const double* own_end =
            EvaluateOwn(own, kNodeZeroValues, time, hint, {pMode.candidates, false});
        Accumulate(pValues, own, time, -1, *pRunning);
        CORVEKIT_ASSERT(own_end >= own && own_end <= own + kNodeZeroValues);
        end = pValues + (own_end - own);
    } else if (plays) {
        end = EvaluateOwn(pValues, kAnyRoom, time, hint, {pMode.candidates, false});
    }
    if (GlissaNode* next = mState->mNextLayer) {
        // The layers' keys stand where those of the base do, as a rule: they start from its hint.
        int layer_hint = *hint;
        next->EvaluateNode(pValues, time, &layer_hint, {pMode.candidates, false}, pRunning);
    }
    if (holds_total) {
        if (pRunning) {
            pRunning->Put(pValues);
        }
        HoldTotal(pValues, GetValueCount(), time);
    }
    return end;
}

// Whether the node is a leaf, or a branch of as many leaves as can be blended: what layers and
// candidates work on as a whole. Other branches leave them to those below.
bool GlissaNode::IsChannel() const
{
    const auto& children = mState->mChildren;
    return mState->mCurve ||
           (children.GetCount() <= kNodeZeroValues &&
            std::all_of(children.begin(), children.end(), [](const GlissaNode* pChild) {
                return pChild->mState->mCurve || pChild->mState->mChildren.IsEmpty();
            }));
}

// Makes values the total candidate at a time. The children of a channel hold those for which the
// node has no place.
void GlissaNode::HoldTotal(const double* pValues, int pCount, KTime pTime)
{
    // A leaf without a curve has no value of its own, yet holds the one that its parent has for it.
    CORVEKIT_ASSERT(pCount >= 0 && pCount <= std::max(GetValueCount(), 1));
    SetTotalCandidateMethod(eCandidateTotal);
    mState->mCandidateTime = pTime;
    for (int i = 0; i < std::min(pCount, kNodeLayeredValues); ++i) {
        mState->mTotalCandidate[i] = static_cast<float>(pValues[i]);
    }
    if (pCount > kNodeLayeredValues && IsChannel()) {
        for (int i = kNodeLayeredValues; i < pCount; ++i) {
            mState->mChildren[i]->HoldTotal(&pValues[i], 1, pTime);
        }
    }
}

double* GlissaNode::TakeTotal(double* pValues) const
{
    CORVEKIT_ASSERT(IsChannel());
    const int count = ValuesAtHand();
    for (int i = 0; i < count; ++i) {
        const State& holder = i < kNodeLayeredValues ? *mState : *mState->mChildren[i]->mState;
        pValues[i] = static_cast<double>(holder.mTotalCandidate[i < kNodeLayeredValues ? i : 0]);
    }
    return pValues + count;
}

double* GlissaNode::Internal_GeneralEvaluateLayerExcluded(double* pValues, KTime pTime,
                                                          int pExcludedId, int pFirstId,
                                                          int pLastId)
{
    CORVEKIT_ASSERT(pValues);
    return EvaluatePart(pValues, WarpedTime(pTime, false), pExcludedId, pFirstId, pLastId);
}

// The same at a time that has gone through the warp.
double* GlissaNode::EvaluatePart(double* pValues, KTime pTime, int pExcludedId, int pFirstId,
                                 int pLastId)
{
    const int id = GetLayerID();
    double* end = pValues;
    if (!IsNodeMuted()) {
        double own[kNodeZeroValues] = {};
        GetZeroValues(own);
        const double* own_end = own + std::min(GetValueCount(), kNodeZeroValues);
        const bool takes_part = id != pExcludedId && id >= pFirstId && id <= pLastId;
        if (takes_part) {
            int hint = 0;
            own_end = EvaluateOwn(own, kNodeZeroValues, pTime, &hint, {});
        }
        end = pValues + (own_end - own);
        if (IsBlended()) {
            AccumulateValue(pValues, own, pTime, pExcludedId, pFirstId, pLastId);
        } else if (takes_part) {
            std::copy(static_cast<const double*>(own), own_end, pValues);
        } else {
            GetZeroValues(pValues);
        }
    }
    if (mState->mNextLayer) {
        mState->mNextLayer->Internal_GeneralEvaluateLayerExcluded(pValues, pTime, pExcludedId,
                                                                  pFirstId, pLastId);
    }
    return end;
}

// The node of a layer from this node on, or null. Each node says itself whether it knows layers.
GlissaNode* GlissaNode::FindLayerHere(int pId)
{
    CORVEKIT_ASSERT(IsChainInOrder(this));
    GlissaNode* layer = this;
    while (layer && layer->GetLayerID() < layer->GetCorrectLayerID(pId)) {
        layer = layer->LayerGet();
    }
    return layer && layer->GetLayerID() == layer->GetCorrectLayerID(pId) ? layer : nullptr;
}

double* GlissaNode::EvaluateSpecificLayer(double* pValues, KTime pTime, int pId, int* pHint,
                                          bool pForce)
{
    GlissaNode* layer = FindLayerHere(pId);
    return layer ? layer->EvaluateLayer(pValues, pTime, pHint, pForce) : pValues;
}

double* GlissaNode::EvaluateLayer(double* pValues, KTime pTime, int* pHint, bool pForce)
{
    CORVEKIT_ASSERT(pValues);
    if (!pForce && IsNodeMuted()) {
        GetZeroValues(pValues);
        return pValues;
    }
    double* end = pValues;
    if (mState->mCurve) {
        *end++ = static_cast<double>(mState->mCurve->Evaluate(pTime, pHint));
    } else if (IsRotationLayerType()) {
        EvaluateRotation(pValues, kAnyRoom, pTime, pHint, {false, pForce});
    } else {
        for (GlissaNode* child : mState->mChildren) {
            end = child->EvaluateSpecificLayer(end, pTime, GetLayerID(), pHint, pForce);
        }
    }
    if (!pForce) {
        AddWeightedValue(pValues, mState->mLayer.GetWeight(pTime));
    }
    return end;
}
