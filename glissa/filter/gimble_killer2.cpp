// Copyright (c) 2026 The glissa authors
// SPDX-License-Identifier: MIT

// One walk over the keys: stretches are unrolled in place, keys in a zone follow the key that
// begins it into its new form, and the key after a zone is brought next to the one before it.

#include "glissa/filter/gimble_killer2.h"

#include "corvekit/event/operation.h"
#include "corvekit/math/rotation_order.h"
#include "glissa/curve/modify_bracket.h"
#include "glissa/filter/rotation_curves.h"
#include "glissa/filter/rotation_helpers.h"
#include "glissa/filter/unroll_keys.h"
#include "glissa/filter/value_scope.h"
#include "glissa/node/node.h"

#include <algorithm>
#include <cmath>
#include <deque>
#include <memory>

template class KClassFrame<GlissaFilterGimbleKiller2, GlissaFilter>;

namespace
{
const char* const kErrors[] = {"No key", "Left unchanged", "Not 3 curve", "Not rotation node"};

// How near the middle angle comes to a right angle, in degrees, to count as gimbal lock.
constexpr double kLockDegrees = 1e-6;

// The angles of a rotation nearest to a reference. Of two forms that are as near the second one is
// taken. Whether it was.
bool EulerNearest(KgeRVector& pOut, const KgeRVector& pIn, const KgeRVector& pReference,
                  const KVdRotationOrder& pOrder)
{
    const auto [first, middle, third] = pOrder.GetAxes();
    KgeRVector forms[2] = {pIn, pIn};
    forms[1][first] += 180.0;
    forms[1][middle] = 180.0 - pIn[middle];
    forms[1][third] += 180.0;
    for (KgeRVector& form : forms) {
        for (int axis = 0; axis < kRotationAxes; ++axis) {
            form[axis] = NearestTurn(form[axis], pReference[axis]);
        }
    }
    const bool isSecond =
        !((forms[1] - pReference).SquareLength() > (forms[0] - pReference).SquareLength());
    pOut = forms[isSecond ? 1 : 0];

    // In lock only the difference of the outer angles matters, or their sum: both share the way.
    const double angle = std::remainder(pOut[middle], 360.0);
    if (std::fabs(std::fabs(angle) - 90.0) <= kLockDegrees) {
        const bool isOdd = (pOrder.GetOrder() & 1) != 0;
        const double side = (angle > 0.0) != isOdd ? 1.0 : -1.0;
        const KgeRVector way = pReference - pOut;
        const double share = 0.5 * (way[first] + side * way[third]);
        pOut[first] += share;
        pOut[third] += side * share;
    }
    return isSecond;
}

/// The change from one triple of angles to another one of the same rotation: whole turns, and the
/// second form or not. It does the same to other rotations.
class FormChange
{
public:
    FormChange(const KgeRVector& pFrom, const KgeRVector& pTo, const KVdRotationOrder& pOrder)
        : mMiddle(pOrder.GetAxes()[1])
    {
        KgeRVector nearest;
        mIsMirrored = pOrder.V2VRef(nearest, pFrom, pTo);
        const double half = mIsMirrored ? 180.0 : 0.0;
        const KgeRVector way = pTo - Mirror(pFrom);
        for (int axis = 0; axis < kRotationAxes; ++axis) {
            mOffset[axis] = half + 360.0 * std::round((way[axis] - half) / 360.0);
        }
    }
    /// To the keys from pFirst up to the one before pEnd.
    void Apply(Glissa* const* pCurves, int pFirst, int pEnd) const
    {
        if (!mIsMirrored && mOffset == KgeRVector()) {
            return;
        }
        for (int i = pFirst; i < pEnd; ++i) {
            WriteRotation(pCurves, i, Mirror(RotationOfKey(pCurves, i)) + mOffset,
                          mIsMirrored ? mMiddle : -1);
        }
    }

private:
    KgeRVector Mirror(KgeRVector pAngles) const
    {
        if (mIsMirrored) {
            pAngles[mMiddle] = -pAngles[mMiddle];
        }
        return pAngles;
    }

    int mMiddle;
    bool mIsMirrored;
    KgeRVector mOffset;
};

/// Deletes the zones of an array.
struct ZoneArray : KArrayTemplate<SGimbleZone*, 16>
{
    ZoneArray() = default;
    ZoneArray(const ZoneArray&) = delete;
    ZoneArray& operator=(const ZoneArray&) = delete;
    ~ZoneArray()
    {
        for (SGimbleZone* const zone : *this) {
            delete zone;
        }
    }
};
}  // namespace

GlissaFilterGimbleKiller2::GlissaFilterGimbleKiller2() : KClassFrame("Gimble Killer2", kErrors, 4)
{
    GlissaFilterGimbleKiller2::Reset();
}

void GlissaFilterGimbleKiller2::Reset()
{
    mApplyKeySyncFilter = true;
    mQualityTolerance = 0.25;
    GlissaFilter::Reset();
}

double GlissaFilterGimbleKiller2::InterpolationQualityFactor(const KgeRVector& pFrom,
                                                             const KgeRVector& pTo) const
{
    return RotationInterpolationQuality(pFrom, pTo);
}

