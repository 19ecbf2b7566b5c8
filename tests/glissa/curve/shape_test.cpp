// Copyright (c) 2026 The glissa authors
// SPDX-License-Identifier: MIT

#include "tests/support/curve_test.h"
#include "tests/support/random_curve.h"

#include <algorithm>
#include <bit>
#include <cmath>
#include <functional>
#include <limits>
#include <map>
#include <utility>

namespace
{
class Shape : public CurveTest
{};

/// What a segment evaluates to, by the names of its two keys: the values, each used once.
using Segments = std::map<std::pair<float, float>, std::vector<std::uint32_t>>;

bool FollowsNeighbours(const Glissa& pCurve, int pIndex)
{
    return pCurve.KeyGetInterpolation(pIndex) != eInterpolationCubic ||
           (pCurve.KeyGetTangeantMode(pIndex, false) & eTangentUser) == 0;
}

// A slope of an automatic or TCB key, and the left one of a key that is not cubic, follows from the
// keys on both sides: the names of those are part of what has to be the same.
Segments SegmentsOf(Glissa& pCurve)
{
    Segments segments;
    const int last = pCurve.KeyGetCount() - 1;
    const auto name = [&](int i) { return i < 0 || i > last ? -1.0f : pCurve.KeyGetValue(i); };
    const auto seconds = [&](int i) {
        return i < 0 || i > last ? -1.0f
                                 : static_cast<float>(pCurve.KeyGetTime(i).GetSecondDouble());
    };
    for (int i = 0; i < last; ++i) {
        std::vector<std::uint32_t>& bits = segments[{name(i), name(i + 1)}];
        const auto add = [&bits](float pNumber) {
            bits.push_back(std::bit_cast<std::uint32_t>(pNumber));
        };
        // Slot 1 of a TCB key has no place for the left slope of the key behind it.
        const bool isTcb = pCurve.KeyGetTangeantMode(i, false) == eTangentTCB;
        for (const bool isNext : {false, true}) {
            const int outer = isNext ? i + 2 : i - 1;
            const bool counts = isTcb || FollowsNeighbours(pCurve, isNext ? i + 1 : i);
            add(seconds(isNext ? i + 1 : i));
            add(counts ? name(outer) : 0.0f);
            add(counts ? seconds(outer) : 0.0f);
        }
        for (const double part : {0.125, 0.5, 0.875}) {
            add(pCurve.EvaluateIndex(i + part));
        }
    }
    return segments;
}

CurveHandle RandomKeys(Random& pRandom, int pCount, float pFirstName)
{
    constexpr std::uint32_t kKinds[] = {kRefConstant,         kRefLinear,
                                        kRefCubic | kRefUser, kRefCubic | kRefUser | kRefBreak,
                                        kRefCubic | kRefAuto, kRefCubic | kRefTcb};
    std::vector<UserKey> keys;
    double seconds = 0.0;
    for (int i = 0; i < pCount; ++i) {
        seconds += 1.0 + pRandom.Below(3);
        keys.push_back({seconds, pFirstName + static_cast<float>(i),
                        static_cast<float>(pRandom.Below(9) - 4),
                        static_cast<float>(pRandom.Below(9) - 4), kKinds[pRandom.Below(6)]});
    }
    CurveHandle curve = MakeCurve(keys);
    for (int i = 0; i < pCount; ++i) {
        if (pRandom.Below(4) == 0) {
            curve->KeySetRightTangeantWeight(i, 0.5f);
        }
    }
    return curve;
}

// One edit at random, and the names of the keys that it means to change.
std::vector<float> Edit(Glissa& pCurve, Glissa& pOther, Random& pRandom)
{
    const int count = pCurve.KeyGetCount();
    const int first = pRandom.Below(count);
    const int last = std::min(first + pRandom.Below(3), count - 1);
    const KTime time = Seconds(pRandom.Below(60) / 2.0);
    std::vector<float> changed;
    const auto note = [&](int i) { changed.push_back(pCurve.KeyGetValue(i)); };
    switch (pRandom.Below(8)) {
    case 0:
        pCurve.KeyRemove(first);
        break;
    case 1:
        pCurve.Delete(first, last);
        break;
    case 2:
        note(first);
        pCurve.KeyMove(first, time);
        break;
    case 3:
        for (int i = first; i <= last; ++i) {
            note(i);
        }
        pCurve.KeyMoveOf(time - Seconds(15.0), first, last);
        break;
    case 4:
        note(first);
        pCurve.KeySetSelected(first, true);
        pCurve.KeyMoveOf(true, time - Seconds(15.0), 0.0f);
        break;
    case 5: {
        const int place = static_cast<int>(pCurve.KeyFind(time, nullptr));
        note(std::clamp(place, 0, count - 1));
        pCurve.CandidateSet(time, 1000.0);
        pCurve.CandidateKey(nullptr, eInterpolationCubic, eTangentUserBreak, eContinuityDefault,
                            true);
        break;
    }
    case 6:
        pCurve.Replace(&pOther, pOther.KeyGetTime(0), pOther.KeyGetTime(1), true, false, time);
        break;
    default:
        pCurve.Insert(&pOther, time, {});
        break;
    }
    return changed;
}

TEST_F(Shape, AnEditLeavesOtherSegmentsAlone)
{
    int compared = 0;
    for (std::uint64_t seed = 0; seed < 4000; ++seed) {
        SCOPED_TRACE(seed);
        Random random(seed);
        const CurveHandle curve = RandomKeys(random, 3 + random.Below(6), 1.0f);
        const CurveHandle other = RandomKeys(random, 2 + random.Below(3), 100.0f);
        const Segments before = SegmentsOf(*curve);
        const std::vector<float> changed = Edit(*curve, *other, random);
        for (int i = 1; i < curve->KeyGetCount(); ++i) {
            ASSERT_LT(curve->KeyGetTime(i - 1), curve->KeyGetTime(i));
        }
        for (const auto& [names, bits] : SegmentsOf(*curve)) {
            const auto old = before.find(names);
            if (old == before.end() ||
                std::count(changed.begin(), changed.end(), names.first) +
                        std::count(changed.begin(), changed.end(), names.second) >
                    0 ||
                !std::equal(bits.begin(), bits.begin() + 6, old->second.begin())) {
                continue;
            }
            ++compared;
            EXPECT_EQ(old->second, bits) << KeysOf(*curve) << "from " << names.first;
        }
    }
    EXPECT_GT(compared, 5000);
}

TEST_F(Shape, AnEditPastTheRangeOfTimesIsRefusedWhole)
{
    const KTime none(std::numeric_limits<std::int64_t>::min());
    const CurveHandle source = MakeCurve({{0.0, 8.0f}, {1.0, 9.0f}});
    const KTime late = KTime::Infinite() - Seconds(0.5);
    const KTime far = KTime::Infinite() - Seconds(2.5);
    const KTime back = none + Seconds(0.5);
    const std::vector<std::function<int(Glissa&)>> edits = {
        [&](Glissa& c) { return c.KeyMoveOf(0, far, 1.0f); },
        [&](Glissa& c) { return c.KeyMoveOf(1, far, 1.0f); },
        [&](Glissa& c) { return c.KeyMoveOf(false, far, 1.0f); },
        [&](Glissa& c) { return c.KeyMoveOf(false, back, 1.0f); },
        [&](Glissa& c) { return c.KeyMoveOf(true, far, 1.0f); },
        [&](Glissa& c) { return c.KeyMoveOf(far, 1, 2); },
        [&](Glissa& c) { return c.KeyMoveOf(back, 0, 1); },
        [&](Glissa& c) { return c.KeyAdd(none) + 1; },
        [&](Glissa& c) { return c.KeyAdd(none, c.KeyGet(1)) + 1; },
        [&](Glissa& c) { return c.KeyAdd(none, source.get(), 0) + 1; },
        [&](Glissa& c) { return c.KeyAppend(none, source.get(), 0) + 1; },
        [&](Glissa& c) { return c.KeyAppendFast(none, 1.0f) + 1; },
        [&](Glissa& c) { return c.KeyInsert(none) + 1; },
        [&](Glissa& c) {
            return c.KeySet(0, GlissaKey({none, nullptr, 1.0f}, {}));
        },
        [&](Glissa& c) { return c.KeyMove(1, none) - 1; },
        [&](Glissa& c) { return c.CandidateKey(nullptr, 8, 0x400, 0, true, none); },
        [&](Glissa& c) { return c.Insert(source.get(), late, {}), 0; },
        [&](Glissa& c) { return c.Insert(source.get(), none, {}), 0; },
        [&](Glissa& c) { return c.Replace(source.get(), kFromStart, kToEnd, true, true, late), 0; },
    };
    for (std::size_t i = 0; i < edits.size(); ++i) {
        SCOPED_TRACE(i);
        const CurveHandle curve = MakeCurve({{-1.0, 1.0f}, {2.0, 2.0f}, {3.0, 3.0f}});
        curve->KeySelectAll();
        const EventRecorder events(*curve);
        EXPECT_EQ(0, edits[i](*curve));
        EXPECT_EQ("-1:1 2:2 3:3 ", KeysOf(*curve));
        EXPECT_TRUE(events.Heard().empty());
    }
    // The last place for a key at each end is taken.
    const CurveHandle curve = MakeCurve({{1.0, 1.0f}, {2.0, 2.0f}});
    EXPECT_TRUE(curve->KeyMoveOf(KTime::Infinite() - Seconds(2.0), 0, 1));
    EXPECT_EQ(KTime::Infinite(), curve->KeyGetTime(1));
    curve->Insert(source.get(), KTime::MinusInfinite(), {});
    EXPECT_EQ(KTime::MinusInfinite() + Seconds(1.0), curve->KeyGetTime(1));
}

// An automatic segment before a last key that is not cubic, with tangent bits left in that key.
TEST_F(Shape, AKeyBehindTheLastOneLeavesAStoredParameterItsSlope)
{
    for (const std::uint32_t bits : {0u, kRefAuto, kRefTcb, kRefUser, kRefUser | kRefBreak}) {
        for (const float parameter : {0.0f, 60.0f}) {
            const CurveHandle curve = MakeCurve({{0.0, 0.0f, 0.0f, 0.0f, kRefCubic | kRefAuto},
                                                 {1.0, 2.0f, 0.0f, parameter, kRefCubic | kRefAuto},
                                                 {2.0, 9.0f, 0.0f, 0.0f, kRefLinear | bits}});
            const float slope = curve->KeyGetLeftDerivative(2);
            curve->CandidateSet(Seconds(3.0), 0.0);
            curve->CandidateKey(nullptr, eInterpolationCubic, eTangentUser, 0, true);
            const bool isKept = std::fabs(curve->KeyGetLeftDerivative(2) - slope) < 1e-4f;
            EXPECT_EQ(parameter != 0.0f, isKept) << std::hex << bits;
        }
    }
}
}  // namespace
