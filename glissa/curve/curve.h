// Copyright (c) 2026 The glissa authors
// SPDX-License-Identifier: MIT
#pragma once

#include "corvekit/array.h"
#include "corvekit/event/listener_list.h"
#include "corvekit/event/operation.h"
#include "corvekit/object/holder.h"
#include "corvekit/time.h"
#include "glissa/curve/event.h"
#include "glissa/curve/key.h"
#include "glissa/curve/key_list.h"
#include "glissa/curve/memory.h"
#include "glissa/curve/tangent_math.h"
#include "glissa/export.h"
#include "glissa/ext/custom_tangent_events.h"

#include <atomic>
#include <cstdint>

class GlissaNode;
class KTdf;

/// The slopes of a key that CandidateKey makes.
enum EGlissaContinuity : int
{
    eContinuityDefault = 0,        ///< with the slope that the curve had
    eContinuityFlat = 0x100000,    ///< a corner: slope 0 on both sides
    eContinuityBreak = 0x200000,   ///< a corner: slope 0, for a TCB key continuity -1
    eContinuityInsert = 0x400000,  ///< without disturbing the shape; refuses an existing key
};

/// A function curve: keys in time order, each shaping the segment to its right, a default value for
/// a curve without keys, and an extrapolation before the first and after the last key.
///
/// Made by GlissaCreate and ended by Destroy, normally by the node that owns it. Handled by pointer
/// and not copied. One thread at a time edits a curve; while nobody does, any number may evaluate
/// it. Listeners are called on the thread that changes the curve, when the operation that changes
/// it has done its work: they may edit and destroy the curve. docs/conventions.md has the rules.
///
/// Key indexes run from 0 to KeyGetCount() - 1. Operations on one key do not test their index: one
/// out of range is a fault of the caller, caught by an assertion in debug builds. Times are ticks
/// (KTime), slopes value per second.
class GLISSA_API Glissa final : public IZrObjectHolder, public KOperationSubject
{
public:
    // Object frame (curve/curve.cpp, node/curve_owner.cpp)

    Glissa();
    Glissa(const Glissa&) = delete;
    Glissa& operator=(const Glissa&) = delete;

    /// The curve for the ids 0, 51 and 0x29BC7B3, else null.
    IObject* IQuery(unsigned long pId, int pArgument) override;
    /// Deletes the curve and takes it out of the node that holds it. Listeners are called for the
    /// removed keys and then with eEventDestroy. Within an operation the curve ends with that.
    void Destroy(int pArgument = 0) override;
    KZrObjectHolder* GetZrHolder() override { return &mHolder; }

    /// The value of a curve without keys. The bool has no effect. Posts eEventDefaultValue.
    float GetValue() const { return mValue; }
    void SetValue(float pValue, bool pUnused = false);
    /// Display colour: red, green, blue. Null is ignored; no event.
    float* GetColor() { return mColor; }
    void SetColor(const float* pColor);
    GlissaNode* GetOwner() const { return mOwner; }
    void SetOwner(GlissaNode* pOwner) { mOwner = pOwner; }
    /// Whether the owning node is locked; false without an owner.
    bool IsLocked();
    /// A plain number that plotting keeps here.
    int GetWasData() const { return mWasData; }
    void SetWasData(int pWasData) { mWasData = pWasData; }
    /// Changes so far: the low 16 bits count value changes, the high 16 bits selection changes.
    int GetUpdateId() const { return mUpdateId; }
    int GetValuesUpdateId() const { return mUpdateId & 0xFFFF; }
    void IncrementUpdateId(int pIncrement)
    {
        mUpdateId =
            static_cast<int>(static_cast<unsigned>(mUpdateId) + static_cast<unsigned>(pIncrement));
    }

    // Extrapolation (curve/extrapolation.cpp)

    /// EGlissaExtrapolation. Setting posts kGlissaEventOther with eEventEditPreExtrapolation or
    /// eEventEditPostExtrapolation for index -1. A count is how many times the curve is repeated,
    /// or for keep slope for how many spans the line continues; 0 holds the end key's value at
    /// once, 0xFFFFFFFF is without end for keep slope.
    unsigned GetPreExtrapolation() const { return mPreExtrapolation; }
    void SetPreExtrapolation(unsigned pMode);
    unsigned long GetPreExtrapolationCount() const { return mPreExtrapolationCount; }
    void SetPreExtrapolationCount(unsigned long pCount);
    unsigned GetPostExtrapolation() const { return mPostExtrapolation; }
    void SetPostExtrapolation(unsigned pMode);
    unsigned long GetPostExtrapolationCount() const { return mPostExtrapolationCount; }
    void SetPostExtrapolationCount(unsigned long pCount);

    /// Keys including those that extrapolation repeats. Without keys the number means nothing.
    int KeyGetCountAll() const;
    /// KeyFind, after extrapolation has mapped the time into the keys.
    double KeyFindAll(KTime pTime, int* pHint);
    /// Key of an index in the sequence of pre repetitions, keys and post repetitions, each
    /// repetition one entry shorter than the keys. With mirror the two counts decide whether the
    /// repetitions of a side run backward, all of them; times, which KeyFindAll maps, turn each
    /// time.
    ///
    /// pPart  out: 0 before everything, 1 in the pre repetitions, 2 in the keys, 3 in the post
    ///        repetitions, 4 behind everything.
    int MapIndexAll(int pIndexAll, int& pPart) const;

