// Copyright (c) 2026 The glissa authors
// SPDX-License-Identifier: MIT

#include "io/clip.h"

#include "corvekit/math/rotation_order.h"

#include <algorithm>
#include <numeric>
#include <unordered_map>

const char* ClipChannelPath(EClipChannel pChannel)
{
    constexpr const char* kPaths[kClipChannelKinds] = {"T/X", "T/Y", "T/Z", "R/X", "R/Y", "R/Z"};
    return kPaths[pChannel];
}

ClipRate Clip::GetRate() const
{
    const std::int64_t ticks = std::max<std::int64_t>(mFramePeriod.Get(), 1);
    const std::int64_t common = std::gcd(KTime::kTicksPerSecond, ticks);
    return {KTime::kTicksPerSecond / common, ticks / common};
}

std::string Clip::GetCurveName(const ClipJoint& pJoint, int pIndex) const
{
    return pJoint.mAddress + '/' +
           ClipChannelPath(pJoint.mChannels[static_cast<std::size_t>(pIndex)]);
}

int RotationOrderOf(const std::vector<EClipChannel>& pChannels)
{
    int axes[3] = {};
    int count = 0;
    bool used[3] = {};
    for (auto channel = pChannels.rbegin(); channel != pChannels.rend(); ++channel) {
        const int axis = ClipChannelAxis(*channel);
        if (IsRotation(*channel) && !used[axis]) {
            used[axis] = true;
            axes[count++] = axis;
        }
    }
    for (int axis = 0; axis < 3; ++axis) {
        if (!used[axis]) {
            axes[count++] = axis;
        }
    }
    int order = 0;
    while (order < kRotationOrderCount - 1 && !std::equal(axes, axes + 3, KmEulerAxis[order])) {
        ++order;
    }
    return order;
}

void AssignAddresses(std::vector<ClipJoint>& pJoints)
{
    // The last number used for each name. All names of the file are entered first, so that no
    // numbered address equals a name.
    std::unordered_map<std::string, int> numbers;
    for (const ClipJoint& joint : pJoints) {
        numbers.emplace(joint.mName, 0);
    }
    for (std::size_t i = 0; i < pJoints.size(); ++i) {
        ClipJoint& joint = pJoints[i];
        const bool isNameless = joint.mName.empty();
        const std::string base = isNameless ? "Joint" + std::to_string(i) : joint.mName;
        int& last = numbers[joint.mName];
        int number = isNameless ? 1 : last + 1;
        joint.mAddress = number == 1 ? base : base + '#' + std::to_string(number);
        while (joint.mAddress != joint.mName && !numbers.emplace(joint.mAddress, 1).second) {
            joint.mAddress = base + '#' + std::to_string(++number);
        }
        last = number;
    }
}
