// Copyright (c) 2026 The glissa authors
// SPDX-License-Identifier: MIT

// From a stored field to a node. Channels are matched with the children by name, and created where
// they are missing if the caller wants it; the chain of layers is always created anew. Any document
// is safe to read: the call depth is that of its blocks, each node that is created has a field, and
// after a node has been read, its chain is in order, has its structure and has it as base.

#include "corvekit/event/operation.h"
#include "corvekit/store/tdf.h"
#include "glissa/curve/curve_holder.h"
#include "glissa/node/chain.h"
#include "glissa/node/channel_names.h"
#include "glissa/node/structure.h"
#include "glissa/node/tree.h"
#include "glissa/node/values.h"

#include <algorithm>
#include <cstring>
#include <map>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

namespace
{
// The layer type follows from the data type, except that a rotation may be one by channel.
void RepairLayerType(GlissaNode& pNode)
{
    KDataType* const type = pNode.GetDataType();
    if (type == KDataTypeLclRotation || std::strcmp(pNode.GetName(), "R") == 0) {
        if (pNode.GetCount() != 3) {
            pNode.SetLayerType(pNode.IsRotationLayerType() ? eLayerTypeValue
                                                           : pNode.GetLayerType());
        } else if (!pNode.IsRotationLayerType()) {
            pNode.SetLayerType(eLayerTypeRotation);
        }
    } else if (type == KDataTypeLclTranslation || type == KDataTypeTranslation) {
        pNode.SetLayerType(eLayerTypeVector);
    } else if (type == KDataTypeLclScaling || type == KDataTypeScaling) {
        pNode.SetLayerType(eLayerTypeScaling);
    }
}
}  // namespace

// Reads the block of one node; the caller has opened its field.
class GlissaNode::StoreReader
{
public:
    struct Flags
    {
        bool create;
        bool color;
    };

    StoreReader(KTdf& pTdf, bool pOnlyDefaults, std::vector<GlissaStoreFault>* pFaults)
        : mTdf(pTdf), mOnlyDefaults(pOnlyDefaults), mFaults(pFaults)
    {}

    void ReadNode(GlissaNode& pNode, Flags pFlags, bool pIsLayer);

private:
    class PlaceScope;

    void ReadCurve(GlissaNode& pNode, bool pWithColor);
    void ReadChannels(GlissaNode& pNode, const Flags& pFlags, bool pIsLayer);
    bool ReadNextLayer(GlissaNode& pNode);
    void ReadTimeWarp(GlissaNode& pNode);
    void MatchChain(GlissaNode& pNode, bool pIsNew);
    void DestroyLayersThatDoNotFit(GlissaNode& pNode, int pLevels);
    bool MatchLayer(GlissaNode& pBase, GlissaNode& pLayer, double pZero);
    void SetChannels(GlissaNode& pLayer, const std::vector<GlissaNode*>& pChannels,
                     const std::vector<GlissaNode*>& pOthers, std::vector<NodeHolder> pMade = {});
    static void SetBaseOfChain(GlissaNode* pFirst, GlissaNode& pBase);
    void AddFault(eGlissaStoreFault pKind, std::string_view pChannel = {});
    void EnterChannel(std::string_view pName);
    void EnterLayer(int pId);

    KTdf& mTdf;
    const bool mOnlyDefaults;
    std::vector<GlissaStoreFault>* const mFaults;

    // The place of faults: the node outside of all layers, the layer of its chain that is being
    // read, and the channel below that layer.
    GlissaNode* mNode = nullptr;
    bool mIsInLayer = false;
    int mLayerID = 0;
    std::string mChannel;
};

// Restores the place of faults at the end of a scope.
class GlissaNode::StoreReader::PlaceScope
{
public:
    explicit PlaceScope(StoreReader& pReader)
        : mReader(pReader),
          mNode(pReader.mNode),
          mIsInLayer(pReader.mIsInLayer),
          mLayerID(pReader.mLayerID),
          mChannelLength(pReader.mChannel.size())
    {}
    ~PlaceScope()
    {
        mReader.mNode = mNode;
        mReader.mIsInLayer = mIsInLayer;
        mReader.mLayerID = mLayerID;
        CORVEKIT_ASSERT(mReader.mChannel.size() >= mChannelLength);
        mReader.mChannel.resize(mChannelLength);
    }
    PlaceScope(const PlaceScope&) = delete;
    PlaceScope& operator=(const PlaceScope&) = delete;

private:
    StoreReader& mReader;
    GlissaNode* const mNode;
    const bool mIsInLayer;
    const int mLayerID;
    const std::size_t mChannelLength;
};

