// Copyright (c) 2026 The glissa authors
// SPDX-License-Identifier: MIT
#pragma once

#include "corvekit/assert.h"
#include "corvekit/pool.h"
#include "corvekit/time.h"
#include "glissa/export.h"

#include <cstdint>

/// The bits of a key's flag word, by field. One enumeration, so that fields combine.
enum EGlissaKeyFlags : unsigned
{
    // Interpolation, mask 0xF: how the segment that starts at a key is shaped. One value, not bits.
    eInterpolationCustom = 0x1,    ///< evaluated by GlissaCustomTangentManager
    eInterpolationConstant = 0x2,  ///< holds one value
    eInterpolationLinear = 0x4,    ///< straight line
    eInterpolationCubic = 0x8,     ///< cubic Bézier

    // Constant mode of a constant key, mask 0x100: which value the segment holds.
    eConstantStandard = 0x0,  ///< the value of this key
    eConstantNext = 0x100,    ///< the value of the next key

    // Tangent mode of a cubic key, mask 0x7F00. The bits under 0xF00 select the kind, those above
    // refine an automatic tangent. A pattern under 0xF00 that is not named here has slope 0.
    eTangentAuto = 0x100,               ///< automatic: slopes between the secants, tangent_math.h
    eTangentTCB = 0x200,                ///< tension, continuity, bias
    eTangentUser = 0x400,               ///< stored slopes, left and right follow each other
    eTangentBreak = 0x800,              ///< added to auto or user: the sides are independent
    eTangentAutoBreak = 0x900,          ///< eTangentAuto with eTangentBreak
    eTangentUserBreak = 0xC00,          ///< eTangentUser with eTangentBreak
    eTangentClamp = 0x1000,             ///< on auto: flat where a neighbour's value is equal
    eTangentTimeIndependent = 0x2000,   ///< on auto: the secant through the neighbours
    eTangentProgressiveClamp = 0x6000,  ///< on auto: never steeper than three times a secant

    eSelectPoint = 0x10000,
    eSelectTangents = 0x60000,
    eMarkedForManipulation = 0x80000,  ///< takes part in the current manipulation

    eTangentShowNone = 0x0,
    eTangentShowLeft = 0x100000,
    eTangentShowRight = 0x200000,
    eTangentShowBoth = 0x300000,

    // The weights that the key stores: those of its own right side, of the left side of the next
    // key, or both.
    eWeightNone = 0x0,
    eWeightRight = 0x1000000,
    eWeightNextLeft = 0x2000000,
    eWeightAll = 0x3000000,

    // The same for velocities, which take no part in any evaluation.
    eVelocityNone = 0x0,
    eVelocityRight = 0x10000000,
    eVelocityNextLeft = 0x20000000,
    eVelocityAll = 0x30000000,
};

/// What a curve does before its first and after its last key.
enum EGlissaExtrapolation : unsigned
{
    eExtrapolationNone = 0,
    eExtrapolationConstant = 1,            ///< holds the end key's value
    eExtrapolationRepetition = 2,          ///< repeats the curve
    eExtrapolationMirror = 3,              ///< repeats it, every other time reversed
    eExtrapolationKeepSlope = 4,           ///< continues with the end slope
    eExtrapolationRelativeRepetition = 5,  ///< repeats it, shifted by its rise each time
};

/// The float data of a key.
///
/// GetDataDouble and SetDataDouble take the real value: weights (0.0001 to 0.99, clamped) and
/// velocities (up to about 3.277 either way) are stored as 16-bit numbers of 1/9999.
/// GetDataFloat and SetDataFloat reach the raw float slot of that number, 0 to 3; the bias of a
/// TCB key is reached through them only.
enum EGlissaDataIndex : int
{
    eDataRightSlope = 0,
    eDataNextLeftSlope = 1,
    eDataRightWeight = 2,
    eDataNextLeftWeight = 3,
    eDataRightVelocity = 4,
    eDataNextLeftVelocity = 5,

