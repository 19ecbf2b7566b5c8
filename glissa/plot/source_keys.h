// Copyright (c) 2026 The glissa authors
// SPDX-License-Identifier: MIT
// Not for hosts: the key times of all layers of a channel, in order.
#pragma once

#include "corvekit/time.h"

#include <cstddef>
#include <vector>

class Glissa;
class GlissaNode;

/// Walks the keys of a chain of layers once, in ascending time. A layer of more than four channels
/// takes no part.
class SourceKeys
{
public:
    static constexpr int kMostChannels = 4;

    explicit SourceKeys(GlissaNode& pBase);

    /// The first key time after a time, KTime::Infinite() where there is none. The times of
    /// successive calls do not descend.
    KTime FindAfter(KTime pTime);
    /// Whether a channel has a key at the time that was found.
    bool HasKey(std::size_t pChannel) const
    {
        return pChannel < kMostChannels && mHasKey[pChannel];
    }

private:
    struct Slot
    {
        const Glissa* curve;
        int channel;
        int index;  // of the next key
    };

    void Add(const GlissaNode& pLeaf, int pChannel);

    std::vector<Slot> mSlots;
    bool mHasKey[kMostChannels] = {};
};
