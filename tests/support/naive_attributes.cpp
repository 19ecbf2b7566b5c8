// Copyright (c) 2026 The glissa authors
// SPDX-License-Identifier: MIT

// Attributes of the naive curve: what each setter stores, and where nothing is stored.

#include "tests/support/naive_curve.h"

#include <algorithm>
#include <bit>
#include <cmath>

namespace
{
std::int16_t Field(std::uint32_t pSlot, int pField)
{
    return static_cast<std::int16_t>(pSlot >> (16 * pField));
}

bool HasSameBits(float pLeft, float pRight)
{
    return std::bit_cast<std::uint32_t>(pLeft) == std::bit_cast<std::uint32_t>(pRight);
}
}  // namespace

float NaiveKey::Slot(int pSlot) const
{
    return pSlot < 2 ? slots[pSlot] : std::bit_cast<float>(pSlot == 2 ? slot2 : slot3);
}

void NaiveKey::SetSlot(int pSlot, float pValue)
{
    if (pSlot < 2) {
        slots[pSlot] = pValue;
    } else {
        (pSlot == 2 ? slot2 : slot3) = std::bit_cast<std::uint32_t>(pValue);
    }
}

float NaiveKey::Data(int pIndex) const
{
    return pIndex < 2 ? slots[pIndex] : Field(pIndex < 4 ? slot2 : slot3, pIndex % 2) / 9999.0f;
}

void NaiveKey::SetData(int pIndex, float pValue)
{
    if (pIndex < 2) {
        slots[pIndex] = pValue;
        return;
    }
    const float real = pIndex < 4 ? std::clamp(pValue, 0.00010001f, 0.99f) : pValue;
    // What was read comes back as it was.
    const double exact = std::round(static_cast<double>(real) * 9999.0);
    const bool wasRead = static_cast<float>(exact) / 9999.0f == real;
    const double stored = wasRead ? exact : std::trunc(static_cast<double>(real * 9999.0f));
    const auto number = static_cast<std::uint16_t>(static_cast<std::int16_t>(stored));
    std::uint32_t& slot = pIndex < 4 ? slot2 : slot3;
    slot = pIndex % 2 == 0 ? (slot & 0xFFFF0000u) | number
                           : (slot & 0xFFFFu) | static_cast<std::uint32_t>(number) << 16;
}

bool NaiveKey::HasEqualAttributes(const NaiveKey& pOther) const
{
    return flags == pOther.flags && slots[0] == pOther.slots[0] && slots[1] == pOther.slots[1] &&
           Slot(2) == pOther.Slot(2) && Slot(3) == pOther.Slot(3);
}

int NaiveCurve::DataEvent(const NaiveKey& pKey, int pIndex) const
{
    constexpr int kSides[6] = {0x800000, 0x800000, 0x400000, 0x400000, 0x200000, 0x200000};
    constexpr int kTcb[6] = {0x1000000, 0x4000000, 0x2000000, 0, 0, 0};
    switch (pKey.Kind()) {
    case 0x100:
    case 0x900:
        return 0x8010 | (pIndex < 4 ? kSides[pIndex] : 0);
    case 0x400:
    case 0xC00:
        return 0x8010 | kSides[pIndex];
    case 0x200:
        return 0x8010 | kTcb[pIndex];
    default:
        return 0x8010;
    }
}

void NaiveCurve::SetFlags(int pIndex, std::uint32_t pMask, std::uint32_t pBits, int pEvent)
{
    const std::uint32_t flags = (Key(pIndex).flags & ~pMask) | (pBits & pMask);
    if (flags != Key(pIndex).flags) {
        Key(pIndex).flags = flags;
        if (pEvent != 0) {
            Post(pEvent, pIndex);
        }
    }
}

namespace
{
// False where a custom type is wanted and there is none.
bool ChangeInterpolation(NaiveKey& pKey, std::uint32_t pValue, int pCustomTypes)
{
    if (pKey.Is(pValue)) {
        return false;
    }
    if (pValue == kRefCubic) {
        pKey.slot2 = kRefDefaultWeights;
        pKey.slot3 = 0;
        pKey.flags &= ~0x33000000u;
    } else if (pValue == kRefCustom) {
        if (pCustomTypes == 0) {
            return false;
        }
        const std::uint32_t index = pKey.flags & 0x700;
        const bool exists = index == 0x100 || (index == 0x200 && pCustomTypes >= 2) ||
                            (index == 0x400 && pCustomTypes >= 3);
        pKey.flags = exists ? pKey.flags : (pKey.flags & ~0x700u) | 0x100;
    }
    pKey.flags = (pKey.flags & ~0xFu) | pValue;
    return true;
}
}  // namespace

