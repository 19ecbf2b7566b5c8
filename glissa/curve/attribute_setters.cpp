// Copyright (c) 2026 The glissa authors
// SPDX-License-Identifier: MIT

// The attributes of one key, one by one. Each setter works on a copy; only what differs is written,
// into a block of the key's own.

#include "corvekit/event/operation.h"
#include "glissa/curve/curve.h"
#include "glissa/curve/key_kind.h"

#include <cstring>

namespace
{
bool HasSameBits(const GlissaKeyAttributes& pLeft, const GlissaKeyAttributes& pRight)
{
    return std::memcmp(&pLeft, &pRight, sizeof pLeft) == 0;
}

// What a change of a data slot means to a kind of tangent. Rows: auto, user, TCB.
int DataEvent(const GlissaKeyAttributes& pKey, EGlissaDataIndex pData)
{
    CORVEKIT_ASSERT(pData >= eDataRightSlope && pData <= eDataNextLeftVelocity);
    static constexpr int kEvents[3][6] = {
        {eEventEditSlope, eEventEditSlope, eEventEditWeight, eEventEditWeight, 0, 0},
        {eEventEditSlope, eEventEditSlope, eEventEditWeight, eEventEditWeight, eEventEditVelocity,
         eEventEditVelocity},
        {eEventEditTCBTension, eEventEditTCBContinuity, eEventEditTCBBias, 0, 0, 0}};
    switch (pKey.GetTangeantMode(false)) {
    case eTangentAuto:
    case eTangentAutoBreak:
        return kEvents[0][pData];
    case eTangentUser:
    case eTangentUserBreak:
        return kEvents[1][pData];
    case eTangentTCB:
        return kEvents[2][pData];
    default:
        return 0;
    }
}
}  // namespace

// False, and nothing written, where every bit is the same.
bool Glissa::WriteAttributes(int pIndex, const GlissaKeyAttributes& pAttributes)
{
    CORVEKIT_ASSERT(pIndex >= 0 && pIndex < KeyGetCount());
    if (HasSameBits(Attr(pIndex), pAttributes)) {
        return false;
    }
    ResetCandidate();
    KeyAttrSeparateCheck(pIndex);
    static_cast<GlissaKeyAttributes&>(*mKeys[pIndex].mAttribute) = pAttributes;
    return true;
}

// The same, with an event where a bit changed.
void Glissa::WriteAndPost(int pIndex, const GlissaKeyAttributes& pAttributes, int pEvent)
{
    if (WriteAttributes(pIndex, pAttributes)) {
        CallbackAddEvent(pEvent, pIndex);
    }
}

// Sets one attribute. With pReports the custom tangent manager is called before the change, in the
// middle of the operation, and after it. Its listener may edit the curve: pIndex follows the key,
// whose other attributes are those that the listener left. False, and nothing written, where it has
// removed the key.
bool Glissa::SetAndReport(int& pIndex, void (GlissaKeyAttributes::*pSet)(unsigned), unsigned pValue,
                          bool pReports, eCustomKeyChangeType pType)
{
    CORVEKIT_ASSERT(pIndex >= 0 && pIndex < KeyGetCount());
    if (pReports) {
        const KTime time = KeyGetTime(pIndex);
        CallKeyChangeCallback(InternalPriKeyGetPtr(pIndex), pIndex, true, pType);
        pIndex = PlaceOfKey(time, pIndex);
        if (pIndex < 0) {
            return false;
        }
    }
    GlissaKeyAttributes attributes = Attr(pIndex);
    (attributes.*pSet)(pValue);
    const bool changed = WriteAttributes(pIndex, attributes);
    if (pReports) {
        CallKeyChangeCallback(InternalPriKeyGetPtr(pIndex), pIndex, false, pType);
    }
    return changed;
}

void Glissa::KeySetInterpolation(int pIndex, unsigned pInterpolation)
{
    GlissaKeyAttributes attributes = Attr(pIndex);
    attributes.SetInterpolation(pInterpolation);
    if (attributes.GetInterpolation() == KeyGetInterpolation(pIndex)) {
        return;
    }
    const KOperation operation(IsObserved());
    const bool isCustom = IsCustom(attributes) || IsCustom(Attr(pIndex));
    int index = pIndex;
    if (SetAndReport(index, &GlissaKeyAttributes::SetInterpolation, pInterpolation, isCustom,
                     eCustomKeyChangeInterpolation)) {
        CallbackAddEvent(kGlissaEventOther | eEventEditInterpolation, index);
    }
}

