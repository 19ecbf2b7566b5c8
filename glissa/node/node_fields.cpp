// Copyright (c) 2026 The glissa authors
// SPDX-License-Identifier: MIT

// What a node holds by itself: names, curve, flags, links and counters.

#include "corvekit/event/operation.h"
#include "corvekit/object/property.h"
#include "glissa/curve/curve.h"
#include "glissa/node/node_state.h"

#include <algorithm>

namespace
{
int Sum(int pLeft, int pRight)
{
    return static_cast<int>(static_cast<unsigned>(pLeft) + static_cast<unsigned>(pRight));
}
}  // namespace

const char* GlissaNode::GetName() const
{
    const NameInfo* names = mState->mNames;
    if (!names) {
        return "";
    }
    return names->mProperty ? names->mProperty->GetPropertyName() : names->mName.GetBuffer();
}

const char* GlissaNode::GetTimeWarpName() const
{
    return mState->mNames ? mState->mNames->mUserName.GetBuffer() : "";
}

void GlissaNode::SetTimeWarpName(const char* pName)
{
    mState->Names().mUserName = KString(pName);
}

const char* GlissaNode::GetTypeName() const
{
    const KDataType* type = GetDataType();
    return type ? type->GetName() : "";
}

KDataType* GlissaNode::GetDataType() const
{
    return mState->mNames ? mState->mNames->mDataType : nullptr;
}

KProperty* GlissaNode::GetProperty() const
{
    return mState->mNames ? mState->mNames->mProperty : nullptr;
}

void GlissaNode::SetProperty(KProperty* pProperty)
{
    mState->Names().mProperty = pProperty;
}

GlissaNode::NameInfo* GlissaNode::GetNameInfo() const
{
    return mState->mNames;
}

void GlissaNode::SetNameInfo(NameInfo* pInfo)
{
    if (pInfo == mState->mNames) {
        return;
    }
    mState->ReleaseNames();
    mState->mNames = pInfo;
    if (pInfo) {
        std::atomic_ref(pInfo->mReferenceCount).fetch_add(1);
    }
}

int GlissaNode::GetValueCount()
{
    return mState->mCurve ? 1 : GetCount();
}

Glissa* GlissaNode::FCurveGet() const
{
    return mState->mCurve;
}

Glissa* GlissaNode::FCurveSet(Glissa* pCurve, bool pDestroyOld)
{
    const KOperation operation;
    Glissa* old = mState->mCurve;
    if (pCurve == old) {
        return nullptr;
    }
    if (old) {
        CORVEKIT_ASSERT(old->mPlace == &mState->mCurve);
        old->mPlace = nullptr;
        if (old->GetOwner() == this) {
            old->SetOwner(nullptr);
        }
    }
    GlissaNode* const owner = pCurve ? pCurve->GetOwner() : nullptr;
    GlissaNode* const giver = owner && owner->mState->mCurve == pCurve ? owner : nullptr;
    mState->mCurve = pCurve;
    if (pCurve) {
        // The node that has it, which a host may have replaced as its owner.
        if (pCurve->mPlace) {
            *pCurve->mPlace = nullptr;
        }
        pCurve->mPlace = &mState->mCurve;
        pCurve->SetOwner(this);
    }
    NoteStructureChange();
    if (old && pDestroyOld) {
        old->Destroy();
        old = nullptr;
    }
    CallbackAddEvent(eNodeEventCurve);
    if (giver) {
        giver->CallbackAddEvent(eNodeEventCurve);
    }
    return old;
}

void GlissaNode::CreateFCurve()
{
    const KOperation operation;
    if (GetCount() > 0) {
        for (GlissaNode* child : mState->mChildren) {
            child->CreateFCurve();
        }
    } else if (!mState->mCurve) {
        FCurveSet(GlissaCreate(), false);
    }
}

bool GlissaNode::FCurveCreated()
{
    if (GetCount() == 0) {
        return mState->mCurve != nullptr;
    }
    return std::all_of(mState->mChildren.begin(), mState->mChildren.end(),
                       [](GlissaNode* pChild) { return pChild->FCurveCreated(); });
}

int GlissaNode::GetIOType() const
{
    return mState->FlagNumber(kNodeIOType);
}

void GlissaNode::SetIOType(int pType)
{
    mState->SetFlagNumber(kNodeIOType, pType);
}

int GlissaNode::GetContainerType() const
{
    return mState->FlagNumber(kNodeContainer);
}

void GlissaNode::SetContainerType(int pType)
{
    mState->SetFlagNumber(kNodeContainer, pType);
}

int GlissaNode::GetTakeType() const
{
    return mState->FlagNumber(kNodeTakeType);
}

void GlissaNode::SetTakeType(int pType)
{
    mState->SetFlagNumber(kNodeTakeType, pType);
}

int GlissaNode::IsExpended() const
{
    return mState->FlagNumber(kNodeExpanded);
}

void GlissaNode::SetExpended(bool pExpanded)
{
    mState->SetFlag(kNodeExpanded, pExpanded);
}

int GlissaNode::IsMultiLayer() const
{
    return mState->FlagNumber(kNodeMultiLayer);
}

void GlissaNode::SetMultiLayer(bool pMultiLayer)
{
    mState->SetFlag(kNodeMultiLayer, pMultiLayer);
    for (GlissaNode* child : mState->mChildren) {
        child->SetMultiLayer(pMultiLayer);
    }
}

bool GlissaNode::GetVisibility() const
{
    return mState->HasFlag(kNodeVisible);
}

