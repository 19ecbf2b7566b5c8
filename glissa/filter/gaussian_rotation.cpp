// Copyright (c) 2026 The glissa authors
// SPDX-License-Identifier: MIT

// The angles of a rotation become unit quaternions, of which each key takes the weighted mean.
// Slopes are followed through the same sums as changes of the quaternions a second.

#include "corvekit/math/rotation_order.h"
#include "glissa/curve/modify_bracket.h"
#include "glissa/filter/gaussian.h"
#include "glissa/filter/gaussian_kernel.h"
#include "glissa/filter/rotation_curves.h"
#include "glissa/node/node.h"

namespace
{
/// A change of a value a second, on both sides of a time.
template <typename Value>
struct Sides
{
    Value left;
    Value right;
};

KgeQuaternion OnSideOf(const KgeQuaternion& pTurn, const KgeQuaternion& pReference)
{
    return pTurn.Dot(pReference) < 0.0 ? -pTurn : pTurn;
}

double Largest(const KgeRVector& pVector)
{
    return std::max({std::fabs(pVector[0]), std::fabs(pVector[1]), std::fabs(pVector[2])});
}

/// The orientations of three curves, mirrored at the first and the last key.
class Orientations
{
public:
    Orientations(Glissa* const* pCurves, int pOrder, KTime pFirst, KTime pLast)
        : mCurves(pCurves), mOrder(pOrder), mFirst(pFirst), mLast(pLast)
    {}

    const KVdRotationOrder& GetOrder() const { return mOrder; }

    KgeQuaternion Of(const KgeRVector& pAngles) const
    {
        KgeQuaternion turn;
        mOrder.V2Q(turn, pAngles);
        return turn;
    }

    KgeRVector AnglesAt(KTime pTime)
    {
        KgeRVector angles;
        for (int axis = 0; axis < kRotationAxes; ++axis) {
            angles[axis] = mCurves[axis]->Evaluate(pTime, &mHints[axis]);
        }
        return angles;
    }

    KgeQuaternion At(KTime pTime) { return Of(AnglesAt(MirrorInto(pTime, mFirst, mLast).time)); }

    /// The changes of At a second, with its sign.
    Sides<KgeQuaternion> RatesAt(KTime pTime)
    {
        const KgeRVector angles = AnglesAt(pTime);
        Sides<KgeRVector> slopes;
        for (int axis = 0; axis < kRotationAxes; ++axis) {
            Glissa& curve = *mCurves[axis];
            slopes.left[axis] = curve.EvaluateLeftDerivative(pTime, &mHints[axis]);
            slopes.right[axis] = curve.EvaluateRightDerivative(pTime, &mHints[axis]);
        }
        return {RateOf(angles, slopes.left), RateOf(angles, slopes.right)};
    }

    /// In a corner the mean of both sides; at a mirror they cancel.
    KgeQuaternion RateAt(KTime pTime)
    {
        const Mirrored place = MirrorInto(pTime, mFirst, mLast);
        if (place.time == mFirst || place.time == mLast) {
            return KgeQuaternion(0.0, 0.0, 0.0, 0.0);
        }
        const Sides<KgeQuaternion> rates = RatesAt(place.time);
        return (place.isReversed ? -0.5 : 0.5) * (rates.left + rates.right);
    }

    /// The angles of a quaternion of any length, next to others.
    KgeRVector AnglesOf(const KgeQuaternion& pTurn, const KgeRVector& pReference) const
    {
        KgeRVector angles;
        mOrder.Q2V(angles, pTurn);
        mOrder.V2VRef(angles, angles, pReference);
        return angles;
    }

    /// The changes of AnglesOf a second.
    KgeRVector SlopesOf(const KgeQuaternion& pTurn, const KgeQuaternion& pRate,
                        const KgeRVector& pAngles) const
    {
        const double speed = pRate.Length();
        if (!(speed > 0.0)) {
            return {};
        }
        const double step = kSmallTurn / speed;
        return (AnglesOf(pTurn + step * pRate, pAngles) - AnglesOf(pTurn - step * pRate, pAngles)) *
               (0.5 / step);
    }

private:
    // A difference of 2e-5 leaves ten digits: angles are doubles here, and the error is its square.
    static constexpr double kSmallTurn = 1e-5;
    static constexpr double kDegrees = 57.29577951308232;

    KgeQuaternion RateOf(const KgeRVector& pAngles, const KgeRVector& pSlopes) const
    {
        const double speed = Largest(pSlopes);
        if (!(speed > 0.0)) {
            return KgeQuaternion(0.0, 0.0, 0.0, 0.0);
        }
        const KgeQuaternion turn = Of(pAngles);
        const double step = kSmallTurn * kDegrees / speed;
        return (OnSideOf(Of(pAngles + pSlopes * step), turn) -
                OnSideOf(Of(pAngles - pSlopes * step), turn)) *
               (0.5 / step);
    }

