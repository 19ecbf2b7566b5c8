// Copyright (c) 2026 The glissa authors
// SPDX-License-Identifier: MIT

// The node itself: how it begins and ends, its names, its curve, its flags and its links.

#include "corvekit/event/operation.h"
#include "corvekit/object/property.h"
#include "glissa/curve/curve.h"
#include "glissa/node/node_state.h"

#include <algorithm>
#include <iterator>
#include <utility>

namespace
{
constexpr unsigned kLayerTypeBits[] = {0x01, 0x02, 0x10, 0x04, 0, 0x20, 0x08};

constexpr bool IsRotation(int pLayerType)
{
    return pLayerType == eLayerTypeRotation || pLayerType == eLayerTypeRotationByChannel;
}

// 0 for what is no layer type.
constexpr unsigned LayerTypeBit(int pLayerType)
{
    return pLayerType >= 0 && pLayerType < static_cast<int>(std::size(kLayerTypeBits))
               ? kLayerTypeBits[pLayerType]
               : 0;
}

int Sum(int pLeft, int pRight)
{
    return static_cast<int>(static_cast<unsigned>(pLeft) + static_cast<unsigned>(pRight));
}
}  // namespace

std::atomic<std::uint64_t> node_structure_changes{1};

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

void GlissaNodeState::CopyCandidates(const GlissaNodeState& pSource)
{
    mCandidateTime = pSource.mCandidateTime;
    mEvaluationFlags = (mEvaluationFlags & ~kNodeCandidateMethods) |
                       (pSource.mEvaluationFlags & kNodeCandidateMethods);
    std::copy_n(pSource.mTotalCandidate, kNodeLayeredValues, mTotalCandidate);
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

GlissaNode::GlissaNode(const char* pName, const char* pUserName, KDataType* pType, int pLayerType,
                       const GlissaLayerInfo& pInfo)
{
    auto state = std::make_unique<State>();
    NameInfo& names = state->Names();
    names.mName = KString(pName);
    names.mUserName = KString(pUserName);
    names.mDataType = pType;
    mState = state.release();
    mState->mLayer = pInfo;
    mState->SetObjectLayer(this, this);
    int type = pLayerType;
    if (IsRotation(type)) {
        const bool by_channel =
            pInfo.GetLayerID() != 0 && pInfo.GetLayerRotationMode() == eRotationByChannel;
        type = by_channel ? eLayerTypeRotationByChannel : eLayerTypeRotation;
    }
    mState->mEvaluationFlags = LayerTypeBit(type);
    SetSpecificCandidateMethod(eCandidateSpecific);
    SetTotalCandidateMethod(eCandidateSpecific);
}

GlissaNode::GlissaNode(GlissaNode* pTemplate) : mState(new State)
{
    const State& source = *pTemplate->mState;
    SetNameInfo(source.mNames);
    mState->mTemplate = pTemplate;
    mState->SetObjectLayer(this, this);
    mState->mRotationOrder = source.mRotationOrder;
    mState->mEvaluationFlags = source.mEvaluationFlags & (kNodeLayerTypes | kNodeUseQuaternion);
    mState->CopyCandidates(source);
}

GlissaNode::~GlissaNode()
{
    mState->mIsEnding = true;
    KOperation::Forget(this);
    // Listeners that are turned off are called too.
    CallbackAddEvent(eNodeEventDestroy);
    CallbackEnable(true);
    delete mState->mCallbacks;
    mState->mCallbacks = nullptr;
    GlissaNode::Clear();
    if (mState->mParent) {
        mState->mParent->mState->mChildren.RemoveIt(this);
    }
    if (GlissaNode* const holder = mState->mHolder) {
        if (holder->mState->mNextLayer == this) {
            holder->ExchangeNextLayer(nullptr);
        }
        std::erase(holder->mState->mUnmatched, this);
    }
    while (mState->mWarpUsers) {
        mState->mWarpUsers->mOwner->TimeWarpSet(nullptr);
    }
    // A layer without its base is one of its own.
    while (mState->mBaseUsers) {
        GlissaNode* const layer = mState->mBaseUsers->mOwner;
        layer->mState->SetObjectLayer(layer, layer);
    }
    NoteStructureChange();
    SetETI(nullptr);
    delete mState;
}

void GlissaNode::Clear()
{
    const KOperation operation;
    // Without this node the layers are a chain of their own.
    GlissaNode* const layer = ExchangeNextLayer(nullptr);
    for (GlissaNode* node = layer; node; node = node->LayerGet()) {
        node->SetBase(layer);
    }
    for (int i = mState->mChildren.GetCount() - 1; i >= 0; --i) {
        if (mState->IsContainer()) {
            Remove(i);
        } else {
            Delete(i);
        }
    }
    mState->mChildren.Clear();
    DestroyUnmatched();
    NoteStructureChange();
    if (Glissa* curve = std::exchange(mState->mCurve, nullptr)) {
        curve->Destroy();
    }
    if (layer && layer->DecReferenceCount() < 1) {
        layer->Destroy();
    }
    mState->SetObjectLayer(this, this);
    mState->SetTimeWarp(this, nullptr);
}

IObject* GlissaNode::IQuery(unsigned long pId, int)
{
    return pId == 0 || pId == 51 || pId == 0x29BC7B2 ? this : nullptr;
}

void GlissaNode::Destroy(int)
{
    if (!mState->mIsEnding) {
        const KOperation operation;
        KOperation::DeleteAtEnd(this, [this] { delete this; });
    }
}

KZrObjectHolder* GlissaNode::GetZrHolder()
{
    return &mState->mObjectHolder;
}

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
    // One that another node has taken over meanwhile stays with that node.
    if (old && old->mPlace == &mState->mCurve) {
        old->mPlace = nullptr;
    }
    if (old && old->GetOwner() == this) {
        old->SetOwner(nullptr);
    }
    mState->mCurve = pCurve;
    if (pCurve) {
        pCurve->mPlace = &mState->mCurve;
        pCurve->SetOwner(this);
    }
    NoteStructureChange();
    if (old && pDestroyOld) {
        old->Destroy();
        old = nullptr;
    }
    CallbackAddEvent(eNodeEventCurve);
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
    return static_cast<int>(mState->mFlags & kNodeIOType);
}

void GlissaNode::SetIOType(int pType)
{
    mState->SetFlag(kNodeIOType, (static_cast<unsigned>(pType) & kNodeIOType) != 0);
}

int GlissaNode::GetContainerType() const
{
    return static_cast<int>(mState->mFlags & kNodeContainer);
}

void GlissaNode::SetContainerType(int pType)
{
    mState->SetFlag(kNodeContainer, (static_cast<unsigned>(pType) & kNodeContainer) != 0);
}

int GlissaNode::GetTakeType() const
{
    return static_cast<int>(mState->mFlags & kNodeTakeType);
}

void GlissaNode::SetTakeType(int pType)
{
    mState->SetFlag(kNodeTakeType, (static_cast<unsigned>(pType) & kNodeTakeType) != 0);
}

int GlissaNode::IsExpended() const
{
    return static_cast<int>(mState->mFlags & kNodeExpanded);
}

void GlissaNode::SetExpended(bool pExpanded)
{
    mState->SetFlag(kNodeExpanded, pExpanded);
}

int GlissaNode::IsMultiLayer() const
{
    return static_cast<int>(mState->mFlags & kNodeMultiLayer);
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
    const unsigned bit = LayerTypeBit(pType);
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
    // The second walker goes at half the speed: links that close a circle bring the two together.
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
