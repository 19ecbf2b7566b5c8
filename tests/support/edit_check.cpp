// Copyright (c) 2026 The glissa authors
// SPDX-License-Identifier: MIT

#include "tests/support/edit_check.h"

#include <algorithm>
#include <bit>
#include <cmath>
#include <map>
#include <ostream>
#include <sstream>

namespace
{
// Bits of the flag word that are posted as a selection, and the one that is not posted at all.
constexpr unsigned kShown = 0x370000;
constexpr unsigned kSilent = 0x80000;

bool HasSameBits(float pLeft, float pRight)
{
    return std::bit_cast<std::uint32_t>(pLeft) == std::bit_cast<std::uint32_t>(pRight);
}

// The event type that a difference between two keys has to be posted with. Slots count as floats:
// merging equal blocks may turn a zero's sign.
int Difference(const GlissaKey& pBefore, const GlissaKey& pAfter)
{
    int type = HasSameBits(pBefore.GetValue(), pAfter.GetValue()) ? 0 : eEventEditValue;
    type |= pBefore.GetTime() == pAfter.GetTime() ? 0 : eEventEditTime;
    const unsigned changed = pBefore.GetAttributes().mFlags ^ pAfter.GetAttributes().mFlags;
    type |= (changed & kShown) != 0 ? eEventSelection : 0;
    type |= (changed & ~(kShown | kSilent)) != 0 ? eEventEditOther : 0;
    for (int i = 0; i < 4; ++i) {
        if (!IsSame(pBefore.GetDataPtr()[i], pAfter.GetDataPtr()[i])) {
            type |= eEventEditOther;
        }
    }
    return type;
}
}  // namespace

bool IsSame(float pLeft, float pRight)
{
    return pLeft == pRight || (std::isnan(pLeft) && std::isnan(pRight));
}

std::ostream& operator<<(std::ostream& pStream, const HeardEvent& pEvent)
{
    return pStream << std::hex << "{0x" << pEvent.type << std::dec << ", " << pEvent.first << ", "
                   << pEvent.last << ", " << pEvent.count << "}";
}

EditCheck::EditCheck(Glissa& pCurve)
    : mCurve(pCurve), mEvents(pCurve), mValue(pCurve.GetValue()), mUpdateId(pCurve.GetUpdateId())
{
    for (int i = 0; i < pCurve.KeyGetCount(); ++i) {
        mKeys.push_back(pCurve.KeyGet(i));
        if (i > 0) {
            // Fractions that no index rounds.
            for (const double place : {i - 0.75, i - 0.375}) {
                mSamples.push_back({place, pCurve.EvaluateIndex(place)});
            }
        }
    }
}

EventRecorder::EventRecorder(Glissa& pCurve, Reaction pThen)
    : mCurve(&pCurve), mThen(std::move(pThen))
{
    pCurve.CallbackRegister(Hear, this);
}

EventRecorder::~EventRecorder()
{
    if (mCurve) {
        mCurve->CallbackUnregister(Hear, this);
    }
}

void EventRecorder::Hear(Glissa* pCurve, GlissaEvent* pEvent, void* pObject)
{
    auto* self = static_cast<EventRecorder*>(pObject);
    self->mHeard.push_back(
        {pEvent->GetType(), pEvent->GetFirstKey(), pEvent->GetLastKey(), pEvent->GetEventCount()});
    if ((pEvent->GetType() & eEventDestroy) != 0) {
        self->mCurve = nullptr;
    }
    if (self->mThen) {
        self->mThen(pCurve, pEvent);
    }
}

HeardEvent EventRecorder::Folded() const
{
    HeardEvent all;
    for (const HeardEvent& each : mHeard) {
        all.type |= each.type;
        all.first = all.count == 0 ? each.first : std::min(all.first, each.first);
        all.last = std::max(all.last, each.last);
        all.count += each.count;
    }
    return all;
}

