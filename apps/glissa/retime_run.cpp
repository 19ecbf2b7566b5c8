// Copyright (c) 2026 The glissa authors
// SPDX-License-Identifier: MIT

#include "apps/glissa/retime_run.h"

#include "apps/glissa/refusal.h"
#include "glissa/curve/curve.h"

#include <fmt/format.h>

#include <algorithm>
#include <climits>
#include <cmath>

namespace
{
// The keys around the marker follow it. Each move is a manipulation of its own.
void Moved(void* pContext, KTime pLeft, KTime pTime, KTime pRight, KTime pDelta)
{
    auto& manipulator = *static_cast<GlissaManipulator*>(pContext);
    manipulator.BeginManipulation(eManipLeftEdge, false, 0.0);
    manipulator.OffsetXForRetiming(pLeft, pTime, pRight, pDelta);
    manipulator.EndManipulation();
}

// A list of markers at some times, with spans between them that are not locked. Returns the
// markers; the list has to be destroyed.
std::vector<KRetimeMarker*> FillList(KRetimeLinkListHead& pList, const RetimeCallbackEntry& pEntry,
                                     const std::vector<RetimeMove>& pMoves)
{
    std::vector<KRetimeMarker*> markers;
    auto* last =
        static_cast<KRetimeElement*>(new KRetimeSpecialSpan(pEntry, nullptr, eRetimeLeftInfinite));
    pList.mFirst = last;
    const auto append = [&last](KRetimeElement* pElement) {
        last->mNext = pElement;
        pElement->mPrevious = last;
        last = pElement;
    };
    for (const RetimeMove& each : pMoves) {
        if (!markers.empty()) {
            append(new KRetimeNormalSpan(pEntry, nullptr, nullptr, KRetimeNormalSpanState{}));
        }
        markers.push_back(new KRetimeMarker(pEntry, each.from));
        append(markers.back());
    }
    append(new KRetimeSpecialSpan(pEntry, nullptr, eRetimeRightInfinite));
    return markers;
}

void CheckOrder(const std::vector<RetimeMove>& pMoves)
{
    for (std::size_t i = 1; i < pMoves.size(); ++i) {
        const RetimeMove& left = pMoves[i - 1];
        const RetimeMove& right = pMoves[i];
        if (left.from >= right.from) {
            throw WrongArguments(
                fmt::format("--marker: the marker at {:.6g} s is given after the one at {:.6g} s; "
                            "give markers in ascending order, each time once",
                            right.from.GetSecondDouble(), left.from.GetSecondDouble()));
        }
        if (left.to >= right.to) {
            throw WrongArguments(fmt::format(
                "--marker: the marker at {:.6g} s would be at {:.6g} s, and its neighbour at "
                "{:.6g} s at {:.6g} s; a marker cannot reach or pass its neighbour",
                left.from.GetSecondDouble(), left.to.GetSecondDouble(),
                right.from.GetSecondDouble(), right.to.GetSecondDouble()));
        }
    }
}

std::size_t MarkerAt(const std::vector<RetimeMove>& pMoves, KTime pTime, const std::string& pLock)
{
    for (std::size_t i = 0; i < pMoves.size(); ++i) {
        if (pMoves[i].from == pTime) {
            return i;
        }
    }
    throw WrongArguments(
        fmt::format("--lock {}: there is no marker at {:.6g} s", pLock, pTime.GetSecondDouble()));
}
}  // namespace

RetimeRequest::Marker ParseMarker(const std::string& pText)
{
    const std::size_t equals = pText.find('=');
    RetimeRequest::Marker marker{pText, ParseTime(pText.substr(0, equals)), std::nullopt};
    if (equals != std::string::npos) {
        marker.to = ParseTime(pText.substr(equals + 1));
    }
    return marker;
}

RetimeRequest::Lock ParseLock(const std::string& pText)
{
    const std::size_t dots = pText.find("..");
    if (dots == std::string::npos) {
        throw WrongArguments(fmt::format("'{}' is not a span between two markers: 2..4", pText));
    }
    return {pText, ParseTime(pText.substr(0, dots)), ParseTime(pText.substr(dots + 2))};
}