void GlissaNode::StoreReader::AddFault(eGlissaStoreFault pKind, std::string_view pChannel)
{
    if (mFaults) {
        std::string channel = mChannel;
        if (!pChannel.empty()) {
            channel.append(channel.empty() ? "" : "/").append(pChannel);
        }
        mFaults->push_back({pKind, mNode, mLayerID, KString(std::string_view(channel)), 0, 0});
    }
}

// Adds a channel to the place, below a layer. Outside of layers the node is the place.
void GlissaNode::StoreReader::EnterChannel(std::string_view pName)
{
    if (mIsInLayer) {
        mChannel.append(mChannel.empty() ? "" : "/").append(pName);
    }
}

// A chain after a channel of a layer counts as part of that layer.
void GlissaNode::StoreReader::EnterLayer(int pId)
{
    mIsInLayer = true;
    if (mChannel.empty()) {
        mLayerID = pId;
    }
}

void GlissaNode::StoreReader::ReadNode(GlissaNode& pNode, Flags pFlags, bool pIsLayer)
{
    const PlaceScope place(*this);
    mTdf.FieldReadBlockBegin();
    const int layerId = mTdf.FieldReadI("LayerID", 0);
    if (pIsLayer) {
        EnterLayer(layerId);
    } else if (!mIsInLayer) {
        mNode = &pNode;
    }
    // A layer shares the names of its base, so its own user name is not used.
    const char* userName = mTdf.FieldReadC("UserName", "");
    if (*userName != '\0' && !pIsLayer) {
        pNode.SetTimeWarpName(userName);
    }
    ReadCurve(pNode, pFlags.color);
    pNode.SetLayerInfo(GlissaLayerInfo(layerId, nullptr));
    pNode.SetLayerType(mTdf.FieldReadI("LayerType", 0));
    ReadChannels(pNode, pFlags, pIsLayer);
    const bool hasNewChain = ReadNextLayer(pNode);
    ReadTimeWarp(pNode);
    mTdf.FieldReadBlockEnd();
    if (!pIsLayer) {
        MatchChain(pNode, hasNewChain);
    }
}

void GlissaNode::StoreReader::ReadCurve(GlissaNode& pNode, bool pWithColor)
{
    Glissa* curve = pNode.FCurveGet();
    if (!mTdf.FieldReadBegin("Default")) {
        if (curve) {
            AddFault(eStoreFaultCurveMissing);
        }
        return;
    }
    if (!curve && pNode.GetCount() > 0) {
        AddFault(eStoreFaultCurveUnused);
        mTdf.FieldReadEnd();
        return;
    }
    int storedKeys = 0;
    if (curve) {
        curve->KeyClear();  // posts an event; reading does not
        curve->TdfInternalRetrieve(&mTdf, mOnlyDefaults, pWithColor, &storedKeys);
    } else {
        CurveHolder read(GlissaCreate());
        read->TdfInternalRetrieve(&mTdf, mOnlyDefaults, pWithColor, &storedKeys);
        curve = read.release();
        pNode.FCurveSet(curve, false);
    }
    if (storedKeys != curve->KeyGetCount()) {
        AddFault(eStoreFaultKeys);
        if (mFaults) {
            mFaults->back().mStoredKeys = storedKeys;
            mFaults->back().mReadKeys = curve->KeyGetCount();
        }
    }
}

