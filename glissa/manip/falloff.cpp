// Copyright (c) 2026 The glissa authors
// SPDX-License-Identifier: MIT

// A change of value that fades over the unmarked keys next to the marked ones.

#include "glissa/curve/write_value.h"
#include "glissa/manip/manipulator.h"

#include <cmath>
#include <cstdint>
#include <cstdlib>
#include <limits>
#include <optional>

namespace
{
constexpr double kLeastChange = std::numeric_limits<double>::epsilon();

/// A marked key next to unmarked ones, and the change that it passes to them.
class Edge
{
public:
    Edge(const Glissa& pCurve, int pKey, double pChange)
        : mFrame(pCurve.KeyGetTime(pKey).GetFrame()), mChange(pChange)
    {}
    /// Distances are whole frames of the default time mode.
    double DistanceTo(const Glissa& pCurve, int pKey) const
    {
        return static_cast<double>(std::abs(pCurve.KeyGetTime(pKey).GetFrame() - mFrame));
    }
    double ChangeAt(const Glissa& pCurve, int pKey, double pRadius) const
    {
        // Infinity less a distance over infinity is not a number.
        return std::isinf(pRadius) ? mChange
                                   : (pRadius - DistanceTo(pCurve, pKey)) / pRadius * mChange;
    }

private:
    std::int64_t mFrame;
    double mChange;
};
}  // namespace

// The gap between two runs of marked keys is filled from both sides. A key that both sides reach
// takes the greater change, and the one from the left where they are equal. Marked keys keep their
// values here, so each gap is written before the next one is read.
void GlissaManipulator::FallOff(Glissa* pCurve, double pValue, double pRadius, Glissa* pOriginal)
{
    CORVEKIT_ASSERT(pCurve);
    if ((std::fabs(pValue) < kLeastChange && !pOriginal) || !(pRadius > kLeastChange)) {
        return;
    }
    const Glissa& curve = *pCurve;
    const auto edgeAt = [&](int pKey) {
        double change = pValue;
        if (pOriginal) {
            change = curve.KeyGetValue(pKey) - pOriginal->Evaluate(curve.KeyGetTime(pKey), nullptr);
        }
        return Edge(curve, pKey, change);
    };
    const int count = curve.KeyGetCount();
    for (int first = 0; first < count; ++first) {
        if (curve.KeyGetMarkedForManipulation(first)) {
            continue;
        }
        int end = first + 1;
        while (end < count && !curve.KeyGetMarkedForManipulation(end)) {
            ++end;
        }
        // The left edge reaches the keys first to leftEnd - 1, the right one rightFirst to end - 1.
        int leftEnd = first;
        int rightFirst = end;
        std::optional<Edge> left;
        std::optional<Edge> right;
        if (first > 0) {
            left = edgeAt(first - 1);
            while (leftEnd < end && pRadius > left->DistanceTo(curve, leftEnd)) {
                ++leftEnd;
            }
        }
        if (end < count) {
            right = edgeAt(end);
            while (rightFirst > first && pRadius > right->DistanceTo(curve, rightFirst - 1)) {
                --rightFirst;
            }
        }
        for (int j = first; j < end; ++j) {
            if (j == leftEnd && j < rightFirst) {
                j = rightFirst;
                if (j == end) {
                    break;
                }
            }
            double change = j < leftEnd ? left->ChangeAt(curve, j, pRadius) : 0.0;
            if (j >= rightFirst) {
                const double fromRight = right->ChangeAt(curve, j, pRadius);
                if (j >= leftEnd || std::fabs(fromRight) > std::fabs(change)) {
                    change = fromRight;
                }
            }
            WriteKeyValue(*pCurve, j,
                          static_cast<float>(static_cast<double>(curve.KeyGetValue(j)) + change));
            pCurve->AddDetailedEvent(eEventEditValue, j, j);
        }
        first = end;
    }
}
