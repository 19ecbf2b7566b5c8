// Copyright (c) 2026 The glissa authors
// SPDX-License-Identifier: MIT

// What a curve asks of the node that owns it. It stands here because the curve lies below the node.

#include "glissa/curve/curve.h"

// A curve takes its owner as an address; until there is a node class to own one, none is locked and
// none has an object layer to take an evaluation over from.
bool Glissa::IsLocked()
{
    return false;
}

void Glissa::CallbackEvaluationRegister(void* pFunction, void* pObject)
{
    if (pFunction && pObject) {
        mEvaluationFunction = pFunction;
        mEvaluationObject = pObject;
    }
}
