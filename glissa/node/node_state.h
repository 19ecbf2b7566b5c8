// Copyright (c) 2026 The glissa authors
// SPDX-License-Identifier: MIT
// Not for hosts: what a node holds, for the source files of GlissaNode.
#pragma once

#include "glissa/node/node.h"

#include <atomic>
#include <cstdint>
#include <memory>
#include <vector>

struct DestroyHeldNode
{
    void operator()(GlissaNode* pNode) const { pNode->Destroy(); }
};

// Destroys a new node, with what is below it, when an exception ends the operation that makes it.
using NodeHolder = std::unique_ptr<GlissaNode, DestroyHeldNode>;

// Adds a new child and returns it. Where the parent has no memory for it or refuses it, it is
// destroyed; refused, the answer is null.
inline GlissaNode* AddNew(GlissaNode& pParent, GlissaNode* pChild)
{
    NodeHolder child(pChild);
    return pParent.Add(pChild) >= 0 ? child.release() : nullptr;
}

// Bits of the flag word.
constexpr unsigned kNodeIOType = 0x01;
constexpr unsigned kNodeVisible = 0x02;
constexpr unsigned kNodeContainer = 0x08;
constexpr unsigned kNodeTakeType = 0x10;
constexpr unsigned kNodeExpanded = 0x20;
constexpr unsigned kNodeMultiLayer = 0x40;
constexpr unsigned kNodeWasRead = 0x80;  // a channel was read into it, for the reader alone

// Bits of the evaluation flag word.
constexpr unsigned kNodeLayerTypes = 0x3F;
constexpr unsigned kNodePlainValue = 0x01;
constexpr unsigned kNodeRotationByLayer = 0x800;
constexpr unsigned kNodeUseQuaternion = 0x2000;
// The total method, and at the same time the low bit of the specific one: whoever sets both sets
// the specific one first.
constexpr unsigned kNodeCandidateSpecific = 0x4000;
constexpr unsigned kNodeCandidateUnused = 0x8000;
constexpr unsigned kNodeCandidateTotal = 0x10000;
constexpr unsigned kNodeCandidateMethods = kNodeCandidateSpecific | kNodeCandidateTotal;

// Most values that a layered node has, and that evaluation keeps at hand.
constexpr int kNodeLayeredValues = 4;
// Most values that GetZeroValues writes.
constexpr int kNodeZeroValues = 16;

// The structure of all trees counts its changes: links, curves, layers and layer types. What a node
// has noted of those below it holds while the count stands.
extern std::atomic<std::uint64_t> node_structure_changes;

inline void NoteStructureChange()
{
    node_structure_changes.fetch_add(1, std::memory_order_relaxed);
}

// The curves of three children that are nothing but curves of their parent's layer, as nearly all
// are, so that evaluation goes to them and not through the children. All null for other children.
// Several threads may evaluate a node at once while nobody edits it: they note the same curves, and
// the count, which is written last, publishes them.
struct PlainChildren
{
    bool AreNoted() const
    {
        return mChanges.load(std::memory_order_acquire) ==
               node_structure_changes.load(std::memory_order_relaxed);
    }
    // Only when they are noted.
    Glissa* Curve(int pIndex) const { return mCurves[pIndex].load(std::memory_order_relaxed); }
    void Note(Glissa* const (&pCurves)[3], std::uint64_t pChanges)
    {
        for (int i = 0; i < 3; ++i) {
            mCurves[i].store(pCurves[i], std::memory_order_relaxed);
        }
        mChanges.store(pChanges, std::memory_order_release);
    }

private:
    std::atomic<Glissa*> mCurves[3] = {};
    std::atomic<std::uint64_t> mChanges = 0;  // as counted when they were noted
};

// How a walk over a tree evaluates.
struct EvaluationMode
{
    bool candidates = false;   // pending values are read, and what comes out is kept as pending
    bool ignoresMute = false;  // for a node and its children, not for what is behind or below them
};

// An entry in the list that a node keeps of those that refer to it without owning it. The list is
// ended with the node, so that no reference is left behind.
struct NodeLink
{
    GlissaNode* mOwner = nullptr;
    NodeLink* mNext = nullptr;
    NodeLink** mPlace = nullptr;  // what points to this entry

    void Enter(GlissaNode* pOwner, NodeLink*& pFirst)
    {
        mOwner = pOwner;
        mNext = pFirst;
        mPlace = &pFirst;
        pFirst = this;
        if (mNext) {
            mNext->mPlace = &mNext;
        }
    }
    void Leave()
    {
        if (mPlace) {
            *mPlace = mNext;
        }
        if (mNext) {
            mNext->mPlace = mPlace;
        }
        mPlace = nullptr;
        mNext = nullptr;
    }
};

