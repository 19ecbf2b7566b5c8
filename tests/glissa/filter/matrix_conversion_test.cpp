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
using Random = std::mt19937_64;

double Between(Random& pRandom, double pLeast, double pGreatest)
{
    return std::uniform_real_distribution<double>(pLeast, pGreatest)(pRandom);
}

double Factor(Random& pRandom)
{
    return Between(pRandom, 0.5, 2.0) * (pRandom() % 3 == 0 ? -1.0 : 1.0);
}

KgeTVector Point(Random& pRandom, double pReach)
{
    return {Between(pRandom, -pReach, pReach), Between(pRandom, -pReach, pReach),
            Between(pRandom, -pReach, pReach)};
}

KgeAMatrix Rotation(const double* pAngles, int pOrder)
{
    const RefRotation reference = RefRotation::OfAngles(pAngles, pOrder);
    KgeAMatrix matrix;
    for (int i = 0; i < 9; ++i) {
        matrix(i / 3, i % 3) = static_cast<double>(reference.m[i / 3][i % 3]);
    }
    return matrix;
}

/// What the constant matrices of a chain may hold.
enum class Content
{
    similarity,  ///< a translation, a rotation and one factor for all axes
    translation,
    anything,
};

KgeAMatrix RandomMatrix(Random& pRandom, Content pContent)
{
    KgeAMatrix matrix(Point(pRandom, 5.0));
    if (pContent == Content::translation) {
        return matrix;
    }
    const double factor = Between(pRandom, 0.5, 2.0);
    matrix = KgeAMatrix(matrix.GetTranslation(), KgeRVector(Point(pRandom, 180.0).Data()),
                        KgeSVector(factor, factor, factor));
    return pContent == Content::similarity
               ? matrix
               : matrix * KgeAMatrix(KgeTVector(), KgeRVector(Point(pRandom, 180.0).Data()),
                                     KgeSVector(Factor(pRandom), Factor(pRandom), Factor(pRandom)));
}

using Cell = Converter::Cell;

// A third of the matrices is left out.
Cell RandomCell(Random& pRandom, Content pContent, Content pAfterScaling)
{
    Cell cell;
    for (int i = 0; i < Converter::kMatrixCount; ++i) {
        const bool isAfter =
            i == eMatrixPostScale || i == eMatrixPostGlobal || i == eMatrixScalingPivot;
        cell.mMatrix[i] = RandomMatrix(pRandom, isAfter ? pAfterScaling : pContent);
        cell.mIsIdentity[i] = pRandom() % 3 == 0;
    }
    cell.mAllIdentity = false;
    return cell;
}

