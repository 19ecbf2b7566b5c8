// Copyright (c) 2026 The glissa authors
// SPDX-License-Identifier: MIT

// Selection by a box of time and value, tangent handles, the range of the selection.

#include "corvekit/event/operation.h"
#include "glissa/curve/curve.h"
#include "glissa/curve/modify_bracket.h"
#include "glissa/manip/manipulator.h"
#include "glissa/node/eti_timeline.h"
#include "glissa/node/node.h"

#include <algorithm>

namespace
{
bool IsTCB(const Glissa& pCurve, int pIndex)
{
    return pCurve.KeyGetInterpolation(pIndex) == eInterpolationCubic &&
           pCurve.KeyGetTangeantMode(pIndex, false) == eTangentTCB;
}

/// Whether the segment behind a key has slopes that a user can drag.
bool HasHandles(const Glissa& pCurve, int pIndex)
{
    const unsigned interpolation = pCurve.KeyGetInterpolation(pIndex);
    return interpolation == eInterpolationCustom ||
           (interpolation == eInterpolationCubic && !IsTCB(pCurve, pIndex));
}

/// Whether GlissaNode::ETIIsGlobalTimeInSpan is false anywhere.
bool HasOwnETI(GlissaNode& pNode)
{
    GlissaNode* const first = pNode.Get(0);
    return pNode.GetETI() || (first && first->GetETI());
}

/// The active span of a node on the timeline of the host.
struct ActiveSpan
{
    explicit ActiveSpan(GlissaNode& pNode)
        : mIsLimited(pNode.ETIGetDuration() != KTime()),
          mLeavesOutOthers(HasOwnETI(pNode)),
          mStart(pNode.ETIGetGlobalActiveStart()),
          mEnd(mStart + pNode.ETIGetDuration())
    {}
    /// Both ends included.
    bool Contains(KTime pTime) const { return mStart <= pTime && pTime <= mEnd; }

    bool mIsLimited;        ///< selected keys outside are deselected
    bool mLeavesOutOthers;  ///< keys outside take no part in a selection
    KTime mStart;
    KTime mEnd;
};

enum class Change
{
    none,
    select,
    deselect
};

/// What a mode does to a key.
Change ChangeOf(eSelectionMode pMode, bool pIsInside, bool pIsSelected)
{
    if (!pIsInside) {
        return pMode == eSelectionReplace ? Change::deselect : Change::none;
    }
    switch (pMode) {
    case eSelectionReplace:
    case eSelectionAdd:
        return Change::select;
    case eSelectionRemove:
        return Change::deselect;
    case eSelectionToggle:
        return pIsSelected ? Change::deselect : Change::select;
    }
    return Change::none;
}
}  // namespace

void GlissaManipulator::SelectKeys(eSelectionMode pMode, KTime pStart, KTime pStop,
                                   double pMinValue, double pMaxValue)
{
    const KOperation operation;
    mLastSelectedNode = nullptr;
    mLastSelectedKey = -1;
    if (!mShowManyTangents) {
        SetTangentVisibility(false, false);
    }
    bool isChanged = false;
    for (int i = 0; i < mRelatedNodes.GetCount(); ++i) {
        Glissa* const curve = RelatedCurve(i);
        if (!mNodesForManip.Test(i) || !curve || curve->IsLocked()) {
            continue;
        }
        GlissaNode* const node = mRelatedNodes[i];
        const KeyModifyBracket bracket(*curve);
        const ETITimeline timeline(*node);
        const ActiveSpan span(*node);
        const KTime start = span.mIsLimited ? std::max(pStart, span.mStart) : pStart;
        const KTime stop = span.mIsLimited ? std::min(pStop, span.mEnd) : pStop;
        for (int key = 0; key < curve->KeyGetCount(); ++key) {
            const KTime time = timeline.ToGlobal(curve->KeyGetTime(key));
            bool isSelected = curve->KeyGetSelected(key);
            const auto deselect = [&] {
                SetTangentVisibility(false, curve, key);
                if (isSelected) {
                    curve->KeySetSelected(key, false);
                    isChanged = true;
                    isSelected = false;
                }
            };
            if (isSelected && span.mIsLimited && !span.Contains(time)) {
                deselect();
            }
            if (span.mLeavesOutOthers && !span.Contains(time)) {
                continue;
            }
            const double value = curve->KeyGetValue(key);
            const bool isInside =
                start <= time && time <= stop && pMinValue <= value && value <= pMaxValue;
            const Change change = ChangeOf(pMode, isInside, isSelected);
            if (change == Change::deselect) {
                deselect();
            } else if (change == Change::select) {
                if (!isSelected) {
                    curve->KeySetSelected(key, true);
                    isChanged = true;
                }
                if (mShowManyTangents) {
                    SetTangentVisibility(true, curve, key);
                }
                mLastSelectedNode = node;
                mLastSelectedKey = key;
            }
        }
    }
    if (!mShowManyTangents && mLastSelectedNode) {
        SetTangentVisibility(true, mLastSelectedNode->FCurveGet(), mLastSelectedKey);
    }
    if (isChanged) {
        FrameSelection();
    }
}

void GlissaManipulator::SelectKeys(eSelectionMode pMode, KTime pStart, KTime pStop, KTime pMinValue,
                                   KTime pMaxValue)
{
    SelectKeys(pMode, pStart, pStop, pMinValue.GetSecondDouble(), pMaxValue.GetSecondDouble());
}

void GlissaManipulator::Range::Include(KTime pTime, double pValue)
{
    const KTime valueTime = KTime::FromSeconds(pValue);
    mStart = std::min(mStart, pTime);
    mStop = std::max(mStop, pTime);
    mMinValue = std::min(mMinValue, pValue);
    mMaxValue = std::max(mMaxValue, pValue);
    mMinValueTime = std::min(mMinValueTime, valueTime);
    mMaxValueTime = std::max(mMaxValueTime, valueTime);
}

