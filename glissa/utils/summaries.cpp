// Copyright (c) 2026 The glissa authors
// SPDX-License-Identifier: MIT

// What the keys of a curve have in common, and the last error of the class.

#include "glissa/curve/curve.h"
#include "glissa/utils/utils.h"

#include <algorithm>
#include <iterator>

namespace
{
const char* const kErrors[] = {"No key", "Multiple interpolation or tangeants types",
                               "Multiple key count", "Unsynched keys", "Left unchanged"};

// Unites pRead of all keys. The error for mixed ones is kept once.
template <typename Read>
bool UniteKeys(unsigned& pUnion, Glissa& pCurve, KError& pError, const char* pMixedText,
               Read&& pRead)
{
    const int count = pCurve.KeyGetCount();
    if (count == 0) {
        pError.SetLastError(GlissaUtils::eNoKey, "GlissaFilter, No key to be filtered.");
        return false;
    }
    pUnion = pRead(0);
    bool isMixed = false;
    for (int i = 1; i < count; ++i) {
        const unsigned bits = pRead(i);
        pUnion |= bits;
        isMixed = isMixed || pUnion != bits;
    }
    if (isMixed) {
        pError.SetLastError(GlissaUtils::eMultipleInterpolation, pMixedText);
    }
    return true;
}

// The place of a key in the counts, or eKindCounts.
int CountPlace(const Glissa& pCurve, int pIndex)
{
    CORVEKIT_ASSERT(pIndex >= 0 && pIndex < pCurve.KeyGetCount());
    switch (pCurve.KeyGetInterpolation(pIndex)) {
    case eInterpolationConstant:
        return GlissaUtils::eCountConstant;
    case eInterpolationLinear:
        return GlissaUtils::eCountLinear;
    case eInterpolationCubic:
        break;
    default:
        return GlissaUtils::eKindCounts;
    }
    switch (pCurve.KeyGetTangeantMode(pIndex, false)) {
    case eTangentAuto:
        return GlissaUtils::eCountAuto;
    case eTangentAutoBreak:
        return GlissaUtils::eCountAutoBreak;
    case eTangentUser:
        return GlissaUtils::eCountUser;
    case eTangentUserBreak:
        return GlissaUtils::eCountUserBreak;
    case eTangentTCB:
        return GlissaUtils::eCountTCB;
    default:
        return GlissaUtils::eKindCounts;
    }
}
}  // namespace

thread_local KError GlissaUtils::smError(kErrors, static_cast<int>(std::size(kErrors)));

KError& GlissaUtils::GetError()
{
    return smError;
}

KTime GlissaUtils::FindTimeOffsetAfter(Glissa& pCurve, const KTime& pTime)
{
    const int count = pCurve.KeyGetCount();
    return count == 0 ? KTime() : std::min(pCurve.KeyGetTime(count - 1) - pTime, KTime());
}

KTime GlissaUtils::FindTimeOffsetBefore(Glissa& pCurve, const KTime& pTime)
{
    return pCurve.KeyGetCount() == 0 ? KTime() : std::max(pCurve.KeyGetTime(0) - pTime, KTime());
}

bool GlissaUtils::GetGlobalInterpolation(unsigned& pInterpolation, Glissa& pCurve)
{
    return UniteKeys(pInterpolation, pCurve, smError, "GlissaFilter, No single interpolation type.",
                     [&](int pIndex) { return pCurve.KeyGetInterpolation(pIndex); });
}

bool GlissaUtils::GetGlobalTangeant(unsigned& pTangentMode, Glissa& pCurve)
{
    return UniteKeys(pTangentMode, pCurve, smError, "GlissaFilter, No single tangeant mode.",
                     [&](int pIndex) { return pCurve.KeyGetTangeantMode(pIndex, false); });
}

bool GlissaUtils::GetInterpolationAndTangeantCount(Glissa& pCurve, int* pCounts)
{
    std::fill_n(pCounts, static_cast<int>(eKindCounts), 0);
    for (int i = 0; i < pCurve.KeyGetCount(); ++i) {
        const int place = CountPlace(pCurve, i);
        if (place < eKindCounts) {
            ++pCounts[place];
        }
    }
    return true;
}
