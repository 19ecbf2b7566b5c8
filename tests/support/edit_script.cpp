// Copyright (c) 2026 The glissa authors
// SPDX-License-Identifier: MIT

#include "tests/support/edit_script.h"

#include "glissa/ext/custom_tangent_manager.h"

#include <algorithm>
#include <bit>
#include <cmath>
#include <sstream>

namespace
{
constexpr std::int64_t kSecond = KTime::kTicksPerSecond;
constexpr int kMostKeys = 300;
constexpr int kDeleteKind = 10;
constexpr const char* kTypeNames[] = {"edit script 1", "edit script 2"};

bool IsSame(float pLeft, float pRight)
{
    return pLeft == pRight || (std::isnan(pLeft) && std::isnan(pRight));
}

bool HasSameKeys(const std::vector<NaiveKey>& pLeft, const std::vector<NaiveKey>& pRight)
{
    return std::equal(pLeft.begin(), pLeft.end(), pRight.begin(), pRight.end(),
                      [](const NaiveKey& pOld, const NaiveKey& pNew) {
                          return pOld.time == pNew.time && IsSame(pOld.value, pNew.value) &&
                                 pOld.flags == pNew.flags && IsSame(pOld.slots[0], pNew.slots[0]) &&
                                 IsSame(pOld.slots[1], pNew.slots[1]) && pOld.slot2 == pNew.slot2 &&
                                 pOld.slot3 == pNew.slot3;
                      });
}

void Hear(Glissa*, GlissaEvent* pEvent, void* pObject)
{
    static_cast<std::vector<HeardEvent>*>(pObject)->push_back(
        {pEvent->GetType(), pEvent->GetFirstKey(), pEvent->GetLastKey(), pEvent->GetEventCount()});
}
}  // namespace

std::uint32_t EditChoices::Bits(int pBytes)
{
    if (mRandom) {
        return static_cast<std::uint32_t>(mRandom->Bits());
    }
    std::uint32_t bits = 0;
    for (; pBytes > 0 && !mBytes.empty(); --pBytes) {
        bits = bits << 8 | mBytes.front();
        mBytes = mBytes.subspan(1);
    }
    return bits;
}

int EditChoices::Below(int pCount)
{
    return static_cast<int>(Bits(pCount <= 256 ? 1 : 2) % static_cast<std::uint32_t>(pCount));
}

std::int64_t EditChoices::Between(std::int64_t pLeast, std::int64_t pGreatest)
{
    const auto range = static_cast<std::uint64_t>(pGreatest - pLeast) + 1;
    return pLeast + static_cast<std::int64_t>(Bits(4) % range);
}

EditScript::EditScript(EditChoices pChoices) : mChoices(pChoices)
{
    const int types = mChoices.Below(3);
    for (int i = 0; i < types; ++i) {
        GlissaCustomTangentManager::TheOne().AddNewCustomTangent(kTypeNames[i], kTypeNames[i]);
    }
    for (Pair& pair : mPairs) {
        pair.curve.reset(GlissaCreate());
        pair.naive.customTypes = types;
        pair.curve->CallbackRegister(Hear, &pair.heard);
    }
}

EditScript::~EditScript()
{
    for (Pair& pair : mPairs) {
        pair.curve->CallbackUnregister(Hear, &pair.heard);
        while (pair.naive.Nesting() > 0) {
            pair.curve->KeyModifyEnd();
            pair.naive.End();
        }
    }
    for (const char* name : kTypeNames) {
        GlissaCustomTangentManager::TheOne().RemoveCustomTangent(name);
    }
}

int EditScript::KindCount()
{
    return static_cast<int>(EditKinds().size());
}

const char* EditScript::KindName(int pKind)
{
    return EditKinds()[static_cast<std::size_t>(pKind)].name;
}

std::int64_t EditScript::Time()
{
    const int count = Naive().Count();
    if (count == 0) {
        return mChoices.Between(-10, 10) * kSecond;
    }
    const NaiveKey& key = Naive().Key(Index());
    const std::int64_t near[] = {0, 0, 1, -1, 10, -700, 1410, -1410, 1411, -1411, 1412, 3000};
    switch (mChoices.Below(4)) {
    case 0:
        return key.time + near[mChoices.Below(12)];
    case 1:
        return Naive().keys.back().time + mChoices.Between(1, 3 * kSecond);
    default:
        return key.time + mChoices.Between(-2 * kSecond, 2 * kSecond);
    }
}

