// Copyright (c) 2026 The glissa authors
// SPDX-License-Identifier: MIT

// How does an editor drag selected keys, and cancel the drag?

#include "glissa/glissa.h"

#include <cstdio>
#include <memory>
#include <utility>
#include <vector>

namespace
{
struct Destroy
{
    void operator()(Glissa* pCurve) const { pCurve->Destroy(); }
    void operator()(GlissaNode* pNode) const { pNode->Destroy(); }
};

KTime Seconds(double pSeconds)
{
    return KTime::FromSeconds(pSeconds);
}

// [snippet drag]
/// One drag, from the press of the mouse button to its release or to the Escape key.
class KeyDrag
{
public:
    /// pLeaves  the nodes of the manipulator
    KeyDrag(GlissaManipulator& pManipulator, const std::vector<GlissaNode*>& pLeaves)
        : mManipulator(pManipulator)
    {
        for (GlissaNode* const leaf : pLeaves) {
            mBefore.emplace_back(leaf, GlissaCreate());
            mBefore.back().second->CopyFrom(*leaf->FCurveGet(), true);
        }
        mManipulator.MarkKeysForManipFromSelection();
        mManipulator.FrameManipulation();  // before the begin, which keeps this range
        mManipulator.BeginManipulation(eManipRightEdge, false, 0.0);
    }

    /// Distances since the button was pressed, not since the last movement.
    void Moved(KTime pTime, double pValue) { mManipulator.Offset(pTime, pValue, 0.0); }

    void Released()
    {
        mManipulator.EndManipulation();
        mManipulator.ClearMarkKeysForManip();
    }

    void Cancelled()
    {
        mManipulator.EndManipulation();
        for (const auto& [leaf, before] : mBefore) {
            leaf->FCurveGet()->CopyFrom(*before, true);
        }
        mManipulator.FrameSelection();
    }

private:
    GlissaManipulator& mManipulator;
    std::vector<std::pair<GlissaNode*, std::unique_ptr<Glissa, Destroy>>> mBefore;
};
// [end]

void Print(const char* pWhat, Glissa& pCurve)
{
    std::printf("%s:", pWhat);
    for (int i = 0; i < pCurve.KeyGetCount(); ++i) {
        std::printf(" %g@%.1f", static_cast<double>(pCurve.KeyGetValue(i)),
                    pCurve.KeyGetTime(i).GetSecondDouble());
    }
    std::printf("\n");
}
}  // namespace

int main()
{
    const std::unique_ptr<GlissaNode, Destroy> node(
        GlissaNodeCreate("bend", nullptr, eLayerTypeVector, {}));
    node->CreateFCurve();
    Glissa& curve = *node->FCurveGet();
    for (int i = 0; i < 5; ++i) {
        curve.KeyAppendFast(Seconds(i), static_cast<float>(10 * i));
    }

    // [snippet select]
    GlissaManipulator manipulator;
    manipulator.Add(node.get());                 // and all nodes below it
    manipulator.MarkAllCurveNodeForManip(true);  // again after each change of the nodes
    manipulator.SelectKeys(eSelectionReplace, Seconds(1.0), Seconds(2.0), 0.0, 100.0);
    // [end]

    KeyDrag drag(manipulator, {node.get()});
    drag.Moved(Seconds(1.0), 0.5);
    Print("over another key", curve);
    drag.Moved(Seconds(0.2), 3.0);
    Print("back from it", curve);
    drag.Released();

    KeyDrag second(manipulator, {node.get()});
    second.Moved(Seconds(-0.7), 40.0);
    second.Cancelled();
    Print("cancelled", curve);
    return curve.KeyGetCount() == 5 && curve.KeyGetTime(1) == Seconds(1.2) ? 0 : 1;
}
