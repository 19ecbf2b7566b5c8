// Copyright (c) 2026 The glissa authors
// SPDX-License-Identifier: MIT
#pragma once

#include "glissa/filter/curve_filter.h"

/// The skeleton of a filter: it has no parameters and refuses every curve.
class GLISSA_API GlissaFilter_TestTemplate
    : public KClassFrame<GlissaFilter_TestTemplate, GlissaCurveFilter>
{
public:
    static constexpr char kClassName[] = "GlissaFilter_TestTemplate";

    GlissaFilter_TestTemplate();

private:
    EGlissaFilterAnswer Examine(Glissa& pCurve) override;
    bool Change(Glissa& pCurve) override;
};

extern template class KClassFrame<GlissaFilter_TestTemplate, GlissaCurveFilter>;
