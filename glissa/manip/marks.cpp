// Copyright (c) 2026 The glissa authors
// SPDX-License-Identifier: MIT

// Which keys and which nodes a manipulation changes.

#include "glissa/curve/curve.h"
#include "glissa/manip/manipulator.h"
#include "glissa/node/node.h"

#include <algorithm>

namespace
{
// Indexes that the curve does not have are left out.
void MarkKeys(Glissa* pCurve, int pFirst, int pLast, bool pMark)
{
    const int last = pCurve ? std::min(pLast, pCurve->KeyGetCount() - 1) : -1;
    for (int i = std::max(pFirst, 0); i <= last; ++i) {
        pCurve->KeySetMarkedForManipulation(i, pMark);
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
        Glissa* const curve = RelatedCurve(i);
        for (int k = 0; curve && k < curve->KeyGetCount(); ++k) {
            curve->KeySetMarkedForManipulation(k, curve->KeyGetSelected(k));
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
