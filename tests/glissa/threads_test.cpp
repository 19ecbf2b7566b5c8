// Copyright (c) 2026 The glissa authors
// SPDX-License-Identifier: MIT

// What several threads may do at once. Meant for the thread sanitizer: the preset "thread".

#include "glissa/curve/curve.h"
#include "glissa/ext/custom_tangent_manager.h"
#include "glissa/ext/invalid_key_manager.h"
#include "glissa/filter/data_filter.h"
#include "glissa/utils/utils.h"
#include "tests/support/museum.h"
#include "tests/support/node_stubs.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <atomic>
#include <limits>
#include <string>
#include <thread>
#include <vector>

namespace
{
constexpr int kThreads = 4;

template <typename Work>
void RunOnThreads(const Work& pWork)
{
    std::vector<std::thread> threads;
    for (int i = 0; i < kThreads; ++i) {
        threads.emplace_back([&pWork, i] { pWork(i); });
    }
    for (std::thread& thread : threads) {
        thread.join();
    }
}

void Record(Glissa& pCurve, int pKeys)
{
    for (int i = 0; i < pKeys; ++i) {
        pCurve.KeyAppendFast(KTime::FromSeconds(i * 0.1), static_cast<float>(i * i % 13));
    }
}

// Edits that take, share, separate and give back blocks and pages. Returns what the curve is worth.
double Edit(Glissa& pCurve, const Glissa& pSource)
{
    pCurve.CopyFrom(pSource);
    Record(pCurve, 100);
    for (int i = 0; i < 40; ++i) {
        pCurve.KeySetTangeantMode(3 * i, eTangentUserBreak);
        pCurve.KeySetRightDerivative(3 * i, static_cast<float>(i));
        pCurve.KeyAdd(KTime::FromSeconds(0.25 * i), &pSource, i % 7);
        pCurve.KeyRemove(2 * i);
    }
    pCurve.KeyTangeantSetInterpolation(true, eInterpolationLinear);
    pCurve.Delete(60, 140);
    pCurve.KeyShrink();
    double sum = 0.0;
    for (int i = 0; i < 100; ++i) {
        sum += pCurve.Evaluate(KTime::FromSeconds(i * 0.07), nullptr);
    }
    return sum;
}

TEST(Threads, EditDifferentCurvesAtOnce)
{
    const CurveHandle source(GlissaCreate());
    Record(*source, 200);
    for (int i = 0; i < 200; i += 2) {
        source->KeySetTangeantMode(i, eTangentUser);
        source->KeySetSelected(i, i % 6 == 0);
    }
    const std::size_t blocks = GlissaKeyAttrPool.GetUsedCount();
    const double expected = Edit(*CurveHandle(GlissaCreate()), *source);
    std::vector<CurveHandle> left(kThreads);
    RunOnThreads([&](int pThread) {
        for (int round = 0; round < 20; ++round) {
            const CurveHandle curve(GlissaCreate());
            EXPECT_EQ(expected, Edit(*curve, *source));
        }
        left[static_cast<std::size_t>(pThread)].reset(source->Copy());
        Edit(*left[static_cast<std::size_t>(pThread)], *source);
    });
    // A curve may be handed on.
    RunOnThreads([&](int pThread) { left[static_cast<std::size_t>(pThread)].reset(); });
    EXPECT_EQ(blocks, GlissaKeyAttrPool.GetUsedCount());
    for (int i = 0; i < 200; ++i) {
        KPriFCurveKeyAttr* const block = source->InternalPriKeyAttrGetPtr(i);
        EXPECT_TRUE(block == GlissaDefaultKeyAttr || block->mReferenceCount <= 200);
    }
}

// A listener for all threads, which has a lock of its own.
class SharedListener final : public ICallback
{
public:
    IObject* IQuery(unsigned long, int) override { return nullptr; }
    void Destroy(int) override {}
    void Hear(IRegister*, KEventBase* pEvent)
    {
        const auto* added = dynamic_cast<GlissaCustomKeyAddEvent*>(pEvent);
        EXPECT_TRUE(!added || added->mCurve->KeyGetTime(added->mIndex) == added->mTime);
        ++(added ? mKeys : mValues);
    }

