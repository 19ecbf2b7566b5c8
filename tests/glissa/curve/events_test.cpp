// Copyright (c) 2026 The glissa authors
// SPDX-License-Identifier: MIT

#include "glissa/curve/curve.h"
#include "glissa/ext/custom_tangent_manager.h"
#include "glissa/ext/invalid_key_manager.h"
#include "tests/support/museum.h"

#include <gtest/gtest.h>

#include <array>
#include <functional>
#include <limits>
#include <string>
#include <tuple>
#include <vector>

namespace
{
using Heard = std::array<int, 4>;  // type, first key, last key, count

Heard Read(const GlissaEvent& pEvent)
{
    return {pEvent.GetType(), pEvent.GetFirstKey(), pEvent.GetLastKey(), pEvent.GetEventCount()};
}

CurveHandle MakeCurve(int pKeys)
{
    CurveHandle curve(GlissaCreate());
    for (int i = 0; i < pKeys; ++i) {
        curve->KeyAppendFast(KTime::FromSeconds(i), static_cast<float>(i));
    }
    return curve;
}

// A curve of five keys whose events are written down.
class CurveEvents : public testing::Test
{
protected:
    CurveEvents() { mCurve->CallbackRegister(Hear, this); }
    static void Hear(Glissa* pCurve, GlissaEvent* pEvent, void* pObject)
    {
        auto* self = static_cast<CurveEvents*>(pObject);
        self->mHeard.push_back(Read(*pEvent));
        self->mThen(pCurve, pEvent);
    }

