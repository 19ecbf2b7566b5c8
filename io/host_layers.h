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

/// Ends a curve that a host owns itself.
struct HostCurveDestroyer
{
    void operator()(Glissa* pCurve) const { pCurve->Destroy(); }
};
using HostCurvePointer = std::unique_ptr<Glissa, HostCurveDestroyer>;

/// A layer as this host keeps it.
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

/// The layers of a clip in ascending order of id, which is above 0. They stay where they are while
/// the list changes or moves: nodes point to them.
class HostLayers
{
public:
    /// Behind the others. The name is the caller's to keep unique.
    HostLayer& Add(std::string pName);
    /// No node may point to the layer any more.
    void Remove(int pId);
    /// Null where there is none.
    HostLayer* Find(int pId) const;
    HostLayer* Find(std::string_view pName) const;
    const std::vector<std::unique_ptr<HostLayer>>& GetAll() const { return mLayers; }

    /// Gives every node of a tree and of its chains the layer of its id. False where a node is of a
    /// layer that is not in the list.
    bool AttachTo(GlissaNode& pRoot) const;

    /// A field "Layer" for each: id and name, and a block of mode, rotation mode, mute, lock and
    /// weight curve.
    void Store(KTdf& pTdf) const;
    /// Reads these fields of the open block into an empty list. False, and why, where one of them
    /// makes no sense.
    bool Retrieve(KTdf& pTdf, std::string& pReason);

private:
    std::vector<std::unique_ptr<HostLayer>> mLayers;
};
