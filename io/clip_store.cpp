// Copyright (c) 2026 The glissa authors
// SPDX-License-Identifier: MIT

// Writes joints, layers and nodes in the order in which clip_store_read.cpp reads them.

#include "io/clip_store.h"

#include "corvekit/store/tdf.h"
#include "glissa/curve/curve.h"
#include "glissa/node/node.h"

#include <charconv>
#include <cmath>

namespace
{
constexpr int kClipVersion = 2;
constexpr std::string_view kMagic = "KTDF";

void WriteOffset(KTdf& pTdf, const std::array<double, 3>& pOffset)
{
    for (const double each : pOffset) {
        pTdf.FieldWriteD(each);
    }
}

void WriteJoint(KTdf& pTdf, const ClipJoint& pJoint)
{
    pTdf.FieldWriteBegin("Joint");
    pTdf.FieldWriteS(KString(std::string_view(pJoint.mName)));
    pTdf.FieldWriteI(pJoint.mParent);
    WriteOffset(pTdf, pJoint.mOffset);
    pTdf.FieldWriteBlockBegin();
    pTdf.FieldWriteBegin("Channels");
    for (const EClipChannel channel : pJoint.mChannels) {
        pTdf.FieldWriteI(channel);
    }
    pTdf.FieldWriteEnd();
    for (const ClipEndSite& site : pJoint.mEndSites) {
        pTdf.FieldWriteBegin("EndSite");
        pTdf.FieldWriteS(KString(std::string_view(site.mLabel)));
        pTdf.FieldWriteI(site.mChildrenBefore);
        WriteOffset(pTdf, site.mOffset);
        pTdf.FieldWriteEnd();
    }
    pTdf.FieldWriteBlockEnd();
    pTdf.FieldWriteEnd();
}
}  // namespace

bool IsStore(std::string_view pBytes)
{
    return pBytes.substr(0, kMagic.size()) == kMagic;
}

void StoreClip(const Clip& pClip, const CurveClip& pCurves, KTdf& pTdf)
{
    pTdf.FieldWriteBegin("Clip");
    pTdf.FieldWriteI(kClipVersion);
    pTdf.FieldWriteBlockBegin();
    pTdf.FieldWriteBegin("Frames");
    pTdf.FieldWriteI(pClip.mFrameCount);
    pTdf.FieldWriteEnd();
    pTdf.FieldWriteBegin("FrameTime");
    pTdf.FieldWriteT(pClip.mFramePeriod);
    pTdf.FieldWriteS(KString(std::string_view(pClip.mFrameTimeText)));
    pTdf.FieldWriteEnd();
    for (const ClipJoint& joint : pClip.mJoints) {
        WriteJoint(pTdf, joint);
    }
    const NodeClip& nodes = pCurves.GetNodes();
    nodes.GetLayers().Store(pTdf);
    nodes.GetRoot()->TdfStore(&pTdf, false, false, false, "Channel", true, false);
    pTdf.FieldWriteBlockEnd();
    pTdf.FieldWriteEnd();
}

double ShortestDouble(float pValue)
{
    double value = static_cast<double>(pValue);
    if (std::isfinite(pValue)) {
        char digits[32];
        std::from_chars(digits, std::to_chars(digits, digits + sizeof digits, pValue).ptr, value);
    }
    return value;
}

Clip SampleClip(const Clip& pClip, const CurveClip& pCurves)
{
    Clip sampled = pClip;
    const std::vector<ClipCurve>& curves = pCurves.GetCurves();
    const auto channels = static_cast<std::size_t>(pClip.mChannelCount);
    sampled.mValues.assign(static_cast<std::size_t>(pClip.mFrameCount) * channels, 0.0);
    std::vector<bool> isDone(channels, false);
    for (std::size_t channel = 0; channel < channels; ++channel) {
        if (isDone[channel]) {
            continue;
        }
        const ClipCurve& first = curves[channel];
        GlissaNode* const node = pCurves.GetNodes().GetTransform(
            static_cast<std::size_t>(first.mJoint),
            IsRotation(first.mChannel) ? KDataTypeLclRotation : KDataTypeLclTranslation);
        std::vector<std::size_t> together = {channel};
        // A node with layers is blended as a whole: once for all its channels.
        for (std::size_t i = channel + 1; node->LayerGet() && i < channels; ++i) {
            if (curves[i].mJoint == first.mJoint &&
                IsRotation(curves[i].mChannel) == IsRotation(first.mChannel)) {
                together.push_back(i);
                isDone[i] = true;
            }
        }
        int hint = 0;
        for (int frame = 0; frame < pClip.mFrameCount; ++frame) {
            const KTime time = pClip.GetTime(frame);
            double blended[3] = {};
            if (node->LayerGet()) {
                node->GeneralEvaluate(blended, time, &hint);
            } else {
                const float value = first.mCurve->Evaluate(time, &hint);
                blended[ClipChannelAxis(first.mChannel)] = static_cast<double>(value);
            }
            for (const std::size_t i : together) {
                const double value = blended[ClipChannelAxis(curves[i].mChannel)];
                sampled.mValues[static_cast<std::size_t>(frame) * channels + i] =
                    ShortestDouble(static_cast<float>(value));
            }
        }
    }
    return sampled;
}