std::int64_t EditScript::TimeOf(int pIndex)
{
    const int count = Naive().Count();
    if (count == 0) {
        return Time();
    }
    const std::int64_t after =
        pIndex > 0 ? Naive().Key(pIndex - 1).time : Naive().Key(0).time - kSecond;
    const std::int64_t before =
        pIndex < count - 1 ? Naive().Key(pIndex + 1).time : after + 2 * kSecond;
    return mChoices.Below(8) == 0 ? after + 1 : mChoices.Between(after + 1, before - 1);
}

std::int64_t EditScript::Delta()
{
    const std::int64_t some[] = {0, 1, -1, 1411, -1411, 700, -700, kSecond, -kSecond};
    return mChoices.Flip() ? some[mChoices.Below(9)] : mChoices.Between(-4 * kSecond, 4 * kSecond);
}

std::uint32_t EditScript::TangentMode()
{
    constexpr std::uint32_t kModes[] = {0x100,  0x200,  0x400,  0x900, 0xC00, 0x1100,
                                        0x2100, 0x6100, 0x7900, 0x800, 0xE00};
    return kModes[mChoices.Below(11)];
}

float EditScript::Value()
{
    const float some[] = {0.0f, 0.0f, 1.0f, 1.00005f, -1.0f, 2.0f};
    return mChoices.Flip() ? some[mChoices.Below(6)]
                           : static_cast<float>(mChoices.Between(-30000, 30000)) / 97.0f;
}

float EditScript::Slope()
{
    const float some[] = {0.0f, -0.0f, 100.0f, -100.0f, 1e-6f, 1e6f};
    return mChoices.Flip() ? some[mChoices.Below(6)]
                           : static_cast<float>(mChoices.Between(-30000, 30000)) / 31.0f;
}

float EditScript::Auto()
{
    const float some[] = {0.0f, 100.0f, -100.0f, 500.0f, -500.0f, 0.005f};
    return mChoices.Flip() ? some[mChoices.Below(6)]
                           : static_cast<float>(mChoices.Between(-90000, 90000)) / 97.0f;
}

float EditScript::Weight()
{
    return static_cast<float>(mChoices.Between(-100, 1100)) / 1000.0f;
}

float EditScript::Velocity()
{
    return static_cast<float>(mChoices.Between(-3200, 3200)) / 1000.0f;
}

NaiveKey EditScript::Key()
{
    NaiveKey key;
    key.value = Value();
    if (mChoices.Below(3) == 0) {
        return key;  // the default attributes
    }
    const std::uint32_t interpolations[] = {8, 8, 8, 8, 8, 4, 2, 1};
    key.flags = interpolations[mChoices.Below(8)] | TangentMode();
    if (key.Is(kRefCustom)) {
        key.flags = kRefCustom | 0x100u << mChoices.Below(2);
    }
    key.flags |= static_cast<std::uint32_t>(mChoices.Below(8)) << 16 & 0x90000u;
    key.flags |= static_cast<std::uint32_t>(mChoices.Below(4)) << 20;
    if (mChoices.Below(3) == 0) {
        key.flags |= static_cast<std::uint32_t>(mChoices.Below(4)) << 24;
        key.flags |= static_cast<std::uint32_t>(mChoices.Below(4)) << 28;
    }
    for (float& slot : key.slots) {
        slot = key.IsAuto() ? Auto() : key.IsCubic(0x200) ? Weight() : Slope();
    }
    if (key.IsCubic(0x200)) {
        key.SetSlot(2, std::fabs(Weight()));
    } else if (mChoices.Flip()) {
        key.SetData(2, Weight());
        key.SetData(3, Weight());
        key.SetData(5, Velocity());
    }
    return key;
}

NaiveSide EditScript::Side()
{
    return {Slope(), Weight(), Velocity(), Auto(), mChoices.Flip(), mChoices.Flip()};
}

