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

/// The tree of a clip's motion: a node for each joint, in the hierarchy of the joints, and first
/// below it "T" (local translation) and "R" (local rotation, in the joint's order) where the joint
/// has channels of the kind, each with X, Y and Z. The layers of "T" and "R" are among GetLayers.
///
/// Every leaf has a curve. Those of the clip's channels are without keys until somebody fills them;
/// an axis that has no channel stays at the joint's offset, or at 0 degrees.
class NodeClip
{
public:
    /// No tree at all.
    NodeClip() = default;
    explicit NodeClip(const Clip& pClip);

    /// Above the joints. Its children are the roots of the clip.
    GlissaNode* GetRoot() const { return mRoot.get(); }
    /// By index in the clip. A node is called by the joint's address, and shows the joint's name.
    GlissaNode* GetJoint(std::size_t pJoint) const { return mJoints[pJoint]; }
    std::size_t GetJointCount() const { return mJoints.size(); }
    /// "T" or "R" of a joint, null where it has none.
    GlissaNode* GetTransform(std::size_t pJoint, KDataType* pType) const;
    /// The leaf of a channel that the joint has.
    GlissaNode* GetChannel(std::size_t pJoint, EClipChannel pChannel) const;

    /// "Hips/T", "Hips/R" and so on: what layers can be on.
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
