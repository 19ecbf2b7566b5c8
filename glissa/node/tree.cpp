// Copyright (c) 2026 The glissa authors
// SPDX-License-Identifier: MIT

// Children, and the search for nodes below.

#include "glissa/curve/curve.h"
#include "glissa/node/node_state.h"

#include <string_view>

namespace
{
// Depth first, each child before what hangs below it; pMatches says yes or no of a node.
template <typename Children, typename Matches>
GlissaNode* FindBelow(const Children& pChildrenOf, GlissaNode* pNode, const Matches& pMatches)
{
    for (GlissaNode* child : pChildrenOf(pNode)) {
        if (pMatches(child)) {
            return child;
        }
        if (GlissaNode* found = FindBelow(pChildrenOf, child, pMatches)) {
            return found;
        }
    }
    return nullptr;
}

// The local transform that a name of one letter stands for, or null.
KDataType* TransformOf(std::string_view pName)
{
    if (pName == "T") {
        return KDataTypeLclTranslation;
    }
    if (pName == "R") {
        return KDataTypeLclRotation;
    }
    return pName == "S" ? KDataTypeLclScaling : nullptr;
}

// Texts of different lengths differ, which spares reading most of them.
bool IsNamed(const GlissaNode* pNode, std::string_view pName)
{
    const std::string_view name = pNode->GetName();
    return name.size() == pName.size() && KCompareNoCase(name, pName) == 0;
}
}  // namespace

int GlissaNode::Add(GlissaNode* pChild)
{
    if (!mState->IsContainer()) {
        pChild->SetParent(this);
    }
    NoteStructureChange();
    return mState->mChildren.Add(pChild);
}

int GlissaNode::SortedAdd(GlissaNode* pChild)
{
    int place = 0;
    while (place < GetCount() && KCompareNoCase(pChild->GetName(), Get(place)->GetName()) > 0) {
        ++place;
    }
    NoteStructureChange();
    return mState->mChildren.InsertAt(place, pChild);
}

void GlissaNode::Remove(int pIndex)
{
    GlissaNode* child = Get(pIndex);
    if (child) {
        // A container may have been none when the child came.
        if (!mState->IsContainer() || child->GetParent() == this) {
            child->SetParent(nullptr);
        }
        mState->mChildren.RemoveAt(pIndex);
        NoteStructureChange();
    }
}

void GlissaNode::Delete(int pIndex)
{
    GlissaNode* child = Get(pIndex);
    CORVEKIT_ASSERT(child);
    if (child) {
        GlissaNode::Remove(pIndex);
        child->Destroy();
    }
}

void GlissaNode::Delete(GlissaNode* pChild)
{
    Delete(Find(pChild));
}

int GlissaNode::GetCount()
{
    return mState->mChildren.GetCount();
}

GlissaNode* GlissaNode::Get(int pIndex)
{
    return pIndex >= 0 && pIndex < mState->mChildren.GetCount() ? mState->mChildren[pIndex]
                                                                : nullptr;
}

bool GlissaNode::IsChild(GlissaNode* pNode, bool pRecursive)
{
    for (GlissaNode* child : mState->mChildren) {
        if (child == pNode || (pRecursive && child->IsChild(pNode, true))) {
            return true;
        }
    }
    return false;
}

GlissaNode* GlissaNode::Find(KDataType* pType)
{
    for (GlissaNode* child : mState->mChildren) {
        if (child->GetDataType() == pType) {
            return child;
        }
    }
    return nullptr;
}

int GlissaNode::Find(const GlissaNode* pNode)
{
    return mState->mChildren.Find(const_cast<GlissaNode*>(pNode));
}

int GlissaNode::Find(const char* pName)
{
    const std::string_view name = pName ? pName : "";
    for (int i = 0; i < mState->mChildren.GetCount(); ++i) {
        if (IsNamed(mState->mChildren[i], name)) {
            return i;
        }
    }
    return -1;
}

void GlissaNode::SetParent(GlissaNode* pParent)
{
    mState->mParent = pParent;
    NoteStructureChange();
}

GlissaNode* GlissaNode::GetParent()
{
    return mState->mParent;
}

GlissaNode* GlissaNode::FindOrCreate(const char* pName, bool pCreateCurve)
{
    GlissaNode* child = Get(Find(pName));
    if (!child) {
        child = new GlissaNode(pName, pName, nullptr, eLayerTypeValue, GlissaLayerInfo::Base);
        Add(child);
    }
    if (pCreateCurve && !child->FCurveGet()) {
        child->FCurveSet(GlissaCreate(), false);
    }
    return child;
}

GlissaNode* GlissaNode::FindRecursive(KDataType* pType)
{
    const auto children_of = [](GlissaNode * pNode) -> auto&
    {
        return pNode->mState->mChildren;
    };
    return FindBelow(children_of, this,
                     [pType](GlissaNode* pNode) { return pNode->GetDataType() == pType; });
}

GlissaNode* GlissaNode::FindRecursive(const char* pName)
{
    const std::string_view name = pName ? pName : "";
    KDataType* const transform = TransformOf(name);
    const auto children_of = [](GlissaNode * pNode) -> auto&
    {
        return pNode->mState->mChildren;
    };
    return FindBelow(children_of, this, [name, transform](GlissaNode* pNode) {
        return (transform && pNode->GetDataType() == transform) || IsNamed(pNode, name);
    });
}
