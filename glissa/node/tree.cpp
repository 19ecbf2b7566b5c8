// Copyright (c) 2026 The glissa authors
// SPDX-License-Identifier: MIT

// Children, and the search for nodes below.

#include "glissa/node/tree.h"

#include "corvekit/object/property.h"
#include "glissa/curve/curve.h"
#include "glissa/node/structure.h"
#include "glissa/node/transform_names.h"

#include <algorithm>
#include <string_view>

namespace
{
// Nodes are far apart in memory. A search prefetches what it reads of so many of them, so that it
// waits once for all.
constexpr int kFetched = 16;

// Prefetches the name of a node and the nodes below it.
void Fetch(const GlissaNode* pNode)
{
    const GlissaNodeState& state = GlissaNodeState::Of(pNode);
    __builtin_prefetch(state.mNames);
    for (const GlissaNode* child : state.mChildren) {
        __builtin_prefetch(child);
    }
}

// The first node that matches, depth first, each child before the nodes below it.
template <typename Matches>
GlissaNode* FindBelow(GlissaNode* pNode, const Matches& pMatches)
{
    const auto& children = GlissaNodeState::Of(pNode).mChildren;
    const int count = children.GetCount();
    for (int i = 0; i < count; ++i) {
        if (i % kFetched == 0) {
            for (int ahead = i; ahead < std::min(i + kFetched, count); ++ahead) {
                Fetch(children[ahead]);
            }
        }
        if (pMatches(children[i])) {
            return children[i];
        }
        if (GlissaNode* found = FindBelow(children[i], pMatches)) {
            return found;
        }
    }
    return nullptr;
}

// Compares with GlissaNode::GetName. A text of another length is not read.
bool IsNamed(const GlissaNode::NameInfo* pNames, std::string_view pName)
{
    if (!pNames || pNames->mProperty) {
        const std::string_view name = pNames ? pNames->mProperty->GetPropertyName() : "";
        return name.size() == pName.size() && KCompareNoCase(name, pName) == 0;
    }
    const char* const text = pNames->mName.GetBuffer();
    return pName.size() <= pNames->mName.GetLength() && text[pName.size()] == '\0' &&
           KCompareNoCase(std::string_view(text, pName.size()), pName) == 0;
}

// Inserts a child that MayHold has accepted. Without memory nothing changes.
void Insert(GlissaNode& pParent, int pIndex, GlissaNode* pChild)
{
    CORVEKIT_ASSERT(MayHold(&pParent, pChild));
    EnterHolder(*pChild, pParent);
    try {
        StateOf(pParent).mChildren.InsertAt(pIndex, pChild);
    } catch (...) {
        LeaveHolder(*pChild, pParent);
        throw;
    }
    NoteStructureChange();
}

// Adds a child that MayHold has accepted.
int Append(GlissaNode& pParent, GlissaNode* pChild)
{
    const int index = pParent.GetCount();
    Insert(pParent, index, pChild);
    if (!StateOf(pParent).IsContainer()) {
        pChild->SetParent(&pParent);
    }
    return index;
}
}  // namespace

GlissaNode* AddNew(GlissaNode& pParent, GlissaNode* pChild)
{
    CORVEKIT_ASSERT(pChild);
    NodeHolder child(pChild);
    return pParent.Add(pChild) >= 0 ? child.release() : nullptr;
}

void AppendNew(GlissaNode& pParent, GlissaNode* pChild)
{
    CORVEKIT_ASSERT(pChild);
    NodeHolder child(pChild);
    Append(pParent, pChild);
    (void)child.release();
}

int GlissaNode::Add(GlissaNode* pChild)
{
    CORVEKIT_ASSERT(pChild);
    return MayHold(this, pChild) ? Append(*this, pChild) : -1;
}

int GlissaNode::SortedAdd(GlissaNode* pChild)
{
    CORVEKIT_ASSERT(pChild);
    if (!MayHold(this, pChild)) {
        return -1;
    }
    int place = 0;
    while (place < GetCount() && KCompareNoCase(pChild->GetName(), Get(place)->GetName()) > 0) {
        ++place;
    }
    Insert(*this, place, pChild);
    return place;
}

void GlissaNode::Remove(int pIndex)
{
    GlissaNode* child = Get(pIndex);
    CORVEKIT_ASSERT(child);
    if (child) {
        LeaveHolder(*child, *this);
        // The node may have become a container after it took the child.
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
        if (IsNamed(mState->mChildren[i]->mState->mNames, name)) {
            return i;
        }
    }
    return -1;
}

void GlissaNode::SetParent(GlissaNode* pParent)
{
    for (const GlissaNode* node = pParent; node; node = node->mState->mParent) {
        if (node == this) {
            return;
        }
    }
    mState->mParent = pParent;
    NoteStructureChange();
}

GlissaNode* GlissaNode::GetParent()
{
    return mState->mParent;
}

GlissaNode* GlissaNode::FindOrCreate(const char* pName, bool pCreateCurve)
{
    return IfAlive([this, pName, pCreateCurve] {
        GlissaNode* child = Get(Find(pName));
        if (!child) {
            child = AddNew(*this, new GlissaNode(pName, pName, nullptr, eLayerTypeValue,
                                                 GlissaLayerInfo::Base));
        }
        if (child && pCreateCurve && !child->FCurveGet()) {
            child->FCurveSet(GlissaCreate(), false);
        }
        return child;
    });
}

GlissaNode* GlissaNode::FindRecursive(KDataType* pType)
{
    return FindBelow(this, [pType](GlissaNode* pNode) { return pNode->GetDataType() == pType; });
}

GlissaNode* GlissaNode::FindRecursive(const char* pName)
{
    const std::string_view name = pName ? pName : "";
    KDataType* const transform = TransformOf(name);
    return FindBelow(this, [name, transform](GlissaNode* pNode) {
        return (transform && pNode->GetDataType() == transform) ||
               IsNamed(pNode->mState->mNames, name);
    });
}
