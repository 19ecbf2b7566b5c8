// Copyright (c) 2026 The glissa authors
// SPDX-License-Identifier: MIT

#include "corvekit/object/object.h"
#include "corvekit/object/property.h"

#include <gtest/gtest.h>

#include <climits>
#include <cmath>
#include <limits>

namespace
{
// Sets the text, which must be taken, and gives the text that comes back.
template <typename T>
KString Through(const char* pText)
{
    KPropertyTemplate<T> property;
    EXPECT_TRUE(property.SetPropertyString(pText)) << pText;
    return property.GetPropertyString();
}

TEST(KProperty, ValuesComeBackFromTheirText)
{
    EXPECT_EQ("true", Through<bool>("1"));
    EXPECT_EQ("false", Through<bool>("false"));
    EXPECT_EQ("-2147483648", Through<int>("-2147483648"));
    EXPECT_EQ("0.1", Through<double>("0.1"));
    EXPECT_EQ("a b", Through<KString>("a b"));
    EXPECT_EQ("-9223372036854775807", Through<KTime>("-9223372036854775807"));
    EXPECT_EQ("211680000", Through<KTime>("1.5s"));
    for (const double value : {1.0 / 3.0, -5e-324, 1.7976931348623157e308, HUGE_VAL, -0.0}) {
        const KPropertyTemplate<double> from(value);
        KPropertyTemplate<double> to;
        EXPECT_TRUE(to.SetPropertyString(from.GetPropertyString().c_str()));
        EXPECT_EQ(value, to.GetValue());
        EXPECT_EQ(std::signbit(value), std::signbit(to.GetValue()));
    }
}

TEST(KProperty, TextThatIsNoSuchValueIsRefused)
{
    KPropertyTemplate<int> number(7);
    KPropertyTemplate<bool> yes(true);
    KPropertyTemplate<double> real(0.5);
    KPropertyTemplate<KTime> time(KTime(9));
    KProperty* const properties[] = {&number, &yes, &real, &time};
    for (KProperty* each : properties) {
        const KString before = each->GetPropertyString();
        for (const char* text : {static_cast<const char*>(nullptr), "", " 1", "1 ", "1x", "+1",
                                 "TRUE", "s", "nans", "0x10"}) {
            EXPECT_FALSE(each->SetPropertyString(text)) << (text ? text : "null");
        }
        EXPECT_EQ(before, each->GetPropertyString());
    }
    EXPECT_FALSE(number.SetPropertyString("2147483648"));
    EXPECT_FALSE(real.SetPropertyString("1e999"));
    EXPECT_FALSE(time.SetPropertyString("9223372036854775808"));
    EXPECT_EQ(7, number.GetValue());
}

TEST(KProperty, NumbersAreRoundedAndStopAtTheEnds)
{
    const struct
    {
        double number;
        int expected;
    } cases[] = {
        {2.5, 3}, {-2.5, -3}, {1e300, INT_MAX}, {-INFINITY, INT_MIN}, {std::nan(""), 0},
    };
    KPropertyTemplate<int> number;
    for (const auto& each : cases) {
        EXPECT_TRUE(number.SetPropertyConstant(&each.number));
        EXPECT_EQ(each.expected, number.GetValue()) << each.number;
    }

    double value = -0.25;
    KPropertyTemplate<KTime> time;
    EXPECT_TRUE(time.SetPropertyConstant(&value));
    EXPECT_EQ(-35280000, time.GetValue().Get());
    EXPECT_TRUE(time.GetPropertyConstant(&value));
    EXPECT_EQ(-0.25, value);
    KPropertyTemplate<bool> flag;
    EXPECT_TRUE(flag.SetPropertyConstant(&value));
    EXPECT_TRUE(flag.GetPropertyConstant(&value));
    EXPECT_EQ(1.0, value);
    KPropertyTemplate<KString> text(KString("kept"));
    EXPECT_FALSE(text.SetPropertyConstant(&value));
    EXPECT_FALSE(text.GetPropertyConstant(&value));
    EXPECT_FALSE(flag.SetPropertyConstant(nullptr));
    EXPECT_FALSE(flag.GetPropertyConstant(nullptr));
    EXPECT_EQ("kept", text.GetPropertyString());
    EXPECT_EQ(1.0, value);
}

class Host : public KObject
{
public:
    void Get(void* pValue) const { *static_cast<int*>(pValue) = mValue * 2; }
    void Set(const void* pValue) { mValue = *static_cast<const int*>(pValue); }
    int mValue = 4;
};

TEST(KProperty, AccessorsOfTheOwnerStandInForTheStoredValue)
{
    Host host;
    KPropertyTemplate<int> property(100);
    property.SetPropertyInfo(&host, static_cast<KPropertyGetter>(&Host::Get),
                             static_cast<KPropertySetter>(&Host::Set));
    EXPECT_EQ(8, property.GetValue());
    EXPECT_TRUE(property.SetPropertyString("-5"));
    EXPECT_EQ(-5, host.mValue);
    KPropertyTemplate<int> copy(property);
    EXPECT_EQ(-10, copy.GetValue());
    EXPECT_EQ(nullptr, copy.GetOwner());
    property = KPropertyTemplate<int>(3);
    EXPECT_EQ(3, host.mValue);
    property.SetPropertyInfo(&host, nullptr, nullptr);
    EXPECT_EQ(100, property.GetValue());
}
}  // namespace