    std::vector<Heard> mHeard;
    std::function<void(Glissa*, GlissaEvent*)> mThen = [](Glissa*, GlissaEvent*) {};
    CurveHandle mCurve = MakeCurve(5);
};

TEST_F(CurveEvents, SettingsOfTheCurvePostForTheWholeCurve)
{
    mCurve->SetValue(3.0f, true);
    mCurve->SetPreExtrapolation(2);
    mCurve->SetPreExtrapolationCount(2);
    mCurve->SetPostExtrapolation(2);
    mCurve->SetPostExtrapolationCount(2);
    mCurve->SetWasData(2);
    mCurve->KeyClear();
    mCurve->InitBuffers(0, true);
    const Heard pre = {0x8008010, -1, -1, 1};
    const Heard post = {0x10008010, -1, -1, 1};
    EXPECT_EQ((std::vector<Heard>{{0x1, -1, -1, 1}, pre, pre, post, post, {0x1010, 0, 4, 2}}),
              mHeard);
}

TEST_F(CurveEvents, ABracketSendsTheUnionOnce)
{
    mCurve->KeyModifyBegin();
    mCurve->KeyModifyBegin();
    mCurve->CallbackAddEvent(0x2010, 7);
    mCurve->CallbackAddEvent(0x4010, 3);
    mCurve->CallbackAddEvent(0x100, 5);
    mCurve->AddDetailedEvent(0x4000, 3, 4);
    mCurve->AddDetailedEvent(0x2000, 2, 8);
    mCurve->KeyModifyEnd();
    EXPECT_TRUE(mHeard.empty());
    mThen = [](Glissa*, GlissaEvent* pEvent) {
        EXPECT_EQ(0x6000, pEvent->GetDetailedType());
        EXPECT_EQ(2, pEvent->GetDetailedFirst());
        EXPECT_EQ(8, pEvent->GetDetailedLast());
    };
    mCurve->KeyModifyEnd();
    mThen = [](Glissa*, GlissaEvent* pEvent) { EXPECT_EQ(0, pEvent->GetDetailedType()); };
    EXPECT_EQ(5 + 0x10002, mCurve->GetUpdateId());
    mCurve->IncrementUpdateId(0xFFFF);  // the two counters share one sum
    EXPECT_EQ(6, mCurve->GetValuesUpdateId());
    EXPECT_EQ(0x20006, mCurve->GetUpdateId());

    mCurve->CallbackAddEvent(0x2010, 4);  // nothing is left of the batch
    mCurve->KeyModifyBegin();
    mCurve->KeyModifyEnd();
    mCurve->KeyModifyBegin();
    mCurve->CallbackAddEvent(0x2010, 4);
    mCurve->CallbackClear();
    mCurve->KeyModifyEnd();
    mCurve->CallbackEnable(true);
    EXPECT_EQ((std::vector<Heard>{{0x6110, 3, 7, 3}, {0x2010, 4, 4, 1}}), mHeard);

    GlissaEvent event;
    for (const int key : {4, -1, 6}) {
        event.Add(0x10, key);
    }
    EXPECT_EQ((Heard{0x10, 6, 6, 3}), Read(event));  // -1 gives way to the next key
}

TEST_F(CurveEvents, TheEndOfACurveIsHeardAndLeavesNothingBehind)
{
    mThen = [](Glissa* pCurve, GlissaEvent*) {
        EXPECT_EQ(nullptr, pCurve->GetOwner());
        pCurve->KeyAppendFast(KTime(), 1.0f);  // keeps a key at any cost
    };
    mCurve->SetOwner(reinterpret_cast<GlissaNode*>(this));
    mCurve->KeyModifyBegin();
    mCurve->CallbackAddEvent(0x2010, 1);
    mCurve.reset();
    EXPECT_EQ((std::vector<Heard>{{0x3010, 0, 4, 3}, {0x200, -1, -1, 1}}), mHeard);
    EXPECT_EQ(1u, GlissaDefaultKeyAttr->mReferenceCount);
}

// Each listener writes its letter, and does what its object says.
std::string sCalls;
template <char Letter>
void Listen(Glissa* pCurve, GlissaEvent*, void* pAction)
{
    sCalls += Letter;
    if (pAction) {
        (*static_cast<std::function<void(Glissa*)>*>(pAction))(pCurve);
    }
}

TEST(CurveListeners, MayChangeTheListAndTheCurve)
{
    std::function<void(Glissa*)> action;
    // What the first one, a, does; who is called by a direct post and at the end of a batch. The
    // list is walked by position, so the one that moves up to a free place is passed over.
    using Row = std::tuple<std::function<void(Glissa*)>, const char*, const char*>;
    const auto emptyBracket = [](Glissa* curve) {
        curve->KeyModifyBegin();
        curve->KeyModifyEnd();
    };
    const auto postOnce = [](Glissa* curve) {
        if (sCalls == "a") {
            curve->CallbackAddEvent(0x2010, 1);
        }
    };
    const Row rows[] = {
        {[](Glissa*) {}, "abc", "abc"},
        {[&](Glissa* curve) { curve->CallbackUnregister(Listen<'a'>, &action); }, "ac", "bc"},
        {[](Glissa* curve) { curve->CallbackRegister(Listen<'d'>, nullptr); }, "abcd", "abcdd"},
        {[](Glissa* curve) { curve->CallbackEnable(false); }, "abc", "abc"},
        {emptyBracket, "abc", "abc"},
        {postOnce, "aabcbc", "abc"},
    };
    for (const auto& [then, direct, bracketed] : rows) {
        SCOPED_TRACE(direct);
        action = then;
        CurveHandle curve(GlissaCreate());
        curve->CallbackRegister(Listen<'a'>, &action);
        curve->CallbackRegister(Listen<'b'>, nullptr);
        curve->CallbackRegister(Listen<'c'>, nullptr);
        sCalls.clear();
        curve->CallbackAddEvent(0x2010, 0);
        EXPECT_EQ(direct, sCalls);
        curve->CallbackEnable(true);
        curve->CallbackEnable(false);
        curve->CallbackAddEvent(0x2010, 0);
        sCalls.clear();
        curve->CallbackEnable(true);
        EXPECT_EQ(bracketed, sCalls);
        EXPECT_TRUE(curve->IsCallbackEnabled());
        curve->CallbackUnregister(Listen<'a'>, &action);
    }
    // Of equal ones the last goes.
    action = [](Glissa*) { sCalls += '!'; };
    CurveHandle curve(GlissaCreate());
    for (void* object : {static_cast<void*>(nullptr), static_cast<void*>(&action)}) {
        curve->CallbackRegister(Listen<'e'>, object);
        curve->CallbackRegister(Listen<'e'>, nullptr);
    }
    curve->CallbackUnregister(Listen<'e'>, nullptr);
    curve->CallbackUnregister(Listen<'f'>, nullptr);
    sCalls.clear();
    curve->CallbackAddEvent(0x10, 0);
    EXPECT_EQ("eee!", sCalls);
}

class HostListener final : public ICallback
{
public:
    IObject* IQuery(unsigned long, int) override { return nullptr; }
    void Destroy(int) override {}
    void Hear(IRegister*, KEventBase* pEvent) { mAction(pEvent); }

