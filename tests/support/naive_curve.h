// Copyright (c) 2026 The glissa authors
// SPDX-License-Identifier: MIT
// For tests only, not installed.
#pragma once

#include "tests/support/reference.h"

#include <cstdint>
#include <vector>

/// A key with attributes of its own, and a number that it keeps for life.
struct NaiveKey : RefKey
{
    int id = 0;

    float Slot(int pSlot) const;  ///< of all four, as a float
    void SetSlot(int pSlot, float pValue);
    float Data(int pIndex) const;  ///< 0 and 1 slopes, 2 and 3 weights, 4 and 5 velocities
    void SetData(int pIndex, float pValue);
    std::uint32_t Interpolation() const { return flags & 0xF; }
    std::uint32_t Kind() const { return flags & 0xF00; }
    bool Is(std::uint32_t pInterpolation) const { return Interpolation() == pInterpolation; }
    bool IsCubic(std::uint32_t pKind) const { return Is(kRefCubic) && Kind() == pKind; }
    bool IsAuto() const { return IsCubic(0x100) || IsCubic(0x900); }
    bool IsUser() const { return IsCubic(0x400) || IsCubic(0xC00); }
    bool HasEqualAttributes(const NaiveKey& pOther) const;
};

/// One side of a tangent.
struct NaiveSide
{
    float slope = 0.0f;
    float weight = 0.33333334f;
    float velocity = 0.0f;
    float parameter = 0.0f;
    bool isWeighted = false;
    bool hasVelocity = false;
};

struct NaiveEvent
{
    int type = 0;
    int first = -1;
    int last = -1;
    int count = 0;
};

/// A curve under edits as a sorted vector of plain keys: no pages, no shared blocks, no hints, no
/// search but a loop. Slow, and written to be read. Operations are those of the curve, by shorter
/// names; the number of custom tangent types is an argument where it matters.
class NaiveCurve
{
public:
    std::vector<NaiveKey> keys;
    float value = 0.0f;
    int customTypes = 0;
    std::uint32_t updateId = 0;
    std::vector<NaiveEvent> sent;  // to listeners, oldest first

    int Count() const { return static_cast<int>(keys.size()); }
    NaiveKey& Key(int pIndex) { return keys[static_cast<std::size_t>(pIndex)]; }
    const NaiveKey& Key(int pIndex) const { return keys[static_cast<std::size_t>(pIndex)]; }

    void Begin() { ++mNesting; }
    void End();
    int Nesting() const { return mNesting; }

    // Reading (naive_slopes.cpp)
    double Find(std::int64_t pTime) const;
    float Evaluate(std::int64_t pTime) const;
    float LeftSlope(int pIndex) const;
    float RightSlope(int pIndex) const;
    float LeftAuto(int pIndex) const;
    float RightAuto(int pIndex) const;
    NaiveSide LeftSide(int pIndex) const;
    NaiveSide RightSide(int pIndex) const;
    double LeftAutoOf(int pIndex, double pSlope) const;
    double RightAutoOf(int pIndex, double pSlope) const;
    double LeftSlopeOf(int pIndex, double pAuto) const;
    double RightSlopeOf(int pIndex, double pAuto) const;
    double Seconds(int pFrom, int pTo) const;

