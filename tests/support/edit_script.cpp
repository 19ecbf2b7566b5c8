// Copyright (c) 2026 The glissa authors
// SPDX-License-Identifier: MIT

#include "tests/support/edit_script.h"

#include <cmath>

namespace
{
constexpr std::int64_t kSecond = KTime::kTicksPerSecond;
constexpr int kMostKeys = 300;

// Slots count as floats: merging equal blocks may change the sign of a zero.
bool IsSameKey(const GlissaKey& pLeft, const GlissaKey& pRight)
{
    bool isSame = pLeft.GetTime() == pRight.GetTime() &&
                  IsSame(pLeft.GetValue(), pRight.GetValue()) &&
                  pLeft.GetAttributes().mFlags == pRight.GetAttributes().mFlags;
    for (int i = 0; i < 4; ++i) {
        isSame = isSame && IsSame(pLeft.GetDataPtr()[i], pRight.GetDataPtr()[i]);
    }
    return isSame;
}

bool HasSameKeys(const Glissa& pLeft, const Glissa& pRight)
{
    bool isSame = pLeft.KeyGetCount() == pRight.KeyGetCount();
    for (int i = 0; isSame && i < pLeft.KeyGetCount(); ++i) {
        isSame = IsSameKey(pLeft.KeyGet(i), pRight.KeyGet(i));
    }
    return isSame;
}

// The same keys, each with an attribute block of its own.
CurveHandle Unshared(const Glissa& pCurve)
{
    CurveHandle copy(GlissaCreate());
    copy->SetValue(pCurve.GetValue());
    for (int i = 0; i < pCurve.KeyGetCount(); ++i) {
        copy->KeyAppendFast(pCurve.KeyGetTime(i), pCurve.KeyGetValue(i));
        copy->KeyAttrSet(i, pCurve.KeyGet(i).GetKeyAttr());
        copy->KeyAttrSeparate(i);
    }
    return copy;
}

// A step on one curve. The curve and its copy make the same choices.
struct Edit
{
    Glissa& curve;
    const Glissa& source;
    EditChoices& choose;
    std::string& faults;

