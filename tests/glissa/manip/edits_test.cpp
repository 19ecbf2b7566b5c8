// Copyright (c) 2026 The glissa authors
// SPDX-License-Identifier: MIT

// One row for each branch of the edits, with the result worked out by hand, and what becomes of
// tangents.

#include "glissa/manip/manipulator.h"
#include "tests/support/curve_test.h"
#include "tests/support/node_stubs.h"

#include <functional>
#include <ostream>

namespace
{
constexpr eFCurveManipulationMode kLeft = eManipLeftEdge;
constexpr eFCurveManipulationMode kRight = eManipRightEdge;
constexpr eFCurveManipulationMode kBoth = eManipBothAxes;
constexpr eFCurveManipulationMode kRippleLeft = eManipRippleLeftEdge;
constexpr eFCurveManipulationMode kRippleRight = eManipRippleRightEdge;
constexpr eFCurveManipulationMode kRippleBoth = eManipRippleBothAxes;

// Two curves of five keys a second apart, of the values 10 to 50. Of the first one the keys at 2
// and 4 seconds are marked and selected.
struct Host
{
    NodePtr mNode = MakeWide(2);
    GlissaManipulator mManipulator;

    explicit Host(unsigned pFlags = eInterpolationLinear)
    {
        for (int i = 0; i < 2; ++i) {
            for (int k = 0; k < 5; ++k) {
                const float value = static_cast<float>(10 * k + 10);
                Curve(i).KeySet(k, Seconds(k + 1), value, pFlags & 0xF, pFlags);
            }
        }
        mManipulator.Add(mNode.get());
        mManipulator.MarkAllCurveNodeForManip(true);
        Curve(0).KeySetSelected(1, true);
        Curve(0).KeySetSelected(3, true);
        mManipulator.MarkKeysForManipFromSelection();
        mManipulator.FrameManipulation();
    }
    Glissa& Curve(int pIndex) { return *mNode->Get(pIndex)->FCurveGet(); }
    std::string Range()
    {
        KTime start, stop, least, greatest;
        double minimum, maximum;
        mManipulator.GetSelectionRange(start, stop, minimum, maximum);
        mManipulator.GetSelectionRange(start, stop, least, greatest);
        EXPECT_NEAR(least.GetSecondDouble(), minimum, 1e-8);
        EXPECT_NEAR(greatest.GetSecondDouble(), maximum, 1e-8);
        char text[80];
        std::snprintf(text, sizeof text, "%g..%g %g..%g", start.GetSecondDouble(),
                      stop.GetSecondDouble(), minimum, maximum);
        return text;
    }
};

using Edit = std::function<void(GlissaManipulator&)>;

Edit OffsetBy(double pX, double pY)
{
    return [=](GlissaManipulator& pTo) { pTo.Offset(Seconds(pX), pY, 0.0); };
}
Edit StretchTime(double pPivot, double pEdge, double pDelta, bool pSnap = false)
{
    return [=](GlissaManipulator& pTo) {
        pTo.StretchX(Seconds(pPivot), Seconds(pEdge), Seconds(pDelta), pSnap);
    };
}
Edit StretchValue(double pPivot, double pEdge, double pDelta, bool pNegative = false)
{
    return [=](GlissaManipulator& pTo) { pTo.StretchY(pPivot, pEdge, pDelta, pNegative, 0.0); };
}
Edit StretchBoth(double pDeltaX, double pDeltaY)
{
    return [=](GlissaManipulator& pTo) {
        pTo.StretchXY(Seconds(2), 20, Seconds(4), 40, Seconds(pDeltaX), pDeltaY, false, 0.0);
    };
}
Edit Retime(KTime pLeft, KTime pCenter, KTime pRight, double pOffset)
{
    return [=](GlissaManipulator& pTo) {
        pTo.OffsetXForRetiming(pLeft, pCenter, pRight, Seconds(pOffset));
    };
}
// Turns the ripples on, then edits.
Edit Rippled(const Edit& pEdit, bool pAllY = true)
{
    return [=](GlissaManipulator& pTo) {
        pTo.SetRippleMoveX(true);
        pTo.SetRippleMoveY(true);
        pTo.SetRippleStretchX(true);
        pTo.SetRippleStretchY(true);
        pTo.SetRippleAllY(pAllY);
        pEdit(pTo);
    };
}

constexpr const char* kStart = "1:10 2:20 3:30 4:40 5:50 ";

struct Row
{
    eFCurveManipulationMode mode;
    Edit edit;
    const char* keys;
    const char* range;
    const char* others = kStart;  // of the curve without marks
    double threshold = 0.0;
    bool keepsOriginals = false;
};
}  // namespace

