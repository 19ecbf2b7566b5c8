// Copyright (c) 2026 The glissa authors
// SPDX-License-Identifier: MIT

// The number of keys of a channel, and their times. The functions visit the tree below a node, and
// its chain where the caller includes the layers.

#include "glissa/node/key_places.h"
#include "glissa/node/node_state.h"

#include <algorithm>
#include <limits>

namespace
{
struct KeyStatistics
{
    int curves = 0;
    int total = 0;
    int least = std::numeric_limits<int>::max();
    int most = std::numeric_limits<int>::min();

    void Count(GlissaNode* pNode)
    {
        if (const Glissa* curve = pNode->FCurveGet()) {
            const int keys = curve->KeyGetCount();
            ++curves;
            total += keys;
            least = std::min(least, keys);
            most = std::max(most, keys);
        }
        for (int i = 0; i < pNode->GetCount(); ++i) {
            Count(pNode->Get(i));
        }
    }
};
}  // namespace

int GlissaNode::KeyGetCount(bool pChain)
{
    int count = 0;
    for (GlissaNode* node = this; node; node = pChain ? node->LayerGet() : nullptr) {
        if (node->mState->mCurve) {
            count += node->mState->mCurve->KeyGetCount();
            continue;
        }
        for (GlissaNode* child : node->mState->mChildren) {
            count += child->KeyGetCount(false);
        }
    }
    return count;
}

void GlissaNode::KeyGetCount(int& pCurves, int& pTotal, int& pMin, int& pMax)
{
    KeyStatistics statistics;
    statistics.Count(this);
    pCurves = statistics.curves;
    pTotal = statistics.total;
    pMin = statistics.least;
    pMax = statistics.most;
}

int GlissaNode::KeyGetCountOnChild(int pChild)
{
    CORVEKIT_ASSERT(pChild >= 0);
    int count = 0;
    for (GlissaNode* node = this; node; node = node->LayerGet()) {
        if (GlissaNode* child = node->Get(pChild)) {
            count += child->KeyGetCount(false);
        }
    }
    return count;
}

int GlissaNode::IsKey(KTime& pTime, int* pHint, bool* pMask, double pTolerance, double pMin,
                      double pMax)
{
    int curves = 0;
    int hits = 0;
    IsKeyRecursive(pTime, curves, hits, pHint, pMask, pTolerance, pMin, pMax);
    if (hits == curves) {
        return 2;
    }
    return hits > 0 ? 1 : 0;
}

void GlissaNode::IsKeyRecursive(KTime& pTime, int& pCurves, int& pHits, int* pHint, bool* pMask,
                                double pTolerance, double pMin, double pMax)
{
    const ChannelMask mask(pMask);
    if (Glissa* curve = mState->mCurve; curve && mask.HasCurve()) {
        ++pCurves;
        const KeyPlace place = FindKeyPlace(*curve, pTime, pHint, pTolerance);
        if (place.isOnKey) {
            // The value is that of the key at or before the time, also where the next one is near.
            const double value = curve->KeyGetValue(static_cast<int>(place.at));
            pHits += value >= pMin && value <= pMax ? 1 : 0;
        }
    }
    for (int i = 0; i < mState->mChildren.GetCount(); ++i) {
        mState->mChildren[i]->IsKeyRecursive(pTime, pCurves, pHits, pHint, mask.OfChild(i),
                                             pTolerance, pMin, pMax);
    }
}

KTime GlissaNode::GetFirstKeyTime(bool* pMask, bool pChain)
{
    KTime time = KTime::Infinite();
    InternalKeyTimeGetFirst(time, pMask, pChain);
    return time == KTime::Infinite() ? KTime::MinusInfinite() : time;
}

KTime GlissaNode::GetLastKeyTime(bool* pMask, bool pChain)
{
    KTime time = KTime::MinusInfinite();
    InternalKeyTimeGetLast(time, pMask, pChain);
    return time == KTime::MinusInfinite() ? KTime::Infinite() : time;
}

void GlissaNode::InternalKeyTimeGetFirst(KTime& pTime, bool* pMask, bool pChain)
{
    const ChannelMask mask(pMask);
    if (mState->mCurve && mask.HasCurve() && mState->mCurve->KeyGetCount() > 0) {
        pTime = std::min(pTime, mState->mCurve->KeyGetTime(0));
    }
    if (pChain && mState->mNextLayer) {
        mState->mNextLayer->InternalKeyTimeGetFirst(pTime, pMask, true);
    }
    for (int i = 0; i < mState->mChildren.GetCount(); ++i) {
        if (mask.HasChild(i)) {
            mState->mChildren[i]->InternalKeyTimeGetFirst(pTime, mask.OfChild(i), pChain);
        }
    }
}

void GlissaNode::InternalKeyTimeGetLast(KTime& pTime, bool* pMask, bool pChain)
{
    const ChannelMask mask(pMask);
    if (mState->mCurve && mask.HasCurve() && mState->mCurve->KeyGetCount() > 0) {
        pTime = std::max(pTime, mState->mCurve->KeyGetTime(mState->mCurve->KeyGetCount() - 1));
    }
    if (pChain && mState->mNextLayer) {
        mState->mNextLayer->InternalKeyTimeGetLast(pTime, pMask, true);
    }
    for (int i = 0; i < mState->mChildren.GetCount(); ++i) {
        if (mask.HasChild(i)) {
            mState->mChildren[i]->InternalKeyTimeGetLast(pTime, mask.OfChild(i), pChain);
        }
    }
}

