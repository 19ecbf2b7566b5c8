// Copyright (c) 2026 The glissa authors
// SPDX-License-Identifier: MIT

// Any input is a clip that meets the rules of io/clip.h, or an error with a reason. The memory of a
// clip is at most a multiple of the size of the input.

#include "fuzz/clip_checks.h"
#include "io/bvh_reader.h"

#include <cfloat>
#include <cmath>

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* pData, std::size_t pSize)
{
    const std::string_view text(reinterpret_cast<const char*>(pData), pSize);
    const IoResult<Clip> clip = ParseBvh(text, "fuzz.bvh");
    if (!clip) {
        Require(clip.GetError().mFile == "fuzz.bvh" && !clip.GetError().mReason.empty());
        Require(clip.GetError().mLine >= 0);
        return 0;
    }
    CheckClip(*clip);
    Require(clip->mValues.size() == static_cast<std::size_t>(clip->mFrameCount) *
                                        static_cast<std::size_t>(clip->mChannelCount));
    for (const double value : clip->mValues) {
        Require(std::fabs(value) <= static_cast<double>(FLT_MAX));
    }
    Require(MemoryOf(*clip) <= 64 * pSize + 4096);
    return 0;
}
