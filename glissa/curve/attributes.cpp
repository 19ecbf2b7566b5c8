// Copyright (c) 2026 The glissa authors
// SPDX-License-Identifier: MIT

// Attribute blocks: shared by keys of any curve, counted, separated before a write.

#include "corvekit/event/operation.h"
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

void ReleaseBlock(KPriFCurveKeyAttr* pBlock)
{
    CORVEKIT_ASSERT(pBlock->mReferenceCount > 0);
    if (--pBlock->mReferenceCount == 0) {
        GlissaKeyAttrPool.Free(pBlock);
    }
}
}  // namespace

void Glissa::ReleaseAttribute(KPriFCurveKey& pKey)
{
    if (pKey.mAttribute) {
        ReleaseBlock(pKey.mAttribute);
        pKey.mAttribute = nullptr;
    }
}

void Glissa::PointToAttribute(KPriFCurveKey& pKey, KPriFCurveKeyAttr* pAttribute)
{
    CORVEKIT_ASSERT(pAttribute && pAttribute->mReferenceCount > 0);
    ++pAttribute->mReferenceCount;
    ReleaseAttribute(pKey);
    pKey.mAttribute = pAttribute;
}

// Counted, that is: the pointers stay in the records, which are about to go.
void Glissa::ReleaseAllAttributes()
{
    const int count = KeyGetCount();
    for (int i = 0; i < count;) {
        // Keys beside each other mostly share a block: counted down once for all of them.
        KPriFCurveKeyAttr* const block = mKeys[i].mAttribute;
        std::uint32_t holders = 0;
        for (; i < count && mKeys[i].mAttribute == block; ++i) {
            ++holders;
        }
        if (block) {
            block->mReferenceCount -= holders - 1;
            ReleaseBlock(block);
        }
    }
}

void Glissa::KeyAttrSeparate(int pIndex)
{
    KPriFCurveKey& key = mKeys[pIndex];
    if (!key.mAttribute) {
        key.mAttribute = NewBlock(GlissaKeyAttributes{});
    } else if (key.mAttribute->mReferenceCount > 1) {
        KPriFCurveKeyAttr* const own = NewBlock(*key.mAttribute);
        --key.mAttribute->mReferenceCount;
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
    const KOperation operation(IsObserved());
    mKeys.Reserve(pIndex + 1);
    KPriFCurveKey& key = mKeys[pIndex];
    if (key.mAttribute == &pAttribute || (key.mAttribute && *key.mAttribute == pAttribute)) {
        return;
    }
    ResetCandidate();
    // The source may be the very block that this key now lets go.
    const GlissaKeyAttributes attributes = pAttribute;
    if (key.mAttribute && key.mAttribute->mReferenceCount == 1) {
        *key.mAttribute = KPriFCurveKeyAttr{attributes, 1};
    } else {
        KPriFCurveKeyAttr* const own = NewBlock(attributes);
        ReleaseAttribute(key);
        key.mAttribute = own;
    }

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
