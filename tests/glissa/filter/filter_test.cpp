// Copyright (c) 2026 The glissa authors
// SPDX-License-Identifier: MIT

#include "glissa/filter/filter.h"

#include "glissa/filter/curve_filter.h"
#include "glissa/filter/data_filter.h"
#include "tests/support/curve_test.h"
#include "tests/support/node_stubs.h"

#include <limits>

namespace
{
using FilterFrame = CurveTest;

// Says which curves it was applied to, and refuses them.
class Probe final : public GlissaCurveFilter
{
public:
    Probe() : GlissaCurveFilter("Probe", nullptr, 0) {}
    std::vector<Glissa*> mSeen;

private:
    EGlissaFilterAnswer Examine(Glissa& pCurve) override
    {
        mSeen.push_back(&pCurve);
        return RefuseCurve(static_cast<int>(mSeen.size()), "refused");
    }
    bool Change(Glissa&) override { return true; }
};

// Children before their parent, what is locked left out with all below it.
TEST_F(FilterFrame, TheWalkVisitsUnlockedCurvesAndTheNodeItselfLast)
{
    const LockModeScope mode(eLockModeProperty);
    KPropertyTemplate<double> locked;
    KPropertyTemplate<double> open;
    locked.SetFlags(ePropertyFlagLockAll);
    const NodePtr joint = MakeJoint();
    joint->Get(1)->SetProperty(&locked);
    joint->Get(1)->Get(0)->SetProperty(&open);  // below a locked node
    joint->FCurveSet(GlissaCreate(), true);
    const auto curve = [&](int pChannel) { return joint->Get(0)->Get(pChannel)->FCurveGet(); };
    Glissa* own = joint->FCurveGet();
    Probe probe;
    EXPECT_TRUE(probe.Apply(*joint, true));
    EXPECT_EQ((std::vector{curve(0), curve(1), curve(2), own}), probe.mSeen);
    EXPECT_TRUE(probe.Apply(*joint, false));
    EXPECT_EQ(own, probe.mSeen.back());
    EXPECT_TRUE(probe.NeedApply(*joint, true));
    Glissa* mixed[] = {own, joint->Get(1)->Get(2)->FCurveGet(), curve(1)};
    EXPECT_TRUE(probe.Apply(mixed, 3));
    EXPECT_TRUE(probe.Apply(mixed, -1));
    EXPECT_EQ(7u, probe.mSeen.size());
    EXPECT_EQ(7, probe.GetLastErrorID());
}

struct RatedFilter : KDataFilterBase
{
    KPropertyTemplate<double> rate{12.0};
    RatedFilter() : KDataFilterBase("sheet")
    {
        AddProperty(&rate);
        mRate = &rate;
    }
};

TEST_F(FilterFrame, ADataFilterIsASheetOfProperties)
{
    RatedFilter filter;
    auto* sheet = static_cast<IFilter*>(filter.IQuery(0xA8271C, 0));
    EXPECT_STREQ("sheet", sheet->GetPropertySheetName());
    ASSERT_EQ(3, sheet->GetPropertyCount());
    EXPECT_STREQ("Stop", sheet->GetPropertyName(1));
    EXPECT_EQ(KDataTypeTime, sheet->GetProperty(0));
    EXPECT_TRUE(sheet->SetPropertyString(0, "1.5s"));
    EXPECT_STREQ("211680000", sheet->GetPropertyString(0));
    EXPECT_EQ(Seconds(1.5), KDataFilterBase(filter).Start.GetValue());
    double value = std::numeric_limits<double>::infinity();
    EXPECT_FALSE(sheet->SetPropertyConstant(2, &value));
    EXPECT_EQ(30.0, filter.rate.GetValue());
    value = 24.0;
    EXPECT_TRUE(sheet->SetPropertyConstant(2, &value));
    EXPECT_TRUE(sheet->GetPropertyConstant(2, &value) && value == 24.0);
    for (const int bad : {-1, 3}) {
        EXPECT_STREQ("", sheet->GetPropertyName(bad));
        EXPECT_STREQ("", sheet->GetPropertyString(bad));
        EXPECT_EQ(nullptr, sheet->GetProperty(bad));
        EXPECT_FALSE(sheet->SetPropertyConstant(bad, &value));
    }
}
}  // namespace
