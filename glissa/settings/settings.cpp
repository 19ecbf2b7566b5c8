// Copyright (c) 2026 The glissa authors
// SPDX-License-Identifier: MIT

#include "glissa/settings/settings.h"

namespace
{
KTime sPlotPeriod = KTime(4704000);
bool sPlotOnFrame = true;
int sPlotTangentMode = 0;
bool sPlotTranslationOnRootOnly = false;
bool sPlotAuxEffectors = true;
bool sPlotLockedProperties = false;
bool sClearLockedProperties = false;
bool sEvaluateDeformationOnPlot = false;
bool sPreciseTimeDiscontinuities = false;
int sRotationFilterToApply = 2;
double sRotationFilterUnrollQuality = 0.25;
bool sRotationFilterUnrollTestForPath = false;
double sButterworthFilterInternalRate = 240.0;
bool sUseConstantKeyReducer = true;
bool sUseConstantKeyReducerOnDevices = true;
bool sConstantKeyReducerKeepOneKey = true;
double sUseConstantKeyReducerTranslationThreshold = 5e-13;
double sUseConstantKeyReducerRotationThreshold = 0.0005;
double sUseConstantKeyReducerScalingThreshold = 5e-13;
double sUseConstantKeyReducerDefaultThreshold = 5e-13;
bool sTCB4051EvalMode = false;
bool sBrokenRotationBlend = false;
eGlissaLockMode sLockMode = eLockModeQuery;
}  // namespace

KTime GLISSA_GetPlotPeriod() { return sPlotPeriod; }
void GLISSA_SetPlotPeriod(KTime pValue) { sPlotPeriod = pValue; }

bool GLISSA_GetPlotOnFrame() { return sPlotOnFrame; }
void GLISSA_SetPlotOnFrame(bool pEnable) { sPlotOnFrame = pEnable; }

int GLISSA_GetPlotTangentMode() { return sPlotTangentMode; }
void GLISSA_SetPlotTangentMode(int pValue) { sPlotTangentMode = pValue; }

bool GLISSA_GetPlotTranslationOnRootOnly() { return sPlotTranslationOnRootOnly; }
void GLISSA_SetPlotTranslationOnRootOnly(bool pEnable) { sPlotTranslationOnRootOnly = pEnable; }

bool GLISSA_GetPlotAuxEffectors() { return sPlotAuxEffectors; }
void GLISSA_SetPlotAuxEffectors(bool pEnable) { sPlotAuxEffectors = pEnable; }

bool GLISSA_GetPlotLockedProperties() { return sPlotLockedProperties; }
void GLISSA_SetPlotLockedProperties(bool pEnable) { sPlotLockedProperties = pEnable; }

bool GLISSA_GetClearLockedProperties() { return sClearLockedProperties; }
void GLISSA_SetClearLockedProperties(bool pEnable) { sClearLockedProperties = pEnable; }

bool GLISSA_GetEvaluateDeformationOnPlot() { return sEvaluateDeformationOnPlot; }
void GLISSA_SetEvaluateDeformationOnPlot(bool pEnable) { sEvaluateDeformationOnPlot = pEnable; }

bool GLISSA_GetPreciseTimeDiscontinuities() { return sPreciseTimeDiscontinuities; }
void GLISSA_SetPreciseTimeDiscontinuities(bool pEnable) { sPreciseTimeDiscontinuities = pEnable; }

int GLISSA_GetRotationFilterToApply() { return sRotationFilterToApply; }
void GLISSA_SetRotationFilterToApply(int pValue) { sRotationFilterToApply = pValue; }

double GLISSA_GetRotationFilterUnrollQuality() { return sRotationFilterUnrollQuality; }
void GLISSA_SetRotationFilterUnrollQuality(double pValue) { sRotationFilterUnrollQuality = pValue; }

bool GLISSA_GetRotationFilterUnrollTestForPath() { return sRotationFilterUnrollTestForPath; }
void GLISSA_SetRotationFilterUnrollTestForPath(bool pEnable)
{
    sRotationFilterUnrollTestForPath = pEnable;
}

double GLISSA_GetButterworthFilterInternalRate() { return sButterworthFilterInternalRate; }
void GLISSA_SetButterworthFilterInternalRate(double pValue)
{
    sButterworthFilterInternalRate = pValue;
}

bool GLISSA_GetUseConstantKeyReducer() { return sUseConstantKeyReducer; }
void GLISSA_SetUseConstantKeyReducer(bool pEnable) { sUseConstantKeyReducer = pEnable; }

bool GLISSA_GetUseConstantKeyReducerOnDevices() { return sUseConstantKeyReducerOnDevices; }
void GLISSA_SetUseConstantKeyReducerOnDevices(bool pEnable)
{
    sUseConstantKeyReducerOnDevices = pEnable;
}

bool GLISSA_GetConstantKeyReducerKeepOneKey() { return sConstantKeyReducerKeepOneKey; }
void GLISSA_SetConstantKeyReducerKeepOneKey(bool pEnable)
{
    sConstantKeyReducerKeepOneKey = pEnable;
}

double GLISSA_GetUseConstantKeyReducerTranslationThreshold()
{
    return sUseConstantKeyReducerTranslationThreshold;
}
void GLISSA_SetUseConstantKeyReducerTranslationThreshold(double pValue)
{
    sUseConstantKeyReducerTranslationThreshold = pValue;
}

double GLISSA_GetUseConstantKeyReducerRotationThreshold()
{
    return sUseConstantKeyReducerRotationThreshold;
}
void GLISSA_SetUseConstantKeyReducerRotationThreshold(double pValue)
{
    sUseConstantKeyReducerRotationThreshold = pValue;
}

double GLISSA_GetUseConstantKeyReducerScalingThreshold()
{
    return sUseConstantKeyReducerScalingThreshold;
}
void GLISSA_SetUseConstantKeyReducerScalingThreshold(double pValue)
{
    sUseConstantKeyReducerScalingThreshold = pValue;
}

double GLISSA_GetUseConstantKeyReducerDefaultThreshold()
{
    return sUseConstantKeyReducerDefaultThreshold;
}
void GLISSA_SetUseConstantKeyReducerDefaultThreshold(double pValue)
{
    sUseConstantKeyReducerDefaultThreshold = pValue;
}

bool GLISSA_GetTCB4051EvalMode() { return sTCB4051EvalMode; }
void GLISSA_SetTCB4051EvalMode(bool pEnable) { sTCB4051EvalMode = pEnable; }

bool GLISSA_IsBrokenRotationBlendEnabled() { return sBrokenRotationBlend; }
void GLISSA_EnableBrokenRotationBlend(bool pEnable) { sBrokenRotationBlend = pEnable; }

eGlissaLockMode GLISSA_GetLockMode() { return sLockMode; }
void GLISSA_SetLockMode(eGlissaLockMode pValue) { sLockMode = pValue; }