void Glissa::KeySetConstantMode(int pIndex, unsigned pMode)
{
    GlissaKeyAttributes attributes = Attr(pIndex);
    attributes.SetConstantMode(pMode);
    WriteAndPost(pIndex, attributes, kGlissaEventOther | eEventEditConstantMode);
}

void Glissa::KeySetTangeantMode(int pIndex, unsigned pMode)
{
    GlissaKeyAttributes attributes = Attr(pIndex);
    attributes.SetTangeantMode(pMode);
    const KOperation operation(IsObserved());
    const bool reports =
        IsCustom(attributes) &&
        KeyGetTangeantMode(pIndex, false) != (pMode & GlissaKeyAttributes::kTangentKindMask);
    int index = pIndex;
    if (SetAndReport(index, &GlissaKeyAttributes::SetTangeantMode, pMode, reports,
                     eCustomKeyChangeTangentMode)) {
        CallbackAddEvent(kGlissaEventOther | eEventEditTangentMode, index);
    }
}

void Glissa::KeySetCustomIndex(int pIndex, unsigned pCustomIndex)
{
    GlissaKeyAttributes attributes = Attr(pIndex);
    attributes.SetCustomIndex(pCustomIndex);
    if (attributes.GetCustomIndex() == KeyGetCustomIndex(pIndex)) {
        return;
    }
    const KOperation operation(IsObserved());
    int index = pIndex;
    if (SetAndReport(index, &GlissaKeyAttributes::SetCustomIndex, pCustomIndex,
                     IsCustom(attributes), eCustomKeyChangeTangentMode)) {
        CallbackAddEvent(kGlissaEventOther, index);
    }
}

void Glissa::KeySetBreak(int pIndex, bool pBreak)
{
    GlissaKeyAttributes attributes = Attr(pIndex);
    attributes.SetBreak(pBreak);
    WriteAndPost(pIndex, attributes, kGlissaEventOther | eEventEditBreak);
}

void Glissa::KeySetTangeantVisibility(int pIndex, unsigned pVisibility)
{
    GlissaKeyAttributes attributes = Attr(pIndex);
    attributes.SetTangeantVisibility(pVisibility);
    WriteAndPost(pIndex, attributes, eEventSelection);
}

void Glissa::KeySetTangeantWeightMode(int pIndex, unsigned pMode, unsigned pMask)
{
    GlissaKeyAttributes attributes = Attr(pIndex);
    attributes.SetTangeantWeightMode(pMode, pMask);
    WriteAndPost(pIndex, attributes, kGlissaEventOther | eEventEditWeight);
}

void Glissa::KeySetTangeantVelocityMode(int pIndex, unsigned pMode, unsigned pMask)
{
    GlissaKeyAttributes attributes = Attr(pIndex);
    attributes.SetTangeantVelocityMode(pMode, pMask);
    WriteAndPost(pIndex, attributes, kGlissaEventOther | eEventEditVelocity);
}

void Glissa::KeySetSelected(int pIndex, bool pSelected)
{
    if (KeyGetSelected(pIndex) == pSelected) {
        return;
    }
    GlissaKeyAttributes attributes = Attr(pIndex);
    attributes.SetSelected(pSelected);
    WriteAttributes(pIndex, attributes);
    CallbackAddEvent(eEventSelection, pIndex);
}

void Glissa::KeySetMarkedForManipulation(int pIndex, bool pMark)
{
    GlissaKeyAttributes attributes = Attr(pIndex);
    attributes.SetMarkedForManipulation(pMark);
    WriteAttributes(pIndex, attributes);
}

// A slot that is set to an equal value, 0 over -0 included, stays as it is.
void Glissa::SetData(int pIndex, EGlissaDataIndex pData, const GlissaKeyAttributes& pAttributes)
{
    CORVEKIT_ASSERT(pData >= eDataRightSlope && pData <= eDataNextLeftVelocity);
    const GlissaKeyAttributes& old = Attr(pIndex);
    const bool isFloatSlot = pData < eDataRightWeight;
    if (isFloatSlot && old.mData[pData] == pAttributes.mData[pData]) {
        return;
    }
    WriteAndPost(pIndex, pAttributes, kGlissaEventOther | DataEvent(old, pData));
}

void Glissa::KeySetDataDouble(int pIndex, EGlissaDataIndex pData, float pValue)
{
    GlissaKeyAttributes attributes = Attr(pIndex);
    attributes.SetDataDouble(pData, pValue);
    SetData(pIndex, pData, attributes);
}

void Glissa::KeySetDataFloat(int pIndex, EGlissaDataIndex pData, float pValue)
{
    GlissaKeyAttributes attributes = Attr(pIndex);
    attributes.SetDataFloat(pData, pValue);
    SetData(pIndex, pData, attributes);
}