    // Key storage (curve/storage.cpp)

    int KeyGetCount() const { return mKeys.Count(); }
    /// Makes room for pCount keys in all; with pClear the curve is emptied, its pages stay. Room
    /// for a whole take before KeyAppendFast is the cheapest way to record.
    void InitBuffers(int pCount, bool pClear);
    void ResizeKeyBuffer(int pCount, bool pClear) { InitBuffers(pCount, pClear); }
    /// Adds a key of the default shape (cubic, auto) at the end and returns its index. The caller
    /// keeps the order; no event is posted, the update id rises by 1. -1 for the time -2^63.
    int KeyAppendFast(KTime pTime, float pValue);
    /// Frees unused pages and table space, and merges equal attribute blocks.
    void KeyShrink();
    /// Removes all keys and their memory; the default value stays. Posts kGlissaEventRemoved for
    /// the first and the last key.
    void KeyClear();

    /// Whether the outermost KeyModifyEnd merges equal attribute blocks of what changed (at start
    /// it does), and above how many keys (16 at start, at least 2).
    void KeySetOptimizeEnable(bool pEnable);
    void KeySetOptimizeThreshold(int pCount) { mOptimizeThreshold = pCount < 2 ? 2 : pCount; }
    /// A bracket around a batch of changes. Brackets nest; listeners are called once, at the
    /// outermost end.
    void KeyModifyBegin();
    void KeyModifyEnd();

    /// The stored keys, and their page table, 42 keys a page.
    const KeyList& Keys() const { return mKeys; }
    KPriFCurveKey** GetPriFCurveKeysList() const { return mKeys.Table(); }
    KPriFCurveKey* InternalPriKeyGetPtr(int pIndex) const { return &KeyAt(pIndex); }
    KPriFCurveKeyAttr* InternalPriKeyAttrGetPtr(int pIndex) const
    {
        return KeyAt(pIndex).mAttribute;
    }

    // Shared attribute blocks (curve/attributes.cpp)

    /// Points the key to a block that no other key uses.
    void KeyAttrSeparate(int pIndex);
    void KeyAttrSeparateCheck(int pIndex);
    /// Replaces the attributes of a key. At or past the count the curve grows: keys in the gap
    /// take the time 0 and the default block, and the caller gives them their times. Posts
    /// kGlissaEventAdded for a grown curve, else kGlissaEventAllAttributes; nothing when equal.
    void KeyAttrSet(int pIndex, const KPriFCurveKeyAttr& pAttribute);
    /// Lets equal neighbours among the keys pFirst to pLast + 1 share a block.
    void KeyAttrShrink(int pFirst, int pLast);

    // Reading a key: the bits of curve/key.h

    GlissaKey KeyGet(int pIndex) const
    {
        return GlissaKey(KeyAt(pIndex), *KeyAt(pIndex).mAttribute);
    }
    KTime KeyGetTime(int pIndex) const { return KeyAt(pIndex).mTime; }
    float KeyGetValue(int pIndex) const { return KeyAt(pIndex).mValue; }
    unsigned KeyGetInterpolation(int pIndex) const { return Attr(pIndex).GetInterpolation(); }
    unsigned KeyGetConstantMode(int pIndex) const { return Attr(pIndex).GetConstantMode(); }
    unsigned KeyGetCustomIndex(int pIndex) const { return Attr(pIndex).GetCustomIndex(); }
    /// The kind of tangent (mask 0xF00), or with pWithRefinement the whole mode (mask 0x7F00).
    unsigned KeyGetTangeantMode(int pIndex, bool pWithRefinement) const
    {
        return Attr(pIndex).GetTangeantMode(pWithRefinement);
    }
    unsigned KeyGetTangeantWeightMode(int pIndex) const
    {
        return Attr(pIndex).GetTangeantWeightMode();
    }
    unsigned KeyGetTangeantVelocityMode(int pIndex) const
    {
        return Attr(pIndex).GetTangeantVelocityMode();
    }
    unsigned KeyGetTangeantVisibility(int pIndex) const
    {
        return Attr(pIndex).GetTangeantVisibility();
    }
    bool KeyGetBreak(int pIndex) const { return Attr(pIndex).GetBreak(); }
    bool KeyGetSelected(int pIndex) const { return Attr(pIndex).GetSelected(); }
    bool KeyGetMarkedForManipulation(int pIndex) const
    {
        return Attr(pIndex).GetMarkedForManipulation();
    }
    float KeyGetDataDouble(int pIndex, EGlissaDataIndex pData) const
    {
        return Attr(pIndex).GetDataDouble(pData);
    }
    float KeyGetDataFloat(int pIndex, EGlissaDataIndex pData) const
    {
        return Attr(pIndex).GetDataFloat(pData);
    }
    const float* KeyGetDataPtr(int pIndex) const { return Attr(pIndex).mData; }

