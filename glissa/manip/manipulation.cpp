// Copyright (c) 2026 The glissa authors
// SPDX-License-Identifier: MIT

// Begin and end: what is kept of each curve in between.

#include "glissa/manip/workspace.h"

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
    if (pMode >= eManipLeftEdge && pMode <= eManipRippleBothAxes) {
        parts.resize(static_cast<std::size_t>(mRelatedNodes.GetCount()));
    }
    for (int i = 0; i < static_cast<int>(parts.size()); ++i) {
        Glissa* const curve = mNodesForManip.Test(i) ? RelatedCurve(i) : nullptr;
        if (!curve || mRelatedNodes[i]->IsNodeLocked()) {
            continue;
        }
        auto part = std::make_unique<Part>(*mRelatedNodes[i], mWork->mKeyPool);
        part->mOriginal.reset(curve->Copy());
        for (int k = 0; k < curve->KeyGetCount(); ++k) {
            if (curve->KeyGetMarkedForManipulation(k)) {
                part->mFirstMarked = part->mFirstMarked < 0 ? k : part->mFirstMarked;
                part->mLastMarked = k;
            }
        }
        parts[static_cast<std::size_t>(i)] = std::move(part);
    }
    mWork->mParts.swap(parts);
    mWork->mKeepOriginals = pKeepOriginals;
    mMode = pMode;
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
