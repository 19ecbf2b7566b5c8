// Copyright (c) 2026 The glissa authors
// SPDX-License-Identifier: MIT
// For tests only, not installed.
#pragma once

#include "tests/support/edit_check.h"
#include "tests/support/museum.h"
#include "tests/support/random_curve.h"

#include <array>
#include <optional>
#include <span>
#include <string>

/// Where a script gets its choices from. A copy makes the same choices again.
class EditChoices
{
public:
    /// From a fixed generator, without end.
    explicit EditChoices(std::uint64_t pSeed) : mRandom(pSeed) {}
    /// From bytes; 0 behind their end.
    explicit EditChoices(std::span<const std::uint8_t> pBytes) : mBytes(pBytes) {}

    bool IsAtEnd() const { return !mRandom && mBytes.empty(); }
    int Below(int pCount);
    bool Flip() { return Below(2) != 0; }
    /// Any number of a range, few distinct ones of a wide range.
    std::int64_t Between(std::int64_t pLeast, std::int64_t pGreatest);
    /// One of some numbers, or else any between two ends, in steps of 1/97.
    float Number(std::initializer_list<float> pSome, int pLeast, int pGreatest);

private:
    std::uint32_t Bits(int pBytes);

    std::optional<Random> mRandom;
    std::span<const std::uint8_t> mBytes;
};

/// Random valid edits of three curves that share attribute blocks. Each step is also made on a copy
/// without shared blocks, outside of brackets. After it both have the same keys, values, slopes and
/// results; the events of the curve, or those of a bracket at its end, are those of the copy and
/// describe the difference; keys of the other curves, segments away from the change and update ids
/// are as they should be; and counts and pages are right (CheckBooks).
///
/// One script at a time: CheckBooks counts every attribute block of the process.
class EditScript
{
public:
    explicit EditScript(EditChoices pChoices);
    EditScript(const EditScript&) = delete;
    EditScript& operator=(const EditScript&) = delete;

    /// Runs a step. What was wrong, or nothing.
    std::string Step();
    bool IsAtEnd() const { return mChoices.IsAtEnd(); }

private:
    struct Edited
    {
        CurveHandle curve;
        int nesting = 0;
        HeardEvent posted;  // since the bracket began
    };
    void Compare(Glissa& pCurve, Glissa& pCopy);

    EditChoices mChoices;
    std::array<Edited, 3> mCurves;
    std::string mFaults;
};