    // Adding, replacing and removing keys (curve/editing.cpp)
    //
    // Keys are in strictly increasing time. The left side of a key is stored in the key before it.
    // KeyRemove, Delete, Insert, Replace and CandidateKey give the key after the edited place its
    // left side back, and so do KeyMove and KeyMoveOf for a key that passes another one or comes
    // near it: a user tangent keeps its slopes on both sides, an automatic one its parameters, and
    // its slopes follow the keys around it. KeyInsert keeps the slopes of automatic keys too.
    // KeyAdd, KeySet and KeyAppend write the key that they are given and nothing else: the next key
    // has the left side that this one stores. Bulk edits belong into a bracket.
    //
    // Any time but -2^63, which a store reads as no time, can be that of a key. An edit that would
    // take a key there, or past either end of the range of times, is refused whole: -1 or false,
    // nothing changed and no event. Operations of which it is said that they do not test the order
    // do not test the time either.

    /// Adds a key, or replaces the one at that time, and returns its index. Posts
    /// kGlissaEventAllAttributes, and for a new key kGlissaEventAdded.
    /// pHint  in and out, may be null: where the search starts, and afterwards the new index.
    int KeyAdd(KTime pTime, const GlissaKey& pKey, int* pHint = nullptr);
    /// Adds a default key with the value that the curve has there.
    int KeyAdd(KTime pTime, int* pHint = nullptr);
    /// Adds a key with the value of a source key, sharing its attribute block. Posts
    /// kGlissaEventAdded; nothing where a key at that time takes value and block.
    int KeyAdd(KTime pTime, const Glissa* pSource, int pSourceIndex, int* pHint = nullptr);
    /// Puts a copy of a key behind the last one; the caller keeps the order. Posts
    /// kGlissaEventAdded.
    int KeyAppend(KTime pTime, const Glissa* pSource, int pSourceIndex);

    /// Replaces a key. False, and nothing changed, when the time breaks the order. Posts
    /// kGlissaEventAllAttributes, or with equal attributes kGlissaEventValue and kGlissaEventTime
    /// for what did change.
    bool KeySet(int pIndex, const GlissaKey& pKey);
    /// The same from a source key, sharing its block. Posts kGlissaEventAllAttributes, at or past
    /// the count kGlissaEventAdded.
    bool KeySet(int pIndex, const Glissa* pSource, int pSourceIndex);
    /// Replaces a key without a test of the order. Arguments as GlissaKey::Set.
    void KeySet(int pIndex, KTime pTime, float pValue, unsigned pInterpolation,
                unsigned pTangentMode, float pData0 = 0.0f, float pData1 = 0.0f,
                unsigned pWeightMode = eWeightNone, float pWeight0 = kGlissaDefaultWeight,
                float pWeight1 = kGlissaDefaultWeight, float pVelocity0 = 0.0f,
                float pVelocity1 = 0.0f);
    /// Makes a TCB key without a test of the order.
    void KeySetTCB(int pIndex, KTime pTime, float pValue, float pTension = 0.0f,
                   float pContinuity = 0.0f, float pBias = 0.0f);

    /// Removes a key; the value of the only one becomes the default value. False out of range.
    bool KeyRemove(int pIndex);
    /// Removes the keys pFirst to pLast. False for an empty or impossible range.
    bool Delete(int pFirst, int pLast);
    /// Removes the keys between two times, with pInclusive those on them too.
    bool Delete(KTime pFrom, KTime pTo, bool pInclusive);

    // Values and times (curve/moving.cpp, curve/scaling.cpp)

    /// Each posts kGlissaEventValue.
    void KeySetValue(int pIndex, float pValue);
    void KeyIncValue(int pIndex, float pValue);
    void KeyMultValue(int pIndex, float pFactor);
    /// Each posts kGlissaEventTime. The order is not tested; a sum beyond the range of times is its
    /// end.
    void KeySetTime(int pIndex, KTime pTime);
    void KeyIncTime(int pIndex, KTime pTime);

    /// Moves one key, past others where necessary, and returns its new index. It replaces none: at
    /// the time of another key it is placed 1e-5 s after that one. A refused move returns pIndex.
    int KeyMove(int pIndex, KTime pTime);
    /// Moves a key and all after it. False when it would not stay behind the key before, or a key
    /// would leave the range of times.
    bool KeyMoveOf(int pIndex, KTime pDelta, float pValue);
    /// Moves all keys or the selected ones; moved ones pass those that stay. False when a key would
    /// leave the range of times.
    bool KeyMoveOf(bool pSelectedOnly, KTime pDelta, float pValue);
    /// Moves a range; keys that it lands on are removed. False for an impossible range, and when a
    /// key would leave the range of times.
    bool KeyMoveOf(KTime pDelta, int pFirst, int pLast);
    bool KeyMoveOf(KTime pFrom, KTime pTo, KTime pDelta, bool pInclusive);

