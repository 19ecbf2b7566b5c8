// Copyright (c) 2026 The glissa authors
// SPDX-License-Identifier: MIT
#pragma once

#include "apps/glissa/clip_curves.h"
#include "apps/glissa/json_report.h"

#include <string>

/// The nodes of a clip, each an object with "name" and, where they apply, "type", "order" (of a
/// rotation), "keys" (of a curve), "children" and "layers".
Json DescribeTree(const ClipCurves& pClip);

/// The same as text, a line for each node.
std::string TreeText(const Json& pTree);
