// Copyright (c) 2026 The glissa authors
// SPDX-License-Identifier: MIT

// Random drags of random curves: what an edit makes depends on its total alone, and a total of zero
// gives the curve of the start back, bit for bit. The keys ascend, each curve sends one event, and
// a drag that goes on uses no further memory.

#include "glissa/manip/manipulator.h"
#include "tests/support/curve_test.h"
#include "tests/support/fail_each.h"
#include "tests/support/node_stubs.h"
#include "tests/support/random_curve.h"

#include <cmath>
#include <limits>
#include <map>
#include <memory>

namespace
{
constexpr double kInfinity = std::numeric_limits<double>::infinity();

bool HasSameKeys(const Glissa& pLeft, const Glissa& pRight)
{
    bool isSame = pLeft.KeyGetCount() == pRight.KeyGetCount();
    for (int k = 0; isSame && k < pLeft.KeyGetCount(); ++k) {
        isSame = HasSameKey(pLeft, k, pRight, k);
    }
    return isSame;
}

// Curves of all kinds of keys, one of them faster than the timeline, with random marks.
struct Host
{
    StubETI mETI;
    NodePtr mNode = MakeWide(5);
    GlissaManipulator mManipulator;
    std::vector<CurveHandle> mStart;

    explicit Host(Random& pRandom)
    {
        mETI.mScale = 0.5;
        mETI.mOffset = Seconds(3.0);
        for (int i = 0; i < 5; ++i) {
            Curve(i).CopyFrom(*ToGlissa(i == 0 ? MuseumRecording(60) : RandomMixedCurve(pRandom)),
                              true);
            for (int k = 0; k < Curve(i).KeyGetCount(); ++k) {
                // The values of the last curve follow those of the others.
                const bool isMarked = i < 4 && pRandom.Below(3) == 0;
                Curve(i).KeySetSelected(k, isMarked || pRandom.Below(4) == 0);
                Curve(i).KeySetMarkedForManipulation(k, isMarked);
            }
        }
        mNode->Get(1)->SetETI(&mETI);
        mManipulator.Add(mNode.get());
        mManipulator.MarkAllCurveNodeForManip(true);
        mManipulator.FrameManipulation();
        for (int i = 0; i < 5; ++i) {
            mStart.emplace_back(Curve(i).Copy());
        }
    }
    ~Host() { mNode->Get(1)->SetETI(nullptr); }
    Glissa& Curve(int pIndex) { return *mNode->Get(pIndex)->FCurveGet(); }
    std::vector<CurveHandle> Copies()
    {
        std::vector<CurveHandle> copies;
        for (int i = 0; i < 5; ++i) {
            copies.emplace_back(Curve(i).Copy());
        }
        return copies;
    }
    void ExpectKeys(const std::vector<CurveHandle>& pCurves)
    {
        for (int i = 0; i < 5; ++i) {
            ASSERT_TRUE(HasSameKeys(*pCurves[static_cast<std::size_t>(i)], Curve(i)))
                << "curve " << i;
        }
    }
    void ExpectAscending()
    {
        for (int i = 0; i < 5; ++i) {
            for (int k = 1; k < Curve(i).KeyGetCount(); ++k) {
                ASSERT_LT(Curve(i).KeyGetTime(k - 1), Curve(i).KeyGetTime(k)) << "curve " << i;
            }
        }
    }
};

// Edits by a total in time and one in value.
using Edit = void (*)(GlissaManipulator& pTo, KTime pX, double pY, double pFallOff);
constexpr Edit kEdits[] = {
    [](GlissaManipulator& pTo, KTime pX, double, double) { pTo.OffsetX(pX); },
    [](GlissaManipulator& pTo, KTime pX, double pY, double pFallOff) {
        pTo.Offset(pX, pY, pFallOff);
    },
    [](GlissaManipulator& pTo, KTime, double pY, double pFallOff) { pTo.OffsetY(pY, pFallOff); },
    [](GlissaManipulator& pTo, KTime pX, double, double) {
        pTo.StretchX(Seconds(-1), Seconds(2), pX, false);
    },
    [](GlissaManipulator& pTo, KTime, double pY, double pFallOff) {
        pTo.StretchY(0.5, 3.0, pY, true, pFallOff);
    },
    [](GlissaManipulator& pTo, KTime pX, double pY, double pFallOff) {
        pTo.StretchXY(Seconds(-1), 0.5, Seconds(2), 3.0, pX, pY, false, pFallOff);
    },
};
constexpr int kStretchBoth = 5;

void Drag(GlissaManipulator& pTo, int pKind, int pSteps, double pFallOff)
{
    kEdits[pKind](pTo, Seconds(0.37 * pSteps), 1.7 * pSteps, pFallOff);
}
}  // namespace

