// Copyright (c) 2026 The glissa authors
// SPDX-License-Identifier: MIT

// Curves of one kind made of curves of any kind.

#include "corvekit/event/operation.h"
#include "glissa/curve/curve.h"
#include "glissa/curve/modify_bracket.h"
#include "glissa/node/node.h"
#include "glissa/utils/held_sides.h"
#include "glissa/utils/sample_grid.h"
#include "glissa/utils/scratch_curve.h"
#include "glissa/utils/utils.h"

#include <limits>
#include <vector>

namespace
{
/// The kind that is wanted.
struct Kind
{
    unsigned interpolation;
    unsigned tangentMode;
};

/// What becomes of a segment.
enum class Treatment
{
    eSample,
    eCopy,
    eTakeSlopes,  ///< the tangents of its ends become user tangents of the same slopes
};

Treatment TreatmentOf(const Glissa& pSource, int pIndex, const Kind& pKind)
{
    CORVEKIT_ASSERT(pIndex >= 0 && pIndex < pSource.KeyGetCount());
    if (pSource.KeyGetInterpolation(pIndex) != pKind.interpolation) {
        return Treatment::eSample;
    }
    const unsigned wanted = pKind.tangentMode & GlissaKeyAttributes::kTangentModeMask;
    const unsigned kind = pSource.KeyGetTangeantMode(pIndex, false);
    // Without a refinement any one will do.
    if (pKind.interpolation != eInterpolationCubic || kind == wanted ||
        pSource.KeyGetTangeantMode(pIndex, true) == wanted) {
        return Treatment::eCopy;
    }
    const bool isAuto = kind == eTangentAuto || kind == eTangentAutoBreak;
    const bool carriesOver = wanted == eTangentUserBreak ? isAuto || kind == eTangentUser
                                                         : wanted == eTangentUser && isAuto;
    return carriesOver ? Treatment::eTakeSlopes : Treatment::eSample;
}

KTime EndOfSegment(const Glissa& pCurve, int pIndex)
{
    CORVEKIT_ASSERT(pIndex >= 0 && pIndex < pCurve.KeyGetCount());
    const int next = pIndex + 1;
    return pCurve.KeyGetTime(next < pCurve.KeyGetCount() ? next : pIndex);
}

// Samples from a key on, before the next one.
int SamplesOfSegment(const Glissa& pCurve, int pIndex, KTime pPeriod)
{
    CORVEKIT_ASSERT(pIndex >= 0 && pIndex < pCurve.KeyGetCount());
    const KTime from = pCurve.KeyGetTime(pIndex);
    const KTime to = EndOfSegment(pCurve, pIndex);
    return from < to && pPeriod >= KTime(1) ? SampleGrid(from, to - KTime(1), pPeriod).count : 1;
}

// How many keys the result has, 0 when an int does not count them.
int CountOfKeys(const Glissa& pSource, const Kind& pKind, KTime pPeriod)
{
    std::int64_t count = 0;
    for (int i = 0; i < pSource.KeyGetCount(); ++i) {
        const bool isSampled = TreatmentOf(pSource, i, pKind) == Treatment::eSample;
        const int keys = isSampled ? SamplesOfSegment(pSource, i, pPeriod) : 1;
        count += keys;
        if (keys == 0 || count > std::numeric_limits<int>::max()) {
            return 0;
        }
    }
    return static_cast<int>(count);
}

void AppendKey(Glissa& pResult, KTime pTime, float pValue, const Kind& pKind, float pRight,
               float pNextLeft)
{
    GlissaKey key;
    key.Set(pTime, pValue, pKind.interpolation, pKind.tangentMode, pRight, pNextLeft, eWeightNone,
            kGlissaDefaultWeight, kGlissaDefaultWeight, 0.0f, 0.0f);
    pResult.KeyAdd(pTime, key);
}
}  // namespace

Glissa& GlissaUtils::ConvertCurve(Glissa& pSource, Glissa& pResult, unsigned pInterpolation,
                                  unsigned pTangentMode, KTime pPeriod)
{
    const CurveToRead reading(pSource, pResult);
    Glissa& source = reading.Get();
    const Kind kind{pInterpolation, pTangentMode};
    const int keyCount = CountOfKeys(source, kind, pPeriod);
    const int last = source.KeyGetCount() - 1;

    const KeyModifyBracket bracket(pResult);
    pResult.CopyFrom(source, false);
    pResult.ResizeKeyBuffer(keyCount, false);
    std::vector<int> kept;  // first keys of segments that go on, in the source
    std::vector<int> places;
    int hint = 0;
    for (int i = 0; i <= last; ++i) {
        KTime time = source.KeyGetTime(i);
        const Treatment treatment = TreatmentOf(source, i, kind);
        if (treatment == Treatment::eSample) {
            const int samples = keyCount > 0 ? SamplesOfSegment(source, i, pPeriod) : 1;
            for (int k = 0; k < samples; ++k) {
                AppendKey(pResult, time, source.Evaluate(time, &hint), kind, 0.0f, 0.0f);
                time += pPeriod;
            }
            continue;
        }
        if (i < last && pInterpolation == eInterpolationCubic) {
            kept.push_back(i);
            places.push_back(pResult.KeyGetCount());
        }
        if (treatment == Treatment::eCopy) {
            pResult.KeyAppend(time, &source, i);
        } else {
            const float right = i < last ? source.KeyGetRightDerivative(i) : 0.0f;
            const float nextLeft = i < last ? source.KeyGetLeftDerivative(i + 1) : 0.0f;
            AppendKey(pResult, time, source.KeyGetValue(i), kind, right, nextLeft);
        }
    }
    // Next to samples a slot may mean something else, and an automatic slope another number.
    for (std::size_t i = 0; i < kept.size(); ++i) {
        HoldRightSlope(pResult, places[i], source.KeyGetRightDerivative(kept[i]));
        HoldLeftSlope(pResult, places[i] + 1, source.KeyGetLeftDerivative(kept[i] + 1));
    }
    return pResult;
}

GlissaNode& GlissaUtils::ConvertCurveInterpolationRecursive(unsigned pInterpolation,
                                                            unsigned pTangentMode,
                                                            GlissaNode& pNode)
{
    const KOperation operation;
    for (int i = 0; i < pNode.GetCount(); ++i) {
        ConvertCurveInterpolationRecursive(pInterpolation, pTangentMode, *pNode.Get(i));
    }
    if (Glissa* curve = pNode.FCurveGet()) {
        const KeyModifyBracket bracket(*curve);
        for (int i = 0; i < curve->KeyGetCount(); ++i) {
            curve->KeySetInterpolation(i, pInterpolation);
            // The listener of the report before a change may have removed the key.
            if (i < curve->KeyGetCount()) {
                curve->KeySetTangeantMode(i, pTangentMode);
            }
        }
    }
    return pNode;
}
