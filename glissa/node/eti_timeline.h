// Copyright (c) 2026 The glissa authors
// SPDX-License-Identifier: MIT
// Not for hosts: the ETIs of a node, asked once for many times.
#pragma once

#include "corvekit/time.h"

class GlissaNode;

/// The placement of a node on the timeline of the host. Made for one operation: the host may move
/// the node at any time.
class ETITimeline
{
public:
    explicit ETITimeline(GlissaNode& pNode);

    /// The product of the scale factors; 0 is possible.
    double GetScaleFactor() const { return mScale; }
    KTime ToGlobal(KTime pTime) const
    {
        const KTime time =
            mScale == 1.0 ? pTime : KTime::FromSeconds(pTime.GetSecondDouble() * mScale);
        return time + mOffset;
    }
    /// A scale factor of 0, which has no inverse, counts as 1e-6.
    KTime ToNode(KTime pTime) const
    {
        const KTime time = pTime - mOffset;
        if (mScale == 1.0) {
            return time;
        }
        return KTime::FromSeconds(time.GetSecondDouble() / (mScale == 0.0 ? kLeastScale : mScale));
    }

private:
    static constexpr double kLeastScale = 1e-6;

    double mScale;
    KTime mOffset;
};
