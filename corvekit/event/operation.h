// Copyright (c) 2026 The glissa authors
// SPDX-License-Identifier: MIT
#pragma once

#include "corvekit/export.h"

#include <new>

class KOperation;
class KOperationSubject;

/// An entry in the circular list of what is deferred to the end of an operation. For KOperation.
class CORVEKIT_API KWaiting
{
protected:
    KWaiting() = default;
    KWaiting(const KWaiting&) = delete;
    KWaiting& operator=(const KWaiting&) = delete;
    ~KWaiting() = default;

    void EnterBefore(KWaiting& pOther);
    void Leave();

private:
    friend class KOperation;

    virtual void Make() {}

    KWaiting* mBefore = this;
    KWaiting* mBehind = this;
};

/// A deferred call, also in the list of its subject. For KOperation.
class CORVEKIT_API KWaitingCall : public KWaiting
{
protected:
    explicit KWaitingCall(KOperationSubject* pSubject);
    ~KWaitingCall();

private:
    friend class KOperation;
    friend class KOperationSubject;

    /// Deletes this call, and makes it unless pIsDropped.
    virtual void End(bool pIsDropped) = 0;
    void Make() final { End(false); }

    KWaitingCall* mNextOfSubject = nullptr;
    KWaitingCall** mPlace = nullptr;  // what points to this call; null without a subject
};

/// The base of a class whose objects call listeners: the links by which an operation defers calls
/// and the deletion of the object. The destructor discards the deferred calls of the object, in a
/// time that does not depend on those of other objects.
class CORVEKIT_API KOperationSubject : private KWaiting
{
protected:
    KOperationSubject() = default;
    ~KOperationSubject();

private:
    friend class KOperation;
    friend class KWaitingCall;

    /// Deletes the object, for KOperation::DeleteAtEnd.
    virtual void DeleteSubject() = 0;
    void Make() final;

    KWaitingCall* mCalls = nullptr;
};

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
    /// pSubject  the object of the call, or null. Its end discards the call.
    template <typename Call>
    static void CallAtEnd(KOperationSubject* pSubject, const Call& pCall)
    {
        KWaitingCall* const waiting =
            IsUnderWay() ? new (std::nothrow) CallOf<Call>(pSubject, pCall) : nullptr;
        if (waiting) {
            Keep(*waiting);
        } else {
            pCall();
        }
    }
    /// Deletes an object at the end of the outermost operation; at once if there is none. Needs no
    /// memory. Objects that its destructor deletes are deleted after it and not nested, so that the
    /// stack is not deep for a deep tree.
    static void DeleteAtEnd(KOperationSubject& pSubject);

private:
    friend class KOperationSubject;

    template <typename Call>
    struct CallOf final : KWaitingCall
    {
        CallOf(KOperationSubject* pSubject, const Call& pCall)
            : KWaitingCall(pSubject), mCall(pCall)
        {}
        void End(bool pIsDropped) override
        {
            const Call call = mCall;
            delete this;  // first: the call may delete the subject
            if (!pIsDropped) {
                call();
            }
        }

        Call mCall;
    };

    static void Keep(KWaiting& pWaiting);
    void Begin() noexcept;
    void End() noexcept;
    void MakeWaitingCalls();

    bool mHasBegun = false;
    struct Head final : KWaiting
    {};
    // Initialised by the beginning of an outermost operation only: most KOperation objects are
    // created with pNeeded false.
    union
    {
        Head mWaiting;  // what is deferred to its end
    };
    KOperation* mOuter;  // the operation that made the call in which this one began
};

/// Detects whether an object still exists after calls of listeners.
class CORVEKIT_API KWatch
{
public:
    explicit KWatch(const KOperationSubject* pObject = nullptr) noexcept;
    KWatch(const KWatch&) = delete;
    KWatch& operator=(const KWatch&) = delete;
    ~KWatch();

    void Set(const KOperationSubject* pObject) { mObject = pObject; }
    /// False if the object is destroyed or null.
    bool IsAlive() const { return mObject != nullptr; }

private:
    friend class KOperationSubject;

    const KOperationSubject* mObject;
    KWatch* mOuter;
};