    /// All or the selected values. Without keys, and unless only selected ones are meant, the
    /// default value; KeyScaleValue scales that one also where there are keys. True.
    bool KeyMoveValueTo(bool pSelectedOnly, float pValue);
    bool KeyScaleValue(bool pSelectedOnly, float pFactor);
    /// The slopes of user tangents.
    bool KeyScaleTangeant(bool pSelectedOnly, float pFactor);
    bool KeyScaleValueAndTangeant(bool pSelectedOnly, float pFactor);
    /// User tangents alone. Posts kGlissaEventOther with eEventEditTangentMode.
    void KeyMultTangeant(int pIndex, float pFactor);
    void KeyMultDerivative(int pIndex, float pFactor);  ///< both sides of a user or broken tangent
    /// User tangents alone. Each posts kGlissaEventOther with eEventEditSlope.
    void KeyIncLeftDerivative(int pIndex, float pSlope);
    void KeyIncRightDerivative(int pIndex, float pSlope);

    // Kinds and selection (curve/tangent_kind.cpp)

    /// Changes the kind of all or the selected keys and keeps the slopes that the curve had. Posts
    /// kGlissaEventOther with eEventEditInterpolation or eEventEditTangentMode.
    void KeyTangeantSetInterpolation(bool pSelectedOnly, unsigned pInterpolation);
    void KeyTangeantSetMode(bool pSelectedOnly, unsigned pMode);
    /// Each posts eEventSelection for index -1.
    void KeyTangeantHide();
    void KeySelectAll();
    void KeyUnselectAll();
    int KeyGetSelectionCount() const;

    // Candidates (curve/candidate.cpp)
    //
    // A value at a time that is not a key yet, at most one a curve. Every change of a key ends it,
    // and so does the end of a bracket. KTime::Infinite() is no time for one.

    /// Stores a candidate; the value becomes a float. True.
    bool CandidateSet(KTime pTime, double pValue);
    bool CandidateClear();
    bool IsCandidate() const { return mCandidateTime != KTime::Infinite(); }
    double CandidateGet() const { return mCandidateValue; }
    KTime CandidateGetTime() const { return mCandidateTime; }
    /// The candidate's value at its own time. At any other time the value of the curve, which
    /// becomes the candidate. pHint as in Evaluate.
    double CandidateEvaluate(KTime pTime, int* pHint);
    /// Makes a key of the candidate, with the slopes that the curve had. False without a candidate,
    /// at the time -2^63, where an insertion finds a key, and where a key would become custom with
    /// no type registered.
    ///
    /// pLast             in and out, may be null: where the search starts; the index of the key.
    /// pTangentMode      of the key, mask 0x7F00; a custom index for a custom key.
    /// pContinuity       EGlissaContinuity. A corner on an automatic key with a TCB key before it
    ///                   takes a user tangent: behind TCB no parameter would make it flat.
    /// pTangentOverride  false: a key that is there takes time and value only.
    /// pTime             the time of the candidate, Infinite() for the one it has.
    /// pTolerance        how far from a key, in index steps, the key still counts as being there.
    bool CandidateKey(int* pLast, int pInterpolation, int pTangentMode, int pContinuity,
                      bool pTangentOverride, KTime pTime = KTime::Infinite(),
                      double pTolerance = 0.0);
    /// Adds a key of the kind before it and keeps the shape of the curve between its end keys: a
    /// neighbour whose slope follows the new key gets other parameters, where they do not suffice
    /// another kind of tangent, and so do TCB keys before it that leave its slope no place. Behind
    /// the keys and before them the end tangent is continued.
    ///
    /// pHint  in and out, may be null; afterwards the index of the key at the time.
    /// Returns the index of the key at that time; behind the last key, that of the old last key; -1
    /// for the time -2^63.
    int KeyInsert(KTime pTime, int* pHint = nullptr);

    // Whole curves and spans (curve/range.cpp)
    //
    // The source is another curve. Its keys are added with their attribute blocks shared; a change
    // in either curve separates them.

    /// A new curve, ended by Destroy. The whole of time makes an equal curve; any other span
    /// one without keys, which has the default value, candidate, was-data and update id.
    Glissa* Copy(KTime pStart = KTime::MinusInfinite(), KTime pStop = KTime::Infinite()) const;
    /// Takes over keys (or with pWithKeys off none), default value, colour, was-data, candidate and
    /// extrapolation. Posts kGlissaEventOther with eEventEditCopied, and for the keys
    /// kGlissaEventRemoved and kGlissaEventAdded. From itself: nothing.
    void CopyFrom(const Glissa& pSource, bool pWithKeys = true);
    /// Puts all keys of a source in, its first key at pOffset. A key on the time of another takes
    /// its place. The sides of a custom key are not set where the callback for new keys is enabled:
    /// they are the host's. Does nothing where a key would leave the range of times.
    ///
    /// pFirstLeft  left side of the first key, whose right side stays; the others keep theirs.
    void Insert(Glissa* pSource, KTime pOffset, const GlissaTangeantInfo& pFirstLeft);
    void Insert(Glissa* pSource, KTime pOffset, float pFirstLeftDerivative, bool pFirstLeftWeighted,
                float pFirstLeftWeight);
    /// Replaces the keys of a span, both ends included, by those that a source has there. The first
    /// and the last added key take the slopes that the curve had at the ends of the span;
    /// the key behind it keeps its slopes on both sides. Does nothing where a key would leave the
    /// range of times. The default value stays where keys are added.
    ///
    /// pStart, pStop      of the source, MinusInfinite() and Infinite() for where its keys end.
    /// pExactSpan         off, the slope at an end that is open is set as well.
    /// pKeyEndsWhenEmpty  where the source has no key from pStart on, the span holds the source's
    ///                    default value, and a tick outside it keys keep the curve as it was. Off,
    ///                    the span is cleared and no more.
    /// pOffset            from a time of the source to that of this curve; without source keys the
    ///                    span is one of this curve.
    void Replace(Glissa* pSource, KTime pStart, KTime pStop, bool pExactSpan,
                 bool pKeyEndsWhenEmpty, KTime pOffset);
    /// The same for a rotation whose angle jumps: values of the span become pAddFromStart + v, or
    /// inverted pAddFromStart - v, those behind it likewise. A shift up to 1e-7 is none.
    void ReplaceForEulerXYZ(Glissa* pSource, KTime pStart, KTime pStop, float pAddFromStart,
                            float pAddAfterStop, bool pInvertFromStart, bool pInvertAfterStop,
                            bool pExactSpan, bool pKeyEndsWhenEmpty, KTime pOffset);

