// Copyright (c) 2026 The glissa authors
// SPDX-License-Identifier: MIT

#include "glissa/filter/unroll_dof.h"

#include "glissa/filter/unroll_keys.h"

#include <algorithm>
#include <cmath>

template class KClassFrame<GlissaFilterUnrollDof, GlissaUnrollFilter>;

GlissaFilterUnrollDof::GlissaFilterUnrollDof() : KClassFrame("Unroll Filter DOF")
{
    GlissaFilterUnrollDof::Reset();
}

void GlissaFilterUnrollDof::Reset()
{
    std::fill_n(mEnableMin, 3, false);
    std::fill_n(mEnableMax, 3, false);
    mMin.Init(-180.0, -180.0, -180.0);
    mMax.Init(180.0, 180.0, 180.0);
    GlissaUnrollFilter::Reset();
}

void GlissaFilterUnrollDof::GetMinFreedom(double& pX, double& pY, double& pZ) const
{
    pX = mMin[0];
    pY = mMin[1];
    pZ = mMin[2];
}

void GlissaFilterUnrollDof::SetMinFreedom(const double& pX, const double& pY, const double& pZ)
{
    mMin.Init(pX, pY, pZ);
}

void GlissaFilterUnrollDof::GetMaxFreedom(double& pX, double& pY, double& pZ) const
{
    pX = mMax[0];
    pY = mMax[1];
    pZ = mMax[2];
}

void GlissaFilterUnrollDof::SetMaxFreedom(const double& pX, const double& pY, const double& pZ)
{
    mMax.Init(pX, pY, pZ);
}

const char* GlissaFilterUnrollDof::FindFault() const
{
    for (int i = 0; i < 3; ++i) {
        if ((mEnableMin[i] && !std::isfinite(mMin[i])) ||
            (mEnableMax[i] && !std::isfinite(mMax[i]))) {
            return "Unroll Filter, A limit is not finite.";
        }
    }
    return GlissaUnrollFilter::FindFault();
}

void GlissaFilterUnrollDof::AddLimits(UnrollRules& pRules) const
{
    pRules.enableMin = mEnableMin;
    pRules.min = mMin.Data();
    pRules.enableMax = mEnableMax;
    pRules.max = mMax.Data();
}
