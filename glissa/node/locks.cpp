// Copyright (c) 2026 The glissa authors
// SPDX-License-Identifier: MIT

// Whether a node may be edited: a lock of its layer counts first, then the lock query of the host
// or the flags of the property, both those of the base node.

#include "corvekit/object/property.h"
#include "glissa/node/lock_query.h"
#include "glissa/node/node_state.h"

namespace
{
// The property that a node animates: that of its base node, else that of the base node's parent.
KProperty* AnimatedProperty(const GlissaNode* pNode)
{
    GlissaNode* base = pNode->ObjectLayerGet();
    if (!base) {
        return nullptr;
    }
    if (KProperty* own = base->GetProperty()) {
        return own;
    }
    const GlissaNode* parent = base->GetParent();
    return parent ? parent->GetProperty() : nullptr;
}
}  // namespace

bool GlissaNode::IsNodeLocked() const
{
    return IsNodeLockedInternal(GLISSA_GetLockMode());
}

bool GlissaNode::IsNodeLockedInternal(eGlissaLockMode pMode) const
{
    if (pMode == eLockModeOff) {
        return false;
    }
    if (mState->mLayer.IsLocked()) {
        return true;
    }
    KProperty* property = AnimatedProperty(this);
    if (!property) {
        return false;
    }
    if (pMode == eLockModeProperty) {
        return property->IsLocked();
    }
    ILockQuery* query = mState->mObjectLayer->GetLockQuery();
    return query && query->IsLocked(property);
}

bool GlissaNode::IsNodeLockedInHierarchy(bool pChain)
{
    if (IsNodeLocked()) {
        return true;
    }
    for (GlissaNode* child : mState->mChildren) {
        if (child->IsNodeLockedInHierarchy(pChain)) {
            return true;
        }
    }
    return pChain && mState->mNextLayer && mState->mNextLayer->IsNodeLockedInHierarchy(true);
}

void GlissaNode::SetLockQuery(ILockQuery* pQuery)
{
    mState->Names().mLockQuery = pQuery;
}

ILockQuery* GlissaNode::GetLockQuery() const
{
    return mState->mNames ? mState->mNames->mLockQuery : nullptr;
}

bool GlissaNode::IsNodeMuted() const
{
    return mState->mLayer.IsMuted();
}

bool GlissaNode::IsNodePlotDisallowed() const
{
    const KProperty* property = AnimatedProperty(this);
    return property && property->IsPlotDisallowed();
}
