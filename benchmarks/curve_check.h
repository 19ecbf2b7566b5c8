// Copyright (c) 2026 The glissa authors
// SPDX-License-Identifier: MIT
// Not for hosts: for the benchmarks of curves.
#pragma once

#include "benchmarks/paired.h"
#include "glissa/curve/curve.h"

/// The checksum of the values of all keys.
inline std::uint64_t CheckOf(const Glissa& pCurve)
{
    Checksum check;
    for (int i = 0; i < pCurve.KeyGetCount(); ++i) {
        check.Add(pCurve.KeyGetValue(i));
    }
    return check.Get();
}
