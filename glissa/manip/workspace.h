// Copyright (c) 2026 The glissa authors
// SPDX-License-Identifier: MIT
// Not for hosts: what a manipulator keeps of each curve while a manipulation is open.
#pragma once

#include "corvekit/event/operation.h"
#include "glissa/curve/curve_holder.h"
#include "glissa/curve/modify_bracket.h"
#include "glissa/manip/curve_writer.h"
#include "glissa/manip/key_edit.h"
#include "glissa/manip/manipulator.h"
#include "glissa/node/eti_timeline.h"
#include "glissa/node/node.h"

#include <cmath>
#include <memory>
#include <vector>

/// A curve as it was at begin. Edits are computed from it: by whole keys, whose attribute blocks
/// stay shared with it, or by records, which are made when an edit first needs them.
struct GlissaManipulator::Part
{
    const Glissa* mCurve;   // of the node at begin: another one is left out
    CurveHolder mOriginal;  // an untouched copy
    CurveHolder mBase;      // the start of edits of values; null where that is mOriginal
    MarkedSpan mMarked;     // of mOriginal
    ETITimeline mTimeline;  // at begin, for all edits

    bool mHasRecords = false;
    GlissaEdit2 mAllEdit;  // with records; the others borrow them
    GlissaEdit2 mMarkedEdit;
    GlissaEdit2 mBetweenEdit;
    GlissaEdit2 mBeforeEdit;
    GlissaEdit2 mAfterEdit;

    Part(GlissaNode& pNode, Glissa& pCurve, GlissaKeyEdit2Pool& pPool);

    /// Whether the keys have the order of their global times, and node times can be computed from
    /// these.
    bool HasOrderedTimes() const
    {
        return mTimeline.GetScaleFactor() > 0.0 && std::isfinite(mTimeline.GetScaleFactor());
    }
    Glissa& Base() const { return mBase ? *mBase : *mOriginal; }
    void LoadRecords();
};

struct GlissaManipulator::Workspace
{
    GlissaKeyEdit2Pool mKeyPool;                // ends last
    std::vector<std::unique_ptr<Part>> mParts;  // by related node; null for one that has no part
    bool mKeepOriginals = false;

    // For one edit at a time; kept for their memory.
    GlissaEdit2 mScratchMarked{&mKeyPool};  // the marked keys, moved
    GlissaEdit2 mScratchResult{&mKeyPool};  // the whole curve, as it is put together
    GlissaEdit2 mScratchAfter{&mKeyPool};
    CurveWriter mWriter;
};

/// The nearest limit of a range that does not read as an empty one.
inline KTime SetLimitOf(KTime pTime)
{
    return std::clamp(pTime, KTime::MinusInfinite() + KTime(1), KTime::Infinite() - KTime(1));
}

inline double SetLimitOf(double pValue)
{
    const bool isEmpty = std::fabs(pValue) == std::numeric_limits<double>::max();
    return isEmpty ? std::nextafter(pValue, 0.0) : pValue;
}

/// A node whose curve is missing or locked is left out. The caller has begun the operation at whose
/// end listeners are called: they may destroy the manipulator.
template <typename Edit>
void GlissaManipulator::EditCurves(const Edit& pEdit)
{
    CORVEKIT_ASSERT(KOperation::IsUnderWay());
    if (!mWork) {
        return;
    }
    for (int i = 0; i < static_cast<int>(mWork->mParts.size()); ++i) {
        Part* const part = mWork->mParts[static_cast<std::size_t>(i)].get();
        Glissa* const curve = part && mNodesForManip.Test(i) ? RelatedCurve(i) : nullptr;
        if (curve && curve == part->mCurve && !mRelatedNodes[i]->IsNodeLocked() &&
            !curve->IsLocked()) {
            const KeyModifyBracket bracket(*curve);
            pEdit(*mRelatedNodes[i], *curve, *part);
        }
    }
}

/// EditCurves where the records of a part are needed. A node whose scale of time is 0, negative or
/// not finite is left out: its keys would not be in the order of global time.
template <typename Edit>
void GlissaManipulator::EditRecords(const Edit& pEdit)
{
    EditCurves([&](GlissaNode& pNode, Glissa& pCurve, Part& pPart) {
        if (pPart.HasOrderedTimes()) {
            pPart.LoadRecords();
            pEdit(pNode, pCurve, pPart);
        }
    });
}

/// Sets a limit of the range, unless it or that at begin is empty.
template <typename Limit>
void GlissaManipulator::SetLimit(Limit Range::*pLimit, Limit pValue)
{
    constexpr Range kEmpty;
    if (mSelection.*pLimit != kEmpty.*pLimit && mOriginal.*pLimit != kEmpty.*pLimit) {
        mSelection.*pLimit = SetLimitOf(pValue);
    }
}
