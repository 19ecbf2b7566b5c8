// Copyright (c) 2026 The glissa authors
// SPDX-License-Identifier: MIT
// Not for hosts: a weighted segment cut in two.
#pragma once

#include "glissa/curve/curve.h"

#include <optional>

/// A weighted cubic segment. The right side is that of its first key, the left that of its last.
struct WeightedSegment
{
    float fromValue;
    float toValue;
    float seconds;
    float rightSlope;
    float leftSlope;
    float rightWeight;
    float leftWeight;
};

/// Weights of the two pieces, and the first key of the second one between them.
struct SplitWeights
{
    float firstRight;
    float left;
    float right;
    float lastLeft;
};

/// Cuts a segment at a fraction pT of its time, strictly between 0 and 1, where it has a value and
/// a slope. The pieces follow the segment to within the step of a stored weight. A piece that needs
/// a weight beyond the limit takes the limit, and on its other side the weight that then fits best.
SplitWeights SplitWeightedSegment(const WeightedSegment& pSegment, double pT, float pValue,
                                  float pSlope);

/// The segment behind a key, which has a next one.
WeightedSegment WeightedSegmentBehind(Glissa& pCurve, int pIndex);

/// Cuts the segment behind a key at a time strictly inside it. Nothing where it is not weighted.
std::optional<SplitWeights> SplitSegmentBehind(Glissa& pCurve, int pIndex, KTime pTime);
