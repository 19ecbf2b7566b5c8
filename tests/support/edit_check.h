// Copyright (c) 2026 The glissa authors
// SPDX-License-Identifier: MIT
// For tests only, not installed.
#pragma once

#include "glissa/curve/curve.h"

#include <functional>
#include <string>
#include <vector>

/// The event of one call of a listener.
struct HeardEvent
{
    int type = 0;
    int first = -1;
    int last = -1;
    int count = 0;

    friend bool operator==(const HeardEvent&, const HeardEvent&) = default;
};
std::ostream& operator<<(std::ostream& pStream, const HeardEvent& pEvent);

/// Equal numbers, or two that are none.
bool IsSame(float pLeft, float pRight);

/// Records the events of a curve, one entry a call, while it lives.
class EventRecorder
{
public:
    using Reaction = std::function<void(Glissa*, GlissaEvent*)>;

    explicit EventRecorder(Glissa& pCurve, Reaction pThen = {});
    EventRecorder(const EventRecorder&) = delete;
    EventRecorder& operator=(const EventRecorder&) = delete;
    ~EventRecorder();

    const std::vector<HeardEvent>& Heard() const { return mHeard; }
    /// The union of all calls.
    HeardEvent Folded() const;

private:
    static void Hear(Glissa* pCurve, GlissaEvent* pEvent, void* pObject);

    Glissa* mCurve;  // null when it has ended
    Reaction mThen;
    std::vector<HeardEvent> mHeard;
};

/// Notes a curve before an edit and listens; afterwards holds what differs against what was posted,
/// and what does not differ against what it evaluated to.
class EditCheck
{
public:
    explicit EditCheck(Glissa& pCurve);
    /// What the edit got wrong, or nothing: a key that differs outside the span posted or in a way
    /// not posted, a count or default value that changed unheard, an update id that did not move
    /// by one a post, a segment away from the change whose value changed.
    ///
    /// pReinserted  keys that the edit may have taken out and put in again.
    std::string Verify(int pReinserted = 1);
    const std::vector<HeardEvent>& Heard() const { return mEvents.Heard(); }
    HeardEvent Folded() const { return mEvents.Folded(); }

private:
    struct Sample
    {
        double place;  // as a fractional key index
        float value;
    };

    Glissa& mCurve;
    EventRecorder mEvents;
    std::vector<GlissaKey> mKeys;
    std::vector<Sample> mSamples;
    float mValue;
    int mUpdateId;
};

/// What is wrong with curves that together hold every attribute block in use: counts
/// of references, order of times, records behind the count, page table and page index. Nothing if
/// all is well.
std::string CheckBooks(const std::vector<const Glissa*>& pCurves);
