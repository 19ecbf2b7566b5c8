// Copyright (c) 2026 The glissa authors
// SPDX-License-Identifier: MIT
#pragma once

#include "apps/glissa/json_report.h"
#include "corvekit/time.h"

#include <string>
#include <vector>

/// The largest change of the value of a curve by an edit.
struct LargestChange
{
    double amount = 0.0;  ///< infinite where a curve has no number, as between huge values
    KTime when;           ///< the first time with this change

    bool IsChanged() const { return amount > 0.0; }

    /// Takes over a change that is larger.
    void Look(float pBefore, float pAfter, KTime pWhen);
};

/// Adds three cells to a row of a table: the amount or "none", the unit and the time.
void AddCells(std::vector<std::string>& pRow, const LargestChange& pChange, const char* pUnit);

/// Adds the field pName, and "at", which is null without a change.
void AddFields(Json& pCurve, const char* pName, const LargestChange& pChange);

/// The start of a report on a clip: "clip", and "output", which is null where nothing is written.
Json ClipReportJson(const std::string& pPath, const std::string& pOutput);
