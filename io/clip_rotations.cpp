// Copyright (c) 2026 The glissa authors
// SPDX-License-Identifier: MIT

#include "io/clip_rotations.h"

#include "glissa/curve/curve.h"

#include <algorithm>

std::string ClipRotation::GetCurveName(std::size_t pAxis) const
{
    constexpr const char* kAxes[] = {"/X", "/Y", "/Z"};
    return WithLayer(mName + kAxes[pAxis]);
}

std::vector<KTime> KeyTimesOf(const ClipRotation& pRotation)
{
    std::vector<KTime> times;
    for (const Glissa* const curve : pRotation.mCurves) {
        for (int i = 0; i < curve->KeyGetCount(); ++i) {
            times.push_back(curve->KeyGetTime(i));
        }
    }
    std::sort(times.begin(), times.end());
    times.erase(std::unique(times.begin(), times.end()), times.end());
    return times;
}

std::vector<ClipRotation> RotationsOf(const Clip& pClip, const CurveClip& pCurves)
{
    std::vector<ClipRotation> rotations;
    const HostLayers& layers = pCurves.GetNodes().GetLayers();
    for (const NodeClip::NamedNode& named : pCurves.GetNodes().GetTransforms(pClip)) {
        if (named.mNode->GetDataType() != KDataTypeLclRotation) {
            continue;
        }
        for (GlissaNode* node = named.mNode; node; node = node->LayerGet()) {
            ClipRotation rotation;
            rotation.mName = named.mName;
            rotation.mNode = node;
            rotation.mBase = named.mNode;
            if (const HostLayer* const layer = layers.Find(node->GetLayerID())) {
                rotation.mLayer = layer->mName;
            }
            bool isComplete = true;  // a layer of a damaged file may lack a curve
            for (std::size_t axis = 0; axis < rotation.mCurves.size(); ++axis) {
                GlissaNode* const child = node->Get(static_cast<int>(axis));
                rotation.mCurves[axis] = child ? child->FCurveGet() : nullptr;
                isComplete = isComplete && rotation.mCurves[axis];
            }
            if (isComplete) {
                rotations.push_back(std::move(rotation));
            }
        }
    }
    return rotations;
}