std::vector<RetimeMove> MovesOf(const RetimeRequest& pRequest, double pFramesASecond)
{
    std::vector<RetimeMove> moves;
    for (const RetimeRequest::Marker& each : pRequest.markers) {
        const KTime from = each.from.At(pFramesASecond);
        moves.push_back({from, each.to ? each.to->At(pFramesASecond) : from});
        const auto ticks = [](KTime pTime) { return static_cast<double>(pTime.Get()); };
        if (std::fabs(ticks(moves.back().to) - ticks(from)) > kMostTicks) {
            throw WrongArguments(
                fmt::format("--marker {}: the move would leave the range of times", each.text));
        }
    }
    std::vector<RetimeMove> still = moves;
    for (RetimeMove& each : still) {
        each.to = each.from;
    }
    CheckOrder(still);
    // Each dragged marker selects those that are locked to it.
    KRetimeLinkListHead list;
    const std::vector<KRetimeMarker*> markers = FillList(list, {}, moves);
    struct Guard
    {
        KRetimeLinkListHead& list;
        ~Guard() { list.DestroyLinkList(); }
    } guard{list};
    for (const RetimeRequest::Lock& each : pRequest.locks) {
        const std::size_t from = MarkerAt(moves, each.from.At(pFramesASecond), each.text);
        const std::size_t to = MarkerAt(moves, each.to.At(pFramesASecond), each.text);
        if (from >= to) {
            throw WrongArguments(
                fmt::format("--lock {}: the span is empty or reversed", each.text));
        }
        for (std::size_t i = from; i < to; ++i) {
            static_cast<KRetimeNormalSpan*>(markers[i]->mNext)->SetLocked(true);
        }
    }
    for (std::size_t i = 0; i < moves.size(); ++i) {
        if (!pRequest.markers[i].to) {
            continue;
        }
        for (KRetimeMarker* const each : markers) {
            each->SetUnselected();
        }
        markers[i]->SetSelected();
        markers[i]->SelectLockedNeighborMarkers(nullptr);
        for (std::size_t k = 0; k < moves.size(); ++k) {
            const KTime to = moves[k].from + (moves[i].to - moves[i].from);
            if (!markers[k]->IsSelected()) {
                continue;
            }
            if (pRequest.markers[k].to && moves[k].to != to) {
                throw WrongArguments(fmt::format("--lock: the markers {} and {} are locked to each "
                                                 "other and are moved by different times",
                                                 pRequest.markers[i].text,
                                                 pRequest.markers[k].text));
            }
            moves[k].to = to;
        }
    }
    CheckOrder(moves);
    if (std::all_of(moves.begin(), moves.end(),
                    [](const RetimeMove& pMove) { return pMove.from == pMove.to; })) {
        throw WrongArguments("no marker is moved: give --marker 2=2.4");
    }
    return moves;
}

KTime RetimedTime(const std::vector<RetimeMove>& pMoves, KTime pTime)
{
    const auto right = std::find_if(pMoves.begin(), pMoves.end(),
                                    [&](const RetimeMove& pMove) { return pMove.from > pTime; });
    if (right == pMoves.begin() || right == pMoves.end()) {
        const RetimeMove& next = right == pMoves.end() ? pMoves.back() : *right;
        return pTime + (next.to - next.from);
    }
    const RetimeMove& left = *(right - 1);
    const auto ticks = [](KTime pFirst, KTime pLast) {
        return static_cast<long double>((pLast - pFirst).Get());
    };
    return left.to + KTime(std::llround(ticks(left.from, pTime) * ticks(left.to, right->to) /
                                        ticks(left.from, right->from)));
}

Retime::Retime(std::vector<RetimeMove> pMoves, std::vector<EditedCurve> pCurves)
    : CurveEdit(std::move(pCurves)), mMoves(std::move(pMoves))
{
    if (std::none_of(mCurves.begin(), mCurves.end(),
                     [](const EditedCurve& pEach) { return pEach.curve->KeyGetCount() > 0; })) {
        throw Refusal("the chosen curves have no keys");
    }
    mManipulator.MarkKeysForManip(true, nullptr, 0, INT_MAX);
    Keep();
    RetimeCallbackEntry entry;
    entry.mContext = &mManipulator;
    entry.mMove = &Moved;
    mMarkers = FillList(mList, entry, mMoves);
}

Retime::~Retime()
{
    mList.DestroyLinkList();
}

void Retime::To(double pFraction)
{
    Restore();
    std::vector<KTime> deltas;
    for (std::size_t i = 0; i < mMarkers.size(); ++i) {
        mMarkers[i]->SetTime(mMoves[i].from);
        const KTime way = mMoves[i].to - mMoves[i].from;
        deltas.push_back(pFraction == 1.0
                             ? way
                             : KTime(std::llround(static_cast<double>(way.Get()) * pFraction)));
    }
    // To the right the last marker first, to the left the first one: none passes another on its
    // way.
    for (std::size_t i = mMarkers.size(); i-- > 0;) {
        if (deltas[i] > KTime()) {
            mMarkers[i]->Move(deltas[i], true);
        }
    }
    for (std::size_t i = 0; i < mMarkers.size(); ++i) {
        if (deltas[i] < KTime()) {
            mMarkers[i]->Move(deltas[i], true);
        }
    }
    CheckKeys(mCurves);
}

void Retime::Finish()
{
    mManipulator.ClearMarkKeysForManip();
}

std::vector<KTime> Retime::GetMarkers() const
{
    std::vector<KTime> times;
    for (const KRetimeMarker* const each : mMarkers) {
        times.push_back(each->GetTime());
    }
    return times;
}
