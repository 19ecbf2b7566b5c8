// Copyright (c) 2026 The glissa authors
// SPDX-License-Identifier: MIT

#include "io/curve_clip.h"

#include "glissa/curve/curve.h"

CurveClip::CurveClip(const Clip& pClip, KTime pStart) : CurveClip(pClip, NodeClip(pClip))
{
    // Sums of times stop at the ends of the range: frames past it would share one time.
    if (pClip.mFrameCount == 0 || pStart <= KTime::MinusInfinite() ||
        pStart + pClip.GetTime(pClip.mFrameCount - 1) >= KTime::Infinite()) {
        return;
    }
    for (std::size_t i = 0; i < mCurves.size(); ++i) {
        Glissa& curve = *mCurves[i].mCurve;
        curve.InitBuffers(pClip.mFrameCount, true);
        for (int frame = 0; frame < pClip.mFrameCount; ++frame) {
            // The values of a clip are within the range of a float.
            curve.KeyAppendFast(pStart + pClip.GetTime(frame),
                                static_cast<float>(pClip.GetValue(frame, static_cast<int>(i))));
        }
    }
}

CurveClip::CurveClip(const Clip& pClip, NodeClip pNodes) : mNodes(std::move(pNodes))
{
    mCurves.reserve(static_cast<std::size_t>(pClip.mChannelCount));
    for (std::size_t i = 0; i < pClip.mJoints.size(); ++i) {
        const ClipJoint& joint = pClip.mJoints[i];
        for (int channel = 0; channel < static_cast<int>(joint.mChannels.size()); ++channel) {
            const EClipChannel kind = joint.mChannels[static_cast<std::size_t>(channel)];
            mCurves.push_back({pClip.GetCurveName(joint, channel), static_cast<int>(i), kind,
                               mNodes.GetChannel(i, kind)->FCurveGet()});
        }
    }
}

const ClipCurve* CurveClip::Find(std::string_view pName) const
{
    for (const ClipCurve& each : mCurves) {
        if (each.mName == pName) {
            return &each;
        }
    }
    return nullptr;
}
