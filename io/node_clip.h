// Copyright (c) 2026 The glissa authors
// SPDX-License-Identifier: MIT
// Host side, not installed.
#pragma once

#include "glissa/node/node.h"
#include "io/clip.h"
#include "io/host_layers.h"

#include <memory>
#include <string>
#include <vector>

/// The tree of nodes of a clip: a node for each joint, in the hierarchy of the joints. Its first
/// children are "T" (local translation) and "R" (local rotation, in the rotation order of the
/// joint), each with X, Y and Z, if the joint has channels of that kind. The layers of "T" and "R"
/// are in GetLayers.
///
/// Each leaf has a curve without keys. The value of an axis without a channel is the offset of the
/// joint, or 0 degrees.
class NodeClip
{
public:
    /// Without a tree.
    NodeClip() = default;
    explicit NodeClip(const Clip& pClip);

    /// Parent of the root joints.
    GlissaNode* GetRoot() const { return mRoot.get(); }
    /// By index in the clip. The name of the node is the address of the joint, its time warp name
    /// the name of the joint.
    GlissaNode* GetJoint(std::size_t pJoint) const { return mJoints[pJoint]; }
    std::size_t GetJointCount() const { return mJoints.size(); }
    /// "T" or "R" of a joint, or null.
    GlissaNode* GetTransform(std::size_t pJoint, KDataType* pType) const;
    /// The leaf of a channel that the joint has.
    GlissaNode* GetChannel(std::size_t pJoint, EClipChannel pChannel) const;

    /// A node that can have layers, "Hips/T" or "Hips/R".
    struct NamedNode
    {
        std::string mName;
        GlissaNode* mNode;
    };
    std::vector<NamedNode> GetTransforms(const Clip& pClip) const;

    HostLayers& GetLayers() { return mLayers; }
    const HostLayers& GetLayers() const { return mLayers; }

private:
    struct DestroyNode
    {
        void operator()(GlissaNode* pNode) const { pNode->Destroy(); }
    };

    HostLayers mLayers;
    std::unique_ptr<GlissaNode, DestroyNode> mRoot;
    std::vector<GlissaNode*> mJoints;
};
