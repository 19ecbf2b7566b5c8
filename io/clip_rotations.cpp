// Copyright (c) 2026 The glissa authors
// SPDX-License-Identifier: MIT

#include "io/clip_rotations.h"

std::string ClipRotation::GetCurveName(std::size_t pAxis) const
{
    constexpr const char* kAxes[] = {"/X", "/Y", "/Z"};
    return WithLayer(mName + kAxes[pAxis]);
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
            for (std::size_t axis = 0; axis < rotation.mCurves.size(); ++axis) {
                rotation.mCurves[axis] = node->Get(static_cast<int>(axis))->FCurveGet();
            }
            rotations.push_back(std::move(rotation));
        }
    }
    return rotations;
}
