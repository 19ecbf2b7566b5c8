// Copyright (c) 2026 The glissa authors
// SPDX-License-Identifier: MIT

// Writes the seeds of clip_store_fuzzer to a folder: bodies of clip files, to which the fuzzer adds
// header and checksum.

#include "corvekit/store/tdf.h"
#include "glissa/curve/curve.h"
#include "io/bvh_reader.h"
#include "io/clip_store.h"

#include <cstdio>
#include <filesystem>
#include <fstream>
#include <sstream>

namespace
{
constexpr const char* kStill = "HIERARCHY\nROOT A\n{\nOFFSET 0 0 0\n}\nMOTION\nFrames: 0\n"
                               "Frame Time: 1\n";
constexpr const char* kMoving =
    "HIERARCHY\nROOT Hips\n{\nOFFSET 1 2 0.1\nCHANNELS 3 Zrotation Xposition Yrotation\n"
    "End Tip\n{\nOFFSET 0 1 0\n}\nJOINT Leg\n{\nOFFSET 0 0 0\nCHANNELS 1 Xrotation\n}\n}\n"
    "MOTION\nFrames: 3\nFrame Time: .0333333\n0.1 1 2 3\n0.25 -7.3 9 3\n0.3 1e-20 180 3\n";

// A key of each kind, and an extrapolation.
void Shape(CurveClip& pCurves)
{
    int count = 0;
    for (const ClipCurve& each : pCurves.GetCurves()) {
        Glissa& curve = *each.mCurve;
        switch (count++ % 4) {
        case 0:
            curve.KeySetTangeantMode(0, eTangentUserBreak);
            curve.KeySetRightDerivative(0, 12.5f);
            curve.KeySetRightTangeantWeight(0, 0.75f);
            curve.SetPostExtrapolation(eExtrapolationMirror);
            curve.SetPostExtrapolationCount(3);
            break;
        case 1:
            curve.KeySetTCB(1, curve.KeyGetTime(1), 1.0f, 0.25f, -0.5f, 0.125f);
            break;
        case 2:
            curve.KeySetInterpolation(0, eInterpolationLinear);
            curve.KeySetInterpolation(1, eInterpolationConstant);
            break;
        default:
            curve.KeySetTangeantMode(1, eTangentAutoBreak | eTangentClamp);
            curve.KeySetRightAuto(1, 40.0f);
            break;
        }
    }
}
}  // namespace

int main(int pCount, char** pArguments)
{
    if (pCount != 2) {
        std::fprintf(stderr, "usage: clip_store_seeds <folder>\n");
        return 2;
    }
    const std::filesystem::path folder = pArguments[1];
    std::filesystem::create_directories(folder);
    constexpr std::size_t kHeaderSize = 8;
    constexpr std::size_t kChecksumSize = 4;
    for (const auto& [name, text] : {std::pair{"still", kStill}, std::pair{"moving", kMoving}}) {
        const IoResult<Clip> clip = ParseBvh(text, name);
        if (!clip) {
            std::fprintf(stderr, "%s\n", clip.GetError().GetText().c_str());
            return 1;
        }
        CurveClip curves(*clip);
        Shape(curves);
        KTdf tdf;
        StoreClip(*clip, curves, tdf);
        std::ostringstream stream;
        tdf.Save(stream);
        const std::string file = stream.str();
        std::ofstream(folder / name, std::ios::binary)
            << file.substr(kHeaderSize, file.size() - kHeaderSize - kChecksumSize);
    }
    return 0;
}