TEST(ManipulatorEdits, ChangeKeysAndRange)
{
    const Row rows[] = {
        // A marked key replaces an unmarked one.
        {kLeft, OffsetBy(1, 0), "1:10 3:20 5:40 ", "3..5 20..40"},
        {kRight, OffsetBy(0.5, 5), "1:10 2.5:25 3:30 4.5:45 5:50 ", "2.5..4.5 25..45"},
        {kLeft, OffsetBy(1, 0), "1:10 2:20 3:20 4:40 5:40 ", "3..5 20..40", kStart, 0.0, true},
        {kLeft, OffsetBy(0, 5), "1:10 2:25 3:30 4:45 5:50 ", "2..4 25..45"},
        {kBoth, OffsetBy(1, 0), kStart, "2..4 20..40"},
        {static_cast<eFCurveManipulationMode>(7), OffsetBy(1, 5), kStart, "2..4 20..40"},
        {kBoth, OffsetBy(0, 5), "1:10 2:25 3:30 4:45 5:50 ", "2..4 20..40"},
        {kRippleLeft, OffsetBy(-1, 0), "1:20 3:40 5:50 ", "1..3 20..40"},
        {kRippleLeft, Rippled(OffsetBy(1, 0)), "1:10 3:20 5:40 6:50 ", "3..5 20..40"},
        {kRippleRight, Rippled(OffsetBy(-1, 0)), "0:10 1:20 3:40 5:50 ", "1..3 20..40"},
        {kRippleLeft, Rippled(OffsetBy(0, 5)), "1:10 2:25 3:30 4:45 5:50 ", "2..4 25..45",
         "1:10 2:20 3:30 4:45 5:55 "},
        {kRippleLeft, Rippled(OffsetBy(0, -5), false), "1:10 2:15 3:30 4:35 5:50 ", "2..4 15..35",
         "1:10 2:15 3:30 4:40 5:50 "},
        // Snapping: to the key before, to the one after, not below the threshold.
        {kLeft, OffsetBy(0, -8.5), "1:10 2:10 3:30 4:30 5:50 ", "2..4 10..30", kStart, 3},
        {kLeft, OffsetBy(0, 12), "1:10 2:30 3:30 4:50 5:50 ", "2..4 30..50", kStart, 3},
        {kLeft, OffsetBy(0, 2), "1:10 2:22 3:30 4:42 5:50 ", "2..4 22..42", kStart, 3},
        // The unmarked keys between and behind replace marked ones.
        {kRight, StretchTime(2, 4, 1.5), "1:10 2:20 3:30 5:50 5.5:40 ", "2..5.5 20..40"},
        {kRight, StretchTime(2, 4, 1), "1:10 2:20 3:30 5:50 ", "2..5 20..40"},
        {kLeft, StretchTime(4, 2, -1), "1:20 3:30 4:40 5:50 ", "1..4 20..40"},
        {kRippleLeft, StretchTime(4, 2, -1), "0:10 1:20 3:30 4:40 5:50 ", "1..4 20..40"},
        {kRippleRight, StretchTime(2, 4, 1.5), "1:10 2:20 3:30 5.5:40 6.5:50 ", "2..5.5 20..40"},
        {kBoth, StretchTime(2, 4, 1.5), kStart, "2..4 20..40"},
        // Beyond the pivot, onto it, and from an edge on the pivot.
        {kRight, StretchTime(2, 4, -3), "1:40 2:20 3:30 5:50 ", "1..2 20..40"},
        {kRight, StretchTime(2, 4, -2), "1:10 1.99998:40 2:20 3:30 5:50 ", "2..2 20..40"},
        {kRight, StretchTime(2, 2, 1 / 120.0), "1:10 2:20 3:30 4.5:40 5:50 ", "2..2.00833 20..40"},
        {kRight, StretchTime(2, 4, 0.51, true), "1:10 2:20 3:30 4.5:40 5:50 ", "2..4.51 20..40"},
        {kLeft, StretchValue(20, 40, 10), "1:10 2:20 3:30 4:50 5:50 ", "2..4 20..50"},
        {kRight, StretchValue(20, 40, -30), "1:10 2:20 3:30 4:20.0002 5:50 ", "2..4 20..20.0002"},
        {kRight, StretchValue(20, 40, -30, true), "1:10 2:20 3:30 4:10 5:50 ", "2..4 10..20"},
        {kRight, StretchValue(20, 20, 1e-5), "1:10 2:20 3:30 4:60 5:50 ", "2..4 20..60"},
        {kLeft, [](GlissaManipulator& pTo) { pTo.ScaleY(2); }, "1:10 2:40 3:30 4:80 5:50 ",
         "2..4 40..80"},
        {kBoth, StretchValue(20, 40, 10), kStart, "2..4 20..40"},
        {kRippleRight, Rippled(StretchValue(20, 40, 10)), "1:10 2:20 3:30 4:50 5:50 ",
         "2..4 20..50", "1:10 2:20 3:30 4:50 5:60 "},
        // What follows stops at the pivot.
        {kRippleLeft, Rippled(StretchValue(30, 20, 30, true), false), "1:10 2:50 3:30 4:10 5:50 ",
         "2..4 10..50", "1:10 2:30 3:30 4:40 5:50 "},
        {kBoth, StretchBoth(1.5, 10), "1:10 2:20 3:30 5:50 5.5:50 ", "2..5.5 20..50"},
        {kBoth,
         [](GlissaManipulator& pTo) {
             StretchBoth(1.5, 10)(pTo);  // the start of the next edit
             pTo.OffsetY(1, 0.0);
         },
         "1:10 2:21 3:30 5:50 5.5:51 ", "2..5.5 20..50"},
        {kLeft, StretchBoth(-3, -30), "1:10 2:20 3:30 5:50 ", "1..2 10..20"},
        {kRippleBoth, Rippled(StretchBoth(1.5, 10)), "1:10 2:20 3:30 5.5:50 6.5:50 ",
         "2..5.5 20..50", "1:15 2:30 3:30 4:60 5:75 "},
        // Keys between the markers, without markers around, outside them, at a region without
        // width.
        {kBoth, Retime(Seconds(1), Seconds(3), Seconds(6), 1), "1:10 2.5:20 3:30 4.66667:40 5:50 ",
         "2..4 20..40"},
        {kLeft, Retime(kFromStart, Seconds(3), kToEnd, 0.5), "1:10 2.5:20 3:30 4.5:40 5:50 ",
         "2..4 20..40"},
        {kLeft, Retime(Seconds(2.5), Seconds(3), Seconds(3.5), 1), kStart, "2..4 20..40"},
        {kLeft, Retime(Seconds(1), Seconds(2), Seconds(2), 1), "1:10 3:30 4:40 5:50 ",
         "2..4 20..40"},
        {kRight, [](GlissaManipulator& pTo) { pTo.SetY(7); }, "1:10 2:7 3:30 4:7 5:50 ",
         "2..4 7..7"},
    };
    for (const Row& row : rows) {
        SCOPED_TRACE(&row - rows);
        Host host;
        host.mManipulator.BeginManipulation(row.mode, row.keepsOriginals, row.threshold);
        EditCheck check(host.Curve(0));
        const int updates = host.Curve(0).GetValuesUpdateId();
        row.edit(host.mManipulator);
        EXPECT_EQ(KeysOf(host.Curve(0)), row.keys);
        EXPECT_EQ(KeysOf(host.Curve(1)), row.others);
        EXPECT_EQ(check.Verify(), "");
        EXPECT_TRUE(std::string(row.keys) == kStart ||
                    host.Curve(0).GetValuesUpdateId() != updates);
        EXPECT_EQ(host.Range(), row.range);
        host.mManipulator.EndManipulation();
        EXPECT_EQ(KeysOf(host.Curve(0)), row.keys);
        row.edit(host.mManipulator);  // without a manipulation
        EXPECT_EQ(KeysOf(host.Curve(0)), row.keys);
    }
}

