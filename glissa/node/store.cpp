// Copyright (c) 2026 The glissa authors
// SPDX-License-Identifier: MIT

// A node as a field of a document: its name, and a block of its curve or its channels, its layer
// and, nested in it, the rest of the chain of layers. store_read.cpp reads it.

#include "corvekit/store/tdf.h"
#include "glissa/curve/curve.h"
#include "glissa/node/node_state.h"

#include <cstring>

namespace
{
void WriteInt(KTdf& pTdf, const char* pName, int pValue)
{
    pTdf.FieldWriteBegin(pName);
    pTdf.FieldWriteI(pValue);
    pTdf.FieldWriteEnd();
}

// By which a reader finds a local transform whatever its name in the tree that reads.
const char* ShortName(KDataType* pType)
{
    return pType == KDataTypeLclTranslation ? "T"
           : pType == KDataTypeLclRotation  ? "R"
           : pType == KDataTypeLclScaling   ? "S"
                                            : nullptr;
}
}  // namespace

bool GlissaNode::TdfStore(KTdf* pTdf, bool pOnlyDefaults, bool pShortNames, bool pNoUserName,
                          const char* pFieldName, bool pWithColor, bool pOlderKeyForm)
{
    KTdf& tdf = *pTdf;
    const char* short_name = pShortNames ? ShortName(GetDataType()) : nullptr;
    tdf.FieldWriteBegin(pFieldName);
    tdf.FieldWriteC(short_name ? short_name : GetName());
    if (!tdf.FieldWriteBlockBegin()) {
        return true;  // nested too deep, for one: nothing below can be written either
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
        for (GlissaNode* child : mState->mChildren) {
            child->TdfStore(&tdf, pOnlyDefaults, pShortNames, pNoUserName, "Channel", pWithColor,
                            pOlderKeyForm);
        }
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
