// Copyright (c) 2026 The glissa authors
// SPDX-License-Identifier: MIT

#include "apps/glissa/progress.h"

#include <fmt/format.h>

#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <string>
#include <unistd.h>

namespace
{
constexpr auto kMoment = std::chrono::milliseconds(400);
constexpr int kBarWidth = 40;

bool CanDraw()
{
    const char* const terminal = std::getenv("TERM");
    return isatty(STDERR_FILENO) != 0 &&
           (terminal == nullptr || std::strcmp(terminal, "dumb") != 0);
}
}  // namespace

Progress::Progress(std::uint64_t pTotal)
    : mTotal(std::max<std::uint64_t>(pTotal, 1)),
      mStart(std::chrono::steady_clock::now()),
      mShows(CanDraw())
{}

Progress::~Progress()
{
    if (mDrawn >= 0) {
        fmt::print(stderr, "\r{:{}}\r", "", kBarWidth + 7);
        std::fflush(stderr);
    }
}

void Progress::Look(std::uint64_t pDone)
{
    mNextLook = pDone + std::max<std::uint64_t>(mTotal / 1000, 1);
    if (std::chrono::steady_clock::now() - mStart < kMoment) {
        return;
    }
    const double part = static_cast<double>(pDone) / static_cast<double>(mTotal);
    const int percent = std::clamp(static_cast<int>(part * 100.0), 0, 100);
    if (percent == mDrawn) {
        return;
    }
    mDrawn = percent;
    const int filled = percent * kBarWidth / 100;
    fmt::print(stderr, "\r[{:#<{}}{:{}}] {:3}%", "", filled, "", kBarWidth - filled, percent);
    std::fflush(stderr);
}
