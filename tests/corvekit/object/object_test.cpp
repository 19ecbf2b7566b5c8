// Copyright (c) 2026 The glissa authors
// SPDX-License-Identifier: MIT

#include "corvekit/object/class_frame.h"
#include "corvekit/object/property.h"

#include <gtest/gtest.h>

#include <memory>
#include <string>

namespace
{
std::string gEnd;  // the steps of an object's end, as they were run

class Shape : public KClassFrame<Shape, KObject>
{
public:
    static constexpr char kClassName[] = "Shape";
    using KClassFrame::KClassFrame;
};

class Circle : public KClassFrame<Circle, Shape>
{
public:
    static constexpr char kClassName[] = "Circle";
    Circle() : KClassFrame("circle")
    {
        mRadius = RadiusInfo();
        mRadius.SetPropertyInfo(this, nullptr, nullptr);
        AddProperty(&mRadius);
        mName = NameInfo();
        AddProperty(&mName);
    }
    Circle(const Circle& pOther) : Circle() { *this = pOther; }
    Circle& operator=(const Circle&) = default;
    ~Circle() override { EndObject(); }

    void SystemDetach() override { gEnd += "detach "; }
    void PrepareDestruct() override { gEnd += "prepare "; }
    void Destruct() override
    {
        gEnd += "destruct ";
        KObject::Destruct();
    }

    static const KPropertyInfo& RadiusInfo()
    {
        static const KPropertyInfo info("Radius", KDataTypeNumber);
        return info;
    }
    static const KPropertyInfo& NameInfo()
    {
        static const KPropertyInfo info("Name", KDataTypeString);
        return info;
    }

    KPropertyTemplate<double> mRadius{1.0};
    KPropertyTemplate<KString> mName;
};

class Square : public KClassFrame<Square, Shape>
{
public:
    static constexpr char kClassName[] = "Square";
};

TEST(KObject, KnowsItsClassAndTheClassesAboveIt)
{
    const Circle circle;
    const KObject& object = circle;
    EXPECT_TRUE(object.Is(Circle::ClassId));
    EXPECT_TRUE(object.Is(Shape::ClassId));
    EXPECT_TRUE(object.Is(KObject::ClassId));
    EXPECT_FALSE(object.Is(Square::ClassId));
    EXPECT_FALSE(object.Is(0));
    EXPECT_FALSE(Shape().Is(Circle::ClassId));

    EXPECT_EQ(Circle::ClassId, object.GetClassId());
    EXPECT_STREQ("Circle", object.GetClassIdName());
    EXPECT_EQ(static_cast<int>(sizeof(Circle)), object.GetClassSize());
    EXPECT_EQ(0, object.GetClassGroupId());
    const KClassDefinition* definition = object.GetClassDefinition();
    EXPECT_EQ(definition, KClassDefinition::Find("Circle"));
    EXPECT_EQ(definition, KClassDefinition::Find(Circle::ClassId));
    EXPECT_EQ(&Shape::ClassDefinition, definition->GetParent());
    EXPECT_TRUE(definition->Is(KObject::ClassId));
    EXPECT_FALSE(definition->Is(Square::ClassId));
    EXPECT_EQ(nullptr, definition->Create());
    EXPECT_EQ(nullptr, KClassDefinition::Find("circle"));
    EXPECT_EQ(nullptr, KClassDefinition::Find(0));
}

TEST(KObject, RunsTheStepsOfItsEndOnce)
{
    gEnd.clear();
    (new Circle)->Destroy(0);
    EXPECT_EQ("detach prepare destruct ", gEnd);

    gEnd.clear();
    {
        Circle circle;
        EXPECT_EQ(0u, circle.GetObjectFlags() & 0x40u);
        circle.Destruct();
        EXPECT_EQ(0x40u, circle.GetObjectFlags() & 0x40u);
        EXPECT_EQ(0, circle.GetPropertyCount());
    }
    EXPECT_EQ("destruct ", gEnd);

    Shape source;
    Shape destination;
    EXPECT_TRUE(source.Connect(&destination));
    destination.SystemDetach();
    EXPECT_EQ(0, source.GetDestinationCount());
}

TEST(KObject, FindsItsOwnPropertiesByName)
{
    Circle first;
    Circle second;
    for (Circle* each : {&first, &second, &first}) {
        EXPECT_EQ(&each->mName, each->FastFindPropertyByName("Name"));
        EXPECT_EQ(&each->mRadius, each->FastFindPropertyByName("Radius"));
    }
    EXPECT_EQ(nullptr, first.FastFindPropertyByName("radius"));
    EXPECT_EQ(nullptr, first.FastFindPropertyByName(nullptr));

    // An object whose list differs from that of its class.
    EXPECT_TRUE(second.RemoveProperty(&second.mRadius));
    EXPECT_EQ(nullptr, second.FastFindPropertyByName("Radius"));
    EXPECT_EQ(&second.mName, second.FastFindPropertyByName("Name"));
    EXPECT_EQ(&first.mName, first.FastFindPropertyByName("Name"));
    EXPECT_EQ(2, Circle::PropertyHashMap.GetCount());
}

TEST(KObject, PropertiesLeaveTheListWithTheirOwnerOrTheirEnd)
{
    Shape shape;
    {
        KPropertyTemplate<int> property;
        EXPECT_TRUE(shape.AddProperty(&property));
        EXPECT_FALSE(shape.AddProperty(&property));
        EXPECT_FALSE(shape.AddProperty(nullptr));
        EXPECT_EQ(&property, shape.GetPropertyAt(0));
        Shape other;
        EXPECT_TRUE(other.AddProperty(&property));
        EXPECT_EQ(0, shape.GetPropertyCount());
        EXPECT_TRUE(shape.AddProperty(&property));
        EXPECT_FALSE(other.RemoveProperty(&property));
    }
    EXPECT_EQ(0, shape.GetPropertyCount());
    EXPECT_EQ(nullptr, shape.GetPropertyAt(0));
    KPropertyTemplate<int> outlives;
    std::make_unique<Shape>()->AddProperty(&outlives);
}

TEST(KObject, ACopyHasItsOwnPropertiesWithTheSameValues)
{
    Circle circle;
    circle.SetObjectName("named");
    circle.mRadius = 5.0;
    Circle copy(circle);
    copy.mRadius = 6.0;
    EXPECT_STREQ("named", copy.GetObjectName());
    EXPECT_EQ(5.0, circle.mRadius.GetValue());
    EXPECT_EQ(&copy.mRadius, copy.FastFindPropertyByName("Radius"));
    EXPECT_EQ(&copy, copy.mRadius.GetOwner());
    circle = copy;
    EXPECT_EQ(6.0, circle.mRadius.GetValue());
    EXPECT_EQ(&circle, circle.mRadius.GetOwner());
}
}  // namespace