std::string EditCheck::Verify(int pReinserted)
{
    std::ostringstream faults;
    const HeardEvent all = Folded();
    const int before = static_cast<int>(mKeys.size());
    const int after = mCurve.KeyGetCount();
    const bool isWhole = all.count > 0 && all.first < 0;
    // A change of kind hides the key's tangents, and all attributes may be replaced.
    const bool coversShown = (all.type & kGlissaEventAllAttributes) == kGlissaEventAllAttributes ||
                             (all.type & (eEventEditInterpolation | eEventEditTangentMode)) != 0;
    const bool countMayDiffer = (all.type & (eEventKeyAdd | eEventKeyRemove)) != 0;
    if (before != after && (all.type & (before < after ? eEventKeyAdd : eEventKeyRemove)) == 0) {
        faults << "the count went from " << before << " to " << after << " unheard\n";
    }
    if (!HasSameBits(mValue, mCurve.GetValue()) && (all.type & eEventDefaultValue) == 0) {
        faults << "the default value changed unheard\n";
    }

    // Keys in front of the span posted, and as many behind it as both numberings agree on. Between
    // its removal and its return a key moves the numbers of those behind it by one.
    const int least = std::min(before, after);
    constexpr int kBoth = eEventKeyAdd | eEventKeyRemove;
    const int slack = (all.type & kBoth) == kBoth ? pReinserted : 0;
    const int numbers = (all.type & eEventKeyRemove) == 0 ? after : least;
    int head = least;
    int tail = 0;
    if (all.count > 0) {
        head = std::clamp(all.first - std::max(slack - 1, 0), 0, least);
        tail = isWhole ? 0 : std::max(numbers - 1 - all.last - slack, 0);
    }
    for (int i = 0; i < least && !isWhole; ++i) {
        const bool isInside = i >= head && after - 1 - i >= tail;
        if (isInside && countMayDiffer) {
            continue;
        }
        const int old = i < head || !countMayDiffer ? i : i + before - after;
        if (old < 0) {
            continue;
        }
        const int difference = Difference(mKeys[static_cast<std::size_t>(old)], mCurve.KeyGet(i));
        const int posted = isInside ? all.type | (coversShown ? eEventSelection : 0) : 0;
        if ((difference & ~posted) != 0) {
            faults << "key " << i << " differs by 0x" << std::hex << difference << std::dec
                   << " outside of " << all << "\n";
        }
    }

    const unsigned moved = static_cast<unsigned>(mCurve.GetUpdateId() - mUpdateId);
    // Both halves together, also where one carried into the other.
    if (moved % 0xFFFF != static_cast<unsigned>(all.count) % 0xFFFF) {
        faults << "the update id moved by 0x" << std::hex << moved << std::dec << " for "
               << all.count << " posts\n";
    }

    // A segment is shaped by its two keys and their neighbours.
    int hint = 0;
    for (const auto& [place, value] : mSamples) {
        const int key = static_cast<int>(place);
        const bool isBehind = key - 1 >= before - tail;
        if (isWhole || (key + 2 >= head && !isBehind)) {
            continue;
        }
        const int shift = isBehind ? after - before : 0;
        const float now = mCurve.EvaluateIndex(place + shift);
        const KTime time = mKeys[static_cast<std::size_t>(key)].GetTime();
        if (!IsSame(value, now) || mCurve.KeyFind(time, &hint) != key + shift) {
            faults << "at " << place << " " << value << " became " << now << ", and key " << key
                   << " is found at " << mCurve.KeyFind(time, &hint) << "\n";
        }
    }
    return faults.str();
}

namespace
{
void CheckPages(const Glissa& pCurve, std::ostream& pFaults)
{
    const KeyList& keys = pCurve.Keys();
    const int count = keys.Count();
    const int entries = keys.Capacity() / KeyList::kKeysPerPage;
    if (entries % KeyList::kTableStep != 0 || (entries == 0) != (keys.Table() == nullptr) ||
        count > (keys.LastPage() + 1) * KeyList::kKeysPerPage || keys.LastPage() >= entries) {
        pFaults << "a table of " << entries << " pages, the last one " << keys.LastPage()
                << ", for " << count << " keys\n";
        return;
    }
    for (int page = 0; page < entries; ++page) {
        if ((keys.Table()[page] != nullptr) != (page <= keys.LastPage())) {
            pFaults << "page " << page << " of " << keys.LastPage() << "\n";
        }
    }
    for (int i = count; i < (keys.LastPage() + 1) * KeyList::kKeysPerPage; ++i) {
        if (keys[i].mAttribute || keys[i].mTime != KTime() || keys[i].mValue != 0.0f) {
            pFaults << "record " << i << " behind " << count << " keys is not empty\n";
        }
    }
    for (int i = 1; i < count; ++i) {
        if (keys[i].mTime <= keys[i - 1].mTime) {
            pFaults << "key " << i << " is not later than the one before\n";
            return;
        }
    }
    // The index of first times, which a search mends when it finds it wrong, is asked directly.
    auto& index = const_cast<KeyList&>(keys);
    for (int i = 0; i < count; i += KeyList::kKeysPerPage) {
        const auto page = static_cast<unsigned>(i / KeyList::kKeysPerPage);
        if (index.PageBelow(keys[i].mTime) != page ||
            index.PageBelow(keys[i].mTime - KTime(1)) != (page == 0 ? 0 : page - 1)) {
            pFaults << "the index of pages is wrong at page " << page << "\n";
        }
    }
}
}  // namespace

std::string CheckBooks(const std::vector<const Glissa*>& pCurves)
{
    std::ostringstream faults;
    std::map<const KPriFCurveKeyAttr*, std::uint32_t> uses = {{GlissaDefaultKeyAttr, 1}};
    for (const Glissa* curve : pCurves) {
        CheckPages(*curve, faults);
        for (int i = 0; i < curve->KeyGetCount(); ++i) {
            const KPriFCurveKeyAttr* block = curve->InternalPriKeyAttrGetPtr(i);
            if (!block) {
                faults << "key " << i << " has no block\n";
                continue;
            }
            ++uses[block];
        }
    }
    for (const auto& [block, count] : uses) {
        if (block->mReferenceCount != count) {
            faults << "a block of " << count << " keys counts " << block->mReferenceCount << "\n";
        }
    }
    if (GlissaKeyAttrPool.GetUsedCount() != uses.size()) {
        faults << GlissaKeyAttrPool.GetUsedCount() << " blocks are out, " << uses.size()
               << " are in use\n";
    }
    return faults.str();
}