std::string EditScript::Step()
{
    mFaults.clear();
    mAt = static_cast<std::size_t>(mChoices.Below(3));
    int kind = mChoices.Below(KindCount());
    if (Naive().Count() > kMostKeys) {
        kind = kDeleteKind;
    }
    const EditKind& step = EditKinds()[static_cast<std::size_t>(kind)];
    if (step.needsKeys && Naive().Count() == 0) {
        return "";
    }
    ++mRuns[static_cast<std::size_t>(kind)];

    const bool isOpen = Naive().Nesting() > 0;
    std::optional<EditCheck> check;
    if (!isOpen && !step.isSilent) {
        check.emplace(Curve());
    }
    for (Pair& pair : mPairs) {
        pair.heard.clear();
        pair.naive.sent.clear();
    }
    const std::vector<NaiveKey> before = Naive().keys;
    Curve().CandidateSet(KTime(), 1.0);
    step.run(*this);
    if (Curve().IsCandidate() && !HasSameKeys(before, Naive().keys)) {
        mFaults += "a candidate outlives a change of keys\n";
    }
    Curve().CandidateClear();
    if (check && Naive().Nesting() == 0) {
        mFaults += check->Verify(kMostKeys);
    }
    check.reset();

    for (const Pair& pair : mPairs) {
        CompareKeys(pair);
    }
    CompareValues();
    if (mChoices.Below(4) == 0) {
        Glissa* const curves[] = {mPairs[0].curve.get(), mPairs[1].curve.get(),
                                  mPairs[2].curve.get()};
        mFaults += CheckBooks(curves);
    }
    return mFaults.empty() ? "" : std::string(step.name) + ": " + mFaults;
}

void EditScript::CompareKeys(const Pair& pPair)
{
    std::ostringstream faults;
    const Glissa& curve = *pPair.curve;
    const NaiveCurve& naive = pPair.naive;
    const bool isSameCount = curve.KeyGetCount() == naive.Count();
    if (!isSameCount) {
        faults << curve.KeyGetCount() << " keys in place of " << naive.Count() << "\n";
    }
    for (int i = 0; i < naive.Count() && isSameCount; ++i) {
        const NaiveKey& key = naive.Key(i);
        const KPriFCurveKey& record = curve.Keys()[i];
        bool isEqual = record.mTime.Get() == key.time && IsSame(record.mValue, key.value) &&
                       record.mAttribute->mFlags == key.flags;
        for (int slot = 0; slot < 4; ++slot) {
            isEqual = isEqual && (IsSame(record.mAttribute->mData[slot], key.Slot(slot)));
        }
        if (!isEqual) {
            faults << "key " << i << " of " << naive.Count() << " is " << record.mTime.Get() << " "
                   << record.mValue << " " << std::hex << record.mAttribute->mFlags << std::dec;
            for (int slot = 0; slot < 4; ++slot) {
                faults << " " << record.mAttribute->mData[slot];
            }
            faults << ", to be " << key.time << " " << key.value << " " << std::hex << key.flags
                   << std::dec;
            for (int slot = 0; slot < 4; ++slot) {
                faults << " " << key.Slot(slot);
            }
            faults << "\n";
            break;
        }
    }
    if (static_cast<std::uint32_t>(curve.GetUpdateId()) != naive.updateId) {
        faults << "the update id is " << curve.GetUpdateId() << ", to be " << naive.updateId
               << "\n";
    }
    if (!IsSame(curve.GetValue(), naive.value)) {
        faults << "the default value is " << curve.GetValue() << ", to be " << naive.value << "\n";
    }
    bool isHeard = pPair.heard.size() == naive.sent.size();
    for (std::size_t i = 0; isHeard && i < naive.sent.size(); ++i) {
        const NaiveEvent& sent = naive.sent[i];
        isHeard = pPair.heard[i] == HeardEvent{sent.type, sent.first, sent.last, sent.count};
    }
    if (!isHeard) {
        faults << "heard";
        for (const HeardEvent& heard : pPair.heard) {
            faults << " " << heard;
        }
        faults << ", to be";
        for (const NaiveEvent& sent : naive.sent) {
            faults << " " << HeardEvent{sent.type, sent.first, sent.last, sent.count};
        }
        faults << "\n";
    }
    mFaults += faults.str();
}

void EditScript::CompareValues()
{
    for (int left = 2; left > 0 && Naive().Count() > 0; --left) {
        const std::int64_t time = Time();
        int hint = static_cast<int>(mChoices.Between(-3, 400));
        const float value = Curve().Evaluate(KTime(time), &hint);
        const float naive = Naive().Evaluate(time);
        const double place = Curve().KeyFind(KTime(time), nullptr);
        if (!IsSame(value, naive) || place != Naive().Find(time)) {
            std::ostringstream fault;
            fault << "at " << time << " " << value << " (" << place << "), to be " << naive << " ("
                  << Naive().Find(time) << ")\n";
            mFaults += fault.str();
        }
        const int i = Index();
        if (!IsSame(Curve().KeyGetLeftDerivative(i), Naive().LeftSlope(i)) ||
            !IsSame(Curve().KeyGetRightDerivative(i), Naive().RightSlope(i))) {
            mFaults += "slopes of key " + std::to_string(i) + " differ\n";
        }
    }
}
