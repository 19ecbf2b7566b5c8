// Copyright (c) 2026 The glissa authors
// SPDX-License-Identifier: MIT

// Which keys and which nodes a manipulation changes.

#include "glissa/curve/modify_bracket.h"
#include "glissa/manip/flag_writer.h"
#include "glissa/manip/manipulator.h"
#include "glissa/node/node.h"

#include <algorithm>
#include <limits>

namespace
{
// Makes the marks of the keys pFirst to pLast equal to pIsMarked(index).
template <typename IsMarked>
void MarkKeys(Glissa& pCurve, int pFirst, int pLast, const IsMarked& pIsMarked)
{
    FlagWriter writer(pCurve);
    bool isChanged = false;
    for (int i = pFirst; i <= pLast; ++i) {
        isChanged |=
            writer.Write(i, eMarkedForManipulation, pIsMarked(i) ? eMarkedForManipulation : 0u);
    }
    if (isChanged) {
        const KeyModifyBracket endsCandidate(pCurve);
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
        Glissa* const curve = RelatedCurve(i);
        if (curve && (!pNode || mRelatedNodes[i] == pNode)) {
            MarkKeys(*curve, std::max(pFirst, 0), std::min(pLast, curve->KeyGetCount() - 1),
                     [&](int) { return pMark; });
        }
    }
}

void GlissaManipulator::MarkKeysForManipFromSelection()
{
    for (int i = 0; i < mRelatedNodes.GetCount(); ++i) {
        if (Glissa* const curve = RelatedCurve(i)) {
            MarkKeys(*curve, 0, curve->KeyGetCount() - 1,
                     [&](int pIndex) { return curve->KeyGetSelected(pIndex); });
        }
    }
}

void GlissaManipulator::ClearMarkKeysForManip()
{
    MarkKeysForManip(false, nullptr, 0, std::numeric_limits<int>::max());
}
