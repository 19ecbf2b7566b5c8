// Copyright (c) 2026 The glissa authors
// SPDX-License-Identifier: MIT

#include "glissa/settings/settings.h"

#include <gtest/gtest.h>

#include <limits>

namespace
{
// Each row holds the default against the documented one, then stores a value out of any meaningful
// range and reads it back, so that a pair that shares a variable with another one shows.
#define EXPECT_PAIR(getter, setter, initial, other)                                                \
    do {                                                                                           \
        EXPECT_EQ(initial, getter());                                                              \
        setter(other);                                                                             \
        EXPECT_EQ(other, getter());                                                                \
    } while (false)

TEST(Settings, StartAtTheirDefaultsAndKeepWhatTheyAreGiven)
{
    EXPECT_PAIR(GLISSA_GetPlotPeriod, GLISSA_SetPlotPeriod, KTime(4704000), KTime(-1));
    EXPECT_PAIR(GLISSA_GetPlotOnFrame, GLISSA_SetPlotOnFrame, true, false);
    EXPECT_PAIR(GLISSA_GetPlotTangentMode, GLISSA_SetPlotTangentMode, 0, 77);
    EXPECT_PAIR(GLISSA_GetPlotTranslationOnRootOnly, GLISSA_SetPlotTranslationOnRootOnly, false,
                true);
    EXPECT_PAIR(GLISSA_GetPlotAuxEffectors, GLISSA_SetPlotAuxEffectors, true, false);
    EXPECT_PAIR(GLISSA_GetPlotLockedProperties, GLISSA_SetPlotLockedProperties, false, true);
    EXPECT_PAIR(GLISSA_GetClearLockedProperties, GLISSA_SetClearLockedProperties, false, true);
    EXPECT_PAIR(GLISSA_GetEvaluateDeformationOnPlot, GLISSA_SetEvaluateDeformationOnPlot, false,
                true);
    EXPECT_PAIR(GLISSA_GetPreciseTimeDiscontinuities, GLISSA_SetPreciseTimeDiscontinuities, false,
                true);
    EXPECT_PAIR(GLISSA_GetRotationFilterToApply, GLISSA_SetRotationFilterToApply, 2, 3);
    EXPECT_PAIR(GLISSA_GetRotationFilterUnrollQuality, GLISSA_SetRotationFilterUnrollQuality, 0.25,
                -4.0);
    EXPECT_PAIR(GLISSA_GetRotationFilterUnrollTestForPath,
                GLISSA_SetRotationFilterUnrollTestForPath, false, true);
    EXPECT_PAIR(GLISSA_GetButterworthFilterInternalRate, GLISSA_SetButterworthFilterInternalRate,
                240.0, 0.0);
    EXPECT_PAIR(GLISSA_GetUseConstantKeyReducer, GLISSA_SetUseConstantKeyReducer, true, false);
    EXPECT_PAIR(GLISSA_GetUseConstantKeyReducerOnDevices, GLISSA_SetUseConstantKeyReducerOnDevices,
                true, false);
    EXPECT_PAIR(GLISSA_GetConstantKeyReducerKeepOneKey, GLISSA_SetConstantKeyReducerKeepOneKey,
                true, false);
    EXPECT_PAIR(GLISSA_GetUseConstantKeyReducerTranslationThreshold,
                GLISSA_SetUseConstantKeyReducerTranslationThreshold, 5e-13, 1.0);
    EXPECT_PAIR(GLISSA_GetUseConstantKeyReducerRotationThreshold,
                GLISSA_SetUseConstantKeyReducerRotationThreshold, 0.0005, 2.0);
    EXPECT_PAIR(GLISSA_GetUseConstantKeyReducerScalingThreshold,
                GLISSA_SetUseConstantKeyReducerScalingThreshold, 5e-13, 3.0);
    EXPECT_PAIR(GLISSA_GetUseConstantKeyReducerDefaultThreshold,
                GLISSA_SetUseConstantKeyReducerDefaultThreshold, 5e-13,
                std::numeric_limits<double>::infinity());
    EXPECT_PAIR(GLISSA_GetTCB4051EvalMode, GLISSA_SetTCB4051EvalMode, false, true);
    EXPECT_PAIR(GLISSA_IsBrokenRotationBlendEnabled, GLISSA_EnableBrokenRotationBlend, false, true);
    EXPECT_PAIR(GLISSA_GetLockMode, GLISSA_SetLockMode, eLockModeQuery,
                static_cast<eGlissaLockMode>(7));
    // Nothing above leaked into a neighbour.
    EXPECT_EQ(1.0, GLISSA_GetUseConstantKeyReducerTranslationThreshold());
    EXPECT_EQ(2.0, GLISSA_GetUseConstantKeyReducerRotationThreshold());
    EXPECT_EQ(3.0, GLISSA_GetUseConstantKeyReducerScalingThreshold());
    EXPECT_EQ(77, GLISSA_GetPlotTangentMode());
    EXPECT_EQ(3, GLISSA_GetRotationFilterToApply());
}
}  // namespace
