// Copyright (c) 2026 The glissa authors
// SPDX-License-Identifier: MIT

// Begin and end: what is kept of each curve in between.

#include "glissa/manip/workspace.h"

GlissaManipulator::Part::Part(GlissaNode& pNode, Glissa& pCurve, GlissaKeyEdit2Pool& pPool)
    : mCurve(&pCurve), mOriginal(pCurve.Copy()), mTimeline(pNode), mAllEdit(&pPool)
{
    for (int i = 0; i < pCurve.KeyGetCount(); ++i) {
        if (pCurve.KeyGetMarkedForManipulation(i)) {
            mMarked = {mMarked.IsEmpty() ? i : mMarked.first, i};
        }
    }
}

void GlissaManipulator::Part::LoadRecords()
{
    if (mHasRecords) {
        return;
    }
    mAllEdit.Load(*mOriginal, mTimeline);
    mMarkedEdit.Borrow(mAllEdit, KeySet::kMarked);
    mBetweenEdit.Borrow(mAllEdit, KeySet::kBetween);
    mBeforeEdit.Borrow(mAllEdit, KeySet::kBefore);
    mAfterEdit.Borrow(mAllEdit, KeySet::kAfter);
    mHasRecords = true;
}

void GlissaManipulator::BeginManipulation(eFCurveManipulationMode pMode, bool pKeepOriginals,
                                          double pSnapThreshold)
{
    EndManipulation();
    if (!mWork) {
        mWork = std::make_unique<Workspace>();
    }
    std::vector<std::unique_ptr<Part>> parts;
    const bool hasMode = pMode >= eManipLeftEdge && pMode <= eManipRippleBothAxes;
    if (hasMode) {
        parts.resize(static_cast<std::size_t>(mRelatedNodes.GetCount()));
    }
    for (int i = 0; i < static_cast<int>(parts.size()); ++i) {
        Glissa* const curve = mNodesForManip.Test(i) ? RelatedCurve(i) : nullptr;
        if (!curve || mRelatedNodes[i]->IsNodeLocked()) {
            continue;
        }
        auto part = std::make_unique<Part>(*mRelatedNodes[i], *curve, mWork->mKeyPool);
        parts[static_cast<std::size_t>(i)] = std::move(part);
    }
    mWork->mParts.swap(parts);
    mWork->mKeepOriginals = pKeepOriginals;
    mMode = hasMode ? pMode : eManipNone;
    mSnapThreshold = pSnapThreshold;
    mOriginal = mSelection;
}

void GlissaManipulator::EndManipulation()
{
    if (mWork) {
        mWork->mParts.clear();
    }
    mMode = eManipNone;
}
