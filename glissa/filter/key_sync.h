// Copyright (c) 2026 The glissa authors
// SPDX-License-Identifier: MIT
#pragma once

#include "glissa/filter/filter.h"

#include <vector>

/// Gives several curves keys at the same times: those that any of them has in the span. Each added
/// key lies on its curve, which keeps its shape; outside its keys a curve that holds its end value
/// holds it on. Locked curves are read and not changed. A key a tick behind one that was met is not
/// seen.
class GLISSA_API GlissaFilterKeySync : public KClassFrame<GlissaFilterKeySync, GlissaFilter>
{
public:
    static constexpr char kClassName[] = "GlissaFilterKeySync";
    /// The further errors.
    static constexpr int kKeyCount = 2;
    static constexpr int kUnsynched = 3;
    static constexpr int kTooManyCurves = 4;
    static constexpr int kNoCurve = 5;

    GlissaFilterKeySync();

    /// A single curve needs no others: false, with eFilterUnchanged.
    bool NeedApply(Glissa& pCurve) override;
    /// Whether key counts or key times differ, with the error that says which. False where the
    /// first curve has no key.
    bool NeedApply(Glissa** pCurves, int pCount) override;
    /// For the curves of the node's children. False, with kTooManyCurves, from 20 on.
    bool NeedApply(GlissaNode& pNode, bool pRecursive) override;

    /// False, with eFilterUnchanged.
    bool Apply(Glissa& pCurve) override;
    /// False, with eFilterUnchanged, for fewer than two curves; else true. Any number of curves.
    bool Apply(Glissa** pCurves, int pCount) override;
    /// Synchronises the curves of the node's children, whatever pRecursive. False, with kNoCurve,
    /// where one of them has none.
    bool Apply(GlissaNode& pNode, bool pRecursive) override;

private:
    bool RefuseSingleCurve();
    bool FindCurves(GlissaNode& pNode, std::vector<Glissa*>& pCurves);
    std::vector<KTime> TimesOf(Glissa** pCurves, int pCount) const;
};

extern template class KClassFrame<GlissaFilterKeySync, GlissaFilter>;
