// Copyright (c) 2026 The glissa authors
// SPDX-License-Identifier: MIT

#include "glissa/filter/trs.h"

#include "corvekit/math/matrix.h"
#include "corvekit/math/rotation_order.h"
#include "glissa/curve/modify_bracket.h"
#include "glissa/filter/resample.h"
#include "glissa/filter/rotation_curves.h"
#include "glissa/filter/rotation_helpers.h"
#include "glissa/filter/unroll.h"
#include "glissa/node/node.h"
#include "glissa/settings/settings.h"
#include "glissa/utils/sample_grid.h"

#include <algorithm>
#include <cmath>
#include <cstring>
#include <deque>
#include <vector>

template class KClassFrame<GlissaFilterTRS, GlissaFilter>;

namespace
{
constexpr int kAxes = 3;
constexpr double kTolerance = 1e-6;
const char* const kErrors[] = {"Unexpected"};

enum class Kind
{
    none,
    translation,
    rotation,
    scaling,
};

Kind KindOf(const GlissaNode& pNode)
{
    const auto isNamed = [&pNode](const char* pShort, const char* pLong) {
        return std::strcmp(pNode.GetName(), pShort) == 0 ||
               std::strcmp(pNode.GetName(), pLong) == 0;
    };
    return isNamed("T", "Lcl Translation") ? Kind::translation
           : IsNamedRotation(pNode)        ? Kind::rotation
           : isNamed("S", "Lcl Scaling")   ? Kind::scaling
                                           : Kind::none;
}

template <typename Vector, typename Test>
bool AreAll(const Vector& pVector, Test pTest)
{
    return std::all_of(pVector.Data(), pVector.Data() + kAxes, pTest);
}

bool IsInfinite(KTime pTime)
{
    return pTime == KTime::MinusInfinite() || pTime == KTime::Infinite();
}

/// What becomes of the values of a node.
struct NodeTransform
{
    Kind kind;
    KgeAMatrix matrix;
    KgeRMatrix turn;
    KVdRotationOrder order;
    KgeSVector scaling;

    KgeTVector operator()(const KgeTVector& pValues) const
    {
        if (kind == Kind::translation) {
            return matrix * pValues;
        }
        if (kind == Kind::scaling) {
            return KgeTVector((scaling * KgeSVector(pValues.Data())).Data());
        }
        KgeRMatrix rotation;
        order.V2M(rotation, KgeRVector(pValues.Data()));
        KgeRVector angles;
        order.M2V(angles, turn * rotation);
        return KgeTVector(angles.Data());
    }
};

struct NewValue
{
    int key;
    float value;
};

// The channel whose key times count: the first unlocked one with keys, else the first unlocked one.
// Null where all are locked.
Glissa* FindWalked(Glissa* const* pCurves)
{
    Glissa* found = nullptr;
    for (int axis = 0; axis < kAxes; ++axis) {
        Glissa* const curve = pCurves[axis];
        if (!curve->IsLocked() && (!found || found->KeyGetCount() == 0) &&
            (!found || curve->KeyGetCount() > 0)) {
            found = curve;
        }
    }
    return found;
}

// The new values of the keys of three channels, all computed from the old ones.
void FindNewValues(Glissa* const* pCurves, const Glissa& pWalked, int pFirst, int pLast,
                   const NodeTransform& pTransform, std::vector<NewValue> (&pResult)[kAxes])
{
    int hints[kAxes] = {};
    for (int key = std::max(pFirst, 0); key <= pLast; ++key) {
        const KTime time = pWalked.KeyGetTime(key);
        KgeTVector old;
        for (int axis = 0; axis < kAxes; ++axis) {
            old[axis] = pCurves[axis]->Evaluate(time, &hints[axis]);
        }
        const KgeTVector result = pTransform(old);
        for (int axis = 0; axis < kAxes; ++axis) {
            const int place = FindKey(*pCurves[axis], time);
            if (place >= 0) {
                pResult[axis].push_back({place, static_cast<float>(result[axis])});
            }
        }
    }
}
}  // namespace

GlissaFilterTRS::GlissaFilterTRS() : KClassFrame("TRS Filter", kErrors, 1)
{
    GlissaFilterTRS::Reset();
}

void GlissaFilterTRS::Reset()
{
    mTranslation.Init();
    mRotation.Init();
    mScaling.Init();
    GlissaFilter::Reset();
}

void GlissaFilterTRS::SetT(double pX, double pY, double pZ)
{
    mTranslation.Init(pX, pY, pZ);
}

