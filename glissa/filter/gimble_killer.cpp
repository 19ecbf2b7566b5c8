// Copyright (c) 2026 The glissa authors
// SPDX-License-Identifier: MIT

// Three new curves are made key by key from those of the node, with keys between where they are
// needed, and then replace the span of the node.

#include "glissa/filter/gimble_killer.h"

#include "corvekit/math/rotation_order.h"
#include "glissa/curve/key_kind.h"
#include "glissa/curve/modify_bracket.h"
#include "glissa/ext/active.h"
#include "glissa/filter/rotation_curves.h"
#include "glissa/filter/rotation_helpers.h"
#include "glissa/node/node_state.h"
#include "glissa/utils/scratch_curve.h"

#include <deque>
#include <limits>

template class KClassFrame<GlissaFilterGimbleKiller, GlissaFilter>;

namespace
{
const char* const kErrors[] = {"No key", "Left unchanged", "Not 3 curve", "Not rotation node"};

// From this squared distance of angles on, a key is put between.
constexpr double kFar = 75.0;
// Keys nearer than this, in seconds, get none between them.
constexpr double kLeastGap = 0.0008333333333333334;

// False for angles that are not finite, which ends the search.
bool IsFar(const KgeRVector& pFrom, const KgeRVector& pTo)
{
    const double square = (pTo - pFrom).SquareLength();
    return square >= kFar && square < std::numeric_limits<double>::infinity();
}

/// The new curves.
class Repaired
{
public:
    /// Takes the first key over from three curves as it is.
    Repaired(Glissa* const* pCurves, int pFirst, int pCount, const KVdRotationOrder& pOrder)
        : mOrder(pOrder), mAngles(RotationAtKey(pCurves, pFirst))
    {
        const KTime time = pCurves[0]->KeyGetTime(pFirst);
        mSeconds = time.GetSecondDouble();
        for (int i = 0; i < kRotationAxes; ++i) {
            Glissa& source = *pCurves[i];
            mCurves[i].reset(GlissaCreate());
            mCurves[i]->CopyFrom(source, false);
            mCurves[i]->ResizeKeyBuffer(pCount, false);
            const int key = FindKey(source, time);
            if (key < 0) {
                mCurves[i]->KeyAppendFast(time, static_cast<float>(mAngles[i]));
                continue;
            }
            mCurves[i]->KeyAppend(time, &source, key);
            // The left slope of the next key, which becomes automatic, is stored in this one.
            if (key + 1 < source.KeyGetCount() && IsCubic(source, key) &&
                !IsCubicTcb(source, key) && !IsCubicAuto(source, key + 1)) {
                mCurves[i]->KeySetDataDouble(0, eDataNextLeftSlope, 0.0f);
            }
        }
    }

    /// Appends a key, and those between it and the one before.
    void Append(KgeRVector pAngles, KTime pTime)
    {
        const double seconds = pTime.GetSecondDouble();
        KgeRMatrix end;
        mOrder.V2M(end, pAngles);
        // Ends: each key between lies at least half of kLeastGap after the one before, as the
        // search halves no step that is shorter than kLeastGap. Nor are there many: a step is as
        // short as it is since twice of it is far, and all angles that the shortest turn passes
        // through are few turns long.
        for (;;) {
            mOrder.V2VRef(pAngles, pAngles, mAngles);
            if (!IsFar(mAngles, pAngles) || seconds - mSeconds < kLeastGap) {
                break;
            }
            AppendBetween(end, seconds);
        }
        AppendKey(pAngles, pTime);
        mSeconds = seconds;
    }

    /// Gives the curves to the children of a node.
    void MoveTo(GlissaNode& pNode)
    {
        for (int i = 0; i < kRotationAxes; ++i) {
            pNode.Get(i)->FCurveSet(mCurves[i].release(), false);
        }
    }

private:
    // The half of the way, or the half of the half, until the angles are near.
    void AppendBetween(const KgeRMatrix& pEnd, double pSeconds)
    {
        KgeRMatrix begin;
        mOrder.V2M(begin, mAngles);
        const KgeQuaternion turn = ShortTurn(begin, pEnd);
        KgeRVector angles;
        double seconds = mSeconds;
        double share = 1.0;
        do {
            share *= 0.5;
            seconds = share * pSeconds + (1.0 - share) * mSeconds;
            const KgeQuaternion part = turn * share + KgeQuaternion() * (1.0 - share);
            mOrder.M2V(angles, QuaternionToMatrix(part) * begin);
            mOrder.V2VRef(angles, angles, mAngles);
        } while (IsFar(mAngles, angles) && seconds - mSeconds >= kLeastGap);
        AppendKey(angles, KTime::FromSeconds(seconds));
        mSeconds = seconds;
    }