    // Analysis (curve/analysis.cpp)

    /// Extrema inside the segment behind a key, 0 to 2, in time order; the outputs beyond their
    /// number stay. The segment is taken as cubic whatever its interpolation.
    int FindPeaks(int pIndex, float& pValue1, float& pValue2);
    int FindPeaks(int pIndex, KTime& pTime1, KTime& pTime2);
    int FindPeaks(int pIndex, KTime& pTime1, float& pValue1, KTime& pTime2, float& pValue2);
    /// Appends the indexes of those of the keys pFirst to pLast whose value lies in a range, its
    /// bounds included. Indexes beyond the keys are allowed.
    void ExtractKeysIndex(KArrayTemplate<int>& pIndexes, int pFirst, int pLast, double pMinValue,
                          double pMaxValue) const;
    /// 2: keys of one automatic kind at even distances, as sampling leaves them; 1: at uneven
    /// distances, and a single key or none; 0: made by hand.
    ///
    /// pFirstTime, pPeriod  out, may be null: time of the first key, first distance.
    int GuessWasData(KTime* pFirstTime, KTime* pPeriod) const;
    /// Whether a key behind the first is cubic, auto and has both parameters 0.
    bool NormalsSeemsToComeFromAPlot() const;
    /// Distances of neighbouring keys. With fewer than two keys Infinite(), Infinite() and 0.
    void KeyGetPeriods(KTime& pAverage, KTime& pMinimum, KTime& pMaximum) const;
    /// Whether the page table agrees with the counts.
    bool CheckCurve() const;
    /// Replaces the keys by those of a table of pages made outside, 42 records a page, each record
    /// with an attribute block of the caller's. Blocks are copied, equal neighbours as one. The
    /// quick way to load: no event is posted for the new keys, the update id rises by 1.
    void CopyExternalPriKeyAndAttr(void** pPages, int pCount);

    // Search (curve/search.cpp)

    /// Fractional key index of a time: i + f is key i plus the fraction f of the time to key i + 1;
    /// a time on a key is a whole number. -0.5 before the first key, the count minus 0.5 after
    /// the last one, -1 without keys.
    ///
    /// pHint  in and out, may be null: see Evaluate.
    double KeyFind(KTime pTime, int* pHint);

    // Evaluation (curve/evaluation.cpp)

    /// Value of the curve at a time, extrapolation included.
    ///
    /// pTime  ticks; any value, the two infinities too.
    /// pHint  in and out, may be null. The key index at which the search starts: any int will do,
    ///        it is clamped. Pass it on to the next call. Null uses the curve's own search
    ///        index, which this call then moves.
    /// Returns the value in the curve's unit; without keys the default value, with one key its
    /// value at every time.
    /// Cost: constant within a few keys of the hint, logarithmic in the key count beyond; a
    /// weighted segment evaluates its time cubic up to 17 times. Allocates nothing by itself.
    float Evaluate(KTime pTime, int* pHint);
    /// Value at a fractional key index, 0 to the count minus 1; beyond, that of the end key.
    float EvaluateIndex(double pIndex);
    /// Slope arriving at a time; 0 with fewer than two keys and outside the keys. pHint as above.
    float EvaluateLeftDerivative(KTime pTime, int* pHint);
    /// Slope leaving a time: differs from the one arriving on a key only.
    float EvaluateRightDerivative(KTime pTime, int* pHint);

    // An evaluation function of the host (curve/curve.cpp, node/curve_owner.cpp)

    /// Keeps an evaluation function and its object for the node that evaluates this curve and for
    /// the host; Evaluate does not call it. With a null argument the pair is taken over from the
    /// object layer of the owner.
    void CallbackEvaluationRegister(void* pFunction, void* pObject);
    /// Forgets the pair, whatever the arguments.
    void CallbackEvaluationUnregister(void* pFunction, void* pObject);
    bool IsEvaluationOverwritten() const { return mEvaluationFunction && mEvaluationObject; }
    void* GetEvaluationCallbackFunction() const { return mEvaluationFunction; }
    void* GetEvaluationCallbackObject() const { return mEvaluationObject; }

