// Copyright (c) 2026 The glissa authors
// SPDX-License-Identifier: MIT

#include "tests/support/curve_test.h"

#include <limits>
#include <map>
#include <string>
#include <tuple>
#include <vector>

namespace
{
KPriFCurveKeyAttr Linear(float pSlope = 0.0f)
{
    return {{eInterpolationLinear, {pSlope, 0.0f, 0.0f, 0.0f}}, 77};
}

class Attributes : public CurveTest
{
protected:
    void TearDown() override
    {
        mA.reset();
        CurveTest::TearDown();
    }
    CurveHandle mA = CurveHandle(GlissaCreate());
};

TEST_F(Attributes, SettingThemPostsWhatHappened)
{
    mA = PlainCurve(3);
    mA->KeyAttrSet(2, Linear());
    EventRecorder events(*mA);
    const KPriFCurveKeyAttr broken = Linear(std::numeric_limits<float>::quiet_NaN());
    const KPriFCurveKeyAttr* const own = mA->InternalPriKeyAttrGetPtr(2);
    // The same block, an equal one, one that equals nothing; then at and past the end.
    using Posted = std::vector<HeardEvent>;
    using Row = std::tuple<int, const KPriFCurveKeyAttr*, int, Posted>;
    for (const auto& [key, attribute, count, expected] :
         {Row{0, GlissaDefaultKeyAttr, 3, {}}, Row{2, own, 3, {}},
          Row{1, own, 3, {{0xE010, 1, 1, 1}}}, Row{1, own, 3, {}},
          Row{1, &broken, 3, {{0xE010, 1, 1, 1}}}, Row{1, &broken, 3, {{0xE010, 1, 1, 1}}},
          Row{3, own, 4, {{0x810, 3, 3, 1}}}, Row{7, own, 8, {{0x810, 4, 4, 1}, {0x810, 7, 7, 1}}},
          Row{1344, GlissaDefaultKeyAttr, 1345, {{0x810, 8, 8, 1}, {0x810, 1344, 1344, 1}}}}) {
        SCOPED_TRACE(key);
        const std::size_t before = events.Heard().size();
        const int id = mA->GetUpdateId();
        mA->KeyAttrSet(key, *attribute);
        EXPECT_EQ(count, mA->KeyGetCount());
        const auto first = events.Heard().begin() + static_cast<std::ptrdiff_t>(before);
        EXPECT_EQ(expected, Posted(first, events.Heard().end()));
        EXPECT_EQ(id + static_cast<int>(expected.size()), mA->GetUpdateId());
        EXPECT_EQ(attribute->mFlags, mA->InternalPriKeyAttrGetPtr(key)->mFlags);
    }
    EXPECT_EQ(GlissaDefaultKeyAttr, mA->InternalPriKeyAttrGetPtr(5));
    EXPECT_EQ(GlissaDefaultKeyAttr, mA->InternalPriKeyAttrGetPtr(1343));
}

TEST_F(Attributes, EqualNeighboursMerge)
{
    // Kinds of block: d the default one; e equal to it, a and b linear, n with a NaN, each a block
    // of the key's own. Afterwards the same digit is the same block, - the default one.
    using Row = std::tuple<std::string, int, int, std::string>;
    for (const auto& [kinds, first, last, expected] :
         {Row{"aaaa", 0, 2, "0000"}, Row{"aaaa", -9, 99, "0000"}, Row{"aaaa", 1, 1, "0113"},
          Row{"aaaa", 2, 1, "0123"}, Row{"aabaa", 0, 9, "00233"}, Row{"eeee", 0, 9, "0000"},
          Row{"aeae", 0, 9, "0-2-"}, Row{"deed", 0, 9, "----"}, Row{"edee", 0, 9, "0---"},
          Row{"nnnn", 0, 9, "0123"}, Row{"a", 0, 9, "0"}, Row{"ab", 0, 9, "01"}}) {
        SCOPED_TRACE(kinds);
        mA = PlainCurve(static_cast<int>(kinds.size()));
        std::map<const KPriFCurveKeyAttr*, char> names = {{GlissaDefaultKeyAttr, '-'}};
        for (int i = 0; i < mA->KeyGetCount(); ++i) {
            const char kind = kinds[static_cast<std::size_t>(i)];
            if (kind == 'e') {
                mA->KeyAttrSeparate(i);
            } else if (kind != 'd') {
                mA->KeyAttrSet(i, Linear(kind == 'n' ? std::numeric_limits<float>::quiet_NaN()
                                                     : static_cast<float>(kind)));
            }
            names.emplace(mA->InternalPriKeyAttrGetPtr(i), static_cast<char>('0' + i));
        }
        const int id = mA->GetUpdateId();
        mA->KeyAttrShrink(first, last);
        std::string merged;
        for (int i = 0; i < mA->KeyGetCount(); ++i) {
            merged += names[mA->InternalPriKeyAttrGetPtr(i)];
        }
        EXPECT_EQ(expected, merged);
        EXPECT_EQ(id, mA->GetUpdateId());
    }
}
}  // namespace
