// Copyright (c) 2026 The glissa authors
// SPDX-License-Identifier: MIT

// The kinds of steps that an edit script is made of.

#include "tests/support/edit_script.h"

#include <cmath>

namespace
{
constexpr std::int64_t kSecond = KTime::kTicksPerSecond;

using Script = EditScript;
using Data = EGlissaDataIndex;

GlissaKey ToKey(const NaiveKey& pKey)
{
    KPriFCurveKeyAttr attributes{};
    attributes.mFlags = pKey.flags;
    for (int i = 0; i < 4; ++i) {
        attributes.mData[i] = pKey.Slot(i);
    }
    const KPriFCurveKey record{KTime(pKey.time), &attributes, pKey.value};
    return GlissaKey(record, attributes);
}

GlissaTangeantInfo ToInfo(const NaiveSide& pSide)
{
    return {pSide.slope,     pSide.weight,     pSide.velocity,
            pSide.parameter, pSide.isWeighted, pSide.hasVelocity};
}

// A setter that takes an index and a number, in both curves.
template <auto Library, auto Ours, auto Number>
void OfKey(Script& s)
{
    const int i = s.Index();
    const float number = (s.*Number)();
    (s.Curve().*Library)(i, number);
    (s.Naive().*Ours)(i, number);
}

// A switch of one side.
template <auto Library, bool Left, bool OfVelocity>
void OfMode(Script& s)
{
    const int i = s.Index();
    const bool on = s.Choose().Flip();
    (s.Curve().*Library)(i, on);
    s.Naive().SetMode(i, Left, OfVelocity, on);
}

// A write of some bits of the flag word; pMask 0 stands for the bits that the key chooses.
template <auto Library, std::uint32_t Mask, int Event>
void OfFlags(Script& s)
{
    const int i = s.Index();
    const std::uint32_t bits = s.Key().flags;
    (s.Curve().*Library)(i, bits & Mask);
    s.Naive().SetFlags(i, Mask, bits, Event);
}

const EditKind kSteps[] = {
    {"KeyAdd",
     [](Script& s) {
         const NaiveKey key = s.Key();
         const std::int64_t time = s.Time();
         int hint = static_cast<int>(s.Choose().Between(-5, 400));
         const int index = s.Curve().KeyAdd(KTime(time), ToKey(key), &hint);
         s.Same(index, s.Naive().Add(time, key));
         s.Same(hint, index);
     },
     false},
    {"KeyAdd on the curve",
     [](Script& s) {
         const std::int64_t time = s.Time();
         s.Same(s.Curve().KeyAdd(KTime(time)), s.Naive().AddHere(time));
     },
     false},
    {"KeyAdd from a source",
     [](Script& s) {
         Script::Pair& source = s.Other();
         if (source.naive.Count() > 0) {
             const int from = s.Choose().Below(source.naive.Count());
             const std::int64_t time = s.Time();
             const NaiveKey key = source.naive.Key(from);
             s.Same(s.Curve().KeyAdd(KTime(time), source.curve.get(), from),
                    s.Naive().AddShared(time, key));
         }
     },
     false, true},
    {"KeyAppend",
     [](Script& s) {
         Script::Pair& source = s.Other();
         if (source.naive.Count() > 0) {
             const int from = s.Choose().Below(source.naive.Count());
             const std::int64_t time = s.TimeOf(s.Naive().Count());
             const NaiveKey key = source.naive.Key(from);
             s.Same(s.Curve().KeyAppend(KTime(time), source.curve.get(), from),
                    s.Naive().Append(time, key));
         }
     },
     false},
    {"KeyAppendFast",
     [](Script& s) {
         for (int left = 1 + s.Choose().Below(s.Choose().Below(8) == 0 ? 100 : 4); left > 0;
              --left) {
             const std::int64_t time = s.TimeOf(s.Naive().Count());
             const float value = s.Value();
             s.Same(s.Curve().KeyAppendFast(KTime(time), value), s.Naive().AppendFast(time, value));
         }
     },
     false, true},
    {"KeySet",
     [](Script& s) {
         const int i = s.Choose().Below(s.Naive().Count() + 1);
         NaiveKey key = s.Key();
         if (s.Choose().Flip() && i < s.Naive().Count()) {
             key = s.Naive().Key(i);
             key.value = s.Value();
         }
         key.time = s.Choose().Below(4) == 0 ? s.Time() : s.TimeOf(i);
         s.Same(s.Curve().KeySet(i, ToKey(key)), s.Naive().Set(i, key));
     },
     false},
    {"KeySet from a source",
     [](Script& s) {
         Script::Pair& source = s.Other();
         if (source.naive.Count() > 0) {
             const int from = s.Choose().Below(source.naive.Count());
             const int i = s.Choose().Below(s.Naive().Count() + 1);
             const NaiveKey key = source.naive.Key(from);
             s.Same(s.Curve().KeySet(i, source.curve.get(), from), s.Naive().SetShared(i, key));
         }
     },
     false},
    {"KeySet without a test",
     [](Script& s) {
         const int i = s.Choose().Below(s.Naive().Count() + 1);
         NaiveKey key = s.Key();
         key.time = s.TimeOf(i);
         const float numbers[4] = {s.Weight(), s.Weight(), s.Velocity(), s.Velocity()};
         for (int field = 0; field < 4; ++field) {
             key.SetData(2 + field, numbers[field]);
         }
         s.Curve().KeySet(i, KTime(key.time), key.value, key.flags & 0xF, key.flags & 0xFFFF,
                          key.slots[0], key.slots[1], key.flags, numbers[0], numbers[1], numbers[2],
                          numbers[3]);
         key.flags &= 0x3007F0F;
         if (key.Is(kRefCustom) && s.Naive().customTypes == 0) {
             key.flags &= ~0xFu;
         }
         s.Naive().SetRaw(i, key);
     },
     false},
    {"KeySetTCB",
     [](Script& s) {
         const int i = s.Choose().Below(s.Naive().Count() + 1);
         NaiveKey key;
         key.time = s.TimeOf(i);
         key.value = s.Value();
         key.flags = 0x208;
         for (int slot = 0; slot < 3; ++slot) {
             key.SetSlot(slot, s.Weight());
         }
         key.slot3 = 0;
         s.Curve().KeySetTCB(i, KTime(key.time), key.value, key.slots[0], key.slots[1],
                             key.Slot(2));
         s.Naive().SetRaw(i, key);
     },
     false},
    {"KeyRemove",
     [](Script& s) {
         const int i = s.IndexOrBeyond();
         s.Same(s.Curve().KeyRemove(i), s.Naive().Remove(i));
     },
     false},
    {"Delete",
     [](Script& s) {
         const int first = s.IndexOrBeyond();
         const int last = s.Choose().Flip() ? first + s.Choose().Below(5) - 1 : s.IndexOrBeyond();
         s.Same(s.Curve().Delete(first, last), s.Naive().Delete(first, last));
     },
     false},
    {"Delete between times",
     [](Script& s) {
         const std::int64_t from = s.Time();
         const std::int64_t to = s.Choose().Flip() ? s.Time() : from + kSecond;
         const bool inclusive = s.Choose().Flip();
         s.Same(s.Curve().Delete(KTime(from), KTime(to), inclusive),
                s.Naive().DeleteTimes(from, to, inclusive));
     },
     false},
    {"KeyClear",
     [](Script& s) {
         if (s.Choose().Below(8) == 0) {
             s.Curve().KeyClear();
             s.Naive().Clear();
         }
     },
     false},
    {"InitBuffers",
     [](Script& s) {
         const bool clear = s.Choose().Below(16) == 0;
         s.Curve().InitBuffers(s.Choose().Below(200), clear);
         if (clear) {
             s.Curve().KeyShrink();  // room that was cleared keeps old times
             s.Naive().Empty();
         }
     },
     false, true},
    {"KeyShrink", [](Script& s) { s.Curve().KeyShrink(); }, false},
    {"KeyAttrShrink",
     [](Script& s) { s.Curve().KeyAttrShrink(s.IndexOrBeyond(), s.IndexOrBeyond()); }, false},
    {"KeyAttrSeparate", [](Script& s) { s.Curve().KeyAttrSeparate(s.Index()); }, true},
    {"KeyModifyBegin",
     [](Script& s) {
         if (s.Naive().Nesting() < 3) {
             s.Curve().KeyModifyBegin();
             s.Naive().Begin();
         }
     },
     false},
    {"KeyModifyEnd",
     [](Script& s) {
         if (s.Naive().Nesting() > 0) {
             s.Curve().KeyModifyEnd();
             s.Naive().End();
         }
     },
     false},
    {"optimisation",
     [](Script& s) {
         s.Curve().KeySetOptimizeEnable(s.Choose().Flip());
         s.Curve().KeySetOptimizeThreshold(s.Choose().Below(40));
     },
     false},
    {"CandidateKey",
     [](Script& s) {
         constexpr std::uint32_t kKinds[] = {0x2, 0x102, 0x4, 0x108, 0x208, 0x408, 0x908, 0xC08};
         NaiveKey key;
         key.time = s.Time();
         key.value = s.Value();
         key.flags = kKinds[s.Choose().Below(8)];
         if (key.IsCubic(0x200)) {
             key.slot2 = key.slot3 = 0;
         } else {
             key.SetWeights(3333, 3333);
         }
         const bool override = s.Choose().Below(4) != 0;
         const KTime time(key.time);
         const float slope = s.Curve().EvaluateLeftDerivative(time, nullptr);
         int last = static_cast<int>(s.Choose().Between(-5, 400));
         s.Curve().CandidateSet(time, key.value);
         s.Same(s.Curve().CandidateKey(&last, static_cast<int>(key.flags & 0xF),
                                       static_cast<int>(key.flags & 0xF00), eContinuityDefault,
                                       override),
                true);
         s.Same(last, s.Naive().KeyCandidate(key, slope, override));
     },
     false},
    {"KeyMove",
     [](Script& s) {
         const int i = s.Index();
         const std::int64_t time = s.Time();
         s.Same(s.Curve().KeyMove(i, KTime(time)), s.Naive().Move(i, time));
     },
     true},
    {"KeyMoveOf behind",
     [](Script& s) {
         const int i = s.Index();
         const std::int64_t delta = s.Delta();
         const float value = s.Choose().Flip() ? s.Value() : 0.0f;
         s.Same(s.Curve().KeyMoveOf(i, KTime(delta), value), s.Naive().MoveBehind(i, delta, value));
     },
     true},
    {"KeyMoveOf selected",
     [](Script& s) {
         const bool selected = s.Choose().Below(4) != 0;
         const std::int64_t delta = s.Delta();
         const float value = s.Value();
         s.Curve().KeyMoveOf(selected, KTime(delta), value);
         s.Naive().MoveAll(selected, delta, value);
     },
     false},
    {"KeyMoveOf range",
     [](Script& s) {
         const int first = s.IndexOrBeyond();
         const int last = first + s.Choose().Below(6) - 1;
         const std::int64_t delta = s.Delta();
         s.Same(s.Curve().KeyMoveOf(KTime(delta), first, last),
                s.Naive().MoveRange(delta, first, last));
     },
     false},
    {"KeyMoveOf times",
     [](Script& s) {
         const std::int64_t from = s.Time();
         const std::int64_t to = s.Time();
         const std::int64_t delta = s.Delta();
         const bool inclusive = s.Choose().Flip();
         s.Same(s.Curve().KeyMoveOf(KTime(from), KTime(to), KTime(delta), inclusive),
                s.Naive().MoveTimes(from, to, delta, inclusive));
     },
     false},
    {"KeyMoveValueTo",
     [](Script& s) {
         const bool selected = s.Choose().Flip();
         const float value = s.Value();
         s.Curve().KeyMoveValueTo(selected, value);
         s.Naive().MoveValues(selected, value);
     },
     false},
    {"scaling",
     [](Script& s) {
         const bool selected = s.Choose().Flip();
         const float factor = s.Weight() * 2.0f;
         const int what = s.Choose().Below(3);
         what == 0   ? s.Curve().KeyScaleValue(selected, factor)
         : what == 1 ? s.Curve().KeyScaleTangeant(selected, factor)
                     : s.Curve().KeyScaleValueAndTangeant(selected, factor);
         s.Naive().Scale(selected, factor, what != 1, what != 0);
     },
     false},
    {"KeyMultTangeant", OfKey<&Glissa::KeyMultTangeant, &NaiveCurve::MultTangent, &Script::Weight>,
     true},
    {"KeyMultDerivative",
     OfKey<&Glissa::KeyMultDerivative, &NaiveCurve::MultSlope, &Script::Weight>, true},
    {"KeyIncDerivative",
     [](Script& s) {
         const int i = s.Index();
         const float slope = s.Slope();
         const bool left = s.Choose().Flip();
         left ? s.Curve().KeyIncLeftDerivative(i, slope)
              : s.Curve().KeyIncRightDerivative(i, slope);
         s.Naive().IncSlope(i, slope, left);
     },
     true},
    {"KeySetValue", OfKey<&Glissa::KeySetValue, &NaiveCurve::SetValue, &Script::Value>, true},
    {"KeyIncValue and KeyMultValue",
     [](Script& s) {
         const int i = s.Index();
         const float value = s.Value();
         s.Curve().KeyIncValue(i, value);
         s.Curve().KeyMultValue(i, 0.5f);
         s.Naive().SetValue(i, s.Naive().Key(i).value + value);
         s.Naive().SetValue(i, s.Naive().Key(i).value * 0.5f);
     },
     true},
    {"KeySetTime and KeyIncTime",
     [](Script& s) {
         const int i = s.Index();
         const std::int64_t time = s.TimeOf(i);
         s.Choose().Flip() ? s.Curve().KeySetTime(i, KTime(time))
                           : s.Curve().KeyIncTime(i, KTime(time - s.Naive().Key(i).time));
         s.Naive().SetTime(i, time);
     },
     true},
    {"KeyTangeantSetInterpolation",
     [](Script& s) {
         const bool selected = s.Choose().Below(4) != 0;
         const std::uint32_t interpolation = 1u << s.Choose().Below(4);
         s.Curve().KeyTangeantSetInterpolation(selected, interpolation);
         s.Naive().ChangeKinds(selected, interpolation, 0xF);
     },
     false},
    {"KeyTangeantSetMode",
     [](Script& s) {
         const bool selected = s.Choose().Below(4) != 0;
         const std::uint32_t mode = s.TangentMode();
         s.Curve().KeyTangeantSetMode(selected, mode);
         s.Naive().ChangeKinds(selected, mode, 0x7F00);
     },
     false},
    {"selection of all",
     [](Script& s) {
         const int what = s.Choose().Below(3);
         what == 0   ? s.Curve().KeyTangeantHide()
         : what == 1 ? s.Curve().KeySelectAll()
                     : s.Curve().KeyUnselectAll();
         s.Naive().ChangeFlagsOfAll(what == 0 ? 0x300000 : 0x70000, what == 1 ? 0x10000 : 0);
     },
     false},
    {"KeySetInterpolation",
     [](Script& s) {
         const int i = s.Index();
         const std::uint32_t interpolation = 1u << s.Choose().Below(4);
         s.Curve().KeySetInterpolation(i, interpolation);
         s.Naive().SetInterpolation(i, interpolation);
     },
     true},
    {"KeySetConstantMode", OfFlags<&Glissa::KeySetConstantMode, 0x100, 0x88010>, true},
    {"KeySetTangeantMode", OfFlags<&Glissa::KeySetTangeantMode, 0x7F00, 0x28010>, true},
    {"KeySetBreak", OfFlags<&Glissa::KeySetBreak, 0x800, 0x48010>, true},
    {"KeySetTangeantVisibility", OfFlags<&Glissa::KeySetTangeantVisibility, 0x300000, 0x100>, true},
    {"KeySetMarkedForManipulation", OfFlags<&Glissa::KeySetMarkedForManipulation, 0x80000, 0>,
     true},
    {"KeySetSelected",
     [](Script& s) {
         const int i = s.Index();
         const bool on = s.Choose().Flip();
         s.Curve().KeySetSelected(i, on);
         if (((s.Naive().Key(i).flags & 0x10000) != 0) != on) {
             s.Naive().SetFlags(i, 0x70000, on ? 0x10000 : 0, 0x100);
         }
     },
     true},
    {"KeySetCustomIndex",
     [](Script& s) {
         const int i = s.Index();
         const std::uint32_t index = 0x100u << s.Choose().Below(3);
         s.Curve().KeySetCustomIndex(i, index);
         s.Naive().SetCustomIndex(i, index);
     },
     true},
    {"KeySetTangeantWeightMode",
     [](Script& s) {
         const int i = s.Index();
         const std::uint32_t bits = s.Key().flags;
         const std::uint32_t mask = s.Key().flags;
         const bool weight = s.Choose().Flip();
         weight ? s.Curve().KeySetTangeantWeightMode(i, bits, mask)
                : s.Curve().KeySetTangeantVelocityMode(i, bits, mask);
         s.Naive().SetFlags(i, mask & (weight ? 0x3000000 : 0x30000000), bits,
                            weight ? 0x408010 : 0x208010);
     },
     true},
    {"KeySetDataDouble",
     [](Script& s) {
         const int i = s.Index();
         const int data = s.Choose().Below(6);
         const float number = data < 2 ? s.Slope() : data < 4 ? s.Weight() : s.Velocity();
         s.Curve().KeySetDataDouble(i, static_cast<Data>(data), number);
         s.Naive().SetData(i, data, number);
     },
     true},
    {"KeySetDataFloat",
     [](Script& s) {
         const int i = s.Index();
         const int slot = s.Choose().Below(4);
         const float number = slot == 3 ? 0.0f : std::fabs(s.Slope());
         s.Curve().KeySetDataFloat(i, static_cast<Data>(slot), number);
         s.Naive().SetDataFloat(i, slot, number);
     },
     true},
    {"KeySetLeftDerivative",
     OfKey<&Glissa::KeySetLeftDerivative, &NaiveCurve::SetLeftSlope, &Script::Slope>, true},
    {"KeySetRightDerivative",
     OfKey<&Glissa::KeySetRightDerivative, &NaiveCurve::SetRightSlope, &Script::Slope>, true},
    {"KeySetLeftAuto", OfKey<&Glissa::KeySetLeftAuto, &NaiveCurve::SetLeftAuto, &Script::Auto>,
     true},
    {"KeySetRightAuto", OfKey<&Glissa::KeySetRightAuto, &NaiveCurve::SetRightAuto, &Script::Auto>,
     true},
    {"KeySetLeftBezierTangeant",
     OfKey<&Glissa::KeySetLeftBezierTangeant, &NaiveCurve::SetLeftHandle, &Script::Value>, true},
    {"KeySetRightBezierTangeant",
     OfKey<&Glissa::KeySetRightBezierTangeant, &NaiveCurve::SetRightHandle, &Script::Value>, true},
    {"KeySetLeftTangeantWeight",
     OfKey<&Glissa::KeySetLeftTangeantWeight, &NaiveCurve::SetLeftWeight, &Script::Weight>, true},
    {"KeySetRightTangeantWeight",
     OfKey<&Glissa::KeySetRightTangeantWeight, &NaiveCurve::SetRightWeight, &Script::Weight>, true},
    {"KeySetLeftTangeantVelocity",
     OfKey<&Glissa::KeySetLeftTangeantVelocity, &NaiveCurve::SetLeftVelocity, &Script::Velocity>,
     true},
    {"KeySetRightTangeantVelocity",
     OfKey<&Glissa::KeySetRightTangeantVelocity, &NaiveCurve::SetRightVelocity, &Script::Velocity>,
     true},
    {"KeySetLeftTangeantWeightedMode", OfMode<&Glissa::KeySetLeftTangeantWeightedMode, true, false>,
     true},
    {"KeySetRightTangeantWeightedMode",
     OfMode<&Glissa::KeySetRightTangeantWeightedMode, false, false>, true},
    {"KeySetLeftTangeantVelocityMode", OfMode<&Glissa::KeySetLeftTangeantVelocityMode, true, true>,
     true},
    {"KeySetRightTangeantVelocityMode",
     OfMode<&Glissa::KeySetRightTangeantVelocityMode, false, true>, true},
    {"KeySetLeftDerivativeInfo",
     [](Script& s) {
         const int i = s.Index();
         const NaiveSide side = s.Side();
         const bool force = s.Choose().Flip();
         s.Curve().KeySetLeftDerivativeInfo(i, ToInfo(side), force);
         s.Naive().SetLeftSide(i, side, force);
     },
     true},
    {"KeySetRightDerivativeInfo",
     [](Script& s) {
         const int i = s.Index();
         const NaiveSide side = s.Side();
         const bool force = s.Choose().Flip();
         s.Curve().KeySetRightDerivativeInfo(i, ToInfo(side), force);
         s.Naive().SetRightSide(i, side, force);
     },
     true},
    {"SetValue",
     [](Script& s) {
         const float value = s.Value();
         s.Curve().SetValue(value);
         s.Naive().SetDefault(value);
     },
     false},
};
}  // namespace

std::span<const EditKind> EditKinds()
{
    return kSteps;
}
