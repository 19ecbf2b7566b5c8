// Copyright (c) 2026 The glissa authors
// SPDX-License-Identifier: MIT

// Selection by a box of time and value, tangent handles, the range of the selection.

#include "corvekit/event/operation.h"
#include "glissa/curve/curve.h"
#include "glissa/curve/modify_bracket.h"
#include "glissa/manip/flag_writer.h"
#include "glissa/manip/manipulator.h"
#include "glissa/node/eti_timeline.h"
#include "glissa/node/node.h"

#include <algorithm>

namespace
{
constexpr unsigned kSelectionMask = GlissaKeyAttributes::kSelectionMask;
constexpr unsigned kVisibilityMask = GlissaKeyAttributes::kVisibilityMask;

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

/// The handles of a key. One belongs to the segment that it shapes: the left one to that of the key
/// before.
unsigned HandlesOf(const Glissa& pCurve, int pIndex)
{
    unsigned handles = HasHandles(pCurve, pIndex) ? eTangentShowRight : 0u;
    if (pIndex > 0 && HasHandles(pCurve, pIndex - 1) &&
        (pCurve.KeyGetInterpolation(pIndex - 1) == eInterpolationCustom ||
         !IsTCB(pCurve, pIndex))) {
        handles |= eTangentShowLeft;
    }
    return handles;
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

/// Calls pUse(index, key) for each key. pUse may change attributes, but neither add nor remove
/// keys.
template <typename Use>
void ForEachKey(const Glissa& pCurve, const Use& pUse)
{
    const int count = pCurve.KeyGetCount();
    for (int first = 0; first < count; first += KeyList::kKeysPerPage) {
        const KPriFCurveKey* const page = &pCurve.Keys()[first];
        const int keys = std::min(KeyList::kKeysPerPage, count - first);
        for (int i = 0; i < keys; ++i) {
            pUse(first + i, page[i]);
        }
    }
}

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
    Range range;  // of the selected keys, in the same pass
    for (int i = 0; i < mRelatedNodes.GetCount(); ++i) {
        Glissa* const curve = RelatedCurve(i);
        if (!mNodesForManip.Test(i) || !curve) {
            continue;
        }
        if (curve->IsLocked()) {
            IncludeKeys(range, i, eSelectPoint);
            continue;
        }
        GlissaNode* const node = mRelatedNodes[i];
        const KeyModifyBracket bracket(*curve);
        FlagWriter writer(*curve);
        const ETITimeline timeline(*node);
        const ActiveSpan span(*node);
        const KTime start = span.mIsLimited ? std::max(pStart, span.mStart) : pStart;
        const KTime stop = span.mIsLimited ? std::min(pStop, span.mEnd) : pStop;
        // Most keys of a long curve are outside. Only one mode changes them, or a span.
        const bool skipsOutside =
            pMode != eSelectionReplace && !span.mIsLimited && !span.mLeavesOutOthers;
        ForEachKey(*curve, [&](int pKey, const KPriFCurveKey& pRecord) {
            const KTime time = timeline.ToGlobal(pRecord.mTime);
            const double value = pRecord.mValue;
            const bool wasSelected = (pRecord.mAttribute->mFlags & eSelectPoint) != 0;
            if (skipsOutside && !(start <= time && time <= stop)) {
                if (wasSelected) {
                    range.Include(time, value);
                }
                return;
            }
            const bool isActive = span.Contains(time);
            bool isSelected = wasSelected && (isActive || !span.mIsLimited);
            Change change = isSelected == wasSelected ? Change::none : Change::deselect;
            if (isActive || !span.mLeavesOutOthers) {
                const bool isInside =
                    start <= time && time <= stop && pMinValue <= value && value <= pMaxValue;
                const Change wanted = ChangeOf(pMode, isInside, isSelected);
                change = wanted == Change::none ? change : wanted;
            }
            if (change != Change::none) {
                isSelected = change == Change::select;
                isChanged |= isSelected != wasSelected;
                unsigned mask = isSelected != wasSelected ? kSelectionMask : 0u;
                unsigned bits = isSelected != wasSelected && isSelected ? eSelectPoint : 0u;
                if (!isSelected || mShowManyTangents) {
                    mask |= kVisibilityMask;
                    bits |= isSelected ? HandlesOf(*curve, pKey) : 0u;
                }
                if (writer.Write(pKey, mask, bits)) {
                    curve->CallbackAddEvent(eEventSelection, pKey);
                }
            }
            if (change == Change::select) {
                mLastSelectedNode = node;
                mLastSelectedKey = pKey;
            }
            if (isSelected) {
                range.Include(time, value);
            }
        });
    }
    if (!mShowManyTangents && mLastSelectedNode) {
        SetTangentVisibility(true, mLastSelectedNode->FCurveGet(), mLastSelectedKey);
    }
    if (isChanged) {
        range.SetValueTimes();
        mSelection = range;
    }
}

void GlissaManipulator::SelectKeys(eSelectionMode pMode, KTime pStart, KTime pStop, KTime pMinValue,
                                   KTime pMaxValue)
{
    SelectKeys(pMode, pStart, pStop, pMinValue.GetSecondDouble(), pMaxValue.GetSecondDouble());
}

void GlissaManipulator::Range::Include(KTime pTime, double pValue)
{
    mStart = std::min(mStart, pTime);
    mStop = std::max(mStop, pTime);
    mMinValue = std::min(mMinValue, pValue);
    mMaxValue = std::max(mMaxValue, pValue);
}

void GlissaManipulator::Range::SetValueTimes()
{
    if (mMinValue <= mMaxValue) {
        mMinValueTime = KTime::FromSeconds(mMinValue);
        mMaxValueTime = KTime::FromSeconds(mMaxValue);
    }
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
    Frame(eSelectPoint);
}

void GlissaManipulator::FrameManipulation()
{
    Frame(eSelectPoint | eMarkedForManipulation);
}

void GlissaManipulator::Frame(unsigned pFlags)
{
    Range range;
    for (int i = 0; i < mRelatedNodes.GetCount(); ++i) {
        if (mNodesForManip.Test(i)) {
            IncludeKeys(range, i, pFlags);
        }
    }
    range.SetValueTimes();
    mSelection = range;
}

// The keys of a related node that have all of some flags.
void GlissaManipulator::IncludeKeys(Range& pRange, int pRelated, unsigned pFlags) const
{
    if (const Glissa* const curve = RelatedCurve(pRelated)) {
        const ETITimeline timeline(*mRelatedNodes[pRelated]);
        ForEachKey(*curve, [&](int, const KPriFCurveKey& pRecord) {
            if ((pRecord.mAttribute->mFlags & pFlags) == pFlags) {
                pRange.Include(timeline.ToGlobal(pRecord.mTime), pRecord.mValue);
            }
        });
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

void GlissaManipulator::SetTangentVisibility(bool pOn, Glissa* pCurve, int pIndex)
{
    if (pIndex >= 0 && pIndex < pCurve->KeyGetCount()) {
        pCurve->KeySetTangeantVisibility(pIndex, pOn ? HandlesOf(*pCurve, pIndex) : 0u);
    }
}
