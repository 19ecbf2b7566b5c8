// Copyright (c) 2026 The glissa authors
// SPDX-License-Identifier: MIT

// From a stored field to a node. Channels are matched by name onto the children that are there, and
// where that is wanted made where they are missing; the chain of layers is always made anew. A
// document that no writer made does no harm: the call depth is that of the document's blocks, each
// node made is backed by a field, and a chain that was read is a chain.

#include "corvekit/event/operation.h"
#include "corvekit/store/tdf.h"
#include "glissa/curve/curve_holder.h"
#include "glissa/node/node_state.h"

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

    StoreReader(KTdf& pTdf, bool pOnlyDefaults) : mTdf(pTdf), mOnlyDefaults(pOnlyDefaults) {}

    void ReadNode(GlissaNode& pNode, Flags pFlags, bool pIsLayer);

private:
    void ReadCurve(GlissaNode& pNode, bool pWithColor);
    void ReadChannels(GlissaNode& pNode, const Flags& pFlags, bool pIsLayer);
    bool ReadNextLayer(GlissaNode& pNode);
    void ReadTimeWarp(GlissaNode& pNode);
    static void DropLayersOutOfOrder(GlissaNode& pNode);
    static bool MatchLayer(GlissaNode& pBase, GlissaNode& pLayer);

    KTdf& mTdf;
    const bool mOnlyDefaults;
};

void GlissaNode::StoreReader::ReadNode(GlissaNode& pNode, Flags pFlags, bool pIsLayer)
{
    mTdf.FieldReadBlockBegin();
    // A layer shares the names of its base, which is the one to say what users see.
    const char* user_name = mTdf.FieldReadC("UserName", "");
    if (*user_name != '\0' && !pIsLayer) {
        pNode.SetTimeWarpName(user_name);
    }
    ReadCurve(pNode, pFlags.color);
    pNode.SetLayerInfo(GlissaLayerInfo(mTdf.FieldReadI("LayerID", 0), nullptr));
    pNode.SetLayerType(mTdf.FieldReadI("LayerType", 0));
    ReadChannels(pNode, pFlags, pIsLayer);
    const bool has_new_chain = ReadNextLayer(pNode);
    ReadTimeWarp(pNode);
    mTdf.FieldReadBlockEnd();
    if (pIsLayer) {
        return;
    }
    // What a layer is depends on the structure that it shall have.
    RepairLayerType(pNode);
    for (GlissaNode* layer = pNode.LayerGet(); layer; layer = layer->LayerGet()) {
        const bool has_changed = MatchLayer(pNode, *layer);
        if (has_changed || has_new_chain) {
            RepairLayerType(*layer);
        }
    }
}

void GlissaNode::StoreReader::ReadCurve(GlissaNode& pNode, bool pWithColor)
{
    if (!mTdf.FieldReadBegin("Default")) {
        return;
    }
    if (Glissa* const own = pNode.FCurveGet()) {
        own->KeyClear();  // of which listeners hear, as they do not of what comes
        own->TdfInternalRetrieve(&mTdf, mOnlyDefaults, pWithColor);
    } else if (pNode.GetCount() == 0) {
        CurveHolder curve(GlissaCreate());
        curve->TdfInternalRetrieve(&mTdf, mOnlyDefaults, pWithColor);
        pNode.FCurveSet(curve.release(), false);
    } else {
        mTdf.FieldReadEnd();  // a branch has no use for it
    }
}

void GlissaNode::StoreReader::ReadChannels(GlissaNode& pNode, const Flags& pFlags, bool pIsLayer)
{
    ChildNames names(pNode);
    GlissaNode* const object_layer = pNode.ObjectLayerGet();
    ChildNames base_names(object_layer ? *object_layer : pNode);
    Flags flags = pFlags;
    while (mTdf.FieldReadBegin("Channel")) {
        const KString name(mTdf.FieldReadC());
        // A layer makes its channels as they come, so what stands at a place says nothing yet.
        GlissaNode* child = FindChannel(pNode, names, name, !pIsLayer);
        if (!child && flags.create && !pNode.FCurveGet()) {
            child =
                AddNew(pNode, GlissaNodeCreate(name.GetBuffer(), static_cast<KDataType*>(nullptr),
                                               eLayerTypeValue, GlissaLayerInfo::Base));
        }
        if (!child) {
            // What follows one that was left out, up to the next that fits, is read with care.
            flags.color = false;
            flags.create = flags.create && pNode.FCurveGet();
            mTdf.FieldReadEnd();
            continue;
        }
        ReadNode(*child, flags, false);
        mTdf.FieldReadEnd();
        if (child->GetLayerID() > 0) {
            if (GlissaNode* const base = base_names.Find(name.GetBuffer())) {
                child->ObjectLayerSet(base);
                child->SetNameInfo(base->GetNameInfo());
            }
        }
        flags = pFlags;
    }
}