    eDataTCBTension = 0,
    eDataTCBContinuity = 1,
    eDataTCBBias = 2,
};

/// Weight of a side that is not weighted.
constexpr float kGlissaDefaultWeight = 0.33333334f;
/// Limits of a stored weight.
constexpr float kGlissaMinWeight = 0.00010001f;
constexpr float kGlissaMaxWeight = 0.99f;

/// One side of a key's tangent.
struct GlissaTangeantInfo
{
    float mDerivative = 0.0f;  ///< slope, value per second
    float mWeight = kGlissaDefaultWeight;
    float mVelocity = 0.0f;
    float mAuto = 0.0f;  ///< automatic parameter, see tangent_math.h
    bool mIsWeighted = false;
    bool mIsVelocity = false;
};

/// Everything about a key but its time and value: the flag word and four data slots.
///
/// A key describes the segment on its right. Slot 0 belongs to its right side, slot 1 to the left
/// side of the key after it; slots 2 and 3 hold a pair of 16-bit weights and one of velocities in
/// the same order, or in slot 2 the bias of a TCB key. Changing the kind converts nothing: the bits
/// of the slots stay and are read anew.
struct GLISSA_API GlissaKeyAttributes
{
    static constexpr unsigned kInterpolationMask = 0xF;
    static constexpr unsigned kConstantModeMask = 0x100;
    static constexpr unsigned kCustomIndexMask = 0x700;
    static constexpr unsigned kTangentKindMask = 0xF00;
    static constexpr unsigned kTangentModeMask = 0x7F00;
    static constexpr unsigned kSelectionMask = eSelectPoint | eSelectTangents;
    static constexpr unsigned kVisibilityMask = eTangentShowBoth;
    static constexpr unsigned kWeightModeMask = eWeightAll;
    static constexpr unsigned kVelocityModeMask = eVelocityAll;

    std::uint32_t mFlags;
    float mData[4];

    unsigned GetInterpolation() const { return mFlags & kInterpolationMask; }
    /// A change to cubic writes default weights and velocities. A change to custom is refused when
    /// no custom tangent type is registered, and mends a custom index that does not exist.
    void SetInterpolation(unsigned pInterpolation);

    unsigned GetConstantMode() const { return mFlags & kConstantModeMask; }
    void SetConstantMode(unsigned pMode) { SetField(kConstantModeMask, pMode); }

    unsigned GetCustomIndex() const { return mFlags & kCustomIndexMask; }
    /// Refused (nothing changes) for a custom tangent type that is not registered.
    void SetCustomIndex(unsigned pIndex);

    /// The kind (mask 0xF00), or with pWithRefinement the whole mode (mask 0x7F00).
    unsigned GetTangeantMode(bool pWithRefinement) const
    {
        return mFlags & (pWithRefinement ? kTangentModeMask : kTangentKindMask);
    }
    void SetTangeantMode(unsigned pMode) { SetField(kTangentModeMask, pMode); }

    bool GetBreak() const { return (mFlags & eTangentBreak) != 0; }
    void SetBreak(bool pBreak) { SetField(eTangentBreak, pBreak ? eTangentBreak : 0u); }

    unsigned GetTangeantVisibility() const { return mFlags & kVisibilityMask; }
    void SetTangeantVisibility(unsigned pVisibility) { SetField(kVisibilityMask, pVisibility); }

    bool GetSelected() const { return (mFlags & eSelectPoint) != 0; }
    /// Clears eSelectTangents as well.
    void SetSelected(bool pSelected) { SetField(kSelectionMask, pSelected ? eSelectPoint : 0u); }

    bool GetMarkedForManipulation() const { return (mFlags & eMarkedForManipulation) != 0; }
    void SetMarkedForManipulation(bool pMark)
    {
        SetField(eMarkedForManipulation, pMark ? eMarkedForManipulation : 0u);
    }

