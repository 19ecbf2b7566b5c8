// Copyright (c) 2026 The glissa authors
// SPDX-License-Identifier: MIT

#include "glissa/curve/curve.h"
#include "glissa/curve/modify_bracket.h"
#include "glissa/utils/utils.h"

#include <cmath>

namespace
{
// Limited as a double: a value may be beyond every int, or no number, which is index 0.
int IndexOf(float pValue, int pLast)
{
    const double index = std::trunc(static_cast<double>(pValue) + 0.5) - 1.0;
    return !(index > 0.0) ? 0 : index > pLast ? pLast : static_cast<int>(index);
}

float ValueOf(int pIndex)
{
    return static_cast<float>(pIndex + 1.0);
}

// Whether a key has an index that satisfies pTest.
template <typename Test>
bool HasIndex(const Glissa& pCurve, int pLast, Test&& pTest)
{
    for (int i = 0; i < pCurve.KeyGetCount(); ++i) {
        if (pTest(IndexOf(pCurve.KeyGetValue(i), pLast))) {
            return true;
        }
    }
    return false;
}
}  // namespace

void GlissaUtils::RemoveIndexFromCurve(Glissa& pCurve, int pIndex, int pLast)
{
    if (pIndex < 0 || pIndex > pLast ||
        !HasIndex(pCurve, pLast, [=](int pOfKey) { return pOfKey >= pIndex; })) {
        return;
    }
    const KeyModifyBracket bracket(pCurve);
    for (int i = 0; i < pCurve.KeyGetCount(); ++i) {
        const int index = IndexOf(pCurve.KeyGetValue(i), pLast);
        if (index > pIndex) {
            pCurve.KeySetValue(i, ValueOf(index - 1));
        } else if (index == pIndex) {
            const int before = i > 0 ? IndexOf(pCurve.KeyGetValue(i - 1), pLast) : 0;
            pCurve.KeySetValue(i, ValueOf(before));
        }
    }
}

void GlissaUtils::ReplaceIndexFromCurve(Glissa& pCurve, int pOldIndex, int pNewIndex, int pLast)
{
    const auto isOld = [=](int pOfKey) { return pOfKey == pOldIndex; };
    if (pLast < 0 || pOldIndex < 0 || pNewIndex < 0 || pOldIndex == pNewIndex ||
        !HasIndex(pCurve, pLast, isOld)) {
        return;
    }
    const KeyModifyBracket bracket(pCurve);
    for (int i = 0; i < pCurve.KeyGetCount(); ++i) {
        if (isOld(IndexOf(pCurve.KeyGetValue(i), pLast))) {
            pCurve.KeySetValue(i, ValueOf(pNewIndex));
        }
    }
}