// Factors of the slopes, which are 1 on both sides of the marked keys and 5 on others before.
TEST(ManipulatorEdits, StretchSlopesOfUserTangents)
{
    const struct
    {
        unsigned tangent;
        eFCurveManipulationMode mode;
        Edit edit;
        float marked;
        float others;
    } rows[] = {
        {eTangentUser, kRight, StretchTime(0, 4, 4), 0.5f, 1.0f},
        {eTangentUserBreak, kRight, StretchTime(0, 4, -8), -1.0f, 1.0f},
        {eTangentUser, kRight, StretchValue(0, 1, 2), 3.0f, 1.0f},
        {eTangentUserBreak, kRippleRight, StretchValue(0, 1, 2), 3.0f, 3.0f},
        {eTangentUser, kRight, StretchValue(0, 1, -3, true), -2.0f, 1.0f},
        {eTangentUser, kLeft, OffsetBy(-1.5, 3), 1.0f, 1.0f},
        {eTangentUser, kLeft, OffsetBy(7.5, 3), 1.0f, 1.0f},
        {eTangentUserBreak, kBoth, StretchBoth(2, 10), 0.75f, 1.0f},
    };
    for (const auto& row : rows) {
        SCOPED_TRACE(&row - rows);
        Host host(eInterpolationCubic | row.tangent);
        Glissa& curve = host.Curve(0);
        const auto slopeOf = [&](int pKey) {
            return curve.KeyGetMarkedForManipulation(pKey) ? 1.0f : 5.0f;
        };
        for (int k = 0; k < 5; ++k) {
            curve.KeySetLeftDerivative(k, slopeOf(k));
            curve.KeySetRightDerivative(k, slopeOf(k));
        }
        host.mManipulator.BeginManipulation(row.mode, false, 0.0);
        row.edit(host.mManipulator);
        for (int k = 0; k < curve.KeyGetCount(); ++k) {
            const bool isMarked = curve.KeyGetMarkedForManipulation(k);
            const float slope = slopeOf(k) * (isMarked ? row.marked : row.others);
            EXPECT_EQ(curve.KeyGetLeftDerivative(k), slope) << k;
            EXPECT_EQ(curve.KeyGetRightDerivative(k), slope) << k;
        }
    }
}

