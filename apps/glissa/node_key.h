// Copyright (c) 2026 The glissa authors
// SPDX-License-Identifier: MIT
#pragma once

#include "apps/glissa/clip_curves.h"

#include <optional>
#include <string>
#include <vector>

/// A key on all channels of the chosen nodes, in one layer.
struct NodeKeyRequest
{
    std::vector<std::string> patterns;
    std::string layer;  ///< "base" or "" is the base
    TimeArgument at;
    /// The values of each node, all layers blended; nullopt for its present values.
    std::optional<std::vector<double>> total;
    /// The tangent of new and existing keys; without it a new key is automatic.
    std::optional<TangentArgument> tangent;
};

/// Sets the keys. Throws Refusal if a node then does not have its total: a rotation is compared as
/// an orientation to a thousandth of a degree, other values to the precision of floats.
void KeyNodes(const ClipCurves& pClip, const NodeKeyRequest& pRequest, KTime pTime);
