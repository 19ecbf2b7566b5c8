// Copyright (c) 2026 The glissa authors
// SPDX-License-Identifier: MIT

// The bytes of a file, and bytes that are refused.

#include "corvekit/store/crc32c.h"
#include "corvekit/store/tdf.h"

#include <gtest/gtest.h>
#include <nlohmann/json.hpp>

#include <cstring>
#include <fstream>
#include <limits>
#include <span>
#include <sstream>
#include <string>
#include <string_view>

namespace
{
using namespace std::string_literals;
using nlohmann::json;

const std::string kHeader = "KTDF\0\0\0\1"s;

// Appends the checksum, so that the faults of a body are found behind it.
std::string Closed(std::string pFile)
{
    const std::uint32_t sum = Crc32c(pFile.data(), pFile.size());
    for (int shift = 24; shift >= 0; shift -= 8) {
        pFile += static_cast<char>(sum >> shift);
    }
    return pFile;
}

bool Load(KTdf& pTdf, std::string_view pBytes)
{
    return pTdf.Load(
        std::span(reinterpret_cast<const std::uint8_t*>(pBytes.data()), pBytes.size()));
}

std::string Saved(KTdf& pTdf)
{
    std::ostringstream stream;
    EXPECT_TRUE(pTdf.Save(stream)) << pTdf.GetError().GetLastErrorString();
    return stream.str();
}

// The document that docs/store-format.md shows byte by byte.
KTdf WorkedExample()
{
    KTdf tdf;
    tdf.FieldWriteBegin("Channel");
    tdf.FieldWriteC("X");
    tdf.FieldWriteBlockBegin();
    tdf.FieldWriteBegin("KeyVer");
    tdf.FieldWriteI(4007);
    tdf.FieldWriteEnd();
    tdf.FieldWriteBegin("Key");
    tdf.FieldWriteT(KTime(-1));
    tdf.FieldWriteD(1.5);
    tdf.FieldWriteCH('L');
    tdf.FieldWriteT(KTime(141120000));
    tdf.FieldWriteF(0.1f);
    tdf.FieldWriteCH('L');
    tdf.FieldWriteD(0.1);
    tdf.FieldWriteS(KString("\xFF"));
    tdf.FieldWriteEnd();
    tdf.FieldWriteBlockEnd();
    tdf.FieldWriteEnd();
    return tdf;
}

TEST(TdfFile, TheFormatPageShowsTheBytesThatAreWritten)
{
    std::ifstream page(GLISSA_SOURCE_DIR "/docs/store-format.md");
    std::string bytes;
    bool inside = false;
    for (std::string line; std::getline(page, line);) {
        if (line.starts_with("```")) {
            inside = line == "```hex";
            continue;
        }
        std::istringstream digits(inside ? line.substr(0, line.find('#')) : "");
        for (std::string each; digits >> each;) {
            bytes += static_cast<char>(std::stoi(each, nullptr, 16));
        }
    }
    KTdf example = WorkedExample();
    EXPECT_EQ(bytes, Saved(example));
    KTdf loaded;
    EXPECT_TRUE(Load(loaded, bytes));
}

// The bytes of one value, taken from a file of one field.
template <class Write>
std::string Encoded(Write pWrite)
{
    KTdf tdf;
    tdf.FieldWriteBegin("");
    pWrite(tdf);
    tdf.FieldWriteEnd();
    const std::string file = Saved(tdf);
    EXPECT_EQ(kHeader + "\x81\x82\x60\x81"s, file.substr(0, 12));
    return file.substr(12, file.size() - 16);
}

TEST(TdfFile, Utf8IsStoredAsTextAndOtherTextAsTaggedBytes)
{
    const struct
    {
        std::string text;
        bool utf8;
    } cases[] = {
        {"12345678\xC3\xA4", true},
        {"\x7F\xC2\x80\xDF\xBF", true},  // the ends of one and two bytes
        {"\xE0\xA0\x80\xED\x9F\xBF\xEE\x80\x80\xEF\xBF\xBF", true},
        {"\xF0\x90\x80\x80\xF4\x8F\xBF\xBF", true},
        {"\xC1\xBF", false},  // overlong in two, three and four bytes
        {"\xE0\x9F\xBF", false},
        {"\xF0\x8F\xBF\xBF", false},
        {"\xED\xA0\x80", false},      // a surrogate
        {"\xF4\x90\x80\x80", false},  // above the last code point
        {"12345678\xE2\x82", false},  // cut
        {"\xC3g", false},
    };
    for (const auto& each : cases) {
        SCOPED_TRACE(each.text);
        std::string expected = each.utf8 ? "\x60" : "\xD9\xCB\x53\x40";
        expected.back() = static_cast<char>(expected.back() | static_cast<char>(each.text.size()));
        expected += each.text;
        EXPECT_EQ(expected, Encoded([&](KTdf& pTdf) { pTdf.FieldWriteS(KString(each.text)); }));
    }
}

TEST(TdfFile, AnUnrelatedDecoderReadsTheBody)
{
    KTdf tdf;
    json expected = json::array();
    const auto addField = [&](json pValues, auto pWrite) {
        tdf.FieldWriteBegin("\xC3\xA4");
        pWrite();
        tdf.FieldWriteEnd();
        expected.push_back({"\xC3\xA4", std::move(pValues)});
    };
    constexpr std::int64_t kLeast = std::numeric_limits<std::int64_t>::min();
    constexpr std::int64_t kGreatest = std::numeric_limits<std::int64_t>::max();
    for (const std::int64_t each : {std::int64_t{0}, std::int64_t{65536}, kLeast, kGreatest}) {
        addField({each}, [&] { tdf.FieldWriteT(KTime(each)); });
    }
    for (const int each : {0, 23, -24, -25, -70000, std::numeric_limits<int>::min()}) {
        addField({each}, [&] { tdf.FieldWriteI(each); });
    }
    for (const double each : {0.0, -1.5, 65504.0, 65505.0, 0x1p-24, 0x1.004p-15, 1e-40, 0.1, 1e300,
                              static_cast<double>(0.1f), -HUGE_VAL}) {
        addField({each}, [&] { tdf.FieldWriteD(each); });
    }
    addField(json::array({json::binary({0xFF})}), [&] { tdf.FieldWriteCH('\xFF'); });
    json times = json::array();
    addField(times, [&] {
        for (int i = 0; i < 70000; ++i) {
            tdf.FieldWriteT(KTime(i));
            times.push_back(i);
        }
    });
    expected.back()[1] = times;
    const std::string text = "\xC3\xA4 and " + std::string(300, 'z');
    addField({text}, [&] {
        tdf.FieldWriteC(text.c_str());
        tdf.FieldWriteBlockBegin();
        tdf.FieldWriteBegin("empty");
        tdf.FieldWriteBlockBegin();
        tdf.FieldWriteBlockEnd();
        tdf.FieldWriteEnd();
        tdf.FieldWriteBlockEnd();
    });
    expected.back().push_back({{"empty", json::array(), json::array()}});

    const std::string file = Saved(tdf);
    ASSERT_EQ(kHeader, file.substr(0, 8));
    const std::string body = file.substr(8, file.size() - 12);
    EXPECT_EQ(Closed(kHeader + body), file);
    EXPECT_TRUE(expected == json::from_cbor(body, true, true, json::cbor_tag_handler_t::ignore));
}

void ExpectRefused(std::string_view pFile, int pId = KError::kNone)
{
    KTdf tdf;
    tdf.FieldWriteBegin("before");
    tdf.FieldWriteEnd();
    ASSERT_FALSE(Load(tdf, pFile));
    EXPECT_TRUE(tdf.IsEmpty());
    EXPECT_EQ(0, tdf.FieldGetCount());
    EXPECT_STRNE("", tdf.GetError().GetLastErrorString());
    EXPECT_GE(tdf.GetError().GetLastErrorOffset(), 0);
    EXPECT_LE(tdf.GetError().GetLastErrorOffset(), static_cast<std::int64_t>(pFile.size()));
    if (pId != KError::kNone) {
        EXPECT_EQ(pId, tdf.GetError().GetLastErrorID()) << tdf.GetError().GetLastErrorString();
    }
}

TEST(TdfFile, EveryPrefixAndEveryChangedByteIsRefused)
{
    KTdf example = WorkedExample();
    const std::string file = Saved(example);
    const std::string content = file.substr(0, file.size() - 4);  // without the checksum
    for (std::size_t size = 0; size < file.size(); ++size) {
        SCOPED_TRACE(size);
        ExpectRefused(file.substr(0, size));
        // With a checksum that fits: the body is complete only with its last byte.
        if (size >= kHeader.size() && size < content.size()) {
            ExpectRefused(Closed(file.substr(0, size)));
        }
    }
    int others = 0;
    for (std::size_t i = 0; i < 256 * content.size(); ++i) {
        SCOPED_TRACE(i);
        std::string changed = content;
        changed[i / 256] = static_cast<char>(i);
        if (changed != content) {
            ExpectRefused(changed + file.substr(content.size()));
            // With a checksum that fits it is refused or another document, which is saved to the
            // same bytes: there is one form for each document.
            KTdf other;
            const std::string closed = Closed(changed);
            if (Load(other, closed)) {
                ASSERT_EQ(closed, Saved(other));
                ++others;
            }
        }
    }
    EXPECT_GT(others, 1000);
    ExpectRefused(file + '\0', eTdfErrorChecksum);
}

TEST(TdfFile, EachFaultOfABodyHasItsErrorAndItsOffset)
{
    const std::string field = "\x81\x82\x61g"s;  // one field of the name g, without its values
    const std::string value = field + '\x81';    // one value
    const struct
    {
        const char* what;
        std::string body;
        int id;
        int offset;  // in the body
    } cases[] = {
        {"no body", "", eTdfErrorCut, 0},
        {"2^64 - 1 fields", "\x9B\xFF\xFF\xFF\xFF\xFF\xFF\xFF\xFF", eTdfErrorCount, 0},
        {"two fields, room for one", "\x82\x82\x60\x80"s, eTdfErrorCount, 0},
        {"a count not in its shortest form", "\x98\0"s, eTdfErrorNotDeterministic, 0},
        {"a second item", "\x80\x80", eTdfErrorTrailing, 1},
        {"a field of four parts", "\x81\x84\x60\x80\x80\x80"s, eTdfErrorUnknownItem, 1},
        {"a number for a name", "\x81\x82\x01\x80"s, eTdfErrorUnknownItem, 2},
        {"a name beyond the end", "\x81\x82\x7B\xFF\xFF\xFF\xFF\xFF\xFF\xFF\xFF"s, eTdfErrorName,
         2},
        {"a name just beyond the end", "\x81\x82\x63no"s, eTdfErrorCut, 3},
        {"a zero byte in a name", "\x81\x82\x61\0\x80"s, eTdfErrorName, 2},
        {"2^64 - 1 values", field + "\x9B\xFF\xFF\xFF\xFF\xFF\xFF\xFF\xFF"s, eTdfErrorCount, 4},
        {"a number for a block", "\x81\x83\x60\x80\x01"s, eTdfErrorUnknownItem, 4},
        {"an array for a value", value + "\x80"s, eTdfErrorUnknownItem, 5},
        {"a time of 2^63", value + "\x1B\x80\0\0\0\0\0\0\0"s, eTdfErrorRange, 5},
        {"an int of 2^31", value + "\xD9\xCB\x49\x1A\x80\0\0\0"s, eTdfErrorRange, 8},
        {"a tagged text for an int", value + "\xD9\xCB\x49\x60"s, eTdfErrorUnknownItem, 5},
        {"a tag that is not known", value + "\xD9\xCB\x50\x01"s, eTdfErrorUnknownItem, 5},
        {"1.0 as a single", value + "\xFA\x3F\x80\0\0"s, eTdfErrorNotDeterministic, 5},
        {"another NaN as a double", value + "\xFB\x7F\xF8\0\0\0\0\0\1"s, eTdfErrorNotDeterministic,
         5},
        {"two characters in one", value + "\x42no"s, eTdfErrorUnknownItem, 5},
        {"a text beyond the end", value + "\x7B\xFF\xFF\xFF\xFF\xFF\xFF\xFF\xFF"s, eTdfErrorCut,
         14},
        {"a text that is not UTF-8", value + "\x62\xC0\x80"s, eTdfErrorText, 6},
        {"text stored as bytes", value + "\xD9\xCB\x53\x41g"s, eTdfErrorText, 9},
        {"bytes beyond the end", value + "\xD9\xCB\x53\x5B\xFF\xFF\xFF\xFF\xFF\xFF\xFF\xFF"s,
         eTdfErrorCut, 17},
    };
    for (const auto& each : cases) {
        SCOPED_TRACE(each.what);
        const std::string file = Closed(kHeader + each.body);
        ExpectRefused(file, each.id);
        KTdf tdf;
        Load(tdf, file);
        EXPECT_EQ(each.offset + 8, tdf.GetError().GetLastErrorOffset());
    }
    // The parts of the rows are valid.
    KTdf tdf;
    EXPECT_TRUE(Load(tdf, Closed(kHeader + value + "\xF9\x3C\0"s)));
    EXPECT_TRUE(Load(tdf, Closed(kHeader + '\x80')));
}

TEST(TdfFile, HeaderFaultsAndDeepNestingAreRefused)
{
    ExpectRefused("", eTdfErrorNotAStore);
    ExpectRefused(Closed("KTDG\0\0\0\1\x80"s), eTdfErrorNotAStore);
    ExpectRefused(Closed("KTDF\0\0\0\2\x80"s), eTdfErrorVersion);
    ExpectRefused(Closed("KTDF\0\0\0\0\x80"s), eTdfErrorVersion);
    std::string body;
    for (int i = 0; i < 100000; ++i) {
        body += "\x81\x83\x60\x80"s;
    }
    ExpectRefused(Closed(kHeader + body + '\x80'), eTdfErrorNesting);
}

TEST(TdfFile, StreamsAndPathsThatFailAreErrors)
{
    KTdf tdf = WorkedExample();
    std::ofstream full("/dev/full");
    EXPECT_FALSE(tdf.Save(full));
    EXPECT_EQ(eTdfErrorCannotWrite, tdf.GetError().GetLastErrorID());
    std::ifstream none("no such file");
    EXPECT_FALSE(tdf.Load(none));
    EXPECT_TRUE(tdf.IsEmpty());
    EXPECT_FALSE(tdf.Load("no such file"));
    EXPECT_EQ(eTdfErrorCannotRead, tdf.GetError().GetLastErrorID());
    EXPECT_NE(nullptr, std::strstr(tdf.GetError().GetLastErrorString(), "no such file"));
    EXPECT_FALSE(tdf.Load("/tmp"));
    EXPECT_EQ(eTdfErrorCannotRead, tdf.GetError().GetLastErrorID());
    EXPECT_FALSE(tdf.Load("/dev/zero"));  // which has no end
    EXPECT_EQ(eTdfErrorNotAStore, tdf.GetError().GetLastErrorID());
}
}  // namespace
