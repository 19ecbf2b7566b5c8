// Copyright (c) 2026 The glissa authors
// SPDX-License-Identifier: MIT
#pragma once

#include "corvekit/time.h"
#include "glissa/export.h"

class GlissaNode;

/// Whether all keys of a node and of all nodes below it have an interpolation of a set. False for a
/// tree without keys.
///
/// pMask   bits of EGlissaKeyFlags, mask 0xF: eInterpolationConstant | eInterpolationLinear.
/// pChain  includes the layers.
GLISSA_API bool GLISSA_IsAllSameInterpolation(GlissaNode* pNode, unsigned int pMask, bool pChain);

/// Merges the layers of a channel whose keys are all constant, without sampling: one constant key
/// at each time at which a layer has one. It is eConstantNext where all curves of all layers have a
/// key of this mode there, else eConstantStandard. Where only some curves take their next value, a
/// second key 1/120 s later has the value that the layers have by then.
///
/// Keys from pStart to pStop are merged; behind a second key the next one is searched from its time
/// on. Keys that the destination has remain. Without a source key at pStart or later, two keys hold
/// the values of the layers: a tick before pStart, and 1/120 s after that.
///
/// pDestination  a channel of the structure of pSource, with curves. It takes the value of all
///               layers at each time: where one channel has a key, all get one.
/// pSource       the base node of a chain: a leaf with a curve, or a branch of leaves. Values
///               between keys that are not constant are lost.
/// Nothing happens with a null node or where the first key is after pStop. Cost: the number of
/// distinct key times, times the number of curves.
GLISSA_API void GLISSA_ConstantCurveMerge(GlissaNode* pDestination, GlissaNode* pSource,
                                          KTime pStart, KTime pStop);
