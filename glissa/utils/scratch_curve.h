// Copyright (c) 2026 The glissa authors
// SPDX-License-Identifier: MIT
// Not for hosts: a curve for the length of an operation.
#pragma once

#include "glissa/curve/curve.h"

#include <memory>

struct DestroyScratchCurve
{
    void operator()(Glissa* pCurve) const { pCurve->Destroy(); }
};

/// An owned curve, ended with its pointer.
using ScratchCurve = std::unique_ptr<Glissa, DestroyScratchCurve>;

/// A curve that is read while another one is written: itself, or a copy where both are the same.
class CurveToRead
{
public:
    CurveToRead(Glissa& pCurve, const Glissa& pWritten)
        : mCopy(&pCurve == &pWritten ? pCurve.Copy() : nullptr), mCurve(mCopy ? *mCopy : pCurve)
    {}
    Glissa& Get() const { return mCurve; }

private:
    ScratchCurve mCopy;
    Glissa& mCurve;
};