KTime GlissaNode::GetNextKeyTime(KTime pTime, bool* pMask, bool pChain)
{
    const ChannelMask mask(pMask);
    KTime best = KTime::Infinite();
    const auto offer = [pTime, &best](KTime pFound) {
        if (pFound > pTime && pFound < best) {
            best = pFound;
        }
    };
    if (Glissa* curve = mState->mCurve; curve && mask.HasCurve()) {
        offer(curve->KeyTimeAfter(pTime));
    }
    for (int i = 0; i < mState->mChildren.GetCount(); ++i) {
        if (mask.HasChild(i)) {
            GlissaNode* child = mState->mChildren[i];
            // Children are nearly always leaves. Without a call for each of them wide trees are
            // faster.
            const State& state = *child->mState;
            const bool isLeaf = state.mCurve && state.mChildren.IsEmpty();
            offer(isLeaf ? state.mCurve->KeyTimeAfter(pTime)
                         : child->GetNextKeyTime(pTime, mask.OfChild(i), false));
        }
    }
    if (pChain && mState->mNextLayer) {
        offer(mState->mNextLayer->GetNextKeyTime(pTime, pMask, true));
    }
    return best == KTime::Infinite() ? pTime : best;
}

KTime GlissaNode::GetPrevKeyTime(KTime pTime, bool* pMask)
{
    const ChannelMask mask(pMask);
    KTime best = KTime::MinusInfinite();
    const auto offer = [pTime, &best](KTime pFound) {
        if (pFound < pTime && pFound > best) {
            best = pFound;
        }
    };
    if (Glissa* curve = mState->mCurve; curve && mask.HasCurve()) {
        offer(curve->KeyTimeBefore(pTime));
    }
    for (int i = 0; i < mState->mChildren.GetCount(); ++i) {
        if (mask.HasChild(i)) {
            offer(mState->mChildren[i]->GetPrevKeyTime(pTime, mask.OfChild(i)));
        }
    }
    return best == KTime::MinusInfinite() ? pTime : best;
}

bool GlissaNode::GetAnimationInterval(KTime& pStart, KTime& pStop)
{
    KTime start = KTime::Infinite();
    KTime stop = KTime::MinusInfinite();
    const bool hasKeys = GetAnimationIntervalRecursive(start, stop);
    if (hasKeys) {
        pStart = std::min(pStart, start);
        pStop = std::max(pStop, stop);
    }
    return hasKeys;
}

bool GlissaNode::GetAnimationIntervalRecursive(KTime& pStart, KTime& pStop)
{
    bool hasKeys = false;
    if (const Glissa* curve = mState->mCurve) {
        const int count = curve->KeyGetCount();
        if (count > 0) {
            pStart = std::min(pStart, curve->KeyGetTime(0));
            pStop = std::max(pStop, curve->KeyGetTime(count - 1));
            hasKeys = true;
        }
    }
    for (GlissaNode* child : mState->mChildren) {
        hasKeys |= child->GetAnimationIntervalRecursive(pStart, pStop);
    }
    if (mState->mNextLayer) {
        hasKeys |= mState->mNextLayer->GetAnimationIntervalRecursive(pStart, pStop);
    }
    return hasKeys;
}

void GlissaNode::GetTimeSpan(KTime& pStart, KTime& pStop)
{
    pStart = KTime::Infinite();
    pStop = KTime::MinusInfinite();
    GetAnimationIntervalRecursive(pStart, pStop);
}

void GlissaNode::ExtractKeysIndex(KArrayTemplate<int, 16>& pArray, KTimeSpan pSpan, double pMin,
                                  double pMax)
{
    if (Glissa* curve = mState->mCurve) {
        const KTime start = ETIGlobalTime2NodeTime(pSpan.GetStart());
        const KTime stop = ETIGlobalTime2NodeTime(pSpan.GetStop());
        const int first = static_cast<int>(std::ceil(curve->KeyFind(start, nullptr)));
        const int last = static_cast<int>(std::floor(curve->KeyFind(stop, nullptr)));
        curve->ExtractKeysIndex(pArray, first, last, pMin, pMax);
    }
}

bool GlissaNode::GetTransformCurves(Glissa** pT, Glissa** pR, Glissa** pS)
{
    CORVEKIT_ASSERT(pT && pR && pS);
    struct Transform
    {
        const char* name;
        KDataType* type;
        Glissa** curves;
    };
    const Transform transforms[] = {{"T", KDataTypeLclTranslation, pT},
                                    {"R", KDataTypeLclRotation, pR},
                                    {"S", KDataTypeLclScaling, pS}};
    for (const Transform& transform : transforms) {
        GlissaNode* node = FindRecursive(transform.name);
        node = node ? node : FindRecursive(transform.type);
        if (!node) {
            return false;
        }
        int index = 0;
        for (const char* axis : {"X", "Y", "Z"}) {
            GlissaNode* channel = node->FindRecursive(axis);
            Glissa* curve = channel ? channel->FCurveGet() : nullptr;
            if (!curve) {
                return false;
            }
            transform.curves[index++] = curve;
        }
    }
    return true;
}

bool GlissaNode::LookLikeSampledData(KTime pPeriod)
{
    if (const Glissa* curve = mState->mCurve) {
        KTime average;
        KTime minimum;
        KTime maximum;
        curve->KeyGetPeriods(average, minimum, maximum);
        return average == minimum && average <= pPeriod && curve->NormalsSeemsToComeFromAPlot();
    }
    return std::any_of(
        mState->mChildren.begin(), mState->mChildren.end(),
        [pPeriod](GlissaNode* pChild) { return pChild->LookLikeSampledData(pPeriod); });
}
