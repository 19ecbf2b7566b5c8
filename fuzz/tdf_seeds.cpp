// Copyright (c) 2026 The glissa authors
// SPDX-License-Identifier: MIT

// Writes the seeds of tdf_fuzzer to a folder: bodies of files, to which the fuzzer adds header and
// checksum, and one complete file.

#include "corvekit/store/tdf.h"

#include <cmath>
#include <cstdint>
#include <cstdio>
#include <filesystem>
#include <fstream>
#include <limits>
#include <sstream>
#include <string>

namespace
{
constexpr std::size_t kHeaderSize = 8;
constexpr std::size_t kChecksumSize = 4;

std::string Saved(KTdf& pTdf)
{
    std::ostringstream stream;
    return pTdf.Save(stream) ? stream.str() : "";
}

void EveryType(KTdf& pTdf)
{
    pTdf.FieldWriteBegin("values");
    for (const std::int64_t each :
         {std::int64_t{0}, std::int64_t{24}, std::int64_t{-256}, std::int64_t{1} << 32,
          std::numeric_limits<std::int64_t>::min(), std::numeric_limits<std::int64_t>::max()}) {
        pTdf.FieldWriteT(KTime(each));
        pTdf.FieldWriteI(static_cast<int>(each % 70000));
    }
    for (const double each : {0.0, 1.5, 0x1p-24, 0.1, 65505.0, 1e-40, 1e300, HUGE_VAL}) {
        pTdf.FieldWriteD(each);
    }
    pTdf.FieldWriteD(NAN);
    pTdf.FieldWriteCH('x');
    pTdf.FieldWriteC("text \xC3\xA4 \xE2\x82\xAC \xF0\x9D\x84\x9E");
    pTdf.FieldWriteC("\xFF\xFE");
    pTdf.FieldWriteS(KString("zero\0within", 11));
    pTdf.FieldWriteEnd();
    pTdf.FieldWriteBegin("\xFF");
    pTdf.FieldWriteEnd();
}

void Nested(KTdf& pTdf, int pDepth)
{
    for (int i = 0; i < pDepth; ++i) {
        pTdf.FieldWriteBegin("Channel");
        pTdf.FieldWriteC(i % 2 == 0 ? "X" : "Y");
        pTdf.FieldWriteBlockBegin();
        pTdf.FieldWriteBegin("LayerID");
        pTdf.FieldWriteI(i);
        pTdf.FieldWriteEnd();
    }
    for (int i = 0; i < pDepth; ++i) {
        pTdf.FieldWriteBlockEnd();
        pTdf.FieldWriteEnd();
    }
}

void Curve(KTdf& pTdf)
{
    pTdf.FieldWriteBegin("Key");
    for (int i = 0; i < 20; ++i) {
        pTdf.FieldWriteT(KTime(4704000LL * i));
        pTdf.FieldWriteF(0.1f * static_cast<float>(i));
        for (const char each : {'U', 'a', 'n', 'n'}) {
            pTdf.FieldWriteCH(each);
        }
    }
    pTdf.FieldWriteEnd();
    pTdf.FieldWriteBegin("Key");
    pTdf.FieldWriteBlockBegin();
    pTdf.FieldWriteBlockEnd();
    pTdf.FieldWriteEnd();
}
}  // namespace

int main(int pCount, char** pArguments)
{
    if (pCount != 2) {
        std::fprintf(stderr, "usage: tdf_seeds <folder>\n");
        return 2;
    }
    const std::filesystem::path folder = pArguments[1];
    std::filesystem::create_directories(folder);
    const auto write = [&folder](const char* pName, const std::string& pBytes) {
        std::ofstream(folder / pName, std::ios::binary) << pBytes;
    };
    const auto writeBody = [&write](const char* pName, KTdf& pTdf) {
        const std::string file = Saved(pTdf);
        write(pName, file.substr(kHeaderSize, file.size() - kHeaderSize - kChecksumSize));
    };
    KTdf tdf;
    writeBody("empty", tdf);
    EveryType(tdf);
    writeBody("every_type", tdf);
    write("whole_file", Saved(tdf));
    tdf.Clear();
    Nested(tdf, 30);
    writeBody("nested", tdf);
    tdf.Clear();
    Curve(tdf);
    writeBody("curve", tdf);
    return 0;
}
