// Copyright (c) 2026 The glissa authors
// SPDX-License-Identifier: MIT

#include "io/node_clip.h"

#include "glissa/curve/curve.h"

#include <algorithm>
#include <map>
#include <set>

namespace
{
struct NoCaseLess
{
    bool operator()(const std::string& pLeft, const std::string& pRight) const
    {
        return KCompareNoCase(std::string_view(pLeft), std::string_view(pRight)) < 0;
    }
};
using Names = std::set<std::string, NoCaseLess>;

// Nodes are found by name without regard to case, and "T", "R" and "S" are the names of the local
// transforms in a store. So the names of the children must differ from these and in more than case.
std::string UniqueName(Names& pTaken, const std::string& pAddress)
{
    const std::string base = pAddress.c_str();
    std::string name = base;
    for (std::size_t number = pTaken.size(); !pTaken.insert(name).second; ++number) {
        name = base + '#' + std::to_string(number);
    }
    return name;
}

GlissaNode* AddNew(GlissaNode& pParent, GlissaNode* pNode)
{
    try {
        pParent.Add(pNode);
    } catch (...) {
        pNode->Destroy();
        throw;
    }
    return pNode;
}

GlissaNode* AddTransform(GlissaNode& pJoint, KDataType* pType, const char* pName)
{
    GlissaNode* const node = AddNew(pJoint, FCurveNodeCreateFromDataType(pType, pName));
    node->CreateFCurve();
    return node;
}

bool HasChannels(const ClipJoint& pJoint, bool pRotation)
{
    return std::any_of(pJoint.mChannels.begin(), pJoint.mChannels.end(),
                       [pRotation](EClipChannel pEach) { return IsRotation(pEach) == pRotation; });
}
}  // namespace

NodeClip::NodeClip(const Clip& pClip)
    : mRoot(GlissaNodeCreate("Clip", nullptr, eLayerTypeValue, GlissaLayerInfo::Base))
{
    std::map<GlissaNode*, Names> taken;
    mJoints.reserve(pClip.mJoints.size());
    for (const ClipJoint& joint : pClip.mJoints) {
        GlissaNode* const parent =
            joint.mParent < 0 ? mRoot.get() : mJoints[static_cast<std::size_t>(joint.mParent)];
        Names& names = taken.emplace(parent, Names{"T", "R", "S"}).first->second;
        GlissaNode* const node =
            AddNew(*parent, GlissaNodeCreate(UniqueName(names, joint.mAddress).c_str(), nullptr,
                                             eLayerTypeValue, GlissaLayerInfo::Base));
        node->SetTimeWarpName(joint.mName.c_str());
        mJoints.push_back(node);
        if (HasChannels(joint, false)) {
            GlissaNode* const translation = AddTransform(*node, KDataTypeLclTranslation, "T");
            double offset[3] = {joint.mOffset[0], joint.mOffset[1], joint.mOffset[2]};
            translation->SetValue(offset);
        }
        if (HasChannels(joint, true)) {
            AddTransform(*node, KDataTypeLclRotation, "R")->SetRotationOrder(joint.mRotationOrder);
        }
        for (const EClipChannel channel : joint.mChannels) {
            GetChannel(mJoints.size() - 1, channel)->FCurveGet()->SetValue(0.0f);
        }
    }
}

GlissaNode* NodeClip::GetTransform(std::size_t pJoint, KDataType* pType) const
{
    return mJoints[pJoint]->Find(pType);
}

GlissaNode* NodeClip::GetChannel(std::size_t pJoint, EClipChannel pChannel) const
{
    GlissaNode* const node =
        GetTransform(pJoint, IsRotation(pChannel) ? KDataTypeLclRotation : KDataTypeLclTranslation);
    return node->Get(ClipChannelAxis(pChannel));
}

std::vector<NodeClip::NamedNode> NodeClip::GetTransforms(const Clip& pClip) const
{
    std::vector<NamedNode> nodes;
    for (std::size_t i = 0; i < mJoints.size(); ++i) {
        for (KDataType* const type : {KDataTypeLclTranslation, KDataTypeLclRotation}) {
            if (GlissaNode* const node = GetTransform(i, type)) {
                nodes.push_back({pClip.mJoints[i].mAddress + '/' + node->GetName(), node});
            }
        }
    }
    return nodes;
}
