// Copyright (c) 2026 The glissa authors
// SPDX-License-Identifier: MIT
#pragma once

#include "apps/glissa/clip_curves.h"

#include <nlohmann/json.hpp>

#include <string>

/// The nodes of a clip, each an object with "name", and where it has them "type", "order" (of a
/// rotation), "keys" (of a curve), "children" and "layers".
nlohmann::ordered_json DescribeTree(const ClipCurves& pClip);

/// The same as lines, a node a line.
std::string TreeText(const nlohmann::ordered_json& pTree);
