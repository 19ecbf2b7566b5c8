// Copyright (c) 2026 The glissa authors
// SPDX-License-Identifier: MIT

#include "corvekit/store/tdf.h"

#include <gtest/gtest.h>

#include <bit>
#include <cfloat>
#include <climits>
#include <cmath>
#include <limits>
#include <optional>
#include <random>
#include <span>
#include <sstream>
#include <string>
#include <vector>

namespace
{
constexpr std::int64_t kLeast = std::numeric_limits<std::int64_t>::min();
constexpr std::int64_t kGreatest = std::numeric_limits<std::int64_t>::max();

std::string Saved(KTdf& pTdf)
{
    std::ostringstream stream;
    EXPECT_TRUE(pTdf.Save(stream)) << pTdf.GetError().GetLastErrorString();
    return stream.str();
}

// Documents are read as they were written and after a save and a load.
KTdf SavedAndLoaded(KTdf& pTdf)
{
    std::istringstream stream(Saved(pTdf));
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

TEST(Tdf, NumbersAreReadBackBitByBit)
{
    const std::int64_t wholes[] = {0,     23,     24,      -24,     -25,       255,    65535,
                                   65536, -65537, INT_MIN, INT_MAX, 1LL << 32, kLeast, kGreatest};
    // The limits of halves and floats, and the doubles next to them.
    std::vector<double> doubles = {-0.0,    65504.0, 65505.0,  65520.0,     0x1p-24,    0x1.8p-24,
                                   0x1p-25, FLT_MAX, 0x1p-149, 0x1.ffcp-15, 0x1.8p-149, 0x1p128,
                                   DBL_MIN, DBL_MAX, 5e-324,   INFINITY};
    std::mt19937_64 random(7);
    for (int i = 0; i < 20000; ++i) {
        // Doubles, floats, and few enough bits for a half.
        const std::uint64_t bits = random();
        doubles.push_back(std::bit_cast<double>(bits));
        doubles.push_back(
            static_cast<double>(std::bit_cast<float>(static_cast<std::uint32_t>(bits))));
        doubles.push_back(
            std::ldexp(static_cast<double>(bits >> 52), static_cast<int>(bits % 48) - 30));
    }
    KTdf written;
    written.FieldWriteBegin("values");
    for (const std::int64_t each : wholes) {
        written.FieldWriteT(KTime(each));
        written.FieldWriteI(static_cast<int>(each));
    }
    for (const double each : doubles) {
        written.FieldWriteD(each);
    }
    written.FieldWriteEnd();
    KTdf loaded = SavedAndLoaded(written);
    for (KTdf* const tdf : {&written, &loaded}) {
        ASSERT_TRUE(tdf->FieldReadBegin("values"));
        for (const std::int64_t each : wholes) {
            ASSERT_EQ(each, tdf->FieldReadT().Get());
            ASSERT_EQ(static_cast<int>(each), tdf->FieldReadI());
        }
        for (const double each : doubles) {
            const std::uint64_t bits =
                std::isnan(each) ? 0x7FF8000000000000u : std::bit_cast<std::uint64_t>(each);
            ASSERT_EQ(bits, std::bit_cast<std::uint64_t>(tdf->FieldReadD())) << each;
        }
        EXPECT_EQ(0, tdf->FieldReadGetRemain());
    }
}

TEST(Tdf, DoublesAreReadAsTheNearestFloat)
{
    const std::pair<double, float> cases[] = {
        {0.1, 0.1f}, {-1e300, -INFINITY}, {0x1.fffffe8p127, FLT_MAX}, {0x1.ffffffp127, INFINITY}};
    KTdf tdf;
    tdf.FieldWriteBegin("values");
    for (const auto& each : cases) {
        tdf.FieldWriteD(each.first);
    }
    tdf.FieldWriteEnd();
    ASSERT_TRUE(tdf.FieldReadBegin("values"));
    for (const auto& each : cases) {
        EXPECT_EQ(each.second, tdf.FieldReadF());
    }
}

// Samples are a faster way to write and read single values.
TEST(Tdf, SamplesAreWrittenAsSingleValuesAndReadWhileTheyHaveTheSameForm)
{
    std::vector<KTdfSample> samples = {
        {KTime(kLeast), -0.0f}, {KTime(-25), INFINITY}, {KTime(kGreatest), FLT_MAX}};
    for (int i = 0; i < 300; ++i) {
        samples.push_back({KTime(std::int64_t{1} << (i % 63)), std::ldexp(0.75f, i % 60 - 30)});
    }
    for (const std::string letters : {"L", "Cn", "Ua\x80", "Uann"}) {
        KTdf batch;
        KTdf single;
        batch.FieldWriteBegin("Key");
        single.FieldWriteBegin("Key");
        EXPECT_TRUE(batch.FieldWriteSamples(samples, letters));
        for (const KTdfSample& each : samples) {
            single.FieldWriteT(each.time);
            single.FieldWriteF(each.value);
            for (const char letter : letters) {
                single.FieldWriteCH(letter);
            }
        }
        for (KTdf* const tdf : {&batch, &single}) {
            tdf->FieldWriteT(KTime(9));
            tdf->FieldWriteF(0.5f);
            tdf->FieldWriteS(KString(std::string(letters.size(), '?')));
            for (std::size_t i = 1; i < letters.size(); ++i) {
                tdf->FieldWriteCH('?');
            }
            tdf->FieldWriteEnd();
        }
        EXPECT_EQ(Saved(single), Saved(batch));

        KTdf loaded = SavedAndLoaded(batch);
        ASSERT_TRUE(loaded.FieldReadBegin("Key"));
        std::vector<KTdfSample> read(samples.size() + 1);
        ASSERT_EQ(2u, loaded.FieldReadSamples(std::span(read).first(2), letters));
        ASSERT_EQ(samples.size() - 2, loaded.FieldReadSamples(std::span(read).subspan(2), letters));
        for (std::size_t i = 0; i < samples.size(); ++i) {
            EXPECT_TRUE(samples[i].time == read[i].time && samples[i].value == read[i].value);
        }
        EXPECT_EQ(9, loaded.FieldReadT().Get());
    }
}

// Loading moves short and long runs of values next to each other, whatever their order.
TEST(Tdf, FieldsOfAllLengthsLoadAndSaveToTheSameBytes)
{
    KTdf tdf;
    for (const int count : {1, 0, 40, 3, 100000, 2, 3000, 900000}) {
        tdf.FieldWriteBegin(std::to_string(count).c_str());
        for (int i = 0; i < count; ++i) {
            tdf.FieldWriteT(KTime(std::int64_t{1} << (i % 63)));
        }
        tdf.FieldWriteBlockBegin();
        WriteField(tdf, "inner", count);
        tdf.FieldWriteBlockEnd();
        tdf.FieldWriteEnd();
    }
    const KTdf loaded = SavedAndLoaded(tdf);
    KTdf copy;
    copy = loaded;
    WriteField(copy, "last", 5);
    WriteField(tdf, "last", 5);
    EXPECT_TRUE(Saved(tdf) == Saved(copy));
}

// A field of a random document: its values are mValue and mValue + 1.
struct ModelField
{
    std::string mName;
    int mValue;
    std::optional<std::vector<ModelField>> mBlock;
};

std::vector<ModelField> RandomFields(std::mt19937& pRandom, int pDepth)
{
    std::vector<ModelField> fields(pRandom() % 6);
    for (ModelField& each : fields) {
        each.mName = std::string(pRandom() % 3, 'n');
        each.mValue = static_cast<int>(pRandom() % 1000);
        if (pDepth > 0 && pRandom() % 2 == 0) {
            each.mBlock = RandomFields(pRandom, pDepth - 1);
        }
    }
    return fields;
}

void Write(KTdf& pTdf, const std::vector<ModelField>& pFields)
{
    for (const ModelField& each : pFields) {
        pTdf.FieldWriteBegin(each.mName.c_str());
        pTdf.FieldWriteI(each.mValue);
        pTdf.FieldWriteI(each.mValue + 1);
        if (each.mBlock) {
            pTdf.FieldWriteBlockBegin();
            Write(pTdf, *each.mBlock);
            pTdf.FieldWriteBlockEnd();
        }
        pTdf.FieldWriteEnd();
    }
}

// Reads the current block in order, then each name's instances, then instances by number.
void ExpectFields(KTdf& pTdf, const std::vector<ModelField>& pFields)
{
    EXPECT_EQ(static_cast<int>(pFields.size()), pTdf.FieldGetCount());
    for (const ModelField& each : pFields) {
        ASSERT_TRUE(pTdf.FieldReadBeginNext());
        EXPECT_EQ(KString(each.mName.c_str()), pTdf.FieldReadGetName());
        EXPECT_EQ(each.mValue, pTdf.FieldReadI());
        EXPECT_FALSE(pTdf.FieldReadBegin(each.mName.c_str(), 0));  // a field is open
        ASSERT_EQ(each.mBlock.has_value(), pTdf.FieldReadBlockBegin());
        if (each.mBlock) {
            EXPECT_EQ(0, pTdf.FieldReadI());  // the values of the field are not seen in its block
            ExpectFields(pTdf, *each.mBlock);
        }
        pTdf.FieldReadBlockEnd();  // without a block: ignored
        EXPECT_EQ(1, pTdf.FieldReadGetRemain());
        EXPECT_EQ(each.mValue + 1, pTdf.FieldReadI());
        pTdf.FieldReadEnd();
    }
    EXPECT_FALSE(pTdf.FieldReadBeginNext());
    for (const char* const name : {"n", "nn", "", "N"}) {
        EXPECT_FALSE(pTdf.FieldReadBegin(name));  // FieldReadBeginNext has opened all instances
    }
    pTdf.FieldReadRewind();
    for (const char* const name : {"n", "nn", "", "N"}) {
        std::vector<int> values;
        for (const ModelField& each : pFields) {
            if (each.mName == name) {
                values.push_back(each.mValue);
            }
        }
        const int count = static_cast<int>(values.size());
        EXPECT_EQ(count, pTdf.FieldGetInstanceCount(name));
        for (const int value : values) {
            EXPECT_EQ(value, pTdf.FieldReadI(name, -1));
        }
        EXPECT_EQ(-1, pTdf.FieldReadI(name, -1));
        for (int i = -1; i <= count; ++i) {
            ASSERT_EQ(i >= 0 && i < count, pTdf.FieldReadBegin(name, i));
            pTdf.FieldReadEnd();
        }
        if (count > 1) {
            pTdf.FieldReadBegin(name, count - 2);
            pTdf.FieldReadEnd();
            EXPECT_EQ(values.back(), pTdf.FieldReadI(name, -1));
        }
    }
}

TEST(Tdf, FieldsAreReadInOrderByNameAndByNumber)
{
    std::mt19937 random(3);
    for (int round = 0; round < 200; ++round) {
        const std::vector<ModelField> fields = RandomFields(random, 4);
        KTdf written;
        Write(written, fields);
        KTdf loaded = SavedAndLoaded(written);
        for (KTdf* const tdf : {&written, &loaded}) {
            ExpectFields(*tdf, fields);
        }
    }
}

TEST(Tdf, AValueOfAnotherTypeIsSkippedAndReadAsANeutralValue)
{
    // Whether the next value is read as it was written, or as the neutral value.
    bool (*const readers[])(KTdf&, bool) = {
        [](KTdf& pTdf, bool pSame) { return pTdf.FieldReadI() == (pSame ? 70000 : 0); },
        [](KTdf& pTdf, bool pSame) { return pTdf.FieldReadD() == (pSame ? 0.1 : 0.0); },
        [](KTdf& pTdf, bool pSame) { return pTdf.FieldReadT().Get() == (pSame ? 1LL << 40 : 0); },
        [](KTdf& pTdf, bool pSame) { return pTdf.FieldReadCH() == (pSame ? 'x' : '\0'); },
        [](KTdf& pTdf, bool pSame) { return pTdf.FieldReadS() == (pSame ? "\xFF" : ""); },
    };
    KTdf tdf;
    tdf.FieldWriteBegin("field");
    tdf.FieldWriteI(70000);
    tdf.FieldWriteD(0.1);
    tdf.FieldWriteT(KTime(1LL << 40));
    tdf.FieldWriteCH('x');
    tdf.FieldWriteC("\xFF");  // a text that is stored as bytes
    tdf.FieldWriteEnd();
    for (std::size_t type = 0; type < std::size(readers); ++type) {
        ASSERT_TRUE(tdf.FieldReadBegin("field", 0));
        for (std::size_t i = 0; i < std::size(readers); ++i) {
            EXPECT_TRUE(readers[type](tdf, i == type)) << type << ' ' << i;
        }
        EXPECT_EQ(KTdf::kTypeNone, tdf.FieldReadGetType());
        EXPECT_TRUE(readers[type](tdf, false));  // after the last value
        tdf.FieldReadEnd();
    }
}

TEST(Tdf, WritingOutOfOrderIsRefusedAndSoIsSaving)
{
    // Sequences of calls, a letter each: f and F begin and end a field, b and B a block, v writes a
    // value. Of the sequences that are refused the last call fails.
    const struct
    {
        int id;
        std::vector<const char*> sequences;
    } cases[] = {
        {KError::kNone, {"", "fF", "fbBF", "fvbfvFBF"}},
        {eTdfErrorFieldOpen, {"f", "fb", "fbB", "fFfbfF"}},
        {eTdfErrorMisuse,
         {"v", "F", "b", "B", "ff", "fB", "fFF", "fbv", "fbF", "fbb", "fbBv", "fbBb", "fbBB",
          "fbBf"}},
    };
    for (const auto& each : cases) {
        for (const std::string calls : each.sequences) {
            SCOPED_TRACE(calls);
            KTdf tdf;
            bool good = true;
            for (const char call : calls) {
                ASSERT_TRUE(good);
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
            EXPECT_TRUE(good || !tdf.FieldWriteBegin("f"));
        }
    }
}

TEST(Tdf, TheGreatestDepthAndTheLongestNameCanBeWrittenAndLoaded)
{
    std::string name(KTdf::kMaxNameSize, 'n');
    KTdf tdf;
    for (int i = 0; i < KTdf::kMaxNesting; ++i) {
        ASSERT_TRUE(tdf.FieldWriteBegin(name.c_str() + (i > 0 ? name.size() : 0)));
        ASSERT_TRUE(tdf.FieldWriteBlockBegin());
    }
    KTdf deeper = tdf;
    ASSERT_TRUE(deeper.FieldWriteBegin("n"));
    EXPECT_FALSE(deeper.FieldWriteBlockBegin());
    EXPECT_EQ(eTdfErrorNesting, deeper.GetError().GetLastErrorID());
    for (int i = 0; i < KTdf::kMaxNesting; ++i) {
        ASSERT_TRUE(tdf.FieldWriteBlockEnd() && tdf.FieldWriteEnd());
    }
    KTdf loaded = SavedAndLoaded(tdf);
    EXPECT_EQ(1, loaded.FieldGetInstanceCount(name.c_str()));
    name += 'n';
    EXPECT_FALSE(tdf.FieldWriteBegin(name.c_str()));
    EXPECT_EQ(eTdfErrorName, tdf.GetError().GetLastErrorID());
}

TEST(Tdf, LookUpsInALargeBlockAreNotLinear)
{
    // A linear search would take 2 * 10^10 steps and reach the time limit of the test.
    constexpr int kCount = 200000;
    KTdf tdf;
    for (int i = 0; i < kCount; ++i) {
        WriteField(tdf, std::to_string(i).c_str(), i);
    }
    for (int i = kCount; i-- > 0;) {
        ASSERT_EQ(i, tdf.FieldReadI(std::to_string(i).c_str(), -1));
        ASSERT_EQ(0, tdf.FieldGetInstanceCount("Missing"));
    }
}
}  // namespace
