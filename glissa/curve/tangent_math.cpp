// Copyright (c) 2026 The glissa authors
// SPDX-License-Identifier: MIT

#include "glissa/curve/tangent_math.h"

#include "glissa/curve/curve.h"
#include "glissa/curve/key_window.h"

#include <cfloat>
#include <cmath>
#include <utility>

namespace
{
constexpr double kSlopeTolerance = 1e-5;
constexpr double kSecantTolerance = 1e-10;

double WithoutSmall(double pSlope)
{
    return std::fabs(pSlope) < kSlopeTolerance ? 0.0 : pSlope;
}

// Between equal secants the range is a single slope, which the roundings of its two ends would
// miss.
bool IsSlopeOfEqualSecants(double pSlope, double pToLeft, double pToRight)
{
    return std::fabs(pToLeft - pToRight) < kSlopeTolerance &&
           std::fabs(pSlope - pToLeft) < kSlopeTolerance + 8.0 * DBL_EPSILON * std::fabs(pToLeft);
}

// How far a parameter lies beyond 500, or below -500, for a slope that lies beyond the one there. A
// step u beyond 500 is sign * (u (x - y) / 200 + u^2 1000 / 250000) away from it: both terms
// point the same way, so in this form of the root nothing cancels, however steep the secants.
double OuterAuto(double pSlope, double pAtLimit, double pX, double pY)
{
    constexpr double kSquare = 1000.0 / 250000.0;
    const double distance = std::fabs(pSlope - pAtLimit);
    const double linear = std::fabs(pX - pY) / 200.0;
    return 500.0 +
           2.0 * distance / (linear + std::sqrt(linear * linear + 4.0 * kSquare * distance));
}

double InnerAuto(double pSlope, double pX, double pY)
{
    return std::fabs(pX - pY) < kSlopeTolerance
               ? 0.0
               : (200.0 * pSlope - 100.0 * pX - 100.0 * pY) / (pX - pY);
}

// The result of a formula for the secants of a key; 0 where there is no key.
template <typename Formula>
double AtKey(const Glissa* pCurve, int pIndex, Formula&& pFormula)
{
    CORVEKIT_ASSERT(pCurve);
    if (pCurve->KeyGetCount() == 0) {
        return 0.0;
    }
    double toLeft = 0.0;
    double toRight = 0.0;
    SecantsOfKey(WindowOf(pCurve->Keys(), pIndex), toLeft, toRight);
    return pFormula(toLeft, toRight);
}

double SlopeForKey(KeySide pSide, double pAuto, const Glissa* pCurve, int pIndex)
{
    return AtKey(pCurve, pIndex, [=](double pToLeft, double pToRight) {
        return SlopeFromAuto(pSide, pAuto, pToLeft, pToRight);
    });
}

double AutoFromSlope(KeySide pSide, double& pSlope, double pToLeft, double pToRight)
{
    const bool isLeft = pSide == KeySide::kLeft;
    const double near = isLeft ? pToLeft : pToRight;
    const double far = isLeft ? pToRight : pToLeft;
    const double atHighest = SlopeFromAuto(pSide, 500.0, pToLeft, pToRight);
    const double atLowest =
        SlopeFromAuto(isLeft ? KeySide::kRight : KeySide::kLeft, 500.0, pToLeft, pToRight);
    const double highest = WithoutSmall(atHighest);
    const double lowest = WithoutSmall(atLowest);
    pSlope = WithoutSmall(pSlope);
    const bool isNearAbove = (pToLeft > pToRight) == isLeft;
    if (IsSlopeOfEqualSecants(pSlope, pToLeft, pToRight)) {
        return 0.0;
    }
    if (isNearAbove ? pSlope > highest : highest > pSlope) {
        return OuterAuto(pSlope, atHighest, near, far);
    }
    if (isNearAbove ? lowest > pSlope : pSlope > lowest) {
        return -OuterAuto(pSlope, atLowest, near, far);
    }
    return InnerAuto(pSlope, near, far);
}

double AutoForKey(KeySide pSide, double& pSlope, const Glissa* pCurve, int pIndex)
{
    return AtKey(pCurve, pIndex, [&, pSide](double pToLeft, double pToRight) {
        return AutoFromSlope(pSide, pSlope, pToLeft, pToRight);
    });
}
}  // namespace

void GLISSA_ComputeLeftBezierFromAuto(double& pOut, const double& pAuto, const double& pToLeft,
                                      const double& pToRight)
{
    pOut = SlopeFromAuto(KeySide::kLeft, pAuto, pToLeft, pToRight);
}

void GLISSA_ComputeRightBezierFromAuto(double& pOut, const double& pAuto, const double& pToLeft,
                                       const double& pToRight)
{
    pOut = SlopeFromAuto(KeySide::kRight, pAuto, pToLeft, pToRight);
}

void GLISSA_ComputeToLeftAndToRight(double& pToLeft, double& pToRight, Glissa* pCurve, int pIndex)
{
    SecantsOfKey(WindowOf(pCurve->Keys(), pIndex), pToLeft, pToRight);
}

void GLISSA_ComputeProgressiveClampedTangents(double& pLeft, double& pRight, Glissa* pCurve,
                                              int pIndex, bool pExtremes)
{
    ProgressiveSlopes(WindowOf(pCurve->Keys(), pIndex), pExtremes, pLeft, pRight);
}

