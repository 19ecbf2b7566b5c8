// Copyright (c) 2026 The glissa authors
// SPDX-License-Identifier: MIT

// Attribute blocks: shared by keys of any curve, counted, separated before a write.

#include "corvekit/event/operation.h"
#include "glissa/curve/attribute_count.h"
#include "glissa/curve/curve.h"

#include <algorithm>

namespace
{
KPriFCurveKeyAttr* NewBlock(const GlissaKeyAttributes& pAttributes)
{
    auto* block = static_cast<KPriFCurveKeyAttr*>(GlissaKeyAttrPool.Allocate());
    *block = KPriFCurveKeyAttr{pAttributes, 1};
    return block;
}
}  // namespace

void Glissa::ReleaseAttribute(KPriFCurveKey& pKey)
{
    if (pKey.mAttribute) {
        RemoveReferences(*pKey.mAttribute, 1);
        pKey.mAttribute = nullptr;
    }
}

void Glissa::PointToAttribute(KPriFCurveKey& pKey, KPriFCurveKeyAttr* pAttribute)
{
    CORVEKIT_ASSERT(pAttribute);
    AddReferences(*pAttribute, 1);
    ReleaseAttribute(pKey);
    pKey.mAttribute = pAttribute;
}

// Neighbours mostly share a block: it is counted once for all of them. pCount(block, keys) is
// called for each run.
template <typename Count>
void Glissa::ForEachRunOfBlocks(const Count& pCount)
{
    const int count = KeyGetCount();
    for (int i = 0; i < count;) {
        KPriFCurveKeyAttr* const block = mKeys[i].mAttribute;
        std::uint32_t holders = 0;
        for (; i < count && mKeys[i].mAttribute == block; ++i) {
            ++holders;
        }
        if (block) {
            pCount(*block, holders);
        }
    }
}

// The pointers stay in the records, which are about to be given up.
void Glissa::ReleaseAllAttributes()
{
    ForEachRunOfBlocks(RemoveReferences);
}

// For records that have been copied.
void Glissa::AddAllReferences()
{
    ForEachRunOfBlocks(AddReferences);
}

void Glissa::KeyAttrSeparate(int pIndex)
{
    KPriFCurveKey& key = mKeys[pIndex];
    if (!key.mAttribute) {
        key.mAttribute = NewBlock(GlissaKeyAttributes{});
    } else if (IsShared(*key.mAttribute)) {
        KPriFCurveKeyAttr* const own = NewBlock(*key.mAttribute);
        RemoveReferences(*key.mAttribute, 1);
        key.mAttribute = own;
    }
}

void Glissa::KeyAttrSeparateCheck(int pIndex)
{
    KeyAttrSeparate(pIndex);
}

void Glissa::KeyAttrSet(int pIndex, const KPriFCurveKeyAttr& pAttribute)
{
    CORVEKIT_ASSERT(pIndex >= 0);
    mKeys.Reserve(pIndex + 1);
    KPriFCurveKey& key = mKeys[pIndex];
    if (key.mAttribute == &pAttribute || (key.mAttribute && *key.mAttribute == pAttribute)) {
        return;
    }
    ResetCandidate();
    // The source may be the block that this key releases now.
    const GlissaKeyAttributes attributes = pAttribute;
    if (key.mAttribute && !IsShared(*key.mAttribute)) {
        *key.mAttribute = KPriFCurveKeyAttr{attributes, 1};
    } else {
        KPriFCurveKeyAttr* const own = NewBlock(attributes);
        ReleaseAttribute(key);
        key.mAttribute = own;
    }

    const KOperation operation(pIndex > KeyGetCount() && IsObserved());
    CallbackAddEvent(GrowTo(pIndex) ? kGlissaEventAdded : kGlissaEventAllAttributes, pIndex);
}

// Counts the record at an index as a key. Keys in the gap before it take the default block. False
// where it is a key already.
bool Glissa::GrowTo(int pIndex)
{
    CORVEKIT_ASSERT(pIndex >= 0 && mKeys.HasRoomFor(pIndex));
    const int count = KeyGetCount();
    if (pIndex < count) {
        return false;
    }
    mKeys.SetCount(pIndex + 1);
    for (int i = count; i < pIndex; ++i) {
        PointToAttribute(mKeys[i], GlissaDefaultKeyAttr);
    }
    if (count < pIndex) {
        CallbackAddEvent(kGlissaEventAdded, count);
    }
    return true;
}

void Glissa::KeyAttrShrink(int pFirst, int pLast)
{
    const int last = std::min(pLast, KeyGetCount() - 2);
    for (int i = std::max(pFirst, 0); i <= last; ++i) {
        KPriFCurveKeyAttr* block = mKeys[i].mAttribute;
        KPriFCurveKey& next = mKeys[i + 1];
        if (next.mAttribute == block || next.mAttribute == GlissaDefaultKeyAttr) {
            continue;
        }
        if (*block == *next.mAttribute) {
            PointToAttribute(next, block);
        } else if (*GlissaDefaultKeyAttr == *next.mAttribute) {
            PointToAttribute(next, GlissaDefaultKeyAttr);
        }
    }
}
