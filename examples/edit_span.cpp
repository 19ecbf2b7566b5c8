// Copyright (c) 2026 The glissa authors
// SPDX-License-Identifier: MIT

// How do I add a key without changing the curve, and replace a span of it?

#include "glissa/glissa.h"

#include <cmath>
#include <cstdio>

namespace
{
KTime Seconds(double pSeconds)
{
    return KTime::FromSeconds(pSeconds);
}
}  // namespace

int main()
{
    Glissa* curve = GlissaCreate();
    for (const double seconds : {0.0, 1.0, 2.0, 3.0}) {
        curve->KeyAppendFast(Seconds(seconds), seconds < 2.0 ? 0.0f : 10.0f);
    }
    const float before = curve->Evaluate(Seconds(1.75), nullptr);

    // [snippet insert]
    const int added = curve->KeyInsert(Seconds(1.5));  // the curve stays as it is
    // [end]
    std::printf("key %d, at 1.75 s %.4f as before: %s\n", added, static_cast<double>(before),
                std::fabs(curve->Evaluate(Seconds(1.75), nullptr) - before) < 1e-5f ? "yes" : "no");

    // [snippet candidate]
    curve->CandidateSet(Seconds(2.5), 12.0);  // typed, and shown until the next change of a key
    int index = 0;
    curve->CandidateKey(&index, eInterpolationCubic, eTangentAuto, eContinuityFlat, true);
    // [end]
    std::printf("key %d of %d, slope %.1f\n", index, curve->KeyGetCount(),
                static_cast<double>(curve->KeyGetRightDerivative(index)));

    Glissa* take = GlissaCreate();
    for (int frame = 0; frame <= 30; ++frame) {
        take->KeyAppendFast(Seconds(frame / 30.0), std::sin(static_cast<float>(frame) / 5.0f));
    }
    // [snippet replace]
    // The take from 0 s to 0.5 s replaces the keys from 1 s to 1.5 s.
    curve->Replace(take, Seconds(0.0), Seconds(0.5), true, true, Seconds(1.0));
    // [end]
    std::printf("%d keys, at 1.2 s %.4f\n", curve->KeyGetCount(),
                static_cast<double>(curve->Evaluate(Seconds(1.2), nullptr)));
    take->Destroy();
    curve->Destroy();
}
