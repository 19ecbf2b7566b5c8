// Copyright (c) 2026 The glissa authors
// SPDX-License-Identifier: MIT

#include "corvekit/object/class_frame.h"
#include "corvekit/object/property.h"

#include <gtest/gtest.h>

#include <string>

namespace
{
std::string gSteps;  // the steps of an object's end, in order

class Shape : public KClassFrame<Shape, KObject>
{
public:
    static constexpr char kClassName[] = "Shape";
};

class Circle : public KClassFrame<Circle, Shape>
{
public:
    static constexpr char kClassName[] = "Circle";
    Circle()
    {
        static const KPropertyInfo radius("Radius", KDataTypeNumber);
        static const KPropertyInfo name("Name", KDataTypeString);
        mRadius = radius;
        mName = name;
        mRadius.SetPropertyInfo(this, nullptr, nullptr);
        AddProperty(&mRadius);
        AddProperty(&mName);
    }
    Circle(const Circle& pOther) : Circle() { *this = pOther; }
    Circle& operator=(const Circle&) = default;
    ~Circle() override { EndObject(); }

    void SystemDetach() override { gSteps += "detach "; }
    void PrepareDestruct() override { gSteps += "prepare "; }
    void Destruct() override
    {
        gSteps += "destruct ";
        KObject::Destruct();
    }

    KPropertyTemplate<double> mRadius{1.0};
    KPropertyTemplate<KString> mName;
};

TEST(KObject, IsOfItsClassAndOfTheClassesAboveIt)
{
    const Circle circle;
    const KObject& object = circle;
    const KClassDefinition* const definition = object.GetClassDefinition();
    for (const int id : {Circle::ClassId, Shape::ClassId, KObject::ClassId}) {
        EXPECT_TRUE(object.Is(id) && definition->Is(id));
    }
    EXPECT_FALSE(object.Is(0) || definition->Is(0));
    EXPECT_FALSE(Shape().Is(Circle::ClassId) || Shape::ClassDefinition.Is(Circle::ClassId));
    EXPECT_EQ(definition, KClassDefinition::Find("Circle"));
    EXPECT_EQ(definition, KClassDefinition::Find(Circle::ClassId));
}

TEST(KObject, RunsTheStepsOfItsEndOnce)
{
    gSteps.clear();
    (new Circle)->Destroy(0);
    EXPECT_EQ("detach prepare destruct ", gSteps);

    gSteps.clear();
    {
        Circle circle;
        circle.Destruct();
        EXPECT_EQ(eObjectFlagDestructed, circle.GetObjectFlags());
        EXPECT_EQ(0, circle.GetPropertyCount());
    }
    EXPECT_EQ("destruct ", gSteps);
}

TEST(KObject, FindsItsOwnPropertiesByName)
{
    Circle first;
    Circle second;
    for (Circle* each : {&first, &second, &first}) {
        EXPECT_EQ(&each->mName, each->FastFindPropertyByName("Name"));
        EXPECT_EQ(&each->mRadius, each->FastFindPropertyByName("Radius"));
    }
    // The list of an object may differ from that of others of its class.
    EXPECT_TRUE(second.RemoveProperty(&second.mRadius));
    EXPECT_EQ(nullptr, second.FastFindPropertyByName("Radius"));
    EXPECT_EQ(&second.mName, second.FastFindPropertyByName("Name"));
}

TEST(KObject, APropertyIsInOneListUntilItOrTheObjectEnds)
{
    KPropertyTemplate<int> outlives;
    Shape shape;
    {
        KPropertyTemplate<int> property;
        EXPECT_TRUE(shape.AddProperty(&property));
        EXPECT_FALSE(shape.AddProperty(&property) || shape.AddProperty(nullptr));
        Shape other;
        EXPECT_TRUE(other.AddProperty(&property) && other.AddProperty(&outlives));
        EXPECT_EQ(nullptr, shape.GetPropertyAt(0));
        EXPECT_TRUE(shape.AddProperty(&property));
        EXPECT_FALSE(other.RemoveProperty(&property));
    }
    EXPECT_EQ(0, shape.GetPropertyCount());
}

TEST(KObject, ACopyHasTheNameAndTheValuesInPropertiesOfItsOwn)
{
    Circle circle;
    circle.SetObjectName("named");
    circle.mRadius = 5.0;
    Circle copy(circle);
    copy.mRadius = 6.0;
    EXPECT_STREQ("named", copy.GetObjectName());
    EXPECT_EQ(5.0, circle.mRadius.GetValue());
    EXPECT_EQ(&circle, circle.mRadius.GetOwner());
}
}  // namespace
