// Copyright (c) 2026 The glissa authors
// SPDX-License-Identifier: MIT

// How does a recorded motion become curves?

#include "glissa/glissa.h"
#include "io/bvh_reader.h"
#include "io/curve_clip.h"
#include "io/name_match.h"

#include <cstdio>

int main(int pCount, char** pArguments)
{
    const char* const path = pCount > 1 ? pArguments[1] : "walk.bvh";
    // [snippet read]
    const IoResult<Clip> clip = ReadBvh(path);
    if (!clip) {
        std::puts(clip.GetError().GetText().c_str());  // walk.bvh:189: too few numbers in frame 2
        return 1;
    }
    const CurveClip curves(*clip);
    for (const ClipCurve& curve : curves.GetCurves()) {
        if (NameMatches("*/R/X", curve.mName)) {
            std::printf("%s: %d keys\n", curve.mName.c_str(), curve.mCurve->KeyGetCount());
        }
    }
    // [end]
}
