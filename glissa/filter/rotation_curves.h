// Copyright (c) 2026 The glissa authors
// SPDX-License-Identifier: MIT
// Not for hosts: the three curves of a rotation, and nodes that hold them.
#pragma once

#include "corvekit/event/operation.h"
#include "corvekit/math/vector.h"

class Glissa;
class GlissaNode;

inline constexpr int kRotationAxes = 3;

/// The curve of the first node of that name below a node, as GlissaNode::FindRecursive; or null.
Glissa* FindCurveBelow(GlissaNode& pNode, const char* pName);
/// The curves of "X", "Y" and "Z" below a node. False where one is missing.
bool FindRotationCurves(GlissaNode& pNode, Glissa* (&pCurves)[kRotationAxes]);
/// Whether the node is named "R" or "Lcl Rotation".
bool IsNamedRotation(const GlissaNode& pNode);
/// Whether the node or one of its children is locked.
bool IsNodeOrChildLocked(GlissaNode& pNode);

/// A rotation node "R" with the children "X", "Y" and "Z" that holds three curves for as long as it
/// exists. Then the curves are given back to the nodes that had them. A locked curve is replaced by
/// a copy, so that it is read and not written.
class RotationTree
{
public:
    /// pOrder  the rotation order of the node, 0 to 5.
    RotationTree(Glissa* const* pCurves, int pOrder);
    ~RotationTree();
    RotationTree(const RotationTree&) = delete;
    RotationTree& operator=(const RotationTree&) = delete;

    GlissaNode& GetNode() { return *mNode; }

private:
    void GiveBack();

    KOperation mOperation;  // ends last: listeners find the curves in their nodes again
    GlissaNode* mNode;
    Glissa* mCurves[kRotationAxes] = {};  // those that were taken from their owners
    GlissaNode* mOwners[kRotationAxes] = {};
};
