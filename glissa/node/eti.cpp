// Copyright (c) 2026 The glissa authors
// SPDX-License-Identifier: MIT

// From the timeline of the host to the time of a node and back, by the ETIs of the node: its own or
// that of its first child, and those of its ancestors.

#include "glissa/node/eti.h"

#include "glissa/node/eti_timeline.h"
#include "glissa/node/node_state.h"

#include <utility>

namespace
{
// The node's own ETI, else, on a branch, that of its first child.
IGlissaETI* NearestETI(GlissaNode* pNode)
{
    if (IGlissaETI* own = pNode->GetETI()) {
        return own;
    }
    GlissaNode* first = pNode->FCurveGet() ? nullptr : pNode->Get(0);
    return first ? first->GetETI() : nullptr;
}
}  // namespace

IGlissaETI* GlissaNode::GetETI() const
{
    return mState->mETI && mState->mETI->IsValid() ? mState->mETI : nullptr;
}

void GlissaNode::SetETI(IGlissaETI* pETI)
{
    if (pETI == mState->mETI) {
        return;
    }
    // An ETI may set another one when it is released or referenced: each is then counted once.
    IGlissaETI* const old = std::exchange(mState->mETI, pETI);
    if (pETI) {
        pETI->AddReference();
    }
    if (old) {
        old->ReleaseReference();
    }
}

KTime GlissaNode::ETIGetSpecifiedTime(KTime (IGlissaETI::*pMember)())
{
    CORVEKIT_ASSERT(pMember);
    IGlissaETI* nearest = NearestETI(this);
    KTime time = nearest ? (nearest->*pMember)() : KTime();
    for (GlissaNode* node = GetParent(); node && time == KTime(); node = node->GetParent()) {
        if (IGlissaETI* eti = node->GetETI()) {
            time = (eti->*pMember)();
        }
    }
    return time;
}

KTime GlissaNode::ETIGetDuration()
{
    return ETIGetSpecifiedTime(&IGlissaETI::GetDuration);
}

KTime GlissaNode::ETIGetTrimOffset()
{
    const KTime trim = ETIGetSpecifiedTime(&IGlissaETI::GetTrimOffset);
    const double scale = ETIGetScaleFactor();
    return scale == 1.0 ? trim : KTime::FromSeconds(trim.GetSecondDouble() * scale);
}

KTime GlissaNode::ETIGetGlobalOffset()
{
    KTime offset = ETIGetTrimOffset();
    if (IGlissaETI* nearest = NearestETI(this)) {
        offset += nearest->GetGlobalOffset();
    }
    for (GlissaNode* node = GetParent(); node; node = node->GetParent()) {
        if (IGlissaETI* eti = node->GetETI()) {
            offset += eti->GetGlobalOffset();
        }
    }
    return offset;
}

double GlissaNode::ETIGetScaleFactor()
{
    IGlissaETI* nearest = NearestETI(this);
    double scale = nearest ? nearest->GetScaleFactor() : 1.0;
    for (GlissaNode* node = GetParent(); node; node = node->GetParent()) {
        if (IGlissaETI* eti = node->GetETI()) {
            scale *= eti->GetScaleFactor();
        }
    }
    return scale;
}

KTime GlissaNode::ETIGetGlobalActiveStart()
{
    return ETIGetSpecifiedTime(&IGlissaETI::GetActiveStart) + ETIGetGlobalOffset() -
           ETIGetTrimOffset();
}

ETITimeline::ETITimeline(GlissaNode& pNode)
    : mScale(pNode.ETIGetScaleFactor()), mOffset(pNode.ETIGetGlobalOffset())
{}

KTime GlissaNode::ETIGlobalTime2NodeTime(const KTime& pTime)
{
    return ETITimeline(*this).ToNode(pTime);
}

KTime GlissaNode::ETINodeTime2GlobalTime(const KTime& pTime)
{
    return ETITimeline(*this).ToGlobal(pTime);
}

bool GlissaNode::ETIIsGlobalTimeInSpan(const KTime& pTime, bool pInclusive)
{
    GlissaNode* first = Get(0);
    if (!GetETI() && !(first && first->GetETI())) {
        return true;
    }
    const KTime start = ETIGetGlobalActiveStart();
    const KTime end = start + ETIGetDuration();
    return start <= pTime && (pTime < end || (pInclusive && pTime == end));
}

bool GlissaNode::ETIIsSelectedDuration()
{
    IGlissaETI* nearest = NearestETI(this);
    bool selected = nearest && nearest->IsSelectedDuration();
    for (GlissaNode* node = GetParent(); node && !selected; node = node->GetParent()) {
        IGlissaETI* eti = node->GetETI();
        selected = eti && eti->IsSelectedDuration();
    }
    return selected;
}

bool GlissaNode::ETIGetColor(KgeRGBVector& pColor)
{
    IGlissaETI* eti = NearestETI(this);
    for (GlissaNode* node = GetParent(); node && !eti; node = node->GetParent()) {
        eti = node->GetETI();
    }
    if (eti) {
        pColor = eti->GetColor();
    }
    return eti != nullptr;
}
