// Copyright (c) 2026 The glissa authors
// SPDX-License-Identifier: MIT
// Not for hosts: blends the values of a layer onto those of the layers below it.
#pragma once

#include "glissa/node/node_state.h"
#include "glissa/node/running_rotation.h"

/// GlissaNode::AccumulateValue for one layer of a chain, whose rotation can remain a matrix.
void BlendLayer(GlissaNode& pLayer, double* pResult, double* pValues, KTime pTime, int pExcludedId,
                RunningRotation& pRunning);
