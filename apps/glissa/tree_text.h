// Copyright (c) 2026 The glissa authors
// SPDX-License-Identifier: MIT
#pragma once

#include "apps/glissa/clip_curves.h"
#include "apps/glissa/json_report.h"

#include <string>

/// The nodes of a clip, each an object with "name" and, if they apply, "type", "order" (rotation
/// order), "keys" (number of keys of a curve), "children" and "layers".
Json DescribeTree(const ClipCurves& pClip);

/// The tree as text, a line for each node.
std::string TreeText(const Json& pTree);
