// Copyright (c) 2026 The glissa authors
// SPDX-License-Identifier: MIT

#include "glissa/curve/curve.h"
#include "glissa/utils/utils.h"

#include <limits>

namespace
{
bool IsMatch(double pLeft, double pRight)
{
    constexpr double kTolerance = std::numeric_limits<double>::epsilon();
    return !(pLeft < pRight - kTolerance) && !(pLeft > pRight + kTolerance);
}

// How many slots shape a cubic key of a kind by themselves.
int SlotCount(unsigned pTangentKind)
{
    switch (pTangentKind) {
    case eTangentTCB:
        return 3;
    case eTangentUser:
    case eTangentUserBreak:
        return 2;
    default:
        return 0;
    }
}

bool IsMatch(const GlissaKey& pLeft, const GlissaKey& pRight)
{
    const unsigned kind = pLeft.GetTangeantMode(false);
    if (pLeft.GetTime() != pRight.GetTime() || !IsMatch(pLeft.GetValue(), pRight.GetValue()) ||
        pLeft.GetInterpolation() != pRight.GetInterpolation()) {
        return false;
    }
    if (pLeft.GetInterpolation() != eInterpolationCubic) {
        return true;
    }
    bool matches = kind == pRight.GetTangeantMode(false);
    for (int i = 0; i < SlotCount(kind) && matches; ++i) {
        matches = IsMatch(pLeft.GetDataPtr()[i], pRight.GetDataPtr()[i]);
    }
    return matches;
}
}  // namespace

bool GlissaUtils::CompareCurve(Glissa* pFirst, Glissa* pSecond)
{
    const int count = pFirst->KeyGetCount();
    bool matches =
        IsMatch(pFirst->GetValue(), pSecond->GetValue()) && count == pSecond->KeyGetCount();
    for (int i = 0; i < count && matches; ++i) {
        matches = IsMatch(pFirst->KeyGet(i), pSecond->KeyGet(i));
    }
    return matches;
}