void NaiveCurve::SetInterpolation(int pIndex, std::uint32_t pValue)
{
    if (ChangeInterpolation(Key(pIndex), pValue, customTypes)) {
        Post(0x18010, pIndex);
    }
}

void NaiveCurve::SetCustomIndex(int pIndex, std::uint32_t pValue)
{
    if (customTypes > (pValue == 0x200 ? 1 : pValue == 0x400 ? 2 : 0)) {
        SetFlags(pIndex, 0x700, pValue, 0x8010);
    }
}

void NaiveCurve::SetData(int pIndex, int pData, float pValue)
{
    NaiveKey& key = Key(pIndex);
    const NaiveKey old = key;
    if (pData < 2 && key.slots[pData] == pValue) {
        return;
    }
    key.SetData(pData, pValue);
    if (!HasSameBits(old.Slot(pData < 2   ? pData
                              : pData < 4 ? 2
                                          : 3),
                     key.Slot(pData < 2   ? pData
                              : pData < 4 ? 2
                                          : 3))) {
        Post(DataEvent(old, pData), pIndex);
    }
}

void NaiveCurve::SetDataFloat(int pIndex, int pSlot, float pValue)
{
    NaiveKey& key = Key(pIndex);
    const bool isSame =
        pSlot < 2 ? key.slots[pSlot] == pValue : HasSameBits(key.Slot(pSlot), pValue);
    if (!isSame) {
        key.SetSlot(pSlot, pValue);
        Post(DataEvent(key, pSlot), pIndex);
    }
}

void NaiveCurve::SetRightSlope(int pIndex, float pSlope)
{
    if (pIndex >= Count() - 1) {
        return;
    }
    if (Key(pIndex).Is(kRefCustom) || Key(pIndex).IsUser()) {
        SetData(pIndex, 0, pSlope);
    } else if (Key(pIndex).IsAuto()) {
        SetData(pIndex, 0, static_cast<float>(RightAutoOf(pIndex, pSlope)));
    }
}

void NaiveCurve::SetLeftSlope(int pIndex, float pSlope)
{
    if (pIndex <= 0) {
        return;
    }
    Begin();
    const NaiveKey& p = Key(pIndex - 1);
    const bool hasKey = pIndex < Count();
    const bool isCubic = hasKey && Key(pIndex).Is(kRefCubic);
    const bool hasUserBit = isCubic && (Key(pIndex).flags & 0x400) != 0;
    bool asSlope = true;
    bool isStored = !p.Is(kRefCubic) || p.IsAuto() || p.IsUser();
    if (p.IsAuto()) {
        asSlope = !hasKey || hasUserBit || Key(pIndex).Is(kRefCustom);
    } else if (p.IsUser()) {
        asSlope = !isCubic || hasUserBit;
    } else if (!p.Is(kRefCustom) && !p.Is(kRefConstant) && !p.Is(kRefLinear)) {
        isStored = false;
    }
    if (isStored) {
        SetData(pIndex - 1, 1, asSlope ? pSlope : static_cast<float>(LeftAutoOf(pIndex, pSlope)));
    }
    if (isCubic && Key(pIndex).Kind() == 0x400) {
        SetRightSlope(pIndex, pSlope);
    }
    End();
}

void NaiveCurve::SetLeftAuto(int pIndex, float pAuto)
{
    if (pIndex <= 0) {
        return;
    }
    Begin();
    const NaiveKey& p = Key(pIndex - 1);
    const bool hasKey = pIndex < Count();
    const bool isCubic = hasKey && Key(pIndex).Is(kRefCubic);
    const bool hasAutoBit = isCubic && (Key(pIndex).flags & 0x100) != 0;
    const auto asSlope = [&] { return static_cast<float>(LeftSlopeOf(pIndex, pAuto)); };
    if (p.Is(kRefConstant) || p.Is(kRefLinear)) {
        SetData(pIndex - 1, 1, pAuto);
    } else if (p.IsAuto()) {
        SetData(pIndex - 1, 1, !isCubic || hasAutoBit ? pAuto : asSlope());
    } else if (p.IsUser()) {
        SetData(pIndex - 1, 1, !hasKey || hasAutoBit ? pAuto : asSlope());
    }
    if (isCubic && Key(pIndex).Kind() == 0x400) {
        SetRightAuto(pIndex, pAuto);
    }
    End();
}

void NaiveCurve::SetRightAuto(int pIndex, float pAuto)
{
    Begin();
    if (Key(pIndex).IsAuto()) {
        SetData(pIndex, 0, pAuto);
    } else if (pIndex < Count() - 1 && Key(pIndex).IsUser()) {
        SetData(pIndex, 0, static_cast<float>(RightSlopeOf(pIndex, pAuto)));
    }
    End();
}