    std::function<void(KEventBase*)> mAction = [](KEventBase*) {};
};
const auto kHear = static_cast<KCallbackMethod>(&HostListener::Hear);

// Keys at 0, 1, 2 and 3 s with the values 0 to 3; the third one is custom, the others linear.
class CustomSegments : public testing::Test
{
protected:
    void SetUp() override
    {
        Manager().AddNewCustomTangent("host", "host");
        Manager().Register(0xFF30F, &mListener, kHear, 0);
        for (int i = 0; i < 4; ++i) {
            const unsigned kind = i == 2 ? eInterpolationCustom | 0x100u : eInterpolationLinear;
            mCurve->KeyAttrSet(i, {{kind, {0.0f, 0.0f, 0.0f, 0.0f}}, 0});
        }
    }
    void TearDown() override
    {
        for (const int id : {0xFF30F, 0xFF31F, 0xFF32F, 0xFF34F}) {
            Manager().Unregister(id, &mListener, kHear);
        }
        Manager().RemoveCustomTangent("host");
    }
    static GlissaCustomTangentManager& Manager() { return GlissaCustomTangentManager::TheOne(); }
    void AnswerWith(double pResult)
    {
        mListener.mAction = [pResult](KEventBase* pEvent) {
            static_cast<GlissaEvaluationEvent*>(pEvent)->mResult = pResult;
        };
    }

