// Copyright (c) 2026 The glissa authors
// SPDX-License-Identifier: MIT
// Not for hosts: what the operations on layers share.
#pragma once

#include "glissa/node/node_state.h"

/// Removes keys, candidates and unmatched channels of a layer and sets its values to the zero
/// values: the form of a locked layer that would be removed if it were not locked.
void EmptyLayer(GlissaNode& pLayer);
