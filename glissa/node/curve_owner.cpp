// Copyright (c) 2026 The glissa authors
// SPDX-License-Identifier: MIT

// The member functions of a curve that need the node that owns it. They are defined here because
// glissa/curve may not include glissa/node.

#include "glissa/curve/curve.h"
#include "glissa/node/node_state.h"

bool Glissa::IsLocked()
{
    return mOwner && mOwner->IsNodeLocked();
}

// A node does not keep a curve that is destroyed. The node posts no event, since it may be in its
// own destructor.
void Glissa::LeaveNode()
{
    if (mPlace) {
        *mPlace = nullptr;
        mPlace = nullptr;
        NoteStructureChange();
    }
    mOwner = nullptr;
}

void Glissa::CallbackEvaluationRegister(void* pFunction, void* pObject)
{
    if (pFunction && pObject) {
        mEvaluationFunction = pFunction;
        mEvaluationObject = pObject;
        return;
    }
    GlissaNode* base = mOwner ? mOwner->ObjectLayerGet() : nullptr;
    if (!base) {
        return;
    }
    GlissaNode* holder = base->GetCount() > 0 ? base->Get(0) : base;
    const Glissa* source = holder->FCurveGet();
    if (source && source->IsEvaluationOverwritten()) {
        mEvaluationFunction = source->mEvaluationFunction;
        mEvaluationObject = source->mEvaluationObject;
    }
}
