// Copyright (c) 2026 The glissa authors
// SPDX-License-Identifier: MIT

#include "corvekit/object/object.h"
#include "corvekit/object/property.h"

#include <gtest/gtest.h>

#include <bit>
#include <climits>
#include <cmath>

namespace
{
// The text of a property that was set from another text; "refused" if it was not set.
template <typename T>
KString TextAfter(const char* pText)
{
    KPropertyTemplate<T> property;
    return property.SetPropertyString(pText) ? property.GetPropertyString() : KString("refused");
}

TEST(KProperty, ValuesAreReadBackFromTheirText)
{
    EXPECT_EQ("true", TextAfter<bool>("1"));
    EXPECT_EQ("a b", TextAfter<KString>("a b"));
    EXPECT_EQ("211680000", TextAfter<KTime>("1.5s"));
    for (const double value : {0.1, 1.0 / 3.0, -5e-324, 1.7976931348623157e308, HUGE_VAL, -0.0}) {
        KPropertyTemplate<double> to;
        EXPECT_TRUE(to.SetPropertyString(KPropertyTemplate(value).GetPropertyString().c_str()));
        EXPECT_EQ(std::bit_cast<std::uint64_t>(value), std::bit_cast<std::uint64_t>(to.GetValue()));
    }
}

TEST(KProperty, OtherTextIsRefusedAndChangesNothing)
{
    EXPECT_EQ("refused", TextAfter<double>("1e999"));
    EXPECT_EQ("refused", TextAfter<KTime>("9223372036854775808"));
    KPropertyTemplate<int> number(7);
    KPropertyTemplate<bool> yes(true);
    KPropertyTemplate<double> real(0.5);
    KPropertyTemplate<KTime> time(KTime(9));
    KProperty* const properties[] = {&number, &yes, &real, &time};
    for (KProperty* each : properties) {
        const KString before = each->GetPropertyString();
        for (const char* const text : {"", " 1", "1 ", "1x", "+1", "TRUE", "s", "nans", "0x10"}) {
            EXPECT_FALSE(each->SetPropertyString(text)) << text;
        }
        EXPECT_EQ(before, each->GetPropertyString());
    }
}

TEST(KProperty, ValuesAreSetAndReadAsNumbers)
{
    KPropertyTemplate<int> whole;
    KPropertyTemplate<KTime> time;
    KPropertyTemplate<bool> flag;
    const struct
    {
        KProperty& property;
        double number;
        double expected;
    } cases[] = {
        {whole, 2.5, 3.0},           {whole, -2.5, -3.0},        {whole, 1e300, INT_MAX},
        {whole, -INFINITY, INT_MIN}, {whole, std::nan(""), 0.0}, {time, -0.25, -0.25},
        {flag, -0.25, 1.0},          {flag, 0.0, 0.0},
    };
    for (const auto& each : cases) {
        double number = 0.0;
        EXPECT_TRUE(each.property.SetPropertyConstant(&each.number));
        EXPECT_TRUE(each.property.GetPropertyConstant(&number));
        EXPECT_EQ(each.expected, number);
    }
    KPropertyTemplate<KString> text(KString("kept"));
    double untouched = 4.0;
    EXPECT_FALSE(text.SetPropertyConstant(&untouched) || text.GetPropertyConstant(&untouched));
    EXPECT_EQ("kept", text.GetPropertyString());
}

class Host : public KObject
{
public:
    void Get(void* pValue) const { *static_cast<int*>(pValue) = mValue * 2; }
    void Set(const void* pValue) { mValue = *static_cast<const int*>(pValue); }
    int mValue = 4;
};

TEST(KProperty, AccessorsOfTheOwnerReplaceTheStoredValue)
{
    Host host;
    KPropertyTemplate<int> property(100);
    property.SetPropertyInfo(&host, static_cast<KPropertyGetter>(&Host::Get),
                             static_cast<KPropertySetter>(&Host::Set));
    EXPECT_EQ(8, property.GetValue());
    EXPECT_TRUE(property.SetPropertyString("-5"));
    EXPECT_EQ(-5, host.mValue);
    const KPropertyTemplate<int> copy(property);
    EXPECT_EQ(-10, copy.GetValue());
    EXPECT_EQ(nullptr, copy.GetOwner());
    property.SetPropertyInfo(&host, nullptr, nullptr);
    EXPECT_EQ(100, property.GetValue());
}
}  // namespace
