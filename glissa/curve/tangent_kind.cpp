// Copyright (c) 2026 The glissa authors
// SPDX-License-Identifier: MIT

// Kinds of many keys at once, with the slopes kept, and what is shown and selected.

#include "glissa/curve/attribute_count.h"
#include "glissa/curve/curve.h"
#include "glissa/curve/modify_bracket.h"

#include <vector>

namespace
{
struct KeySlopes
{
    float left;
    float right;
    bool isChanged;  // the kind of the key
};

std::vector<KeySlopes> SlopesOfAllKeys(Glissa& pCurve)
{
    std::vector<KeySlopes> slopes;
    slopes.reserve(static_cast<std::size_t>(pCurve.KeyGetCount()));
    for (int i = 0; i < pCurve.KeyGetCount(); ++i) {
        slopes.push_back({pCurve.KeyGetLeftDerivative(i), pCurve.KeyGetRightDerivative(i), false});
    }
    return slopes;
}

// A key's kind decides its own two slopes and the left slope of the key after it. Left comes before
// right, since the left slope of a user tangent takes the right one along.
void RestoreSlopes(Glissa& pCurve, const std::vector<KeySlopes>& pSlopes)
{
    CORVEKIT_ASSERT(pSlopes.size() == static_cast<std::size_t>(pCurve.KeyGetCount()));
    const int count = pCurve.KeyGetCount();
    for (int i = 0; i < count; ++i) {
        const KeySlopes& slopes = pSlopes[static_cast<std::size_t>(i)];
        const bool followsChange = i > 0 && pSlopes[static_cast<std::size_t>(i) - 1].isChanged;
        if (!slopes.isChanged && !followsChange) {
            continue;
        }
        if (i > 0 && pCurve.KeyGetLeftDerivative(i) != slopes.left) {
            pCurve.KeySetLeftDerivative(i, slopes.left);
        }
        if (i < count - 1 && pCurve.KeyGetRightDerivative(i) != slopes.right) {
            pCurve.KeySetRightDerivative(i, slopes.right);
        }
    }
}
}  // namespace

void Glissa::KeyTangeantSetInterpolation(bool pSelectedOnly, unsigned pInterpolation)
{
    const KeyModifyBracket bracket(*this);
    ResetCandidate();
    std::vector<KeySlopes> slopes = SlopesOfAllKeys(*this);
    for (int i = KeyGetCount() - 1; i >= 0; --i) {
        GlissaKeyAttributes attributes = Attr(i);
        attributes.mData[0] = 0.0f;
        attributes.mData[1] = 0.0f;
        attributes.SetInterpolation(pInterpolation);
        // A custom type that does not exist is refused here.
        if (attributes.GetInterpolation() != KeyGetInterpolation(i) &&
            (!pSelectedOnly || KeyGetSelected(i))) {
            ChangeKind(i, attributes, eEventEditInterpolation);
            slopes[static_cast<std::size_t>(i)].isChanged = true;
        }
    }
    RestoreSlopes(*this, slopes);
}

void Glissa::KeyTangeantSetMode(bool pSelectedOnly, unsigned pMode)
{
    const KeyModifyBracket bracket(*this);
    ResetCandidate();
    std::vector<KeySlopes> slopes = SlopesOfAllKeys(*this);
    for (int i = KeyGetCount() - 1; i >= 0; --i) {
        if (KeyGetTangeantMode(i, false) != pMode && (!pSelectedOnly || KeyGetSelected(i))) {
            GlissaKeyAttributes attributes = Attr(i);
            attributes.mData[0] = 0.0f;
            attributes.mData[1] = 0.0f;
            attributes.SetTangeantMode(pMode);
            ChangeKind(i, attributes, eEventEditTangentMode);
            slopes[static_cast<std::size_t>(i)].isChanged = true;
        }
    }
    RestoreSlopes(*this, slopes);
}

void Glissa::ChangeKind(int pIndex, GlissaKeyAttributes pAttributes, int pEvent)
{
    CORVEKIT_ASSERT(pIndex >= 0 && pIndex < KeyGetCount());
    pAttributes.SetTangeantVisibility(eTangentShowNone);
    WriteAttributes(pIndex, pAttributes);
    CallbackAddEvent(kGlissaEventOther | pEvent, pIndex);
    if (pIndex + 1 < KeyGetCount()) {
        KeySetTangeantVisibility(pIndex + 1, eTangentShowNone);
    }
}

void Glissa::KeyTangeantHide()
{
    ChangeFlagsOfAll(GlissaKeyAttributes::kVisibilityMask, 0);
}

void Glissa::KeySelectAll()
{
    ChangeFlagsOfAll(GlissaKeyAttributes::kSelectionMask, eSelectPoint);
}

void Glissa::KeyUnselectAll()
{
    ChangeFlagsOfAll(GlissaKeyAttributes::kSelectionMask, 0);
}

// A change here must not be seen in another curve, so shared blocks are copied; keys of this curve
// that shared a block share its copy.
void Glissa::ChangeFlagsOfAll(unsigned pMask, unsigned pBits)
{
    const KeyModifyBracket bracket(*this);
    ResetCandidate();
    const KPriFCurveKeyAttr* lastOld = nullptr;
    KPriFCurveKeyAttr* lastNew = nullptr;
    for (int i = 0; i < KeyGetCount(); ++i) {
        KPriFCurveKey& key = mKeys[i];
        if (lastOld && key.mAttribute == lastOld) {
            PointToAttribute(key, lastNew);
            continue;
        }
        const unsigned flags = (key.mAttribute->mFlags & ~pMask) | pBits;
        if (flags == key.mAttribute->mFlags) {
            continue;
        }
        // Without another reference the old block would be freed, and its address used again.
        const bool isShared = IsShared(*key.mAttribute);
        lastOld = isShared ? key.mAttribute : nullptr;
        KeyAttrSeparateCheck(i);
        key.mAttribute->mFlags = flags;
        lastNew = key.mAttribute;
    }
    CallbackAddEvent(eEventSelection, -1);
}

int Glissa::KeyGetSelectionCount() const
{
    int count = 0;
    for (int i = 0; i < KeyGetCount(); ++i) {
        count += KeyGetSelected(i) ? 1 : 0;
    }
    return count;
}