void GlissaFilterGimbleKiller2::FindGimbleZone(Glissa** pCurves, int pCount,
                                               KArrayTemplate<SGimbleZone*, 16>& pZones)
{
    if (pCount != kRotationAxes || pCurves[0]->KeyGetCount() == 0) {
        return;
    }
    const int first = static_cast<int>(std::ceil(pCurves[0]->KeyFind(GetStartTime(), nullptr)));
    const int end = static_cast<int>(std::floor(pCurves[0]->KeyFind(GetStopTime(), nullptr))) + 1;
    if (first >= end) {
        return;
    }
    std::unique_ptr<SGimbleZone> zone;
    const auto close = [&](int pEnd) {
        zone->mEndKey = pEnd;
        pZones.Add(zone.get());
        (void)zone.release();
    };
    KgeRVector previous = RotationAtKey(pCurves, first);
    for (int i = first + 1; i < end; ++i) {
        const KgeRVector current = RotationAtKey(pCurves, i);
        const bool isPoor = InterpolationQualityFactor(previous, current) < mQualityTolerance;
        if (isPoor && !zone) {
            zone = std::make_unique<SGimbleZone>(SGimbleZone{i, i});
        } else if (!isPoor && zone) {
            close(i);
        }
        previous = current;
    }
    if (zone) {
        close(end);
    }
}

bool GlissaFilterGimbleKiller2::Apply(Glissa&)
{
    return Refuse(kNotThreeCurves,
                  "GimbleKiller2. One curve cannot be filtered, you need 3 curves!.");
}

bool GlissaFilterGimbleKiller2::Apply(GlissaNode& pNode, bool)
{
    if (!IsNamedRotation(pNode)) {
        return Refuse(kNotRotation, "Gimble Killer2. Not a Rotation node!");
    }
    Glissa* curves[kRotationAxes];
    if (!FindRotationCurves(pNode, curves)) {
        GetError().SetLastErrorID(kNotThreeCurves);
        return false;
    }
    // Listeners may destroy the filter: they are called after the scope.
    const KOperation operation;
    const ValueScope<int> order(mRotationOrder, pNode.GetRotationOrder());
    return Apply(curves, kRotationAxes);
}

bool GlissaFilterGimbleKiller2::Apply(Glissa** pCurves, int pCount)
{
    for (int i = 0; i < pCount; ++i) {
        if (pCurves[i]->IsLocked()) {
            return false;
        }
    }
    if (pCount != kRotationAxes) {
        return Refuse(kNotThreeCurves, "GimbleKiller2. Curve count is not 3.");
    }
    const KTimeSpan keys = SpanOfKeys(pCurves, kRotationAxes);
    const int count = pCurves[0]->KeyGetCount();
    if (keys.GetStart() > keys.GetStop() || (count == 0 && !mApplyKeySyncFilter)) {
        return Refuse(eFilterNoKey, "GimbleKiller2, No key to be filtered.");
    }
    if (keys.GetStart() == keys.GetStop() || (count == 1 && !mApplyKeySyncFilter)) {
        return Refuse(eFilterUnchanged, "GimbleKiller2, No key were changed by filter.");
    }
    if (!std::isfinite(mQualityTolerance)) {
        return Refuse(eFilterUnchanged, "GimbleKiller2, The quality tolerance is not finite.");
    }
    const KOperation operation;  // brackets of a deque do not end in reverse order
    std::deque<KeyModifyBracket> brackets;
    for (int i = 0; i < kRotationAxes; ++i) {
        brackets.emplace_back(*pCurves[i]);
    }
    const KeptOnFailure kept(pCurves, kRotationAxes);
    SyncRotation(pCurves, KTime::MinusInfinite(), KTime::Infinite());
    ZoneArray zones;
    FindGimbleZone(pCurves, kRotationAxes, zones);
    Repair(pCurves, zones);
    return true;
}

void GlissaFilterGimbleKiller2::Repair(Glissa** pCurves,
                                       const KArrayTemplate<SGimbleZone*, 16>& pZones)
{
    UnrollRules rules;
    rules.order = KVdRotationOrder(mRotationOrder);
    rules.testForPath = GLISSA_GetRotationFilterUnrollTestForPath();
    rules.qualityTolerance = GLISSA_GetRotationFilterUnrollQuality();
    const int count = pCurves[0]->KeyGetCount();
    const int last = GetStopKey(*pCurves[0]);
    int i = GetStartKey(*pCurves[0]);
    for (int k = 0; i <= last; ++k) {
        if (k >= pZones.GetCount()) {
            UnrollKeys(pCurves, i, count - 1, rules);
            return;
        }
        const SGimbleZone zone = *pZones[k];
        CORVEKIT_ASSERT(i < zone.mFirstKey && zone.mFirstKey < zone.mEndKey);
        const KgeRVector before = RotationOfKey(pCurves, zone.mFirstKey);
        UnrollKeys(pCurves, i, zone.mFirstKey, rules);
        const FormChange change(before, RotationOfKey(pCurves, zone.mFirstKey), rules.order);
        change.Apply(pCurves, zone.mFirstKey + 1, zone.mEndKey);
        i = zone.mEndKey;
        if (i >= count) {
            return;
        }
        const KgeRVector reference = RotationOfKey(pCurves, zone.mFirstKey - 1);
        const KgeRVector in = RotationOfKey(pCurves, i);
        KgeRVector out;
        const bool isMirrored = EulerNearest(out, in, reference, rules.order);
        WriteRotation(pCurves, i, out, isMirrored ? rules.order.GetAxes()[1] : -1);
        if (i > last) {
            FormChange(in, out, rules.order).Apply(pCurves, i + 1, count);
        }
    }
}
