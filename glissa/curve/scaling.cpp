// Copyright (c) 2026 The glissa authors
// SPDX-License-Identifier: MIT

// Values and slopes, of one key or of all and the selected ones.

#include "glissa/curve/curve.h"
#include "glissa/curve/key_kind.h"
#include "glissa/curve/modify_bracket.h"

namespace
{
template <typename Change>
void ForEachKey(const Glissa& pCurve, bool pSelectedOnly, Change&& pChange)
{
    for (int i = 0; i < pCurve.KeyGetCount(); ++i) {
        if (!pSelectedOnly || pCurve.KeyGetSelected(i)) {
            pChange(i);
        }
    }
}
}  // namespace

bool Glissa::KeyMoveValueTo(bool pSelectedOnly, float pValue)
{
    const KeyModifyBracket bracket(*this);
    ResetCandidate();
    if (KeyGetCount() == 0 && !pSelectedOnly) {
        SetValue(pValue);
    }
    ForEachKey(*this, pSelectedOnly, [=, this](int pIndex) { KeySetValue(pIndex, pValue); });
    return true;
}

bool Glissa::KeyScaleValue(bool pSelectedOnly, float pFactor)
{
    const KeyModifyBracket bracket(*this);
    ResetCandidate();
    if (!pSelectedOnly) {
        SetValue(GetValue() * pFactor);
    }
    ForEachKey(*this, pSelectedOnly, [=, this](int pIndex) { KeyMultValue(pIndex, pFactor); });
    return true;
}

bool Glissa::KeyScaleTangeant(bool pSelectedOnly, float pFactor)
{
    if (KeyGetCount() == 0) {
        return true;
    }
    const KeyModifyBracket bracket(*this);
    if (!pSelectedOnly) {
        SetValue(GetValue() * pFactor);
    }
    ForEachKey(*this, pSelectedOnly, [=, this](int pIndex) { KeyMultTangeant(pIndex, pFactor); });
    return true;
}

bool Glissa::KeyScaleValueAndTangeant(bool pSelectedOnly, float pFactor)
{
    const KeyModifyBracket bracket(*this);
    KeyScaleValue(pSelectedOnly, pFactor);
    ForEachKey(*this, pSelectedOnly, [=, this](int pIndex) { KeyMultTangeant(pIndex, pFactor); });
    return true;
}

void Glissa::KeyMultTangeant(int pIndex, float pFactor)
{
    if (pFactor == 1.0f || !IsCubicUser(Attr(pIndex))) {
        return;
    }
    GlissaKeyAttributes attributes = Attr(pIndex);
    attributes.mData[eDataRightSlope] *= pFactor;
    attributes.mData[eDataNextLeftSlope] *= pFactor;
    WriteAttributes(pIndex, attributes);
    CallbackAddEvent(kGlissaEventOther | eEventEditTangentMode, pIndex);
}

void Glissa::KeyMultDerivative(int pIndex, float pFactor)
{
    if ((Attr(pIndex).mFlags & eTangentUserBreak) == 0) {
        return;
    }
    const KeyModifyBracket bracket(*this);
    KeySetRightDerivative(pIndex, KeyGetRightDerivative(pIndex) * pFactor);
    KeySetLeftDerivative(pIndex, KeyGetLeftDerivative(pIndex) * pFactor);
}

void Glissa::KeyIncLeftDerivative(int pIndex, float pSlope)
{
    if (pIndex > 0) {
        IncSlope(pIndex - 1, eDataNextLeftSlope, pSlope);
    }
}

void Glissa::KeyIncRightDerivative(int pIndex, float pSlope)
{
    if (pIndex < KeyGetCount() - 1) {
        IncSlope(pIndex, eDataRightSlope, pSlope);
    }
}

void Glissa::IncSlope(int pIndex, EGlissaDataIndex pData, float pSlope)
{
    CORVEKIT_ASSERT(pData == eDataRightSlope || pData == eDataNextLeftSlope);
    if (IsCubicUser(Attr(pIndex))) {
        ResetCandidate();
        KeySetDataDouble(pIndex, pData, KeyGetDataDouble(pIndex, pData) + pSlope);
    }
}