    // Slopes at a key (curve/slopes.cpp)

    /// pExtremes     a progressive tangent of an end key takes the secant instead of 0.
    /// pIgnoreClamp  a clamped tangent is not flattened.
    float KeyGetLeftDerivative(int pIndex, bool pExtremes = false, bool pIgnoreClamp = false);
    float KeyGetRightDerivative(int pIndex, bool pExtremes = false);
    /// Which sides of a clamped auto key are flat, since a neighbour's value is equal to within
    /// 0.0001.
    void IsClamped(int pIndex, bool& pLeft, bool& pRight);
    /// Weights of the two sides, 0.33333334 for one that is not weighted.
    float KeyGetLeftTangeantWeight(int pIndex) const;
    float KeyGetRightTangeantWeight(int pIndex) const;
    bool KeyIsLeftTangeantWeighted(int pIndex) const;
    bool KeyIsRightTangeantWeighted(int pIndex) const;
    /// Velocities of the two sides, 0 for one that has none.
    float KeyGetLeftTangeantVelocity(int pIndex) const;
    float KeyGetRightTangeantVelocity(int pIndex) const;
    bool KeyIsLeftTangeantVelocity(int pIndex) const;
    bool KeyIsRightTangeantVelocity(int pIndex) const;

    // Setting the attributes of a key (curve/attribute_setters.cpp)
    //
    // A write that changes nothing does nothing. Any other separates a shared block, ends a pending
    // candidate and posts kGlissaEventOther with the bit named.

    void KeySetInterpolation(int pIndex, unsigned pInterpolation);  ///< eEventEditInterpolation
    void KeySetConstantMode(int pIndex, unsigned pMode);            ///< eEventEditConstantMode
    void KeySetTangeantMode(int pIndex, unsigned pMode);            ///< eEventEditTangentMode
    void KeySetCustomIndex(int pIndex, unsigned pCustomIndex);      ///< no further bit
    void KeySetBreak(int pIndex, bool pBreak);                      ///< eEventEditBreak
    /// Bits of the weight mode within pMask; eEventEditWeight.
    void KeySetTangeantWeightMode(int pIndex, unsigned pMode, unsigned pMask);
    /// Bits of the velocity mode within pMask; eEventEditVelocity.
    void KeySetTangeantVelocityMode(int pIndex, unsigned pMode, unsigned pMask);
    void KeySetTangeantVisibility(int pIndex, unsigned pVisibility);  ///< eEventSelection alone
    void KeySetSelected(int pIndex, bool pSelected);                  ///< eEventSelection alone
    void KeySetMarkedForManipulation(int pIndex, bool pMark);         ///< no event
    /// With the bit of what the slot means to the key's tangent: eEventEditSlope for the slopes or
    /// automatic parameters, eEventEditWeight, eEventEditVelocity, or one of the TCB bits.
    void KeySetDataDouble(int pIndex, EGlissaDataIndex pData, float pValue);
    void KeySetDataFloat(int pIndex, EGlissaDataIndex pData, float pValue);

    // Tangents, one side at a time (curve/tangents.cpp)
    //
    // Left forms act on what is stored in the key before. Setters on a side that does not exist, or
    // on a key of a kind that has no such tangent, do nothing.

    void KeySetLeftDerivative(int pIndex, float pSlope);
    void KeySetRightDerivative(int pIndex, float pSlope);
    /// Automatic parameter of a side, see tangent_math.h; for a tangent that is not automatic the
    /// one that would have its slope.
    ///
    /// pApplyClamp  for a side that the clamp makes flat, the parameter of slope 0.
    float KeyGetLeftAuto(int pIndex, bool pApplyClamp);
    float KeyGetRightAuto(int pIndex, bool pApplyClamp);
    void KeySetLeftAuto(int pIndex, float pAuto);
    void KeySetRightAuto(int pIndex, float pAuto);
    /// Value of the Bézier handle, a third of the segment away from the key.
    float KeyGetLeftBezierTangeant(int pIndex, bool pExtremes = false);
    float KeyGetRightBezierTangeant(int pIndex, bool pExtremes = false);
    void KeySetLeftBezierTangeant(int pIndex, float pValue);
    void KeySetRightBezierTangeant(int pIndex, float pValue);
    /// Setting a weight or velocity turns its mode on. Weights are clamped to 0.0001..0.99.
    void KeySetLeftTangeantWeight(int pIndex, float pWeight);
    void KeySetRightTangeantWeight(int pIndex, float pWeight);
    void KeySetLeftTangeantWeightedMode(int pIndex, bool pOn);
    void KeySetRightTangeantWeightedMode(int pIndex, bool pOn);
    void KeySetLeftTangeantVelocity(int pIndex, float pVelocity);
    void KeySetRightTangeantVelocity(int pIndex, float pVelocity);
    void KeySetLeftTangeantVelocityMode(int pIndex, bool pOn);
    void KeySetRightTangeantVelocityMode(int pIndex, bool pOn);
    /// A whole side. Setting writes the automatic parameter of an automatic key, or with
    /// pForceDerivative the one that has the slope; a TCB key stays as it is.
    GlissaTangeantInfo KeyGetLeftDerivativeInfo(int pIndex);
    GlissaTangeantInfo KeyGetRightDerivativeInfo(int pIndex);
    void KeySetLeftDerivativeInfo(int pIndex, const GlissaTangeantInfo& pInfo,
                                  bool pForceDerivative);
    void KeySetRightDerivativeInfo(int pIndex, const GlissaTangeantInfo& pInfo,
                                   bool pForceDerivative);
    /// Cubic, auto, both parameters 0, no side weighted.
    bool IsKeyInterpolationPureCubicAuto(int pIndex);

