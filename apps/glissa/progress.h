// Copyright (c) 2026 The glissa authors
// SPDX-License-Identifier: MIT
#pragma once

#include <chrono>
#include <cstdint>
#include <string>

/// A progress bar on standard error for work that takes longer than a second: its name, the part
/// done and the time left. Only drawn on a terminal that can rewrite a line.
class Progress
{
public:
    /// pName   the work, such as "writing hips.csv".
    /// pTotal  number of its steps.
    Progress(std::string pName, std::uint64_t pTotal);
    /// Removes the bar.
    ~Progress();
    Progress(const Progress&) = delete;
    Progress& operator=(const Progress&) = delete;

    /// Reports the number of steps done. The clock is read a thousand times at most.
    void At(std::uint64_t pDone)
    {
        if (mIsShown && pDone >= mNextUpdate) {
            Draw(pDone);
        }
    }

private:
    void Draw(std::uint64_t pDone);

    std::string mName;
    std::uint64_t mTotal;
    std::uint64_t mNextUpdate = 0;
    std::chrono::steady_clock::time_point mStart;
    bool mIsShown;
    std::string mLine;  ///< the line on the terminal
};

/// "writing hips.csv [####      ]  40%, 3 s left" for a part done, 0 to 1, and the seconds that it
/// took.
std::string ProgressText(const std::string& pName, double pPart, double pSeconds);
