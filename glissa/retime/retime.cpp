// Copyright (c) 2026 The glissa authors
// SPDX-License-Identifier: MIT

#include "glissa/retime/retime.h"

#include <cstddef>
#include <utility>

namespace
{
constexpr KTime kMinusInfinite = KTime::MinusInfinite();

// The number of different elements on a walk from pFirst by pNext, which returns null at the end.
// On a walk into a circle each element counts once: Brent, An improved Monte Carlo factorization
// algorithm, BIT 20, 1980. A loop of that many steps ends on any list and needs no memory.
template <typename Element, typename Next>
std::size_t CountAlong(Element* pFirst, const Next& pNext)
{
    if (!pFirst) {
        return 0;
    }
    std::size_t count = 1;
    std::size_t length = 1;
    std::size_t limit = 1;
    Element* mark = pFirst;
    for (Element* element = pNext(pFirst); element != mark; element = pNext(element), ++length) {
        if (!element) {
            return count;
        }
        ++count;
        if (length == limit) {
            mark = element;
            limit *= 2;
            length = 0;
        }
    }
    // The circle has this length. Two places at that distance meet where it begins.
    Element* ahead = pFirst;
    for (std::size_t i = 0; i < length; ++i) {
        ahead = pNext(ahead);
    }
    count = length;
    for (Element* behind = pFirst; behind != ahead; behind = pNext(behind)) {
        ahead = pNext(ahead);
        ++count;
    }
    return count;
}

KRetimeElement* NextOf(const KRetimeElement* pElement)
{
    return pElement->mNext;
}

const KRetimeElement* LeftOfNormalSpan(const KRetimeElement* pElement)
{
    const auto* const span = dynamic_cast<const KRetimeNormalSpan*>(pElement);
    return span ? span->mPrevious : nullptr;
}

using Link = KRetimeElement* KRetimeElement::*;

bool IsLocked(const KRetimeElement* pElement)
{
    const auto* const span = dynamic_cast<const KRetimeNormalSpan*>(pElement);
    return span && span->IsLocked();
}

// The element on the other side of the span at a marker; null without a span.
KRetimeElement* BehindSpan(const KRetimeMarker& pMarker, Link pLink)
{
    const KRetimeElement* const span = pMarker.*pLink;
    return span ? span->*pLink : nullptr;
}

// The time up to which a move of the marker has an effect on one side.
KTime TimeBehindSpan(const KRetimeMarker& pMarker, Link pLink, KTime pInfinite)
{
    const KRetimeElement* const element = BehindSpan(pMarker, pLink);
    const bool isEnd = dynamic_cast<const KRetimeSpecialSpan*>(pMarker.*pLink) != nullptr;
    return isEnd || !element ? pInfinite : element->GetTime();
}

// The marker that a locked span connects with a marker on one side, or null.
KRetimeMarker* LockedNeighbor(const KRetimeMarker& pMarker, Link pLink)
{
    return IsLocked(pMarker.*pLink) ? dynamic_cast<KRetimeMarker*>(BehindSpan(pMarker, pLink))
                                    : nullptr;
}

void SelectAlong(KRetimeMarker& pStart, Link pLink)
{
    // A chain that is a circle ends before the marker at which it began.
    const auto next = [&](KRetimeMarker* pMarker) {
        KRetimeMarker* const neighbor = LockedNeighbor(*pMarker, pLink);
        return neighbor != &pStart ? neighbor : nullptr;
    };
    KRetimeMarker* marker = next(&pStart);
    for (std::size_t left = CountAlong(marker, next); left > 0; --left) {
        marker->SetSelected();
        marker = next(marker);
    }
}
}  // namespace

KRetimeElement::~KRetimeElement() = default;

bool KRetimeElement::IsTimeBiggerThan(const KRetimeElement* pElement) const
{
    return pElement && GetTime() < pElement->GetTime();
}

KRetimeMarker* KRetimeMarker::Copy() const
{
    auto* const copy = new KRetimeMarker(*this);
    copy->mPrevious = nullptr;
    copy->mNext = nullptr;
    return copy;
}

bool KRetimeMarker::IsLeftLocked() const
{
    return IsLocked(mPrevious);
}

bool KRetimeMarker::IsRightLocked() const
{
    return IsLocked(mNext);
}

void KRetimeMarker::Move(KTime pDelta, bool pNotify)
{
    if (pDelta == KTime()) {
        return;
    }
    const KWatch watch(&mSubject);
    if (pNotify && mCallbacks.mMove) {
        mCallbacks.mMove(mCallbacks.mContext,
                         TimeBehindSpan(*this, &KRetimeElement::mPrevious, KTime::MinusInfinite()),
                         mTime, TimeBehindSpan(*this, &KRetimeElement::mNext, KTime::Infinite()),
                         pDelta);
    }
    if (watch.IsAlive()) {
        mTime += pDelta;
    }
}

