// Copyright (c) 2026 The glissa authors
// SPDX-License-Identifier: MIT
// Not for hosts: the curve that an edit makes of the curve at begin.
#pragma once

#include "glissa/manip/key_edit.h"
#include "glissa/node/eti_timeline.h"

#include <vector>

/// How far the parts of a curve move. Unmarked keys between marked ones stay.
struct PartShifts
{
    KTime marked;
    KTime before;  ///< 0 and below
    KTime after;   ///< 0 and above
};

/// Which keys of a curve are marked.
struct MarkedSpan
{
    int first = -1;  ///< -1 where no key is marked
    int last = -1;

    bool IsEmpty() const { return first < 0; }
};

/// Sets the left side of a key that has another key before it, and leaves the right one. Of a TCB
/// key, weight and velocity.
void SetLeftSide(Glissa& pCurve, int pIndex, const GlissaTangeantInfo& pInfo);

/// Writes a curve as a whole: what is made of it is put together in a curve of its own, which then
/// changes hands. Without memory the curve stays as it was.
///
/// A key keeps its attribute block, which it shares with the curve at begin, for as long as the key
/// behind it is the one that it had. Else it gets a block of its own with the left side of the next
/// key, which is stored there.
class CurveWriter
{
public:
    CurveWriter();
    CurveWriter(const CurveWriter&) = delete;
    CurveWriter& operator=(const CurveWriter&) = delete;
    ~CurveWriter() { mCurve->Destroy(); }

    /// Another curve, with its default value, colour and extrapolation. Posts what CopyFrom does.
    static void Copy(Glissa& pCurve, Glissa& pSource);
    /// The keys of the curve at begin with its parts moved. A marked key replaces another one at
    /// its time. With pKeepOriginals marked keys are also left where they are, without mark and
    /// selection. A part stops where it would leave the range of times. Posts as Copy.
    void RecomposeFCurve(Glissa& pCurve, Glissa& pOriginal, const MarkedSpan& pMarked,
                         PartShifts pShifts, bool pKeepOriginals);
    /// The keys of an edit.
    ///
    /// pAll       all keys as they were loaded from pOriginal, with pTimeline.
    void ApplyToNode(Glissa& pCurve, const GlissaEdit2& pEdit, const GlissaEdit2& pAll,
                     Glissa& pOriginal, const ETITimeline& pTimeline);

private:
    void Begin(int pCount);
    void Append(KTime pTime, const Glissa& pOriginal, int pIndex);
    void Commit(Glissa& pCurve, Glissa& pSettings, int pEvent);

    void PlaceRecords(const GlissaEdit2& pEdit, const GlissaEdit2& pAll, const Glissa& pOriginal,
                      const ETITimeline& pTimeline);

    // What a record has in common with the key that it was loaded from, time and value aside.
    enum class Change
    {
        kNone,
        kSlopes,  // of a user tangent, and no more
        kOther,
    };
    struct Placed
    {
        KTime time;
        const GlissaKeyEdit2* record;
        Change change;
    };

    Glissa* mCurve;
    std::vector<int> mIndexes;    // in the original, of the keys of mCurve
    std::vector<Placed> mPlaced;  // records that become the keys of mCurve
};