// Turned over, keys of one kind have the mirrored shape; the edge is where it was put, to the tick.
TEST(ManipulatorEdits, MirrorKeysOfOneKind)
{
    constexpr unsigned kUserTangent = eInterpolationCubic | eTangentUser;
    for (const unsigned flags :
         {eInterpolationLinear + 0u, eInterpolationConstant + 0u,
          eInterpolationConstant | eTangentBreak, eInterpolationCubic | eTangentAuto,
          eInterpolationCubic | eTangentTCB, kUserTangent, kUserTangent | eTangentBreak,
          eInterpolationCubic | eTangentAuto | eTangentClamp}) {
        SCOPED_TRACE(flags);
        Host host(flags);
        Glissa& curve = host.Curve(0);
        for (int k = 0; k < 5; ++k) {
            curve.KeySetValue(k, static_cast<float>(k * k % 5));
            curve.KeySetLeftDerivative(k, 0.5f);
            curve.KeySetRightDerivative(k, 0.25f);
        }
        if ((flags & eTangentTCB) != 0) {
            curve.KeySetTCB(2, Seconds(3), 4.0f, 0.5f, 0.25f, -0.25f);
        }
        const CurveHandle start(curve.Copy());
        curve.KeySelectAll();
        host.mManipulator.MarkKeysForManipFromSelection();
        host.mManipulator.FrameManipulation();
        host.mManipulator.BeginManipulation(kRight, false, 0.0);
        StretchTime(3, 5, -4)(host.mManipulator);
        ASSERT_EQ(curve.KeyGetCount(), 5);
        for (double time = 1.05; time < 5.0; time += 0.1) {
            EXPECT_NEAR(curve.Evaluate(Seconds(time), nullptr),
                        start->Evaluate(Seconds(6.0 - time), nullptr), 1e-5)
                << time;
        }
        for (int i = 1; i < 40; ++i) {
            const KTime delta(7654321LL * i * i + i);
            host.mManipulator.StretchX(Seconds(-4e7), Seconds(5), delta, false);
            EXPECT_EQ(curve.KeyGetTime(4), Seconds(5) + delta);
        }
    }
}
