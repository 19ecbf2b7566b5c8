// Copyright (c) 2026 The glissa authors
// SPDX-License-Identifier: MIT
// Not for hosts: new children.
#pragma once

#include "glissa/node/node_state.h"

/// Adds a new child and returns it. Where the parent refuses it, it is destroyed and the answer is
/// null; where there is no memory to add it, it is destroyed.
GlissaNode* AddNew(GlissaNode& pParent, GlissaNode* pChild);
/// The same for a child that the parent is known not to refuse.
void AppendNew(GlissaNode& pParent, GlissaNode* pChild);
