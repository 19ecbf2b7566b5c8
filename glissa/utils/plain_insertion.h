// Copyright (c) 2026 The glissa authors
// SPDX-License-Identifier: MIT
// Not for hosts: Glissa::KeyInsert for the usual keys, in a fraction of its time.
#pragma once

#include "corvekit/time.h"

class Glissa;

/// Does what KeyInsert does with a pending value at a time between two keys, bit for bit, with a
/// computation of the few numbers that change. For constant and linear keys, and cubic ones
/// with automatic or user tangents without refinements, weights or velocities. For curves that
/// nobody listens to: it posts what KeyAdd posts.
///
/// pLo      the key before the time; the key behind it is behind the time.
/// pValue   the value of the new key, which gets the index pLo + 1: that of the curve but for
///          roundings.
/// Returns false, and changes nothing, where the keys around are of other kinds, or a slope cannot
/// be kept by the parameters of its key: left to KeyInsert.
bool InsertPlainKey(Glissa& pCurve, int pLo, KTime pTime, float pValue);