void GlissaManipulator::Range::Get(KTime& pStart, KTime& pStop, double& pMinValue,
                                   double& pMaxValue) const
{
    pStart = mStart;
    pStop = mStop;
    pMinValue = mMinValue;
    pMaxValue = mMaxValue;
}

void GlissaManipulator::Range::Get(KTime& pStart, KTime& pStop, KTime& pMinValue,
                                   KTime& pMaxValue) const
{
    pStart = mStart;
    pStop = mStop;
    pMinValue = mMinValueTime;
    pMaxValue = mMaxValueTime;
}

void GlissaManipulator::GetSelectionRange(KTime& pStart, KTime& pStop, double& pMinValue,
                                          double& pMaxValue)
{
    mSelection.Get(pStart, pStop, pMinValue, pMaxValue);
}

void GlissaManipulator::GetSelectionRange(KTime& pStart, KTime& pStop, KTime& pMinValue,
                                          KTime& pMaxValue)
{
    mSelection.Get(pStart, pStop, pMinValue, pMaxValue);
}

void GlissaManipulator::GetOriginalSelectionRange(KTime& pStart, KTime& pStop, double& pMinValue,
                                                  double& pMaxValue)
{
    mOriginal.Get(pStart, pStop, pMinValue, pMaxValue);
}

void GlissaManipulator::GetOriginalSelectionRange(KTime& pStart, KTime& pStop, KTime& pMinValue,
                                                  KTime& pMaxValue)
{
    mOriginal.Get(pStart, pStop, pMinValue, pMaxValue);
}

void GlissaManipulator::FrameSelection()
{
    Frame(false);
}

void GlissaManipulator::FrameManipulation()
{
    Frame(true);
}

// The range of the selected keys; with pMarkedOnly, of those that are marked too.
void GlissaManipulator::Frame(bool pMarkedOnly)
{
    mSelection = Range();
    for (int i = 0; i < mRelatedNodes.GetCount(); ++i) {
        Glissa* const curve = RelatedCurve(i);
        if (!mNodesForManip.Test(i) || !curve) {
            continue;
        }
        const ETITimeline timeline(*mRelatedNodes[i]);
        for (int key = 0; key < curve->KeyGetCount(); ++key) {
            if (curve->KeyGetSelected(key) &&
                (!pMarkedOnly || curve->KeyGetMarkedForManipulation(key))) {
                mSelection.Include(timeline.ToGlobal(curve->KeyGetTime(key)),
                                   curve->KeyGetValue(key));
            }
        }
    }
}

KTime GlissaManipulator::GetFirstKeyTime()
{
    KTime first = KTime::MinusInfinite();
    bool isFound = false;
    for (int i = 0; i < mRelatedNodes.GetCount(); ++i) {
        const Glissa* const curve = RelatedCurve(i);
        if (curve && curve->KeyGetCount() > 0) {
            const KTime time = mRelatedNodes[i]->GetFirstKeyTime(nullptr, false);
            first = isFound ? std::min(first, time) : time;
            isFound = true;
        }
    }
    return first;
}

KTime GlissaManipulator::GetLastKeyTime()
{
    KTime last = KTime::Infinite();
    bool isFound = false;
    for (int i = 0; i < mRelatedNodes.GetCount(); ++i) {
        const Glissa* const curve = RelatedCurve(i);
        if (curve && curve->KeyGetCount() > 0) {
            const KTime time = mRelatedNodes[i]->GetLastKeyTime(nullptr, false);
            last = isFound ? std::max(last, time) : time;
            isFound = true;
        }
    }
    return last;
}

void GlissaManipulator::GetLastSelectedKey(GlissaNode*& pNode, Glissa*& pCurve, int& pIndex)
{
    pNode = mLastSelectedNode;
    pCurve = pNode ? pNode->FCurveGet() : nullptr;
    pIndex = mLastSelectedKey;
}

void GlissaManipulator::SetTangentVisibility(bool pOn, bool pOnlyNodesForManip)
{
    if (pOn && !mShowManyTangents) {
        return;
    }
    const KOperation operation;
    for (int i = 0; i < mRelatedNodes.GetCount(); ++i) {
        Glissa* const curve = RelatedCurve(i);
        if (!curve || (pOnlyNodesForManip && !mNodesForManip.Test(i))) {
            continue;
        }
        const KeyModifyBracket bracket(*curve);
        for (int key = 0; key < curve->KeyGetCount(); ++key) {
            if (curve->KeyGetSelected(key)) {
                SetTangentVisibility(pOn, curve, key);
            }
        }
    }
}

// A handle belongs to the segment that it shapes: the left one to that of the key before.
void GlissaManipulator::SetTangentVisibility(bool pOn, Glissa* pCurve, int pIndex)
{
    if (pIndex < 0 || pIndex >= pCurve->KeyGetCount()) {
        return;
    }
    unsigned shown = eTangentShowNone;
    if (pOn && HasHandles(*pCurve, pIndex)) {
        shown |= eTangentShowRight;
    }
    if (pOn && pIndex > 0 && HasHandles(*pCurve, pIndex - 1) &&
        (pCurve->KeyGetInterpolation(pIndex - 1) == eInterpolationCustom ||
         !IsTCB(*pCurve, pIndex))) {
        shown |= eTangentShowLeft;
    }
    if (shown != pCurve->KeyGetTangeantVisibility(pIndex)) {
        pCurve->KeySetTangeantVisibility(pIndex, shown);
    }
}