void GLISSA_ComputeLeftBezierFromAutoForKey(double& pOut, const double& pAuto, Glissa* pCurve,
                                            int pIndex)
{
    pOut = SlopeForKey(KeySide::kLeft, pAuto, pCurve, pIndex);
}

void GLISSA_ComputeRightBezierFromAutoForKey(double& pOut, const double& pAuto, Glissa* pCurve,
                                             int pIndex)
{
    pOut = SlopeForKey(KeySide::kRight, pAuto, pCurve, pIndex);
}

void GLISSA_ComputeLeftAutoFromBezier(double& pOut, double& pSlope, const double& pToLeft,
                                      const double& pToRight)
{
    pOut = AutoFromSlope(KeySide::kLeft, pSlope, pToLeft, pToRight);
}

void GLISSA_ComputeRightAutoFromBezier(double& pOut, double& pSlope, const double& pToLeft,
                                       const double& pToRight)
{
    pOut = AutoFromSlope(KeySide::kRight, pSlope, pToLeft, pToRight);
}

void GLISSA_ComputeLeftAutoFromBezierForKey(double& pOut, double& pSlope, Glissa* pCurve,
                                            int pIndex)
{
    pOut = AutoForKey(KeySide::kLeft, pSlope, pCurve, pIndex);
}

void GLISSA_ComputeRightAutoFromBezierForKey(double& pOut, double& pSlope, Glissa* pCurve,
                                             int pIndex)
{
    pOut = AutoForKey(KeySide::kRight, pSlope, pCurve, pIndex);
}

void GLISSA_ComputeBezierFromAuto(double& pLeftSlope, double& pRightSlope, const double& pLeftAuto,
                                  const double& pRightAuto, const double& pToLeft,
                                  const double& pToRight)
{
    GLISSA_ComputeLeftBezierFromAuto(pLeftSlope, pLeftAuto, pToLeft, pToRight);
    GLISSA_ComputeRightBezierFromAuto(pRightSlope, pRightAuto, pToLeft, pToRight);
}

void GLISSA_ComputeAutoFromBezier(double& pLeftAuto, double& pRightAuto, double& pLeftSlope,
                                  double& pRightSlope, const double& pToLeft,
                                  const double& pToRight)
{
    GLISSA_ComputeLeftAutoFromBezier(pLeftAuto, pLeftSlope, pToLeft, pToRight);
    GLISSA_ComputeRightAutoFromBezier(pRightAuto, pRightSlope, pToLeft, pToRight);
}

void GLISSA_ComputeBezierFromAutoForKey(double& pLeftSlope, double& pRightSlope,
                                        const double& pLeftAuto, const double& pRightAuto,
                                        Glissa* pCurve, int pIndex)
{
    GLISSA_ComputeLeftBezierFromAutoForKey(pLeftSlope, pLeftAuto, pCurve, pIndex);
    GLISSA_ComputeRightBezierFromAutoForKey(pRightSlope, pRightAuto, pCurve, pIndex);
}

void GLISSA_ComputeAutoFromBezierForKey(double& pLeftAuto, double& pRightAuto, double& pLeftSlope,
                                        double& pRightSlope, Glissa* pCurve, int pIndex)
{
    GLISSA_ComputeLeftAutoFromBezierForKey(pLeftAuto, pLeftSlope, pCurve, pIndex);
    GLISSA_ComputeRightAutoFromBezierForKey(pRightAuto, pRightSlope, pCurve, pIndex);
}

void GLISSA_ComputeTCBFromBezierForKey(double& pTension, double& pContinuity, double& pBias,
                                       double pLeftSlope, double pRightSlope, Glissa* pCurve,
                                       int pIndex)
{
    const KeyWindow key = WindowOf(pCurve->Keys(), pIndex);
    const double tl = key.previous ? Secant(*key.previous, *key.key) : 0.0;
    const double tr = key.next ? Secant(*key.key, *key.next) : 0.0;
    // An end key has one side, whose formula lacks the factor of a half.
    const double l = !key.previous ? 0.0 : !key.next ? pLeftSlope * 0.5 : pLeftSlope;
    const double r = !key.next ? 0.0 : !key.previous ? pRightSlope * 0.5 : pRightSlope;

    if (std::fabs(tr - tl) < kSecantTolerance) {
        if (std::fabs(r - l) < kSecantTolerance) {
            pTension = 0.0;
            pContinuity = 0.0;
            pBias = 0.0;
            return;
        }
        pContinuity = (l + r) / (r - l);
        pBias = 1.0;
        const double full = (tr + tl) * (1.0 - pContinuity);
        pTension = full != 0.0 ? (full - l) / full : 0.0;
        return;
    }
    if (std::fabs(1.0 - pTension) < 0.01) {
        pTension = 0.0;
    }
    const double d = tl - tr;
    pBias = ((l + r) / (1.0 - pTension) - (tr + tl)) / d;
    const double e = 2.0 * r / (1.0 - pTension) - tr - tl - pBias * d;
    const double scale = (tr + tl) * pBias + d;
    pContinuity = std::fabs(e) > kSecantTolerance && scale != 0.0 ? e / scale : e;
}
