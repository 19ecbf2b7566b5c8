// Copyright (c) 2026 The glissa authors
// SPDX-License-Identifier: MIT

#include "corvekit/store/tdf.h"

#include <gtest/gtest.h>

#include <bit>
#include <cfloat>
#include <climits>
#include <cmath>
#include <limits>
#include <random>
#include <span>
#include <sstream>
#include <string>
#include <string_view>
#include <vector>

namespace
{
constexpr std::int64_t kLeast = std::numeric_limits<std::int64_t>::min();
constexpr std::int64_t kGreatest = std::numeric_limits<std::int64_t>::max();

// Every reading below is done on the document written and on the one that comes back from a file.
KTdf SavedAndLoaded(KTdf& pTdf)
{
    std::stringstream stream;
    EXPECT_TRUE(pTdf.Save(stream)) << pTdf.GetError().GetLastErrorString();
    KTdf loaded;
    EXPECT_TRUE(loaded.Load(stream)) << loaded.GetError().GetLastErrorString();
    return loaded;
}

void WriteField(KTdf& pTdf, const char* pName, int pValue)
{
    EXPECT_TRUE(pTdf.FieldWriteBegin(pName));
    EXPECT_TRUE(pTdf.FieldWriteI(pValue));
    EXPECT_TRUE(pTdf.FieldWriteEnd());
}

TEST(Tdf, NumbersComeBackBitByBit)
{
    const int ints[] = {0, 1, -1, 23, 24, -24, -25, 255, 256, 65535, 65536, INT_MIN, INT_MAX};
    const std::int64_t times[] = {
        0,      -1,       23, 24, -25, 255, 256, 65535, -65537, 1LL << 32, -(1LL << 32) - 1,
        kLeast, kGreatest};
    std::vector<double> doubles = {0.0,         -0.0,     1.0,      0.1,
                                   65504.0,  // the greatest half
                                   65505.0,     65520.0,
                                   0x1p-24,  // the least half
                                   0x1.8p-24,   0x1p-25,
                                   0x1.ffcp-15,  // the greatest half below the normal ones
                                   FLT_MAX,
                                   0x1p-149,  // the least float
                                   0x1.8p-149,  0x1p128,  DBL_MIN,  DBL_MAX,
                                   5e-324,      INFINITY, -INFINITY};
    std::mt19937_64 random(7);
    for (int i = 0; i < 20000; ++i) {
        // Bits of all three widths, few enough set at times to be shorter than they are.
        const std::uint64_t bits = random();
        doubles.push_back(std::bit_cast<double>(bits));
        doubles.push_back(
            static_cast<double>(std::bit_cast<float>(static_cast<std::uint32_t>(bits))));
        doubles.push_back(
            std::ldexp(static_cast<double>(bits >> 52), static_cast<int>(bits % 48) - 30));
    }
    KTdf written;
    written.FieldWriteBegin("I");
    for (const int each : ints) {
        written.FieldWriteI(each);
    }
    written.FieldWriteEnd();
    written.FieldWriteBegin("T");
    for (const std::int64_t each : times) {
        written.FieldWriteT(KTime(each));
    }
    written.FieldWriteEnd();
    written.FieldWriteBegin("D");
    for (const double each : doubles) {
        written.FieldWriteD(each);
    }
    written.FieldWriteEnd();

    KTdf loaded = SavedAndLoaded(written);
    for (KTdf* const tdf : {&written, &loaded}) {
        ASSERT_TRUE(tdf->FieldReadBegin("I"));
        for (const int each : ints) {
            EXPECT_EQ(KTdf::kTypeInt, tdf->FieldReadGetType());
            EXPECT_EQ(each, tdf->FieldReadI());
        }
        tdf->FieldReadEnd();
        ASSERT_TRUE(tdf->FieldReadBegin("T"));
        for (const std::int64_t each : times) {
            EXPECT_EQ(KTdf::kTypeTime, tdf->FieldReadGetType());
            EXPECT_EQ(each, tdf->FieldReadT().Get());
        }
        tdf->FieldReadEnd();
        ASSERT_TRUE(tdf->FieldReadBegin("D"));
        ASSERT_EQ(static_cast<std::int64_t>(doubles.size()), tdf->FieldReadGetRemain());
        for (const double each : doubles) {
            ASSERT_EQ(KTdf::kTypeDouble, tdf->FieldReadGetType());
            const double read = tdf->FieldReadD();
            if (std::isnan(each)) {
                ASSERT_EQ(0x7FF8000000000000u, std::bit_cast<std::uint64_t>(read));
            } else {
                ASSERT_EQ(std::bit_cast<std::uint64_t>(each), std::bit_cast<std::uint64_t>(read));
            }
        }
        tdf->FieldReadEnd();
    }
}

TEST(Tdf, FloatsAreDoublesAndRoundBack)
{
    KTdf tdf;
    tdf.FieldWriteBegin("F");
    for (const double each : {0.1, 1e300, -1e300, 0x1.fffffe8p127, 0x1.ffffffp127}) {
        tdf.FieldWriteD(each);
    }
    tdf.FieldWriteF(0.1f);
    tdf.FieldWriteF(NAN);
    tdf.FieldWriteEnd();
    ASSERT_TRUE(tdf.FieldReadBegin("F"));
    EXPECT_EQ(0.1f, tdf.FieldReadF());
    EXPECT_EQ(INFINITY, tdf.FieldReadF());
    EXPECT_EQ(-INFINITY, tdf.FieldReadF());
    EXPECT_EQ(FLT_MAX, tdf.FieldReadF());
    EXPECT_EQ(INFINITY, tdf.FieldReadF());
    EXPECT_EQ(KTdf::kTypeDouble, tdf.FieldReadGetType());
    EXPECT_EQ(static_cast<double>(0.1f), tdf.FieldReadD());
    EXPECT_TRUE(std::isnan(tdf.FieldReadF()));
}

// A sample is its single values in every respect but speed.
TEST(Tdf, SamplesAreWrittenAsSingleValuesAndReadAsFarAsTheyAreAlike)
{
    std::vector<KTdfSample> samples = {{KTime(kLeast), -0.0f},     {KTime(-25), 0.1f},
                                       {KTime(23), INFINITY},      {KTime(1LL << 32), 0x1p-149f},
                                       {KTime(65536), 0x1.8p-24f}, {KTime(kGreatest), FLT_MAX}};
    for (int i = 0; i < 300; ++i) {
        samples.push_back({KTime(std::int64_t{1} << (i % 63)), std::ldexp(1.0f, i % 40 - 20)});
    }
    for (const std::string letters : {"", "L", "Cn", "Ua\x80", "Uann"}) {
        KTdf batch;
        KTdf single;
        batch.FieldWriteBegin("Key");
        EXPECT_TRUE(batch.FieldWriteSamples(samples, letters));
        batch.FieldWriteD(0.5);
        batch.FieldWriteEnd();
        single.FieldWriteBegin("Key");
        for (const KTdfSample& each : samples) {
            single.FieldWriteT(each.time);
            single.FieldWriteF(each.value);
            for (const char letter : letters) {
                single.FieldWriteCH(letter);
            }
        }
        single.FieldWriteD(0.5);
        single.FieldWriteEnd();
        std::ostringstream batchBytes;
        std::ostringstream singleBytes;
        EXPECT_TRUE(batch.Save(batchBytes) && single.Save(singleBytes));
        EXPECT_EQ(singleBytes.str(), batchBytes.str());

        KTdf loaded = SavedAndLoaded(batch);
        ASSERT_TRUE(loaded.FieldReadBegin("Key"));
        std::vector<KTdfSample> read(samples.size() + 1);
        ASSERT_EQ(2u, loaded.FieldReadSamples(std::span(read).first(2), letters));
        ASSERT_EQ(samples.size() - 2, loaded.FieldReadSamples(std::span(read).subspan(2), letters));
        for (std::size_t i = 0; i < samples.size(); ++i) {
            EXPECT_EQ(samples[i].time, read[i].time);
            EXPECT_EQ(std::bit_cast<unsigned>(samples[i].value),
                      std::bit_cast<unsigned>(read[i].value));
        }
        EXPECT_EQ(1, loaded.FieldReadGetRemain());
        EXPECT_EQ(0u, loaded.FieldReadSamples(read, letters));
        EXPECT_EQ(0.5, loaded.FieldReadD());
    }
}

// What is short moves next to what is long, in whatever order they come, and all are saved again.
TEST(Tdf, FieldsOfAllLengthsLoadAndSaveToTheSameBytes)
{
    KTdf tdf;
    for (const int count : {1, 0, 40, 3, 100000, 2, 3000, 900000}) {
        EXPECT_TRUE(tdf.FieldWriteBegin(("of " + std::to_string(count)).c_str()));
        for (int i = 0; i < count; ++i) {
            tdf.FieldWriteT(KTime(std::int64_t{1} << (i % 63)));
        }
        EXPECT_TRUE(tdf.FieldWriteBlockBegin());
        WriteField(tdf, "inner", count);
        EXPECT_TRUE(tdf.FieldWriteBlockEnd() && tdf.FieldWriteEnd());
    }
    KTdf loaded = SavedAndLoaded(tdf);
    const KTdf copy = loaded;
    loaded = KTdf();
    loaded = copy;
    WriteField(loaded, "behind", 5);
    WriteField(tdf, "behind", 5);
    std::ostringstream written;
    std::ostringstream again;
    EXPECT_TRUE(tdf.Save(written) && loaded.Save(again));
    EXPECT_TRUE(written.str() == again.str());
    ASSERT_TRUE(loaded.FieldReadBegin("of 900000"));
    for (int i = 0; i < 900000; ++i) {
        ASSERT_EQ(std::int64_t{1} << (i % 63), loaded.FieldReadT().Get());
    }
    EXPECT_TRUE(loaded.FieldReadBlockBegin());
    EXPECT_EQ(900000, loaded.FieldReadI("inner", 0));
}

TEST(Tdf, InstancesAreWalkedInOrderWhateverStandsBetween)
{
    KTdf written;
    WriteField(written, "Channel", 0);
    WriteField(written, "LayerID", 100);
    WriteField(written, "Channel", 1);
    WriteField(written, "", 50);
    WriteField(written, "Channel", 2);
    KTdf loaded = SavedAndLoaded(written);
    for (KTdf* const tdf : {&written, &loaded}) {
        EXPECT_EQ(5, tdf->FieldGetCount());
        EXPECT_EQ(3, tdf->FieldGetInstanceCount("Channel"));
        EXPECT_EQ(1, tdf->FieldGetInstanceCount(nullptr));
        EXPECT_EQ(0, tdf->FieldGetInstanceCount("channel"));

        EXPECT_EQ(100, tdf->FieldReadI("LayerID", -1));  // read out of the order written
        for (int i = 0; i < 3; ++i) {
            ASSERT_TRUE(tdf->FieldReadBegin("Channel"));
            EXPECT_EQ(i, tdf->FieldReadI());
            tdf->FieldReadEnd();
        }
        EXPECT_FALSE(tdf->FieldReadBegin("Channel"));
        EXPECT_FALSE(tdf->FieldReadBegin("Channel"));
        EXPECT_EQ(-1, tdf->FieldReadI("LayerID", -1));  // its one instance was read

        EXPECT_FALSE(tdf->FieldReadBegin("Channel", 3));
        EXPECT_FALSE(tdf->FieldReadBegin("Channel", -1));
        ASSERT_TRUE(tdf->FieldReadBegin("Channel", 0));
        tdf->FieldReadEnd();
        EXPECT_EQ(1, tdf->FieldReadI("Channel", -1));  // the walk goes on behind it

        tdf->FieldReadRewind();
        EXPECT_EQ(0, tdf->FieldReadI("Channel", -1));
        tdf->FieldReadRewind();
        const struct
        {
            const char* name;
            int value;
        } order[] = {{"Channel", 0}, {"LayerID", 100}, {"Channel", 1}, {"", 50}, {"Channel", 2}};
        for (const auto& each : order) {
            ASSERT_TRUE(tdf->FieldReadBeginNext());
            EXPECT_EQ(KString(each.name), tdf->FieldReadGetName());
            EXPECT_EQ(each.value, tdf->FieldReadI());
            tdf->FieldReadEnd();
        }
        EXPECT_FALSE(tdf->FieldReadBeginNext());
        EXPECT_FALSE(tdf->FieldReadBegin("Channel"));  // both ways of opening are one walk
    }
}

// Outer 1 { Inner { Leaf 2 } Leaf 3 Hollow {} } Outer 4, and values in front of the first block
// that are read after it.
TEST(Tdf, BlocksNestAndFieldsOfAnotherBlockAreNotSeen)
{
    KTdf written;
    written.FieldWriteBegin("Outer");
    written.FieldWriteI(1);
    written.FieldWriteI(11);
    written.FieldWriteBlockBegin();
    written.FieldWriteBegin("Inner");
    written.FieldWriteBlockBegin();
    WriteField(written, "Leaf", 2);
    written.FieldWriteBlockEnd();
    written.FieldWriteEnd();
    WriteField(written, "Leaf", 3);
    written.FieldWriteBegin("Hollow");
    written.FieldWriteBlockBegin();
    written.FieldWriteBlockEnd();
    written.FieldWriteEnd();
    written.FieldWriteBlockEnd();
    written.FieldWriteEnd();
    WriteField(written, "Outer", 4);
    KTdf loaded = SavedAndLoaded(written);
    for (KTdf* const tdf : {&written, &loaded}) {
        EXPECT_EQ(-1, tdf->FieldReadI("Leaf", -1));
        ASSERT_TRUE(tdf->FieldReadBegin("Outer"));
        EXPECT_EQ(1, tdf->FieldReadI());
        for (int visit = 0; visit < 2; ++visit) {  // entering a block anew starts its walks
            ASSERT_TRUE(tdf->FieldReadBlockBegin());
            EXPECT_EQ(0, tdf->FieldReadGetRemain());  // the values of Outer are out of reach
            EXPECT_EQ(0, tdf->FieldReadI());
            EXPECT_EQ(3, tdf->FieldGetCount());
            EXPECT_EQ(3, tdf->FieldReadI("Leaf", -1));
            EXPECT_FALSE(tdf->FieldReadBegin("Outer"));
            ASSERT_TRUE(tdf->FieldReadBegin("Leaf", 0));
            EXPECT_FALSE(tdf->FieldReadBlockBegin());
            tdf->FieldReadBlockEnd();  // answers the Begin that failed, and leaves the field open
            EXPECT_EQ(3, tdf->FieldReadI());
            tdf->FieldReadEnd();
            ASSERT_TRUE(tdf->FieldReadBegin("Inner"));
            ASSERT_TRUE(tdf->FieldReadBlockBegin());
            EXPECT_EQ(2, tdf->FieldReadI("Leaf", -1));
            EXPECT_EQ(-1, tdf->FieldReadI("Leaf", -1));
            tdf->FieldReadBlockEnd();
            tdf->FieldReadEnd();
            ASSERT_TRUE(tdf->FieldReadBegin("Hollow"));
            ASSERT_TRUE(tdf->FieldReadBlockBegin());
            EXPECT_EQ(0, tdf->FieldGetCount());
            EXPECT_FALSE(tdf->FieldReadBeginNext());
            tdf->FieldReadBlockEnd();
            tdf->FieldReadEnd();
            tdf->FieldReadBlockEnd();
        }
        EXPECT_EQ(1, tdf->FieldReadGetRemain());
        EXPECT_EQ(11, tdf->FieldReadI());
        tdf->FieldReadEnd();

        // The second Outer has no block: what is looked for inside is not found outside.
        ASSERT_TRUE(tdf->FieldReadBegin("Outer"));
        EXPECT_FALSE(tdf->FieldReadBlockBegin());
        EXPECT_FALSE(tdf->FieldReadBegin("Outer", 0));
        EXPECT_EQ(-1, tdf->FieldReadI("Outer", -1));
        EXPECT_EQ(0, tdf->FieldGetInstanceCount("Outer"));
        tdf->FieldReadBlockEnd();
        EXPECT_EQ(4, tdf->FieldReadI());
        tdf->FieldReadEnd();

        tdf->FieldReadRewind();
        for (const int value : {1, 4}) {  // the next one is a neighbour, not a field inside
            ASSERT_TRUE(tdf->FieldReadBeginNext());
            EXPECT_EQ(value, tdf->FieldReadI());
            tdf->FieldReadEnd();
        }
        EXPECT_FALSE(tdf->FieldReadBeginNext());
    }
}

TEST(Tdf, AWrongTypeGivesANeutralValueAndIsPassedOver)
{
    KTdf tdf;
    const auto write = [&tdf](char pType) {
        switch (pType) {
        case 'I':
            return tdf.FieldWriteI(70000);
        case 'D':
            return tdf.FieldWriteD(0.1);
        case 'T':
            return tdf.FieldWriteT(KTime(1LL << 40));
        case 'C':
            return tdf.FieldWriteCH('x');
        default:
            return tdf.FieldWriteC(pType == 'S' ? "text" : "\xFF");
        }
    };
    const std::string types = "IDTCSB";
    for (const char wanted : types) {
        for (const char found : types) {
            SCOPED_TRACE(std::string(1, wanted) + found);
            tdf.Clear();
            tdf.FieldWriteBegin("Mixed");
            write(found);
            tdf.FieldWriteI(-7);
            tdf.FieldWriteEnd();
            ASSERT_TRUE(tdf.FieldReadBegin("Mixed"));
            const bool same = wanted == found;
            switch (wanted) {
            case 'I':
                EXPECT_EQ(same ? 70000 : 0, tdf.FieldReadI());
                break;
            case 'D':
                EXPECT_EQ(same ? 0.1 : 0.0, tdf.FieldReadD());
                break;
            case 'T':
                EXPECT_EQ(same ? 1LL << 40 : 0, tdf.FieldReadT().Get());
                break;
            case 'C':
                EXPECT_EQ(same ? 'x' : '\0', tdf.FieldReadCH());
                break;
            default:
                EXPECT_STREQ(found == 'S' ? "text" : found == 'B' ? "\xFF" : "", tdf.FieldReadC());
            }
            EXPECT_EQ(1, tdf.FieldReadGetRemain());
            EXPECT_EQ(-7, tdf.FieldReadI());
            EXPECT_EQ(KTdf::kTypeNone, tdf.FieldReadGetType());
            EXPECT_EQ(0, tdf.FieldReadI());  // behind the end
            EXPECT_STREQ("", tdf.FieldReadC());
            EXPECT_EQ(0, tdf.FieldReadGetRemain());
        }
    }
}

TEST(Tdf, WritingOutOfOrderIsRefusedAndSoIsSaving)
{
    // A letter a call: f/F begin and end of a field, b/B of a block, v a value.
    const struct
    {
        const char* calls;
        int id;
    } cases[] = {
        {"v", eTdfErrorMisuse},         {"F", eTdfErrorMisuse},      {"b", eTdfErrorMisuse},
        {"B", eTdfErrorMisuse},         {"ff", eTdfErrorMisuse},     {"fB", eTdfErrorMisuse},
        {"fbv", eTdfErrorMisuse},       {"fbF", eTdfErrorMisuse},    {"fbb", eTdfErrorMisuse},
        {"fbBv", eTdfErrorMisuse},      {"fbBb", eTdfErrorMisuse},   {"fbBB", eTdfErrorMisuse},
        {"fbBf", eTdfErrorMisuse},      {"fFF", eTdfErrorMisuse},    {"fF", KError::kNone},
        {"fbBF", KError::kNone},        {"fvbfvFBF", KError::kNone}, {"", KError::kNone},
        {"f", eTdfErrorFieldOpen},      {"fb", eTdfErrorFieldOpen},  {"fbB", eTdfErrorFieldOpen},
        {"fFfbfF", eTdfErrorFieldOpen},
    };
    for (const auto& each : cases) {
        SCOPED_TRACE(each.calls);
        KTdf tdf;
        bool good = true;
        for (const char call : std::string(each.calls)) {
            ASSERT_TRUE(good);  // it is the last call of a row that fails
            good = call == 'f'   ? tdf.FieldWriteBegin("f")
                   : call == 'F' ? tdf.FieldWriteEnd()
                   : call == 'b' ? tdf.FieldWriteBlockBegin()
                   : call == 'B' ? tdf.FieldWriteBlockEnd()
                                 : tdf.FieldWriteI(1);
        }
        EXPECT_EQ(each.id != eTdfErrorMisuse, good);
        std::ostringstream stream;
        EXPECT_EQ(each.id == KError::kNone, tdf.Save(stream));
        EXPECT_EQ(each.id, tdf.GetError().GetLastErrorID());
        EXPECT_EQ(each.id == KError::kNone, !stream.str().empty());
        if (!good) {
            EXPECT_FALSE(tdf.FieldWriteBegin("f"));
            tdf.Clear();
            EXPECT_TRUE(tdf.FieldWriteBegin("f"));
        }
    }
}

TEST(Tdf, NestingAndNamesEndAtTheirLimitsAndTheLimitsLoad)
{
    KTdf tdf;
    for (int i = 0; i < KTdf::kMaxNesting; ++i) {
        ASSERT_TRUE(tdf.FieldWriteBegin("n"));
        ASSERT_TRUE(tdf.FieldWriteBlockBegin());
    }
    KTdf deeper = tdf;
    ASSERT_TRUE(deeper.FieldWriteBegin("n"));
    EXPECT_FALSE(deeper.FieldWriteBlockBegin());
    EXPECT_EQ(eTdfErrorNesting, deeper.GetError().GetLastErrorID());

    std::string name(KTdf::kMaxNameSize, 'n');
    WriteField(tdf, name.c_str(), 1);
    for (int i = 0; i < KTdf::kMaxNesting; ++i) {
        ASSERT_TRUE(tdf.FieldWriteBlockEnd());
        ASSERT_TRUE(tdf.FieldWriteEnd());
    }
    KTdf loaded = SavedAndLoaded(tdf);
    for (int i = 0; i < KTdf::kMaxNesting; ++i) {
        ASSERT_TRUE(loaded.FieldReadBegin("n"));
        ASSERT_TRUE(loaded.FieldReadBlockBegin());
    }
    EXPECT_EQ(1, loaded.FieldReadI(name.c_str(), -1));
    name += 'n';
    EXPECT_FALSE(tdf.FieldWriteBegin(name.c_str()));
    EXPECT_EQ(eTdfErrorName, tdf.GetError().GetLastErrorID());
}

TEST(Tdf, AWideBlockIsReadInAnyOrderWithoutWalkingItEachTime)
{
    // Walking it for each look-up would be 2 * 10^10 steps, far beyond the patience of a test run.
    constexpr int kCount = 200000;
    KTdf tdf;
    for (int i = 0; i < kCount; ++i) {
        WriteField(tdf, std::to_string(i).c_str(), i);
        WriteField(tdf, "Same", i);
    }
    for (int i = kCount; i-- > 0;) {
        ASSERT_EQ(i, tdf.FieldReadI(std::to_string(i).c_str(), -1));
        ASSERT_TRUE(tdf.FieldReadBegin("Same", i));
        ASSERT_EQ(i, tdf.FieldReadI());
        tdf.FieldReadEnd();
        ASSERT_FALSE(tdf.FieldReadBegin("Missing"));
        ASSERT_EQ(kCount, tdf.FieldGetInstanceCount("Same"));
    }
}
}  // namespace
