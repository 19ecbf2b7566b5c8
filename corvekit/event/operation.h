// Copyright (c) 2026 The glissa authors
// SPDX-License-Identifier: MIT
#pragma once

#include "corvekit/export.h"

#include <cstddef>
#include <functional>
#include <new>

/// The scope of an operation that changes objects with listeners.
///
/// A listener may do anything, such as edit or destroy the object that it is called for. So calls
/// of listeners are deferred: they are made in order at the end of the outermost operation of the
/// thread. Declare one at the start of a function that posts an event before its end; after the
/// end of the operation the function must not access the objects, as a listener may have destroyed
/// them.
///
/// Operations of different threads are independent.
class CORVEKIT_API KOperation
{
public:
    /// pNeeded  false if there are no listeners: the object then has no effect and no cost.
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

    /// Whether this thread is in an operation.
    static bool IsUnderWay();
    /// Makes a call at the end of the outermost operation; at once if there is none or no memory to
    /// defer it. A call must not throw.
    ///
    /// pSubject  the object of the call, see Forget.
    template <typename Call>
    static void CallAtEnd(const void* pSubject, const Call& pCall)
    {
        if (!Keep(pSubject, pCall, false)) {
            pCall();
        }
    }
    /// The same for a call that deletes an object. Objects that its destructor deletes are deleted
    /// after it and not nested, so that the stack is not deep for a deep tree.
    template <typename Call>
    static void DeleteAtEnd(const void* pSubject, const Call& pCall)
    {
        if (!Keep(pSubject, pCall, true)) {
            pCall();
        }
    }
    /// Discards the deferred calls of an object. Called by its destructor.
    static void Forget(const void* pSubject) noexcept;

private:
    template <typename Call>
    static bool Keep(const void* pSubject, const Call& pCall, bool pIsDeletion)
    {
        try {
            return IsUnderWay() && (Wait(pSubject, pCall, pIsDeletion), true);
        } catch (const std::bad_alloc&) {
            return false;  // an early call is better than none
        }
    }
    static void Wait(const void* pSubject, std::function<void()> pCall, bool pIsDeletion);
    void Begin() noexcept;
    void End() noexcept;

    bool mHasBegun = false;
    std::size_t mFirst = 0;  // calls before this one belong to an outer operation
};

/// Detects whether an object still exists after calls of listeners. The destructor of the object
/// must call KOperation::Forget.
class CORVEKIT_API KWatch
{
public:
    explicit KWatch(const void* pObject = nullptr) noexcept;
    KWatch(const KWatch&) = delete;
    KWatch& operator=(const KWatch&) = delete;
    ~KWatch();

    void Set(const void* pObject) { mObject = pObject; }
    /// False if the object is destroyed or null.
    bool IsAlive() const { return mObject != nullptr; }

private:
    friend class KOperation;

    const void* mObject;
    KWatch* mOuter;
};