    unsigned GetTangeantWeightMode() const { return mFlags & kWeightModeMask; }
    /// Writes the bits of pMask only, within the weight bits.
    void SetTangeantWeightMode(unsigned pMode, unsigned pMask)
    {
        SetField(kWeightModeMask & pMask, pMode);
    }

    unsigned GetTangeantVelocityMode() const { return mFlags & kVelocityModeMask; }
    /// Writes the bits of pMask only, within the velocity bits.
    void SetTangeantVelocityMode(unsigned pMode, unsigned pMask)
    {
        SetField(kVelocityModeMask & pMask, pMode);
    }

    float GetDataDouble(EGlissaDataIndex pIndex) const;
    void SetDataDouble(EGlissaDataIndex pIndex, float pValue);
    float GetDataFloat(EGlissaDataIndex pIndex) const
    {
        CORVEKIT_ASSERT(pIndex >= 0 && pIndex < 4);
        return mData[pIndex];
    }
    void SetDataFloat(EGlissaDataIndex pIndex, float pValue)
    {
        CORVEKIT_ASSERT(pIndex >= 0 && pIndex < 4);
        mData[pIndex] = pValue;
    }

    /// Default weights and velocities, weight and velocity modes off.
    void ResetWeightsAndVelocities();
    void ResetWeights();
    void ResetVelocities() { mData[3] = 0.0f; }

    /// Flags equal and all slots equal as floats: a NaN in a slot differs from itself.
    friend bool operator==(const GlissaKeyAttributes& pLeft, const GlissaKeyAttributes& pRight)
    {
        return pLeft.mFlags == pRight.mFlags && pLeft.mData[0] == pRight.mData[0] &&
               pLeft.mData[1] == pRight.mData[1] && pLeft.mData[2] == pRight.mData[2] &&
               pLeft.mData[3] == pRight.mData[3];
    }

private:
    void SetField(unsigned pMask, unsigned pBits) { mFlags = (mFlags & ~pMask) | (pBits & pMask); }
};

/// The attribute block that stored keys point to, shared by keys of any curve and counted. The
/// count changes on any thread.
struct KPriFCurveKeyAttr : GlissaKeyAttributes
{
    std::uint32_t mReferenceCount;
};

/// A key as a curve stores it, 24 bytes.
struct KPriFCurveKey
{
    KTime mTime;
    KPriFCurveKeyAttr* mAttribute;
    float mValue;
};
static_assert(sizeof(KPriFCurveKeyAttr) == 24);
static_assert(sizeof(void*) != 8 || sizeof(KPriFCurveKey) == 24);

/// A key by value, to be read from a curve or written to it. Changing one posts no event and
/// touches no curve. Default construction sets time, value, flags and data slots to 0.
class GLISSA_API GlissaKey
{
public:
    GlissaKey() { Init(); }
    GlissaKey(const KPriFCurveKey& pKey, const KPriFCurveKeyAttr& pAttribute)
        : mTime(pKey.mTime), mValue(pKey.mValue), mAttributes(pAttribute)
    {}

    void Init()
    {
        mTime = KTime();
        mValue = 0.0f;
        mAttributes = {};
    }
    void Set(const GlissaKey& pKey) { *this = pKey; }
    /// Sets time, value, kind and data. Tangent visibility is switched off, the velocity mode
    /// stays.
    ///
    /// pData0, pData1           slots 0 and 1
    /// pWeight0, pWeight1       right and next left, clamped; pVelocity0, pVelocity1 likewise
    void Set(KTime pTime, float pValue, unsigned pInterpolation, unsigned pTangentMode,
             float pData0, float pData1, unsigned pWeightMode, float pWeight0, float pWeight1,
             float pVelocity0, float pVelocity1);
    /// Makes a cubic TCB key.
    void SetTCB(KTime pTime, float pValue, float pTension, float pContinuity, float pBias);

    KTime GetTime() const { return mTime; }
    void SetTime(KTime pTime) { mTime = pTime; }
    void IncTime(KTime pTime) { mTime += pTime; }

