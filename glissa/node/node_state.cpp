// Copyright (c) 2026 The glissa authors
// SPDX-License-Identifier: MIT

// The parts of a node's state that have rules of their own: counted names, links to nodes that are
// not owned, and the methods of candidates.

#include "glissa/node/node_state.h"

#include <algorithm>
#include <iterator>
#include <mutex>
#include <utility>

std::atomic<std::uint64_t> nodeStructureChanges{1};

unsigned GlissaNodeState::LayerTypeBit(int pLayerType)
{
    constexpr unsigned kBits[] = {0x01, 0x02, 0x10, 0x04, 0, 0x20, 0x08};
    return pLayerType >= 0 && pLayerType < static_cast<int>(std::size(kBits)) ? kBits[pLayerType]
                                                                              : 0;
}

GlissaNode::NameInfo& GlissaNodeState::Names()
{
    if (!mNames) {
        mNames = new NameInfo;
    }
    return *mNames;
}

void GlissaNodeState::ReleaseNames()
{
    CORVEKIT_ASSERT(!mNames || mNames->mReferenceCount > 0);
    if (mNames && std::atomic_ref(mNames->mReferenceCount).fetch_sub(1) == 1) {
        delete mNames;
    }
    mNames = nullptr;
}

namespace
{
std::mutex linkLock;  // guards the lists of all nodes
}

void NodeLink::Enter(GlissaNode* pOwner, NodeLink*& pFirst)
{
    CORVEKIT_ASSERT(pOwner && !mOwner.load());
    const std::lock_guard lock(linkLock);
    mOwner.store(pOwner);
    mNext = pFirst;
    mPlace = &pFirst;
    pFirst = this;
    if (mNext) {
        mNext->mPlace = &mNext;
    }
}

void NodeLink::Leave()
{
    if (!mOwner.load()) {
        return;
    }
    const std::lock_guard lock(linkLock);
    // LeaveAll on another thread may have had the lock meanwhile, and the list may be gone.
    if (!mOwner.exchange(nullptr)) {
        return;
    }
    *mPlace = mNext;
    if (mNext) {
        mNext->mPlace = mPlace;
    }
}

void NodeLink::LeaveAll(NodeLink*& pFirst, void (*pEnd)(GlissaNode*))
{
    const std::lock_guard lock(linkLock);
    while (NodeLink* const link = pFirst) {
        pFirst = link->mNext;
        pEnd(link->mOwner.load());
        link->mOwner.store(nullptr);
    }
}

void GlissaNodeState::SetObjectLayer(GlissaNode* pSelf, GlissaNode* pBase)
{
    CORVEKIT_ASSERT(pSelf && this == &Of(pSelf));
    mBaseLink.Leave();
    mObjectLayer = pBase;
    if (pBase && pBase != pSelf) {
        mBaseLink.Enter(pSelf, Of(pBase).mBaseUsers);
    }
}

void GlissaNodeState::SetTimeWarp(GlissaNode* pSelf, GlissaNode* pWarp)
{
    CORVEKIT_ASSERT(pSelf && this == &Of(pSelf));
    if (mTimeWarp) {
        mTimeWarp->DecReferenceCount();
    }
    mWarpLink.Leave();
    mTimeWarp = pWarp;
    if (pWarp) {
        pWarp->IncReferenceCount();
        mWarpLink.Enter(pSelf, Of(pWarp).mWarpUsers);
    }
}

int GlissaNodeState::GetSpecificCandidateMethod() const
{
    return ((mEvaluationFlags & kNodeCandidateTotal) != 0 ? 2 : 0) +
           ((mEvaluationFlags & kNodeCandidateSpecific) != 0 ? 1 : 0);
}

void GlissaNodeState::SetSpecificCandidateMethod(int pMethod)
{
    CORVEKIT_ASSERT(pMethod >= 0 && pMethod <= eCandidateTotalAndSpecific);
    const auto method = static_cast<unsigned>(pMethod);
    mEvaluationFlags &= ~(kNodeCandidateUnused | kNodeCandidateTotal);
    mEvaluationFlags |= (method & 2u) != 0 ? kNodeCandidateTotal : 0u;
    mEvaluationFlags |= (method & 1u) != 0 ? kNodeCandidateSpecific : 0u;
}

void GlissaNodeState::SetTotalCandidateMethod(eCandidateMethod pMethod)
{
    CORVEKIT_ASSERT(pMethod == eCandidateSpecific || pMethod == eCandidateTotal);
    mEvaluationFlags &= ~kNodeCandidateSpecific;
    mEvaluationFlags |= pMethod == eCandidateSpecific ? kNodeCandidateSpecific : 0u;
}

void GlissaNodeState::CopyCandidates(const GlissaNodeState& pSource)
{
    CORVEKIT_ASSERT(&pSource != this);
    mCandidateTime = pSource.mCandidateTime;
    mEvaluationFlags = (mEvaluationFlags & ~kNodeCandidateMethods) |
                       (pSource.mEvaluationFlags & kNodeCandidateMethods);
    std::copy_n(pSource.mTotalCandidate, kNodeLayeredValues, mTotalCandidate);
}
