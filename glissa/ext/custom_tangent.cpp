// Copyright (c) 2026 The glissa authors
// SPDX-License-Identifier: MIT

#include "glissa/ext/custom_tangent.h"

template class KClassFrame<GlissaCustomTangent, KObject>;

GlissaCustomTangent::GlissaCustomTangent(const char* pName, const char* pStoredName)
    : mName(pName), mStoredName(pStoredName), mChecksum(mStoredName.GetHash())
{}
