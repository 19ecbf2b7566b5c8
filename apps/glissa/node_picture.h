// Copyright (c) 2026 The glissa authors
// SPDX-License-Identifier: MIT
#pragma once

#include "apps/glissa/clip_nodes.h"
#include "apps/glissa/picture/picture.h"

#include <vector>

/// The channels of a node for the picture of a span of time, blended through all layers; with
/// pLayers followed by what each layer gives to them. Evaluated while it is drawn: the clip stays.
std::vector<PictureCurve> MakeNodePicture(const ClipCurves& pClip, const NamedNode& pNode,
                                          const TimeSpan& pSpan, bool pLayers);