void GlissaNode::StoreReader::ReadChannels(GlissaNode& pNode, const Flags& pFlags, bool pIsLayer)
{
    ChildNames names(pNode);
    GlissaNode* const base = pNode.ObjectLayerGet() != &pNode ? pNode.ObjectLayerGet() : nullptr;
    ChildNames baseNames(base ? *base : pNode);
    Flags flags = pFlags;
    const int countBefore = pNode.GetCount();
    for (GlissaNode* child : pNode.mState->mChildren) {
        child->mState->SetFlag(kNodeWasRead, false);
    }
    while (mTdf.FieldReadBegin("Channel")) {
        const KString name(mTdf.FieldReadC());
        // The channels of a layer are not in the order of the base yet, so letters do not apply.
        GlissaNode* child = FindChannel(pNode, names, name, !pIsLayer);
        if (child && child->mState->HasFlag(kNodeWasRead)) {
            if (mIsInLayer) {
                child = nullptr;  // both are kept
            } else {
                AddFault(eStoreFaultChannelTwice, name.GetView());
            }
        }
        if (!child && flags.create && (mIsInLayer || !pNode.FCurveGet())) {
            child =
                AddNew(pNode, GlissaNodeCreate(name.GetBuffer(), static_cast<KDataType*>(nullptr),
                                               eLayerTypeValue, GlissaLayerInfo::Base));
        }
        if (!child) {
            AddFault(eStoreFaultChannelUnknown, name.GetView());
            // After a channel that is left out no colours are read, and channels are created only
            // for a node with a curve, until the next channel that matches.
            flags.color = false;
            flags.create = flags.create && pNode.FCurveGet();
            mTdf.FieldReadEnd();
            continue;
        }
        child->mState->SetFlag(kNodeWasRead, true);
        {
            const PlaceScope place(*this);
            EnterChannel(name.GetView());
            ReadNode(*child, flags, false);
        }
        mTdf.FieldReadEnd();
        if (base && child->GetLayerID() > 0) {
            if (GlissaNode* const named = baseNames.Find(name.GetBuffer())) {
                SetBaseOfChain(child, *named);
                child->SetNameInfo(named->GetNameInfo());
            }
        }
        flags = pFlags;
    }
    for (int i = 0; i < countBefore; ++i) {
        if (!pNode.Get(i)->mState->HasFlag(kNodeWasRead)) {
            AddFault(eStoreFaultChannelMissing, pNode.Get(i)->GetName());
        }
    }
    // A node with a curve has no channels.
    if (mIsInLayer && pNode.FCurveGet()) {
        SetChannels(pNode, {}, {pNode.mState->mChildren.begin(), pNode.mState->mChildren.end()});
    }
}

// Reads the chain after a node. False where none was stored.
bool GlissaNode::StoreReader::ReadNextLayer(GlissaNode& pNode)
{
    if (!mTdf.FieldReadBegin("LayerChannel")) {
        return false;
    }
    GlissaNode* const layer = GlissaNodeCreate(&pNode);
    pNode.LayerSet(layer, true);
    if (pNode.LayerGet() == layer) {
        layer->ObjectLayerSet(pNode.ObjectLayerGet());
        ReadNode(*layer, {true, false}, true);
    } else {
        AddFault(eStoreFaultLayerLeftOut);
        layer->Destroy();
    }
    mTdf.FieldReadEnd();
    return true;
}

// Makes the chain after a node that was read a valid one. pIsNew: the chain was stored with the
// node.
void GlissaNode::StoreReader::MatchChain(GlissaNode& pNode, bool pIsNew)
{
    RepairLayerType(pNode);
    if (!pNode.LayerGet()) {
        return;
    }
    DestroyLayersThatDoNotFit(pNode, LevelsBelow(&pNode));
    double zero[kNodeZeroValues] = {};
    pNode.GetZeroValues(zero);
    for (GlissaNode* layer = pNode.LayerGet(); layer; layer = layer->LayerGet()) {
        const PlaceScope place(*this);
        EnterLayer(layer->GetLayerID());
        // The layer type depends on the structure, which comes first.
        const bool hasChanged = MatchLayer(pNode, *layer, zero[0]);
        if (hasChanged || pIsNew) {
            RepairLayerType(*layer);
        }
    }
    GlissaNode* const base = pNode.ObjectLayerGet();
    SetBaseOfChain(pNode.LayerGet(), base ? *base : pNode);
    CORVEKIT_ASSERT(IsChainInOrder(&pNode));
}