// StretchXY makes its result the base of other edits and is dragged by itself. In the modes 3 and 6
// an offset in time leaves the curve as the edit before left it, and is left out.
TEST(ManipulatorDrag, DependsOnItsTotalAlone)
{
    for (std::uint64_t seed = 0; seed < 150; ++seed) {
        SCOPED_TRACE(seed);
        Random random(seed);
        Host host(random);
        GlissaManipulator& manipulator = host.mManipulator;
        const int mode = 1 + random.Below(6);
        manipulator.SetRippleMoveX(random.Below(2) == 0);
        manipulator.SetRippleMoveY(random.Below(2) == 0);
        manipulator.SetRippleStretchX(random.Below(2) == 0);
        manipulator.SetRippleStretchY(random.Below(2) == 0);
        manipulator.SetRippleAllY(random.Below(2) == 0);
        const double fallOff = random.Below(3) * 4.0;
        manipulator.BeginManipulation(static_cast<eFCurveManipulationMode>(mode),
                                      random.Below(2) == 0, random.Below(3) * 0.5);
        const bool isBoth = mode % 3 == 0 || random.Below(4) == 0;
        std::map<std::pair<int, int>, std::vector<CurveHandle>> results;
        for (int call = 0; call < 50; ++call) {
            const int steps = random.Below(4) == 0 ? 0 : random.Below(9) - 4;
            const int kind = isBoth ? kStretchBoth : random.Below(kStretchBoth);
            SCOPED_TRACE(testing::Message() << "call " << call << " kind " << kind << " steps "
                                            << steps << " mode " << mode);
            std::vector<std::unique_ptr<EventRecorder>> events;
            for (int i = 0; i < 5; ++i) {
                events.push_back(std::make_unique<EventRecorder>(host.Curve(i)));
            }
            Drag(manipulator, kind, steps, fallOff);
            for (const auto& each : events) {
                ASSERT_EQ(1u, each->Heard().size());
            }
            ASSERT_NO_FATAL_FAILURE(host.ExpectAscending());
            auto& result = results[{kind, steps}];
            if (result.empty()) {
                result = host.Copies();
            }
            ASSERT_NO_FATAL_FAILURE(host.ExpectKeys(result));
            if (steps == 0) {
                ASSERT_NO_FATAL_FAILURE(host.ExpectKeys(host.mStart));
            }
        }
        manipulator.EndManipulation();
    }
    EXPECT_EQ("", CheckBooks({}));
}

TEST(ManipulatorDrag, NeedsNoFurtherMemory)
{
    for (int kind = 0; kind <= kStretchBoth; ++kind) {
        SCOPED_TRACE(kind);
        Random random(7);
        Host host(random);
        host.mManipulator.BeginManipulation(eManipRippleRightEdge, true, 0.0);
        std::size_t before = 0;
        for (int call = 0; call < 60; ++call) {
            before = call == 10 ? AllocationCount() : before;
            Drag(host.mManipulator, kind, call % 5, 3.0);
        }
        EXPECT_EQ(before, AllocationCount());
    }
}

// Each allocation of an edit in turn fails: a curve is then that of before or that of after.
TEST(ManipulatorDrag, LeavesAWholeCurveWithoutMemory)
{
    for (const int kind : {1, 3, kStretchBoth}) {
        SCOPED_TRACE(kind);
        std::unique_ptr<Host> host;
        const auto begin = [&] {
            Random random(3);
            host = std::make_unique<Host>(random);
            host->mManipulator.BeginManipulation(eManipRightEdge, true, 0.0);
        };
        const auto edit = [&] { Drag(host->mManipulator, kind, 2, 0.0); };
        begin();
        edit();
        const std::vector<CurveHandle> after = host->Copies();
        const int thrown = FailEach(begin, edit, [&](bool pHasThrown) {
            for (std::size_t i = 0; i < 5; ++i) {
                const Glissa& curve = host->Curve(static_cast<int>(i));
                EXPECT_TRUE(HasSameKeys(curve, *after[i]) ||
                            (pHasThrown && HasSameKeys(curve, *host->mStart[i])));
            }
        });
        EXPECT_GT(thrown, 0);
    }
    EXPECT_EQ("", CheckBooks({}));
}

