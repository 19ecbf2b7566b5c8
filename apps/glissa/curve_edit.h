// Copyright (c) 2026 The glissa authors
// SPDX-License-Identifier: MIT
#pragma once

#include "apps/glissa/picture/picture.h"
#include "glissa/manip/manipulator.h"
#include "io/host_layers.h"

#include <string>
#include <vector>

/// A curve that is edited. The clip owns the node and the curve.
struct EditedCurve
{
    std::string name;
    Unit unit = Unit::factor;
    GlissaNode* leaf = nullptr;
    Glissa* curve = nullptr;
    HostCurvePointer before;  ///< a copy of the curve before the edit, with the selection
};

/// About the range of KTime, for a move in ticks.
inline constexpr double kMostTicks = 9.2e18;

/// Throws Refusal where the time or the value of a key left its range.
void CheckKeys(const std::vector<EditedCurve>& pCurves);

/// Curves in a GlissaManipulator, which an edit changes to any fraction of its way and back.
class CurveEdit
{
public:
    CurveEdit(const CurveEdit&) = delete;
    CurveEdit& operator=(const CurveEdit&) = delete;

    const std::vector<EditedCurve>& GetCurves() const { return mCurves; }

protected:
    /// pCurves  not locked; their order is that of the manipulator
    explicit CurveEdit(std::vector<EditedCurve> pCurves);
    ~CurveEdit() = default;

    /// Copies the curves as they are now, to which Restore puts them back.
    void Keep();
    void Restore();

    std::vector<EditedCurve> mCurves;
    GlissaManipulator mManipulator;
};