// Destroys layers whose id does not ascend, and those for which the tree is too deep.
// pLevels  the levels of each layer after MatchLayer.
void GlissaNode::StoreReader::DestroyLayersThatDoNotFit(GlissaNode& pNode, int pLevels)
{
    const int room = kMaxLevels - pLevels - LevelOf(&pNode) + 1;
    int count = 0;
    GlissaNode* before = &pNode;
    while (GlissaNode* const layer = before->LayerGet()) {
        if (layer->GetLayerID() > before->GetLayerID() && count < room) {
            before = layer;
            ++count;
            continue;
        }
        const PlaceScope place(*this);
        EnterLayer(layer->GetLayerID());
        AddFault(eStoreFaultLayerLeftOut);
        TakeOutNextLayer(*before);
        layer->Destroy();
    }
}

// Gives a layer the structure of its base, which evaluation requires: the same channels in the same
// order, at all levels. Channels are matched by place and name, else as FindChannel does. Missing
// channels are created with zero values; those that the base lacks become unmatched channels.
//
// pZero  the zero value of a curve of this node.
// Whether anything changed.
bool GlissaNode::StoreReader::MatchLayer(GlissaNode& pBase, GlissaNode& pLayer, double pZero)
{
    CORVEKIT_ASSERT(&pBase != &pLayer);
    const int count = pBase.FCurveGet() ? 0 : pBase.GetCount();
    double zero[kNodeZeroValues] = {};
    pBase.GetZeroValues(zero);
    const auto zeroOf = [&zero](int pIndex) { return zero[std::min(pIndex, kNodeZeroValues - 1)]; };
    if (count > 0 && pLayer.FCurveGet()) {
        AddFault(eStoreFaultCurveUnused);
        pLayer.FCurveReplace(nullptr);
    }
    std::vector<GlissaNode*> stored(pLayer.mState->mChildren.begin(),
                                    pLayer.mState->mChildren.end());
    std::vector<GlissaNode*> matched(static_cast<std::size_t>(count));
    bool hasChanged = stored.size() != matched.size();
    std::map<const GlissaNode*, std::size_t> places;
    for (std::size_t i = 0; i < matched.size(); ++i) {
        GlissaNode* const wanted = pBase.Get(static_cast<int>(i));
        places.emplace(wanted, i);
        if (i < stored.size() && KCompareNoCase(stored[i]->GetName(), wanted->GetName()) == 0) {
            matched[i] = std::exchange(stored[i], nullptr);
        }
    }
    // The others are matched as channels of the base, and get the names of the base.
    ChildNames names(pBase);
    for (GlissaNode*& channel : stored) {
        GlissaNode* const meant =
            channel && count > 0 ? FindChannel(pBase, names, channel->GetName(), true) : nullptr;
        if (meant && !matched[places.at(meant)]) {
            channel->SetNameInfo(meant->GetNameInfo());
            hasChanged = true;
            matched[places.at(meant)] = std::exchange(channel, nullptr);
        }
    }
    std::vector<NodeHolder> made;
    for (int i = 0; i < count; ++i) {
        GlissaNode*& channel = matched[static_cast<std::size_t>(i)];
        if (!channel) {
            AddFault(eStoreFaultChannelMade, pBase.Get(i)->GetName());
            made.emplace_back(pBase.Get(i)->CloneTemplate(
                false, false, true, GlissaLayerInfo(pLayer.GetLayerID(), nullptr)));
            channel = made.back().get();
            ResetToZeroValues(*channel, true);
            if (channel->FCurveGet()) {
                channel->FCurveGet()->SetValue(static_cast<float>(zeroOf(i)));
            }
            hasChanged = true;
        }
    }
    stored.erase(std::remove(stored.begin(), stored.end(), nullptr), stored.end());
    SetChannels(pLayer, matched, stored, std::move(made));
    CORVEKIT_ASSERT(pLayer.GetCount() == count);
    for (int i = 0; i < count; ++i) {
        const PlaceScope place(*this);
        EnterChannel(pBase.Get(i)->GetName());
        DestroyLayersThatDoNotFit(*pLayer.Get(i), LevelsBelow(pBase.Get(i)));
        for (GlissaNode* each = pLayer.Get(i); each; each = each->LayerGet()) {
            hasChanged = MatchLayer(*pBase.Get(i), *each, zeroOf(i)) || hasChanged;
        }
    }
    if (pBase.FCurveGet() && !pLayer.FCurveGet()) {
        AddFault(eStoreFaultCurveMissing);
        pLayer.CreateFCurve();
        pLayer.FCurveGet()->SetValue(static_cast<float>(pZero));
    }
    return hasChanged;
}

