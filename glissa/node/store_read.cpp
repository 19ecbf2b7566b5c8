// Copyright (c) 2026 The glissa authors
// SPDX-License-Identifier: MIT

// From a stored field to a node. Channels are matched by name onto the children that are there, and
// made where they are missing and that is wanted; the chain of layers is always made anew. Any
// document is safe to read: the call depth is that of its blocks, each node made is backed by a
// field, and when a node has been read, its chain is in order, has its structure and belongs to it.

#include "corvekit/event/operation.h"
#include "corvekit/store/tdf.h"
#include "glissa/curve/curve_holder.h"
#include "glissa/node/chain.h"
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
struct NoCaseLess
{
    using is_transparent = void;
    bool operator()(std::string_view pLeft, std::string_view pRight) const
    {
        return KCompareNoCase(pLeft, pRight) < 0;
    }
};

// GlissaNode::Find by name, for as many questions as a document has channels: a node of many
// children keeps them in order.
class ChildNames
{
public:
    explicit ChildNames(GlissaNode& pNode) : mNode(pNode) {}

    int FindIndex(const char* pName)
    {
        const int count = mNode.GetCount();
        if (count <= kFew) {
            return mNode.Find(pName);
        }
        if (count < mKnown) {
            mFirst.clear();
            mKnown = 0;
        }
        for (; mKnown < count; ++mKnown) {
            mFirst.emplace(mNode.Get(mKnown)->GetName(), mKnown);
        }
        const auto found = mFirst.find(std::string_view(pName));
        return found == mFirst.end() ? -1 : found->second;
    }
    GlissaNode* Find(const char* pName) { return mNode.Get(FindIndex(pName)); }

private:
    static constexpr int kFew = 16;

    GlissaNode& mNode;
    std::map<std::string, int, NoCaseLess> mFirst;
    int mKnown = 0;
};

// The local transform that a short name stands for, or null.
KDataType* TransformOf(std::string_view pName)
{
    return pName == "R"   ? KDataTypeLclRotation
           : pName == "S" ? KDataTypeLclScaling
           : pName == "T" ? KDataTypeLclTranslation
                          : nullptr;
}

// The child of a colour that a name of one letter stands for, or -1.
int ColorChannelOf(std::string_view pName)
{
    constexpr std::string_view kLetters[] = {"RX", "GY", "BZ", " A"};
    for (int i = 0; i < 4 && pName.size() == 1; ++i) {
        if (kLetters[i].find(pName[0]) != std::string_view::npos) {
            return i;
        }
    }
    return -1;
}

bool IsColor(const GlissaNode& pNode)
{
    KDataType* const type = pNode.GetDataType();
    return type == KDataTypeColor || type == KDataTypeColorAndAlpha;
}

// What stands before a bracket, less up to two blanks: "Gain (old)" gives "Gain".
std::string BeforeBracket(std::string_view pName)
{
    std::string_view text = pName.substr(0, pName.find('('));
    for (int i = 0; i < 2 && text.ends_with(' '); ++i) {
        text.remove_suffix(1);
    }
    return std::string(text);
}

// pByLetter  a colour's channels go by their letters too.
GlissaNode* FindChannel(GlissaNode& pParent, ChildNames& pNames, const KString& pName,
                        bool pByLetter)
{
    GlissaNode* child = nullptr;
    if (KDataType* const type = TransformOf(pName.GetView())) {
        child = pParent.Find(type);
    }
    if (!child) {
        child = pNames.Find(pName.GetBuffer());
    }
    if (!child && pByLetter && IsColor(pParent)) {
        child = pParent.Get(ColorChannelOf(pName.GetView()));
    }
    if (!child && pName.Find("(") != KString::kNotFound) {
        child = pNames.Find(BeforeBracket(pName.GetView()).c_str());
    }
    return child;
}

// A layer of a rotation may be stored as one by channel; beyond that the type of data decides.
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
    void DropLayersThatDoNotFit(GlissaNode& pNode, int pLevels);
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

    // Where faults are: the node outside of all layers, the layer of its chain that is being read,
    // and the channel below that.
    GlissaNode* mNode = nullptr;
    bool mIsInLayer = false;
    int mLayerID = 0;
    std::string mChannel;
};

// Puts the place back at the end of what was read there.
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

// Below a layer. Outside of layers each channel is a node of the tree, which says where it is.
void GlissaNode::StoreReader::EnterChannel(std::string_view pName)
{
    if (mIsInLayer) {
        mChannel.append(mChannel.empty() ? "" : "/").append(pName);
    }
}

// A chain behind a channel of a layer counts as part of that layer.
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
    // A layer shares the names of its base, which is the one to say what users see.
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
        curve->KeyClear();  // of which listeners hear, as they do not of what comes
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
        // A layer makes its channels as they come, so what stands at a place says nothing yet.
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
            // What follows one that was left out, up to the next that fits, is read with care.
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

// Whether a chain was stored.
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

// Brings the chain behind a node that was read into order. pIsNew  the chain was stored with it.
void GlissaNode::StoreReader::MatchChain(GlissaNode& pNode, bool pIsNew)
{
    RepairLayerType(pNode);
    if (!pNode.LayerGet()) {
        return;
    }
    DropLayersThatDoNotFit(pNode, LevelsBelow(&pNode));
    double zero[kNodeZeroValues] = {};
    pNode.GetZeroValues(zero);
    for (GlissaNode* layer = pNode.LayerGet(); layer; layer = layer->LayerGet()) {
        const PlaceScope place(*this);
        EnterLayer(layer->GetLayerID());
        // What a layer is depends on the structure that it shall have.
        const bool hasChanged = MatchLayer(pNode, *layer, zero[0]);
        if (hasChanged || pIsNew) {
            RepairLayerType(*layer);
        }
    }
    GlissaNode* const base = pNode.ObjectLayerGet();
    SetBaseOfChain(pNode.LayerGet(), base ? *base : pNode);
    CORVEKIT_ASSERT(IsChainInOrder(&pNode));
}

// What is behind a layer that goes stays, as far as its ids rise.
// pLevels  of each layer when it has its structure.
void GlissaNode::StoreReader::DropLayersThatDoNotFit(GlissaNode& pNode, int pLevels)
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

// Gives a layer the structure of its base, on which evaluation relies: the same channels in the
// same order, below them too. Channels are known by their place and name, else as the base knows
// stored ones. Those that the layer has not are made with zero values; those that the base has not
// are kept aside. pZero  what a curve of this node is when nothing moves. Whether anything changed.
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
    // Elsewhere a channel goes where the base would read it, and is called as it is there.
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
    for (int i = 0; i < count; ++i) {
        const PlaceScope place(*this);
        EnterChannel(pBase.Get(i)->GetName());
        DropLayersThatDoNotFit(*pLayer.Get(i), LevelsBelow(pBase.Get(i)));
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

// Gives a layer these channels in place of its own. Of the others, those with keys are kept aside;
// without keys nothing is lost with them. pMade  the channels that are new.
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
    // A channel of a vector has no time of its own.
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