    CurveHandle mCurve = MakeCurve(4);
    HostListener mListener;
};

TEST_F(CustomSegments, TheHostIsAskedBesideACustomKeyOnly)
{
    // The value, or -1 for the host's, by time and by index.
    const KEventBase* pooled = nullptr;
    using Row = std::tuple<double, bool, float>;
    for (const auto& [place, byIndex, expected] :
         {Row{0.5, false, 0.5f}, Row{1.25, false, -1.0f}, Row{2.0, false, -1.0f},
          Row{2.5, false, -1.0f}, Row{3.0, false, 3.0f}, Row{9.0, false, 3.0f},
          Row{1.25, true, 1.25f}, Row{2.25, true, -1.0f}}) {
        SCOPED_TRACE(place);
        const KTime time = KTime::FromSeconds(place);
        int asked = 0;
        mListener.mAction = [&, index = place](KEventBase* pEvent) {
            auto* event = static_cast<GlissaEvaluationEvent*>(pEvent);
            ++asked;
            EXPECT_TRUE(!pooled || pooled == pEvent);  // it was given back
            pooled = pEvent;
            EXPECT_EQ(index, event->mKeyIndex);
            EXPECT_EQ(time, event->mTime);
            EXPECT_EQ(mCurve.get(), event->mCurve);
            EXPECT_EQ(0.0, event->mResult);
            event->mResult = -1.0;
        };
        EXPECT_EQ(expected,
                  byIndex ? mCurve->EvaluateIndex(place) : mCurve->Evaluate(time, nullptr));
        EXPECT_EQ(expected < 0.0f ? 1 : 0, asked);
    }
}

TEST_F(CustomSegments, AnswersAreNarrowedAndMayUseTheCurve)
{
    const KTime time = KTime::FromSeconds(2.5);
    const float infinity = std::numeric_limits<float>::infinity();
    for (const auto& [answer, expected] : {std::pair{0.1, 0.1f}, {1e300, infinity}}) {
        AnswerWith(answer);
        EXPECT_EQ(expected, mCurve->Evaluate(time, nullptr));
    }
    mListener.mAction = [this](KEventBase* pEvent) {
        auto* event = static_cast<GlissaEvaluationEvent*>(pEvent);
        event->mResult = 1.0;
        if (event->mKeyIndex == 2.5) {
            EXPECT_EQ(1.0f, mCurve->Evaluate(KTime::FromSeconds(2.25), nullptr));
            EXPECT_EQ(2.5, event->mKeyIndex);
            event->mResult += 1.0;
        }
    };
    EXPECT_EQ(2.0f, mCurve->Evaluate(time, nullptr));

    mListener.mAction = [this](KEventBase*) { mCurve->KeyClear(); };
    EXPECT_EQ(0.0f, mCurve->Evaluate(time, nullptr));
    mCurve->KeyAttrSet(0, {{eInterpolationCustom | 0x100u, {}}, 0});
    AnswerWith(5.0);
    EXPECT_EQ(5.0f, mCurve->Evaluate(time, nullptr));  // a single key is asked for too
    Manager().RemoveCustomTangent("host");
    EXPECT_EQ(0.0f, mCurve->Evaluate(time, nullptr));
}

TEST_F(CustomSegments, HooksTellTheManagerOfKeys)
{
    int added = 0;
    int changed = 0;
    mListener.mAction = [&](KEventBase* pEvent) {
        if (const auto* add = dynamic_cast<GlissaCustomKeyAddEvent*>(pEvent)) {
            EXPECT_EQ(std::tuple(7, KTime::FromSeconds(2), mCurve.get()),
                      std::tuple(add->mIndex, add->mTime, add->mCurve));
            ++added;
            return;
        }
        const auto& change = dynamic_cast<GlissaCustomKeyChangeEvent&>(*pEvent);
        EXPECT_EQ(std::tuple(7, KTime::FromSeconds(2), mCurve.get(), true, 2),
                  std::tuple(change.mIndex, change.mTime, change.mCurve, change.mBefore,
                             int{change.mChangeType}));
        ++changed;
    };
    KPriFCurveKey* key = mCurve->InternalPriKeyGetPtr(2);
    Manager().Register(0xFF31F, &mListener, kHear, 0);
    mCurve->CallKeyAddCallback(key, 7);  // a custom key has listeners of its own
    EXPECT_EQ(0, added);
    Manager().Register(0xFF34F, &mListener, kHear, 0);
    Manager().Register(0xFF32F, &mListener, kHear, 0);
    for (const bool enabled : {false, true}) {
        mCurve->SetCallbackForCustomKeyAddEnabled(enabled);
        mCurve->SetCallbackForCustomKeyChangeEnabled(enabled);
        mCurve->CallKeyAddCallback(key, 7);
        mCurve->CallKeyChangeCallback(key, 7, true, eCustomKeyChangeTangentMode);
        EXPECT_EQ(enabled ? 1 : 0, added);
        EXPECT_EQ(enabled ? 1 : 0, changed);
    }
    mCurve->KeyAttrSet(2, *GlissaDefaultKeyAttr);
    Manager().Unregister(0xFF34F, &mListener, kHear);
    mCurve->CallKeyAddCallback(key, 7);
    EXPECT_EQ(2, added);
}

TEST(CurveValueCheck, AFastAppendAsksWhoeverListens)
{
    const float infinity = std::numeric_limits<float>::infinity();
    auto& manager = GlissaInvalidKeyManager::TheOne();
    HostListener listener;
    int heard = 0;
    CurveHandle curve = MakeCurve(42);
    listener.mAction = [&](KEventBase*) { ++heard; };
    EXPECT_EQ(infinity, curve->KeyGetValue(curve->KeyAppendFast(KTime(), infinity)));
    manager.Register(0xFC30E, &listener, kHear, 0);
    EXPECT_EQ(0.0f, curve->KeyGetValue(curve->KeyAppendFast(KTime(), infinity)));
    EXPECT_EQ(1.0f, curve->KeyGetValue(curve->KeyAppendFast(KTime(), 1.0f)));
    EXPECT_EQ(1, heard);

    GlissaKey key;
    key.SetTCB(KTime(), -infinity, 0.0f, 0.0f, 0.0f);
    EXPECT_EQ(0.0f, key.GetValue());
    key.Set(KTime(), infinity, eInterpolationLinear, 0, 0.0f, 0.0f, 0, 0.3f, 0.3f, 0.0f, 0.0f);
    EXPECT_EQ(0.0f, key.GetValue());
    key.IncValue(infinity);
    EXPECT_EQ(0.0f, key.GetValue());
    key.MultValue(infinity);
    EXPECT_EQ(0.0f, key.GetValue());
    EXPECT_EQ(5, heard);

    // A listener that takes the pages away, and one that fills the page up.
    listener.mAction = [&](KEventBase*) { curve->KeyClear(); };
    EXPECT_EQ(0, curve->KeyAppendFast(KTime(), infinity));
    listener.mAction = [&](KEventBase*) {
        while (curve->KeyGetCount() < 42) {
            curve->KeyAppendFast(KTime(), 2.0f);
        }
    };
    EXPECT_EQ(42, curve->KeyAppendFast(KTime(), -infinity));
    EXPECT_EQ(std::pair(2.0f, 0.0f), std::pair(curve->KeyGetValue(41), curve->KeyGetValue(42)));
    manager.Unregister(0xFC30E, &listener, kHear);
}
}  // namespace
