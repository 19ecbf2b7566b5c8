// Copyright (c) 2026 The glissa authors
// SPDX-License-Identifier: MIT
#pragma once

#include "glissa/filter/filter.h"

/// What a filter answers before it changes a curve.
enum EGlissaFilterAnswer : int
{
    eFilterRefused,      ///< Apply gives false
    eFilterNothingToDo,  ///< Apply gives true
    eFilterChanges,
};

/// A filter that is one rule for single curves. A class of it says in Examine whether a curve can
/// be filtered and in Change how. This class sees to the rest: locked curves, the bracket that
/// makes one event of all changes, and the forms of Apply for arrays and nodes.
class GLISSA_API GlissaCurveFilter : public GlissaFilter
{
public:
    using GlissaFilter::GlissaFilter;

    bool Apply(Glissa& pCurve) override;
    bool Apply(Glissa** pCurves, int pCount) override;
    bool Apply(GlissaNode& pNode, bool pRecursive) override;

protected:
    /// Refuse for the result of Examine.
    EGlissaFilterAnswer RefuseCurve(int pId, const char* pText);

    // The texts of a class that knows no errors but the two of EGlissaFilterError.
    static constexpr int kUsualErrorCount = 2;
    static const char* const kUsualErrors[kUsualErrorCount];

private:
    /// Tests the curve and the parameters and keeps the error of a refusal. Changes nothing, not
    /// even a pending candidate. A parameter that is not finite is refused.
    virtual EGlissaFilterAnswer Examine(Glissa& pCurve) = 0;
    /// Changes a curve that passed Examine, inside a bracket. Its answer is that of Apply.
    virtual bool Change(Glissa& pCurve) = 0;
};
