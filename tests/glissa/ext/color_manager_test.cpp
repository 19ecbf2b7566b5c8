// Copyright (c) 2026 The glissa authors
// SPDX-License-Identifier: MIT

#include "glissa/ext/color_manager.h"

#include "tests/support/text_document.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <random>
#include <string>
#include <vector>

namespace
{
using Entry = IFCurveColorManager::Entry;

TEST(ColorManager, TheDefaultTableHasTheColoursOfNodeTypes)
{
    struct Row
    {
        const char* name;
        int index;
        std::vector<float> color;
    };
    IFCurveColorManager& manager = *GlissaColor_GetManager();
    for (const Row& row : std::vector<Row>{{"fog", 0, {0.82f, 0.38f, 0.1f}},
                                           {"Fog", 1, {-1.0f, -1.0f, -1.0f}},
                                           {"Shape 40", 0, {0.58f, 0.69f, 0.08f}},
                                           {"CustomColorAndAlpha", 3, {1.0f, 1.0f, 1.0f}}}) {
        Entry* const entry = manager.FindColor("KDefaultColor", row.name);
        ASSERT_TRUE(entry) << row.name;
        const float* const color = manager.GetColor(entry, row.index);
        EXPECT_EQ(row.color, std::vector<float>(color, color + 3)) << row.name;
    }
    EXPECT_EQ(nullptr, manager.FindColor("KDefaultColor", "Shape 41"));
    EXPECT_EQ(nullptr, manager.FindColor("kdefaultcolor", "Fog"));
}

TEST(ColorManager, RandomEditsLeaveATableThatFindsItsEntries)
{
    IFCurveColorManager& manager = *GlissaColor_GetManager();
    std::mt19937 random(5);
    std::vector<std::string> names;  // what the table holds, in lower case
    for (int step = 0; step < 4000; ++step) {
        SCOPED_TRACE(step);
        const std::string name = std::to_string(random() % 12) + (random() % 2 ? "a" : "");
        const std::string upper = name.back() == 'a' ? name.substr(0, name.size() - 1) + "A" : name;
        const auto found = std::find(names.begin(), names.end(), name);
        const bool there = found != names.end();
        Entry* const before = manager.FindColor("T", upper.c_str());
        ASSERT_EQ(there, before != nullptr);
        if (const unsigned action = random() % 8; action == 0 && random() % 50 == 0) {
            manager.ClearTable("T");
            names.clear();
        } else if (action < 3) {
            Entry* const added = manager.AddColor("T", name.c_str(), nullptr);
            ASSERT_TRUE(there ? added == before : added->GetName() == name.c_str());
            if (!there) {
                names.push_back(name);
            }
        } else if (action == 3) {
            int number = 0;
            while (std::find(names.begin(), names.end(), std::to_string(number)) != names.end()) {
                ++number;
            }
            names.push_back(std::to_string(number));
            ASSERT_EQ(names.back(), manager.AddColorAutoName("T", nullptr)->GetName().c_str());
        } else {
            ASSERT_EQ(there, manager.RemoveColor("T", upper.c_str()));
            names.erase(std::remove(names.begin(), names.end(), name), names.end());
        }
    }
}

TEST(ColorManager, TheUserTableIsStoredAndAddedToWhenItIsRead)
{
    IFCurveColorManager& manager = *GlissaColor_GetManager();
    const float color[] = {0.25f, 0.5f, -1.0f};
    manager.SetColor(manager.AddColor("KUserDefaultColor", "B;b", nullptr), color, 2);
    manager.AddColor("KUserDefaultColor", "a", nullptr);
    KTdf stored;
    manager.Store(&stored);
    EXPECT_EQ("PropertiesColor: {\nTable: S\"KUserDefaultColor\" {\n"
              "Color: S\"B;b\" {\n2: D0.25 D0.5 D-1\n}\nColor: S\"a\" {\n}\n}\n}\n",
              TextOfDocument(stored));
    manager.Retrieve(&stored);
    EXPECT_EQ(0.5f, manager.GetColor(manager.FindColor("KUserDefaultColor", "b"), 2)[1]);
    EXPECT_TRUE(manager.RemoveColor("KUserDefaultColor", "A"));
    EXPECT_TRUE(manager.RemoveColor("KUserDefaultColor", "a"));

    // Every way out leaves the document where it was: the field behind is found.
    for (const char* const text : {"", "PropertiesColor:\n", "PropertiesColor: {\n}\n",
                                   "PropertiesColor: {\nTable: S\"KDefaultColor\" {\n}\n}\n",
                                   "PropertiesColor: {\nTable: S\"KUserDefaultColor\"\n}\n",
                                   "PropertiesColor: {\nTable: S\"KUserDefaultColor\" {\n"
                                   "Color: I7\n}\n}\n"}) {
        KTdf document;
        std::string error;
        ASSERT_TRUE(DocumentFromText(std::string(text) + "After:\n", document, error)) << error;
        manager.Retrieve(&document);
        EXPECT_TRUE(document.FieldReadBegin("After")) << text;
    }
    EXPECT_TRUE(manager.FindColor("KUserDefaultColor", ""));
}
}  // namespace