    Glissa* const* mCurves;
    KVdRotationOrder mOrder;
    KTime mFirst;
    KTime mLast;
    int mHints[kRotationAxes] = {};
};

/// What becomes of a key of the three curves.
struct SmoothedKey
{
    KTime time;
    int indexes[kRotationAxes] = {};  // -1 for a curve without a key there
    bool hasSlopes = false;           // whether a curve stores them
    KgeRVector angles;
    Sides<KgeRVector> slopes;
};

SmoothedKey KeyAt(Glissa* const* pCurves, KTime pTime)
{
    SmoothedKey result;
    result.time = pTime;
    for (int axis = 0; axis < kRotationAxes; ++axis) {
        const int key = FindKey(*pCurves[axis], pTime);
        result.indexes[axis] = key;
        result.hasSlopes = result.hasSlopes || (key >= 0 && HasUserSlope(*pCurves[axis], key));
    }
    return result;
}

void SmoothKeys(Orientations& pMotion, std::vector<SmoothedKey>& pKeys, KTime pPeriod,
                const std::vector<double>& pWeights, const Fade& pFade)
{
    const int reach = static_cast<int>(pWeights.size() / 2);
    const auto turnAt = [&](KTime pTime) { return pMotion.At(pTime); };
    const auto rateAt = [&](KTime pTime) { return pMotion.RateAt(pTime); };
    SampleWindow<KgeQuaternion, decltype(turnAt)> turns(pPeriod, reach, turnAt);
    SampleWindow<KgeQuaternion, decltype(rateAt)> rates(pPeriod, reach, rateAt);
    std::vector<KgeQuaternion> near(pWeights.size());
    std::vector<KgeQuaternion> nearRates(pWeights.size());

    for (SmoothedKey& key : pKeys) {
        const KTime time = key.time;
        const KgeRVector old = pMotion.AnglesAt(time);
        const KgeQuaternion turn = pMotion.Of(old);
        const std::vector<KgeQuaternion>& samples = turns.MoveTo(time);
        for (std::size_t i = 0; i < near.size(); ++i) {
            near[i] = OnSideOf(samples[i], turn);
        }
        const KgeQuaternion mean = WeightedMean(near, pWeights, turn);
        const Share fade = pFade.At(time);
        const KgeQuaternion smoothed = Blend(turn, mean, fade.share);
        key.angles = pMotion.AnglesOf(smoothed, old);
        if (key.hasSlopes) {
            const std::vector<KgeQuaternion>& changes = rates.MoveTo(time);
            for (std::size_t i = 0; i < near.size(); ++i) {
                nearRates[i] = samples[i].Dot(turn) < 0.0 ? -changes[i] : changes[i];
            }
            const auto slope = [&](const KgeQuaternion& pOld) {
                const KgeQuaternion own =
                    Blend(pOld, WeightedMean(nearRates, pWeights, pOld), fade.share);
                return pMotion.SlopesOf(smoothed, own + fade.slope * (mean - turn), key.angles);
            };
            const Sides<KgeQuaternion> ownRates = pMotion.RatesAt(time);
            key.slopes = {slope(ownRates.left), slope(ownRates.right)};
        }
    }
}
}  // namespace

bool GlissaFilterGaussian::Apply(GlissaNode& pNode, bool pRecursive)
{
    Glissa* curves[kRotationAxes];
    if (!pNode.IsRotationLayerType() || pNode.GetCount() != kRotationAxes ||
        !FindRotationCurves(pNode, curves) || !AreChildCurves(pNode, curves)) {
        return GlissaCurveFilter::Apply(pNode, pRecursive);
    }
    if (IsNodeOrChildLocked(pNode)) {
        return false;
    }
    if (const char* const fault = FindFault()) {
        return Refuse(kParameter, fault);
    }
    return SmoothOrientations(pNode, curves);
}

bool GlissaFilterGaussian::SmoothOrientations(GlissaNode& pNode, Glissa** pCurves)
{
    bool hasKey = false;
    for (int axis = 0; axis < kRotationAxes; ++axis) {
        const KeyRange keys = KeysWithin(*pCurves[axis], GetStartTime(), GetStopTime());
        hasKey = hasKey || (pCurves[axis]->KeyGetCount() > 0 && keys.first <= keys.last);
    }
    if (!hasKey) {
        return Refuse(eFilterNoKey, "Gaussian Filter, No key to be filtered.");
    }
    const KTimeSpan all = SpanOfKeys(pCurves, kRotationAxes);
    const KTime first = all.GetStart();
    const KTime last = all.GetStop();
    if (first == last) {
        return true;
    }
    const KOperation operation;
    const KeyModifyBracket brackets[kRotationAxes] = {KeyModifyBracket(*pCurves[0]),
                                                      KeyModifyBracket(*pCurves[1]),
                                                      KeyModifyBracket(*pCurves[2])};
    const KeptOnFailure kept(pCurves, kRotationAxes);
    SyncRotation(pCurves, GetStartTime(), GetStopTime());
    const KeyRange range = KeysWithin(*pCurves[0], GetStartTime(), GetStopTime());
    std::vector<SmoothedKey> keys;
    for (int key = range.first; key <= range.last; ++key) {
        keys.push_back(KeyAt(pCurves, pCurves[0]->KeyGetTime(key)));
    }
    Orientations motion(pCurves, pNode.GetRotationOrder(), first, last);
    const Fade fade(first, last, GetStartTime(), GetStopTime(),
                    kFadeInDeviations * mStandardDeviation);
    SmoothKeys(motion, keys, SamplePeriod(), Weights(), fade);
    for (int axis = 0; axis < kRotationAxes; ++axis) {
        Glissa& curve = *pCurves[axis];
        for (const SmoothedKey& each : keys) {
            if (each.indexes[axis] >= 0) {
                curve.KeySetValue(each.indexes[axis], static_cast<float>(each.angles[axis]));
            }
        }
        for (const SmoothedKey& each : keys) {
            const int key = each.indexes[axis];
            if (each.hasSlopes && key >= 0 && HasUserSlope(curve, key)) {
                curve.KeySetLeftDerivative(key, static_cast<float>(each.slopes.left[axis]));
                curve.KeySetRightDerivative(key, static_cast<float>(each.slopes.right[axis]));
            }
        }
    }
    return true;
}
