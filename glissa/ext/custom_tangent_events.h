// Copyright (c) 2026 The glissa authors
// SPDX-License-Identifier: MIT
#pragma once

#include "corvekit/event/event.h"
#include "corvekit/time.h"
#include "glissa/export.h"

#include <cstdint>

class Glissa;

/// A curve needs the value of a segment with a host's own interpolation. The handler stores its
/// answer in mResult. Valid during the call that carries it only.
class GLISSA_API GlissaEvaluationEvent : public KEventBase
{
public:
    /// The state of a new event: no curve, result 0, the reserved words. Key index and
    /// time keep what they held.
    void Reset()
    {
        mCurve = nullptr;
        mReserved = 0;
        mReservedFirst = -1;
        mReservedLast = -1;
        mResult = 0.0;
    }

    double mKeyIndex = 0.0;  ///< key at the start of the segment, plus the fraction of its span
    KTime mTime;             ///< the time to evaluate
    Glissa* mCurve = nullptr;
    std::uint64_t mReserved = 0;
    std::int32_t mReservedFirst = -1;
    std::int32_t mReservedLast = -1;
    double mResult = 0.0;  ///< the value of the curve; it is narrowed to float
};

/// A key was added to a curve. Valid during the call that carries it only.
class GLISSA_API GlissaCustomKeyAddEvent : public KEventBase
{
public:
    /// No curve; index and time keep what they held.
    void Reset() { mCurve = nullptr; }

    int mIndex = -1;
    KTime mTime;
    Glissa* mCurve = nullptr;
};

/// What of a key changes.
enum eCustomKeyChangeType : int
{
    eCustomKeyChangeInterpolation = 1,
    eCustomKeyChangeTangentMode = 2  ///< the tangent mode, or which custom type it is
};

/// A key changes, sent before and after. Valid during the call that carries it only.
class GLISSA_API GlissaCustomKeyChangeEvent : public KEventBase
{
public:
    /// No curve; the rest keeps what it held.
    void Reset() { mCurve = nullptr; }

    int mIndex = -1;
    KTime mTime;
    Glissa* mCurve = nullptr;
    bool mBefore = false;  ///< true in the call before the change, false in the one after it
    eCustomKeyChangeType mChangeType = eCustomKeyChangeInterpolation;
};
