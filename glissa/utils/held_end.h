// Copyright (c) 2026 The glissa authors
// SPDX-License-Identifier: MIT
// Not for hosts: the value of an end key, held up to a key put in beyond it.
#pragma once

class Glissa;

/// Whether the extrapolation before the first key, or behind the last one, holds its value.
bool HoldsEnd(const Glissa& pCurve, bool pBehind);

/// The curve got keys beyond its end and held its end value there. Shapes the segment between the
/// old end key and the nearest new one so that it holds that value: by slopes of 0, and where the
/// new key has another value, by a constant key. The other side of both keys stays.
///
/// pOuter   the nearest new key; the old end key is next to it.
/// pBehind  the keys were added behind the curve.
/// pInside  the slope of the old end key on its other side, before it got a neighbour.
void HoldEndUpTo(Glissa& pCurve, int pOuter, bool pBehind, float pInside);
