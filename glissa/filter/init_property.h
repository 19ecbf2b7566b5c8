// Copyright (c) 2026 The glissa authors
// SPDX-License-Identifier: MIT
// Not for hosts: properties of filters that hold their values themselves.
#pragma once

#include "corvekit/object/object.h"
#include "corvekit/object/property.h"

/// Names a property and puts it into the list of its owner.
inline void InitProperty(KObject* pOwner, KProperty& pProperty, const KPropertyInfo& pInfo)
{
    pProperty.SetPropertyInfo(&pInfo);
    pProperty.SetPropertyInfo(pOwner, nullptr, nullptr);
    pOwner->AddProperty(&pProperty);
}
