// Copyright (c) 2026 The glissa authors
// SPDX-License-Identifier: MIT

// A node as a field of a document: its name, and a block of its curve or its channels, its layer
// and, nested in it, the rest of the chain of layers. store_read.cpp reads it.

#include "corvekit/store/tdf.h"
#include "glissa/curve/curve.h"
#include "glissa/node/node_state.h"
#include "glissa/node/transform_names.h"

#include <algorithm>
#include <cstring>

static_assert(GlissaNode::kMaxLevels <= KTdf::kMaxNesting);

namespace
{
void WriteInt(KTdf& pTdf, const char* pName, int pValue)
{
    pTdf.FieldWriteBegin(pName);
    pTdf.FieldWriteI(pValue);
    pTdf.FieldWriteEnd();
}

// Prefetches the names and curves of some nodes from pFirst on, and the keys of short curves.
// Nodes, curves and pages are far apart in memory; without this each access would wait for the one
// before.
void FetchCurves(GlissaNode* const* pFirst, GlissaNode* const* pEnd)
{
    constexpr int kPages = 4;
    constexpr std::size_t kPageSize = sizeof(KPriFCurveKey) * KeyList::kKeysPerPage;
    constexpr std::size_t kLine = 64;
    for (auto each = pFirst; each != pEnd; ++each) {
        __builtin_prefetch(GlissaNodeState::Of(*each).mNames);
        __builtin_prefetch(GlissaNodeState::Of(*each).mCurve);
    }
    for (auto each = pFirst; each != pEnd; ++each) {
        if (const Glissa* curve = GlissaNodeState::Of(*each).mCurve) {
            __builtin_prefetch(curve->Keys().Table());
        }
    }
    for (auto each = pFirst; each != pEnd; ++each) {
        const Glissa* curve = GlissaNodeState::Of(*each).mCurve;
        const int last = curve ? std::min(curve->Keys().LastPage(), kPages - 1) : -1;
        for (int page = 0; page <= last; ++page) {
            const char* const keys = reinterpret_cast<const char*>(curve->Keys().Table()[page]);
            for (std::size_t at = 0; at < kPageSize; at += kLine) {
                __builtin_prefetch(keys + at);
            }
        }
    }
}
}  // namespace

bool GlissaNode::TdfStore(KTdf* pTdf, bool pOnlyDefaults, bool pShortNames, bool pNoUserName,
                          const char* pFieldName, bool pWithColor, bool pOlderKeyForm)
{
    CORVEKIT_ASSERT(pTdf && pFieldName);
    KTdf& tdf = *pTdf;
    const char* shortName = pShortNames ? ShortNameOf(GetDataType()) : nullptr;
    tdf.FieldWriteBegin(pFieldName);
    tdf.FieldWriteC(shortName ? shortName : GetName());
    if (!tdf.FieldWriteBlockBegin()) {
        return true;  // such as nested too deep: nothing below can be written either
    }
    if (!pNoUserName && std::strcmp(GetTimeWarpName(), GetName()) != 0) {
        tdf.FieldWriteBegin("UserName");
        tdf.FieldWriteC(GetTimeWarpName());
        tdf.FieldWriteEnd();
    }
    int nick = 0;
    if (Glissa_FindNickNumberFromTW(nick, mState->mTimeWarp)) {
        WriteInt(tdf, "TimeWarpID", nick);
    }
    if (mState->mCurve) {
        mState->mCurve->TdfStore(&tdf, pOnlyDefaults, pWithColor, pOlderKeyForm);
    } else {
        constexpr int kFetched = 8;
        const auto& children = mState->mChildren;
        for (int i = 0; i < children.GetCount(); ++i) {
            if (i % kFetched == 0) {
                const int end = std::min(i + kFetched, children.GetCount());
                FetchCurves(children.begin() + i, children.begin() + end);
            }
            children[i]->TdfStore(&tdf, pOnlyDefaults, pShortNames, pNoUserName, "Channel",
                                  pWithColor, pOlderKeyForm);
        }
    }
    for (GlissaNode* const channel : mState->mUnmatched) {
        channel->TdfStore(&tdf, pOnlyDefaults, pShortNames, pNoUserName, "Channel", pWithColor,
                          pOlderKeyForm);
    }
    if (GetLayerID() != 0) {
        WriteInt(tdf, "LayerID", GetLayerID());
    }
    if (GetLayerType() != 0) {
        WriteInt(tdf, "LayerType", GetLayerType());
    }
    if (mState->mNextLayer && !pOnlyDefaults) {
        mState->mNextLayer->TdfStore(&tdf, false, pShortNames, pNoUserName, "LayerChannel", false,
                                     pOlderKeyForm);
    }
    tdf.FieldWriteBlockEnd();
    tdf.FieldWriteEnd();
    return true;
}
