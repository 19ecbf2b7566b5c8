// Copyright (c) 2026 The glissa authors
// SPDX-License-Identifier: MIT

#include "tests/support/random_curve.h"

namespace
{
// Attributes of one key by a rule. Slopes are in proportion to what the values and times make.
void Dress(RefKey& pKey, Rule pRule, double pSteepness, Random& pRandom)
{
    const auto slot = [&](double pSize) { return static_cast<float>(pSize * pRandom.Signed()); };
    const std::uint32_t broken = pRandom.Below(2) == 0 ? kRefBreak : 0;
    switch (pRule) {
    case kUser:
        pKey.flags = kRefCubic | kRefUser | kRefBreak;
        pKey.slots[0] = slot(pSteepness);
        pKey.slots[1] = slot(pSteepness);
        break;
    case kLine:
        pKey.flags = kRefLinear;
        break;
    case kAutomatic:
        pKey.flags = kRefCubic | kRefAuto | broken;
        pKey.flags |= pRandom.Below(2) == 0 ? kRefClamp : 0;
        pKey.slots[0] = pRandom.Below(3) == 0 ? 0.0f : slot(500.0);
        pKey.slots[1] = pRandom.Below(3) == 0 ? 100.0f : slot(500.0);
        break;
    case kFarAutomatic:
        pKey.flags = kRefCubic | kRefAuto | broken;
        for (float& each : pKey.slots) {
            const float sign = slot(1.0);
            each = std::copysign(static_cast<float>(501.0 * pRandom.Scale(0, 6)), sign);
        }
        break;
    case kIndependent:
        pKey.flags = kRefCubic | kRefAuto | kRefTimeIndependent | broken;
        pKey.slots[0] = slot(0.0099);
        pKey.slots[1] = slot(0.0099);
        break;
    case kProgressiveClamp:
        pKey.flags = kRefCubic | kRefAuto | kRefProgressive | broken;
        pKey.slots[0] = pRandom.Below(2) == 0 ? 100.0f : slot(100.0);
        pKey.slots[1] = pRandom.Below(2) == 0 ? -100.0f : slot(100.0);
        break;
    case kTensionContinuityBias:
        pKey.flags = kRefCubic | kRefTcb;
        pKey.slots[0] = slot(1.0);
        pKey.slots[1] = slot(1.0);
        pKey.SetBias(slot(1.0));
        break;
    }
}

}  // namespace

RefCurve RandomCurve(Rule pRule, Random& pRandom)
{
    RefCurve curve;
    const double size = pRandom.Scale(-10, 20);
    std::int64_t time = static_cast<std::int64_t>(pRandom.Signed() * 1e13);
    const int count = 2 + pRandom.Below(7);
    const bool rising = pRandom.Below(2) == 0;
    float value = 0.0f;
    for (int i = 0; i < count; ++i) {
        const double gap = std::floor(pRandom.Scale(0, 33)) + 1.0;
        const float step = static_cast<float>(size * pRandom.Signed());
        RefKey key;
        key.time = time;
        key.value = rising ? value + std::fabs(step) : step;
        if (i > 0 && pRandom.Below(8) == 0) {
            key.value = value;
        }
        Dress(key, pRule, size / gap * 141120000.0 * pRandom.Scale(-3, 3), pRandom);
        curve.keys.push_back(key);
        value = key.value;
        time += static_cast<std::int64_t>(gap);
    }
    return curve;
}

std::int64_t RandomTime(const RefCurve& pCurve, int pKey, Random& pRandom)
{
    const std::int64_t from = pCurve.keys[static_cast<std::size_t>(pKey)].time;
    const std::int64_t gap = pCurve.keys[static_cast<std::size_t>(pKey) + 1].time - from;
    switch (pRandom.Below(8)) {
    case 0:
        return from;
    case 1:
        return from + 1;
    case 2:
        return from + gap - 1;
    default:
        return from + static_cast<std::int64_t>(pRandom.Bits() % static_cast<std::uint64_t>(gap));
    }
}

RefCurve RandomWeightedCurve(Rule pRule, int pLeastWeight, int pGreatestWeight, Random& pRandom)
{
    RefCurve curve = RandomCurve(pRule, pRandom);
    for (RefKey& key : curve.keys) {
        const int range = pGreatestWeight - pLeastWeight + 1;
        const int right = pLeastWeight + pRandom.Below(range);
        const int nextLeft = pLeastWeight + pRandom.Below(range);
        key.SetWeights(right, nextLeft);
        const std::uint32_t modes[] = {kRefWeightRight, kRefWeightNextLeft,
                                       kRefWeightRight | kRefWeightNextLeft};
        key.flags |= modes[pRandom.Below(3)];
    }
    return curve;
}

RefCurve RandomMixedCurve(Random& pRandom)
{
    RefCurve curve = RandomCurve(kUser, pRandom);
    for (RefKey& key : curve.keys) {
        const RefKey other = RandomCurve(static_cast<Rule>(pRandom.Below(7)), pRandom).keys.front();
        key = {key.time, key.value, other.flags, {other.slots[0], other.slots[1]}, other.slot2};
        if (pRandom.Below(8) == 0) {
            key.flags = kRefConstant | (pRandom.Below(2) == 0 ? kRefConstantNext : 0);
        }
    }
    return curve;
}
