// Copyright (c) 2026 The glissa authors
// SPDX-License-Identifier: MIT

#include "io/unroll_clip.h"

#include "corvekit/math/rotation_order.h"
#include "glissa/curve/curve.h"
#include "io/clip_rotations.h"
#include "tests/support/random_curve.h"
#include "tests/support/ref_rotation.h"

#include <gtest/gtest.h>

namespace
{
constexpr int kFrames = 120;
const KTime kFrame(4704000);

// A joint "A" with rotation channels in the order of the row, frame by frame.
Clip MakeClip(int pOrder, const std::vector<std::array<double, 3>>& pAngles)
{
    Clip clip;
    ClipJoint joint;
    joint.mName = joint.mAddress = "A";
    joint.mRotationOrder = pOrder;
    joint.mChannels = {eClipRotationX, eClipRotationY, eClipRotationZ};
    clip.mJoints = {joint};
    clip.mFramePeriod = kFrame;
    clip.mFrameCount = static_cast<int>(pAngles.size());
    clip.mChannelCount = 3;
    for (const std::array<double, 3>& each : pAngles) {
        clip.mValues.insert(clip.mValues.end(), each.begin(), each.end());
    }
    return clip;
}

void AddKeys(Glissa& pCurve, const std::vector<int>& pFrames, const std::vector<float>& pValues)
{
    for (std::size_t i = 0; i < pValues.size(); ++i) {
        GlissaKey key;
        key.SetValue(pValues[i]);
        pCurve.KeyAdd(kFrame * pFrames[i], key);
    }
}

double Wrapped(double pAngle)
{
    return pAngle - 360.0 * std::round(pAngle / 360.0);
}

TEST(UnrollRotations, KeepsTheOrientationsOfRandomRecordings)
{
    std::int64_t mended = 0;
    for (int seed = 0; seed < 60; ++seed) {
        SCOPED_TRACE(seed);
        Random random(static_cast<std::uint64_t>(seed));
        const KVdRotationOrder order(seed % kRotationOrderCount);
        std::vector<std::array<double, 3>> recorded;
        KgeRVector angles(170.0 * random.Signed(), 80.0 * random.Signed(), 170.0 * random.Signed());
        const double speed = random.Scale(-2, 6);
        for (int i = 0; i < kFrames; ++i) {
            for (int axis = 0; axis < 3; ++axis) {
                angles[axis] += speed * random.Signed();
            }
            KgeRVector written = angles;
            if (seed % 2 == 0) {  // as recorders write them, the middle angle within 90
                KgeRMatrix matrix;
                order.V2M(matrix, angles);
                order.M2V(written, matrix);
            }
            recorded.push_back({Wrapped(written[0]), Wrapped(written[1]), Wrapped(written[2])});
        }
        const Clip clip = MakeClip(order.GetOrder(), recorded);
        CurveClip curves(clip);
        const CurveClip before(clip);
        const AngleJumps jumps = FindAngleJumps(clip, RotationsOf(clip, curves));
        const IoResult<UnrollReport> report = UnrollRotations(clip, curves, "clip");
        ASSERT_TRUE(report) << report.GetError().GetText();
        EXPECT_EQ(jumps.mCount, report->mMended);
        EXPECT_EQ(0, FindAngleJumps(clip, RotationsOf(clip, curves)).mCount);
        mended += report->mMended;
        double largest = 0.0;
        for (int frame = 0; frame < kFrames; ++frame) {
            double from[3];
            double to[3];
            for (std::size_t axis = 0; axis < 3; ++axis) {
                from[axis] = double{before.GetCurves()[axis].mCurve->KeyGetValue(frame)};
                to[axis] = double{curves.GetCurves()[axis].mCurve->KeyGetValue(frame)};
            }
            const auto at = [&](const double* pAngles) {
                return RefRotation::OfAngles(pAngles, order.GetOrder());
            };
            largest = std::max(largest, RefDistance(at(from), at(to)));
        }
        EXPECT_LE(largest, kUnrollTolerance);
        EXPECT_NEAR(largest, report->mLargestTurn, 1e-12);
    }
    EXPECT_GT(mended, 200);
}

// The angle X of a rotation whose Y is 0 and whose Z has no keys.
TEST(UnrollRotations, LeavesRealTurnsAndTheStartAlone)
{
    const struct
    {
        const char* name;
        std::vector<int> frames;
        bool isLocked;
        std::vector<float> values;
        std::vector<float> expected;
        int mended;
        int kept;
    } rows[] = {
        {"a wrap", {0, 1, 2, 3}, false, {170, 179, -179, -170}, {170, 179, 181, 190}, 1, 0},
        {"a start beyond a turn", {0, 1, 2}, false, {530, 539, 181}, {530, 539, 541}, 1, 0},
        {"a wheel", {0, 1, 2, 3, 4}, false, {0, 120, 240, 360, 480}, {0, 120, 240, 360, 480}, 0, 0},
        {"a sparse wheel", {0, 50}, false, {0, 3600}, {0, 3600}, 0, 0},
        {"a sparse turn after a wrap", {0, 1, 50}, false, {179, -179, 720}, {179, -179, 720}, 0, 1},
        {"locked", {0, 1, 2}, true, {170, 179, -179}, {170, 179, -179}, 0, 1},
    };
    for (const auto& row : rows) {
        SCOPED_TRACE(row.name);
        const Clip clip = MakeClip(3, {{0, 0, 0}});
        CurveClip curves(clip);
        Glissa& curve = *curves.GetCurves()[0].mCurve;
        curve.KeyClear();
        AddKeys(curve, row.frames, row.values);
        curves.GetCurves()[2].mCurve->KeyClear();  // as an axis without a channel
        HostLayer& layer = curves.GetNodes().GetLayers().Add("locked");
        layer.mLocked = true;
        if (row.isLocked) {
            curve.GetOwner()->SetLayerInfo({0, &layer});
        }
        const IoResult<UnrollReport> report = UnrollRotations(clip, curves, "clip");
        ASSERT_TRUE(report) << report.GetError().GetText();
        EXPECT_EQ(row.mended, report->mMended);
        EXPECT_EQ(row.kept, report->mKept.mCount);
        std::vector<float> values;
        for (int i = 0; i < curve.KeyGetCount(); ++i) {
            values.push_back(curve.KeyGetValue(i));
        }
        EXPECT_EQ(row.expected, values);
        EXPECT_EQ(0, curves.GetCurves()[2].mCurve->KeyGetCount());
    }
}

TEST(UnrollRotations, IsRefusedWhereAnOrientationWouldChange)
{
    std::vector<std::array<double, 3>> spin;  // angles of thousands of degrees are coarse as floats
    for (int i = 0; i < kFrames; ++i) {
        spin.push_back({Wrapped(100.003 * i), Wrapped(70.007 * i), 0});
    }
    for (const bool isBlended : {false, true}) {
        SCOPED_TRACE(isBlended);
        const Clip clip = isBlended ? MakeClip(0, {{0, 0, 0}, {0, 0, 0}}) : MakeClip(0, spin);
        CurveClip curves(clip);
        HostLayer& layer = curves.GetNodes().GetLayers().Add("half");
        if (isBlended) {  // angle by angle: half of 181 degrees is not half of -179
            layer.mRotationMode = eRotationByChannel;
            layer.mWeight->SetValue(0.5f);
            GlissaNode* const base = curves.GetNodes().GetTransform(0, KDataTypeLclRotation);
            AddKeys(*base->CreateLayerAt({1, &layer})->Get(0)->FCurveGet(), {0, 1}, {179, -179});
        }
        const IoResult<UnrollReport> report = UnrollRotations(clip, curves, "clip");
        ASSERT_FALSE(report);
        EXPECT_TRUE(report.GetError().GetText().starts_with(isBlended ? "clip: A/R @half: "
                                                                      : "clip: A/R: "));
    }
}
}  // namespace
