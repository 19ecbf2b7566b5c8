// Copyright (c) 2026 The glissa authors
// SPDX-License-Identifier: MIT
#pragma once

#include "corvekit/time.h"
#include "glissa/export.h"

class KDataType;

/// How the values of a layer of weight w are blended onto the result of the layers below it.
enum eLayerMode : int
{
    eLayerModeAdditive = 0,             ///< adds the layer's values times w
    eLayerModeOverride = 1,             ///< replaces by the layer's values times w
    eLayerModeOverridePassthrough = 2,  ///< mixes: w of the layer, 1 - w of the result below
};

/// How rotations of a layer accumulate.
enum eWeightRotationAccumulationMode : int
{
    eRotationByLayer = 0,    ///< as rotations, composed through matrices
    eRotationByChannel = 1,  ///< channel by channel, as numbers
};

/// How scalings of a layer accumulate. The library passes it on and does not use it.
enum eAnimLayerScaleAccumulationMode : int
{
    eScaleMultiply = 0,
    eScaleAdditive = 1,
};

/// The weight, mode, mute and lock of a layer. Implemented by the host, which owns it and keeps it
/// alive while a node refers to it. Called during evaluation and editing, on the thread of the
/// caller: an implementation is fast and changes nothing.
class GLISSA_API GlissaLayer
{
public:
    virtual ~GlissaLayer();

    /// Weight at a time, from 0 to 1.
    virtual double GetWeight(KTime pTime) const = 0;
    /// A muted layer is not evaluated.
    virtual bool IsMuted() const = 0;
    /// A locked layer is not edited.
    virtual bool IsLocked() const = 0;
    virtual eLayerMode GetLayerMode() const = 0;
    /// Whether the mode is bypassed for a type of channel. Passed on, not used by the library.
    virtual bool GetLayerModeBypass(KDataType* pType) const = 0;
    virtual eWeightRotationAccumulationMode GetLayerRotationMode() const = 0;
    /// Passed on, not used by the library.
    virtual eAnimLayerScaleAccumulationMode GetLayerScalingMode() const = 0;
};

/// The layer of a node: an id, by which the nodes of a chain are ordered, and the layer object of
/// the host. A plain value. Without a layer object it is additive, of weight 1, not muted and not
/// locked.
class GLISSA_API GlissaLayerInfo
{
public:
    /// The base layer: id 0, without layer object.
    static const GlissaLayerInfo Base;
    /// Id -1: no layer at all.
    static const GlissaLayerInfo Invalid;

    constexpr GlissaLayerInfo() = default;
    constexpr GlissaLayerInfo(int pId, const GlissaLayer* pLayer) : mId(pId), mLayer(pLayer) {}

    int GetLayerID() const { return mId; }
    const GlissaLayer* GetLayer() const { return mLayer; }

    double GetWeight(KTime pTime) const { return mLayer ? mLayer->GetWeight(pTime) : 1.0; }
    bool IsMuted() const { return mLayer && mLayer->IsMuted(); }
    bool IsLocked() const { return mLayer && mLayer->IsLocked(); }
    eLayerMode GetLayerMode() const { return mLayer ? mLayer->GetLayerMode() : eLayerModeAdditive; }
    bool GetLayerModeBypass(KDataType* pType) const
    {
        return mLayer && mLayer->GetLayerModeBypass(pType);
    }
    eWeightRotationAccumulationMode GetLayerRotationMode() const
    {
        return mLayer ? mLayer->GetLayerRotationMode() : eRotationByLayer;
    }
    eAnimLayerScaleAccumulationMode GetLayerScalingMode() const
    {
        return mLayer ? mLayer->GetLayerScalingMode() : eAnimLayerScaleAccumulationMode(0);
    }

private:
    int mId = 0;
    const GlissaLayer* mLayer = nullptr;
};
