// Copyright (c) 2026 The glissa authors
// SPDX-License-Identifier: MIT
#pragma once

#include "corvekit/time.h"
#include "glissa/export.h"

/// How a node decides whether it is locked. Values other than these act as eLockModeQuery.
enum eGlissaLockMode : int
{
    eLockModeQuery = 1,     ///< the layer's lock, then the host's ILockQuery
    eLockModeOff = 2,       ///< nothing is ever locked
    eLockModeProperty = 3,  ///< the layer's lock, then the flags of the property
};

// Process-wide options: plain values, each with a getter and a setter. A setter stores its argument
// without a range test. Nothing is saved or notified, and there is no lock: set them while no
// filter or evaluation runs.

// Plotting

/// Sampling period of the smoothing and transform filters; 1/30 s at start.
GLISSA_API KTime GLISSA_GetPlotPeriod();
GLISSA_API void GLISSA_SetPlotPeriod(KTime pValue);
/// For the host: plot keys on whole frames.
GLISSA_API bool GLISSA_GetPlotOnFrame();
GLISSA_API void GLISSA_SetPlotOnFrame(bool pEnable);
/// For the host: tangent mode of plotted keys.
GLISSA_API int GLISSA_GetPlotTangentMode();
GLISSA_API void GLISSA_SetPlotTangentMode(int pValue);
/// For the host: plot translations on the root only.
GLISSA_API bool GLISSA_GetPlotTranslationOnRootOnly();
GLISSA_API void GLISSA_SetPlotTranslationOnRootOnly(bool pEnable);
/// For the host: plot auxiliary effectors.
GLISSA_API bool GLISSA_GetPlotAuxEffectors();
GLISSA_API void GLISSA_SetPlotAuxEffectors(bool pEnable);
/// For the host: plot locked properties too.
GLISSA_API bool GLISSA_GetPlotLockedProperties();
GLISSA_API void GLISSA_SetPlotLockedProperties(bool pEnable);
/// For the host: clear locked properties.
GLISSA_API bool GLISSA_GetClearLockedProperties();
GLISSA_API void GLISSA_SetClearLockedProperties(bool pEnable);
/// For the host: evaluate deformations while plotting.
GLISSA_API bool GLISSA_GetEvaluateDeformationOnPlot();
GLISSA_API void GLISSA_SetEvaluateDeformationOnPlot(bool pEnable);
/// For the host: keep time discontinuities exact.
GLISSA_API bool GLISSA_GetPreciseTimeDiscontinuities();
GLISSA_API void GLISSA_SetPreciseTimeDiscontinuities(bool pEnable);

// Rotation filters

/// 1 gimbal killer, 2 unroll (at start), any other value none.
GLISSA_API int GLISSA_GetRotationFilterToApply();
GLISSA_API void GLISSA_SetRotationFilterToApply(int pValue);
/// Interpolation quality that a reset unroll filter starts with.
GLISSA_API double GLISSA_GetRotationFilterUnrollQuality();
GLISSA_API void GLISSA_SetRotationFilterUnrollQuality(double pValue);
/// Whether a reset unroll filter tests the path between keys.
GLISSA_API bool GLISSA_GetRotationFilterUnrollTestForPath();
GLISSA_API void GLISSA_SetRotationFilterUnrollTestForPath(bool pEnable);

// Signal filters

/// Internal sampling rate of a new Butterworth filter, in samples per second.
GLISSA_API double GLISSA_GetButterworthFilterInternalRate();
GLISSA_API void GLISSA_SetButterworthFilterInternalRate(double pValue);

// Constant key reducer

/// For the host: reduce constant keys.
GLISSA_API bool GLISSA_GetUseConstantKeyReducer();
GLISSA_API void GLISSA_SetUseConstantKeyReducer(bool pEnable);
/// For the host: reduce constant keys on devices.
GLISSA_API bool GLISSA_GetUseConstantKeyReducerOnDevices();
GLISSA_API void GLISSA_SetUseConstantKeyReducerOnDevices(bool pEnable);
/// For the host: leave one key of a constant curve.
GLISSA_API bool GLISSA_GetConstantKeyReducerKeepOneKey();
GLISSA_API void GLISSA_SetConstantKeyReducerKeepOneKey(bool pEnable);
/// For the host: threshold on translations, in scene units.
GLISSA_API double GLISSA_GetUseConstantKeyReducerTranslationThreshold();
GLISSA_API void GLISSA_SetUseConstantKeyReducerTranslationThreshold(double pValue);
/// For the host: threshold on rotations, in degrees.
GLISSA_API double GLISSA_GetUseConstantKeyReducerRotationThreshold();
GLISSA_API void GLISSA_SetUseConstantKeyReducerRotationThreshold(double pValue);
/// For the host: threshold on scalings.
GLISSA_API double GLISSA_GetUseConstantKeyReducerScalingThreshold();
GLISSA_API void GLISSA_SetUseConstantKeyReducerScalingThreshold(double pValue);
/// For the host: threshold on other channels.
GLISSA_API double GLISSA_GetUseConstantKeyReducerDefaultThreshold();
GLISSA_API void GLISSA_SetUseConstantKeyReducerDefaultThreshold(double pValue);

// Evaluation

/// The older evaluation of TCB keys: the left slope of a TCB key is its right slope.
GLISSA_API bool GLISSA_GetTCB4051EvalMode();
GLISSA_API void GLISSA_SetTCB4051EvalMode(bool pEnable);
/// Whether rotations blend by the older arithmetic, kept for scenes made with it.
GLISSA_API bool GLISSA_IsBrokenRotationBlendEnabled();
GLISSA_API void GLISSA_EnableBrokenRotationBlend(bool pEnable);

// Locks

/// How a node decides whether it is locked.
GLISSA_API eGlissaLockMode GLISSA_GetLockMode();
GLISSA_API void GLISSA_SetLockMode(eGlissaLockMode pValue);
