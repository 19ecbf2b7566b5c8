// Copyright (c) 2026 The glissa authors
// SPDX-License-Identifier: MIT
// Not for hosts: the merge of constant layers as the result of a plot.
#pragma once

#include "corvekit/time.h"

class GlissaNode;

/// GLISSA_ConstantCurveMerge with a key at the start of the span, whose value would otherwise be
/// that of the first key behind it.
void MergeConstantSpan(GlissaNode& pDestination, GlissaNode& pSource, KTime pStart, KTime pStop);
