// Copyright (c) 2026 The glissa authors
// SPDX-License-Identifier: MIT

#include "corvekit/object/plug.h"

#include "corvekit/assert.h"

namespace
{
KPlug* PlugAt(const KArrayTemplate<KPlug*, 4>& pPlugs, int pIndex)
{
    return pIndex >= 0 && pIndex < pPlugs.GetCount() ? pPlugs[pIndex] : nullptr;
}
}  // namespace

KPlug::~KPlug()
{
    DisconnectAll();
}

bool KPlug::Connect(KPlug* pDestination)
{
    if (!pDestination || pDestination == this || mDestinations.Find(pDestination) >= 0) {
        return false;
    }
    pDestination->mSources.SetCapacity(pDestination->GetSourceCount() + 1);
    CORVEKIT_ASSERT(pDestination->mSources.Find(this) < 0);
    mDestinations.Add(pDestination);
    pDestination->mSources.Add(this);
    return true;
}

bool KPlug::Disconnect(KPlug* pDestination)
{
    if (!pDestination || !mDestinations.RemoveIt(pDestination)) {
        return false;
    }
    const bool isListed = pDestination->mSources.RemoveIt(this);
    CORVEKIT_ASSERT(isListed);
    return isListed;
}

void KPlug::DisconnectAll()
{
    while (GetDestinationCount() > 0) {
        Disconnect(mDestinations[GetDestinationCount() - 1]);
    }
    while (GetSourceCount() > 0) {
        mSources[GetSourceCount() - 1]->Disconnect(this);
    }
}

KPlug* KPlug::GetDestination(int pIndex) const
{
    return PlugAt(mDestinations, pIndex);
}

KPlug* KPlug::GetSource(int pIndex) const
{
    return PlugAt(mSources, pIndex);
}
