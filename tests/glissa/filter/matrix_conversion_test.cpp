// Copyright (c) 2026 The glissa authors
// SPDX-License-Identifier: MIT

// The total matrix of a chain is multiplied together here as its definition says; rotations in an
// order are those of RefRotation.

#include "glissa/filter/matrix_converter.h"
#include "glissa/filter/trs.h"
#include "tests/support/curve_test.h"
#include "tests/support/node_stubs.h"
#include "tests/support/ref_rotation.h"

#include <cmath>
#include <limits>
#include <random>

namespace
{
using Converter = GlissaFilterMatrixConverter;
using Cell = Converter::Cell;
using Random = std::mt19937_64;

double Between(Random& pRandom, double pLeast, double pGreatest)
{
    return std::uniform_real_distribution<double>(pLeast, pGreatest)(pRandom);
}

KgeSVector Factors(Random& pRandom)
{
    KgeSVector factors;
    for (int i = 0; i < 3; ++i) {
        factors[i] = Between(pRandom, 0.5, 2.0) * (pRandom() % 3 == 0 ? -1.0 : 1.0);
    }
    return factors;
}

KgeTVector Point(Random& pRandom, double pReach)
{
    return {Between(pRandom, -pReach, pReach), Between(pRandom, -pReach, pReach),
            Between(pRandom, -pReach, pReach)};
}

KgeAMatrix Rotation(const double* pAngles, int pOrder = 0)
{
    const RefRotation reference = RefRotation::OfAngles(pAngles, pOrder);
    KgeAMatrix matrix;
    for (int i = 0; i < 9; ++i) {
        matrix(i / 3, i % 3) = static_cast<double>(reference.m[i / 3][i % 3]);
    }
    return matrix;
}

KgeAMatrix Placed(Random& pRandom, const KgeSVector& pFactors)
{
    return {Point(pRandom, 5.0), KgeRVector(Point(pRandom, 180.0).Data()), pFactors};
}

// Matrices are translations, with bit 1 of the content also rotations and one factor for all axes,
// with bit 2 factors by axis. A third is left out.
Cell RandomCell(Random& pRandom, int pContent, int pAfterScaling)
{
    Cell cell;
    cell.mAllIdentity = false;
    for (int i = 0; i < Converter::kMatrixCount; ++i) {
        const bool isAfter =
            i == eMatrixPostScale || i == eMatrixPostGlobal || i == eMatrixScalingPivot;
        const int content = isAfter ? pAfterScaling : pContent;
        const double factor = Between(pRandom, 0.5, 2.0);
        cell.mMatrix[i] = KgeAMatrix(Point(pRandom, 5.0)) *
                          (content & 1 ? Placed(pRandom, {factor, factor, factor}) : KgeAMatrix()) *
                          (content & 2 ? Placed(pRandom, Factors(pRandom)) : KgeAMatrix());
        cell.mIsIdentity[i] = pRandom() % 3 == 0;
    }
    return cell;
}

KgeAMatrix Total(const Cell& pCell, const KgeAMatrix& pT, const KgeAMatrix& pR,
                 const KgeAMatrix& pS)
{
    const auto c = [&pCell](int pId) { return pCell.Effective(pId); };
    const KgeAMatrix turn =
        c(pCell.mIsIdentity[3] ? 9 : 3) * pR * c(pCell.mIsIdentity[4] ? 10 : 4) * c(8);
    const KgeAMatrix block(pCell.mIsIdentity[8] ? KgeTVector() : turn.GetTranslation());
    return c(0) * c(1) * pT * c(2) * block * c(11) * c(3) * pR * c(4) * c(11).Inverse() * c(12) *
           c(5) * pS * c(6) * c(12).Inverse() * c(7);
}

// Relative to the largest element, or a larger number.
double Distance(const KgeAMatrix& pLeft, const KgeAMatrix& pRight, double pSize = 0.0)
{
    double most = 0.0;
    double size = pSize;
    for (int i = 0; i < 12; ++i) {
        most = std::fmax(most, std::fabs(pLeft(i % 3, i / 3) - pRight(i % 3, i / 3)));
        size = std::fmax(size, std::fabs(pLeft(i % 3, i / 3)));
    }
    return most / size;
}

/// An object with the channels "T", "R" and "S".
struct Object
{
    NodePtr node = MakeJoint();
    GlissaNode* channels[3] = {node->Get(0), MakeChannel(KDataTypeLclRotation, "R").release(),
                               node->Get(1)};

