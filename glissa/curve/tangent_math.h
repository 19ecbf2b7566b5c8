// Copyright (c) 2026 The glissa authors
// SPDX-License-Identifier: MIT
#pragma once

#include "glissa/export.h"

class Glissa;

// Slopes from automatic parameters (curve/tangent_math.cpp)
//
// An automatic tangent (eTangentAuto) has no slope of its own. Its slope is computed from the
// secants, the slopes of the straight lines from the key to its two neighbours, so that it changes
// with them. A parameter for each side chooses the slope between the secants:
//
//    parameter   left side                 right side
//      100       secant to the left        secant to the right
//        0       mean of the two           mean of the two
//     -100       secant to the right       secant to the left
//
// Between 0 and 500, on either side of 0, the slope is linear in the parameter. From 500 on a
// parabola is added, which reaches slopes that the line would need very large parameters for. An
// unbroken tangent has opposite parameters on its two sides. Slopes are value per second.

GLISSA_API void GLISSA_ComputeLeftBezierFromAuto(double& pOut, const double& pAuto,
                                                 const double& pToLeft, const double& pToRight);
GLISSA_API void GLISSA_ComputeRightBezierFromAuto(double& pOut, const double& pAuto,
                                                  const double& pToLeft, const double& pToRight);

/// Secants to the two neighbours of a key. For an end key both are the one that exists. On a curve
/// of one key pToRight stays as given and pToLeft takes its value.
GLISSA_API void GLISSA_ComputeToLeftAndToRight(double& pToLeft, double& pToRight, Glissa* pCurve,
                                               int pIndex);

/// The slope of the progressive clamp: 0 at a local peak, else never above three times a secant.
/// An end key is flat, or with pExtremes takes its secant.
GLISSA_API void GLISSA_ComputeProgressiveClampedTangents(double& pLeft, double& pRight,
                                                         Glissa* pCurve, int pIndex,
                                                         bool pExtremes);

/// The first two functions with the secants of a key; 0 on an empty curve.
GLISSA_API void GLISSA_ComputeLeftBezierFromAutoForKey(double& pOut, const double& pAuto,
                                                       Glissa* pCurve, int pIndex);
GLISSA_API void GLISSA_ComputeRightBezierFromAutoForKey(double& pOut, const double& pAuto,
                                                        Glissa* pCurve, int pIndex);

// Automatic parameters from slopes: the inverse of the functions above. Where the two secants are
// equal to within 1e-5 every slope in their range has parameter 0.

/// pSlope  in and out: a magnitude under 1e-5 counts as 0 and is written back as such.
GLISSA_API void GLISSA_ComputeLeftAutoFromBezier(double& pOut, double& pSlope,
                                                 const double& pToLeft, const double& pToRight);
GLISSA_API void GLISSA_ComputeRightAutoFromBezier(double& pOut, double& pSlope,
                                                  const double& pToLeft, const double& pToRight);
/// The same with the secants of a key; 0 on an empty curve.
GLISSA_API void GLISSA_ComputeLeftAutoFromBezierForKey(double& pOut, double& pSlope, Glissa* pCurve,
                                                       int pIndex);
GLISSA_API void GLISSA_ComputeRightAutoFromBezierForKey(double& pOut, double& pSlope,
                                                        Glissa* pCurve, int pIndex);

// Both sides at once.

GLISSA_API void GLISSA_ComputeBezierFromAuto(double& pLeftSlope, double& pRightSlope,
                                             const double& pLeftAuto, const double& pRightAuto,
                                             const double& pToLeft, const double& pToRight);
GLISSA_API void GLISSA_ComputeAutoFromBezier(double& pLeftAuto, double& pRightAuto,
                                             double& pLeftSlope, double& pRightSlope,
                                             const double& pToLeft, const double& pToRight);
GLISSA_API void GLISSA_ComputeBezierFromAutoForKey(double& pLeftSlope, double& pRightSlope,
                                                   const double& pLeftAuto,
                                                   const double& pRightAuto, Glissa* pCurve,
                                                   int pIndex);
GLISSA_API void GLISSA_ComputeAutoFromBezierForKey(double& pLeftAuto, double& pRightAuto,
                                                   double& pLeftSlope, double& pRightSlope,
                                                   Glissa* pCurve, int pIndex);

/// Continuity and bias of the TCB tangent that has two given slopes, for a tension. A tension that
/// leaves no slope (1 to within 0.01) becomes 0; where the two secants are equal the tension is
/// found as well.
///
/// pTension  in and out.
GLISSA_API void GLISSA_ComputeTCBFromBezierForKey(double& pTension, double& pContinuity,
                                                  double& pBias, double pLeftSlope,
                                                  double pRightSlope, Glissa* pCurve, int pIndex);