void GlissaNode::SetVisibility(bool pVisible, bool pChildren, bool pLayers, int pChildIndex)
{
    CORVEKIT_ASSERT(pChildIndex >= -1);
    const KOperation operation;
    if (pLayers && mState->mNextLayer) {
        mState->mNextLayer->SetVisibility(pVisible, pChildren, pLayers, pChildIndex);
    }
    if (pChildIndex == -1) {
        mState->SetFlag(kNodeVisible, pVisible);
        if (pChildren) {
            for (GlissaNode* child : mState->mChildren) {
                child->SetVisibility(pVisible, pChildren, pLayers, -1);
            }
        }
    } else if (GlissaNode* child = Get(pChildIndex)) {
        child->SetVisibility(pVisible, pChildren, pLayers, -1);
    }
    CallbackAddEvent(eNodeEventVisibility);
}

bool GlissaNode::IsEditable() const
{
    return GetVisibility() && mState->mCurve;
}

const float* GlissaNode::GetColor() const
{
    static constexpr float kNoColor[3] = {};
    return mState->mCurve ? mState->mCurve->GetColor() : kNoColor;
}

void GlissaNode::SetColor(const float* pColor)
{
    CORVEKIT_ASSERT(pColor);
    if (mState->mCurve) {
        mState->mCurve->SetColor(pColor);
    }
}

bool GlissaNode::GetEvaluationFlag(int pMask) const
{
    return GetEvaluationFlag(pMask, pMask);
}

bool GlissaNode::GetEvaluationFlag(int pMask, int pValue) const
{
    return (mState->mEvaluationFlags & static_cast<unsigned>(pMask)) ==
           static_cast<unsigned>(pValue);
}

void GlissaNode::SetEvaluationFlag(int pMask, int pValue)
{
    NoteStructureChange();
    mState->mEvaluationFlags =
        (mState->mEvaluationFlags & ~static_cast<unsigned>(pMask)) | static_cast<unsigned>(pValue);
}

void GlissaNode::SetEvaluationFlag(int pMask, bool pSet)
{
    SetEvaluationFlag(pMask, pSet ? pMask : 0);
}

int GlissaNode::GetLayerType() const
{
    return mState->LayerType();
}

void GlissaNode::SetLayerType(int pType, GlissaNode*)
{
    const unsigned bit = State::LayerTypeBit(pType);
    if (bit != 0 && pType != GetLayerType()) {
        mState->mEvaluationFlags = (mState->mEvaluationFlags & ~kNodeLayerTypes) | bit;
        NoteStructureChange();
    }
}

GlissaNode* GlissaNode::TemplateGet() const
{
    return mState->mTemplate;
}

void GlissaNode::TemplateSet(GlissaNode* pTemplate)
{
    if (!pTemplate) {
        mState->mTemplate = nullptr;
        return;
    }
    if (pTemplate != mState->mTemplate) {
        mState->mTemplate = pTemplate;
        SetNameInfo(pTemplate->mState->mNames);
    }
    const int count = std::min(GetCount(), pTemplate->GetCount());
    for (int i = 0; i < count; ++i) {
        Get(i)->TemplateSet(pTemplate->Get(i));
    }
}

GlissaNode* GlissaNode::DataNodeGet()
{
    // The second pointer moves at half the speed (Floyd): in a circle the two meet.
    GlissaNode* last = this;
    GlissaNode* behind = this;
    bool moves = false;
    while (GlissaNode* next = last->mState->mDataNode) {
        last = next;
        if (moves) {
            behind = behind->mState->mDataNode;
        }
        moves = !moves;
        if (last == behind) {
            break;
        }
    }
    return last;
}

void GlissaNode::DataNodeSet(GlissaNode* pNode, bool pRecursive)
{
    mState->mDataNode = pNode == this ? nullptr : pNode;
    if (pRecursive && pNode) {
        const int count = std::min(GetCount(), pNode->GetCount());
        for (int i = 0; i < count; ++i) {
            Get(i)->DataNodeSet(pNode->Get(i), true);
        }
    }
}

GlissaNode* GlissaNode::ObjectLayerGet() const
{
    return mState->mObjectLayer;
}

void GlissaNode::ObjectLayerSet(GlissaNode* pNode)
{
    mState->SetObjectLayer(this, pNode);
}

IConnector* GlissaNode::GetConnector() const
{
    return mState->mConnector;
}

void GlissaNode::SetConnector(IConnector* pConnector)
{
    mState->mConnector = pConnector;
}

IConnector* GlissaNode::GetOriginalConnector() const
{
    if (mState->mConnector) {
        return mState->mConnector;
    }
    return mState->mParent ? mState->mParent->GetConnector() : nullptr;
}

int GlissaNode::IncReferenceCount()
{
    return ++mState->mReferenceCount;
}

int GlissaNode::DecReferenceCount()
{
    return --mState->mReferenceCount;
}

int GlissaNode::GetReferenceCount() const
{
    return mState->mReferenceCount;
}

int GlissaNode::GetUpdateId()
{
    if (mState->mCurve) {
        return mState->mCurve->GetUpdateId();
    }
    int sum = 0;
    for (GlissaNode* child : mState->mChildren) {
        sum = Sum(sum, child->GetUpdateId());
    }
    return sum;
}

int GlissaNode::GetValuesUpdateId()
{
    int sum = mState->mCurve ? mState->mCurve->GetValuesUpdateId() : 0;
    if (!mState->mCurve) {
        for (GlissaNode* child : mState->mChildren) {
            sum = Sum(sum, child->GetValuesUpdateId());
        }
    }
    return mState->mNextLayer ? Sum(sum, mState->mNextLayer->GetValuesUpdateId()) : sum;
}

int GlissaNode::GetNodeUpdateId() const
{
    return mState->mUpdateId;
}