    // Store (curve/store.cpp, curve/store_read.cpp, curve/store_repair.cpp)
    //
    // The curve as fields of the block that is open in a document. docs/curve-format.md describes
    // them, and what the format does not keep. Write one curve a block.

    /// Appends the curve to the open block. True; a refused write is an error of the document.
    ///
    /// pOnlyDefaults  the default value alone.
    /// pWithColor     the display colour too.
    /// pOlderKeyForm  automatic keys as slopes, for readers that know no auto parameters.
    bool TdfStore(KTdf* pTdf, bool pOnlyDefaults, bool pWithColor, bool pOlderKeyForm);
    /// Replaces the curve by the next one of the block, of any version. False, and nothing changed,
    /// only when the block has no further "Default". A damaged key is removed, the others stay.
    /// No event is posted and those that were collected are dropped; owner, listeners, and without
    /// pWithColor the colour, stay. Arguments as TdfStore.
    ///
    /// pStoredKeys  out, may be null: the key count of the document, damaged keys included.
    bool TdfRetrieve(KTdf* pTdf, bool pOnlyDefaults, bool pWithColor, int* pStoredKeys = nullptr);
    /// The same where the caller has opened "Default" already. True.
    bool TdfInternalRetrieve(KTdf* pTdf, bool pOnlyDefaults, bool pWithColor,
                             int* pStoredKeys = nullptr);

    // Events (curve/events.cpp, curve/storage.cpp)

    using Listener = void (*)(Glissa* pCurve, GlissaEvent* pEvent, void* pObject);

    /// Adds a listener; the same pair can be added twice.
    void CallbackRegister(Listener pFunction, void* pObject);
    /// Removes the last equal pair, if there is one.
    void CallbackUnregister(Listener pFunction, void* pObject);
    /// Whether a listener of this curve or of the managers may be called for a change.
    bool IsObserved() const;
    /// Turning off collects what is posted; turning on sends what was collected as one event. What
    /// listeners post while that is sent is collected for the next time.
    void CallbackEnable(bool pEnable);
    bool IsCallbackEnabled() const { return (mFlags & kCallbacksEnabled) != 0; }
    /// Posts a change of a key, or of the whole curve with index -1.
    void CallbackAddEvent(int pType, int pKey);
    /// Drops what was collected.
    void CallbackClear() { mPendingEvent.Clear(); }
    /// Adds to the detailed fields of what is being collected; nothing is sent.
    void AddDetailedEvent(int pType, int pFirst, int pLast)
    {
        mPendingEvent.AddDetailedEvent(pType, pFirst, pLast);
    }
    /// Report to GlissaCustomTangentManager an added key, and one before and after a change. Within
    /// an operation the report follows at its end, with the index that the key has then; the one
    /// before a change is made at once.
    void CallKeyAddCallback(KPriFCurveKey* pKey, int pIndex);
    void CallKeyChangeCallback(KPriFCurveKey* pKey, int pIndex, bool pBefore,
                               eCustomKeyChangeType pType);
    bool GetCallbackForCustomKeyAddEnabled() const { return mCustomKeyAddEnabled; }
    void SetCallbackForCustomKeyAddEnabled(bool pEnable) { mCustomKeyAddEnabled = pEnable; }
    void SetCallbackForCustomKeyChangeEnabled(bool pEnable) { mCustomKeyChangeEnabled = pEnable; }

private:
    friend class GlissaNode;

    static constexpr unsigned kCallbacksEnabled = 1;
    static constexpr unsigned kOptimizeEnabled = 2;
    static constexpr unsigned kIsEnding = 4;  // Destroy was called

    ~Glissa() override;
    void DeleteSubject() override { delete this; }

    KPriFCurveKey& KeyAt(int pIndex) const
    {
        CORVEKIT_ASSERT(pIndex >= 0 && pIndex < KeyGetCount());
        return mKeys[pIndex];
    }
    const KPriFCurveKeyAttr& Attr(int pIndex) const { return *KeyAt(pIndex).mAttribute; }

