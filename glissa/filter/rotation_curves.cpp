// Copyright (c) 2026 The glissa authors
// SPDX-License-Identifier: MIT

#include "glissa/filter/rotation_curves.h"

#include "glissa/curve/curve.h"
#include "glissa/node/tree.h"

#include <algorithm>
#include <cstring>

namespace
{
constexpr const char* kAxisNames[kRotationAxes] = {"X", "Y", "Z"};
}

Glissa* FindCurveBelow(GlissaNode& pNode, const char* pName)
{
    const GlissaNode* const found = pNode.FindRecursive(pName);
    return found ? found->FCurveGet() : nullptr;
}

bool FindRotationCurves(GlissaNode& pNode, Glissa* (&pCurves)[kRotationAxes])
{
    for (int i = 0; i < kRotationAxes; ++i) {
        pCurves[i] = FindCurveBelow(pNode, kAxisNames[i]);
    }
    return pCurves[0] && pCurves[1] && pCurves[2];
}

bool IsNamedRotation(const GlissaNode& pNode)
{
    const char* const name = pNode.GetName();
    return std::strcmp(name, "R") == 0 || std::strcmp(name, "Lcl Rotation") == 0;
}

bool IsNodeOrChildLocked(GlissaNode& pNode)
{
    bool isLocked = pNode.IsNodeLocked();
    for (int i = 0; i < pNode.GetCount(); ++i) {
        isLocked = isLocked || pNode.Get(i)->IsNodeLocked();
    }
    return isLocked;
}

RotationTree::RotationTree(Glissa* const* pCurves, int pOrder)
    : mNode(GlissaNodeCreate("R", static_cast<KDataType*>(nullptr), eLayerTypeRotation,
                             GlissaLayerInfo::Base))
{
    // All owners first: a curve that is given twice leaves its owner once.
    for (int i = 0; i < kRotationAxes; ++i) {
        mOwners[i] = pCurves[i]->GetOwner();
    }
    try {
        mNode->SetRotationOrder(pOrder);
        for (int i = 0; i < kRotationAxes; ++i) {
            GlissaNode* const child =
                AddNew(*mNode, GlissaNodeCreate(kAxisNames[i], KDataTypeNumber, eLayerTypeValue,
                                                GlissaLayerInfo::Base));
            if (pCurves[i]->IsLocked()) {
                child->FCurveSet(pCurves[i]->Copy(), false);
                continue;
            }
            mCurves[i] = pCurves[i];
            child->FCurveSet(pCurves[i], false);
        }
    } catch (...) {
        GiveBack();
        throw;
    }
}

RotationTree::~RotationTree()
{
    GiveBack();
}

void RotationTree::GiveBack()
{
    for (int i = 0; i < std::min(kRotationAxes, mNode->GetCount()); ++i) {
        if (mCurves[i]) {
            mNode->Get(i)->FCurveSet(nullptr, false);
        }
    }
    mNode->Destroy();
    for (int i = 0; i < kRotationAxes; ++i) {
        if (!mCurves[i] || !mOwners[i]) {
            continue;
        }
        if (mOwners[i]->FCurveGet()) {
            mCurves[i]->SetOwner(mOwners[i]);  // an owner in name only
        } else {
            mOwners[i]->FCurveSet(mCurves[i], false);
        }
    }
}
