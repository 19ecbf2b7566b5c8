// Copyright (c) 2026 The glissa authors
// SPDX-License-Identifier: MIT

// The nodes of a manipulator. It listens to each of them, so that a node that is destroyed leaves.

#include "glissa/manip/manipulator.h"

#include "glissa/manip/workspace.h"

GlissaManipulator::GlissaManipulator() = default;

GlissaManipulator::GlissaManipulator(const GlissaManipulator& pOther) : GlissaManipulator()
{
    *this = pOther;
}

GlissaManipulator::~GlissaManipulator()
{
    LeaveNodes();
}

GlissaManipulator& GlissaManipulator::operator=(const GlissaManipulator& pOther)
{
    if (&pOther == this) {
        return *this;
    }
    KArrayTemplate<GlissaNode*, 16> related(pOther.mRelatedNodes);
    KBitSet forManip(pOther.mNodesForManip);
    EndManipulation();
    LeaveNodes();
    mAddRemoveDepth = 0;
    for (GlissaNode* node : pOther.mNodes) {
        AddNode(node);
    }
    if (pOther.mAddRemoveDepth == 0) {
        mRelatedNodes.Swap(related);
        mNodesForManip = forManip;
    } else {
        GetRelatedNodes();
    }
    CopySettings(pOther);
    return *this;
}

void GlissaManipulator::CopySettings(const GlissaManipulator& pOther)
{
    mSelection = pOther.mSelection;
    mOriginal = pOther.mOriginal;
    mSnapThreshold = pOther.mSnapThreshold;
    mLastSelectedNode = pOther.mLastSelectedNode;
    mLastSelectedKey = pOther.mLastSelectedKey;
    mShowManyTangents = pOther.mShowManyTangents;
    mRippleMoveX = pOther.mRippleMoveX;
    mRippleMoveY = pOther.mRippleMoveY;
    mRippleStretchX = pOther.mRippleStretchX;
    mRippleStretchY = pOther.mRippleStretchY;
    mRippleAllY = pOther.mRippleAllY;
}

void GlissaManipulator::Add(GlissaNode* pNode)
{
    EndManipulation();
    InternalAdd(pNode);
    NodeSetChanged();
}

void GlissaManipulator::Remove(GlissaNode* pNode)
{
    EndManipulation();
    InternalRemove(pNode);
    NodeSetChanged();
}

void GlissaManipulator::BeginAddRemoveCurveNode()
{
    ++mAddRemoveDepth;
}

void GlissaManipulator::EndAddRemoveCurveNode()
{
    if (mAddRemoveDepth > 0 && --mAddRemoveDepth == 0) {
        EndManipulation();
        GetRelatedNodes();
    }
}

void GlissaManipulator::ClearFCurveNodes()
{
    EndManipulation();
    LeaveNodes();
}

void GlissaManipulator::InternalAdd(GlissaNode* pNode)
{
    if (!pNode) {
        return;
    }
    if (pNode->FCurveGet() && mNodes.Find(pNode) < 0) {
        AddNode(pNode);
    }
    for (int i = 0; i < pNode->GetCount(); ++i) {
        InternalAdd(pNode->Get(i));
    }
}

void GlissaManipulator::InternalRemove(GlissaNode* pNode)
{
    if (!pNode) {
        return;
    }
    if (mNodes.RemoveIt(pNode)) {
        pNode->CallbackUnregister(OnNodeEvent, this);
        Forget(pNode);
    }
    for (int i = 0; i < pNode->GetCount(); ++i) {
        InternalRemove(pNode->Get(i));
    }
}

void GlissaManipulator::NodeSetChanged()
{
    if (mAddRemoveDepth == 0) {
        GetRelatedNodes();
    }
}

void GlissaManipulator::GetRelatedNodes()
{
    KArrayTemplate<GlissaNode*, 16> related(mNodes);
    mRelatedNodes.Swap(related);
    mNodesForManip.ClearAll();
}

// Every node of the array is listened to, also where memory runs out on the way.
void GlissaManipulator::AddNode(GlissaNode* pNode)
{
    mNodes.SetCapacity(mNodes.GetCount() + 1);
    pNode->CallbackRegister(OnNodeEvent, this);
    mNodes.Add(pNode);
}

// Clears what refers to a node that is no longer in the set. Needs no memory.
void GlissaManipulator::Forget(const GlissaNode* pNode)
{
    for (int i = 0; i < mRelatedNodes.GetCount(); ++i) {
        if (mRelatedNodes[i] == pNode) {
            mRelatedNodes[i] = nullptr;
            mNodesForManip.Clear(i);
        }
    }
    if (mLastSelectedNode == pNode) {
        mLastSelectedNode = nullptr;
        mLastSelectedKey = -1;
    }
}

void GlissaManipulator::LeaveNodes()
{
    for (GlissaNode* node : mNodes) {
        node->CallbackUnregister(OnNodeEvent, this);
    }
    mNodes.Clear();
    mRelatedNodes.Clear();
    mNodesForManip.ClearAll();
    mLastSelectedNode = nullptr;
    mLastSelectedKey = -1;
}

void GlissaManipulator::OnNodeEvent(GlissaNode* pNode, GlissaNodeEvent* pEvent, void* pManipulator)
{
    if ((pEvent->GetType() & eNodeEventDestroy) != 0) {
        auto* const manipulator = static_cast<GlissaManipulator*>(pManipulator);
        manipulator->mNodes.RemoveIt(pNode);
        manipulator->Forget(pNode);
    }
}

Glissa* GlissaManipulator::RelatedCurve(int pRelated) const
{
    const GlissaNode* const node = mRelatedNodes[pRelated];
    return node ? node->FCurveGet() : nullptr;
}
