// Copyright (c) 2026 The glissa authors
// SPDX-License-Identifier: MIT

// Which keys and which nodes a manipulation changes.

#include "glissa/curve/attribute_count.h"
#include "glissa/curve/curve.h"
#include "glissa/manip/manipulator.h"
#include "glissa/node/node.h"

#include <algorithm>

namespace
{
/// Marks keys of a curve one after the other. Keys that share a block of attributes share one
/// afterwards too, as long as they are next to each other.
class Marker
{
public:
    explicit Marker(Glissa& pCurve) : mCurve(pCurve) {}

    void Mark(int pIndex, bool pMark)
    {
        KPriFCurveKey& key = *mCurve.InternalPriKeyGetPtr(pIndex);
        KPriFCurveKeyAttr* const old = key.mAttribute;
        if (old->GetMarkedForManipulation() == pMark) {
            return;
        }
        if (old == mOld && mNew->GetMarkedForManipulation() == pMark) {
            AddReferences(*mNew, 1);
            RemoveReferences(*old, 1);
            key.mAttribute = mNew;
        } else {
            mCurve.KeySetMarkedForManipulation(pIndex, pMark);
            mOld = old;
            mNew = key.mAttribute;
        }
    }

private:
    Glissa& mCurve;
    KPriFCurveKeyAttr* mOld = nullptr;  // of the key that was marked last
    KPriFCurveKeyAttr* mNew = nullptr;
};

// Indexes that the curve does not have are left out.
void MarkKeys(Glissa* pCurve, int pFirst, int pLast, bool pMark)
{
    if (!pCurve) {
        return;
    }
    Marker marker(*pCurve);
    const int last = std::min(pLast, pCurve->KeyGetCount() - 1);
    for (int i = std::max(pFirst, 0); i <= last; ++i) {
        marker.Mark(i, pMark);
    }
}
}  // namespace

void GlissaManipulator::MarkAllCurveNodeForManip(bool pMark)
{
    MarkCurveNodeForManip(pMark, nullptr);
}

void GlissaManipulator::MarkCurveNodeForManip(bool pMark, GlissaNode* pNode)
{
    for (int i = 0; i < mRelatedNodes.GetCount(); ++i) {
        GlissaNode* const node = mRelatedNodes[i];
        if (!node || (pNode && node != pNode)) {
            continue;
        }
        if (pMark) {
            mNodesForManip.Set(i);
        } else {
            mNodesForManip.Clear(i);
        }
    }
}

void GlissaManipulator::MarkKeysForManip(bool pMark, GlissaNode* pNode, int pFirst, int pLast)
{
    for (int i = 0; i < mRelatedNodes.GetCount(); ++i) {
        if (!pNode || mRelatedNodes[i] == pNode) {
            MarkKeys(RelatedCurve(i), pFirst, pLast, pMark);
        }
    }
}

void GlissaManipulator::MarkKeysForManipFromSelection()
{
    for (int i = 0; i < mRelatedNodes.GetCount(); ++i) {
        if (Glissa* const curve = RelatedCurve(i)) {
            Marker marker(*curve);
            for (int k = 0; k < curve->KeyGetCount(); ++k) {
                marker.Mark(k, curve->KeyGetSelected(k));
            }
        }
    }
}

void GlissaManipulator::ClearMarkKeysForManip()
{
    for (int i = 0; i < mRelatedNodes.GetCount(); ++i) {
        if (Glissa* const curve = RelatedCurve(i)) {
            MarkKeys(curve, 0, curve->KeyGetCount() - 1, false);
        }
    }
}
