// Copyright (c) 2026 The glissa authors
// SPDX-License-Identifier: MIT
#pragma once

#include <chrono>
#include <cstdint>

/// A bar on standard error for work that takes longer than a moment. Says nothing at all when
/// standard error is not a terminal that can go back on its line.
class Progress
{
public:
    /// pTotal  steps of the work.
    explicit Progress(std::uint64_t pTotal);
    /// Wipes the bar.
    ~Progress();
    Progress(const Progress&) = delete;
    Progress& operator=(const Progress&) = delete;

    /// pDone of the steps are done. Cheap: looks at the clock every thousandth step of it.
    void At(std::uint64_t pDone)
    {
        if (mShows && pDone >= mNextLook) {
            Look(pDone);
        }
    }

private:
    void Look(std::uint64_t pDone);

    std::uint64_t mTotal;
    std::uint64_t mNextLook = 0;
    std::chrono::steady_clock::time_point mStart;
    bool mShows;
    int mDrawn = -1;  ///< percent on the screen
};
