// Copyright (c) 2026 The glissa authors
// SPDX-License-Identifier: MIT
#pragma once

#include "corvekit/export.h"

#include <cstddef>
#include <functional>
#include <new>

/// An operation that changes objects which others listen to, for as long as it lives.
///
/// A listener may do anything, such as edit or destroy the very object that it is called for. So
/// none is called while an operation is at work: the calls wait until the outermost operation of
/// the thread ends, and are made in order as the last thing that it does. Declare it before
/// anything else in a function that posts an event and does not end with it; after its end the
/// function must not touch an object any more.
///
/// Each thread has operations of its own.
class CORVEKIT_API KOperation
{
public:
    /// pNeeded  false: nobody listens, so that nothing will have to wait. It costs nothing then.
    explicit KOperation(bool pNeeded = true)
    {
        if (pNeeded) {
            Begin();
        }
    }
    KOperation(const KOperation&) = delete;
    KOperation& operator=(const KOperation&) = delete;
    ~KOperation()
    {
        if (mHasBegun) {
            End();
        }
    }

    /// Whether an operation of this thread is at work.
    static bool IsUnderWay();
    /// Makes a call at the end of the outermost operation, at once where there is none and where
    /// there is no memory to keep it. A call lets no exception out.
    ///
    /// pSubject  the object that the call is about, see Forget.
    template <typename Call>
    static void CallAtEnd(const void* pSubject, const Call& pCall)
    {
        if (!Keep(pSubject, pCall, false)) {
            pCall();
        }
    }
    /// The same for the call that deletes an object. What its destructor ends in turn is deleted
    /// after it and not inside it, so that a deep tree needs no deep stack.
    template <typename Call>
    static void DeleteAtEnd(const void* pSubject, const Call& pCall)
    {
        if (!Keep(pSubject, pCall, true)) {
            pCall();
        }
    }
    /// Drops the calls that wait for an object. Its destructor says so.
    static void Forget(const void* pSubject) noexcept;

private:
    template <typename Call>
    static bool Keep(const void* pSubject, const Call& pCall, bool pIsDeletion)
    {
        try {
            return IsUnderWay() && (Wait(pSubject, pCall, pIsDeletion), true);
        } catch (const std::bad_alloc&) {
            return false;  // a call too early is better than none
        }
    }
    static void Wait(const void* pSubject, std::function<void()> pCall, bool pIsDeletion);
    void Begin() noexcept;
    void End() noexcept;

    bool mHasBegun = false;
    std::size_t mFirst = 0;  // calls before this one wait for an operation further out
};

/// Knows whether an object still exists after listeners have been called. The destructor of the
/// object calls KOperation::Forget.
class CORVEKIT_API KWatch
{
public:
    explicit KWatch(const void* pObject = nullptr) noexcept;
    KWatch(const KWatch&) = delete;
    KWatch& operator=(const KWatch&) = delete;
    ~KWatch();

    void Set(const void* pObject) { mObject = pObject; }
    /// False when the object is gone, or was none.
    bool IsAlive() const { return mObject != nullptr; }

private:
    friend class KOperation;

    const void* mObject;
    KWatch* mOuter;
};
