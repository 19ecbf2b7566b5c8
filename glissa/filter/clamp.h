// Copyright (c) 2026 The glissa authors
// SPDX-License-Identifier: MIT
#pragma once

#include "glissa/filter/curve_filter.h"

#include <vector>

/// Limits values: keys beyond a limit go, and where the curve crosses the limit it gets keys on it.
/// A key on the limit whose tangent leads beyond it becomes constant. Keys of constant segments go
/// as well, so that the value before them is held on.
class GLISSA_API GlissaFilterClamp : public KClassFrame<GlissaFilterClamp, GlissaCurveFilter>
{
public:
    static constexpr char kClassName[] = "GlissaFilterClamp";
    /// The third error, a warning: the filter goes on.
    static constexpr int kSwapped = 2;

    GlissaFilterClamp();
    void Reset() override;

    /// Whether values are limited from above, to 1 by default, and from below, to 0 by default;
    /// both are off by default. A floor above the ceiling: the two stored limits are swapped, for
    /// good.
    bool GetApplyCeilClamping() const { return mApplyCeil; }
    void SetApplyCeilClamping(bool pApply) { mApplyCeil = pApply; }
    double GetCeil() const { return mCeil; }
    void SetCeil(double pCeil) { mCeil = pCeil; }
    bool GetApplyFloorClamping() const { return mApplyFloor; }
    void SetApplyFloorClamping(bool pApply) { mApplyFloor = pApply; }
    double GetFloor() const { return mFloor; }
    void SetFloor(double pFloor) { mFloor = pFloor; }

    /// One limit by itself, whatever the flags. Gives whether a key came or went or the default
    /// value, which is limited whatever the span, changed. False for a locked curve, and with the
    /// second error for a limit that is not finite.
    bool ApplyCeilClamping(Glissa& pCurve);
    bool ApplyFloorClamping(Glissa& pCurve);
    /// Where the curve crosses a value between two times of the segment behind a key, adds a key on
    /// it with the slopes of the curve. False, and no key, where it does not, where there is no
    /// time between the keys, and for a locked curve.
    ///
    /// pIndex, pStopIndex  in and out: grow by 1 with the key.
    bool AddIntersectionKey(Glissa& pCurve, int& pIndex, int& pStopIndex, KTime pFrom, KTime pTo,
                            double pValue);
    /// The time at which the curve has a value between those at two times, by bisection down to one
    /// tick or a tolerance of 1e-5. False where the tolerance was not met.
    bool FindIntersectionTime(Glissa& pCurve, KTime& pResult, KTime pFrom, KTime pTo,
                              double pValue);

private:
    struct Held;
    struct Limit;
    struct Range;
    EGlissaFilterAnswer Examine(Glissa& pCurve) override;
    bool Change(Glissa& pCurve) override;
    Limit Ceil() const;
    Limit Floor() const;
    bool HasWork(Glissa& pCurve, const Limit& pLimit, const Range& pRange);
    bool ApplyOne(Glissa& pCurve, bool pIsCeil);
    bool ApplyLimits(Glissa& pCurve, bool pCeil, bool pFloor);
    bool ApplyClamping(Glissa& pWork, const Limit& pLimit, const Range& pRange,
                       std::vector<Held>& pHeld);
    bool AddCrossings(Glissa& pCurve, int pFirst, int& pLast, const Limit& pLimit);

    bool mApplyCeil;
    double mCeil;
    bool mApplyFloor;
    double mFloor;
    double mTolerance;
};

extern template class KClassFrame<GlissaFilterClamp, GlissaCurveFilter>;
