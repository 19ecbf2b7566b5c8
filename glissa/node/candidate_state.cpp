// Copyright (c) 2026 The glissa authors
// SPDX-License-Identifier: MIT

#include "glissa/node/candidate_state.h"

#include "corvekit/trace.h"

#include <string>

GlissaNodeCandidateState::~GlissaNodeCandidateState()
{
    Clear();
}

void GlissaNodeCandidateState::Clear()
{
    for (GlissaNodeCandidateState*& state : mSubStates) {
        delete state;
        state = nullptr;
    }
    delete mLayerState;
    mLayerState = nullptr;
}

void GlissaNodeCandidateState::Dump(int pIndent) const
{
    const std::string indent(static_cast<std::size_t>(pIndent > 0 ? pIndent : 0), ' ');
    const char* const blanks = indent.c_str();
    const float* const total = mCandidateTotalValue;
    KTrace("%smSpecificCandidateMethod = %d\n", blanks, mSpecificCandidateMethod);
    KTrace("%smTotalCandidateMethod = %d\n", blanks, mTotalCandidateMethod);
    KTrace("%smCandidateTotalValue = %f, %f, %f, %f\n", blanks, static_cast<double>(total[0]),
           static_cast<double>(total[1]), static_cast<double>(total[2]),
           static_cast<double>(total[3]));
    KTrace("%smCandidateTotalTime = %f\n", blanks, mCandidateTotalTime.GetSecondDouble());
    KTrace("%smCandidateSpecificValue = %f\n", blanks,
           static_cast<double>(mCandidateSpecificValue));
    KTrace("%smFCurveValue = %f\n", blanks, static_cast<double>(mFCurveValue));
    KTrace("%smCandidateSpecificTime = %f\n", blanks, mCandidateSpecificTime.GetSecondDouble());
    if (mLayerState) {
        KTrace("%smLayerState:\n", blanks);
        mLayerState->Dump(pIndent + 1);
    }
    for (int i = 0; i < 4; ++i) {
        if (mSubStates[i]) {
            KTrace("%smSubStates[%d]:\n", blanks, i);
            mSubStates[i]->Dump(pIndent + 1);
        }
    }
}
