// Copyright (c) 2026 The glissa authors
// SPDX-License-Identifier: MIT

#include "apps/glissa/picture/key_marks.h"
#include "apps/glissa/picture/style.h"
#include "apps/glissa/picture/trace.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>

namespace
{
// Distance of a point to the line between two others, in pixels.
double DistanceToSegment(const DevicePoint& pPoint, const DevicePoint& pA, const DevicePoint& pB)
{
    const double dx = pB.x - pA.x;
    const double dy = pB.y - pA.y;
    const double length = dx * dx + dy * dy;
    const double along = (pPoint.x - pA.x) * dx + (pPoint.y - pA.y) * dy;
    const double part = length == 0.0 ? 0.0 : std::clamp(along / length, 0.0, 1.0);
    return std::hypot(pPoint.x - pA.x - part * dx, pPoint.y - pA.y - part * dy);
}

// Greatest distance of densely sampled points of the curve to the strips.
double Deviation(const Sampler& pCurve, const std::vector<std::vector<DevicePoint>>& pStrips,
                 KTime pFrom, KTime pTo, const DeviceScale& pScale)
{
    double greatest = 0.0;
    constexpr int kSteps = 20011;
    for (int i = 0; i <= kSteps; ++i) {
        const KTime time(pFrom.Get() + (pTo - pFrom).Get() / kSteps * i);
        const DevicePoint point{pScale.X(time), pScale.Y(pCurve(time))};
        if (!std::isfinite(point.y)) {
            continue;
        }
        double nearest = INFINITY;
        for (const auto& strip : pStrips) {
            for (std::size_t k = 0; k + 1 < strip.size(); ++k) {
                // x rises along a strip.
                if (strip[k + 1].x > point.x - 2.0 && strip[k].x < point.x + 2.0) {
                    nearest = std::min(nearest, DistanceToSegment(point, strip[k], strip[k + 1]));
                }
            }
        }
        greatest = std::max(greatest, nearest);
    }
    return greatest;
}

const KTime kSecond(KTime::kTicksPerSecond);

DeviceScale Scale(double pLow, double pHigh)
{
    return {KTime(), kSecond * 4, 50.0, 950.0, pLow, pHigh, 480.0, 20.0};
}

TEST(Trace, IsWithinHalfAPixelOfTheCurve)
{
    const auto seconds = [](KTime pTime) { return pTime.GetSecondDouble(); };
    const auto ease = [&](KTime pTime) {
        // Crosses its chord in the middle, so that the middle alone does not show its shape.
        const double t = seconds(pTime) / 4.0;
        return t * t * (3.0 - 2.0 * t);
    };
    const auto spike = [&](KTime pTime) {
        return std::exp(-std::pow(seconds(pTime) - 2.0, 2.0) * 1e4);
    };
    const auto noise = [&](KTime pTime) {
        // Thousands of keys to a pixel.
        return std::fmod(std::fabs(std::sin(std::floor(seconds(pTime) * 1000.0)) * 1e4), 1.0);
    };
    std::vector<KTime> dense;
    for (int i = 0; i <= 4000; ++i) {
        dense.push_back(KTime(kSecond.Get() / 1000 * i));
    }
    const struct
    {
        const char* name;
        Sampler curve;
        std::vector<KTime> breaks;
        double low, high;
        std::size_t most;  // points
    } cases[] = {
        {"ease", ease, {}, 0.0, 1.0, 60},
        {"spike at a key", spike, {kSecond * 2}, 0.0, 1.0, 150},
        {"dense", noise, dense, 0.0, 1.0, 16000},
    };
    for (const auto& each : cases) {
        SCOPED_TRACE(each.name);
        const DeviceScale scale = Scale(each.low, each.high);
        const auto strips = TraceCurve(each.curve, each.breaks, scale.from, scale.to, scale);
        ASSERT_EQ(1u, strips.size());
        EXPECT_LE(Deviation(each.curve, strips, scale.from, scale.to, scale), 0.5);
        EXPECT_LE(strips.front().size(), each.most);
        EXPECT_EQ(scale.left, strips.front().front().x);
        EXPECT_EQ(scale.right, strips.front().back().x);
    }
}

TEST(Trace, EndsAStripWhereTheValueIsNotFinite)
{
    const DeviceScale scale = Scale(-1.0, 1.0);
    const Sampler gap = [](KTime pTime) {
        return pTime > kSecond && pTime < kSecond * 2 ? std::nan("") : 0.5;
    };
    const auto strips = TraceCurve(gap, {kSecond, kSecond * 2}, scale.from, scale.to, scale);
    ASSERT_EQ(2u, strips.size());
    EXPECT_NEAR(scale.X(kSecond), strips[0].back().x, 1e-3);
    EXPECT_NEAR(scale.X(kSecond * 2), strips[1].front().x, 1e-3);
}

TEST(ThinPoints, KeepsADistance)
{
    const std::vector<DevicePoint> points = {{0, 0}, {1, 50}, {2, 1}, {3, 49}, {8, 0}, {9, 0}};
    EXPECT_EQ((std::vector<std::size_t>{0, 1, 4}), ThinPoints(points, 8.0));
}

}  // namespace
