// Copyright (c) 2026 The glissa authors
// SPDX-License-Identifier: MIT

// Every allocation of a rotation filter fails in turn.

#include "glissa/filter/euler_to_quat.h"
#include "glissa/filter/gaussian.h"
#include "glissa/filter/gimble_killer.h"
#include "glissa/filter/gimble_killer2.h"
#include "glissa/filter/key_sync.h"
#include "glissa/filter/matrix_converter.h"
#include "glissa/filter/quat_to_euler.h"
#include "glissa/filter/roll.h"
#include "glissa/filter/smooth.h"
#include "glissa/filter/trs.h"
#include "glissa/filter/unroll.h"
#include "glissa/filter/unroll_dof.h"
#include "tests/support/curve_test.h"
#include "tests/support/fail_each.h"
#include "tests/support/filter_rows.h"
#include "tests/support/node_stubs.h"

#include <utility>

namespace
{
using OutOfMemory = CurveTest;

// The channels of an object: the rotation has jumps, lock and keys at different times.
NodePtr MakeObject()
{
    NodePtr object = MakeJoint();
    object->Add(MakeChannel(KDataTypeLclRotation, "R").release());
    for (const char* const name : {"T", "S"}) {
        for (int axis = 0; axis < 3; ++axis) {
            AddKeys(object->FindRecursive(name)->Get(axis), {{0.0, 1.0f}, {0.3, 2.0f}});
        }
    }
    GlissaNode* const rotation = object->FindRecursive("R");
    AddKeys(rotation->Get(0), {{0.0, 150.0f}, {0.1, 200.0f}, {0.2, -150.0f}, {0.3, 10.0f}});
    AddKeys(rotation->Get(1), {{0.0, 80.0f}, {0.1, 100.0f}, {0.3, 89.0f}});
    AddKeys(rotation->Get(2), {{0.05, 400.0f}, {0.1, 10.0f}, {0.3, -200.0f}});
    return object;
}

void SetTangents(GlissaNode& pRotation)
{
    GlissaFilterKeySync().Apply(pRotation, true);
    for (int axis = 0; axis < 3; ++axis) {
        Glissa& curve = *pRotation.Get(axis)->FCurveGet();
        for (int key = 0; key < curve.KeyGetCount(); ++key) {
            curve.KeySetInterpolation(key, eInterpolationCubic);
            curve.KeySetTangeantMode(key, eTangentUser);
            curve.KeySetRightDerivative(key, 10.0f);
        }
    }
}

// The keys of all leaves. Children have their parent, curves their node and ascending times.
void TakeWhole(GlissaNode& pNode, std::vector<std::string>& pKeys)
{
    for (int i = 0; i < pNode.GetCount(); ++i) {
        GlissaNode& child = *pNode.Get(i);
        EXPECT_EQ(&pNode, child.GetParent());
        if (Glissa* const curve = child.FCurveGet()) {
            EXPECT_EQ(&child, curve->GetOwner());
            for (int key = 1; key < curve->KeyGetCount(); ++key) {
                EXPECT_LT(curve->KeyGetTime(key - 1), curve->KeyGetTime(key));
            }
            pKeys.push_back(KeysOf(*curve));
        }
        TakeWhole(child, pKeys);
    }
}

// The curves of an object change together or not at all. A filter that applies others to its result
// may end before one of them.
TEST_F(OutOfMemory, ARotationFilterThrowsAndLeavesTheOldRotationOrANewOne)
{
    auto converter = std::make_shared<GlissaFilterMatrixConverter>();
    converter->SetSourceMatrix(
        eMatrixRotationPivot,
        KgeAMatrix(KgeTVector(1.0, 2.0, 3.0), KgeRVector(0.0, 0.0, 90.0), KgeSVector()));
    converter->SetResamplingPeriod(Seconds(0.05));
    auto transform = std::make_shared<GlissaFilterTRS>();
    transform->SetR(10.0, 20.0, 30.0);
    const auto inSpan = [](FilterPtr pFilter) {
        return InSpan(std::move(pFilter), Seconds(0.05), Seconds(0.25));
    };
    enum class Form
    {
        object,
        rotation,
        keyed,  // a rotation with keys at the same times and user tangents
        curves,
        quaternion,
    };
    const struct
    {
        FilterPtr filter;
        Form form;
        bool hasStages = false;
    } rows[] = {
        {With<GlissaFilterUnroll>(), Form::rotation},
        {With<GlissaFilterUnroll>(), Form::keyed},
        {With<GlissaFilterGaussian>(), Form::keyed},
        {inSpan(With<GlissaFilterUnrollDof>()), Form::curves},
        {inSpan(With<GlissaFilterGimbleKiller>()), Form::curves},
        {With<GlissaFilterGimbleKiller2>(), Form::curves},
        {With<GlissaFilterRoll>(), Form::rotation},
        {With<GlissaFilterEulerToQuat>(), Form::rotation},
        {With<GlissaFilterQuatToEuler>(), Form::quaternion, true},
        {inSpan(With<GlissaFilterSmooth>()), Form::rotation},
        {converter, Form::object, true},
        {transform, Form::rotation},
    };
    GLISSA_ClearMemoryBlockQueue();
    const unsigned memory = GetRecordingMemory();
    for (const auto& row : rows) {
        SCOPED_TRACE(row.filter->GetName());
        NodePtr object;
        bool answer = false;
        const auto keys = [&] {
            std::vector<std::string> all;
            TakeWhole(*object, all);
            all.resize(9);  // without W
            return all;
        };
        const auto prepare = [&] {
            object.reset();
            object = MakeObject();
            if (row.form == Form::keyed) {
                SetTangents(*object->FindRecursive("R"));
            }
            if (row.form == Form::quaternion) {
                GlissaFilterEulerToQuat().Apply(*object->FindRecursive("R"), true);
            }
        };
        const auto step = [&] {
            GlissaNode& rotation = *object->FindRecursive("R");
            Glissa* curves[] = {rotation.Get(0)->FCurveGet(), rotation.Get(1)->FCurveGet(),
                                rotation.Get(2)->FCurveGet()};
            answer = row.form == Form::curves
                         ? row.filter->Apply(curves, 3)
                         : row.filter->Apply(row.form == Form::object ? *object : rotation, true);
        };
        prepare();
        const std::vector<std::string> old = keys();
        step();
        const std::vector<std::string> made = keys();
        const auto check = [&](bool pHasThrown) {
            EXPECT_TRUE(pHasThrown || answer);
            const std::vector<std::string> now = keys();
            bool areChanged = row.hasStages;
            for (std::size_t i = 0; i < now.size(); ++i) {
                areChanged = areChanged && (now[i] != old[i]) == (made[i] != old[i]);
            }
            EXPECT_TRUE(now == old || now == made || areChanged);
        };
        EXPECT_GT(FailEach(prepare, step, check), CountsAllocationsOfC() ? 10 : 3);
    }
    GLISSA_ClearMemoryBlockQueue();
    EXPECT_EQ(memory, GetRecordingMemory());
}
}  // namespace
