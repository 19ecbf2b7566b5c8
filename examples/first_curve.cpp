// Copyright (c) 2026 The glissa authors
// SPDX-License-Identifier: MIT

// What does the first program with a curve look like?

// [snippet whole]
#include "glissa/glissa.h"

#include <cstdio>

int main()
{
    Glissa* curve = GlissaCreate();
    curve->InitBuffers(4, true);
    const float values[] = {0.0f, 10.0f, 5.0f, 8.0f};
    for (int i = 0; i < 4; ++i) {
        curve->KeyAppendFast(KTime::FromSeconds(0.5 * i), values[i]);
    }
    curve->SetPostExtrapolation(eExtrapolationMirror);
    curve->SetPostExtrapolationCount(2);

    int hint = 0;  // where the search starts: carried from one call to the next
    for (KTime time; time <= KTime::FromSeconds(3.0); time = time + KTime::FromSeconds(0.25)) {
        std::printf("%.2f s  %7.4f\n", time.GetSecondDouble(), curve->Evaluate(time, &hint));
    }
    curve->Destroy(0);
}
// [end]
