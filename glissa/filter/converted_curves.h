// Copyright (c) 2026 The glissa authors
// SPDX-License-Identifier: MIT
// Not for hosts: curves replaced by what several of them are converted to at even distances.
#pragma once

#include "glissa/curve/curve.h"
#include "glissa/curve/modify_bracket.h"
#include "glissa/filter/rotation_curves.h"
#include "glissa/utils/sample_grid.h"
#include "glissa/utils/scratch_curve.h"

/// Replaces keys and default values of the first To of some curves by what the first From of them
/// are converted to. Keys are cubic with automatic tangents. Locked curves are not written.
///
/// pDefaults  the default values.
/// pConvert   from the values at a time, double[From], to the new ones, double[To]; called once a
///            sample, in order.
template <int From, int To, typename Convert>
void ConvertCurves(Glissa* const* pCurves, const KTimeSpan& pSpan, KTime pPeriod,
                   const double* pDefaults, Convert&& pConvert)
{
    const int count = SampleGrid(pSpan.GetStart(), pSpan.GetStop(), pPeriod).count;
    ScratchCurve works[To];
    for (int i = 0; i < To; ++i) {
        works[i].reset(GlissaCreate());
        works[i]->CopyFrom(*pCurves[i], false);
        works[i]->SetValue(static_cast<float>(pDefaults[i]));
        works[i]->ResizeKeyBuffer(count, false);
    }
    int hints[From] = {};
    KTime time = pSpan.GetStart();
    for (int sample = 0; sample < count; ++sample, time += pPeriod) {
        double values[From];
        double results[To];
        for (int i = 0; i < From; ++i) {
            values[i] = pCurves[i]->Evaluate(time, &hints[i]);
        }
        pConvert(values, results);
        for (int i = 0; i < To; ++i) {
            works[i]->KeyAppendFast(time, static_cast<float>(results[i]));
        }
    }
    const KOperation operation;
    const KeptOnFailure kept(pCurves, To);
    for (int i = 0; i < To; ++i) {
        if (!pCurves[i]->IsLocked()) {
            const KeyModifyBracket bracket(*pCurves[i]);
            pCurves[i]->CopyFrom(*works[i], true);
        }
    }
}
