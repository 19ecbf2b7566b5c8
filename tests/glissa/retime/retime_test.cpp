// Copyright (c) 2026 The glissa authors
// SPDX-License-Identifier: MIT

#include "glissa/retime/retime.h"
#include "tests/support/random_curve.h"

#include <gtest/gtest.h>

#include <string>
#include <utility>

namespace
{
std::string sCall;                          // the arguments of the last call of Moved
KRetimeLinkListHead* sDestroyed = nullptr;  // what the callbacks destroy

std::string TextOf(KTime pTime)
{
    const bool isInfinite = pTime == KTime::Infinite() || pTime == KTime::MinusInfinite();
    return isInfinite ? pTime < KTime() ? "-oo " : "oo " : std::to_string(pTime.Get()) + " ";
}

template <int kTime>
KTime TimeOf(void*)
{
    return sDestroyed ? sDestroyed->DestroyLinkList(), KTime(kTime) : KTime(kTime);
}

void Moved(void*, KTime pLeft, KTime pTime, KTime pRight, KTime pDelta)
{
    sCall = TextOf(pLeft) + TextOf(pTime) + TextOf(pRight) + TextOf(pDelta);
    TimeOf<0>(nullptr);
}

const RetimeCallbackEntry kEntry{nullptr, {}, Moved, {TimeOf<5>, TimeOf<6>, TimeOf<7>, nullptr}};

struct Line
{
    KRetimeMarker a{kEntry, KTime(10)}, b{kEntry, KTime(20)}, c{kEntry, KTime(30)};
    KRetimeNormalSpan ab{kEntry, &a, &b, {}}, bc{kEntry, &b, &c, {}};
    KRetimeSpecialSpan left{kEntry, &a, eRetimeLeftTime0}, right{kEntry, &c, eRetimeRightTime1};
    Line()
    {
        a.mPrevious = &left, a.mNext = b.mPrevious = &ab;
        c.mNext = &right, b.mNext = c.mPrevious = &bc;
    }
    KRetimeLinkListHead Copy() { return {KRetimeLinkListHead{&left}.CopyLinkList()}; }
};

// The elements from the first one on: times, * for a selected marker, = for a locked span.
std::string Drawn(const KRetimeElement* pElement)
{
    std::string text;
    for (const KRetimeElement* last = nullptr; pElement; pElement = pElement->mNext) {
        EXPECT_EQ(std::exchange(last, pElement), pElement->mPrevious) << text;
        const auto* const marker = dynamic_cast<const KRetimeMarker*>(pElement);
        const auto* const span = dynamic_cast<const KRetimeNormalSpan*>(pElement);
        text += span && span->IsLocked() ? "= " : span ? "- " : TextOf(pElement->GetTime());
        text += marker && marker->IsSelected() ? "* " : "";
    }
    return text;
}

TEST(Retime, AMoveReportsTheTimesAroundTheMarkerAndThenAddsTheDelta)
{
    Line line;
    const auto move = [&](KRetimeMarker& pMarker, int pDelta, bool pNotify) {
        sCall.clear();
        pMarker.Move(KTime(pDelta), pNotify);
        return sCall + ": " + Drawn(&line.left);
    };
    EXPECT_EQ("10 20 30 3 : 5 10 - 23 - 30 6 ", move(line.b, 3, true));
    EXPECT_EQ("-oo 10 23 -9 : 5 1 - 23 - 30 6 ", move(line.a, -9, true));  // not 5
    EXPECT_EQ("23 30 oo -25 : 5 1 - 23 - 5 6 ", move(line.c, -25, true));
    EXPECT_EQ(": 5 1 - 26 - 5 6 ", move(line.b, 3, false));
    EXPECT_EQ(": 5 1 - 26 - 5 6 ", move(line.b, 0, true));
    line.a.SetSnapToFrame(false);
    for (KRetimeMarker* const marker : {&line.a, &line.b, &line.b}) {
        marker->SnapToFrame(true);  // the last call moves by 0
    }
    EXPECT_EQ("1 26 5 -26 : 5 1 - 0 - 5 6 ", sCall + ": " + Drawn(&line.left));
}

TEST(Retime, ASpecialSpanHasTheTimeAndTheLinkOfItsState)
{
    Line line;
    const char* const times[] = {"-oo ", "oo ", "5 ", "6 ", "7 ", "7 ", "7 "};
    for (int i = 0; i < 7; ++i) {  // 5 has no callback, 6 is no state
        line.left.SetState(static_cast<KRetimeSpecialSpanState>(i));
        EXPECT_EQ(times[i] + std::string("10 - 20 - 30 6 "), Drawn(&line.left));
        const KRetimeSpecialSpan span(kEntry, &line.a, line.left.GetState());
        EXPECT_EQ(i < 6 && i % 2 == 0, span.mNext == &line.a);
        EXPECT_EQ(i < 6 && i % 2 == 1, span.mPrevious == &line.a);
    }
}

TEST(Retime, LockedSpansSelectChainsAndCopiesAreEqual)
{
    Random random(7);
    Line line;
    KRetimeMarker* const markers[] = {&line.a, &line.b, &line.c};
    for (int round = 0; round < 1000; ++round) {
        (random.Below(2) ? line.ab : line.bc).ChangeLocked();
        KRetimeMarker* const start = markers[random.Below(3)];
        start->SelectLockedNeighborMarkers(nullptr);
        for (KRetimeMarker* const marker : markers) {
            const bool left = (marker == &line.a) == (start == &line.a) || line.ab.IsLocked();
            const bool right = (marker == &line.c) == (start == &line.c) || line.bc.IsLocked();
            ASSERT_EQ(marker != start && left && right, marker->IsSelected());
        }
        start->Move(KTime(random.Below(9) - 4), true);
        KRetimeLinkListHead copy = line.Copy();
        ASSERT_EQ(Drawn(&line.left), Drawn(copy.mFirst));
        copy.DestroyLinkList();
        for (KRetimeMarker* const marker : markers) {
            marker->SetUnselected();
        }
    }
}

// Under the address sanitizer an access to a destroyed element ends the program.
TEST(Retime, CallbacksMayDestroyTheList)
{
    KRetimeLinkListHead list = Line().Copy();
    sDestroyed = &list;
    static_cast<KRetimeMarker*>(list.mFirst->mNext)->Move(KTime(1), true);
    list = Line().Copy();
    static_cast<KRetimeSpecialSpan*>(list.mFirst)->RefreshTime();
    list = Line().Copy();
    KRetimeLinkListHead copy{list.CopyLinkList()};
    sDestroyed = nullptr;
    EXPECT_EQ(nullptr, list.mFirst);
    EXPECT_EQ("5 ", Drawn(copy.mFirst));  // the elements up to the call
    copy.DestroyLinkList();
}

TEST(Retime, CirclesAndMissingNeighboursEndEveryWalk)
{
    Line line;
    line.ab.SetLocked(true);
    line.bc.SetLocked(true);
    line.b.SelectLockedNeighborMarkers(&line.a);
    EXPECT_EQ("5 10 = 20 = 30 * 6 ", Drawn(&line.left));
    line.c.mNext = &line.ab;
    line.b.SelectLockedNeighborMarkers(nullptr);
    KRetimeLinkListHead copy = line.Copy();
    EXPECT_EQ("5 10 * = 20 = 30 * ", Drawn(copy.mFirst));
    copy.mFirst->mNext->mNext->mNext->mNext->mNext->mNext = copy.mFirst->mNext;
    copy.DestroyLinkList();
    line.ab.mPrevious = &line.bc;
    line.bc.mPrevious = &line.ab;
    line.b.mNext = nullptr;
    line.b.Move(KTime(1), true);
    EXPECT_EQ("-oo 20 oo 1 ", sCall);
}
}  // namespace
