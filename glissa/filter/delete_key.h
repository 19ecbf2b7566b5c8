// Copyright (c) 2026 The glissa authors
// SPDX-License-Identifier: MIT
#pragma once

#include "glissa/filter/curve_filter.h"

/// Removes the keys of the span, both ends included, and by default the time of the span with them.
class GLISSA_API GlissaFilterDeleteKey
    : public KClassFrame<GlissaFilterDeleteKey, GlissaCurveFilter>
{
public:
    static constexpr char kClassName[] = "GlissaFilterDeleteKey";

    GlissaFilterDeleteKey();
    void Reset() override;

    /// On by default: keys behind the span move to its start, and where the span begins and ends
    /// inside the curve a key one tick outside each end keeps the curve around it. A span that
    /// covers all keys clears the curve; one that does not begin before it ends only loses keys.
    bool GetCutTimeInterval() const { return mCutTimeInterval; }
    void SetCutTimeInterval(bool pCut) { mCutTimeInterval = pCut; }

private:
    EGlissaFilterAnswer Examine(Glissa& pCurve) override;
    bool Change(Glissa& pCurve) override;
    bool CutsTime() { return mCutTimeInterval && GetStopTime() > GetStartTime(); }

    bool mCutTimeInterval;
};

extern template class KClassFrame<GlissaFilterDeleteKey, GlissaCurveFilter>;