    void AppendKey(const KgeRVector& pAngles, KTime pTime)
    {
        for (int i = 0; i < kRotationAxes; ++i) {
            mCurves[i]->KeyAppendFast(pTime, CheckedKeyValue(static_cast<float>(pAngles[i])));
        }
        mAngles = pAngles;
    }

    const KVdRotationOrder mOrder;
    ScratchCurve mCurves[kRotationAxes];
    KgeRVector mAngles;  // of the last key
    double mSeconds;
};
}  // namespace

GlissaFilterGimbleKiller::GlissaFilterGimbleKiller() : KClassFrame("Gimbal Killer", kErrors, 4)
{
    GlissaFilterGimbleKiller::Reset();
}

void GlissaFilterGimbleKiller::Reset()
{
    mApplyKeySyncFilter = true;
    GlissaFilter::Reset();
}

bool GlissaFilterGimbleKiller::Apply(Glissa&)
{
    GetError().SetLastErrorID(kNotThreeCurves);
    return false;
}

bool GlissaFilterGimbleKiller::Apply(Glissa** pCurves, int pCount)
{
    if (pCount != kRotationAxes) {
        return Refuse(kNotThreeCurves, "Need 3 Glissa to apply a gimble killer filter.");
    }
    RotationTree tree(pCurves, 0);
    return Apply(tree.GetNode(), true);
}

bool GlissaFilterGimbleKiller::Apply(GlissaNode& pNode, bool)
{
    if (IsNodeOrChildLocked(pNode)) {
        return false;
    }
    if (pNode.GetCount() != kRotationAxes) {
        return Refuse(kNotThreeCurves, "Gimble Killer. ioCurveNode does not have 3 childs.");
    }
    if (!pNode.IsRotationLayerType()) {
        return Refuse(kNotRotation, "Gimble Killer. Not a Rotation node!");
    }
    Glissa* curves[kRotationAxes];
    if (!FindRotationCurves(pNode, curves) || !AreChildCurves(pNode, curves)) {
        GetError().SetLastErrorID(kNotThreeCurves);
        return false;
    }
    if (curves[0]->KeyGetCount() == 0) {
        GetError().SetLastErrorID(eFilterNoKey);
        return false;
    }
    const KOperation operation;  // brackets of a deque do not end in reverse order
    std::deque<KeyModifyBracket> brackets;
    for (Glissa* const curve : curves) {
        brackets.emplace_back(*curve);
    }
    const KeptOnFailure kept(curves, kRotationAxes);
    if (mApplyKeySyncFilter) {
        SyncRotation(curves, GetStartTime(), GetStopTime());
    }
    const KTimeSpan keys(curves[0]->KeyGetTime(0),
                         curves[0]->KeyGetTime(curves[0]->KeyGetCount() - 1));
    if (GetStartTime() >= GetStopTime() || keys.GetStop() < GetStartTime() ||
        keys.GetStart() > GetStopTime()) {
        return true;  // a span outside the keys
    }
    const int first = GetStartKey(*curves[0]);
    const int last = GetStopKey(*curves[0]);
    Repaired repaired(curves, first, last - first + 1, KVdRotationOrder(pNode.GetRotationOrder()));
    for (int i = first + 1; i <= last; ++i) {
        repaired.Append(RotationAtKey(curves, i), curves[0]->KeyGetTime(i));
    }
    const NodeHolder result(pNode.CloneTemplate(false, false, false, GlissaLayerInfo::Invalid));
    repaired.MoveTo(*result);
    pNode.Replace(result.get(), GetStartTime(), GetStopTime(), false, true, KTime());
    return true;
}
