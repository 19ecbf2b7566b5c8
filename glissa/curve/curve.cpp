// Copyright (c) 2026 The glissa authors
// SPDX-License-Identifier: MIT

#include "glissa/curve/curve.h"

#include "corvekit/event/operation.h"

#include <algorithm>

Glissa* GlissaCreate()
{
    return new Glissa;
}

Glissa::Glissa() = default;

Glissa::~Glissa()
{
    mFlags |= kIsEnding;
    LeaveNode();
    KeyClear();
    CallbackEnable(true);
    CallbackAddEvent(eEventDestroy, -1);
    // A listener of the removal may have added keys again.
    ReleaseAllAttributes();
}

IObject* Glissa::IQuery(unsigned long pId, int)
{
    return pId == 0 || pId == 51 || pId == 0x29BC7B3 ? this : nullptr;
}

void Glissa::Destroy(int)
{
    if ((mFlags & kIsEnding) != 0) {
        return;  // a listener of the end calls Destroy again
    }
    LeaveNode();
    KOperation::DeleteAtEnd(*this);
}

void Glissa::SetValue(float pValue, bool)
{
    mValue = pValue;
    CallbackAddEvent(eEventDefaultValue, -1);
}

void Glissa::SetColor(const float* pColor)
{
    if (pColor) {
        std::copy_n(pColor, 3, mColor);
    }
}

void Glissa::CallbackEvaluationUnregister(void*, void*)
{
    mEvaluationFunction = nullptr;
    mEvaluationObject = nullptr;
}