// What a walk finds below and behind a node: children, layers, and the warps of all of them.
struct NodeReach
{
    bool meetsWanted = false;
    int nodes = 0;
    int levels = 0;  // the warps not counted
};

struct GlissaNodeState
{
    using NameInfo = GlissaNode::NameInfo;

    // What evaluation reads of a branch, or of a leaf, stands in one cache line.
    GlissaNode* mNextLayer = nullptr;
    GlissaNode* mTimeWarp = nullptr;
    GlissaLayerInfo mLayer;
    Glissa* mCurve = nullptr;
    unsigned mEvaluationFlags = 0;
    unsigned mFlags = kNodeExpanded | kNodeMultiLayer;
    PlainChildren mPlain;

    KArrayTemplate<GlissaNode*, 16> mChildren;
    // The node that holds this one as child, unmatched channel or layer: the last that took it. A
    // container and SortedAdd set it, though they set no parent.
    GlissaNode* mHolder = nullptr;
    GlissaNode* mParent = nullptr;
    GlissaNode* mObjectLayer = nullptr;
    NameInfo* mNames = nullptr;
    GlissaNode* mTemplate = nullptr;
    GlissaNode* mDataNode = nullptr;
    int mReferenceCount = 0;
    bool mIsEnding = false;  // Destroy was called
    int mUpdateId = 0;
    int mRotationOrder = 0;
    float mTotalCandidate[kNodeLayeredValues] = {};
    KTime mCandidateTime = KTime::Infinite();
    GlissaNodeCallbackList* mCallbacks = nullptr;
    IGlissaETI* mETI = nullptr;
    std::vector<GlissaNode*> mUnmatched;
    // The links of this node to its warp and to its base, and those of others to this node.
    NodeLink mWarpLink;
    NodeLink mBaseLink;
    NodeLink* mWarpUsers = nullptr;
    NodeLink* mBaseUsers = nullptr;
    KZrObjectHolder mObjectHolder;
    IConnector* mConnector = nullptr;

    EGlissaLayerType LayerType() const
    {
        switch (mEvaluationFlags & kNodeLayerTypes) {
        case 0x01:
            return eLayerTypeValue;
        case 0x04:
            return eLayerTypeScaling;
        case 0x08:
            return eLayerTypeScalingAlt;
        case 0x10:
            return eLayerTypeRotation;
        case 0x20:
            return eLayerTypeRotationByChannel;
        default:
            return eLayerTypeVector;
        }
    }

    bool HasFlag(unsigned pFlag) const { return (mFlags & pFlag) != 0; }
    void SetFlag(unsigned pFlag, bool pSet) { mFlags = (mFlags & ~pFlag) | (pSet ? pFlag : 0u); }
    // A child knows its parent unless it is only referenced.
    bool IsContainer() const { return HasFlag(kNodeContainer); }

    GlissaNodeState() = default;
    GlissaNodeState(const GlissaNodeState&) = delete;
    GlissaNodeState& operator=(const GlissaNodeState&) = delete;
    ~GlissaNodeState() { ReleaseNames(); }

    // The setters of nodes that a node refers to and does not own. pSelf is the node of this state.
    void SetTimeWarp(GlissaNode* pSelf, GlissaNode* pWarp);
    void SetObjectLayer(GlissaNode* pSelf, GlissaNode* pBase);
    // Names that may be written.
    NameInfo& Names();
    void ReleaseNames();
    // Candidate time, both methods and the total values.
    void CopyCandidates(const GlissaNodeState& pSource);

    static GlissaNodeState& Of(GlissaNode* pNode) { return *pNode->mState; }
    static const GlissaNodeState& Of(const GlissaNode* pNode) { return *pNode->mState; }
};

// Structure (node/structure.cpp)

// Levels from the top of the tree to a node, that node included.
int LevelOf(const GlissaNode* pNode);
// Levels of a node and those below it, without its chain.
int LevelsBelow(const GlissaNode* pNode);
// Looks at no more than pMost nodes, and stops where it meets pWanted.
NodeReach ReachOf(GlissaNode* pFirst, const GlissaNode* pWanted, int pMost);
// Whether a node may take another one as child or layer: it does not hold the first one itself, and
// the tree does not become too deep.
bool MayHold(const GlissaNode* pNode, GlissaNode* pTaken);
// Whether ids rise along the chain from a node on. For assertions.
bool IsChainInOrder(const GlissaNode* pNode);
