// Copyright (c) 2026 The glissa authors
// SPDX-License-Identifier: MIT
#pragma once

#include "corvekit/time.h"
#include "glissa/export.h"

/// Where the pending values of a node are stored.
enum eCandidateMethod : int
{
    eCandidateSpecific = 1,          ///< in the curves of one layer
    eCandidateTotal = 2,             ///< on the base node, meaning the total over all layers
    eCandidateTotalAndSpecific = 3,  ///< a total that was also converted for a layer
};

/// The candidates of a node, of up to four children and of the layers after it. It is filled by
/// GlissaNode::GetCandidateState and restored by SetCandidateState. Owns the states below.
struct GLISSA_API GlissaNodeCandidateState
{
    GlissaNodeCandidateState() = default;
    GlissaNodeCandidateState(const GlissaNodeCandidateState&) = delete;
    GlissaNodeCandidateState& operator=(const GlissaNodeCandidateState&) = delete;
    ~GlissaNodeCandidateState();

    void SetCandidateSpecificTime(KTime& pTime) { mCandidateSpecificTime = pTime; }
    void SetCandidateTotalTime(KTime& pTime) { mCandidateTotalTime = pTime; }
    /// Destroys the states below.
    void Clear();
    /// Prints the state with KTrace, each line indented by pIndent blanks.
    void Dump(int pIndent) const;

    int mSpecificCandidateMethod = 0;
    int mTotalCandidateMethod = 0;
    float mCandidateTotalValue[4] = {};
    KTime mCandidateTotalTime;
    float mCandidateSpecificValue = 0.0f;
    float mFCurveValue = 0.0f;  ///< the curve's default value
    KTime mCandidateSpecificTime;
    GlissaNodeCandidateState* mSubStates[4] = {};  ///< one for each child, else null
    GlissaNodeCandidateState* mLayerState = nullptr;
    int mLayerID = 0;
};
