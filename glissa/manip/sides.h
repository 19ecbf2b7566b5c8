// Copyright (c) 2026 The glissa authors
// SPDX-License-Identifier: MIT
// Not for hosts: the left side of a key that has another key before it.
#pragma once

#include "glissa/curve/curve.h"

/// Sets the left side of a key and leaves the right one. Of a TCB key, weight and velocity.
void SetLeftSide(Glissa& pCurve, int pIndex, const GlissaTangeantInfo& pInfo);
