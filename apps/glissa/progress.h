// Copyright (c) 2026 The glissa authors
// SPDX-License-Identifier: MIT
#pragma once

#include <chrono>
#include <cstdint>
#include <string>

/// A bar on standard error for work that takes longer than a second: its name, the part done and
/// the time left. Draws nothing where standard error is not a terminal that can rewrite its line.
class Progress
{
public:
    /// pName   what is done, "writing hips.csv".
    /// pTotal  steps of the work.
    Progress(std::string pName, std::uint64_t pTotal);
    /// Removes the bar.
    ~Progress();
    Progress(const Progress&) = delete;
    Progress& operator=(const Progress&) = delete;

    /// pDone of the steps are done. Reads the clock only every thousandth part of the work.
    void At(std::uint64_t pDone)
    {
        if (mIsShown && pDone >= mNextLook) {
            Draw(pDone);
        }
    }

private:
    void Draw(std::uint64_t pDone);

    std::string mName;
    std::uint64_t mTotal;
    std::uint64_t mNextLook = 0;
    std::chrono::steady_clock::time_point mStart;
    bool mIsShown;
    std::string mLine;  ///< on the screen
};

/// "writing hips.csv [####      ]  40%, 3 s left" for a part of 0 to 1 done after some seconds.
std::string ProgressText(const std::string& pName, double pPart, double pSeconds);
