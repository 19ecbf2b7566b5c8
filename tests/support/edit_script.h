// Copyright (c) 2026 The glissa authors
// SPDX-License-Identifier: MIT
// For tests only, not installed.
#pragma once

#include "tests/support/edit_check.h"
#include "tests/support/museum.h"
#include "tests/support/naive_curve.h"
#include "tests/support/random_curve.h"

#include <array>
#include <optional>
#include <span>
#include <string>

/// Where a script gets its choices from.
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

private:
    std::uint32_t Bits(int pBytes);

    std::optional<Random> mRandom;
    std::span<const std::uint8_t> mBytes;
};

/// Random edits, valid ones, of three curves that share attribute blocks, each beside a naive
/// curve. After every step keys, attributes, events, update ids, results and values of both agree
/// and the books are true.
///
/// One script at a time: the books count every attribute block of the process.
class EditScript
{
public:
    explicit EditScript(EditChoices pChoices);
    EditScript(const EditScript&) = delete;
    EditScript& operator=(const EditScript&) = delete;
    ~EditScript();

    /// Runs a step and says what went wrong, or nothing.
    std::string Step();
    bool IsAtEnd() const { return mChoices.IsAtEnd(); }
    /// How many kinds of steps there are, and the name of one and how often it ran.
    static int KindCount();
    static const char* KindName(int pKind);
    long Runs(int pKind) const { return mRuns[static_cast<std::size_t>(pKind)]; }

    struct Pair
    {
        CurveHandle curve;
        NaiveCurve naive;
        std::vector<HeardEvent> heard;
    };

    // What the kinds of steps are made of.
    Glissa& Curve() { return *mPairs[mAt].curve; }
    NaiveCurve& Naive() { return mPairs[mAt].naive; }
    Pair& Other() { return mPairs[static_cast<std::size_t>(mChoices.Below(3))]; }
    EditChoices& Choose() { return mChoices; }
    int Index() { return mChoices.Below(Naive().Count()); }
    int IndexOrBeyond() { return mChoices.Below(Naive().Count() + 3) - 1; }
    std::int64_t Time();
    /// A time at which a key may stand without a change of the order.
    std::int64_t TimeOf(int pIndex);
    std::int64_t Delta();
    std::uint32_t TangentMode();
    float Value();
    float Slope();
    float Auto();
    float Weight();
    float Velocity();
    NaiveKey Key();
    NaiveSide Side();
    /// Notes a fault unless both are equal.
    template <typename T>
    void Same(const T& pLibrary, const T& pNaive)
    {
        if (!(pLibrary == pNaive)) {
            mFaults += "results differ\n";
        }
    }

private:
    void CompareKeys(const Pair& pPair);
    void CompareValues();

    EditChoices mChoices;
    std::array<Pair, 3> mPairs;
    std::size_t mAt = 0;
    std::string mFaults;
    std::array<long, 128> mRuns{};
};

/// A kind of step: it does the same to both curves of the pair the script is at.
struct EditKind
{
    const char* name;
    void (*run)(EditScript&);
    bool needsKeys;
    bool isSilent = false;  ///< changes keys without a post
};
std::span<const EditKind> EditKinds();