    explicit Object(int pOrder = 0)
    {
        node->Add(channels[1]);
        channels[1]->SetRotationOrder(pOrder);
        for (int axis = 0; axis < 3; ++axis) {
            Curve(2, axis).SetValue(1.0f);
        }
    }
    Object(const Object& pOther) : Object(pOther.channels[1]->GetRotationOrder())
    {
        node->CopyFrom(pOther.node.get(), false);
    }
    Object& operator=(const Object&) = delete;

    Glissa& Curve(int pChannel, int pAxis) const
    {
        return *channels[pChannel]->Get(pAxis)->FCurveGet();
    }
    Object& Fill(Random& pRandom, bool pIsUniform)
    {
        for (double time = 0.0; time < 1.01; time += 0.25) {
            const KgeSVector factors = Factors(pRandom);
            for (int axis = 0; axis < 3; ++axis) {
                const auto angle = static_cast<float>(Between(pRandom, -200.0, 200.0));
                const double factor = factors[pIsUniform ? 0 : axis];
                AddKeys(channels[0]->Get(axis), {{time, angle / 20.0f}});
                AddKeys(channels[1]->Get(axis), {{time, angle}});
                AddKeys(channels[2]->Get(axis), {{time, static_cast<float>(factor)}});
            }
        }
        return *this;
    }
    KgeAMatrix At(KTime pTime, const Cell& pCell) const
    {
        double v[9];
        for (int i = 0; i < 3; ++i) {
            channels[i]->Evaluate(v + 3 * i, pTime);
        }
        return Total(pCell, KgeTMatrix(KgeTVector(v)),
                     Rotation(v + 3, channels[1]->GetRotationOrder()),
                     KgeSMatrix(KgeSVector(v + 6)));
    }
};

constexpr double kAboutZ[3] = {0.0, 0.0, 90.0};

// From Z turned by 90 degrees to nothing around, without what follows the conversion.
Converter Plain(double pPeriod)
{
    Converter filter;
    filter.SetSourceMatrix(eMatrixPreRotate, Rotation(kAboutZ));
    filter.SetResamplingPeriod(Seconds(pPeriod));
    filter.SetApplyUnroll(false);
    filter.SetApplyConstantKeyReducer(false);
    return filter;
}

// The text of the refusal, or of what was done.
std::string Apply(GlissaFilter& pFilter, GlissaNode& pNode)
{
    return pFilter.Apply(pNode, true) ? "done" : pFilter.GetLastErrorString();
}

using MatrixConversion = CurveTest;

// Relative to the lengths in a chain: values are floats, and lengths may nearly cancel.
TEST_F(MatrixConversion, AnObjectKeepsItsMotionInAnotherChain)
{
    Random random(20260101);
    for (int chain = 0; chain < 300; ++chain) {
        SCOPED_TRACE(chain);
        // Factors that differ by axis go through no rotation: a chain cannot make a shear.
        const bool isUniform = chain % 2 == 0;
        const Cell source = RandomCell(random, 1, isUniform ? 1 : 0);
        const Cell destination = RandomCell(random, 1, isUniform ? 1 : 0);
        const int sourceOrder = static_cast<int>(random() % 6);
        const Object before = Object(sourceOrder).Fill(random, isUniform);
        const Object object = before;

        Converter filter;
        for (int i = 0; i < Converter::kMatrixCount; ++i) {
            filter.SetSourceMatrix(EMatrixID(i), source.Effective(i));
            filter.SetDestMatrix(EMatrixID(i), destination.Effective(i));
        }
        filter.SetResamplingPeriod(Seconds(0.125));
        filter.SetSrcRotateOrder(sourceOrder);
        filter.SetDestRotateOrder(static_cast<int>(random() % 6));
        filter.SetApplyConstantKeyReducer(false);
        ASSERT_EQ("done", Apply(filter, *object.node));
        for (double time = 0.0; time <= 1.0; time += 0.125) {
            EXPECT_GT(1e-6, Distance(before.At(Seconds(time), source),
                                     object.At(Seconds(time), destination), 200.0));
        }
    }
}

TEST_F(MatrixConversion, WhatAChainCanMakeIsTakenApartExactly)
{
    Random random(20260102);
    Converter filter;
    for (int chain = 0; chain < 2000; ++chain) {
        SCOPED_TRACE(chain);
        Cell cell = RandomCell(random, 3, 3);
        KgeSVector scaling = Factors(random);
        if (chain % 8 == 0) {  // one flat axis, or two
            scaling[chain / 8 % 3] = scaling[chain / 24 % 3] = 0.0;
        }
        const KgeAMatrix total = Total(cell, KgeAMatrix(Point(random, 9.0)),
                                       Rotation(Point(random, 200.0).Data()), KgeSMatrix(scaling));
        KgeSVector s;
        KgeRVector r;
        KgeTVector t;
        cell.InverseMatrices();
        filter.ExtractTransforms(s, r, t, total, cell);
        cell.InverseMatrices();
        KgeAMatrix again;
        filter.ComputeTotalMatrix(again, cell, KgeTMatrix(t), KgeRMatrix(r), KgeSMatrix(s));
        EXPECT_GT(1e-9, Distance(total, again));
    }
}

TEST_F(MatrixConversion, KeysLieOnThePeriodAndTheLastOneWhereItIsWanted)
{
    constexpr char kPeriod[] = "MatrixConverter, The resampling period is out of range.";
    const struct
    {
        double first, last, period;
        bool isOnMultiples, isExact;
        double start, stop;  // of the filter
        const char* keys;    // of Z, whose value is its time and a right angle
        const char* answer = "done";
    } rows[] = {
        {0, 2, 1, true, true, -9, 9, "0:90 1:91 2:92 "},
        {0, 2.5, 1, true, false, -9, 9, "0:90 1:91 2:92 3:92.5 "},
        {0, 2.02, 1, true, true, -9, 9, "0:90 1:91 2.02:92.02 "},
        {0, 2.03, 1, true, true, -9, 9, "0:90 1:91 2:92 2.03:92.03 "},
        {-1.5, 1, 1, true, true, -9, 9, "-2:88.5 -1:89 0:90 1:91 "},
        {-1.5, 1, 1, false, true, -9, 9, "-1.5:88.5 -0.5:89.5 0.5:90.5 1:91 "},
        {0, 5, 1, true, true, 1.5, 3, "1:91 2:92 3:93 "},
        {0, 5, 0, true, true, -9, 9, "0:0 5:5 ", kPeriod},
        {0, 50, 1e-8, true, true, -9, 99, "0:0 50:50 ", kPeriod},
        {0, 5, 1, true, true, 3.9, 3.5, "0:0 5:5 ",  // 3 as a multiple
         "MatrixConverter, The start lies behind the stop."},
    };
    for (const auto& row : rows) {
        SCOPED_TRACE(row.keys);
        const Object object;
        AddKeys(object.channels[1]->Get(2), {{row.first, static_cast<float>(row.first)},
                                             {row.last, static_cast<float>(row.last)}});
        Converter filter = Plain(row.period);
        filter.SetResamplingOnFrameRateMultiple(row.isOnMultiples);
        filter.SetGenerateLastKeyExactlyAtEndTime(row.isExact);
        filter.SetStartTime(Seconds(row.start));
        filter.SetStopTime(Seconds(row.stop));
        filter.SetDestRotateOrder(4);
        const std::string answer = Apply(filter, *object.node);
        EXPECT_EQ(row.answer, answer);
        EXPECT_EQ(answer == "done" ? 4 : 0, object.channels[1]->GetRotationOrder());
        EXPECT_EQ(row.keys, KeysOf(object.Curve(1, 2)));
    }
}

TEST_F(MatrixConversion, KindsComeFromTheKeyBeforeAndLockedChannelsStay)
{
    const LockModeScope mode(eLockModeProperty);
    const Object object;
    Glissa& turn = object.Curve(1, 2);
    for (const unsigned kind : {eInterpolationLinear | 0u, eInterpolationConstant | eConstantNext,
                                eInterpolationConstant | 0u, eInterpolationCubic | eTangentUser,
                                eInterpolationCubic | eTangentTCB}) {
        const int i = turn.KeyGetCount();
        turn.KeySet(i, Seconds(i), static_cast<float>(i * i), kind & 0xF, kind & 0x7F00);
    }
    StubLayer layer;
    layer.mLocked = true;
    object.channels[0]->Get(1)->SetLayerInfo(GlissaLayerInfo(0, &layer));
    // A node that holds a curve of the object too keeps it.
    const NodePtr stranger = MakeWide(0);
    Glissa* const kept[] = {&object.Curve(0, 1), &object.Curve(0, 2)};
    kept[1]->SetOwner(stranger.get());
    Converter filter = Plain(0.5);
    ASSERT_EQ("done", Apply(filter, *object.node));
    EXPECT_EQ(kept[0], &object.Curve(0, 1));
    EXPECT_NE(kept[1], &object.Curve(0, 2));
    Glissa& made = object.Curve(1, 2);
    const unsigned kinds[] = {0x104, 0x104, 0x102, 0x102, 0x2, 0x2, 0x408, 0x408, 0x208};
    ASSERT_EQ(9, made.KeyGetCount());
    for (int i = 0; i < 9; ++i) {
        EXPECT_EQ(kinds[i], made.InternalPriKeyAttrGetPtr(i)->mFlags & 0xF0F) << i;
    }
    // Through the two neighbours, half a second away.
    EXPECT_FLOAT_EQ(made.KeyGetValue(8) - made.KeyGetValue(6), made.KeyGetRightDerivative(7));
}

TEST_F(MatrixConversion, UserSlopesAreThoseOfTheUnrolledCurve)
{
    const Object object;
    Glissa& turn = object.Curve(1, 2);
    for (int i = 0; i < 5; ++i) {
        turn.KeySet(i, Seconds(i), 60.0f + 20.0f * static_cast<float>(i), eInterpolationCubic,
                    eTangentUser);
    }
    Converter filter = Plain(1.0);
    filter.SetApplyUnroll(true);
    ASSERT_EQ("done", Apply(filter, *object.node));
    for (int i = 0; i < 5; ++i) {  // 150 to 230 degrees, from 190 on wrapped before the unrolling
        EXPECT_NEAR(20.0f, object.Curve(1, 2).KeyGetRightDerivative(i), 1e-3) << i;
    }
}

TEST_F(MatrixConversion, EqualChainsAreRefusedAndTheRotationIsUnrolledAllTheSame)
{
    Converter filter = Plain(0.0);
    for (const bool isSingular : {false, true}) {
        const Object object;
        AddKeys(object.channels[1]->Get(0), {{0.0, 10.0f}, {1.0, 350.0f}});
        filter.Reset();  // the flags count, whatever is stored
        filter.SetResamplingPeriod(Seconds(1.0));
        const KgeSMatrix flat(KgeSVector(1.0, isSingular ? 0.0 : 1.0, 1.0));
        filter.SetSourceMatrix(eMatrixPostScale, flat);
        filter.SetDestMatrix(eMatrixPostScale, flat);
        EXPECT_EQ("MatrixConverter, No key were changed by filter.", Apply(filter, *object.node));
        EXPECT_FLOAT_EQ(-10.0f, object.Curve(1, 0).Evaluate(Seconds(1.0), nullptr));
    }
    KgeAMatrix stored;
    filter.GetSourceMatrix(eMatrixPreRotate, stored);
    EXPECT_NE(KgeAMatrix(), stored);
}

TEST_F(MatrixConversion, APathOfQuaternionsIsSampledAlsoWhereTheNodeIsMuted)
{
    StubLayer layer;
    const Object object;
    GlissaNode& rotation = *object.channels[1];
    rotation.SetUseQuaternion(true);
    rotation.SetLayerInfo(GlissaLayerInfo(0, &layer));
    for (int axis = 0; axis < 3; ++axis) {
        AddKeys(rotation.Get(axis), {{0.0, 0.0f}, {1.0, 100.0f}});
    }
    const RefRotation before = OrientationAt(rotation, Seconds(0.5));
    layer.mMuted = true;
    Converter filter = Plain(0.5);
    ASSERT_EQ("done", Apply(filter, *object.node));
    layer.mMuted = false;
    EXPECT_GT(1e-4, RefDistance(RefRotation::OfAngles(kAboutZ, 0) * before,
                                OrientationAt(rotation, Seconds(0.5))));
}

TEST_F(MatrixConversion, DefaultsAreConvertedAndFlatObjectsKeepTheirRotation)
{
    const Object object;
    object.Curve(1, 2).SetValue(30.0f);
    object.Curve(2, 1).SetValue(0.0f);
    Converter filter = Plain(0.0);  // without keys no period is needed
    ASSERT_EQ("done", Apply(filter, *object.node));
    EXPECT_FLOAT_EQ(120.0f, object.Curve(1, 2).GetValue());
    EXPECT_EQ(0.0f, object.Curve(2, 1).GetValue());

    // The lengths of the axes do not jump where one of them becomes 0.
    Converter sheared = Plain(0.0);
    sheared.SetSourceMatrix(eMatrixPreRotate, KgeAMatrix());
    sheared.SetSourceMatrix(eMatrixPostScale, Rotation(std::vector{0.0, 0.0, 45.0}.data()));
    const Object flat;
    flat.Curve(2, 1).SetValue(2.0f);
    flat.Curve(2, 2).SetValue(0.0f);
    ASSERT_EQ("done", Apply(sheared, *flat.node));
    EXPECT_FLOAT_EQ(std::sqrt(2.5f), flat.Curve(2, 1).GetValue());

    EXPECT_FALSE(filter.Apply(object.Curve(0, 0)));
    EXPECT_STREQ("MatrixConverter, invalid apply method.", filter.GetLastErrorString());
    EXPECT_EQ("MatrixConverter, Missing curve.", Apply(filter, *object.channels[0]));
    filter.SetDestMatrix(eMatrixPreScale, KgeSMatrix(KgeSVector(1.0, 0.0, 1.0)));
    EXPECT_EQ("MatrixConverter, A matrix has no inverse.", Apply(filter, *object.node));
    filter.SetDestMatrix(eMatrixPostScale, KgeSMatrix(KgeSVector(1.0, std::nan(""), 1.0)));
    EXPECT_EQ("MatrixConverter, A matrix is not finite.", Apply(filter, *object.node));
    EXPECT_FLOAT_EQ(120.0f, object.Curve(1, 2).GetValue());
}

TEST_F(MatrixConversion, AConstantTransformReachesEachChannelInItsOwnWay)
{
    Random random(20260103);
    const double angles[3] = {10.0, 80.0, -30.0};
    const KgeAMatrix matrix = KgeAMatrix(KgeTVector(1.0, 2.0, 3.0)) * Rotation(angles) *
                              KgeSMatrix(KgeSVector(2.0, -3.0, 0.5));
    for (int order = 0; order < 6; ++order) {
        const Object before = Object(order).Fill(random, false);
        const Object object = before;
        GlissaFilterTRS filter;
        EXPECT_FALSE(filter.Apply(*object.channels[0], true));
        filter.SetR(180.0, -180.0, 540.0);  // no rotation either
        EXPECT_FALSE(filter.Apply(*object.channels[0], true));
        filter.SetT(1.0, 2.0, 3.0);
        filter.SetR(angles[0], angles[1], angles[2]);
        filter.SetS(2.0, -3.0, 0.5);
        for (GlissaNode* const channel : object.channels) {
            EXPECT_TRUE(filter.Apply(*channel, true));
        }
        for (int frame = 0; frame <= 30; ++frame) {
            const KTime time = KTime::GetOneFrameValue(eTimeMode30) * frame;
            double was[3][3];
            double is[3][3];
            for (int i = 0; i < 3; ++i) {
                before.channels[i]->Evaluate(was[i], time);
                object.channels[i]->Evaluate(is[i], time);
            }
            EXPECT_GT(2e-5, (matrix * KgeTVector(was[0]) - KgeTVector(is[0])).Length());
            EXPECT_GT(1e-4, RefDistance(RefRotation::OfAngles(angles, 0) *
                                            RefRotation::OfAngles(was[1], order),
                                        RefRotation::OfAngles(is[1], order)));
            EXPECT_FLOAT_EQ(static_cast<float>(-3.0 * was[2][1]), static_cast<float>(is[2][1]));
        }
    }
    // One key: the default value becomes the translation itself, the key is moved.
    const Object object;
    AddKeys(object.channels[0]->Get(1), {{1.0, 5.0f}});
    GlissaFilterTRS filter;
    filter.SetT(1.0, 2.0, 3.0);
    EXPECT_EQ("done", Apply(filter, *object.channels[0]));
    filter.SetS(1.0, std::numeric_limits<double>::infinity(), 1.0);
    EXPECT_EQ("TRS Filter. A parameter is not finite.", Apply(filter, *object.channels[0]));
    EXPECT_FALSE(filter.Apply(object.Curve(0, 0)));
    EXPECT_STREQ("TRS Filter. Unexpected", filter.GetLastErrorString());
    EXPECT_EQ("1:7 ", KeysOf(object.Curve(0, 1)));
    EXPECT_EQ(1.0f, object.Curve(0, 0).GetValue());
    EXPECT_EQ(Seconds(1.0), filter.GetStartTime());
}
}  // namespace
