// Copyright (c) 2026 The glissa authors
// SPDX-License-Identifier: MIT

// What filters make of small curves, and why they refuse.

#include "glissa/filter/clamp.h"
#include "glissa/filter/constant_key_reducer.h"
#include "glissa/filter/delete_key.h"
#include "glissa/filter/gaussian.h"
#include "glissa/filter/inverse.h"
#include "glissa/filter/keys_on_frame.h"
#include "glissa/filter/offset.h"
#include "glissa/filter/peak_remover.h"
#include "glissa/filter/resample.h"
#include "glissa/filter/scale.h"
#include "glissa/filter/smooth.h"
#include "glissa/filter/test_template.h"
#include "glissa/filter/time_clamp.h"
#include "glissa/filter/time_shift_and_scale.h"
#include "tests/support/curve_test.h"
#include "tests/support/filter_rows.h"

#include <cmath>
#include <cstdlib>
#include <limits>
#include <sstream>

namespace
{
using FilterTables = CurveTest;

using Clamp = GlissaFilterClamp;
using Constant = GlissaFilterConstantKeyReducer;
using Delete = GlissaFilterDeleteKey;
using Gauss = GlissaFilterGaussian;
using Inverse = GlissaFilterInverse;
using Limits = GlissaFilterTimeClamp;
using Move = GlissaFilterTimeShiftAndScale;
using OnFrame = GlissaFilterKeysOnFrame;
using Peak = GlissaFilterPeakRemover;
using Resample = GlissaFilterResample;
using Scale = GlissaFilterScale;
using Smooth = GlissaFilterSmooth;

/// Words: "2" is a linear key, the first one at 0 s and each next one a step later; "7:2" is one at
/// 7 s, "7+:2" a tick later. A suffix is a kind: a automatic, c constant, n next value, u user.
/// "@0.1" sets the step, "=3" the default value.
CurveHandle Parse(const std::string& pText)
{
    RefCurve curve;
    float defaultValue = 0.0f;
    double time = 0.0;
    double step = 1.0;
    std::istringstream words(pText);
    for (std::string word; words >> word; time += step) {
        char* rest = nullptr;
        double value = std::strtod(word.c_str(), &rest);
        if (word[0] == '@') {
            step = std::strtod(&word[1], nullptr);
            time = -step;
        } else if (word[0] == '=') {
            defaultValue = std::strtof(&word[1], nullptr);
        } else {
            RefKey key;
            const int ticks = *rest == '+' ? 1 : *rest == '-' ? -1 : 0;
            rest += std::abs(ticks);
            if (*rest == ':') {
                time = value;
                value = std::strtod(rest + 1, &rest);
            }
            key.time = Seconds(time).Get() + ticks;
            key.value = static_cast<float>(value);
            key.flags = *rest == 'a'   ? kRefCubic | kRefAuto
                        : *rest == 'c' ? kRefConstant
                        : *rest == 'n' ? kRefConstant | kRefConstantNext
                        : *rest == 'u' ? kRefCubic | kRefUser
                                       : kRefLinear;
            key.slots[0] = *rest == 'u' ? 1.0f : 0.0f;
            curve.keys.push_back(key);
        }
    }
    CurveHandle result = ToGlissa(curve);
    result->SetValue(defaultValue);
    return result;
}

/// Times are compared exactly, values to some roundings.
void ExpectKeys(const Glissa& pWanted, const Glissa& pGot)
{
    ASSERT_EQ(pWanted.KeyGetCount(), pGot.KeyGetCount()) << KeysOf(pGot);
    EXPECT_EQ(pWanted.GetValue(), pGot.GetValue());
    for (int i = 0; i < pGot.KeyGetCount(); ++i) {
        const float value = pWanted.KeyGetValue(i);
        EXPECT_EQ(pWanted.KeyGetTime(i), pGot.KeyGetTime(i)) << "key " << i;
        if (!std::isnan(value) || !std::isnan(pGot.KeyGetValue(i))) {
            EXPECT_NEAR(value, pGot.KeyGetValue(i), 2e-6 * (1.0 + std::fabs(value))) << "key " << i;
        }
    }
}

struct Row
{
    FilterPtr filter;
    const char* before;
    const char* after;  ///< or, behind "!", why the filter refuses and leaves the curve as it is
    double start = -1e99;
    double stop = 1e99;
};

TEST_F(FilterTables, SmallCurves)
{
    constexpr char kTens[] = "@10 0 1 2 3 4";
    constexpr char kLine[] = "-100:0 100:2";
    constexpr char kSteady[] = "0 1 2 3 4 5 6 7 8 9 10 11";
    constexpr char kTwoPeaks[] = "0 1 2 3 4 15 26 7 8 9 10 11";
    constexpr char kZigZag[] = "@.1 3 -1 4 1 -5 9 2 -6";
    constexpr char kNoise[] = "@.033333333333333333 3 -1 4 1 -5 9 2 -6 5 3 5 -8";
    constexpr char kNotClamped[] = "!ClampFilter, No key were changed by filter.";
    constexpr char kTooFar[] = "!TimeShiftAndScaleFilter, A key would leave the range of times.";
    constexpr double kNaN = std::numeric_limits<double>::quiet_NaN();
    const auto at = [](auto pSetter, const auto& pValue) { return std::pair(pSetter, pValue); };
    const auto limits = [&](double pMin, double pMax) {
        return With<Limits>(at(&Limits::SetMin, Seconds(pMin)), at(&Limits::SetMax, Seconds(pMax)));
    };
    const auto move = [&](KTime pShift, double pScale) {
        return With<Move>(at(&Move::SetShift, pShift), at(&Move::SetScale, pScale));
    };
    const auto onFrame = With<OnFrame>(at(&OnFrame::SetPeriod, Seconds(10)));
    const auto resample = With<Resample>(at(&Resample::SetPeriodTime, Seconds(10)),
                                         at(&Resample::SetKeysOnFrame, true));
    const auto clamp = [&](double pFloor, double pCeil) {
        return With<Clamp>(at(&Clamp::SetApplyCeilClamping, true),
                           at(&Clamp::SetApplyFloorClamping, true), at(&Clamp::SetFloor, pFloor),
                           at(&Clamp::SetCeil, pCeil));
    };
    const auto peaks = [&](double pTime, double pValue) {
        return With<Peak>(at(&Peak::SetTimeTolerance, pTime), at(&Peak::SetValueTolerance, pValue));
    };
    const auto smooth = [&](double pWidth, int pSamples) {
        return With<Smooth>(at(&Smooth::SetWidth, Seconds(pWidth)),
                            at(&Smooth::SetSampleCount, pSamples));
    };
    const auto gauss = [&](double pFrames) {
        return With<Gauss>(at(&Gauss::SetStandardDeviation, pFrames / 30.0),
                           at(&Gauss::SetSamplingRate, 30.0));
    };
    const auto offset = With<GlissaFilterOffset>(at(&GlissaFilterOffset::SetOffset, 1.0));
    const Row rows[] = {
        // A span takes the keys around it; the default value changes whatever it is.
        {offset, "1 2 3", "2 3 4 =1"},
        {offset, "1 2 3", "1 3 3 =1", 1, 1},
        {offset, "1 2 3", "2 3 3 =1", .25, .5},
        {offset, "1 2 3", "1 3 4 =1", 1.5, 9},
        {offset, "1 2 3", "1 2 4 =1", 3, 4},
        {offset, "1 2 3", "2 2 3 =1", -2, -1},
        {offset, "=3", "=3"},
        {With<Inverse>(), "=3", "=3"},
        {With<Inverse>(), "1 2 3 =7", "1 2 97 =93", 2.0},
        {With<Scale>(), "=3", "!FilterScale, No key were changed by filter."},
        {With<Scale>(at(&Scale::SetScale, 2.0)), "=3", "=3"},
        {With<GlissaFilter_TestTemplate>(), "", "!No key to be filtered."},
        {With<GlissaFilter_TestTemplate>(), "1", "!No key were changed by filter."},
        {With<Clamp>(), "0 2", kNotClamped},
        {clamp(2.0, 0.5), "0 2 =1", "0.25:0.5 1:2 =1"},  // the limits are swapped
        // A span that starts behind the first key leaves the key before it.
        {clamp(0.5, 2.0), "0.25:-4 1:2 =1", "0.25:-4 0.8125:0.5 1:2 =1", 0.5},
        {clamp(0.5, 2.0), "=3", "=2"},
        // The floor takes the keys around the span as the ceiling left them.
        {clamp(2.0, 4.0), "0:10 10:0 20:0.5 =3", "6:4 8:2 10:0 20:0.5 =3", -1e99, 5.0},
        {clamp(-9.0, 1e300), "0 2 =1", kNotClamped},
        {clamp(0.5, 1e300), "0 2 =1", "0.25:0.5 1:2 =1"},
        // Times
        {With<Limits>(), "", "!FilterTimeClamp. No key to be filtered."},
        {With<Limits>(), kTens, "!FilterTimeClamp. Either Min or Max are not valid."},
        {limits(10, 30), kTens, "0:0 10:1 30:3 40:4"},
        {limits(10, 20), kTens, "!FilterTimeClamp. No key were changed by filter."},
        {With<Limits>(at(&Limits::SetMin, Seconds(10)), at(&Limits::SetMax, Seconds(20)),
                      at(&Limits::SetApplyMaxClamp, false)),
         kTens, "0:0 10:1"},
        {With<Delete>(), kTens, "0:0 10:1 15-:1.5 15+:2.5 20:3 30:4", 15, 25},
        {With<Delete>(), kTens, "0:1 10:2 20:3 30:4", -5, 5},
        {With<Delete>(), kTens, "0:0 10:1 20:2", 25, 50},
        {With<Delete>(), kTens, "", -1, 41},
        {With<Delete>(), kTens, "0:0 10:1 30:3 40:4", 20, 20},
        {With<Delete>(), kTens, "!DeleteKeyFilter, No key were changed by filter.", 21, 11},
        {With<Delete>(), "", "!DeleteKeyFilter, No key to be filtered."},
        {move(Seconds(1), 2.0), "-2:1 3:2", "-2:1 8:2"},
        {move(Seconds(1), -1.0), "-2:1 3:2", "-1:1 4:2"},
        {move(Seconds(1), 2.0), "", "!TimeShiftAndScaleFilter, No key to be filtered."},
        // No key leaves the range of times, and none meets another.
        {move(KTime::Infinite() - Seconds(5), 1.0), "-2:1 8:2", kTooFar},
        {move(Seconds(1), 1e30), "-2:1 8:2", kTooFar},
        {move(KTime(), 9e9), "-2:1 8:2", kTooFar},
        {move(KTime(), 1e-12), "-1:1 0:2", "0:1 0+:2"},
        // Sampling. A last key moves down to a frame and not up.
        {onFrame, "", "!KeysOnFrame, No key to be filtered."},
        {onFrame, "-116:0 -85:0 14:0 36:0 55:0 76:0 81:0 106:0 114:0 150:0 154:0 196:0",
         "-120:0 -80:0 10:0 40:0 50:0 76:0 80:0 110:0 114:0 150:0 154:0 196:0"},
        {onFrame, "3:0 94:0", "0:0 90:0"},
        {resample, "", "!Bad Interval"},
        {resample, "1:1", "!Bad Interval"},
        {With<Resample>(at(&Resample::SetPeriodTime, KTime())), "", "!Bad Period"},
        {With<Resample>(at(&Resample::SetPeriodTime, KTime(1))), "0 0", "!Bad Period", 0, 1000},
        {resample, kLine, "-100:0 30:1.3 40:1.4 47:1.47 100:2", 25, 47},
        {resample, kLine, "-100:0 30:1.3 40:1.4 47:1.47 100:2", 30, 47},
        {resample, kLine, "-100:0 5:1.05 15:1.15 22:1.22 100:2", 5, 22},
        {resample, kLine, "-100:0 -5:.95 5:1.05 12:1.12 100:2", -5, 12},
        // Reducing. A plateau keeps two keys at each end.
        {With<Constant>(), "9 5 5.001 5 5 5 5 5 5 1", "0:9 1:5 2:5.001 7:5 8:5 9:1"},
        {With<Constant>(), "5 5 5 5 8 4 4 4 4", "2:5 3:5 4:8 5:4 6:4"},
        {With<Constant>(), "9 5 5 5 5 5 5u 5 5 5 5 5 1",
         "0:9 1:5 2:5 4:5 5:5 6:5 7:5 8:5 10:5 11:5 12:1"},
        {With<Constant>(), "5 5 5 nan 5 5 5", "1:5 2:5 3:nan 4:5 5:5"},
        {With<Constant>(), "1c 1.001c 1.002c 2c", "0:1 3:2"},
        {With<Constant>(), "1c 1.006c 1.012c 1.018c", "0:1 2:1.012"},
        {With<Constant>(), "1c 1n 5c 5c", "0:1 1:1 3:5"},
        {With<Constant>(), "3n 1c 1c 7c", "0:3 2:1 3:7"},
        {With<Constant>(), "@9 2.5 2.5 2.5 2.5", "=2.5"},
        {With<Constant>(at(&Constant::SetKeepOneKey, true)), "2.5 2.5 2.5 2.5", "2.5"},
        // Peaks, with a script of plain loops that searches the tame keys anew for each peak
        {peaks(3, 3), "0 1 2 3 4 15 6 7 8 9 10 11", kSteady},
        {peaks(3, 3), "0 1 2 3 4 15 -6 7 8 9 10 11", kSteady},
        {peaks(3, 3), kTwoPeaks, "0 1 2 3 4 9.444444 9.888889 10.333333 8 9 10 11"},
        {peaks(9, 1), kTwoPeaks, kSteady},
        {peaks(3, 3), "0 1 2 3 4 5 6 7 8 9 10 50", "0 1 2 3 4 5 6 7 8 9 10 50"},
        {peaks(3, 3), "0 0", "!PeakRemover, No key to be filtered.", 4},
        // The window summed up with numpy 1.24 over numpy.interp of the keys. The last key but one
        // keeps its value: the change fades out towards it.
        {smooth(0.3, 8), kZigZag, "@.1 3 2.044204 .8372754 -.1420726 3.438484 3.208401 2 -6"},
        {smooth(-0.3, -3), kZigZag, "@.1 3 -1 2.103792 -.3661125 .08720197 9 2 -6", .15, .55},
        {smooth(1.0, 0), kZigZag, "@.1 3 3 3.2 2.2 -1.8 7.8 2 -6"},
        {smooth(0.0, 8), kZigZag, kZigZag},
        {smooth(0.3, 8), kZigZag, kZigZag, 9.0},
        // scipy.ndimage.gaussian_filter1d(x, s, mode='mirror', radius=ceil(5 * s)), SciPy 1.10
        {gauss(1.5), kNoise,
         "@.033333333333333333 1.26149544 1.26199243 1.17362163 1.06411594 1.26753143 1.55466577 "
         "1.3746425 1.16335816 1.49716779 1.73948808 1.30644712 .932442824"},
        // Faded in over three deviations behind the start, by 3 u^2 - 2 u^3
        {gauss(1.0), kNoise,
         "@.033333333333333333 3 -1 4 1 -3.51729829 4.28502202 1.54271523 -.0528904441 1.6511738 "
         "2.89328948 1.31241318 -.405166733",
         .1},
        {gauss(2.0), "@.033333333333333333 3 -1 4 1 -5",
         "@.033333333333333333 1.10856835 1.01620214 .767979776 .483797699 .355472424"},
        {gauss(3.0), "@.033333333333333333 3 -1", "@.033333333333333333 .999999695 1.0000003"},
        {gauss(kNaN), "1", "!Gaussian Filter, The standard deviation is not above 0."},
    };
    for (const Row& row : rows) {
        SCOPED_TRACE(testing::Message() << row.filter->GetName() << " of " << row.before << " from "
                                        << row.start << " to " << row.stop);
        const CurveHandle curve = Parse(row.before);
        row.filter->SetStartTime(row.start == -1e99 ? kFromStart : Seconds(row.start));
        row.filter->SetStopTime(row.stop == 1e99 ? kToEnd : Seconds(row.stop));
        const bool isRefused = row.after[0] == '!';
        EXPECT_EQ(!isRefused, row.filter->Apply(*curve));
        ExpectKeys(*Parse(isRefused ? row.before : row.after), *curve);
        if (isRefused) {
            EXPECT_STREQ(row.after + 1, row.filter->GetLastErrorString());
        }
    }
}
}  // namespace
