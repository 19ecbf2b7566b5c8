// Copyright (c) 2026 The glissa authors
// SPDX-License-Identifier: MIT
#pragma once

#include "corvekit/error.h"
#include "corvekit/object/class_frame.h"
#include "corvekit/time.h"
#include "glissa/export.h"

class Glissa;
class GlissaNode;

/// What most filters mean by the first two ids of their errors.
enum EGlissaFilterError : int
{
    eFilterNoKey = 0,      ///< there was no key to work on
    eFilterUnchanged = 1,  ///< nothing changed, or the parameters would change nothing
};

/// An object that changes the keys of curves: set up through accessors, limited to a span of time,
/// and applied to a curve, to an array of curves or to a tree of nodes. Each Apply is one
/// synchronous operation; a filter holds no curve between calls.
///
/// A refusal is false, leaves the curve as it was and keeps an error, the last one of the filter,
/// which no success clears. A locked curve is refused without an error. All changes of a curve are
/// one event; a filter that runs another one on its result, such as the key reducer with key sync,
/// sends one for each. Listeners are called when all curves are done, and may edit or destroy the
/// curves and the filter. One thread at a time uses a filter.
///
/// Copies take over name, span, error and parameters. A filter with a rule for single curves
/// derives from GlissaCurveFilter.
class GLISSA_API GlissaFilter : public KClassFrame<GlissaFilter, KObject>
{
public:
    static constexpr char kClassName[] = "GlissaFilter";

    /// Neither text is copied. The span is 0 to 0: the constructor of a class calls its Reset.
    ///
    /// pErrorStrings  the texts of the class's errors by id; entries may be null.
    GlissaFilter(const char* pName, const char* const* pErrorStrings, int pErrorCount);

    /// Whether Apply would change something. True unless a class has an answer of its own.
    virtual bool NeedApply(Glissa& pCurve);
    /// Asks for each curve, in order. True.
    virtual bool NeedApply(Glissa** pCurves, int pCount);
    /// Asks for the curves of the node and, with pRecursive, of all nodes below it first. True.
    virtual bool NeedApply(GlissaNode& pNode, bool pRecursive);

    virtual bool Apply(Glissa& pCurve) = 0;
    /// Applies the filter to each curve that is not locked, in order. True, whatever the curves
    /// answer: GetLastErrorID holds the last refusal.
    virtual bool Apply(Glissa** pCurves, int pCount) = 0;
    /// Applies the filter to the children with all below them, with pRecursive, and then to the
    /// node's own curve. Locked children are passed over with what is below them; the node itself
    /// is not tested. True, as for an array.
    virtual bool Apply(GlissaNode& pNode, bool pRecursive) = 0;
    /// Sets the defaults of the class's parameters and the unbounded span, MinusInfinite() to
    /// Infinite().
    virtual void Reset();

protected:
    /// Called by the key reducer with the span that is done; does nothing.
    virtual void UpdateProgressInformation(KTime pStart, KTime pStop);

public:
    /// The name for users.
    const char* GetName() const { return mName; }
    /// The span, both ends included.
    KTime& GetStartTime() { return mStart; }
    const KTime& GetStartTime() const { return mStart; }
    void SetStartTime(const KTime& pTime) { mStart = pTime; }
    KTime& GetStopTime() { return mStop; }
    const KTime& GetStopTime() const { return mStop; }
    void SetStopTime(const KTime& pTime) { mStop = pTime; }
    /// The keys that bracket the span: a span that starts or stops between two keys includes the
    /// key before the start and the key after the stop. A span behind all keys gives the last key,
    /// one before them the first. -1 without keys.
    int GetStartKey(Glissa& pCurve) const;
    int GetStopKey(Glissa& pCurve) const;

    KError& GetError() { return mError; }
    int GetLastErrorID() const { return mError.GetLastErrorID(); }
    const char* GetLastErrorString() const { return mError.GetLastErrorString(); }

protected:
    /// Keeps an error with the text of the place that fails. False, for the caller to return.
    bool Refuse(int pId, const char* pText);

private:
    const char* mName;
    KTime mStart;
    KTime mStop;
    KError mError;
};

extern template class KClassFrame<GlissaFilter, KObject>;
