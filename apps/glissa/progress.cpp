// Copyright (c) 2026 The glissa authors
// SPDX-License-Identifier: MIT

#include "apps/glissa/progress.h"

#include "apps/glissa/printable_text.h"

#include <fmt/format.h>

#include <algorithm>
#include <cmath>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <unistd.h>
#include <utility>

namespace
{
constexpr double kSecondsWithoutBar = 1.0;
constexpr int kBarWidth = 30;

bool CanRewriteLines()
{
    const char* const terminal = std::getenv("TERM");
    return isatty(STDERR_FILENO) != 0 &&
           (terminal == nullptr || std::strcmp(terminal, "dumb") != 0);
}

std::string DurationText(double pSeconds)
{
    const double seconds = std::ceil(pSeconds);
    if (seconds < 60.0) {
        return fmt::format("{:.0f} s", seconds);
    }
    const double minutes = std::ceil(pSeconds / 60.0);
    return minutes < 120.0 ? fmt::format("{:.0f} min", minutes)
                           : fmt::format("{:.0f} h", std::ceil(pSeconds / 3600.0));
}
}  // namespace

std::string ProgressText(const std::string& pName, double pPart, double pSeconds)
{
    const double part = std::clamp(pPart, 0.0, 1.0);
    const int filled = static_cast<int>(part * kBarWidth);
    std::string text = fmt::format("{} [{:#<{}}{:{}}] {:3}%", PrintableText(pName), "", filled, "",
                                   kBarWidth - filled, static_cast<int>(part * 100.0));
    if (part > 0.0) {
        text += fmt::format(", {} left", DurationText(pSeconds * (1.0 - part) / part));
    }
    return text;
}

Progress::Progress(std::string pName, std::uint64_t pTotal)
    : mName(std::move(pName)),
      mTotal(std::max<std::uint64_t>(pTotal, 1)),
      mStart(std::chrono::steady_clock::now()),
      mIsShown(CanRewriteLines())
{}

Progress::~Progress()
{
    if (!mLine.empty()) {
        fmt::print(stderr, "\r{:{}}\r", "", CharacterCount(mLine));
        std::fflush(stderr);
    }
}

void Progress::Draw(std::uint64_t pDone)
{
    mNextUpdate = pDone + std::max<std::uint64_t>(mTotal / 1000, 1);
    const std::chrono::duration<double> elapsed = std::chrono::steady_clock::now() - mStart;
    if (elapsed.count() < kSecondsWithoutBar) {
        return;
    }
    const double part = static_cast<double>(pDone) / static_cast<double>(mTotal);
    std::string line = ProgressText(mName, part, elapsed.count());
    if (line == mLine) {
        return;
    }
    // Blanks overwrite the end of a longer line.
    const std::size_t before = CharacterCount(mLine);
    const std::size_t now = CharacterCount(line);
    fmt::print(stderr, "\r{}{:{}}", line, "", before > now ? before - now : 0);
    std::fflush(stderr);
    mLine = std::move(line);
}