    // Writing: a record, attributes
    void WriteRecord(int pIndex, KTime pTime, float pValue);
    bool WriteAttributes(int pIndex, const GlissaKeyAttributes& pAttributes);
    void WriteAndPost(int pIndex, const GlissaKeyAttributes& pAttributes, int pEvent);
    bool SetAndReport(int& pIndex, void (GlissaKeyAttributes::*pSet)(unsigned), unsigned pValue,
                      bool pReports, eCustomKeyChangeType pType);
    void SetData(int pIndex, EGlissaDataIndex pData, const GlissaKeyAttributes& pAttributes);
    void IncSlope(int pIndex, EGlissaDataIndex pData, float pSlope);
    void ChangeKind(int pIndex, GlissaKeyAttributes pAttributes, int pEvent);
    void ChangeFlagsOfAll(unsigned pMask, unsigned pBits);
    void ResetCandidate() { mCandidateTime = KTime::Infinite(); }

    // Keys added and removed
    bool KeepsOrder(int pIndex, KTime pTime) const;
    double FindPlaceToAdd(KTime pTime, int* pHint);
    int OpenRecord(double pPlace, KTime pTime, float pValue);
    int PostAdded(int pIndex, int* pHint);
    [[gnu::noinline]] int AppendWithChecks(KTime pTime, float pValue);
    bool GrowTo(int pIndex);
    void RemoveRange(int pFirst, int pLast);

    // Spans
    struct ValueShift;
    void ReplaceSpan(Glissa* pSource, const KTimeSpan& pSpan, bool pExactSpan,
                     bool pKeyEndsWhenEmpty, KTime pOffset, const ValueShift& pFromStart,
                     const ValueShift& pAfterStop);
    void ShiftKeys(int pFirst, int pLast, const ValueShift& pShift);
    void HoldSpan(const KTimeSpan& pTarget, const KTimeSpan& pSpan, float pValue);

    // Store
    class StoreReader;
    int RetrieveKeys(KTdf& pTdf);

    // Attribute blocks
    void ReleaseAttribute(KPriFCurveKey& pKey);
    void PointToAttribute(KPriFCurveKey& pKey, KPriFCurveKeyAttr* pAttribute);
    void ReleaseAllAttributes();
    void AddAllReferences();
    template <typename Count>
    void ForEachRunOfBlocks(const Count& pCount);
    /// Searches with the curve's own hint, which several threads may read and move at once.
    template <typename Search>
    auto WithOwnHint(const Search& pSearch)
    {
        int hint = mSearchIndex.load(std::memory_order_relaxed);
        const auto found = pSearch(hint);
        mSearchIndex.store(hint, std::memory_order_relaxed);
        return found;
    }

    // Events
    bool CallListeners(GlissaEvent pEvent);
    bool MustCallsWait() const;
    GlissaEvent TakePendingEvent();
    void SendCollected(const GlissaEvent& pEvent, bool pEnableAfter);
    void SetFlag(unsigned pFlag, bool pSet) { mFlags = pSet ? mFlags | pFlag : mFlags & ~pFlag; }
    template <typename Report>
    void ReportAtEnd(KTime pTime, int pIndex, Report pReport);
    int PlaceOfKey(KTime pTime, int pIndex);
    void LeaveNode();

    // Search and evaluation
    KTime KeyTimeAfter(KTime pTime);
    KTime KeyTimeBefore(KTime pTime);
    double FindOutside(KTime pTime, int& pHint);
    float EvaluateFarFromHint(KTime pTime, int& pHint);
    float EvaluateRareCases(KTime pTime, int& pHint);
    float EvaluateOutside(KTime pTime, int& pHint);
    bool EvaluateCustomAround(double pIndex, KTime pTime, float& pValue);
    float CallCustomEvaluation(double pIndex, KTime pTime);
    float EvaluateSegment(int pIndex, double pT);
    float SlopeAtIndex(double pIndex, bool pRightSide);

    float mColor[3] = {1.0f, 1.0f, 1.0f};
    float mValue = 0.0f;
    int mUpdateId = 0;
    unsigned mFlags = kCallbacksEnabled | kOptimizeEnabled;
    int mOptimizeThreshold = 16;
    int mModifyNesting = 0;
    // Playback that stays near its hint reads nothing of the curve but this, in one cache line.
    KeyList mKeys;
    unsigned mPreExtrapolation = eExtrapolationConstant;
    unsigned mPreExtrapolationCount = 0;
    unsigned mPostExtrapolation = eExtrapolationConstant;
    unsigned mPostExtrapolationCount = 0;
    int mWasData = 0;
    std::atomic<int> mSearchIndex = 0;         // where a search without a hint starts
    KTime mCandidateTime = KTime::Infinite();  // none is set
    float mCandidateValue = 0.0f;
    GlissaEvent mPendingEvent;
    struct ListenerPair
    {
        Listener mFunction;
        void* mObject;

        friend bool operator==(const ListenerPair&, const ListenerPair&) = default;
    };
    KListenerList<ListenerPair> mListeners;
    bool mCustomKeyAddEnabled = true;
    bool mCustomKeyChangeEnabled = true;
    void* mEvaluationFunction = nullptr;
    void* mEvaluationObject = nullptr;
    GlissaNode* mOwner = nullptr;
    Glissa** mPlace = nullptr;  // where the node that holds this curve points to it
    KZrObjectHolder mHolder;
};

/// A new empty curve on the heap, ended by Destroy.
GLISSA_API Glissa* GlissaCreate();