void KRetimeMarker::SnapToFrame(bool pNotify)
{
    if (mIsSnapToFrame) {
        Move(mTime.GetFramedTime(true) - mTime, pNotify);
    }
}

void KRetimeMarker::SelectLockedNeighborMarkers(KRetimeMarker* pFrom)
{
    for (const Link link : {&KRetimeElement::mPrevious, &KRetimeElement::mNext}) {
        if (BehindSpan(*this, link) != pFrom) {
            SelectAlong(*this, link);
        }
    }
}

KRetimeNormalSpan::KRetimeNormalSpan(RetimeCallbackEntry pEntry, KRetimeElement* pLeft,
                                     KRetimeElement* pRight, KRetimeNormalSpanState pState)
    : KRetimeElement(pEntry), mState(pState)
{
    mType = eRetimeNormalSpan;
    mPrevious = pLeft;
    mNext = pRight;
}

KRetimeNormalSpan* KRetimeNormalSpan::Copy() const
{
    auto* const copy = new KRetimeNormalSpan(*this);
    copy->mPrevious = nullptr;
    copy->mNext = nullptr;
    return copy;
}

const KTime& KRetimeNormalSpan::GetTime() const
{
    // Past further normal spans, which have no time of their own.
    const KRetimeElement* element = this;
    for (std::size_t left = CountAlong(element, LeftOfNormalSpan); left > 1; --left) {
        element = LeftOfNormalSpan(element);
    }
    return dynamic_cast<const KRetimeNormalSpan*>(element) ? kMinusInfinite : element->GetTime();
}

KRetimeSpecialSpan::KRetimeSpecialSpan(RetimeCallbackEntry pEntry, KRetimeElement* pNeighbor,
                                       KRetimeSpecialSpanState pState)
    : KRetimeElement(pEntry), mState(pState)
{
    mType = eRetimeSpecialSpan;
    switch (pState) {
    case eRetimeLeftInfinite:
    case eRetimeLeftTime0:
    case eRetimeLeftTime2:
        mNext = pNeighbor;
        break;
    case eRetimeRightInfinite:
    case eRetimeRightTime1:
    case eRetimeRightTime3:
        mPrevious = pNeighbor;
        break;
    }
    RefreshTime();
}

KRetimeSpecialSpan* KRetimeSpecialSpan::Copy() const
{
    return new KRetimeSpecialSpan(mCallbacks, nullptr, mState);
}

void KRetimeSpecialSpan::SetState(KRetimeSpecialSpanState pState)
{
    if (mState != pState) {
        mState = pState;
        RefreshTime();
    }
}

void KRetimeSpecialSpan::RefreshTime()
{
    const KRetimeSpecialSpanState state = mState;
    if (state == eRetimeLeftInfinite) {
        mTime = KTime::MinusInfinite();
    } else if (state == eRetimeRightInfinite) {
        mTime = KTime::Infinite();
    } else if (state >= eRetimeLeftTime0 && state <= eRetimeRightTime3) {
        const RetimeTimeCallback callback = mCallbacks.mTimes[state - eRetimeLeftTime0];
        if (!callback) {
            return;
        }
        const KWatch watch(&mSubject);
        const KTime time = callback(mCallbacks.mContext);
        // A callback that has set another state has refreshed the time for that one.
        if (watch.IsAlive() && mState == state) {
            mTime = time;
        }
    }
}

KRetimeElement* KRetimeLinkListHead::CopyLinkList() const
{
    struct Copies
    {
        ~Copies() { mHead.DestroyLinkList(); }
        KRetimeLinkListHead mHead;
    };
    Copies copies;  // freed if a copy throws
    KRetimeElement* last = nullptr;
    KRetimeElement* element = mFirst;
    for (std::size_t left = CountAlong(element, NextOf); left > 0 && element; --left) {
        const KWatch watch(&element->mSubject);
        KRetimeElement* const copy = element->Copy();
        copy->mPrevious = last;
        copy->mNext = nullptr;  // a Copy of the host may have copied the link
        (last ? last->mNext : copies.mHead.mFirst) = copy;
        last = copy;
        element = watch.IsAlive() ? element->mNext : nullptr;
    }
    return std::exchange(copies.mHead.mFirst, nullptr);
}

void KRetimeLinkListHead::DestroyLinkList()
{
    KRetimeElement* element = std::exchange(mFirst, nullptr);
    for (std::size_t left = CountAlong(element, NextOf); left > 0 && element; --left) {
        KRetimeElement* const next = element->mNext;
        delete element;
        element = next;
    }
}
