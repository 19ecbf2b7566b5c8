// Copyright (c) 2026 The glissa authors
// SPDX-License-Identifier: MIT
// For tests only, not installed.
#pragma once

#include "corvekit/object/property.h"
#include "glissa/curve/curve.h"
#include "glissa/node/eti.h"
#include "glissa/node/lock_query.h"
#include "glissa/node/node.h"
#include "glissa/settings/settings.h"
#include "tests/support/ref_rotation.h"

#include <initializer_list>
#include <memory>
#include <string>

// What a host implements for nodes, with every result settable.

struct StubLayer final : GlissaLayer
{
    double mWeight = 1.0;
    bool mMuted = false;
    bool mLocked = false;
    eLayerMode mMode = eLayerModeAdditive;
    eWeightRotationAccumulationMode mRotationMode = eRotationByLayer;

    double GetWeight(KTime) const override { return mWeight; }
    bool IsMuted() const override { return mMuted; }
    bool IsLocked() const override { return mLocked; }
    eLayerMode GetLayerMode() const override { return mMode; }
    bool GetLayerModeBypass(KDataType*) const override { return false; }
    eWeightRotationAccumulationMode GetLayerRotationMode() const override { return mRotationMode; }
    eAnimLayerScaleAccumulationMode GetLayerScalingMode() const override { return eScaleMultiply; }
};

// Counts who holds it; lives where the test puts it.
struct StubETI : IGlissaETI
{
    int mReferences = 0;
    int mCalls = 0;  // of AddReference and ReleaseReference
    bool mValid = true;
    KTime mActiveStart;
    KTime mOffset;
    KTime mDuration;
    KTime mTrim;
    double mScale = 1.0;
    bool mSelected = false;
    KgeRGBVector mColor;

    IObject* IQuery(unsigned long, int) override { return this; }
    void Destroy(int) override {}
    void AddReference() override
    {
        ++mReferences;
        ++mCalls;
    }
    void ReleaseReference() override
    {
        --mReferences;
        ++mCalls;
    }
    bool IsValid() override { return mValid; }
    KTime GetActiveStart() override { return mActiveStart; }
    KTime GetGlobalOffset() override { return mOffset; }
    KTime GetDuration() override { return mDuration; }
    KTime GetTrimOffset() override { return mTrim; }
    double GetScaleFactor() override { return mScale; }
    bool IsSelectedDuration() override { return mSelected; }
    KgeRGBVector GetColor() override { return mColor; }
};

struct StubLockQuery final : ILockQuery
{
    bool mLocked = true;
    KProperty* mAsked = nullptr;

    bool IsLocked(KProperty* pProperty) override
    {
        mAsked = pProperty;
        return mLocked;
    }
};

// Sets the lock mode for the length of a scope.
class LockModeScope
{
public:
    explicit LockModeScope(eGlissaLockMode pMode) : mBefore(GLISSA_GetLockMode())
    {
        GLISSA_SetLockMode(pMode);
    }
    ~LockModeScope() { GLISSA_SetLockMode(mBefore); }
    LockModeScope(const LockModeScope&) = delete;
    LockModeScope& operator=(const LockModeScope&) = delete;

private:
    eGlissaLockMode mBefore;
};

struct NodeDestroyer
{
    void operator()(GlissaNode* pNode) const { pNode->Destroy(); }
};
using NodePtr = std::unique_ptr<GlissaNode, NodeDestroyer>;

// A channel of a type with an empty curve on every leaf.
inline NodePtr MakeChannel(KDataType* pType, const char* pName)
{
    NodePtr node(FCurveNodeCreateFromDataType(pType, pName));
    node->CreateFCurve();
    return node;
}

// The orientation of a rotation node.
inline RefRotation OrientationAt(GlissaNode& pNode, KTime pTime)
{
    double angles[3];
    pNode.GeneralEvaluate(angles, pTime);
    return RefRotation::OfAngles(angles, pNode.GetRotationOrder());
}

// A branch of so many plain leaves.
inline NodePtr MakeWide(int pCount, int pLayerType = eLayerTypeVector)
{
    NodePtr node(GlissaNodeCreate("wide", static_cast<KDataType*>(nullptr), pLayerType,
                                  GlissaLayerInfo::Base));
    for (int i = 0; i < pCount; ++i) {
        node->FindOrCreate(std::string(1, static_cast<char>('a' + i)).c_str(), true);
    }
    return node;
}

// A branch of branches: a translation and a scaling.
inline NodePtr MakeJoint()
{
    NodePtr joint(GlissaNodeCreate("Hips", static_cast<KDataType*>(nullptr), eLayerTypeVector,
                                   GlissaLayerInfo::Base));
    joint->Add(MakeChannel(KDataTypeLclTranslation, "T").release());
    joint->Add(MakeChannel(KDataTypeLclScaling, "S").release());
    return joint;
}

struct TimedValue
{
    double seconds;
    float value;
};

// Linear keys on the curve of a leaf, in any order.
inline void AddKeys(GlissaNode* pLeaf, std::initializer_list<TimedValue> pKeys)
{
    for (const TimedValue& each : pKeys) {
        GlissaKey key;
        key.Set(KTime::FromSeconds(each.seconds), each.value, eInterpolationLinear, 0, 0.0f, 0.0f,
                eWeightNone, kGlissaDefaultWeight, kGlissaDefaultWeight, 0.0f, 0.0f);
        pLeaf->FCurveGet()->KeyAdd(key.GetTime(), key);
    }
}