    std::atomic<int> mKeys = 0;
    std::atomic<int> mValues = 0;
};

TEST(Threads, CallTheListenersOfTheManagersAtOnce)
{
    SharedListener listener;
    const auto hear = static_cast<KCallbackMethod>(&SharedListener::Hear);
    GlissaCustomTangentManager::TheOne().Register(eCustomTangentAddKey, &listener, hear, 0);
    GlissaInvalidKeyManager::TheOne().Register(eInvalidKeyFound, &listener, hear, 0);
    RunOnThreads([](int) {
        const CurveHandle curve(GlissaCreate());
        for (int i = 0; i < 200; ++i) {
            const int key = curve->KeyAdd(KTime::FromSeconds(i));
            curve->KeySetValue(key, std::numeric_limits<float>::infinity());
        }
    });
    GlissaInvalidKeyManager::TheOne().Unregister(eInvalidKeyFound, &listener, hear);
    GlissaCustomTangentManager::TheOne().Unregister(eCustomTangentAddKey, &listener, hear);
    EXPECT_EQ(200 * kThreads, listener.mKeys);
    EXPECT_EQ(200 * kThreads, listener.mValues);
}

TEST(Threads, EvaluateOneCurveAtOnce)
{
    const CurveHandle curve(GlissaCreate());
    Record(*curve, 5000);
    const CurveHandle other(curve->Copy());
    const auto at = [](int i) { return KTime::FromSeconds(i * 7919 % 5000 * 0.1 + 0.03); };
    std::vector<float> expected;
    for (int i = 0; i < 5000; ++i) {
        expected.push_back(other->Evaluate(at(i), nullptr));
    }
    RunOnThreads([&](int pThread) {
        int hint = 0;
        for (int i = pThread; i < 5000; ++i) {
            const float value = curve->Evaluate(at(i), i % 3 == 0 ? nullptr : &hint);
            ASSERT_EQ(expected[static_cast<std::size_t>(i)], value);
        }
        EXPECT_EQ(4999.5, curve->KeyFind(KTime::Infinite(), nullptr));
    });
}

TEST(Threads, EvaluateOneTreeAtOnce)
{
    const NodePtr plain = MakeChannel(KDataTypeLclTranslation, "T");
    const NodePtr layered = MakeChannel(KDataTypeLclRotation, "R");
    layered->CreateLayerAt({1, nullptr});
    for (int i = 0; i < 3; ++i) {
        AddKeys(plain->Get(i), {{0, 1}, {2, 5}});
        AddKeys(layered->Get(i), {{0, 10}, {2, 50}});
        AddKeys(layered->LayerGet(1)->Get(i), {{0, 5}, {2, 90}});
    }
    for (const NodePtr* node : {&plain, &layered}) {
        const NodePtr copy((*node)->Copy());
        double expected[4] = {};
        copy->GeneralEvaluate(expected, KTime::FromSeconds(1.25), nullptr);
        RunOnThreads([&](int) {
            int hint = 0;
            double values[4] = {};
            (*node)->GeneralEvaluate(values, KTime::FromSeconds(1.25), &hint);
            EXPECT_TRUE(std::equal(values, values + 3, expected));
            // A copy of a layer alone refers to the base of its source.
            const GlissaNode* const layer = (*node)->LayerGet();
            NodePtr(layer ? (*node)->LayerGet(1)->Clone(false) : (*node)->Copy());
        });
    }
}

TEST(Threads, DestroyClonesOfALayerWhileItsBaseEnds)
{
    for (int round = 0; round < 100; ++round) {
        NodePtr nodes[kThreads] = {MakeChannel(KDataTypeLclRotation, "R")};
        GlissaNode* const layer = nodes[0]->CreateLayerAt({1, nullptr});
        for (int i = 1; i < kThreads; ++i) {
            nodes[i].reset(layer->Clone(false));
        }
        RunOnThreads([&nodes](int pThread) { nodes[pThread].reset(); });
    }
}

TEST(Threads, KeepErrorsAndTextsOfTheirOwn)
{
    KDataFilterBase filter;
    filter.SetPropertyString(0, "141120000");
    const char* const text = filter.GetPropertyString(0);
    RunOnThreads([](int pThread) {
        const CurveHandle curve(GlissaCreate());
        Record(*curve, pThread % 2);
        unsigned kinds = 0;
        EXPECT_EQ(pThread % 2 == 1, GlissaUtils::GetGlobalInterpolation(kinds, *curve));
        EXPECT_EQ(pThread % 2 == 1 ? int{KError::kNone} : int{GlissaUtils::eNoKey},
                  GlissaUtils::GetLastErrorID());
        EXPECT_NE("141120000", std::string(KDataFilterBase().GetPropertyString(0)));
    });
    EXPECT_EQ(int{KError::kNone}, GlissaUtils::GetLastErrorID());
    EXPECT_STREQ("141120000", text);
}
}  // namespace
