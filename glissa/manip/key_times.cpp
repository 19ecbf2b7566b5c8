// Copyright (c) 2026 The glissa authors
// SPDX-License-Identifier: MIT

// Marked keys at times of their own: whole frames, and ease.

#include "glissa/manip/workspace.h"

// Each marked key gets the time pMove(its time at begin); the others keep theirs.
template <typename Move>
void GlissaManipulator::MoveMarkedKeys(const Move& pMove)
{
    const KOperation operation;
    EditRecords([&](GlissaNode&, Glissa& pCurve, Part& pPart) {
        if (pPart.mMarkedEdit.IsEmpty()) {
            return;
        }
        GlissaEdit2& marked = mWork->mScratchMarked;
        GlissaEdit2& result = mWork->mScratchResult;
        marked.Assign(pPart.mMarkedEdit);
        for (int i = 0; i < marked.GetCount(); ++i) {
            marked[i].mTime = PossibleKeyTime(pMove(marked[i].mTime));
        }
        result.Assign(pPart.mBeforeEdit);
        result.Merge(marked);
        result.Merge(pPart.mBetweenEdit);
        result.Merge(pPart.mAfterEdit);
        ApplyToNode(result, pCurve, pPart);
    });
}

void GlissaManipulator::SnapKeysToFrame()
{
    MoveMarkedKeys([](KTime pTime) { return pTime.GetFramedTime(true); });
}

KTime GlissaManipulator::GetEaseInKeyTime(KTime /*pStart*/, KTime pTime, KTime /*pStop*/)
{
    return pTime;
}

KTime GlissaManipulator::GetEaseOutKeyTime(KTime /*pStart*/, KTime pTime, KTime /*pStop*/)
{
    return pTime;
}

void GlissaManipulator::EaseInOrOut(KTime pStart, KTime pStop, bool pEaseIn)
{
    MoveMarkedKeys([&](KTime pTime) {
        return pEaseIn ? GetEaseInKeyTime(pStart, pTime, pStop)
                       : GetEaseOutKeyTime(pStart, pTime, pStop);
    });
}
