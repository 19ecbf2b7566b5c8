// Copyright (c) 2026 The glissa authors
// SPDX-License-Identifier: MIT

#include "glissa/ext/custom_tangent_manager.h"
#include "glissa/ext/invalid_key_manager.h"
#include "tests/support/curve_test.h"
#include "tests/support/host_listener.h"

#include <functional>
#include <limits>
#include <string>
#include <tuple>
#include <vector>

namespace
{
using Heard = std::vector<HeardEvent>;

// A curve of five keys whose events are recorded.
class CurveEvents : public testing::Test
{
protected:
    CurveHandle mCurve = PlainCurve(5);
    EventRecorder::Reaction mThen = [](Glissa*, GlissaEvent*) {};
    EventRecorder mEvents{*mCurve, [this](Glissa* c, GlissaEvent* e) { mThen(c, e); }};
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
    const HeardEvent pre = {0x8008010, -1, -1, 1};
    const HeardEvent post = {0x10008010, -1, -1, 1};
    EXPECT_EQ((Heard{{0x1, -1, -1, 1}, pre, pre, post, post, {0x1010, 0, 4, 2}}), mEvents.Heard());
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
    EXPECT_TRUE(mEvents.Heard().empty());
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
    EXPECT_EQ((Heard{{0x6110, 3, 7, 3}, {0x2010, 4, 4, 1}}), mEvents.Heard());
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
    EXPECT_EQ((Heard{{0x3010, 0, 4, 3}, {0x200, -1, -1, 1}}), mEvents.Heard());
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
    // What the first one, a, does; who is called by a direct post and at the end of a batch.
    using Row = std::tuple<std::function<void(Glissa*)>, const char*, const char*>;
    const Row rows[] = {
        {[](Glissa*) {}, "abc", "abc"},
        {[&](Glissa* curve) { curve->CallbackUnregister(Listen<'a'>, &action); }, "abc", "bc"},
        {[](Glissa* curve) { curve->CallbackRegister(Listen<'d'>, nullptr); }, "abc", "abcd"},
        {[](Glissa* curve) { curve->CallbackEnable(false); }, "abc", "abc"},
        {[](Glissa* curve) { curve->KeyModifyBegin(), curve->KeyModifyEnd(); }, "abc", "abc"},
        {[](Glissa* curve) { sCalls == "a" ? curve->CallbackAddEvent(0x2010, 1) : void(); },
         "aabcbc", "abc"},
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
    // Of equal ones the last is removed.
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

    CurveHandle mCurve = PlainCurve(4);
    HostListener mListener;
};

TEST_F(CustomSegments, TheHostIsAskedBesideACustomKeyOnly)
{
    // The value, or -1 for the host's, by time and by index.
    using Row = std::tuple<double, bool, float>;
    for (const auto& [place, byIndex, expected] :
         {Row{0.5, false, 0.5f}, Row{1.25, false, -1.0f}, Row{2.0, false, -1.0f},
          Row{2.5, false, -1.0f}, Row{3.0, false, 3.0f}, Row{9.0, false, 3.0f},
          Row{1.25, true, 1.25f}, Row{2.25, true, -1.0f}}) {
        SCOPED_TRACE(place);
        const KTime time = Seconds(place);
        int asked = 0;
        mListener.mThen = [&, index = place](KEventBase* pEvent) {
            auto* event = static_cast<GlissaEvaluationEvent*>(pEvent);
            ++asked;
            EXPECT_EQ(std::tuple(index, time, mCurve.get(), 0.0),
                      std::tuple(event->mKeyIndex, event->mTime, event->mCurve, event->mResult));
            event->mResult = -1.0;
        };
        EXPECT_EQ(expected,
                  byIndex ? mCurve->EvaluateIndex(place) : mCurve->Evaluate(time, nullptr));
        EXPECT_EQ(expected < 0.0f ? 1 : 0, asked);
    }
    // The listener may evaluate the curve, and take its keys away.
    mListener.mThen = [this](KEventBase* pEvent) {
        auto* event = static_cast<GlissaEvaluationEvent*>(pEvent);
        event->mResult = 1.0;
        if (event->mKeyIndex == 2.5) {
            EXPECT_EQ(1.0f, mCurve->Evaluate(Seconds(2.25), nullptr));
            EXPECT_EQ(2.5, event->mKeyIndex);
            event->mResult = 1e300;
        }
    };
    EXPECT_EQ(std::numeric_limits<float>::infinity(), mCurve->Evaluate(Seconds(2.5), nullptr));
    mListener.mThen = [this](KEventBase*) { mCurve->KeyClear(); };
    EXPECT_EQ(0.0f, mCurve->Evaluate(Seconds(2.5), nullptr));
}

TEST_F(CustomSegments, HooksTellTheManagerOfKeys)
{
    std::string heard;
    mListener.mThen = [&](KEventBase* pEvent) {
        const auto* add = dynamic_cast<GlissaCustomKeyAddEvent*>(pEvent);
        const auto* change = dynamic_cast<GlissaCustomKeyChangeEvent*>(pEvent);
        EXPECT_EQ(std::tuple(7, Seconds(2)), add ? std::tuple(add->mIndex, add->mTime)
                                                 : std::tuple(change->mIndex, change->mTime));
        EXPECT_TRUE(add || (change->mBefore && change->mChangeType == eCustomKeyChangeTangentMode));
        heard += add ? "add " : "change ";
    };
    KPriFCurveKey* key = mCurve->InternalPriKeyGetPtr(2);
    Manager().Register(0xFF31F, &mListener, kHear, 0);
    mCurve->CallKeyAddCallback(key, 7);  // a custom key has listeners of its own
    EXPECT_EQ("", heard);
    Manager().Register(0xFF34F, &mListener, kHear, 0);
    Manager().Register(0xFF32F, &mListener, kHear, 0);
    for (const bool enabled : {false, true}) {
        mCurve->SetCallbackForCustomKeyAddEnabled(enabled);
        mCurve->SetCallbackForCustomKeyChangeEnabled(enabled);
        mCurve->CallKeyAddCallback(key, 7);
        mCurve->CallKeyChangeCallback(key, 7, true, eCustomKeyChangeTangentMode);
        EXPECT_EQ(enabled ? "add change " : "", heard);
    }
    mCurve->KeyAttrSet(2, *GlissaDefaultKeyAttr);
    Manager().Unregister(0xFF34F, &mListener, kHear);
    mCurve->CallKeyAddCallback(key, 7);
    EXPECT_EQ("add change add ", heard);
}

TEST_F(CustomSegments, AnEditByTheListenerOfAReportDoesNotMoveTheChangeToAnotherKey)
{
    std::vector<std::pair<bool, int>> reports;
    mListener.mThen = [&](KEventBase* pEvent) {
        const auto& change = dynamic_cast<GlissaCustomKeyChangeEvent&>(*pEvent);
        reports.emplace_back(change.mBefore, change.mIndex);
        if (change.mBefore) {
            mCurve->KeySetSelected(2, true);
            mCurve->KeyRemove(1);
        }
    };
    Manager().Register(0xFF32F, &mListener, kHear, 0);
    {
        const KOperation operation;
        mCurve->KeySetInterpolation(2, eInterpolationConstant);
        mCurve->KeyRemove(0);
    }
    EXPECT_EQ((std::vector<std::pair<bool, int>>{{true, 2}, {false, 0}}), reports);
    EXPECT_EQ(eInterpolationConstant, mCurve->KeyGetInterpolation(0));
    EXPECT_TRUE(mCurve->KeyGetSelected(0));
    EXPECT_EQ(eInterpolationLinear, mCurve->KeyGetInterpolation(1));
}

// Every place that writes a value: a listener is called once, and the value becomes 0.
TEST(CurveValueCheck, AValueThatIsNotFiniteIsReportedOnceAndReplaced)
{
    const float bad = std::numeric_limits<float>::infinity();
    const CurveHandle source = PlainCurve(1);
    source->KeySetValue(0, bad);
    EXPECT_EQ(bad, source->KeyGetValue(0));
    GlissaKey key = source->KeyGet(0);
    const CurveHandle curve = PlainCurve(3);
    HostListener listener([&](KEventBase*) { curve->Evaluate(Seconds(1.5), nullptr); });
    auto& manager = GlissaInvalidKeyManager::TheOne();
    ASSERT_TRUE(manager.Register(eInvalidKeyFound, &listener, kHear, 0));
    const std::function<float()> writes[] = {
        [&] { return curve->KeyGetValue(curve->KeyAdd(Seconds(0.5), key)); },
        [&] { return curve->KeyGetValue(curve->KeyAdd(Seconds(0.5), key)); },
        [&] { return curve->KeyGetValue(curve->KeyAdd(Seconds(0.7), source.get(), 0)); },
        [&] { return curve->KeyGetValue(curve->KeyAppend(Seconds(9), source.get(), 0)); },
        [&] { return curve->KeyGetValue(curve->KeyAppendFast(Seconds(10), bad)); },
        [&] { return curve->KeySet(0, source.get(), 0), curve->KeyGetValue(0); },
        [&] { return curve->KeySetValue(1, bad), curve->KeyGetValue(1); },
        [&] { return curve->KeyIncValue(1, bad), curve->KeyGetValue(1); },
        [&] { return curve->KeyMultValue(0, bad), curve->KeyGetValue(0); },
        [&] { return key.MultValue(bad), key.GetValue(); },
    };
    int calls = 0;
    for (const auto& write : writes) {
        EXPECT_EQ(0.0f, write());
        EXPECT_EQ(++calls, listener.mCalls);
        EXPECT_EQ("", CheckBooks({curve.get(), source.get()}));
    }
    // A listener may take the pages away.
    listener.mThen = [&](KEventBase*) { curve->KeyClear(); };
    curve->KeyAppendFast(Seconds(11), bad);
    EXPECT_EQ(0, curve->KeyGetCount());
    manager.Unregister(eInvalidKeyFound, &listener, kHear);
}
}  // namespace
