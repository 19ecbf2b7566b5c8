// Copyright (c) 2026 The glissa authors
// SPDX-License-Identifier: MIT

// Random curves of all kinds of tangents, all keys marked.

#include "glissa/manip/manipulator.h"
#include "tests/support/curve_test.h"
#include "tests/support/node_stubs.h"
#include "tests/support/random_curve.h"

#include <cstdlib>

namespace
{
struct Host
{
    NodePtr mNode = MakeWide(1);
    GlissaManipulator mManipulator;
    Glissa& mCurve = *mNode->Get(0)->FCurveGet();

    explicit Host(const Glissa& pCurve)
    {
        mCurve.CopyFrom(pCurve, true);
        mManipulator.Add(mNode.get());
        mManipulator.MarkAllCurveNodeForManip(true);
        mManipulator.MarkKeysForManip(true, nullptr, 0, 99);
    }
    void Retime(KTime pLeft, KTime pCenter, KTime pRight, KTime pOffset)
    {
        mManipulator.BeginManipulation(eManipBothAxes, false, 0.0);
        mManipulator.OffsetXForRetiming(pLeft, pCenter, pRight, pOffset);
        mManipulator.EndManipulation();
    }
};

bool IsUser(const Glissa& pCurve, int pIndex)
{
    return pIndex >= 0 && pIndex < pCurve.KeyGetCount() &&
           (pCurve.KeyGetTangeantMode(pIndex, false) & eTangentUser) != 0;
}
}  // namespace

TEST(RetimeOffset, UserSegmentsKeepTheirShapeAndComeBack)
{
    constexpr std::uint32_t kKinds[] = {kRefUser, kRefUser | kRefBreak, kRefAuto, kRefTcb};
    Random random(11);
    for (int round = 0; round < 200; ++round) {
        std::vector<UserKey> keys;
        for (int i = 0; i < 6; ++i) {
            const auto number = [&] { return static_cast<float>(random.Signed()); };
            keys.push_back({i + 0.4 * random.Signed(), number(), number(), number(),
                            kRefCubic | kKinds[random.Below(4)]});
        }
        const CurveHandle old = MakeCurve(keys);
        Host host(*old);
        const KTime left = Seconds(0.9 * random.Signed()), right = Seconds(5 + random.Signed());
        const KTime center = Seconds(2.5 + random.Signed()), by = Seconds(0.5 * random.Signed());
        host.Retime(left, center, right, by);
        for (int i = 0; i < 6; ++i) {
            const bool isNear = IsUser(*old, i - 1) || IsUser(*old, i) || IsUser(*old, i + 1);
            const bool isTcb = old->KeyGetTangeantMode(i, false) == eTangentTCB;
            ASSERT_EQ(old->KeyGet(i).GetBreak() || (isNear && !isTcb),
                      host.mCurve.KeyGet(i).GetBreak());
            const double index = i + (random.Signed() + 1.0) / 2;
            if (IsUser(*old, i) && IsUser(*old, i + 1)) {
                ASSERT_NEAR(old->EvaluateIndex(index), host.mCurve.EvaluateIndex(index), 2e-6);
            }
        }
        host.Retime(left, center + by, right, -by);
        for (int i = 0; i < 6; ++i) {
            ASSERT_LE(std::abs((host.mCurve.KeyGetTime(i) - old->KeyGetTime(i)).Get()), 1);
        }
    }
}

TEST(RetimeOffset, AKeyThatIsPassedKeepsItsSlope)
{
    Host host(*MakeCurve({{0, 0, 3, 3}, {1, 0, 3, 3}, {2, 0, 3, 3}}));
    host.Retime(Seconds(0), Seconds(1), Seconds(2), Seconds(1.5));
    EXPECT_EQ("0:0 2:0 2.5:0 ", KeysOf(host.mCurve));
    EXPECT_EQ(3.0f, host.mCurve.KeyGetLeftDerivative(1));
}