    int Count() const { return curve.KeyGetCount(); }
    int Index() { return choose.Below(Count()); }
    int IndexOrBeyond() { return choose.Below(Count() + 3) - 1; }
    int SourceIndex() { return choose.Below(source.KeyGetCount()); }
    std::int64_t TimeAt(int pIndex) const { return curve.KeyGetTime(pIndex).Get(); }
    KTime Time();
    KTime TimeOf(int pIndex);
    KTime Delta();
    unsigned TangentMode();
    float Value() { return choose.Number({0.0f, 1.0f, 1.00005f, -1.0f, 2.0f}, -30000, 30000); }
    float Slope() { return choose.Number({0, -0.0f, 100, -100, 1e-6f, 1e6f}, -90000, 90000); }
    float Share() { return static_cast<float>(choose.Between(-100, 1100)) / 1000.0f; }
    GlissaKey Key(KTime pTime);
    GlissaTangeantInfo Side();
    void Expect(bool pHolds, const char* pWhat)
    {
        faults += pHolds ? "" : std::string(pWhat) + " does not hold\n";
    }
};

// On a key, near one, after the last one or anywhere.
KTime Edit::Time()
{
    if (Count() == 0) {
        return KTime(choose.Between(-10, 10) * kSecond);
    }
    const std::int64_t near[] = {0, 0, 1, -1, 10, -700, 1410, -1410, 1411, -1411, 1412, 3000};
    const std::int64_t time = TimeAt(Index());
    switch (choose.Below(4)) {
    case 0:
        return KTime(time + near[choose.Below(12)]);
    case 1:
        return KTime(TimeAt(Count() - 1) + choose.Between(1, 3 * kSecond));
    default:
        return KTime(time + choose.Between(-2 * kSecond, 2 * kSecond));
    }
}

// A time that a key at an index may have, one past the last included.
KTime Edit::TimeOf(int pIndex)
{
    if (Count() == 0) {
        return Time();
    }
    const std::int64_t after = pIndex > 0 ? TimeAt(pIndex - 1) : TimeAt(0) - kSecond;
    const std::int64_t before = pIndex < Count() - 1 ? TimeAt(pIndex + 1) : after + 2 * kSecond;
    return KTime(choose.Below(8) == 0 ? after + 1 : choose.Between(after + 1, before - 1));
}

KTime Edit::Delta()
{
    const std::int64_t some[] = {0, 1, -1, 1411, -1411, 700, -700, kSecond, -kSecond};
    return KTime(choose.Flip() ? some[choose.Below(9)] : choose.Between(-4 * kSecond, 4 * kSecond));
}

unsigned Edit::TangentMode()
{
    constexpr unsigned kModes[] = {0x100,  0x200,  0x400,  0x900, 0xC00, 0x1100,
                                   0x2100, 0x6100, 0x7900, 0x800, 0xE00};
    return kModes[choose.Below(11)];
}

GlissaKey Edit::Key(KTime pTime)
{
    constexpr unsigned kKinds[] = {8, 8, 8, 8, 8, 4, 2, 1};
    KPriFCurveKeyAttr attributes = *GlissaDefaultKeyAttr;
    if (choose.Below(3) != 0) {
        const unsigned kind = kKinds[choose.Below(8)];
        attributes.mFlags = kind | (kind == 1 ? 0x100u << choose.Below(2) : TangentMode());
        attributes.mFlags |= static_cast<unsigned>(choose.Below(8)) << 16 & 0x90000u;
        attributes.mFlags |= static_cast<unsigned>(choose.Below(4)) << 20;
        const bool isTcb = (attributes.mFlags & 0xF0F) == 0x208;
        for (int i = 0; i < 2; ++i) {
            attributes.mData[i] = isTcb ? Share() : Slope();
        }
        if (isTcb) {
            attributes.mData[2] = std::fabs(Share());
        } else if (choose.Flip()) {
            attributes.mFlags |= static_cast<unsigned>(choose.Below(16)) << 24 & 0x3000000u;
            attributes.SetDataDouble(eDataRightWeight, Share());
            attributes.SetDataDouble(eDataNextLeftWeight, Share());
            attributes.SetDataDouble(eDataNextLeftVelocity, 3.0f * Share());
        }
    }
    return GlissaKey({pTime, nullptr, Value()}, attributes);
}

GlissaTangeantInfo Edit::Side()
{
    return {Slope(), Share(), 3.0f * Share(), Slope(), choose.Flip(), choose.Flip()};
}

struct EditKind
{
    const char* name;
    int (*run)(Edit&);
    bool needsKeys = false;
    bool needsSource = false;
    bool isSilent = false;  ///< changes keys without a post
};

int Add(Edit& e)
{
    const KTime time = e.Time();
    const GlissaKey key = e.Key(time);
    int hint = static_cast<int>(e.choose.Between(-5, 400));
    const int index = e.curve.KeyAdd(time, key, &hint);
    e.Expect(hint == index && IsSameKey(key, e.curve.KeyGet(index)), "what was added");
    return index;
}

int SetAny(Edit& e)
{
    const int i = e.choose.Below(e.Count() + 1);
    const KTime time = e.TimeOf(i);
    const GlissaKey key = e.Key(time);
    switch (e.choose.Below(3)) {
    case 0:
        e.curve.KeySetTCB(i, time, key.GetValue(), e.Share(), e.Share(), e.Share());
        return 0;
    case 1:
        return e.curve.KeySet(i, e.Key(e.Time()));
    default:
        return e.curve.KeySet(i, key);
    }
}

int DeleteSome(Edit& e)
{
    const int first = e.IndexOrBeyond();
    const int last = e.choose.Flip() ? first + e.choose.Below(5) - 1 : e.IndexOrBeyond();
    const KTime from = e.Time();
    switch (e.choose.Below(4)) {
    case 0:
        return e.curve.Delete(first, last);
    case 1:
        return e.curve.Delete(from, e.choose.Flip() ? e.Time() : from + KTime(kSecond),
                              e.choose.Flip());
    case 2:
        return e.curve.KeyRemove(first);
    default:
        if (e.Count() > kMostKeys || e.choose.Below(8) == 0) {
            e.curve.KeyClear();
        }
        return 0;
    }
}

int Candidate(Edit& e)
{
    constexpr int kKinds[] = {0x2, 0x102, 0x4, 0x108, 0x208, 0x408, 0x908, 0xC08};
    const KTime time = e.Time();
    const int kind = kKinds[e.choose.Below(8)];
    int last = static_cast<int>(e.choose.Between(-5, 400));
    e.curve.CandidateSet(time, e.Value());
    const bool done = e.curve.CandidateKey(&last, kind & 0xF, kind & 0xF00, eContinuityDefault,
                                           e.choose.Below(4) != 0);
    e.Expect(done && e.curve.KeyGetTime(last) == time, "the key of a candidate");
    return last;
}

int Move(Edit& e)
{
    const KTime time = e.Time();
    const KTime delta = e.Delta();
    const float value = e.choose.Flip() ? e.Value() : 0.0f;
    const int first = e.IndexOrBeyond();
    switch (e.choose.Below(5)) {
    case 0:
        return e.Count() > 0 ? e.curve.KeyMove(e.Index(), time) : 0;
    case 1:
        return e.Count() > 0 ? e.curve.KeyMoveOf(e.Index(), delta, value) : 0;
    case 2:
        return e.curve.KeyMoveOf(e.choose.Below(4) != 0, delta, value);
    case 3:
        return e.curve.KeyMoveOf(delta, first, first + e.choose.Below(6) - 1);
    default:
        return e.curve.KeyMoveOf(time, e.Time(), delta, e.choose.Flip());
    }
}

int Scale(Edit& e)
{
    using Scaling = bool (Glissa::*)(bool, float);
    constexpr Scaling kScalings[] = {&Glissa::KeyScaleValue, &Glissa::KeyScaleTangeant,
                                     &Glissa::KeyScaleValueAndTangeant, &Glissa::KeyMoveValueTo};
    const bool selected = e.choose.Flip();
    return (e.curve.*kScalings[e.choose.Below(4)])(selected, 2.0f * e.Share());
}

int ChangeKinds(Edit& e)
{
    using Change = void (Glissa::*)();
    constexpr Change kChanges[] = {&Glissa::KeyTangeantHide, &Glissa::KeySelectAll,
                                   &Glissa::KeyUnselectAll};
    const bool selected = e.choose.Below(4) != 0;
    if (e.choose.Flip()) {
        (e.curve.*kChanges[e.choose.Below(3)])();
    } else if (e.choose.Flip()) {
        e.curve.KeyTangeantSetInterpolation(selected, 1u << e.choose.Below(4));
    } else {
        e.curve.KeyTangeantSetMode(selected, e.TangentMode());
    }
    return e.curve.KeyGetSelectionCount();
}

int SetNumber(Edit& e)
{
    using Setter = void (Glissa::*)(int, float);
    constexpr Setter kSetters[] = {&Glissa::KeySetValue,
                                   &Glissa::KeyIncValue,
                                   &Glissa::KeyMultValue,
                                   &Glissa::KeyMultTangeant,
                                   &Glissa::KeyMultDerivative,
                                   &Glissa::KeyIncLeftDerivative,
                                   &Glissa::KeyIncRightDerivative,
                                   &Glissa::KeySetLeftDerivative,
                                   &Glissa::KeySetRightDerivative,
                                   &Glissa::KeySetLeftAuto,
                                   &Glissa::KeySetRightAuto,
                                   &Glissa::KeySetLeftBezierTangeant,
                                   &Glissa::KeySetRightBezierTangeant,
                                   &Glissa::KeySetLeftTangeantWeight,
                                   &Glissa::KeySetRightTangeantWeight,
                                   &Glissa::KeySetLeftTangeantVelocity,
                                   &Glissa::KeySetRightTangeantVelocity};
    const int i = e.Index();
    const int setter = e.choose.Below(17);
    (e.curve.*kSetters[setter])(i, setter < 3 ? e.Value() : setter < 13 ? e.Slope() : e.Share());
    return 0;
}

int SetFlags(Edit& e)
{
    using Switch = void (Glissa::*)(int, bool);
    using Setter = void (Glissa::*)(int, unsigned);
    constexpr Switch kSwitches[] = {&Glissa::KeySetBreak,
                                    &Glissa::KeySetSelected,
                                    &Glissa::KeySetMarkedForManipulation,
                                    &Glissa::KeySetLeftTangeantWeightedMode,
                                    &Glissa::KeySetRightTangeantWeightedMode,
                                    &Glissa::KeySetLeftTangeantVelocityMode,
                                    &Glissa::KeySetRightTangeantVelocityMode};
    constexpr Setter kSetters[] = {&Glissa::KeySetConstantMode, &Glissa::KeySetTangeantMode,
                                   &Glissa::KeySetTangeantVisibility, &Glissa::KeySetCustomIndex,
                                   &Glissa::KeySetInterpolation};
    const int i = e.Index();
    const int setter = e.choose.Below(5);
    if (e.choose.Flip()) {
        (e.curve.*kSwitches[e.choose.Below(7)])(i, e.choose.Flip());
    } else {
        (e.curve.*kSetters[setter])(i, setter == 3   ? 0x100u << e.choose.Below(3)
                                       : setter == 4 ? 1u << e.choose.Below(4)
                                                     : e.Key(KTime()).GetAttributes().mFlags);
    }
    return 0;
}

int SetSide(Edit& e)
{
    const int i = e.Index();
    const auto slot = static_cast<EGlissaDataIndex>(e.choose.Below(6));
    switch (e.choose.Below(4)) {
    case 0:
        e.curve.KeySetLeftDerivativeInfo(i, e.Side(), e.choose.Flip());
        break;
    case 1:
        e.curve.KeySetRightDerivativeInfo(i, e.Side(), e.choose.Flip());
        break;
    case 2:
        e.curve.KeySetDataDouble(i, slot, e.Share());
        break;
    default:
        e.curve.KeySetDataFloat(i, slot < eDataRightWeight ? slot : eDataRightSlope, e.Slope());
        break;
    }
    return 0;
}

constexpr EditKind kKinds[] = {
    {"KeyAdd", Add},
    {"KeyAdd on the curve", [](Edit& e) { return e.curve.KeyAdd(e.Time()); }},
    {"KeyAdd from a source",
     [](Edit& e) { return e.curve.KeyAdd(e.Time(), &e.source, e.SourceIndex()); }, false, true,
     true},
    {"KeyAppend",
     [](Edit& e) { return e.curve.KeyAppend(e.TimeOf(e.Count()), &e.source, e.SourceIndex()); },
     false, true},
    {"KeyAppendFast",
     [](Edit& e) {
         for (int left = e.choose.Below(8) == 0 ? 100 : 3; left > 0; --left) {
             e.curve.KeyAppendFast(e.TimeOf(e.Count()), e.Value());
         }
         return e.Count();
     },
     false, false, true},
    {"KeySet", SetAny},
    {"KeySet from a source",
     [](Edit& e) -> int {
         return e.curve.KeySet(e.choose.Below(e.Count() + 1), &e.source, e.SourceIndex());
     },
     false, true},
    {"Delete", DeleteSome},
    {"InitBuffers",
     [](Edit& e) {
         const bool clear = e.choose.Below(16) == 0;
         e.curve.InitBuffers(e.choose.Below(200), clear);
         if (clear) {
             e.curve.KeyShrink();  // pages of a cleared curve keep old times
         }
         return e.Count();
     },
     false, false, true},
    {"shrinking",
     [](Edit& e) {
         e.curve.KeyShrink();
         e.curve.KeyAttrShrink(e.IndexOrBeyond(), e.IndexOrBeyond());
         e.curve.KeySetOptimizeEnable(e.choose.Flip());
         e.curve.KeySetOptimizeThreshold(e.choose.Below(40));
         return 0;
     }},
    {"CandidateKey", Candidate},
    {"KeyMove", Move},
    {"scaling", Scale},
    {"kinds", ChangeKinds},
    {"KeySetTime",
     [](Edit& e) {
         const int i = e.Index();
         const KTime time = e.TimeOf(i);
         e.choose.Flip() ? e.curve.KeySetTime(i, time)
                         : e.curve.KeyIncTime(i, time - e.curve.KeyGetTime(i));
         e.Expect(e.curve.KeyGetTime(i) == time, "a time that was set");
         return i;
     },
     true},
    {"numbers", SetNumber, true},
    {"flags", SetFlags, true},
    {"sides", SetSide, true},
    {"SetValue",
     [](Edit& e) {
         e.curve.SetValue(e.Value());
         return 0;
     }},
};
constexpr int kDeleteKind = 7;

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

float EditChoices::Number(std::initializer_list<float> pSome, int pLeast, int pGreatest)
{
    return Flip() ? pSome.begin()[Below(static_cast<int>(pSome.size()))]
                  : static_cast<float>(Between(pLeast, pGreatest)) / 97.0f;
}

EditScript::EditScript(EditChoices pChoices) : mChoices(pChoices)
{
    for (Edited& each : mCurves) {
        each.curve.reset(GlissaCreate());
    }
}

std::string EditScript::Step()
{
    mFaults.clear();
    const auto at = static_cast<std::size_t>(mChoices.Below(3));
    const auto from = static_cast<std::size_t>(mChoices.Below(3));
    Edited& edited = mCurves[at];
    Glissa& curve = *edited.curve;
    int kind = mChoices.Below(static_cast<int>(std::size(kKinds)));
    if (curve.KeyGetCount() > kMostKeys) {
        kind = kDeleteKind;
    }
    const EditKind& step = kKinds[kind];
    if ((step.needsKeys && curve.KeyGetCount() == 0) ||
        (step.needsSource && mCurves[from].curve->KeyGetCount() == 0)) {
        return "";
    }

    // Brackets open and close between the steps.
    if (edited.nesting < 3 && mChoices.Below(12) == 0) {
        curve.KeyModifyBegin();
        edited.posted = edited.nesting++ == 0 ? HeardEvent() : edited.posted;
    }
    const bool ends = edited.nesting > 0 && mChoices.Below(6) == 0;
    std::array<CurveHandle, 3> before;
    for (std::size_t i = 0; i < 3; ++i) {
        before[i] = Unshared(*mCurves[i].curve);
    }
    const CurveHandle copy = Unshared(curve);
    EditCheck check(curve);
    EditCheck copyCheck(*copy);
    curve.CandidateSet(KTime(), 1.0);
    EditChoices again = mChoices;
    Edit edit{curve, *mCurves[from].curve, mChoices, mFaults};
    const int result = step.run(edit);
    if (curve.IsCandidate() && !HasSameKeys(*before[at], curve)) {
        mFaults += "a candidate outlives a change of keys\n";
    }
    curve.CandidateClear();
    Edit same{*copy, from == at ? *copy : *before[from], again, mFaults};
    if (step.run(same) != result) {
        mFaults += "the results differ\n";
    }

    for (std::size_t i = 0; i < 3; ++i) {
        if (i != at && !HasSameKeys(*before[i], *mCurves[i].curve)) {
            mFaults += "another curve changed\n";
        }
    }
    Compare(curve, *copy);
    mFaults += step.isSilent ? "" : copyCheck.Verify(kMostKeys);
    if (edited.nesting == 0) {
        mFaults += check.Heard() == copyCheck.Heard() ? "" : "the events differ\n";
        mFaults += step.isSilent ? "" : check.Verify(kMostKeys);
    } else {
        mFaults += check.Heard().empty() ? "" : "a bracket posts before its end\n";
        edited.posted.type |= copyCheck.Folded().type;
        edited.posted.count += copyCheck.Folded().count;
    }
    if (ends) {
        curve.KeyModifyEnd();
        if (--edited.nesting == 0) {
            const HeardEvent all = check.Folded();
            const bool isSent = all.type == edited.posted.type && all.count == edited.posted.count;
            mFaults += isSent ? "" : "the event of a bracket is not the sum of its edits\n";
            Compare(curve, *copy);
        }
    }
    if (mChoices.Below(4) == 0) {
        std::vector<const Glissa*> all = {copy.get()};
        for (std::size_t i = 0; i < 3; ++i) {
            all.push_back(mCurves[i].curve.get());
            all.push_back(before[i].get());
        }
        mFaults += CheckBooks(all);
    }
    return mFaults.empty() ? "" : std::string(step.name) + ": " + mFaults;
}

void EditScript::Compare(Glissa& pCurve, Glissa& pCopy)
{
    if (!HasSameKeys(pCurve, pCopy)) {
        mFaults += "the keys of the curve and of its copy differ\n";
        return;
    }
    if (!IsSame(pCurve.GetValue(), pCopy.GetValue())) {
        mFaults += "the default values differ\n";
    }
    for (int left = 2; left > 0 && pCurve.KeyGetCount() > 0; --left) {
        Edit edit{pCurve, pCurve, mChoices, mFaults};
        const KTime time = edit.Time();
        int hint = static_cast<int>(mChoices.Between(-3, 400));
        const float value = pCurve.Evaluate(time, &hint);
        const int i = edit.Index();
        if (!IsSame(value, pCopy.Evaluate(time, nullptr)) ||
            pCurve.KeyFind(time, &hint) != pCopy.KeyFind(time, nullptr) ||
            !IsSame(pCurve.KeyGetLeftDerivative(i), pCopy.KeyGetLeftDerivative(i)) ||
            !IsSame(pCurve.KeyGetRightDerivative(i), pCopy.KeyGetRightDerivative(i))) {
            mFaults += "at " + std::to_string(time.Get()) + " or key " + std::to_string(i) +
                       " values or slopes differ\n";
        }
    }
}