// Whether a chain was stored.
bool GlissaNode::StoreReader::ReadNextLayer(GlissaNode& pNode)
{
    const bool is_stored = mTdf.FieldReadBegin("LayerChannel");
    if (is_stored) {
        GlissaNode* const layer = GlissaNodeCreate(&pNode);
        pNode.LayerSet(layer, true);
        layer->ObjectLayerSet(pNode.ObjectLayerGet());
        ReadNode(*layer, {true, false}, true);
        mTdf.FieldReadEnd();
    }
    DropLayersOutOfOrder(pNode);
    return is_stored;
}

// What stands behind the layers that go stays, as far as its ids rise.
void GlissaNode::StoreReader::DropLayersOutOfOrder(GlissaNode& pNode)
{
    GlissaNode*& next = pNode.mState->mNextLayer;
    while (next && next->GetLayerID() <= pNode.GetLayerID()) {
        GlissaNode* const dropped = next;
        next = std::exchange(dropped->mState->mNextLayer, nullptr);
        dropped->Destroy();
    }
}

// Gives a layer the structure of its base, on which evaluation relies: the same channels in the
// same order. Channels are known by their place and name, else as the base knows stored ones. Those
// that the layer has not are made, without effect; those that the base has not go. Whether anything
// changed.
bool GlissaNode::StoreReader::MatchLayer(GlissaNode& pBase, GlissaNode& pLayer)
{
    double zero[kNodeZeroValues] = {};
    pBase.GetZeroValues(zero);
    const int count = pBase.FCurveGet() ? 0 : pBase.GetCount();
    if (count > 0) {
        pLayer.FCurveReplace(nullptr);
    }
    KArrayTemplate<GlissaNode*, 16>& channels = pLayer.mState->mChildren;
    std::vector<GlissaNode*> stored(channels.begin(), channels.end());
    std::vector<GlissaNode*> matched(static_cast<std::size_t>(count));
    bool has_changed = stored.size() != matched.size();
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
            channel->ObjectLayerSet(meant);
            has_changed = true;
            matched[places.at(meant)] = std::exchange(channel, nullptr);
        }
    }
    for (int i = 0; i < count; ++i) {
        GlissaNode*& channel = matched[static_cast<std::size_t>(i)];
        if (!channel) {
            channel = pBase.Get(i)->CloneTemplate(false, false, true,
                                                  GlissaLayerInfo(pLayer.GetLayerID(), nullptr));
            channel->SetParent(&pLayer);
            has_changed = true;
            if (channel->FCurveGet()) {
                channel->FCurveGet()->SetValue(static_cast<float>(zero[i % kNodeZeroValues]));
            }
        }
    }
    channels.SetCapacity(count);
    while (channels.RemoveAt(channels.GetCount() - 1)) {
    }
    for (GlissaNode* channel : matched) {
        channels.Add(channel);
    }
    NoteStructureChange();
    for (GlissaNode* extra : stored) {
        if (extra) {
            extra->SetParent(nullptr);
            extra->Destroy();
        }
    }
    if (pBase.FCurveGet() && !pLayer.FCurveGet()) {
        pLayer.CreateFCurve();
        pLayer.FCurveGet()->SetValue(static_cast<float>(zero[0]));
    }
    return has_changed;
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
    const bool is_axis = name == "X" || name == "Y" || name == "Z";
    GlissaNode* const parent = pNode.GetParent();
    (parent && pNode.GetLayerID() == 0 && is_axis ? *parent : pNode).TimeWarpSet(warp);
}

bool GlissaNode::TdfRetrieve(KTdf* pTdf, bool pOnlyDefaults, bool pCreateMissing, bool pWithColor)
{
    const KOperation operation;
    if (!pTdf->FieldReadBegin("Channel")) {
        return false;
    }
    NameInfo& names = mState->Names();
    names.mName = KString(pTdf->FieldReadC());
    names.mUserName = names.mName;
    TdfInternalRetrieve(pTdf, pOnlyDefaults, pCreateMissing, pWithColor);
    pTdf->FieldReadEnd();
    return true;
}

bool GlissaNode::TdfInternalRetrieve(KTdf* pTdf, bool pOnlyDefaults, bool pCreateMissing,
                                     bool pWithColor)
{
    const KOperation operation;
    StoreReader(*pTdf, pOnlyDefaults).ReadNode(*this, {pCreateMissing, pWithColor}, false);
    return true;
}
