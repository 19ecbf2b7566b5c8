// Copyright (c) 2026 The glissa authors
// SPDX-License-Identifier: MIT

#include "glissa/glissa.h"

#include <cstdio>

// Touches both libraries: a value of glissa, in the units of corvekit.
int main()
{
    const double period = GLISSA_GetPlotPeriod().GetSecondDouble();
    std::printf("plot period %g s\n", period);
    return KTime::FromSeconds(period) == KTime::GetOneFrameValue(eTimeMode30) ? 0 : 1;
}
