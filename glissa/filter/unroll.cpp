// Copyright (c) 2026 The glissa authors
// SPDX-License-Identifier: MIT

#include "glissa/filter/unroll.h"

#include "corvekit/math/rotation_order.h"

template class KClassFrame<GlissaFilterUnroll, GlissaUnrollFilter>;

GlissaFilterUnroll::GlissaFilterUnroll() : KClassFrame("Unroll Filter")
{
    GlissaUnrollFilter::Reset();
}

bool GlissaFilterUnroll::FindNearest(KgeRVector& pOut, const KgeRVector& pIn,
                                     const KgeRVector& pReference, int pOrder) const
{
    return KVdRotationOrder(pOrder).V2VRef(pOut, pIn, pReference);
}