void GlissaNode::StoreReader::SetBaseOfChain(GlissaNode* pFirst, GlissaNode& pBase)
{
    for (GlissaNode* node = pFirst; node; node = node->LayerGet()) {
        SetBase(*node, pBase);
    }
}

// Replaces the channels of a layer. Of the others, those with keys become unmatched channels and
// those without keys are destroyed. pMade  the channels that are new.
void GlissaNode::StoreReader::SetChannels(GlissaNode& pLayer,
                                          const std::vector<GlissaNode*>& pChannels,
                                          const std::vector<GlissaNode*>& pOthers,
                                          std::vector<NodeHolder> pMade)
{
    CORVEKIT_ASSERT(pChannels.size() + pOthers.size() >=
                    static_cast<std::size_t>(pLayer.GetCount()));
    KArrayTemplate<GlissaNode*, 16>& children = pLayer.mState->mChildren;
    std::vector<GlissaNode*>& unmatched = pLayer.mState->mUnmatched;
    std::vector<NodeHolder> empty;
    children.SetCapacity(static_cast<int>(pChannels.size()));
    unmatched.reserve(unmatched.size() + pOthers.size());
    empty.reserve(pOthers.size());
    while (children.RemoveAt(children.GetCount() - 1)) {
    }
    for (GlissaNode* const channel : pChannels) {
        children.Add(channel);
    }
    for (NodeHolder& channel : pMade) {
        channel->SetParent(&pLayer);
        channel.release()->mState->mHolder = &pLayer;
    }
    NoteStructureChange();
    for (GlissaNode* const other : pOthers) {
        SetBaseOfChain(other, *other);
        if (other->KeyGetCount(true) > 0) {
            unmatched.push_back(other);
        } else {
            other->SetParent(nullptr);
            other->mState->mHolder = nullptr;
            empty.emplace_back(other);
        }
    }
    for (GlissaNode* const other : pOthers) {
        AddFault(other->mState->mHolder ? eStoreFaultChannelKept : eStoreFaultChannelUnknown,
                 other->GetName());
    }
}

void GlissaNode::StoreReader::ReadTimeWarp(GlissaNode& pNode)
{
    const int nick = mTdf.FieldReadI("TimeWarpID", 0);
    GlissaNode* const warp = nick != 0 ? Glissa_FindTWFromNickNumber(nick) : nullptr;
    if (!warp) {
        return;
    }
    // The warp of an axis applies to the whole vector.
    const std::string_view name = pNode.GetName();
    const bool isAxis = name == "X" || name == "Y" || name == "Z";
    GlissaNode* const parent = pNode.GetParent();
    (parent && pNode.GetLayerID() == 0 && isAxis ? *parent : pNode).TimeWarpSet(warp);
}

bool GlissaNode::TdfRetrieve(KTdf* pTdf, bool pOnlyDefaults, bool pCreateMissing, bool pWithColor,
                             std::vector<GlissaStoreFault>* pFaults)
{
    CORVEKIT_ASSERT(pTdf);
    const KOperation operation;
    if (!pTdf->FieldReadBegin("Channel")) {
        return false;
    }
    NameInfo& names = mState->Names();
    names.mName = KString(pTdf->FieldReadC());
    names.mUserName = names.mName;
    TdfInternalRetrieve(pTdf, pOnlyDefaults, pCreateMissing, pWithColor, pFaults);
    pTdf->FieldReadEnd();
    return true;
}

bool GlissaNode::TdfInternalRetrieve(KTdf* pTdf, bool pOnlyDefaults, bool pCreateMissing,
                                     bool pWithColor, std::vector<GlissaStoreFault>* pFaults)
{
    CORVEKIT_ASSERT(pTdf);
    const KOperation operation;
    StoreReader(*pTdf, pOnlyDefaults, pFaults).ReadNode(*this, {pCreateMissing, pWithColor}, false);
    return true;
}
