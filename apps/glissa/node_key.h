// Copyright (c) 2026 The glissa authors
// SPDX-License-Identifier: MIT
#pragma once

#include "apps/glissa/clip_curves.h"

#include <optional>
#include <string>
#include <vector>

/// A key on every channel of the chosen nodes, in one layer.
struct NodeKeyRequest
{
    std::vector<std::string> patterns;
    std::string layer;  ///< "base" or "" for the base
    TimeArgument at;
    /// What each node is to show, all layers blended; nothing for what it shows.
    std::optional<std::vector<double>> total;
    /// Of a key that is there already too; without it a new key is automatic.
    std::optional<TangentArgument> tangent;
};

/// Sets the keys. Throws Refusal where a node then does not show its total: a rotation as an
/// orientation to a thousandth of a degree, other values to the precision of floats.
void KeyNodes(const ClipCurves& pClip, const NodeKeyRequest& pRequest, KTime pTime);