    // Keys (naive_curve.cpp)
    void SetDefault(float pValue);
    int Add(std::int64_t pTime, NaiveKey pKey);
    int AddHere(std::int64_t pTime);
    int AddShared(std::int64_t pTime, NaiveKey pSource);
    int Append(std::int64_t pTime, NaiveKey pSource);
    int AppendFast(std::int64_t pTime, float pValue);
    bool Set(int pIndex, const NaiveKey& pKey);
    bool SetShared(int pIndex, const NaiveKey& pSource);
    void SetRaw(int pIndex, const NaiveKey& pKey);
    bool Remove(int pIndex);
    bool Delete(int pFirst, int pLast);
    bool DeleteTimes(std::int64_t pFrom, std::int64_t pTo, bool pInclusive);
    void Clear();
    void Empty();  ///< without a word, as room that is cleared
    void SetValue(int pIndex, float pValue);
    void SetTime(int pIndex, std::int64_t pTime);
    int Move(int pIndex, std::int64_t pTime);
    bool MoveBehind(int pIndex, std::int64_t pDelta, float pValue);
    void MoveAll(bool pSelected, std::int64_t pDelta, float pValue);
    bool MoveRange(std::int64_t pDelta, int pFirst, int pLast);
    bool MoveTimes(std::int64_t pFrom, std::int64_t pTo, std::int64_t pDelta, bool pInclusive);
    /// Makes a key of a candidate: pKey says of what kind, pSlope is that of the curve there. The
    /// index of the key.
    int KeyCandidate(const NaiveKey& pKey, float pSlope, bool pOverride);
    void MoveValues(bool pSelected, float pValue);
    void Scale(bool pSelected, float pFactor, bool pValues, bool pTangents);
    void MultTangent(int pIndex, float pFactor);
    void MultSlope(int pIndex, float pFactor);
    void IncSlope(int pIndex, float pSlope, bool pLeft);
    /// Interpolation with the mask 0xF, tangent mode with 0x7F00.
    void ChangeKinds(bool pSelected, std::uint32_t pKind, std::uint32_t pMask);
    void ChangeFlagsOfAll(std::uint32_t pMask, std::uint32_t pBits);

    // Attributes
    void SetInterpolation(int pIndex, std::uint32_t pValue);
    void SetCustomIndex(int pIndex, std::uint32_t pValue);
    void SetFlags(int pIndex, std::uint32_t pMask, std::uint32_t pBits, int pEvent);
    void SetData(int pIndex, int pData, float pValue);
    void SetDataFloat(int pIndex, int pSlot, float pValue);
    void SetLeftSlope(int pIndex, float pSlope);
    void SetRightSlope(int pIndex, float pSlope);
    void SetLeftAuto(int pIndex, float pAuto);
    void SetRightAuto(int pIndex, float pAuto);
    void SetLeftHandle(int pIndex, float pValue);
    void SetRightHandle(int pIndex, float pValue);
    void SetLeftWeight(int pIndex, float pWeight);
    void SetRightWeight(int pIndex, float pWeight);
    void SetLeftVelocity(int pIndex, float pVelocity);
    void SetRightVelocity(int pIndex, float pVelocity);
    void SetMode(int pIndex, bool pLeft, bool pVelocity, bool pOn);
    void SetLeftSide(int pIndex, const NaiveSide& pSide, bool pForceSlope);
    void SetRightSide(int pIndex, const NaiveSide& pSide, bool pForceSlope);

private:
    struct Bracket;

    void Post(int pType, int pIndex);
    int DataEvent(const NaiveKey& pKey, int pIndex) const;
    bool KeepsOrder(int pIndex, std::int64_t pTime) const;
    int IndexOf(int pId) const;
    bool Range(std::int64_t pFrom, std::int64_t pTo, bool pInclusive, int& pFirst,
               int& pLast) const;
    int Reinsert(int pIndex, std::int64_t pTime, NaiveKey pKey, bool pArrivalReadLate);
    void RunOn(int pIndex, bool pBehind, const NaiveSide& pSide);
    bool IsClamped(int pIndex, bool pLeft) const;
    void Secants(int pIndex, double& pToLeft, double& pToRight) const;
    double Secant(int pFrom, int pTo) const;
    float Progressive(int pIndex) const;
    float TcbSlope(int pIndex, const NaiveKey& pParameters, bool pLeft) const;
    float LeftAutomatic(int pIndex) const;
    float Segment(int pIndex, double pT) const;

    int mNesting = 0;
    int mNextId = 1;
    NaiveEvent mPending;
};
