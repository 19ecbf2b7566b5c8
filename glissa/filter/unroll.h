// Copyright (c) 2026 The glissa authors
// SPDX-License-Identifier: MIT
#pragma once

#include "glissa/filter/unroll_filter.h"

/// Removes the jumps of a rotation: each key becomes the Euler angles of the same orientation that
/// are nearest to those of the key before. Angles of 170, -170 and -150 degrees become 170, 190 and
/// 210.
class GLISSA_API GlissaFilterUnroll : public KClassFrame<GlissaFilterUnroll, GlissaUnrollFilter>
{
public:
    static constexpr char kClassName[] = "GlissaFilterUnroll";

    GlissaFilterUnroll();
};

extern template class KClassFrame<GlissaFilterUnroll, GlissaUnrollFilter>;
