// Copyright (c) 2026 The glissa authors
// SPDX-License-Identifier: MIT
#pragma once

#include "corvekit/event/event.h"
#include "glissa/export.h"

/// What changed in a curve; the types of a batch are united.
enum EGlissaEventType : int
{
    eEventNone = 0x0,
    eEventDefaultValue = 0x1,  ///< the default value
    eEventKey = 0x10,          ///< a key or a setting of the curve; part of all types but selection
    eEventSelection = 0x100,   ///< selection or tangent visibility
    eEventDestroy = 0x200,     ///< the curve is being destroyed
    eEventKeyAdd = 0x800,
    eEventKeyRemove = 0x1000,
    eEventEditValue = 0x2000,
    eEventEditTime = 0x4000,
    eEventEditOther = 0x8000,  ///< another attribute; the types below refine it
    eEventEditInterpolation = 0x10000,
    eEventEditTangentMode = 0x20000,
    eEventEditBreak = 0x40000,
    eEventEditConstantMode = 0x80000,
    eEventEditVelocity = 0x200000,
    eEventEditWeight = 0x400000,
    eEventEditSlope = 0x800000,
    eEventEditTCBTension = 0x1000000,
    eEventEditTCBBias = 0x2000000,
    eEventEditTCBContinuity = 0x4000000,
    eEventEditPreExtrapolation = 0x8000000,
    eEventEditPostExtrapolation = 0x10000000,
    eEventEditCopied = 0x20000000,  ///< the whole curve was copied from another one
};

// What is posted for the common changes. The bits of eEventEditInterpolation and those after it are
// added to kGlissaEventOther.
constexpr int kGlissaEventAdded = eEventKey | eEventKeyAdd;       // 0x810
constexpr int kGlissaEventRemoved = eEventKey | eEventKeyRemove;  // 0x1010
constexpr int kGlissaEventValue = eEventKey | eEventEditValue;    // 0x2010
constexpr int kGlissaEventTime = eEventKey | eEventEditTime;      // 0x4010
constexpr int kGlissaEventOther = eEventKey | eEventEditOther;    // 0x8010
constexpr int kGlissaEventAllAttributes =                         // 0xE010
    eEventKey | eEventEditValue | eEventEditTime | eEventEditOther;

/// The changes of a curve, folded into one: their kinds and the range of changed keys.
///
/// A key index of -1 means the whole curve. Cleared, all indexes are -1 and the rest is 0.
class GLISSA_API GlissaEvent final : public KEventBase
{
public:
    /// Folds one change in.
    void Add(int pType, int pKey);
    /// Folds a change into the detailed fields, by which a manipulator marks the keys of a batch
    /// that moved: 0x4000 in time, 0x2000 in value.
    void AddDetailedEvent(int pType, int pFirst, int pLast);
    void Clear();

    int GetFirstKey() const { return mFirstKey; }
    int GetLastKey() const { return mLastKey; }
    /// How many changes were folded in since the last clear.
    int GetEventCount() const { return mEventCount; }
    int GetDetailedFirst() const { return mDetailedFirst; }
    int GetDetailedLast() const { return mDetailedLast; }
    int GetDetailedType() const { return mDetailedType; }

private:
    int mFirstKey = -1;
    int mLastKey = -1;
    int mEventCount = 0;
    int mDetailedFirst = -1;
    int mDetailedLast = -1;
    int mDetailedType = 0;
};
