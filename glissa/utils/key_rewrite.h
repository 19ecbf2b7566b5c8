// Copyright (c) 2026 The glissa authors
// SPDX-License-Identifier: MIT
// Not for hosts: an edit of many keys that posts what changed.
#pragma once

#include "glissa/utils/scratch_curve.h"

/// An edit of many keys, made on a copy of the curve that nobody listens to. The curve then takes
/// the keys of the copy as a whole: what is posted is what differs, not how the edit got there, and
/// values of keys that stay are not checked again. Lives inside a bracket.
class KeyRewrite
{
public:
    explicit KeyRewrite(Glissa& pCurve) : KeyRewrite(pCurve, true) {}
    /// The copy has no keys yet, but all else of the curve.
    static KeyRewrite WithoutKeys(Glissa& pCurve) { return KeyRewrite(pCurve, false); }

    Glissa& Work() const { return *mWork; }
    /// Gives the curve the keys and the default value of the copy, which ends the edit. Each key
    /// posts what became of it: kGlissaEventRemoved, kGlissaEventAdded, kGlissaEventValue or
    /// kGlissaEventOther. Added keys are reported to the host.
    void Commit();

private:
    KeyRewrite(Glissa& pCurve, bool pWithKeys);
    int PostDifferences();

    Glissa& mCurve;
    ScratchCurve mWork;
};
