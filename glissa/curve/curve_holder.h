// Copyright (c) 2026 The glissa authors
// SPDX-License-Identifier: MIT
// Not for hosts: owns a curve while it is made.
#pragma once

#include "glissa/curve/curve.h"

#include <memory>

struct DestroyHeldCurve
{
    void operator()(Glissa* pCurve) const { pCurve->Destroy(); }
};

/// Destroys a new curve when an exception ends the operation that makes it.
using CurveHolder = std::unique_ptr<Glissa, DestroyHeldCurve>;
