// Copyright (c) 2026 The glissa authors
// SPDX-License-Identifier: MIT

#include "io/host_layers.h"

#include "corvekit/store/tdf.h"
#include "glissa/node/node.h"

#include <algorithm>
#include <cmath>

namespace
{
void WriteInt(KTdf& pTdf, const char* pName, int pValue)
{
    pTdf.FieldWriteBegin(pName);
    pTdf.FieldWriteI(pValue);
    pTdf.FieldWriteEnd();
}

// Reads a number from 0 to pMost.
bool ReadUpTo(KTdf& pTdf, const char* pName, int pMost, int& pValue)
{
    pValue = pTdf.FieldReadI(pName, -1);
    return pValue >= 0 && pValue <= pMost;
}

bool ReadLayer(KTdf& pTdf, HostLayer& pLayer)
{
    int mode = 0, rotation = 0, muted = 0, locked = 0;
    if (!pTdf.FieldReadBlockBegin() ||
        !ReadUpTo(pTdf, "Mode", eLayerModeOverridePassthrough, mode) ||
        !ReadUpTo(pTdf, "RotationMode", eRotationByChannel, rotation) ||
        !ReadUpTo(pTdf, "Muted", 1, muted) || !ReadUpTo(pTdf, "Locked", 1, locked) ||
        !pTdf.FieldReadBegin("Weight") || !pTdf.FieldReadBlockBegin() ||
        !pLayer.mWeight->TdfRetrieve(&pTdf, false, false)) {
        return false;
    }
    pTdf.FieldReadBlockEnd();
    pTdf.FieldReadEnd();
    pTdf.FieldReadBlockEnd();
    pLayer.mMode = static_cast<eLayerMode>(mode);
    pLayer.mRotationMode = static_cast<eWeightRotationAccumulationMode>(rotation);
    pLayer.mMuted = muted != 0;
    pLayer.mLocked = locked != 0;
    const Glissa& weight = *pLayer.mWeight;
    bool isFinite = std::isfinite(weight.GetValue());
    for (int i = 0; i < weight.KeyGetCount(); ++i) {
        isFinite = isFinite && std::isfinite(weight.KeyGetValue(i));
    }
    return isFinite;
}
}  // namespace

HostLayer::HostLayer(int pId, std::string pName)
    : mId(pId), mName(std::move(pName)), mWeight(GlissaCreate())
{
    mWeight->SetValue(1.0f);
}

double HostLayer::GetWeight(KTime pTime) const
{
    return static_cast<double>(mWeight->Evaluate(pTime, nullptr));
}

const char* LayerModeName(eLayerMode pMode)
{
    constexpr const char* kNames[] = {"additive", "override", "passthrough"};
    return kNames[pMode];
}

HostLayer& HostLayers::Add(std::string pName)
{
    const int id = mLayers.empty() ? 1 : mLayers.back()->mId + 1;
    mLayers.push_back(std::make_unique<HostLayer>(id, std::move(pName)));
    return *mLayers.back();
}

void HostLayers::Remove(int pId)
{
    std::erase_if(mLayers, [pId](const auto& pEach) { return pEach->mId == pId; });
}

HostLayer* HostLayers::Find(int pId) const
{
    const auto found =
        std::lower_bound(mLayers.begin(), mLayers.end(), pId,
                         [](const auto& pLayer, int pWanted) { return pLayer->mId < pWanted; });
    return found != mLayers.end() && (*found)->mId == pId ? found->get() : nullptr;
}

HostLayer* HostLayers::Find(std::string_view pName) const
{
    for (const auto& each : mLayers) {
        if (each->mName == pName) {
            return each.get();
        }
    }
    return nullptr;
}

bool HostLayers::AttachTo(GlissaNode& pRoot) const
{
    bool isKnown = true;
    for (GlissaNode* node = &pRoot; node; node = node->LayerGet()) {
        const int id = node->GetLayerID();
        const HostLayer* const layer = Find(id);
        isKnown = isKnown && (layer || id == 0);
        node->SetLayerInfo(GlissaLayerInfo(id, layer));
        for (int i = 0; i < node->GetCount(); ++i) {
            isKnown = AttachTo(*node->Get(i)) && isKnown;
        }
    }
    return isKnown;
}

void HostLayers::Store(KTdf& pTdf) const
{
    for (const auto& each : mLayers) {
        pTdf.FieldWriteBegin("Layer");
        pTdf.FieldWriteI(each->mId);
        pTdf.FieldWriteS(KString(std::string_view(each->mName)));
        pTdf.FieldWriteBlockBegin();
        WriteInt(pTdf, "Mode", each->mMode);
        WriteInt(pTdf, "RotationMode", each->mRotationMode);
        WriteInt(pTdf, "Muted", each->mMuted ? 1 : 0);
        WriteInt(pTdf, "Locked", each->mLocked ? 1 : 0);
        pTdf.FieldWriteBegin("Weight");
        pTdf.FieldWriteBlockBegin();
        each->mWeight->TdfStore(&pTdf, false, false, false);
        pTdf.FieldWriteBlockEnd();
        pTdf.FieldWriteEnd();
        pTdf.FieldWriteBlockEnd();
        pTdf.FieldWriteEnd();
    }
}

bool HostLayers::Retrieve(KTdf& pTdf, std::string& pReason)
{
    while (pTdf.FieldReadBegin("Layer")) {
        const int last = mLayers.empty() ? 0 : mLayers.back()->mId;
        const int id = pTdf.FieldReadGetType() == KTdf::kTypeInt ? pTdf.FieldReadI() : 0;
        auto layer = std::make_unique<HostLayer>(id, std::string(pTdf.FieldReadS().GetView()));
        if (id <= last) {
            pReason = "its id is not greater than that of the layer before it";
        } else if (layer->mName.empty() || Find(layer->mName)) {
            pReason = "its name is empty or that of another layer";
        } else if (!ReadLayer(pTdf, *layer)) {
            pReason = "its mode, state or weight is missing or invalid";
        }
        if (!pReason.empty()) {
            pReason = "layer " + std::to_string(mLayers.size()) + ": " + pReason;
            return false;
        }
        mLayers.push_back(std::move(layer));
        pTdf.FieldReadEnd();
    }
    return true;
}