void GlissaFilterTRS::SetR(double pX, double pY, double pZ)
{
    mRotation.Init(pX, pY, pZ);
}

void GlissaFilterTRS::SetS(double pX, double pY, double pZ)
{
    mScaling.Init(pX, pY, pZ);
}

bool GlissaFilterTRS::Apply(Glissa&)
{
    return Refuse(kUnexpected, "TRS Filter. Unexpected");
}

bool GlissaFilterTRS::Apply(Glissa**, int)
{
    return Refuse(kUnexpected, "TRS Filter. Unexpected");
}

bool GlissaFilterTRS::IsFinite() const
{
    const auto isFinite = [](double pValue) { return std::isfinite(pValue); };
    return AreAll(mTranslation, isFinite) && AreAll(mRotation, isFinite) &&
           AreAll(mScaling, isFinite);
}

bool GlissaFilterTRS::ChangesNothing() const
{
    const auto isZero = [](double pValue) { return std::fabs(pValue) <= kTolerance; };
    const auto isOne = [](double pValue) { return std::fabs(pValue - 1.0) <= kTolerance; };
    // Half a turn about each of the three axes is no turn.
    const auto isHalfTurn = [](double pAngle) {
        return std::fabs(std::fabs(std::fmod(pAngle, 360.0)) - 180.0) <= kTolerance;
    };
    return AreAll(mTranslation, isZero) && AreAll(mScaling, isOne) &&
           (AreAll(mRotation, isZero) || AreAll(mRotation, isHalfTurn));
}

bool GlissaFilterTRS::Apply(GlissaNode& pNode, bool)
{
    const Kind kind = KindOf(pNode);
    Glissa* curves[kAxes];
    if (kind == Kind::none || pNode.IsNodeLocked() || !FindRotationCurves(pNode, curves)) {
        return false;
    }
    if (!IsFinite()) {
        return Refuse(kNotFinite, "TRS Filter. A parameter is not finite.");
    }
    Glissa* const walked = FindWalked(curves);
    if (ChangesNothing() || !walked) {
        return false;
    }
    KTime first;
    KTime last;
    pNode.GetTimeSpan(first, last);
    const KTime start = GetStartTime() == KTime::MinusInfinite() ? first : GetStartTime();
    const KTime stop = GetStopTime() == KTime::Infinite() ? last : GetStopTime();
    if (IsInfinite(start) || IsInfinite(stop) || start > stop) {
        return false;
    }
    const KTime period = GLISSA_GetPlotPeriod();
    if (SampleGrid(start, stop, period).count == 0) {
        return Refuse(kUnexpected, "TRS Filter. The plot period is out of range.");
    }
    SetStartTime(start);
    SetStopTime(stop);

    const KOperation operation;
    {
        std::deque<KeyModifyBracket> brackets;
        for (Glissa* const curve : curves) {
            if (!curve->IsLocked()) {
                brackets.emplace_back(*curve);
            }
        }
        const KeptOnFailure kept(curves, kAxes);
        GlissaFilterResample resample;
        resample.SetStartTime(start);
        resample.SetStopTime(stop);
        resample.SetPeriodTime(period);
        resample.SetKeysOnFrame(true);
        resample.Apply(pNode, true);

        const int firstKey = static_cast<int>(walked->KeyFind(start, nullptr));
        const int lastKey = static_cast<int>(walked->KeyFind(stop, nullptr));
        const NodeTransform transform{kind, KgeAMatrix(mTranslation, mRotation, mScaling),
                                      EulerToMatrix(mRotation),
                                      KVdRotationOrder(pNode.GetRotationOrder()), mScaling};
        std::vector<NewValue> values[kAxes];
        FindNewValues(curves, *walked, firstKey, lastKey, transform, values);
        const double* const withoutKeys = kind == Kind::translation ? mTranslation.Data()
                                          : kind == Kind::rotation  ? mRotation.Data()
                                                                    : mScaling.Data();
        for (int axis = 0; axis < kAxes; ++axis) {
            if (curves[axis]->IsLocked()) {
                continue;
            }
            if (firstKey == lastKey) {
                curves[axis]->SetValue(static_cast<float>(withoutKeys[axis]));
            }
            for (const NewValue& each : values[axis]) {
                curves[axis]->KeySetValue(each.key, each.value);
            }
        }
        if (kind == Kind::rotation) {
            GlissaFilterUnroll unroll;
            unroll.Apply(pNode, true);
        }
    }
    if (GlissaNode* const object = pNode.ObjectLayerGet()) {
        object->CandidateClear(0, true);
    }
    return true;
}
