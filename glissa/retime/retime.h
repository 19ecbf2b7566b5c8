// Copyright (c) 2026 The glissa authors
// SPDX-License-Identifier: MIT
#pragma once

#include "corvekit/event/operation.h"
#include "corvekit/time.h"
#include "glissa/export.h"

#include <cstdint>

// The line of markers and spans along which a host retimes animation: docs/retiming.md.
//
// The elements are a doubly linked list: a special span on the left, then markers and normal spans
// in turn, and a special span on the right. The host allocates the elements with new, sets the
// links where a constructor does not, and frees the list with KRetimeLinkListHead::DestroyLinkList.
// One thread at a time uses a list. Where a link is null that should not be, the missing neighbour
// counts as a special span of infinite time. A walk along links that form a circle ends.

/// Called by KRetimeMarker::Move before the marker moves: the times of the markers to the left and
/// to the right, infinite where there is none, the time of the marker, and by how much it moves.
using RetimeMoveCallback = void (*)(void* pContext, KTime pLeft, KTime pTime, KTime pRight,
                                    KTime pDelta);
/// Returns the time of a special span.
using RetimeTimeCallback = KTime (*)(void* pContext);

/// What an element calls. A plain value, of which each element has a copy. A null function is not
/// called. A callback may change and destroy elements, the one that calls it included.
struct RetimeCallbackEntry
{
    void* mContext = nullptr;                 ///< the first argument of all calls
    void* mReserved[2] = {nullptr, nullptr};  ///< for the host; copied, not used
    RetimeMoveCallback mMove = nullptr;
    RetimeTimeCallback mTimes[4] = {};  ///< for eRetimeLeftTime0 to eRetimeRightTime3
};

enum RetimeElementType : std::int32_t
{
    eRetimeMarker = 0,
    eRetimeNormalSpan = 1,
    eRetimeSpecialSpan = 2,
};

/// At which end of the list a special span is, and where its time comes from.
enum KRetimeSpecialSpanState : std::int32_t
{
    eRetimeLeftInfinite = 0,   ///< KTime::MinusInfinite()
    eRetimeRightInfinite = 1,  ///< KTime::Infinite()
    eRetimeLeftTime0 = 2,      ///< RetimeCallbackEntry::mTimes, here and below
    eRetimeRightTime1 = 3,
    eRetimeLeftTime2 = 4,
    eRetimeRightTime3 = 5,
};

/// The state of a normal span. The host defines the values; the library only keeps them.
enum KRetimeNormalSpanState : std::int32_t
{};

/// An element of the list. The links belong to the host: a destructor leaves those of the
/// neighbours as they are. A copy made by construction or assignment has the links of its source,
/// and the neighbours still refer to the source.
class GLISSA_API KRetimeElement
{
public:
    explicit KRetimeElement(RetimeCallbackEntry pEntry) : mCallbacks(pEntry) {}
    KRetimeElement(const KRetimeElement&) = default;
    KRetimeElement& operator=(const KRetimeElement&) = default;
    virtual ~KRetimeElement();

    /// A new element with the same fields and callbacks, but null links. A special span gets its
    /// time from its callback again.
    virtual KRetimeElement* Copy() const = 0;
    virtual const KTime& GetTime() const = 0;

    const RetimeElementType& ElementType() const { return mType; }
    /// Whether pElement is the later one, despite the name: true if the time of this element is
    /// less than that of pElement. Null is refused with false.
    bool IsTimeBiggerThan(const KRetimeElement* pElement) const;

    KRetimeElement* mPrevious = nullptr;  ///< to the left
    KRetimeElement* mNext = nullptr;      ///< to the right

protected:
    RetimeElementType mType = eRetimeMarker;
    RetimeCallbackEntry mCallbacks;

    /// By which KWatch detects the end of an element. Each element has its own.
    struct GLISSA_API Subject final : KOperationSubject
    {
        Subject() = default;
        Subject(const Subject&) : KOperationSubject() {}
        Subject& operator=(const Subject&) { return *this; }

    private:
        void DeleteSubject() override {}
    };
    Subject mSubject;

    friend class KRetimeLinkListHead;
};

/// A point in time that a user drags. It has a span on each side.
class GLISSA_API KRetimeMarker : public KRetimeElement
{
public:
    KRetimeMarker(RetimeCallbackEntry pEntry, KTime pTime) : KRetimeElement(pEntry), mTime(pTime) {}

