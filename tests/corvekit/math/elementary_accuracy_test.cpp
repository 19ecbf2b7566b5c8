// Copyright (c) 2026 The glissa authors
// SPDX-License-Identifier: MIT

// The elementary functions against MPFR 4.2, in units in the last place of the exact result.

#include "corvekit/math/elementary.h"
#include "tests/support/accuracy_page.h"

#include <gtest/gtest.h>
#include <mpfr.h>

#include <algorithm>
#include <cmath>
#include <cstdio>
#include <random>

namespace
{
class Exact
{
public:
    explicit Exact(double pValue = 0.0)
    {
        mpfr_init2(value, 300);
        mpfr_set_d(value, pValue, MPFR_RNDN);
    }
    ~Exact() { mpfr_clear(value); }
    Exact(const Exact&) = delete;
    Exact& operator=(const Exact&) = delete;

    mpfr_t value;
};

std::mt19937_64 gRandom;

double Between(double pLeast, double pGreatest)
{
    return std::uniform_real_distribution<double>(pLeast, pGreatest)(gRandom);
}
double OfAnySize(int pLeast, int pGreatest)
{
    // In a stated order: compilers evaluate arguments in orders of their own.
    const double fraction = Between(-1, 1);
    return std::ldexp(fraction, static_cast<int>(Between(pLeast, pGreatest)));
}

// Angles of any size, and next to multiples of 45 degrees.
void Angle(double* pX, int pKind)
{
    const double fold = 45.0 * std::round(Between(-40, 40));
    pX[0] = pKind == 0   ? Between(-400, 400)
            : pKind == 1 ? fold + OfAnySize(-60, 0)
            : pKind == 2 ? OfAnySize(-1074, 1023)
                         : std::nextafter(fold, OfAnySize(0, 100));
}
// Sides of any size, a ratio near 1, and half way between two points of the table.
void Sides(double* pX, int pKind)
{
    pX[0] = pKind == 1 ? OfAnySize(-1074, 1020) : Between(-1, 1);
    pX[1] = pKind == 0   ? Between(-1, 1)
            : pKind == 1 ? OfAnySize(-1074, 1020)
            : pKind == 2 ? pX[0] * (1.0 + OfAnySize(-50, 0))
                         : pX[0] / ((std::round(Between(0, 64)) + 0.5) / 64.0);
}
void CosineOfAngle(double* pX, int pKind)
{
    pX[0] = pKind == 0   ? Between(-1, 1)
            : pKind == 1 ? OfAnySize(-1074, 0)
                         : (pKind == 2 ? 1.0 : -1.0) * (1.0 - std::pow(10.0, Between(-15.9, 0)));
}
void BaseAndExponent(double* pX, int pKind)
{
    pX[0] = pKind == 2 ? 1.0 + OfAnySize(-50, -1) : std::fabs(OfAnySize(-1070, 1020));
    const double share = pKind == 1 ? Between(0, 1) : 1.0;
    pX[1] = pKind == 0 ? Between(-2, 2) : Between(-745, 710) / std::log(pX[0]) * share;
}
void Number(double* pX, int pKind)
{
    pX[0] = pKind == 0 ? Between(-745, 709.7) : OfAnySize(-60, 2);
}
void ThreeNumbers(double* pX, int pKind)
{
    const double size = pKind == 0 ? 1.0 : std::fabs(OfAnySize(-1074, 1020));
    for (int i = 0; i < 3; ++i) {
        pX[i] = size * (pKind == 2 ? OfAnySize(-30, 0) : Between(-1, 1));
    }
}

struct Function
{
    const char* name;
    double bound;
    void (*arguments)(double*, int);
    double (*library)(const double*);
    void (*exact)(mpfr_t, const double*);
};

const Function kFunctions[] = {
    {"sine", 0.51, Angle, [](const double* x) { return KgeSinCos(x[0]).sine; },
     [](mpfr_t y, const double* x) { mpfr_sinu(y, Exact(x[0]).value, 360, MPFR_RNDN); }},
    {"cosine", 0.51, Angle, [](const double* x) { return KgeSinCos(x[0]).cosine; },
     [](mpfr_t y, const double* x) { mpfr_cosu(y, Exact(x[0]).value, 360, MPFR_RNDN); }},
    {"arc tangent", 0.51, Sides, [](const double* x) { return KgeArcTangent(x[0], x[1]); },
     [](mpfr_t y, const double* x) {
         mpfr_atan2u(y, Exact(x[0]).value, Exact(x[1]).value, 360, MPFR_RNDN);
     }},
    {"arc cosine", 0.51, CosineOfAngle, [](const double* x) { return KgeArcCosine(x[0]); },
     [](mpfr_t y, const double* x) { mpfr_acosu(y, Exact(x[0]).value, 360, MPFR_RNDN); }},
    {"power", 0.52, BaseAndExponent, [](const double* x) { return KgePower(x[0], x[1]); },
     [](mpfr_t y, const double* x) {
         mpfr_pow(y, Exact(x[0]).value, Exact(x[1]).value, MPFR_RNDN);
     }},
    {"exponential", 0.52, Number, [](const double* x) { return KgeExponential(x[0]); },
     [](mpfr_t y, const double* x) { mpfr_exp(y, Exact(x[0]).value, MPFR_RNDN); }},
    {"length of two numbers", 0.51, ThreeNumbers,
     [](const double* x) { return KgeLength(x[0], x[1]); },
     [](mpfr_t y, const double* x) {
         mpfr_hypot(y, Exact(x[0]).value, Exact(x[1]).value, MPFR_RNDN);
     }},
    {"length of three", 0.51, ThreeNumbers,
     [](const double* x) { return KgeLength(x[0], x[1], x[2]); },
     [](mpfr_t y, const double* x) {
         mpfr_hypot(y, Exact(x[0]).value, Exact(x[1]).value, MPFR_RNDN);
         mpfr_hypot(y, y, Exact(x[2]).value, MPFR_RNDN);
     }},
};

double UnitsApart(double pResult, const Exact& pExact)
{
    Exact difference;
    mpfr_sub_d(difference.value, pExact.value, pResult, MPFR_RNDN);
    const long exponent = mpfr_zero_p(pExact.value) ? -1074 : mpfr_get_exp(pExact.value) - 53;
    mpfr_mul_2si(difference.value, difference.value, -std::max(exponent, -1074l), MPFR_RNDN);
    return std::fabs(mpfr_get_d(difference.value, MPFR_RNDN));
}

TEST(ElementaryAccuracy, ErrorsAreThoseOfTheDocument)
{
    constexpr int kSamples = 40000;
    std::string rows;
    for (const Function& function : kFunctions) {
        gRandom.seed(5);
        double worst = 0.0;
        for (int i = 0; i < kSamples; ++i) {
            double x[3];
            function.arguments(x, i % 4);
            const double result = function.library(x);
            Exact exact;
            function.exact(exact.value, x);
            if (std::isinf(mpfr_get_d(exact.value, MPFR_RNDN))) {
                EXPECT_TRUE(std::isinf(result)) << function.name << " of " << x[0] << ", " << x[1];
                continue;
            }
            const double error = UnitsApart(result, exact);
            ASSERT_LE(error, function.bound)
                << function.name << " of " << x[0] << ", " << x[1] << ", " << x[2];
            worst = std::max(worst, error);
        }
        char row[100];
        std::snprintf(row, sizeof row, "| %s | %d | %.2f | %.3f |\n", function.name, kSamples,
                      function.bound, std::ceil(worst * 1000.0) / 1000.0);
        rows += row;
    }
    EXPECT_EQ(AccuracyRows(true), rows);
}
}  // namespace
