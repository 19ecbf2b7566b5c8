// Copyright (c) 2026 The glissa authors
// SPDX-License-Identifier: MIT
#pragma once

#include "corvekit/error.h"
#include "corvekit/time.h"
#include "glissa/export.h"

class Glissa;
class GlissaNode;

/// Operations on whole curves that filters, plots and hosts share. There are no objects of it. The
/// last error is kept for each thread.
///
/// Kinds of keys are given as an interpolation and a tangent mode (mask 0x7F00, EGlissaKeyFlags).
/// For constant keys bit 0x100 of the tangent mode is the constant mode: eTangentAuto makes keys
/// that hold the next value. A result may be the curve that it is made from.
class GLISSA_API GlissaUtils
{
public:
    enum EError : int
    {
        eNoKey = 0,
        eMultipleInterpolation = 1,
        eMultipleKeyCount = 2,
        eUnsynchedKeys = 3,
        eLeftUnchanged = 4,
    };
    /// The places of the counts of GetInterpolationAndTangeantCount.
    enum EKindCount : int
    {
        eCountConstant,
        eCountLinear,
        eCountAuto,
        eCountAutoBreak,
        eCountUser,
        eCountUserBreak,
        eCountTCB,
        eKindCounts,
    };

    GlissaUtils() = delete;

    // Comparison (utils/comparison.cpp)

    /// Whether default values, times, values, kinds and what shapes the kind are equal, floats to
    /// within 2.2e-16. Constant modes, weights, velocities, refinements of automatic tangents and
    /// extrapolation are not compared.
    static bool CompareCurve(Glissa* pFirst, Glissa* pSecond);

    // Conversion (utils/conversion.cpp)

    /// Makes pResult a copy of a curve in which every segment is of one kind. Segments of that kind
    /// are kept, with the slopes of their ends; where pTangentMode names a refinement, only those
    /// with the same one. Automatic ones become user segments with the slopes that they have, plain
    /// user ones broken ones. All others are sampled from their first key on, in steps of pPeriod
    /// ticks; a sample has slots 0, which is a flat tangent for a user key.
    /// With a period below a tick, or one that asks for more keys than an int counts, each of them
    /// is one sample. Gives pResult.
    static Glissa& ConvertCurve(Glissa& pSource, Glissa& pResult, unsigned pInterpolation,
                                unsigned pTangentMode, KTime pPeriod);
    /// Changes the kind of all keys of a node and of all nodes below it, without samples: values,
    /// times and slots stay. Gives pNode.
    static GlissaNode& ConvertCurveInterpolationRecursive(unsigned pInterpolation,
                                                          unsigned pTangentMode, GlissaNode& pNode);

    // Merge (utils/merge.cpp)

    /// Puts two curves together: the keys of the second one replace the span that they cover. The
    /// first curve keeps its values outside that span, where the second one meets it; a TCB tangent
    /// next to a seam follows its new neighbour. The last key of the second curve continues the
    /// segment that it cuts and takes its kind. Where one curve has no keys the result is a copy of
    /// the other one; where none has, nothing changes.
    static void Merge(Glissa& pFirst, Glissa& pSecond, Glissa& pResult);

    // Resampling (utils/resampling.cpp)

    /// Replaces the keys of pResult by samples of a curve at pStart, and on in steps of pPeriod
    /// until pStop; with pAddStop there is a sample at pStop too. All keys are of the given kind,
    /// with slots 0. Nothing happens unless pStart lies before pStop, the period is a tick at least
    /// and an int counts the samples.
    static void Resample(Glissa& pSource, Glissa& pResult, const KTime& pStart, const KTime& pStop,
                         const KTime& pPeriod, unsigned pInterpolation, unsigned pTangentMode,
                         bool pAddStop);
    /// The same with the kind that the curve has at each sample. A user key gets the slopes of the
    /// curve; a TCB key becomes an automatic one, and weights are not kept. Outside the keys of the
    /// curve samples are cubic and automatic.
    static void Resample(Glissa& pSource, Glissa& pResult, const KTime& pStart, const KTime& pStop,
                         const KTime& pPeriod, bool pAddStop);
    /// Replaces the keys of a span by samples, cubic and automatic, in steps of pPeriod from
    /// pStart; MinusInfinite() and Infinite() stand for the first and the last key. Other keys, the
    /// curve beyond those next to the span and the default value stay.
    ///
    /// pAlign  the first sample lies on the next multiple of the period, unless that is the first
    ///         one above 0 or lies below it.
    static void Resample(Glissa& pCurve, KTime pPeriod, KTime pStart, KTime pStop, bool pAlign);

    // Summaries and errors (utils/summaries.cpp)

    /// How far the last key lies before a time, as a span at or below 0; 0 without keys.
    static KTime FindTimeOffsetAfter(Glissa& pCurve, const KTime& pTime);
    /// How far the first key lies behind a time, as a span at or above 0; 0 without keys.
    static KTime FindTimeOffsetBefore(Glissa& pCurve, const KTime& pTime);
    /// The interpolations of all keys, united: a single bit is a single kind. True also for mixed
    /// kinds, which set eMultipleInterpolation; false without keys (eNoKey).
    static bool GetGlobalInterpolation(unsigned& pInterpolation, Glissa& pCurve);
    /// The same for the kinds of tangent, mask 0xF00, whatever the interpolation.
    static bool GetGlobalTangeant(unsigned& pTangentMode, Glissa& pCurve);
    /// Counts the keys of each kind of EKindCount; keys of other kinds count nowhere. True.
    ///
    /// pCounts  out: eKindCounts numbers.
    static bool GetInterpolationAndTangeantCount(Glissa& pCurve, int* pCounts);

    /// The last error of this thread; no success clears it.
    static KError& GetError();
    static EError GetLastErrorID() { return static_cast<EError>(GetError().GetLastErrorID()); }
    static const char* GetLastErrorString() { return GetError().GetLastErrorString(); }

    // Index curves (utils/index_curves.cpp)
    //
    // Curves whose values name entries of a table of the host, counted from 1. The index of a key
    // counts from 0: its value rounded, halves up, less 1, and limited to 0 and pLast. With pLast
    // below 0 nothing changes.

    /// Follows the removal of entry pIndex from a table whose last index was pLast: indexes above
    /// it fall by one, keys on it take the entry of the key before, the first key the first entry.
    static void RemoveIndexFromCurve(Glissa& pCurve, int pIndex, int pLast);
    /// Lets the keys on one entry point to another one.
    static void ReplaceIndexFromCurve(Glissa& pCurve, int pOldIndex, int pNewIndex, int pLast);

private:
    static thread_local KError smError;
};
