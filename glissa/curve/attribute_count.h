// Copyright (c) 2026 The glissa authors
// SPDX-License-Identifier: MIT
// Not for hosts: how attribute blocks are counted.
#pragma once

#include "glissa/curve/key.h"

#include <atomic>
#include <cstdint>

// Keys of curves that different threads work on may share a block, so the counts are atomic. The
// default block is that of nearly every recorded key. It is never given back and nothing depends on
// its count, so that other threads than the one that loaded the library leave it alone: recording
// then costs no atomic addition a key, and threads do not wait for each other.

/// Whether this thread is the one that counts the default block.
[[gnu::visibility("hidden"),
  gnu::tls_model("initial-exec")]] extern constinit thread_local bool tCountsDefaultBlock;

inline void CountDefaultBlock(std::uint32_t pCount)
{
    if (tCountsDefaultBlock) {
        GlissaDefaultKeyAttr->mReferenceCount += pCount;
    }
}

inline void AddReferences(KPriFCurveKeyAttr& pBlock, std::uint32_t pCount)
{
    if (&pBlock == GlissaDefaultKeyAttr) {
        CountDefaultBlock(pCount);
    } else {
        std::atomic_ref(pBlock.mReferenceCount).fetch_add(pCount, std::memory_order_relaxed);
    }
}

/// Whether another key than the caller's may point to the block: then it must not be written.
inline bool IsShared(KPriFCurveKeyAttr& pBlock)
{
    return &pBlock == GlissaDefaultKeyAttr ||
           std::atomic_ref(pBlock.mReferenceCount).load(std::memory_order_acquire) > 1;
}

/// Removes references that keys of the caller hold. With the last one the block is freed.
inline void RemoveReferences(KPriFCurveKeyAttr& pBlock, std::uint32_t pCount)
{
    if (&pBlock == GlissaDefaultKeyAttr) {
        CountDefaultBlock(0u - pCount);
        return;
    }
    std::atomic_ref count(pBlock.mReferenceCount);
    const std::uint32_t held = count.load(std::memory_order_acquire);
    CORVEKIT_ASSERT(held >= pCount);
    // Where the caller holds all of them, nobody else can count.
    if (held == pCount || count.fetch_sub(pCount, std::memory_order_acq_rel) == pCount) {
        GlissaKeyAttrPool.Free(&pBlock);
    }
}