void NaiveCurve::SetLeftHandle(int pIndex, float pValue)
{
    if (pIndex > 0) {
        const double slope = -(pValue - Key(pIndex).value) / Seconds(pIndex - 1, pIndex);
        SetLeftSlope(pIndex, static_cast<float>(static_cast<float>(slope) * 3.0));
    }
}

void NaiveCurve::SetRightHandle(int pIndex, float pValue)
{
    if (pIndex < Count() - 1) {
        const double slope = (pValue - Key(pIndex).value) / Seconds(pIndex, pIndex + 1);
        SetRightSlope(pIndex, static_cast<float>(static_cast<float>(slope) * 3.0));
    }
}

void NaiveCurve::SetMode(int pIndex, bool pLeft, bool pVelocity, bool pOn)
{
    const int owner = pLeft ? pIndex - 1 : pIndex;
    if (owner < 0 || (!pLeft && owner >= Count() - 1)) {
        return;
    }
    if (Key(owner).Is(kRefCubic) || (Key(owner).Is(kRefCustom) && !pVelocity)) {
        const std::uint32_t bit = (pLeft ? 0x2000000u : 0x1000000u) << (pVelocity ? 4 : 0);
        SetFlags(owner, bit, pOn ? bit : 0, pVelocity ? 0x208010 : 0x408010);
    }
}

void NaiveCurve::SetLeftWeight(int pIndex, float pWeight)
{
    if (pIndex > 0 && !Key(pIndex - 1).IsCubic(0x200) &&
        (Key(pIndex - 1).Is(kRefCubic) || Key(pIndex - 1).Is(kRefCustom))) {
        Begin();
        SetMode(pIndex, true, false, true);
        SetData(pIndex - 1, 3, pWeight);
        End();
    }
}

void NaiveCurve::SetRightWeight(int pIndex, float pWeight)
{
    if (pIndex < Count() - 1 && (Key(pIndex).Is(kRefCubic) || Key(pIndex).Is(kRefCustom))) {
        Begin();
        SetMode(pIndex, false, false, true);
        SetData(pIndex, 2, pWeight);
        End();
    }
}

void NaiveCurve::SetLeftVelocity(int pIndex, float pVelocity)
{
    if (pIndex > 0 && Key(pIndex - 1).Is(kRefCubic) && !Key(pIndex - 1).IsCubic(0x200)) {
        Begin();
        SetMode(pIndex, true, true, true);
        SetData(pIndex - 1, 5, pVelocity);
        End();
    }
}

void NaiveCurve::SetRightVelocity(int pIndex, float pVelocity)
{
    if (pIndex >= Count() - 1 || !Key(pIndex).Is(kRefCubic)) {
        return;
    }
    Begin();
    SetMode(pIndex, false, true, true);
    NaiveKey& key = Key(pIndex);
    const std::uint32_t old = key.slot3;
    key.SetData(4, pVelocity);
    if (old != key.slot3) {
        Post(key.IsAuto() || key.IsUser() ? 0x208010 : 0x8010, pIndex);
    }
    End();
}

void NaiveCurve::SetLeftSide(int pIndex, const NaiveSide& pSide, bool pForceSlope)
{
    if (pIndex <= 0 || pIndex >= Count()) {
        return;
    }
    const NaiveKey& k = Key(pIndex);
    const NaiveKey& p = Key(pIndex - 1);
    if ((k.flags & 0x200) != 0 && !k.Is(kRefCustom)) {
        return;
    }
    Begin();
    SetLeftWeight(pIndex, pSide.weight);
    SetMode(pIndex, true, false, pSide.isWeighted);
    SetLeftVelocity(pIndex, pSide.velocity);
    SetMode(pIndex, true, true, pSide.hasVelocity);
    const bool isAuto =
        k.Is(kRefCubic) ? (k.flags & 0x100) != 0 : p.Is(kRefCubic) && (p.flags & 0x100) != 0;
    if (isAuto && !pForceSlope) {
        SetLeftAuto(pIndex, pSide.parameter);
    } else {
        SetLeftSlope(pIndex, pSide.slope);
    }
    End();
}

