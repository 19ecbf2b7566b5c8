// Copyright (c) 2026 The glissa authors
// SPDX-License-Identifier: MIT

#include "glissa/plot/source_keys.h"

#include "glissa/curve/curve.h"
#include "glissa/node/node.h"

#include <algorithm>

SourceKeys::SourceKeys(GlissaNode& pBase)
{
    for (GlissaNode* layer = &pBase; layer; layer = layer->LayerGet()) {
        if (layer->FCurveGet()) {
            Add(*layer, 0);
        } else if (layer->GetCount() <= kMostChannels) {
            for (int i = 0; i < layer->GetCount(); ++i) {
                Add(*layer->Get(i), i);
            }
        }
    }
}

void SourceKeys::Add(const GlissaNode& pLeaf, int pChannel)
{
    CORVEKIT_ASSERT(pChannel >= 0 && pChannel < kMostChannels);
    if (const Glissa* curve = pLeaf.FCurveGet()) {
        mSlots.push_back({curve, pChannel, 0});
    }
}

KTime SourceKeys::FindAfter(KTime pTime)
{
    KTime found = KTime::Infinite();
    std::fill_n(mHasKey, kMostChannels, false);
    for (Slot& slot : mSlots) {
        const int count = slot.curve->KeyGetCount();
        while (slot.index < count && slot.curve->KeyGetTime(slot.index) <= pTime) {
            ++slot.index;
        }
        if (slot.index == count) {
            continue;
        }
        const KTime time = slot.curve->KeyGetTime(slot.index);
        if (time < found) {
            found = time;
            std::fill_n(mHasKey, kMostChannels, false);
        }
        if (time == found) {
            mHasKey[slot.channel] = true;
        }
    }
    return found;
}
