// Copyright (c) 2026 The glissa authors
// SPDX-License-Identifier: MIT
#pragma once

#include "glissa/filter/unroll_filter.h"

/// Removes the jumps of a rotation as GlissaFilterUnroll does, with limits of the angles, the
/// degrees of freedom of a joint: angles within all limits are preferred to nearer ones beyond.
/// Where no angles of an orientation are within them, the limits are ignored for that key. Without
/// a limit it does what GlissaFilterUnroll does.
class GLISSA_API GlissaFilterUnrollDof
    : public KClassFrame<GlissaFilterUnrollDof, GlissaUnrollFilter>
{
public:
    static constexpr char kClassName[] = "GlissaFilterUnrollDof";

    GlissaFilterUnrollDof();
    void Reset() override;

    /// Which limits hold; none by default.
    bool GetEnableMinX() const { return mEnableMin[0]; }
    bool GetEnableMinY() const { return mEnableMin[1]; }
    bool GetEnableMinZ() const { return mEnableMin[2]; }
    void SetEnableMinX(bool pEnable) { mEnableMin[0] = pEnable; }
    void SetEnableMinY(bool pEnable) { mEnableMin[1] = pEnable; }
    void SetEnableMinZ(bool pEnable) { mEnableMin[2] = pEnable; }
    bool GetEnableMaxX() const { return mEnableMax[0]; }
    bool GetEnableMaxY() const { return mEnableMax[1]; }
    bool GetEnableMaxZ() const { return mEnableMax[2]; }
    void SetEnableMaxX(bool pEnable) { mEnableMax[0] = pEnable; }
    void SetEnableMaxY(bool pEnable) { mEnableMax[1] = pEnable; }
    void SetEnableMaxZ(bool pEnable) { mEnableMax[2] = pEnable; }
    /// Degrees, -180 by default. A limit that holds and is not finite is refused with
    /// eFilterUnchanged.
    void GetMinFreedom(double& pX, double& pY, double& pZ) const;
    void SetMinFreedom(const double& pX, const double& pY, const double& pZ);
    /// Degrees, 180 by default.
    void GetMaxFreedom(double& pX, double& pY, double& pZ) const;
    void SetMaxFreedom(const double& pX, const double& pY, const double& pZ);

private:
    const char* FindFault() const override;
    void AddLimits(UnrollRules& pRules) const override;

    bool mEnableMin[3];
    KgeRVector mMin;
    bool mEnableMax[3];
    KgeRVector mMax;
};

extern template class KClassFrame<GlissaFilterUnrollDof, GlissaUnrollFilter>;
