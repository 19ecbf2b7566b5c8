// Copyright (c) 2026 The glissa authors
// SPDX-License-Identifier: MIT
// Host side, not installed.
#pragma once

#include "glissa/curve/curve.h"

#include <memory>

struct DestroyCurve
{
    void operator()(Glissa* pCurve) const { pCurve->Destroy(0); }
};
using OwnedCurve = std::unique_ptr<Glissa, DestroyCurve>;

/// A curve before a filter, to compare it with and to put it back.
inline OwnedCurve Duplicate(const Glissa& pCurve)
{
    OwnedCurve copy(GlissaCreate());
    copy->CopyFrom(pCurve, true);
    return copy;
}
