// Copyright (c) 2026 The glissa authors
// SPDX-License-Identifier: MIT
// Not for hosts: the data of a node, for the source files of GlissaNode.
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

// Bits of the flag word.
constexpr unsigned kNodeIOType = 0x01;
constexpr unsigned kNodeVisible = 0x02;
constexpr unsigned kNodeContainer = 0x08;
constexpr unsigned kNodeTakeType = 0x10;
constexpr unsigned kNodeExpanded = 0x20;
constexpr unsigned kNodeMultiLayer = 0x40;
constexpr unsigned kNodeWasRead = 0x80;  // a channel was read into it; for the reader alone

// Bits of the evaluation flag word.
constexpr unsigned kNodeLayerTypes = 0x3F;
constexpr unsigned kNodePlainValue = 0x01;
constexpr unsigned kNodeRotationByLayer = 0x800;
constexpr unsigned kNodeUseQuaternion = 0x2000;
// The total method, and also the low bit of the specific method. To set both, set the specific one
// first.
constexpr unsigned kNodeCandidateSpecific = 0x4000;
constexpr unsigned kNodeCandidateUnused = 0x8000;
constexpr unsigned kNodeCandidateTotal = 0x10000;
constexpr unsigned kNodeCandidateMethods = kNodeCandidateSpecific | kNodeCandidateTotal;

// Most values of a total that a node stores itself.
constexpr int kNodeLayeredValues = 4;
// Most values that GetZeroValues writes.
constexpr int kNodeZeroValues = 16;

// The number of changes to the structure of any tree: links, curves, layers and layer types. What a
// node has noted of the nodes below it is valid while the number is the same.
extern std::atomic<std::uint64_t> nodeStructureChanges;

inline void NoteStructureChange()
{
    nodeStructureChanges.fetch_add(1, std::memory_order_relaxed);
}

// The curves of three children that have a curve and the layer of their parent and no more, as
// nearly all have. Evaluation calls these curves directly. All null for other children. Several
// threads may evaluate a node at once while no thread edits it: they note the same curves, and the
// number of changes, which is written last, publishes them.
struct PlainChildren
{
    bool AreNoted() const
    {
        return mChanges.load(std::memory_order_acquire) ==
               nodeStructureChanges.load(std::memory_order_relaxed);
    }
    // Valid only where they are noted.
    Glissa* Curve(int pIndex) const
    {
        CORVEKIT_ASSERT(pIndex >= 0 && pIndex < 3);
        return mCurves[pIndex].load(std::memory_order_relaxed);
    }
    void Note(Glissa* const (&pCurves)[3], std::uint64_t pChanges)
    {
        for (int i = 0; i < 3; ++i) {
            mCurves[i].store(pCurves[i], std::memory_order_relaxed);
        }
        mChanges.store(pChanges, std::memory_order_release);
    }

private:
    std::atomic<Glissa*> mCurves[3] = {};
    std::atomic<std::uint64_t> mChanges = 0;  // the number when they were noted
};

// An entry in the list of nodes that refer to a node without owning it. The destructor of the node
// clears their references. A clone of a layer refers to the base of its source, and may be made and
// destroyed on another thread: one lock guards all lists.
struct NodeLink
{
    // Null outside of any list. When a thread that ends the list sets it to null, that thread no
    // longer accesses the entry or its owner.
    std::atomic<GlissaNode*> mOwner = nullptr;
    NodeLink* mNext = nullptr;
    NodeLink** mPlace = nullptr;  // what points to this entry

    void Enter(GlissaNode* pOwner, NodeLink*& pFirst);
    void Leave();
    // Takes out all entries, pEnd(owner) for each while the lists are locked.
    static void LeaveAll(NodeLink*& pFirst, void (*pEnd)(GlissaNode*));
};

struct GlissaNodeState
{
    using NameInfo = GlissaNode::NameInfo;

    // The fields that evaluation reads are in one cache line.
    GlissaNode* mNextLayer = nullptr;
    GlissaNode* mTimeWarp = nullptr;
    GlissaLayerInfo mLayer;
    Glissa* mCurve = nullptr;
    unsigned mEvaluationFlags = 0;
    unsigned mFlags = kNodeExpanded | kNodeMultiLayer;
    PlainChildren mPlain;

    KArrayTemplate<GlissaNode*, 16> mChildren;
    // The last node that took this one as child, unmatched channel or layer. Containers and
    // SortedAdd set it, though they set no parent. Written by EnterHolder and LeaveHolder.
    GlissaNode* mHolder = nullptr;
    // The other nodes that have this one as child, once for each place: containers, or nodes that
    // were containers when they or the holder took it.
    std::vector<GlissaNode*> mOtherHolders;
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

    // The bit of a layer type in the evaluation flags, 0 for another number.
    static unsigned LayerTypeBit(int pLayerType);
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

    bool IsRotation() const
    {
        const EGlissaLayerType type = LayerType();
        return type == eLayerTypeRotation || type == eLayerTypeRotationByChannel;
    }
    bool UsesQuaternion() const { return (mEvaluationFlags & kNodeUseQuaternion) != 0; }
    // Whether the values are blended with others rather than written: the node has layers or is
    // one.
    bool IsBlended() const { return mNextLayer || mLayer.GetLayerID() != 0; }

    // The methods of candidates; GlissaNode has them under the same names.
    bool HasTotal() const { return (mEvaluationFlags & kNodeCandidateSpecific) == 0; }
    int GetSpecificCandidateMethod() const;
    void SetSpecificCandidateMethod(int pMethod);
    void SetTotalCandidateMethod(eCandidateMethod pMethod);

    int ValueCount() const { return mCurve ? 1 : mChildren.GetCount(); }

    bool HasFlag(unsigned pFlag) const { return (mFlags & pFlag) != 0; }
    void SetFlag(unsigned pFlag, bool pSet) { mFlags = (mFlags & ~pFlag) | (pSet ? pFlag : 0u); }
    // A flag as the number of a public getter and setter: its bit or 0.
    int FlagNumber(unsigned pFlag) const { return static_cast<int>(mFlags & pFlag); }
    void SetFlagNumber(unsigned pFlag, int pNumber)
    {
        SetFlag(pFlag, (static_cast<unsigned>(pNumber) & pFlag) != 0);
    }
    // Children of a container do not have it as parent.
    bool IsContainer() const { return HasFlag(kNodeContainer); }

    GlissaNodeState() = default;
    GlissaNodeState(const GlissaNodeState&) = delete;
    GlissaNodeState& operator=(const GlissaNodeState&) = delete;
    ~GlissaNodeState() { ReleaseNames(); }

    // Set references to nodes that are not owned. pSelf is the node of this state.
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

inline GlissaNodeState& StateOf(GlissaNode& pNode)
{
    return GlissaNodeState::Of(&pNode);
}
inline const GlissaNodeState& StateOf(const GlissaNode& pNode)
{
    return GlissaNodeState::Of(&pNode);
}

/// The node that an operation returns, or null where a listener that was called at the end of the
/// operation has destroyed it.
template <typename Operation>
GlissaNode* IfAlive(const Operation& pOperation)
{
    KWatch watch;
    GlissaNode* node = nullptr;
    {
        const KOperation operation;
        node = pOperation();
        watch.Set(node);
    }
    return watch.IsAlive() ? node : nullptr;
}
