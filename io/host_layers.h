// Copyright (c) 2026 The glissa authors
// SPDX-License-Identifier: MIT
// Host side, not installed.
#pragma once

#include "glissa/curve/curve.h"
#include "glissa/node/layer.h"

#include <memory>
#include <string>
#include <string_view>
#include <vector>

class GlissaNode;
class KTdf;

/// Destroys a curve that a host owns.
struct HostCurveDestroyer
{
    void operator()(Glissa* pCurve) const { pCurve->Destroy(); }
};
using HostCurvePointer = std::unique_ptr<Glissa, HostCurveDestroyer>;

/// A layer of this host.
struct HostLayer final : GlissaLayer
{
    int mId = 0;
    std::string mName;
    /// Weight over time; without keys its default value, 1 at first.
    HostCurvePointer mWeight;
    eLayerMode mMode = eLayerModeAdditive;
    eWeightRotationAccumulationMode mRotationMode = eRotationByLayer;
    bool mMuted = false;
    bool mLocked = false;

    HostLayer(int pId, std::string pName);

    double GetWeight(KTime pTime) const override;
    bool IsMuted() const override { return mMuted; }
    bool IsLocked() const override { return mLocked; }
    eLayerMode GetLayerMode() const override { return mMode; }
    bool GetLayerModeBypass(KDataType*) const override { return false; }
    eWeightRotationAccumulationMode GetLayerRotationMode() const override { return mRotationMode; }
    eAnimLayerScaleAccumulationMode GetLayerScalingMode() const override { return eScaleMultiply; }
};

/// "additive", "override" or "passthrough".
const char* LayerModeName(eLayerMode pMode);

/// The layers of a clip in ascending order of id, from 1. Their addresses do not change when the
/// list changes or is moved: nodes point to them.
class HostLayers
{
public:
    /// Appends a layer. The caller makes sure that the name is unique.
    HostLayer& Add(std::string pName);
    /// Removes a layer, which no node may point to.
    void Remove(int pId);
    /// Null if there is none.
    HostLayer* Find(int pId) const;
    HostLayer* Find(std::string_view pName) const;
    const std::vector<std::unique_ptr<HostLayer>>& GetAll() const { return mLayers; }

    /// Connects each node of a tree, in all layers, to the layer of its id. False if a node is of a
    /// layer that is not in the list.
    bool AttachTo(GlissaNode& pRoot) const;

    /// Writes a field "Layer" for each layer: id and name, and a block with mode, rotation mode,
    /// muted and locked state and weight curve.
    void Store(KTdf& pTdf) const;
    /// Reads these fields of the current block into an empty list. False, with the reason, if one
    /// of them is invalid.
    bool Retrieve(KTdf& pTdf, std::string& pReason);

private:
    std::vector<std::unique_ptr<HostLayer>> mLayers;
};
