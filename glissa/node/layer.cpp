// Copyright (c) 2026 The glissa authors
// SPDX-License-Identifier: MIT

#include "glissa/node/layer.h"

GlissaLayer::~GlissaLayer() = default;

const GlissaLayerInfo GlissaLayerInfo::Base;
const GlissaLayerInfo GlissaLayerInfo::Invalid(-1, nullptr);