TEST(ManipulatorDrag, TakesAnyArgument)
{
    const KTime times[] = {KTime::Infinite(), KTime::MinusInfinite(),
                           KTime(std::numeric_limits<std::int64_t>::min()), KTime(1), Seconds(1e9)};
    const double values[] = {kInfinity, -kInfinity, std::nan(""), 1e308, -1e-308};
    for (int mode = 0; mode <= 7; ++mode) {
        Random random(11);
        Host host(random);
        GlissaManipulator& manipulator = host.mManipulator;
        manipulator.BeginManipulation(static_cast<eFCurveManipulationMode>(mode), mode % 2 == 0,
                                      mode == 1 ? std::nan("") : 0.0);
        for (int i = 0; i < 125; ++i) {
            const KTime x = times[i % 5];
            const KTime y = times[i / 5 % 5];
            const double v = values[i % 5];
            const double w = values[i / 5 % 5];
            manipulator.Offset(x, v, w);
            manipulator.Offset(x, y, w);
            manipulator.StretchX(x, y, times[i / 25], mode % 2 == 0);
            host.ExpectAscending();
            manipulator.StretchY(v, w, values[i / 25], true, w);
            manipulator.StretchY(x, y, times[i / 25]);
            manipulator.StretchXY(x, v, y, w, times[i / 25], values[i / 25], mode % 2 == 0, v);
            manipulator.SetY(v);
            host.ExpectAscending();
        }
        manipulator.StretchXY(KTime(), 0, Seconds(1), 1, KTime(), 0, false, 0);
        if (mode >= 1 && mode <= 6) {
            ASSERT_NO_FATAL_FAILURE(host.ExpectKeys(host.mStart));
        }
    }
}

// What happens to nodes, curves and the manipulator while it is in use.
TEST(ManipulatorDrag, SurvivesItsHost)
{
    Random random(5);
    auto host = std::make_unique<Host>(random);
    auto manipulator = std::make_unique<GlissaManipulator>(host->mManipulator);
    manipulator->BeginManipulation(eManipLeftEdge, false, 0.0);
    GlissaManipulator copy(*manipulator);
    copy.OffsetX(Seconds(1));  // has no open manipulation
    host->ExpectKeys(host->mStart);

    // A node stays while it is locked; a node and a curve that end leave the others.
    StubLayer layer;
    layer.mLocked = true;
    const GlissaLayerInfo base = host->mNode->Get(0)->GetLayerInfo();
    host->mNode->Get(0)->SetLayerInfo({0, &layer});
    manipulator->OffsetY(1.0, 0.0);
    EXPECT_TRUE(HasSameKeys(host->Curve(0), *host->mStart[0]));
    host->mNode->Get(0)->SetLayerInfo(base);
    host->mNode->Delete(3);
    manipulator->OffsetX(Seconds(1));
    EXPECT_FALSE(HasSameKeys(host->Curve(0), *host->mStart[0]));
    manipulator->OffsetX(KTime());
    EXPECT_TRUE(HasSameKeys(host->Curve(0), *host->mStart[0]));
    host->mNode->Get(2)->FCurveSet(nullptr, true);
    manipulator->StretchX(KTime(), Seconds(1), Seconds(1), false);
    copy.BeginManipulation(eManipLeftEdge, false, 0.0);
    copy.OffsetX(Seconds(1));
    copy.ClearFCurveNodes();

    // The listener of the first curve destroys all of them and the manipulator.
    const EventRecorder ends(host->Curve(0), [&](Glissa*, GlissaEvent*) {
        manipulator.reset();
        host.reset();
    });
    manipulator->Offset(Seconds(1), 1.0, 0.0);
    EXPECT_EQ(nullptr, host);
    EXPECT_EQ("", CheckBooks({}));
}
