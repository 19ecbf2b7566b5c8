// Copyright (c) 2026 The glissa authors
// SPDX-License-Identifier: MIT
// Not for hosts: the three curves of a rotation, and nodes that hold them.
#pragma once

#include "corvekit/event/operation.h"
#include "corvekit/math/vector.h"
#include "corvekit/time.h"
#include "glissa/utils/key_rewrite.h"

#include <deque>

class Glissa;
class GlissaNode;

inline constexpr int kRotationAxes = 3;
inline constexpr int kQuaternionParts = 4;
inline constexpr char kRealPartName[] = "W";

/// The curve of the first node of that name below a node, as GlissaNode::FindRecursive; or null.
Glissa* FindCurveBelow(GlissaNode& pNode, const char* pName);
/// The curves of "X", "Y" and "Z" below a node. False where one is missing.
bool FindRotationCurves(GlissaNode& pNode, Glissa* (&pCurves)[kRotationAxes]);
/// The same with "W", the real part of a quaternion.
bool FindQuaternionCurves(GlissaNode& pNode, Glissa* (&pCurves)[kQuaternionParts]);
/// Whether three curves are those of the first three children, in this order.
bool AreChildCurves(GlissaNode& pNode, Glissa* const* pCurves);
/// Whether the node is named "R" or "Lcl Rotation".
bool IsNamedRotation(const GlissaNode& pNode);
/// Whether the node or one of its children is locked.
bool IsNodeOrChildLocked(GlissaNode& pNode);

/// From the earliest first to the latest last key of curves, within two times. Curves without keys
/// do not count; where none has keys the span is empty: its start lies behind its stop.
KTimeSpan SpanOfKeys(Glissa* const* pCurves, int pCount, KTime pStart = KTime::MinusInfinite(),
                     KTime pStop = KTime::Infinite());
/// Gives three curves keys at the same times within a span, as GlissaFilterKeySync does, and also
/// the keys a tick behind another one, which that filter leaves out. Locked curves are read. Lives
/// inside a bracket of each curve that is not locked. Whether key times differed.
bool SyncRotation(Glissa** pCurves, KTime pStart, KTime pStop);

/// The key at a time, or -1.
int FindKey(Glissa& pCurve, KTime pTime);
/// The values of the keys of one index.
KgeRVector RotationOfKey(Glissa* const* pCurves, int pIndex);
/// The values at the time of a key of the first curve, also where the others have none there.
KgeRVector RotationAtKey(Glissa* const* pCurves, int pIndex);
/// Writes the keys of one index, checked, and posts 0x2010 for each. Lives inside brackets.
///
/// pCurves    null for one that is not written.
/// pMirrored  the axis whose angle takes the opposite direction, as the middle one of the order
///            does in the other form of the same rotation, or -1: its user tangents take the
///            opposite slopes.
void WriteRotation(Glissa* const* pCurves, int pIndex, const KgeRVector& pValues, int pMirrored);

/// Gives curves the keys and default values back that they had where it ends by an exception: the
/// angles of one rotation change together or not at all. Lives inside an operation.
class KeptOnFailure
{
public:
    KeptOnFailure(Glissa* const* pCurves, int pCount);
    ~KeptOnFailure();
    KeptOnFailure(const KeptOnFailure&) = delete;
    KeptOnFailure& operator=(const KeptOnFailure&) = delete;

private:
    struct Old
    {
        explicit Old(Glissa& pCurve) : curve(pCurve), keys(pCurve) {}
        Glissa& curve;
        KeyRewrite keys;
    };

    const int mExceptions;
    std::deque<Old> mOld;  // of the curves that are not locked
};

/// A rotation node "R" with the children "X", "Y" and "Z" that holds three curves for as long as it
/// exists. Then the curves are given back to the nodes that had them. The child of a locked curve
/// is locked too.
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
