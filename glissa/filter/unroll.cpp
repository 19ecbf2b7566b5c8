// Copyright (c) 2026 The glissa authors
// SPDX-License-Identifier: MIT

#include "glissa/filter/unroll.h"

template class KClassFrame<GlissaFilterUnroll, GlissaUnrollFilter>;

GlissaFilterUnroll::GlissaFilterUnroll() : KClassFrame("Unroll Filter")
{
    GlissaUnrollFilter::Reset();
}