    /// Writing a value runs the check of GlissaInvalidKeyManager.
    float GetValue() const { return mValue; }
    void SetValue(float pValue);
    void IncValue(float pValue) { SetValue(mValue + pValue); }
    void MultValue(float pFactor) { SetValue(mValue * pFactor); }

    unsigned GetInterpolation() const { return mAttributes.GetInterpolation(); }
    void SetInterpolation(unsigned pValue) { mAttributes.SetInterpolation(pValue); }
    unsigned GetConstantMode() const { return mAttributes.GetConstantMode(); }
    void SetConstantMode(unsigned pMode) { mAttributes.SetConstantMode(pMode); }
    unsigned GetCustomIndex() const { return mAttributes.GetCustomIndex(); }
    void SetCustomIndex(unsigned pIndex) { mAttributes.SetCustomIndex(pIndex); }
    unsigned GetTangeantMode(bool pWithRefinement) const
    {
        return mAttributes.GetTangeantMode(pWithRefinement);
    }
    void SetTangeantMode(unsigned pMode) { mAttributes.SetTangeantMode(pMode); }
    unsigned GetTangeantVisibility() const { return mAttributes.GetTangeantVisibility(); }
    void SetTangeantVisibility(unsigned pValue) { mAttributes.SetTangeantVisibility(pValue); }
    bool GetBreak() const { return mAttributes.GetBreak(); }
    void SetBreak(bool pBreak) { mAttributes.SetBreak(pBreak); }
    bool GetSelected() const { return mAttributes.GetSelected(); }
    void SetSelected(bool pSelected) { mAttributes.SetSelected(pSelected); }
    bool GetMarkedForManipulation() const { return mAttributes.GetMarkedForManipulation(); }
    void SetMarkedForManipulation(bool pMark) { mAttributes.SetMarkedForManipulation(pMark); }

    unsigned GetTangeantWeightMode() const { return mAttributes.GetTangeantWeightMode(); }
    void SetTangeantWeightMode(unsigned pMode, unsigned pMask)
    {
        mAttributes.SetTangeantWeightMode(pMode, pMask);
    }
    unsigned GetTangeantVelocityMode() const { return mAttributes.GetTangeantVelocityMode(); }
    void SetTangeantVelocityMode(unsigned pMode, unsigned pMask)
    {
        mAttributes.SetTangeantVelocityMode(pMode, pMask);
    }

    float GetDataDouble(EGlissaDataIndex pIndex) const { return mAttributes.GetDataDouble(pIndex); }
    void SetDataDouble(EGlissaDataIndex pIndex, float pValue)
    {
        mAttributes.SetDataDouble(pIndex, pValue);
    }
    float GetDataFloat(EGlissaDataIndex pIndex) const { return mAttributes.GetDataFloat(pIndex); }
    void SetDataFloat(EGlissaDataIndex pIndex, float pValue)
    {
        mAttributes.SetDataFloat(pIndex, pValue);
    }
    /// Address of slot 0.
    float* GetDataPtr() { return mAttributes.mData; }
    const float* GetDataPtr() const { return mAttributes.mData; }

    const GlissaKeyAttributes& GetAttributes() const { return mAttributes; }
    /// The attributes as a block that no key points to yet.
    KPriFCurveKeyAttr GetKeyAttr() const { return KPriFCurveKeyAttr{mAttributes, 0}; }

private:
    KTime mTime;
    float mValue;
    GlissaKeyAttributes mAttributes;
};

/// The memory of attribute blocks. A block is freed when no key points to it any more.
GLISSA_API extern KMemoryPool GlissaKeyAttrPool;

/// The block of a fresh key: cubic, auto, zero slots, default weights. It holds a reference to
/// itself and is never freed. Its count is the number of keys made by the thread that loaded the
/// library less the number destroyed by it.
GLISSA_API extern KPriFCurveKeyAttr* const GlissaDefaultKeyAttr;