    KRetimeMarker* Copy() const override;
    const KTime& GetTime() const override { return mTime; }
    /// Without a call of the callback.
    void SetTime(KTime pTime) { mTime = pTime; }

    /// Initially not selected.
    bool IsSelected() const { return mIsSelected; }
    void SetSelected() { mIsSelected = true; }
    void SetUnselected() { mIsSelected = false; }
    /// Whether SnapToFrame has an effect. Initially true.
    bool IsSnapToFrame() const { return mIsSnapToFrame; }
    void SetSnapToFrame(bool pSnap) { mIsSnapToFrame = pSnap; }
    /// Whether the neighbour is a normal span that is locked. A special span is never locked.
    bool IsLeftLocked() const;
    bool IsRightLocked() const;

    /// Adds pDelta to the time. The time may pass those of the neighbours: the host limits pDelta.
    /// A pDelta of 0 does nothing.
    ///
    /// pNotify  calls the move callback first, while the marker still has its old time. A time to
    ///          the left is infinite if the neighbour is a special span, also if that span has a
    ///          finite time; the same to the right. If the callback changes the time, pDelta is
    ///          added to the new one.
    void Move(KTime pDelta, bool pNotify);
    /// Moves the marker to the nearest frame of the default time mode, if IsSnapToFrame.
    void SnapToFrame(bool pNotify);
    /// Selects the markers that are connected with this one by locked spans, one after another in
    /// both directions. This marker itself is left as it is: a host that drags it selects it too.
    ///
    /// pFrom  the marker on whose side nothing is selected; null for both sides.
    void SelectLockedNeighborMarkers(KRetimeMarker* pFrom);

private:
    KTime mTime;
    bool mIsSelected = false;
    bool mIsSnapToFrame = true;
};

/// The span between two markers. A locked one connects them.
class GLISSA_API KRetimeNormalSpan : public KRetimeElement
{
public:
    /// Sets the links of the span to pLeft and pRight, but not those of the two to the span.
    KRetimeNormalSpan(RetimeCallbackEntry pEntry, KRetimeElement* pLeft, KRetimeElement* pRight,
                      KRetimeNormalSpanState pState);

    KRetimeNormalSpan* Copy() const override;
    /// The time of the left neighbour; KTime::MinusInfinite() without one.
    const KTime& GetTime() const override;

    KRetimeNormalSpanState GetState() const { return mState; }
    void SetState(KRetimeNormalSpanState pState) { mState = pState; }
    /// Initially not locked.
    bool IsLocked() const { return mIsLocked; }
    void SetLocked(bool pLocked) { mIsLocked = pLocked; }
    void ChangeLocked() { mIsLocked = !mIsLocked; }

private:
    KRetimeNormalSpanState mState;
    bool mIsLocked = false;
};

/// The first or the last element of the list.
class GLISSA_API KRetimeSpecialSpan : public KRetimeElement
{
public:
    /// Sets the link of the span to pNeighbor: the next one for a state of the left end, the
    /// previous one for a state of the right end, none for other values. Then calls RefreshTime.
    KRetimeSpecialSpan(RetimeCallbackEntry pEntry, KRetimeElement* pNeighbor,
                       KRetimeSpecialSpanState pState);

    KRetimeSpecialSpan* Copy() const override;
    const KTime& GetTime() const override { return mTime; }

    KRetimeSpecialSpanState GetState() const { return mState; }
    /// A change of the state calls RefreshTime. It leaves the link where it is, also if the new
    /// state is one of the other end.
    void SetState(KRetimeSpecialSpanState pState);
    /// Gets the time by the state again. For the host to call when the result of a callback has
    /// changed. Without the callback, or with a value that is no state, the time stays; it is
    /// initially 0.
    void RefreshTime();

private:
    KRetimeSpecialSpanState mState;
    KTime mTime;
};

/// The first element of a list. It does not own the elements: they are freed by DestroyLinkList
/// only, and a copy of the head refers to the same ones.
class GLISSA_API KRetimeLinkListHead
{
public:
    /// The first one of a copy of all elements, linked in both directions; null if there are none.
    /// Special spans call their callbacks. Of a circle each element is copied once. If a callback
    /// destroys the list, the copy has the elements up to there. Callbacks must not insert
    /// elements: the copy may lack others then.
    KRetimeElement* CopyLinkList() const;
    /// Deletes all elements from the first one on, following mNext, and sets mFirst to null. Of a
    /// circle each element is deleted once.
    void DestroyLinkList();

    KRetimeElement* mFirst = nullptr;
};