void NaiveCurve::SetRightSide(int pIndex, const NaiveSide& pSide, bool pForceSlope)
{
    const NaiveKey& k = Key(pIndex);
    if ((k.flags & 0x200) != 0 && !k.Is(kRefCustom)) {
        return;
    }
    const bool isAuto = k.Is(kRefCubic) && (k.flags & 0x100) != 0;
    Begin();
    if (pIndex == Count() - 1) {
        if (isAuto) {
            SetData(pIndex, 0, pSide.parameter);
        }
    } else {
        SetRightWeight(pIndex, pSide.weight);
        SetMode(pIndex, false, false, pSide.isWeighted);
        SetRightVelocity(pIndex, pSide.velocity);
        SetMode(pIndex, false, true, pSide.hasVelocity);
        if (isAuto && !pForceSlope) {
            SetRightAuto(pIndex, pSide.parameter);
        } else {
            SetRightSlope(pIndex, pSide.slope);
        }
    }
    End();
}

void NaiveCurve::MoveValues(bool pSelected, float pValue)
{
    Begin();
    if (keys.empty() && !pSelected) {
        SetDefault(pValue);
    }
    for (int i = 0; i < Count(); ++i) {
        if (!pSelected || (Key(i).flags & 0x10000) != 0) {
            SetValue(i, pValue);
        }
    }
    End();
}

void NaiveCurve::Scale(bool pSelected, float pFactor, bool pValues, bool pTangents)
{
    if (keys.empty() && !pValues) {
        return;
    }
    Begin();
    if (!pSelected) {
        SetDefault(value * pFactor);
    }
    for (int i = 0; i < Count(); ++i) {
        if (!pSelected || (Key(i).flags & 0x10000) != 0) {
            if (pValues) {
                SetValue(i, Key(i).value * pFactor);
            }
            if (pTangents) {
                MultTangent(i, pFactor);
            }
        }
    }
    End();
}

void NaiveCurve::MultTangent(int pIndex, float pFactor)
{
    if (pFactor != 1.0f && Key(pIndex).IsUser()) {
        Key(pIndex).slots[0] *= pFactor;
        Key(pIndex).slots[1] *= pFactor;
        Post(0x28010, pIndex);
    }
}

void NaiveCurve::MultSlope(int pIndex, float pFactor)
{
    if ((Key(pIndex).flags & 0xC00) != 0) {
        Begin();
        SetRightSlope(pIndex, RightSlope(pIndex) * pFactor);
        SetLeftSlope(pIndex, LeftSlope(pIndex) * pFactor);
        End();
    }
}

void NaiveCurve::IncSlope(int pIndex, float pSlope, bool pLeft)
{
    const int owner = pLeft ? pIndex - 1 : pIndex;
    if (owner >= 0 && owner < Count() - 1 && Key(owner).IsUser()) {
        SetData(owner, pLeft ? 1 : 0, Key(owner).slots[pLeft ? 1 : 0] + pSlope);
    }
}

void NaiveCurve::ChangeKinds(bool pSelected, std::uint32_t pKind, std::uint32_t pMask)
{
    Begin();
    std::vector<NaiveSide> left;
    std::vector<NaiveSide> right;
    for (int i = 0; i < Count(); ++i) {
        left.push_back(LeftSide(i));
        right.push_back(RightSide(i));
    }
    std::vector<bool> isTouched(keys.size() + 1);  // whose slopes the change may have moved
    for (int i = Count() - 1; i >= 0; --i) {
        NaiveKey key = Key(i);
        key.slots[0] = 0.0f;
        key.slots[1] = 0.0f;
        key.flags &= ~0x300000u;
        const bool isInterpolation = pMask == 0xF;
        const bool isChanged =
            isInterpolation ? ChangeInterpolation(key, pKind, customTypes) : key.Kind() != pKind;
        if (!isChanged || (pSelected && (key.flags & 0x10000) == 0)) {
            continue;
        }
        if (!isInterpolation) {
            key.flags = (key.flags & ~0x7F00u) | (pKind & 0x7F00);
        }
        Key(i) = key;
        Post(isInterpolation ? 0x18010 : 0x28010, i);
        if (i + 1 < Count()) {
            SetFlags(i + 1, 0x300000, 0, 0x100);
        }
        isTouched[static_cast<std::size_t>(i)] = true;
        isTouched[static_cast<std::size_t>(i) + 1] = true;
    }
    for (int i = 0; i < Count(); ++i) {
        const auto at = static_cast<std::size_t>(i);
        if (isTouched[at] && i > 0 && LeftSlope(i) != left[at].slope) {
            SetLeftSlope(i, left[at].slope);
        }
        if (isTouched[at] && RightSlope(i) != right[at].slope) {
            SetRightSlope(i, right[at].slope);
        }
    }
    End();
}

void NaiveCurve::ChangeFlagsOfAll(std::uint32_t pMask, std::uint32_t pBits)
{
    Begin();
    for (NaiveKey& key : keys) {
        key.flags = (key.flags & ~pMask) | pBits;
    }
    Post(0x100, -1);
    End();
}
