// Copyright (c) 2026 The glissa authors
// SPDX-License-Identifier: MIT
// Host side, not installed.
#pragma once

#include "glissa/node/eti.h"
#include "glissa/node/lock_query.h"

#include <set>

/// A clip on a track of a timeline, which places the animation of its nodes in time. Counted: its
/// maker has the first reference, and it destroys itself when the last one is released.
class HostClipPlace final : public IGlissaETI
{
public:
    KTime mStart;     ///< start of the active span, in the time of the clip
    KTime mOffset;    ///< on the timeline
    KTime mDuration;  ///< length of the active span
    KTime mTrim;      ///< cut off at the start
    double mSpeed = 1.0;
    bool mSelected = false;
    bool mEnabled = true;  ///< false: the clip has no effect
    KgeRGBVector mColor;

    IObject* IQuery(unsigned long pId, int) override
    {
        return pId == kIQueryObject ? this : nullptr;
    }
    void Destroy(int) override { ReleaseReference(); }
    void AddReference() override { ++mReferences; }
    void ReleaseReference() override
    {
        if (--mReferences == 0) {
            delete this;
        }
    }
    bool IsValid() override { return mEnabled; }
    KTime GetActiveStart() override { return mStart; }
    KTime GetGlobalOffset() override { return mOffset; }
    KTime GetDuration() override { return mDuration; }
    KTime GetTrimOffset() override { return mTrim; }
    double GetScaleFactor() override { return mSpeed; }
    bool IsSelectedDuration() override { return mSelected; }
    KgeRGBVector GetColor() override { return mColor; }

private:
    ~HostClipPlace() = default;

    int mReferences = 1;
};

/// The properties that a user has locked.
class HostLocks final : public ILockQuery
{
public:
    void SetLocked(KProperty* pProperty, bool pLocked)
    {
        if (pLocked) {
            mLocked.insert(pProperty);
        } else {
            mLocked.erase(pProperty);
        }
    }
    bool IsLocked(KProperty* pProperty) override { return mLocked.count(pProperty) != 0; }

private:
    std::set<KProperty*> mLocked;
};
