// Copyright (c) 2026 The glissa authors
// SPDX-License-Identifier: MIT
#pragma once

#include "apps/glissa/clip_nodes.h"
#include "apps/glissa/picture/picture.h"

#include <vector>

/// The blended channels of a node in the picture of a span of time; with pLayers also the
/// contribution of each layer. They are evaluated while the picture is drawn, so the clip must
/// exist until then.
std::vector<PictureCurve> MakeNodePicture(const ClipCurves& pClip, const NamedNode& pNode,
                                          const TimeSpan& pSpan, bool pLayers);
