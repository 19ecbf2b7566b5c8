// Copyright (c) 2026 The glissa authors
// SPDX-License-Identifier: MIT
#pragma once

#include "corvekit/array.h"
#include "corvekit/time.h"
#include "glissa/export.h"

class Glissa;
class GlissaNode;

// A few keys brought close to a dense reference, such as a baked curve. Both nodes have the same
// structure: a leaf with a curve, or branches of such leaves; a null node or a different number of
// children changes nothing. The reference is read only. Locks are not looked at.

/// Breaks the tangents of cubic keys where the reference has another slope.
///
/// The slope of the reference is measured from the value of the key to that of the reference one
/// period before and after it, so the period is short against the changes of the reference. A key
/// of which one side differs by more than the tolerance becomes eTangentUserBreak and takes both
/// measured slopes; the key after it keeps its own. The first key has no left side and the last one
/// no right side.
///
/// pPeriod     ticks; below 1 nothing happens.
/// pTolerance  of a slope, value per second.
GLISSA_API void GLISSA_BreakTangents(GlissaNode* pKeyNode, GlissaNode* pReferenceNode,
                                     KTime pPeriod, double pTolerance);

/// Inserts keys where curves differ from the reference at the points that divide the span between
/// two keys, and then between the new keys, until they agree or the points are 1/120 s apart.
///
/// **The curves are compared at these points only.** With two subdivisions that is the middle of
/// each span, where curves can agree that differ elsewhere. Curves of fewer than two keys stay as
/// they are.
///
/// pTolerance           of a value.
/// pSubdivisions        parts of a span; below 2 nothing happens.
/// pBreakTangents       gives each new key the slopes of the reference, see GLISSA_BreakTangents
///                      for pPeriod and pBreakTolerance.
/// pSiblings            gives the other children of the same branch a key wherever one gets one,
///                      with the value of their own reference.
/// pSiblingKeys, pSiblingReferences
///                      may be null: pairs of curves that get a key where a leaf, passed as
///                      pKeyNode, gets one. For the children of a branch they are collected anew.
GLISSA_API void GLISSA_IncreaseFidelity(GlissaNode* pKeyNode, GlissaNode* pReferenceNode,
                                        double pTolerance, int pSubdivisions, bool pBreakTangents,
                                        KTime pPeriod, double pBreakTolerance, bool pSiblings,
                                        KArrayTemplate<Glissa*, 16>* pSiblingKeys,
                                        KArrayTemplate<Glissa*, 16>* pSiblingReferences);