KgeAMatrix Total(const Cell& pCell, const KgeAMatrix& pT, const KgeAMatrix& pR,
                 const KgeAMatrix& pS)
{
    const auto c = [&pCell](int pId) { return pCell.Effective(pId); };
    const KgeAMatrix before = pCell.mIsIdentity[3] ? c(9) : c(3);
    const KgeAMatrix after = pCell.mIsIdentity[4] ? c(10) : c(4);
    KgeAMatrix block;
    if (!pCell.mIsIdentity[8]) {
        block.SetTranslation((before * pR * after * c(8)).GetTranslation());
    }
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
    NodePtr node{GlissaNodeCreate("Hips", static_cast<KDataType*>(nullptr), eLayerTypeVector,
                                  GlissaLayerInfo::Base)};
    GlissaNode* channels[3];

    explicit Object(int pOrder = 0)
    {
        KDataType* const types[] = {KDataTypeLclTranslation, KDataTypeLclRotation,
                                    KDataTypeLclScaling};
        const char* const names[] = {"T", "R", "S"};
        for (int i = 0; i < 3; ++i) {
            channels[i] = MakeChannel(types[i], names[i]).release();
            node->Add(channels[i]);
            for (int axis = 0; axis < 3 && i == 2; ++axis) {
                Curve(2, axis).SetValue(1.0f);
            }
        }
        channels[1]->SetRotationOrder(pOrder);
    }
    Glissa& Curve(int pChannel, int pAxis) const
    {
        return *channels[pChannel]->Get(pAxis)->FCurveGet();
    }
    void Fill(Random& pRandom, bool pIsUniform)
    {
        for (double time = 0.0; time < 1.01; time += 0.25) {
            const auto factor = static_cast<float>(Factor(pRandom));
            for (int axis = 0; axis < 3; ++axis) {
                const auto angle = static_cast<float>(Between(pRandom, -200.0, 200.0));
                AddKeys(channels[0]->Get(axis), {{time, angle / 20.0f}});
                AddKeys(channels[1]->Get(axis), {{time, angle}});
                AddKeys(channels[2]->Get(axis),
                        {{time, pIsUniform ? factor : static_cast<float>(Factor(pRandom))}});
            }
        }
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

RefRotation OrientationAt(GlissaNode& pRotation, KTime pTime)
{
    double angles[3];
    pRotation.GeneralEvaluate(angles, pTime);
    return RefRotation::OfAngles(angles, pRotation.GetRotationOrder());
}

void SetCells(Converter& pFilter, const Cell& pSource, const Cell& pDestination)
{
    for (int i = 0; i < Converter::kMatrixCount; ++i) {
        pFilter.SetSourceMatrix(EMatrixID(i), pSource.Effective(i));
        pFilter.SetDestMatrix(EMatrixID(i), pDestination.Effective(i));
    }
}

using MatrixConversion = CurveTest;

// Relative to the lengths in the chain: values are floats, and lengths may nearly cancel.
TEST_F(MatrixConversion, AnObjectKeepsItsMotionInAnotherChain)
{
    Random random(20260101);
    for (int chain = 0; chain < 300; ++chain) {
        SCOPED_TRACE(chain);
        // Factors that differ by axis go through no rotation: a chain cannot make a shear.
        const bool isUniform = chain % 2 == 0;
        const Content after = isUniform ? Content::similarity : Content::translation;
        const Cell source = RandomCell(random, Content::similarity, after);
        const Cell destination = RandomCell(random, Content::similarity, after);
        const int sourceOrder = static_cast<int>(random() % 6);
        const Object object(sourceOrder);
        const_cast<Object&>(object).Fill(random, isUniform);
        const Object before(sourceOrder);
        before.node->CopyFrom(object.node.get(), false);

        Converter filter;
        SetCells(filter, source, destination);
        filter.SetResamplingPeriod(Seconds(0.125));
        filter.SetSrcRotateOrder(sourceOrder);
        filter.SetDestRotateOrder(static_cast<int>(random() % 6));
        filter.SetApplyConstantKeyReducer(false);
        ASSERT_TRUE(filter.Apply(*object.node, true)) << filter.GetLastErrorString();
        for (double time = 0.0; time <= 1.0; time += 0.125) {
            double values[3];
            object.channels[0]->Evaluate(values, Seconds(time));
            const KgeAMatrix outer = destination.Effective(0) * destination.Effective(1);
            double reach = outer.GetAxis(0).Length() * KgeTVector(values).Length();
            for (int i = 0; i < Converter::kMatrixCount; ++i) {
                reach += destination.Effective(i).GetTranslation().Length();
            }
            EXPECT_NEAR(0.0,
                        Distance(before.At(Seconds(time), source),
                                 object.At(Seconds(time), destination), reach),
                        1e-6)
                << time;
        }
    }
}

TEST_F(MatrixConversion, WhatAChainCanMakeIsTakenApartExactly)
{
    Random random(20260102);
    Converter filter;
    for (int chain = 0; chain < 2000; ++chain) {
        SCOPED_TRACE(chain);
        Cell cell = RandomCell(random, Content::anything, Content::anything);
        KgeSVector scaling(Factor(random), Factor(random), Factor(random));
        if (chain % 8 == 0) {
            scaling[chain / 8 % 3] = 0.0;  // one flat axis, or two
            scaling[chain / 24 % 3] = 0.0;
        }
        const KgeAMatrix rotation = Rotation(Point(random, 200.0).Data(), 0);
        const KgeAMatrix total =
            Total(cell, KgeAMatrix(Point(random, 9.0)), rotation, KgeSMatrix(scaling));
        KgeSVector s;
        KgeRVector r;
        KgeTVector t;
        cell.InverseMatrices();
        filter.ExtractTransforms(s, r, t, total, cell);
        cell.InverseMatrices();
        KgeAMatrix again;
        filter.ComputeTotalMatrix(again, cell, KgeTMatrix(t), KgeRMatrix(r), KgeSMatrix(s));
        EXPECT_NEAR(0.0, Distance(total, again), 1e-9);
    }
}

Cell Turned()
{
    Cell cell;
    cell.mMatrix[eMatrixPreRotate] = Rotation(std::vector{0.0, 0.0, 90.0}.data(), 0);
    cell.mIsIdentity[eMatrixPreRotate] = false;
    return cell;
}

// From Z turned by 90 degrees to nothing around, without what follows the conversion.
Converter Plain(double pPeriod)
{
    Converter filter;
    SetCells(filter, Turned(), Cell());
    filter.SetResamplingPeriod(Seconds(pPeriod));
    filter.SetApplyUnroll(false);
    filter.SetApplyConstantKeyReducer(false);
    return filter;
}

TEST_F(MatrixConversion, KeysLieOnThePeriodAndTheLastOneWhereItIsWanted)
{
    struct Row
    {
        double first, last, period;
        bool isOnMultiples, isExact;
        double start, stop;  // of the filter
        const char* keys;    // of Z, whose value is its time; or, behind "!", the refusal
    };
    constexpr char kPeriod[] = "!MatrixConverter, The resampling period is out of range.";
    for (const Row& row : {
             Row{0, 2, 1, true, true, -9, 9, "0:90 1:91 2:92 "},
             Row{0, 2.5, 1, true, false, -9, 9, "0:90 1:91 2:92 3:92.5 "},
             Row{0, 2.02, 1, true, true, -9, 9, "0:90 1:91 2.02:92.02 "},
             Row{0, 2.03, 1, true, true, -9, 9, "0:90 1:91 2:92 2.03:92.03 "},
             Row{-1.5, 1, 1, true, true, -9, 9, "-2:88.5 -1:89 0:90 1:91 "},
             Row{-1.5, 1, 1, false, true, -9, 9, "-1.5:88.5 -0.5:89.5 0.5:90.5 1:91 "},
             Row{0, 5, 1, true, true, 1.5, 3, "1:91 2:92 3:93 "},
             Row{0, 5, 0, true, true, -9, 9, kPeriod},
             Row{0, 50, 1e-8, true, true, -9, 99, kPeriod},
             Row{0, 5, 1, true, true, 3.9, 3.5,  // 3 as a multiple
                 "!MatrixConverter, The start lies behind the stop."},
         }) {
        SCOPED_TRACE(row.keys);
        Object object;
        AddKeys(object.channels[1]->Get(2), {{row.first, static_cast<float>(row.first)},
                                             {row.last, static_cast<float>(row.last)}});
        Converter filter = Plain(row.period);
        filter.SetResamplingOnFrameRateMultiple(row.isOnMultiples);
        filter.SetGenerateLastKeyExactlyAtEndTime(row.isExact);
        filter.SetStartTime(Seconds(row.start));
        filter.SetStopTime(Seconds(row.stop));
        filter.SetDestRotateOrder(4);
        const Glissa* const before = &object.Curve(1, 2);
        const bool isRefused = row.keys[0] == '!';
        EXPECT_EQ(!isRefused, filter.Apply(*object.node, true));
        EXPECT_EQ(isRefused, before == &object.Curve(1, 2));
        EXPECT_EQ(isRefused ? 0 : 4, object.channels[1]->GetRotationOrder());
        EXPECT_EQ(isRefused ? row.keys + 1 : row.keys,
                  isRefused ? filter.GetLastErrorString() : KeysOf(object.Curve(1, 2)));
    }
}

TEST_F(MatrixConversion, KindsComeFromTheKeyBeforeAndLockedChannelsStay)
{
    Object object;
    Glissa& turn = object.Curve(1, 2);
    for (const unsigned kind : {eInterpolationLinear | 0u, eInterpolationConstant | eConstantNext,
                                eInterpolationConstant | 0u, eInterpolationCubic | eTangentUser,
                                eInterpolationCubic | eTangentTCB}) {
        const int i = turn.KeyGetCount();
        turn.KeySet(i, Seconds(i), static_cast<float>(i * i), kind & 0xF, kind & 0x7F00);
    }
    AddKeys(object.channels[0]->Get(0), {{0.0, 0.0f}, {4.0, 8.0f}});
    object.Curve(0, 0).SetValue(7.0f);
    const LockModeScope mode(eLockModeProperty);
    const KPropertyInfo info("Y", KDataTypeNumber);
    KPropertyTemplate<double> locked;
    locked.SetPropertyInfo(&info);
    locked.SetFlags(ePropertyFlagLockAll);
    object.channels[0]->Get(1)->SetProperty(&locked);
    const Glissa* const kept = &object.Curve(0, 1);
    Converter filter = Plain(0.5);
    filter.SetStopTime(Seconds(4.0));
    // A node that holds a curve of the object too keeps it.
    const NodePtr stranger(GlissaNodeCreate("X", KDataTypeNumber, 0, GlissaLayerInfo::Base));
    Glissa* const shared = &object.Curve(0, 2);
    shared->SetOwner(stranger.get());
    ASSERT_TRUE(filter.Apply(*object.node, true));
    EXPECT_NE(shared, &object.Curve(0, 2));
    const Glissa& made = object.Curve(1, 2);
    const unsigned kinds[] = {0x104, 0x104, 0x102, 0x102, 0x2, 0x2, 0x408, 0x408, 0x208};
    ASSERT_EQ(9, made.KeyGetCount());
    for (int i = 0; i < 9; ++i) {
        EXPECT_EQ(kinds[i], made.InternalPriKeyAttrGetPtr(i)->mFlags & 0xF0F) << i;
    }
    // Through the two neighbours, half a second away.
    EXPECT_FLOAT_EQ(made.KeyGetValue(8) - made.KeyGetValue(6),
                    const_cast<Glissa&>(made).KeyGetRightDerivative(7));
    EXPECT_EQ(kept, &object.Curve(0, 1));
    EXPECT_EQ(7.0f, object.Curve(0, 0).GetValue());

    // Equal chains are refused, but the rotation is unrolled. A flag counts whatever is stored.
    AddKeys(object.channels[1]->Get(0), {{0.0, 10.0f}, {1.0, 350.0f}});
    filter.Reset();
    filter.SetResamplingPeriod(Seconds(1.0));
    KgeAMatrix stored;
    filter.GetDestMatrix(eMatrixPreRotate, stored);
    filter.GetSourceMatrix(eMatrixPreRotate, stored);
    EXPECT_NE(KgeAMatrix(), stored);
    EXPECT_FALSE(filter.Apply(*object.node, true));
    EXPECT_STREQ("MatrixConverter, No key were changed by filter.", filter.GetLastErrorString());
    EXPECT_FLOAT_EQ(-10.0f, object.Curve(1, 0).Evaluate(Seconds(1.0), nullptr));
    const KgeSMatrix flat(KgeSVector(1.0, 0.0, 1.0));
    filter.SetSourceMatrix(eMatrixPostScale, flat);
    filter.SetDestMatrix(eMatrixPostScale, flat);
    EXPECT_FALSE(filter.Apply(*object.node, true));
    EXPECT_STREQ("MatrixConverter, No key were changed by filter.", filter.GetLastErrorString());
}

TEST_F(MatrixConversion, APathOfQuaternionsIsSampledAlsoWhereTheNodeIsMuted)
{
    StubLayer layer;
    const Object object;
    object.channels[1]->SetUseQuaternion(true);
    for (int axis = 0; axis < 3; ++axis) {
        AddKeys(object.channels[1]->Get(axis), {{0.0, 0.0f}, {1.0, 100.0f}});
    }
    const RefRotation before = OrientationAt(*object.channels[1], Seconds(0.5));
    layer.mMuted = true;
    object.channels[1]->SetLayerInfo(GlissaLayerInfo(0, &layer));
    Converter filter = Plain(0.5);
    ASSERT_TRUE(filter.Apply(*object.node, true));
    layer.mMuted = false;
    const RefRotation turn = RefRotation::OfTurn({0, 0, 1}, 90.0L);
    EXPECT_GT(1e-4, RefDistance(turn * before, OrientationAt(*object.channels[1], Seconds(0.5))));
}

TEST_F(MatrixConversion, DefaultsAreConvertedAndFlatObjectsKeepTheirRotation)
{
    Object object;
    object.Curve(1, 2).SetValue(30.0f);
    object.Curve(2, 1).SetValue(0.0f);
    Converter filter = Plain(0.0);  // without keys no period is needed
    ASSERT_TRUE(filter.Apply(*object.node, true));
    EXPECT_FLOAT_EQ(120.0f, object.Curve(1, 2).GetValue());
    EXPECT_EQ(0.0f, object.Curve(2, 1).GetValue());
    EXPECT_EQ(0, object.Curve(1, 2).KeyGetCount());

    // The lengths of the axes do not jump where one of them becomes 0.
    Converter sheared = Plain(0.0);
    sheared.SetSourceMatrix(eMatrixPreRotate, KgeAMatrix());
    sheared.SetSourceMatrix(eMatrixPostScale, Rotation(std::vector{0.0, 0.0, 45.0}.data(), 0));
    Object flat;
    flat.Curve(2, 1).SetValue(2.0f);
    flat.Curve(2, 2).SetValue(0.0f);
    ASSERT_TRUE(sheared.Apply(*flat.node, true));
    EXPECT_FLOAT_EQ(std::sqrt(2.5f), flat.Curve(2, 1).GetValue());

    struct Row
    {
        EMatrixID id;
        double factor;
        const char* refusal;
    };
    for (const Row& row :
         {Row{eMatrixPreScale, 0.0, "MatrixConverter, A matrix has no inverse."},
          Row{eMatrixPostScale, std::nan(""), "MatrixConverter, A matrix is not finite."}}) {
        const KgeSVector scale(1.0, row.factor, 1.0);
        filter.SetDestMatrix(row.id, KgeSMatrix(scale));
        EXPECT_FALSE(filter.Apply(*object.node, true));
        EXPECT_STREQ(row.refusal, filter.GetLastErrorString());
    }
    EXPECT_FLOAT_EQ(120.0f, object.Curve(1, 2).GetValue());
    EXPECT_FALSE(filter.Apply(object.Curve(0, 0)));
    EXPECT_STREQ("MatrixConverter, invalid apply method.", filter.GetLastErrorString());
    EXPECT_FALSE(Plain(1.0).Apply(*object.channels[0], true));
}

TEST_F(MatrixConversion, AConstantTransformReachesEachChannelInItsOwnWay)
{
    Random random(20260103);
    for (int order = 0; order < 6; ++order) {
        Object object(order);
        object.Fill(random, false);
        const Object before(order);
        before.node->CopyFrom(object.node.get(), false);
        GlissaFilterTRS filter;
        EXPECT_FALSE(filter.Apply(*object.channels[0], true)) << "changes nothing";
        filter.SetR(180.0, -180.0, 540.0);
        EXPECT_FALSE(filter.Apply(*object.channels[0], true)) << "changes nothing";
        filter.SetT(1.0, 2.0, 3.0);
        filter.SetR(10.0, 80.0, -30.0);
        filter.SetS(2.0, -3.0, 0.5);
        for (GlissaNode* const channel : object.channels) {
            EXPECT_TRUE(filter.Apply(*channel, true));
        }
        const RefRotation turn = RefRotation::OfAngles(std::vector{10.0, 80.0, -30.0}.data(), 0);
        const KgeAMatrix matrix = KgeAMatrix(KgeTVector(1.0, 2.0, 3.0)) *
                                  Rotation(std::vector{10.0, 80.0, -30.0}.data(), 0) *
                                  KgeSMatrix(KgeSVector(2.0, -3.0, 0.5));
        for (int frame = 0; frame <= 30; ++frame) {
            const KTime time = KTime::GetOneFrameValue(eTimeMode30) * frame;
            double was[3][3];
            double is[3][3];
            for (int i = 0; i < 3; ++i) {
                before.channels[i]->Evaluate(was[i], time);
                object.channels[i]->Evaluate(is[i], time);
            }
            EXPECT_GT(2e-5, (matrix * KgeTVector(was[0]) - KgeTVector(is[0])).Length());
            EXPECT_GT(1e-4, RefDistance(turn * RefRotation::OfAngles(was[1], order),
                                        RefRotation::OfAngles(is[1], order)));
            EXPECT_FLOAT_EQ(static_cast<float>(-3.0 * was[2][1]), static_cast<float>(is[2][1]));
        }
    }
}

// One key: the default value becomes the translation itself, the key is moved. Times of a channel
// that the first one does not have stay.
TEST_F(MatrixConversion, AConstantTransformOfOneKey)
{
    Object object;
    AddKeys(object.channels[0]->Get(1), {{1.0, 5.0f}});
    GlissaFilterTRS filter;
    filter.SetT(1.0, 2.0, 3.0);
    EXPECT_TRUE(filter.Apply(*object.channels[0], false));
    EXPECT_EQ("1:7 ", KeysOf(object.Curve(0, 1)));
    EXPECT_EQ(1.0f, object.Curve(0, 0).GetValue());
    EXPECT_EQ(2.0f, object.Curve(0, 1).GetValue());
    EXPECT_EQ(Seconds(1.0), filter.GetStartTime());
    filter.Reset();
    filter.SetS(1.0, std::numeric_limits<double>::infinity(), 1.0);
    EXPECT_FALSE(filter.Apply(*object.channels[0], false));
    EXPECT_STREQ("TRS Filter. A parameter is not finite.", filter.GetLastErrorString());
    EXPECT_EQ(GlissaFilterTRS::kNotFinite, filter.GetLastErrorID());
    EXPECT_FALSE(filter.Apply(object.Curve(0, 0)));
    EXPECT_STREQ("TRS Filter. Unexpected", filter.GetLastErrorString());
    EXPECT_EQ("1:7 ", KeysOf(object.Curve(0, 1)));
}
}  // namespace
