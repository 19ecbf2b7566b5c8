// Copyright (c) 2026 The glissa authors
// SPDX-License-Identifier: MIT

#include "glissa/retime/retime.h"
#include "tests/support/random_curve.h"

#include <gtest/gtest.h>

#include <vector>

namespace
{
using Times = std::vector<KTime>;
constexpr KTime kLeft = KTime::MinusInfinite();
constexpr KTime kRight = KTime::Infinite();

Times sCall;                 // the arguments of the last call of Moved
KRetimeLinkListHead* sList;  // what the callbacks destroy, or null

template <int kTime>
KTime TimeOf(void*)
{
    return sList ? sList->DestroyLinkList(), KTime(kTime) : KTime(kTime);
}

void Moved(void*, KTime pLeft, KTime pTime, KTime pRight, KTime pDelta)
{
    sCall = {pLeft, pTime, pRight, pDelta, TimeOf<0>(nullptr)};
}

const RetimeCallbackEntry kEntry{nullptr, {}, Moved, {TimeOf<5>, TimeOf<6>, TimeOf<7>, nullptr}};

struct Line
{
    KRetimeMarker a{kEntry, KTime(10)}, b{kEntry, KTime(20)}, c{kEntry, KTime(30)};
    KRetimeNormalSpan ab{kEntry, &a, &b, {}}, bc{kEntry, &b, &c, {}};
    KRetimeSpecialSpan left{kEntry, &a, eRetimeLeftTime0}, right{kEntry, &c, eRetimeRightTime1};
    KRetimeMarker* markers[3] = {&a, &b, &c};
    Line()
    {
        a.mPrevious = &left, a.mNext = b.mPrevious = &ab;
        c.mNext = &right, b.mNext = c.mPrevious = &bc;
    }
    KRetimeLinkListHead Copy() { return {KRetimeLinkListHead{&left}.CopyLinkList()}; }
};
}  // namespace

TEST(Retime, AMoveReportsTheTimesAroundTheMarkerAndThenAddsTheDelta)
{
    Line line;
    line.b.Move(KTime(3), true);
    EXPECT_EQ((Times{KTime(10), KTime(20), KTime(30), KTime(3), KTime()}), sCall);
    line.a.Move(KTime(-9), true);  // the left time is not 5, which the special span has
    EXPECT_EQ((Times{kLeft, KTime(10), KTime(23), KTime(-9), KTime()}), sCall);
    line.c.Move(KTime(-25), true);  // past its neighbours
    EXPECT_EQ((Times{KTime(23), KTime(30), kRight, KTime(-25), KTime()}), sCall);
    line.b.Move(KTime(3), false);
    line.b.SnapToFrame(true);
    EXPECT_EQ((Times{KTime(1), KTime(26), KTime(5), KTime(-26), KTime()}), sCall);
    sCall.clear();
    line.a.SetSnapToFrame(false);
    line.a.SnapToFrame(true);
    line.b.SnapToFrame(true);
    EXPECT_TRUE(sCall.empty() && line.a.GetTime() == KTime(1) && line.c.GetTime() == KTime(5));
}

TEST(Retime, ASpecialSpanHasTheTimeAndTheLinkOfItsState)
{
    Line line;
    const KTime times[] = {kLeft, kRight, KTime(5), KTime(6), KTime(7), KTime(7), KTime(7)};
    for (int i = 0; i < 7; ++i) {  // 5 has no callback, 6 is no state
        line.left.SetState(static_cast<KRetimeSpecialSpanState>(i));
        EXPECT_TRUE(line.left.GetTime() == times[i] && line.left.mNext == &line.a) << i;
        const KRetimeSpecialSpan span(kEntry, &line.a, line.left.GetState());
        EXPECT_EQ(i < 6 && i % 2 == 0, span.mNext == &line.a);
        EXPECT_EQ(i < 6 && i % 2 == 1, span.mPrevious == &line.a);
    }
}

TEST(Retime, LockedSpansSelectChainsAndCopiesAreEqual)
{
    Random random(7);
    for (int round = 0; round < 500; ++round) {
        Line line;
        line.ab.SetLocked(random.Below(2) == 1);
        line.bc.SetLocked(random.Below(2) == 1);
        KRetimeMarker* const start = line.markers[random.Below(3)];
        start->SelectLockedNeighborMarkers(nullptr);
        start->Move(KTime(random.Below(9) - 4), false);
        KRetimeLinkListHead copy = line.Copy();
        const KRetimeElement* last = copy.mFirst;
        for (KRetimeMarker* const marker : line.markers) {
            const bool left = (marker == &line.a) == (start == &line.a) || line.ab.IsLocked();
            const bool right = (marker == &line.c) == (start == &line.c) || line.bc.IsLocked();
            ASSERT_EQ(marker != start && left && right, marker->IsSelected());
            const auto& copied = dynamic_cast<const KRetimeMarker&>(*last->mNext);
            ASSERT_TRUE(copied.mPrevious == last && copied.GetTime() == marker->GetTime() &&
                        copied.IsSelected() == marker->IsSelected() &&
                        copied.IsRightLocked() == marker->IsRightLocked());
            last = copied.mNext;
        }
        copy.DestroyLinkList();
    }
}

// Under the address sanitizer an access to a destroyed element ends the program.
TEST(Retime, CallbacksMayDestroyTheList)
{
    KRetimeLinkListHead list = Line().Copy();
    sList = &list;
    static_cast<KRetimeMarker*>(list.mFirst->mNext)->Move(KTime(1), true);
    list = Line().Copy();
    static_cast<KRetimeSpecialSpan*>(list.mFirst)->RefreshTime();
    list = Line().Copy();
    KRetimeLinkListHead copy{list.CopyLinkList()};
    sList = nullptr;
    EXPECT_TRUE(!list.mFirst && copy.mFirst && !copy.mFirst->mNext);  // up to the call
    copy.DestroyLinkList();
}

TEST(Retime, CirclesAndMissingNeighboursEndEveryWalk)
{
    Line line;
    line.ab.SetLocked(true);
    line.bc.ChangeLocked();
    line.c.mNext = &line.ab;
    line.b.SelectLockedNeighborMarkers(&line.a);
    EXPECT_TRUE(line.c.IsSelected() && !line.a.IsSelected() && !line.b.IsSelected());
    KRetimeLinkListHead copy = line.Copy();
    KRetimeElement* const last = copy.mFirst->mNext->mNext->mNext->mNext->mNext;
    EXPECT_TRUE(last->GetTime() == KTime(30) && !last->mNext);
    last->mNext = copy.mFirst->mNext;
    copy.DestroyLinkList();
    line.ab.mPrevious = &line.bc;
    line.bc.mPrevious = &line.ab;
    line.b.mNext = nullptr;
    line.b.Move(KTime(1), true);
    EXPECT_EQ((Times{kLeft, KTime(20), kRight, KTime(1), KTime()}), sCall);
    EXPECT_TRUE(line.left.IsTimeBiggerThan(&line.a) && !line.a.IsTimeBiggerThan(&line.a));
}
