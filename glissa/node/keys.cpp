// Copyright (c) 2026 The glissa authors
// SPDX-License-Identifier: MIT

// Keys of whole channels, on all their curves but those of locked nodes.

#include "corvekit/event/operation.h"
#include "glissa/curve/modify_bracket.h"
#include "glissa/ext/active.h"
#include "glissa/node/key_places.h"
#include "glissa/node/node_state.h"

namespace
{
// A constant stretch has its first key and two keys at its end.
constexpr int kStretchKeys = 3;

bool IsStretchOf(const Glissa& pCurve, float pValue)
{
    return pCurve.KeyGetCount() == kStretchKeys && pCurve.KeyGetValue(0) == pValue &&
           pCurve.KeyGetValue(1) == pValue && pCurve.KeyGetValue(2) == pValue;
}

// Recording can be wound back. Appended there, keys would lose their order, and the store drops
// keys that are out of order.
void AppendInOrder(Glissa& pCurve, KTime pTime, float pValue)
{
    const int count = pCurve.KeyGetCount();
    if (count == 0 || pCurve.KeyGetTime(count - 1) < pTime) {
        pCurve.KeyAppendFast(pTime, pValue);
        return;
    }
    // The shape of an appended key.
    pCurve.KeyAdd(pTime, GlissaKey({pTime, nullptr, pValue}, *GlissaDefaultKeyAttr));
}

// Sets a field of the curve of a leaf. False where there is none or it is locked.
template <typename Field>
bool SetOfCurve(GlissaNode& pNode, void (Glissa::*pSet)(Field), unsigned pValue)
{
    Glissa* const curve = pNode.FCurveGet();
    if (!curve || pNode.IsNodeLocked()) {
        return false;
    }
    (curve->*pSet)(pValue);
    return true;
}
}  // namespace

double* GlissaNode::KeyAdd(KTime pTime, double* pValues, unsigned int pSkipMask, int pInterpolation,
                           int pTangentMode)
{
    CORVEKIT_ASSERT(pValues);
    const KOperation operation;
    if (IsNodeLocked()) {
        return pValues + GetValueCount();
    }
    if (mState->mCurve) {
        if ((pSkipMask & 1u) == 0) {
            GlissaKey key;
            key.Set(pTime, static_cast<float>(*pValues), static_cast<unsigned>(pInterpolation),
                    static_cast<unsigned>(pTangentMode), 0.0f, 0.0f, eWeightNone,
                    kGlissaDefaultWeight, kGlissaDefaultWeight, 0.0f, 0.0f);
            mState->mCurve->KeyAdd(pTime, key);
        }
        return pValues + 1;
    }
    for (int i = 0; i < mState->mChildren.GetCount(); ++i) {
        pValues = mState->mChildren[i]->KeyAdd(pTime, pValues, SkipMaskOfChild(pSkipMask, i),
                                               pInterpolation, pTangentMode);
    }
    return pValues;
}

double* GlissaNode::KeyAppend(KTime pTime, double* pValues)
{
    CORVEKIT_ASSERT(pValues);
    const KOperation operation;
    if (IsNodeLocked()) {
        return pValues + GetValueCount();
    }
    if (mState->mCurve) {
        AppendInOrder(*mState->mCurve, pTime, static_cast<float>(*pValues));
        return pValues + 1;
    }
    for (GlissaNode* child : mState->mChildren) {
        pValues = child->KeyAppend(pTime, pValues);
    }
    return pValues;
}

double* GlissaNode::KeyRecord(KTime pTime, double* pValues)
{
    CORVEKIT_ASSERT(pValues);
    const KOperation operation;
    if (IsNodeLocked()) {
        return pValues + GetValueCount();
    }
    if (Glissa* curve = mState->mCurve) {
        const float value = static_cast<float>(*pValues);
        if (IsStretchOf(*curve, value) && curve->KeyGetTime(2) < pTime) {
            const KeyModifyBracket bracket(*curve);
            const KTime end = curve->KeyGetTime(2);
            curve->KeySetTime(2, pTime);
            curve->KeySetTime(1, end);
        } else {
            AppendInOrder(*curve, pTime, value);
        }
        return pValues + 1;
    }
    for (GlissaNode* child : mState->mChildren) {
        pValues = child->KeyRecord(pTime, pValues);
    }
    return pValues;
}

bool GlissaNode::DeleteKey(KTime& pTime, bool* pMask, double pTolerance, unsigned int pSkipMask)
{
    const KOperation operation;
    if (IsNodeLocked()) {
        return false;
    }
    const ChannelMask mask(pMask);
    bool hasGone = false;
    if (mState->mCurve && mask.HasCurve() && (pSkipMask & 1u) == 0) {
        const KeyPlace place = FindKeyPlace(*mState->mCurve, pTime, nullptr, pTolerance);
        hasGone = place.isOnKey && mState->mCurve->KeyRemove(static_cast<int>(place.nearest));
    }
    for (int i = 0; i < mState->mChildren.GetCount(); ++i) {
        if (mask.HasChild(i) && SkipMaskOfChild(pSkipMask, i) == 0 &&
            mState->mChildren[i]->DeleteKey(pTime, mask.OfChild(i), pTolerance, 0)) {
            hasGone = true;
        }
    }
    if (hasGone) {
        GlissaNode* base = (mState->mParent ? mState->mParent : this)->mState->mObjectLayer;
        if (base) {
            base->CandidateClear(0, true);
        }
    }
    return hasGone;
}

void GlissaNode::Delete(KTime pStart, KTime pStop, bool pChain)
{
    const KOperation operation;
    for (GlissaNode* node = this; node; node = pChain ? node->LayerGet() : nullptr) {
        if (node->mState->mCurve) {
            if (!node->IsNodeLocked()) {
                node->mState->mCurve->Delete(pStart, pStop, false);
            }
            continue;
        }
        for (GlissaNode* child : node->mState->mChildren) {
            child->Delete(pStart, pStop, false);
        }
    }
}

bool GlissaNode::SetPreExtrapolation(unsigned int pMode)
{
    return SetOfCurve(*this, &Glissa::SetPreExtrapolation, pMode);
}

bool GlissaNode::SetPostExtrapolation(unsigned int pMode)
{
    return SetOfCurve(*this, &Glissa::SetPostExtrapolation, pMode);
}

bool GlissaNode::SetPreExtrapolationCount(unsigned int pCount)
{
    return SetOfCurve(*this, &Glissa::SetPreExtrapolationCount, pCount);
}

bool GlissaNode::SetPostExtrapolationCount(unsigned int pCount)
{
    return SetOfCurve(*this, &Glissa::SetPostExtrapolationCount, pCount);
}
