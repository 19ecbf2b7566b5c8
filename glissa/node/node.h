// Copyright (c) 2026 The glissa authors
// SPDX-License-Identifier: MIT
#pragma once

#include "corvekit/array.h"
#include "corvekit/object/data_type.h"
#include "corvekit/object/holder.h"
#include "corvekit/set.h"
#include "corvekit/string.h"
#include "corvekit/time.h"
#include "glissa/export.h"
#include "glissa/node/candidate_state.h"
#include "glissa/node/layer.h"
#include "glissa/node/node_event.h"
#include "glissa/node/store_fault.h"
#include "glissa/settings/settings.h"

#include <vector>

class Glissa;
class IConnector;
class IGlissaETI;
class ILockQuery;
class KgeRGBVector;
class KgeRMatrix;
class KProperty;
class KTdf;
struct EvaluationMode;
struct GlissaNodeState;

/// What a node animates and how its values are blended; GetLayerType and SetLayerType.
enum EGlissaLayerType : int
{
    eLayerTypeValue = 0,              ///< a plain value, such as one channel of a vector
    eLayerTypeVector = 1,             ///< numbers that add
    eLayerTypeRotation = 2,           ///< Euler angles in degrees, composed as rotations
    eLayerTypeScaling = 3,            ///< scaling, composed by multiplication
    eLayerTypeRotationByChannel = 5,  ///< Euler angles in degrees, blended channel by channel
    eLayerTypeScalingAlt = 6,         ///< a second kind of scaling, for which no blending exists
};

/// A node of the tree in which curves hang. A leaf owns a curve, a branch has children; a node "T"
/// of type KDataTypeLclTranslation with the children "X", "Y" and "Z" is one animated translation.
/// The same class forms the layers of such a channel: further nodes of the same structure in a
/// chain behind the base node, in ascending order of layer id, blended by weight and mode.
///
/// Made by the factories below and ended by Destroy. A node owns its curve, the layers behind it
/// and, unless it is a container, its children. It does not own parent, template, data node, object
/// layer, connector or the host's layers. Handled by pointer and not copied. One thread at a time
/// edits a tree; while nobody does, any number may evaluate it without candidates. Listeners are
/// called on the thread that changes the node, when the operation that changes it has done its
/// work: they may edit and destroy it. docs/conventions.md has the rules.
///
/// Values of a node are doubles in the order of its children, one for a leaf; a layered node has at
/// most four. Rotations are Euler angles in degrees in the node's rotation order. Masks of channels
/// are arrays of one bool for each child, or null for all channels.
///
/// A child is one level below its parent, a layer one level below the node before it in the chain.
/// A tree has at most kMaxLevels levels, and no node holds itself, by whatever way: as child, as
/// layer or through time warps. Operations that would break this change nothing.
class GLISSA_API GlissaNode : public IZrObjectHolder
{
public:
    /// Most levels of a tree: as many as blocks nest in a document, KTdf::kMaxNesting.
    static constexpr int kMaxLevels = 1024;

    /// Names and host data that a node shares with those made from it as from a template. Counted;
    /// the count changes on any thread.
    struct NameInfo
    {
        KString mName;
        KString mUserName;
        KDataType* mDataType = nullptr;
        KProperty* mProperty = nullptr;
        ILockQuery* mLockQuery = nullptr;
        int mReferenceCount = 1;
    };

    // Object frame (node/node.cpp)

    /// A node of layer type pLayerType (EGlissaLayerType). A rotation that belongs to a layer other
    /// than the base is by channel where the host's layer says so. Null names are empty ones.
    GlissaNode(const char* pName, const char* pUserName, KDataType* pType, int pLayerType,
               const GlissaLayerInfo& pInfo);
    /// A node of the template's names, layer type, rotation order and candidates; without children
    /// and curve.
    explicit GlissaNode(GlissaNode* pTemplate);
    GlissaNode(const GlissaNode&) = delete;
    GlissaNode& operator=(const GlissaNode&) = delete;

    /// The node for the ids 0, 51 and 0x29BC7B2, else null.
    IObject* IQuery(unsigned long pId, int pArgument) override;
    /// Deletes the node with all that it owns. Listeners are called with eNodeEventDestroy first.
    /// Within an operation the node ends with that.
    void Destroy(int pArgument = 0) override;
    KZrObjectHolder* GetZrHolder() override;
    ~GlissaNode() override;

    /// Lets go of children, curve, layers and time warp; the node stays.
    virtual void Clear();

    // Tree (node/tree.cpp)

    /// Puts a child behind the last one and, unless this is a container, becomes its parent. Gives
    /// its index. -1 without memory, for a node that holds this one, and beyond kMaxLevels.
    virtual int Add(GlissaNode* pChild);
    /// Takes a child out; it lives on.
    virtual void Remove(int pIndex);
    /// Takes a child out and destroys it. The index must be one of a child.
    virtual void Delete(int pIndex);
    virtual int GetCount();
    /// Null for an index out of range.
    virtual GlissaNode* Get(int pIndex);
    virtual bool IsChild(GlissaNode* pNode, bool pRecursive);
    /// First child of that type, or null.
    virtual GlissaNode* Find(KDataType* pType);
    /// Index of a child, or -1.
    virtual int Find(const GlissaNode* pNode);
    /// Index of the first child of that name without regard to case, or -1.
    virtual int Find(const char* pName);
    /// Refused for this node itself and for a node whose ancestor it is.
    virtual void SetParent(GlissaNode* pParent);
    virtual GlissaNode* GetParent();
    /// Puts a child before the first whose name is not less, without regard to case. Sets no
    /// parent. Answers as Add.
    virtual int SortedAdd(GlissaNode* pChild);

    void Delete(GlissaNode* pChild);
    /// The child of that name, made as a plain value where it is missing. Null where Add refuses
    /// it.
    GlissaNode* FindOrCreate(const char* pName, bool pCreateCurve);
    /// Depth first below this node, each child before what hangs below it.
    GlissaNode* FindRecursive(KDataType* pType);
    /// By name without regard to case; exactly "T", "R" and "S" also mean the local translation,
    /// rotation and scaling whatever their names.
    GlissaNode* FindRecursive(const char* pName);

    // Names and types (node/node.cpp)

    /// The name of the property, where one is attached, else the name. Never null.
    const char* GetName() const;
    /// The name that a user sees.
    const char* GetTimeWarpName() const;
    void SetTimeWarpName(const char* pName);
    /// Name of the data type, "" without one.
    const char* GetTypeName() const;
    KDataType* GetDataType() const;
    KProperty* GetProperty() const;
    void SetProperty(KProperty* pProperty);
    /// Shared names: gives up what it had and counts the new one. Null leaves it without.
    NameInfo* GetNameInfo() const;
    void SetNameInfo(NameInfo* pInfo);
    /// 1 with a curve, else the number of children.
    int GetValueCount();

    // Curve (node/node.cpp)

    Glissa* FCurveGet() const;
    /// Takes a curve over and gives the one before it, null where that was destroyed or is the
    /// same. Sends eNodeEventCurve.
    Glissa* FCurveSet(Glissa* pCurve, bool pDestroyOld);
    void FCurveReplace(Glissa* pCurve) { FCurveSet(pCurve, true); }
    /// An empty curve for every leaf that has none.
    void CreateFCurve();
    /// Whether every leaf has a curve.
    bool FCurveCreated();

    // Flags (node/node.cpp)

    int GetIOType() const;
    void SetIOType(int pType);
    /// Non-zero: children are only referenced, not owned.
    int GetContainerType() const;
    void SetContainerType(int pType);
    int GetTakeType() const;
    void SetTakeType(int pType);
    int IsExpended() const;
    void SetExpended(bool pExpanded);
    /// Non-zero: the node may have layers.
    int IsMultiLayer() const;
    /// For this node and all below it, not for the chain.
    void SetMultiLayer(bool pMultiLayer);
    bool GetVisibility() const;
    /// pChildIndex -1 for this node, and with pChildren all below it; else that child alone. With
    /// pLayers the layers behind this node too. Sends eNodeEventVisibility.
    void SetVisibility(bool pVisible, bool pChildren, bool pLayers, int pChildIndex);
    /// Visible and has a curve.
    bool IsEditable() const;
    /// Colour of the curve, three zeros without one.
    const float* GetColor() const;
    void SetColor(const float* pColor);

    bool GetEvaluationFlag(int pMask) const;
    bool GetEvaluationFlag(int pMask, int pValue) const;
    void SetEvaluationFlag(int pMask, int pValue);
    void SetEvaluationFlag(int pMask, bool pSet);
    int GetLayerType() const;
    /// Any value that is no EGlissaLayerType leaves the type. The node is not used.
    void SetLayerType(int pType, GlissaNode* pUnused = nullptr);

    // Links and counters (node/node.cpp)

    GlissaNode* TemplateGet() const;
    /// Shares the template's names, for the children as well.
    void TemplateSet(GlissaNode* pTemplate);
    /// The last node of the data node links, this node where it has none.
    GlissaNode* DataNodeGet();
    void DataNodeSet(GlissaNode* pNode, bool pRecursive);
    /// The base node of the chain that this node belongs to.
    GlissaNode* ObjectLayerGet() const;
    void ObjectLayerSet(GlissaNode* pNode);
    IConnector* GetConnector() const;
    void SetConnector(IConnector* pConnector);
    /// Its own, else that of its parent.
    IConnector* GetOriginalConnector() const;

    /// Holders beside the owner, such as nodes whose time warp this is. Both give the new count.
    int IncReferenceCount();
    int DecReferenceCount();
    int GetReferenceCount() const;
    /// The sum of the curves' update ids. The form for values takes the layers behind along.
    int GetUpdateId();
    int GetValuesUpdateId();
    /// Events of this node so far, counted where there are listeners.
    int GetNodeUpdateId() const;

    // Events (node/node_event.cpp)

    void CallbackRegister(GlissaNodeCallback pFunction, void* pData);
    /// Removes the last equal pair.
    void CallbackUnregister(GlissaNodeCallback pFunction, void* pData);
    /// Turning off collects events; turning on sends what was collected as one. True.
    bool CallbackEnable(bool pEnable);
    bool CallbackIsEnable() const;
    /// Drops what was collected.
    void CallbackClear();
    void CallbackAddEvent(int pBit);

    // Copies (node/copies.cpp)

    /// This node and those below it, with deep copies of the curves and without the layers. With
    /// pKeepAttached the copies share the names and are visible to each other as template.
    GlissaNode* Clone(bool pKeepAttached);
    /// The same structure, for another layer unless pInfo is GlissaLayerInfo::Invalid.
    ///
    /// pCloneCurves   with copies of the curves, pCreateCurves with empty ones.
    GlissaNode* CloneTemplate(bool pKeepAttached, bool pCloneCurves, bool pCreateCurves,
                              const GlissaLayerInfo& pInfo);
    /// A copy of the node with its layers. Glissa::Copy says what a span does to the curves.
    GlissaNode* Copy(KTime pStart = KTime::MinusInfinite(), KTime pStop = KTime::Infinite());
    /// Takes over curves, candidates and layers of a node of the same structure. With pTransfer the
    /// curves themselves change hands. A locked node is passed over.
    void CopyFrom(GlissaNode* pSource, bool pTransfer);

    // Layers (node/layers.cpp, node/copies.cpp)

    const GlissaLayerInfo& GetLayerInfo() const;
    void SetLayerInfo(const GlissaLayerInfo& pInfo);
    int GetLayerID() const;
    bool IsRotationLayerType() const;
    bool IsScalingLayerType() const;
    /// pId on a node that may have layers, else 0.
    int GetCorrectLayerID(int pId) const;
    /// pInfo on a node that may have layers and does not stand under an ETI, else Base.
    GlissaLayerInfo GetCorrectLayerInfo(const GlissaLayerInfo& pInfo);
    /// The next node of the chain, or null.
    GlissaNode* LayerGet() const;
    /// The node of that id from this node on, or null.
    GlissaNode* LayerGet(int pId);
    GlissaNode* GetCorrectLayer(int pId) { return LayerGet(GetCorrectLayerID(pId)); }
    GlissaNode* GetLayerNode(int pId) { return LayerGet(GetCorrectLayerID(pId)); }
    /// The node behind which a layer of that id stands or would stand; null for 0.
    GlissaNode* GetPreviousLayer(int pId);
    GlissaNode* GetCorrectLayerAndCreateIfMissing(const GlissaLayerInfo& pInfo);
    bool HasOverrideLayer() const;
    /// Links a node behind this one, or none. With pDeleteOld the chain that was there is
    /// destroyed. Sends eNodeEventLayers. Refused for a node that holds this one, and beyond
    /// kMaxLevels.
    void LayerSet(GlissaNode* pNode, bool pDeleteOld);
    /// A new layer right behind this node, in place of what was linked there. Its curves are empty
    /// and hold the zero values. Null on a node that may not have layers, for
    /// GlissaLayerInfo::Invalid, and beyond kMaxLevels.
    GlissaNode* LayerCreate(const GlissaLayerInfo& pInfo, bool pDeleteOld);
    /// A layer at its place in the chain; the one that is there, where there is one. Null for this
    /// node's own id, an id below it, on a node that may not have layers, beyond kMaxLevels, and,
    /// here and above, for a layer that a listener has removed at once.
    GlissaNode* CreateLayerAt(const GlissaLayerInfo& pInfo);
    /// Takes a layer out of the chain and gives it, or destroys it and gives null. No event. What
    /// is given keeps its base, whose property and lock query decide, for as long as that exists.
    GlissaNode* RemoveLayer(int pId, bool pDestroy);
    /// Takes a layer out and destroys it; the base and a locked layer are emptied instead. False
    /// when there is none of that id.
    bool RemoveLayerNode(int pId);
    GlissaNode* InsertOrCopyLayer(const GlissaLayerInfo& pInfo, GlissaNode* pSource);
    /// A copy of this node and those below it, without the chain.
    GlissaNode* SingleLayerCopy(KTime pStart = KTime::MinusInfinite(),
                                KTime pStop = KTime::Infinite());
    void SingleLayerCopyFrom(GlissaNode* pSource, bool pTransfer);
    /// Makes the chain behind this node match that behind the source. A locked layer that the
    /// source has not is emptied and stays.
    void LayerCopyFromRecursive(GlissaNode* pSource, bool pTransfer);
    /// Hands the evaluation override of the base node's curve to the curves of this layer.
    void RegisterEvalutationOverwrite();
    /// Channels that a stored layer has and its base has not. They keep their keys and are copied,
    /// stored and destroyed with the layer, but are neither children nor evaluated.
    int GetUnmatchedCount() const;
    /// Null for an index out of range.
    GlissaNode* GetUnmatched(int pIndex) const;

    // Time warps (node/time_warp.cpp)

    GlissaNode* TimeWarpGet() const;
    /// A node whose curve maps time onto time, in seconds. Counted, not owned. Sends
    /// eNodeEventTimeWarp. Refused where the time would come to depend on itself, and for a warp of
    /// more than 4096 nodes. A warp that is destroyed is taken off the nodes that use it. Where
    /// more than kMaxNestedWarps warps apply to each other, the time goes through the first of them
    /// only.
    void TimeWarpSet(GlissaNode* pWarp);
    static constexpr int kMaxNestedWarps = 8;

    // Place on the host's timeline (node/eti.cpp)
    //
    // A node's own ETI comes first; failing that, a branch uses that of its first child; those of
    // the ancestors come behind. One that is not valid is as absent.

    IGlissaETI* GetETI() const;
    void SetETI(IGlissaETI* pETI);
    /// The first value other than 0 on that way, else 0.
    KTime ETIGetSpecifiedTime(KTime (IGlissaETI::*pMember)());
    KTime ETIGetDuration();
    /// In global time: scaled.
    KTime ETIGetTrimOffset();
    /// The sum of all offsets on that way, and the trim.
    KTime ETIGetGlobalOffset();
    /// The product of all factors on that way.
    double ETIGetScaleFactor();
    KTime ETIGetGlobalActiveStart();
    KTime ETIGlobalTime2NodeTime(const KTime& pTime);
    KTime ETINodeTime2GlobalTime(const KTime& pTime);
    /// True without an ETI. pInclusive takes the end of the span along.
    bool ETIIsGlobalTimeInSpan(const KTime& pTime, bool pInclusive);
    bool ETIIsSelectedDuration();
    /// False, and no colour written, where there is no ETI.
    bool ETIGetColor(KgeRGBVector& pColor);

    // Locks (node/locks.cpp)

    /// By GLISSA_GetLockMode.
    bool IsNodeLocked() const;
    bool IsNodeLockedInternal(eGlissaLockMode pMode) const;
    /// This node or one below it; with pChain, or one of the layers behind.
    bool IsNodeLockedInHierarchy(bool pChain);
    void SetLockQuery(ILockQuery* pQuery);
    ILockQuery* GetLockQuery() const;
    bool IsNodeMuted() const;
    /// Whether the property forbids plotting.
    bool IsNodePlotDisallowed() const;

    // Evaluation (node/evaluation.cpp)
    //
    // Operations that fill a value array write in child order and, unless said otherwise, give the
    // place behind the last value written. Nothing here allocates.
    //
    // pHint  in and out, may be null: the key index hint of Glissa::Evaluate, shared by the curves.

    /// The curves as they are: no layers, weights or time warps. A muted node writes nothing.
    double* Evaluate(double* pValues, KTime pTime, int* pHint = nullptr);
    /// The values of the whole chain, from this node on, blended by the layers' weights and modes.
    /// Time warps apply; with pCandidate pending values too, and what comes out is the candidate.
    double* GeneralEvaluate(double* pValues, KTime pTime, int* pHint = nullptr,
                            bool pCandidate = false);
    /// The same onto values that stand already: zero values, or what lies below.
    double* Internal_GeneralEvaluate(double* pValues, KTime pTime, int* pHint, bool pCandidate);
    /// Blends the chain with only the layers pFirstId to pLastId, pExcludedId left out, having
    /// values; the others blend their zero values. Onto values that stand already.
    double* Internal_GeneralEvaluateLayerExcluded(double* pValues, KTime pTime, int pExcludedId,
                                                  int pFirstId, int pLastId);
    /// The values of one layer, weighted; with pForce raw, muted or not. Nothing is written where
    /// the chain does not hold the layer, and a rotation gives pValues back.
    double* EvaluateSpecificLayer(double* pValues, KTime pTime, int pId, int* pHint = nullptr,
                                  bool pForce = false);

    // Values without keys (node/values.cpp)

    /// The neutral values of the layer type: ones for scaling, else zeros; at most 16.
    double* GetZeroValues(double* pValues);
    /// The default values of the curves.
    double* GetValue(double* pValues);
    /// Sets the default values of the curves. Without pForce a locked leaf is passed over.
    double* SetValue(double* pValues, bool pForce = false);
    /// The zero values, without force; with pChain on the layers behind as well.
    void ResetValue(bool pChain);
    /// Whether a rotation is interpolated as one path of quaternions; along the chain. A change
    /// ends candidates and sends eNodeEventLayers.
    bool GetUseQuaternion() const;
    void SetUseQuaternion(bool pUse);
    /// Order of turning, numbered as KVdRotationOrder; set on this node and the chain behind it.
    int GetRotationOrder() const;
    void SetRotationOrder(int pOrder);
    /// Kept for the host; the layer type says how a rotation is blended.
    eWeightRotationAccumulationMode GetWeightRotationAccumulationMode() const;
    void SetWeightRotationAccumulationMode(eWeightRotationAccumulationMode pMode);

    // Blending (node/blending.cpp)

    /// Blends the node's own values into a running result, by its layer's weight and mode.
    void AccumulateValue(double* pResult, double* pValues, KTime pTime, int pExcludedId,
                         int pFirstId, int pLastId);
    /// For numbers, for scaling (signs are lost), and for rotations, whose pValues are scaled by
    /// the weight in the modes that do not mix.
    void BlendSimple(double* pResult, double* pValues, double pWeight, eLayerMode pMode);
    void BlendScaling(double* pResult, double* pValues, double pWeight, eLayerMode pMode);
    void BlendRotation(double* pResult, double* pValues, double pWeight, eLayerMode pMode);
    /// Values times a weight in the way of the node: a product, a power of a scaling, a part of a
    /// rotation.
    void ApplyWeightedValue(double* pValues, double pWeight);
    /// The same with weights above 0.99999 taken as 1 and below 1e-5 as 0.
    void AddWeightedValue(double* pValues, double pWeight);
    /// The inverse; values stay where the weight is above 0.99999 or below 1e-5.
    void ResolveWeightedValue(double* pValues, double pWeight);

    // A layer seen from another one (node/layer_mode.cpp)

    /// What this layer does to a running result that goes toward, or comes from, the layer pId.
    enum LayerModeCase : int
    {
        eModeCaseStop = 0,   ///< the chain from here on does not count
        eModeCaseSkip = 1,   ///< the result stays
        eModeCaseScale = 2,  ///< the result is scaled by one minus this layer's weight
        eModeCaseReset = 3,  ///< the result becomes the zero values
    };
    LayerModeCase CheckLayerMode(KTime pTime, int pId) const;
    /// Do what the case says; false on eModeCaseStop.
    bool CheckLayerMode(double* pValues, KTime pTime, int pId);
    bool CheckLayerMode(KgeRMatrix& pMatrix, KTime pTime, int pId);
    /// Add, or multiply in, the values of every layer but pId.
    void EvaluateCurvesExceptLayerRecursiveAdd(double* pValues, KTime pTime, int pId, int* pHint);
    void EvaluateCurvesExceptLayerRecursiveMult(double* pValues, KTime pTime, int pId, int* pHint);
    /// Multiply the rotations of this layer, of those below pId, and of those above it.
    bool EvaluateCurvesLayerEulerXYZ(KgeRMatrix& pMatrix, KTime pTime, int pId, int* pHint);
    void EvaluateCurvesBeforeLayerRecursiveEulerXYZ(KgeRMatrix& pMatrix, KTime pTime, int pId,
                                                    int* pHint);
    void EvaluateCurvesAfterLayerRecursiveEulerXYZ(KgeRMatrix& pMatrix, KTime pTime, int pId,
                                                   int* pHint);

    // Path of a rotation (node/rotation_path.cpp)

    /// The angles of a rotation of three curves. With GetUseQuaternion, between two keys of the X
    /// curve, they follow one path of quaternions (Shoemake 1985) shaped by its tangents.
    void RotationNodeEvaluate(double* pValues, KTime pTime, int* pHint, bool pCandidate);

    // Keys of a channel (node/keys.cpp, node/key_rotation.cpp)
    //
    // A locked node is passed over; its share of a value array is consumed all the same.

    /// A key on every curve. pSkipMask  bit i leaves child i out; pTangentMode  mask 0x7F00.
    double* KeyAdd(KTime pTime, double* pValues, unsigned int pSkipMask, int pInterpolation,
                   int pTangentMode);
    /// KeyAppendFast on every curve.
    double* KeyAppend(KTime pTime, double* pValues);
    /// The same with the Euler angles that lie nearest to those of the key before.
    void KeyAppendWithCheckForContinuousRotation(KTime pTime, double* pValues);
    /// Appends a live value; a constant stretch stays at three keys.
    double* KeyRecord(KTime pTime, double* pValues);
    /// Removes the keys at a time, within a tolerance in key index steps, 0 for exactly there. Ends
    /// the candidates of the parent's chain. Whether a key went.
    bool DeleteKey(KTime& pTime, bool* pMask, double pTolerance, unsigned int pSkipMask);
    /// Removes the keys between two times, those on them stay.
    void Delete(KTime pStart, KTime pStop, bool pChain);
    /// Replaces a span on every curve: Glissa::Replace. A rotation joins without a turn.
    void Replace(GlissaNode* pSource, KTime pStart, KTime pStop, bool pExactSpan,
                 bool pKeyEndsWhenEmpty, KTime pOffset);
    /// On a leaf that is not locked; else false.
    bool SetPreExtrapolation(unsigned int pMode);
    bool SetPostExtrapolation(unsigned int pMode);
    bool SetPreExtrapolationCount(unsigned int pCount);
    bool SetPostExtrapolationCount(unsigned int pCount);

    // Counts and times of keys (node/key_times.cpp)

    int KeyGetCount(bool pChain);
    /// Curves below this node, keys in all, fewest and most on a curve.
    void KeyGetCount(int& pCurves, int& pTotal, int& pMin, int& pMax);
    /// Keys of a child in all layers.
    int KeyGetCountOnChild(int pChild);
    /// 2 when every curve has a key of a value in pMin..pMax at that time, 1 when some have, 0 when
    /// none has. pTolerance as in DeleteKey.
    int IsKey(KTime& pTime, int* pHint, bool* pMask, double pTolerance, double pMin, double pMax);
    void IsKeyRecursive(KTime& pTime, int& pCurves, int& pHits, int* pHint, bool* pMask,
                        double pTolerance, double pMin, double pMax);
    /// Without keys the least time, and the greatest for the last key.
    KTime GetFirstKeyTime(bool* pMask, bool pChain);
    KTime GetLastKeyTime(bool* pMask, bool pChain);
    void InternalKeyTimeGetFirst(KTime& pTime, bool* pMask, bool pChain);
    void InternalKeyTimeGetLast(KTime& pTime, bool* pMask, bool pChain);
    /// The key time next to a time, or that time itself where there is none.
    KTime GetNextKeyTime(KTime pTime, bool* pMask, bool pChain);
    KTime GetPrevKeyTime(KTime pTime, bool* pMask);
    /// Widens a span by that of all keys, layers included. Whether there are any.
    bool GetAnimationInterval(KTime& pStart, KTime& pStop);
    bool GetAnimationIntervalRecursive(KTime& pStart, KTime& pStop);
    /// The span of all keys; the greatest and the least time without any.
    void GetTimeSpan(KTime& pStart, KTime& pStop);
    /// Appends the key indexes of a leaf in a span of global time and a range of values.
    void ExtractKeysIndex(KArrayTemplate<int, 16>& pArray, KTimeSpan pSpan, double pMin,
                          double pMax);
    /// X, Y and Z curves of the local translation, rotation and scaling below this node, three
    /// each. False at the first that is missing.
    bool GetTransformCurves(Glissa** pT, Glissa** pR, Glissa** pS);
    /// Whether a leaf looks plotted at that period or a finer one.
    bool LookLikeSampledData(KTime pPeriod);

    // Rotations without a turn (node/key_rotation.cpp)

    /// Whole turns that bring a rotation next to another one; true where its flipped form is
    /// nearer.
    bool GetContinuousOffset(double* pOffset, double* pSource, double* pTarget);
    /// The form of a rotation that lies nearest to that of the key before a time.
    void GetContinuousRotation(double* pResult, double* pRotation, KTime pTime);

    // Candidates (node/candidates.cpp, node/candidate_layers.cpp)
    //
    // Pending values at a time, before there are keys: a total on the base node, or specific values
    // in the curves of a layer.

    /// Sets the total. A channel that has no keys takes its share as default value at once. Nothing
    /// on a layer node or for a locked layer; pUnused is not used.
    double* CandidateSet(KTime pTime, double* pValues, const GlissaLayerInfo& pInfo,
                         int pUnused = 0);
    /// Sets the values of a layer, which is made where it is missing. With pResolve its weight is
    /// taken out of them, in place.
    double* CandidateSetSpecificLayer(KTime pTime, double* pValues, const GlissaLayerInfo& pInfo,
                                      bool pResolve);
    /// The total, where there is one.
    double* CandidateGet(double* pValues, int pUnused = 0);
    void CandidateGetTotalCandidate(double* pValues, KTime& pTime);
    /// The candidates of the curves.
    double* CandidateGetWithTime(double* pValues, KTime& pTime);
    /// Those of a layer, converted from the total where need be. Zero values and null for a layer
    /// that the chain does not hold.
    double* CandidateGetSpecificLayer(double* pValues, KTime& pTime, const GlissaLayerInfo& pInfo);
    double* CandidateEvaluate(double* pValues, KTime pTime, int* pHint = nullptr);
    double* CandidateEvaluateSpecificLayer(double* pValues, KTime pTime, int pId,
                                           int* pHint = nullptr);
    /// Ends the candidates of a layer, with pSubLayers of those behind it too. True.
    bool CandidateClear(int pId, bool pSubLayers);
    void CandidateClearSubLayers();
    /// Makes keys of the candidate in a layer so that the total becomes what was wanted. With
    /// pZeroKey keys that add nothing. The other arguments as Glissa::CandidateKey. True.
    bool CandidateKey(int* pLast, const GlissaLayerInfo& pInfo, bool* pMask, bool pZeroKey,
                      int pInterpolation, int pTangentMode, int pContinuity, bool pTangentOverride,
                      KTime pTime = KTime::Infinite(), double pTolerance = 0.0);
    bool CandidateKeySpecificLayer(int* pLast, int pId, bool* pMask, int pInterpolation,
                                   int pTangentMode, int pContinuity, bool pTangentOverride,
                                   KTime pTime, double pTolerance);
    /// What a layer must hold for the blended values to be pTotal. Called on the base node.
    void ComputeCandidateForLayer(double* pResult, double* pTotal, KTime pTime, int pId,
                                  int* pUnused = nullptr);
    void FromTotalCandidateToSpecificCandidate(const GlissaLayerInfo& pInfo);
    int GetSpecificCandidateMethod() const;
    void SetSpecificCandidateMethod(int pMethod);
    eCandidateMethod GetTotalCandidateMethod() const;
    void SetTotalCandidateMethod(eCandidateMethod pMethod);
    /// Whether a total is pending.
    bool IsCandidate() const { return GetTotalCandidateMethod() == eCandidateTotal; }
    void GetCandidateState(GlissaNodeCandidateState& pState);
    /// Puts a state back. pTrimLayers  layers that it does not hold go.
    void SetCandidateState(const GlissaNodeCandidateState& pState, bool pTrimLayers);

    // Store (node/store.cpp, node/store_read.cpp)
    //
    // The node as a field of a document, with all below and behind it: docs/node-format.md.

    /// Writes the node as a field. True; a document that refuses a write says so itself, and so it
    /// does of a tree whose blocks nest deeper than KTdf::kMaxNesting.
    ///
    /// pOnlyDefaults  default values without keys and layers.
    /// pShortNames    the local transforms as "T", "R" and "S".
    /// pNoUserName    without user names.
    /// pWithColor, pOlderKeyForm  as Glissa::TdfStore; layers are written without colours.
    bool TdfStore(KTdf* pTdf, bool pOnlyDefaults, bool pShortNames, bool pNoUserName,
                  const char* pFieldName, bool pWithColor, bool pOlderKeyForm);
    /// Reads the next "Channel" field into this node, which takes its name; channels are matched by
    /// name. Layers are those of the document, where it has any; the host gives them their layer
    /// objects afterwards (SetLayerInfo). False where there is no such field.
    ///
    /// pCreateMissing  makes children for channels that match none; else these are left out.
    /// pFaults         out, may be null: what did not fit is appended, in the order of reading.
    bool TdfRetrieve(KTdf* pTdf, bool pOnlyDefaults, bool pCreateMissing, bool pWithColor,
                     std::vector<GlissaStoreFault>* pFaults = nullptr);
    /// The same where the caller has opened the field and read its name. True.
    bool TdfInternalRetrieve(KTdf* pTdf, bool pOnlyDefaults, bool pCreateMissing, bool pWithColor,
                             std::vector<GlissaStoreFault>* pFaults = nullptr);

private:
    using State = GlissaNodeState;
    friend struct GlissaNodeState;
    class StoreReader;

    class RotationPath;
    class RunningRotation;

    bool MustCallsWait() const;
    void SendCollected(const GlissaNodeEvent& pEvent);
    int Append(GlissaNode* pChild);
    void AppendNew(GlissaNode* pChild);
    GlissaNode* ExchangeNextLayer(GlissaNode* pNext);
    void DestroyUnmatched();
    void ReplaceUnmatched(GlissaNode* pSource, bool pTransfer);
    void TellOfLayers();
    GlissaNode* MakeLayer(const GlissaLayerInfo& pInfo, bool pDeleteOld);
    void Empty();
    void SetBase(GlissaNode* pBase);
    void SetZeroValues(bool pForce);
    bool ReplaceRotation(GlissaNode* pSource, KTime pStart, KTime pStop, bool pExactSpan,
                         bool pKeyEndsWhenEmpty, KTime pOffset);
    void TakeNode(GlissaNode* pSource, bool pTransfer, bool pEvenLocked);
    void TakeLayers(GlissaNode* pSource, bool pTransfer, bool pEvenLocked);
    int Width() const;
    KTime WarpedTime(KTime pTime, bool pCandidate) const;
    bool IsBlended() const;
    bool IsPlainChannel() const;
    void NotePlainChildren();
    double* EvaluateChildren(double* pValues, int pRoom, KTime pTime, int* pHint,
                             EvaluationMode pMode);
    double* EvaluateChildrenFrom(int pFirst, double* pValues, int pRoom, KTime pTime, int* pHint,
                                 EvaluationMode pMode);
    void EvaluateRotation(double* pValues, int pRoom, KTime pTime, int* pHint,
                          EvaluationMode pMode);
    double* EvaluateOwn(double* pValues, int pRoom, KTime pTime, int* pHint, EvaluationMode pMode);
    double* EvaluateNode(double* pValues, KTime pTime, int* pHint, EvaluationMode pMode,
                         RunningRotation* pRunning);
    double* EvaluateChain(double* pValues, KTime pTime, int* pHint, EvaluationMode pMode);
    void Accumulate(double* pResult, double* pValues, KTime pTime, int pExcludedId,
                    RunningRotation& pRunning);
    int ValuesAtHand() const;
    double* EvaluateLayer(double* pValues, KTime pTime, int* pHint, bool pForce);
    template <typename Operation>
    void EvaluateExceptLayer(double* pValues, KTime pTime, int pId, int* pHint,
                             Operation pOperation);
    double* EvaluatePart(double* pValues, KTime pTime, int pExcludedId, int pFirstId, int pLastId);
    GlissaNode* FindLayerHere(int pId);
    bool IsChannel() const;
    void HoldTotal(const double* pValues, int pCount, KTime pTime);
    double* TakeTotal(double* pValues) const;
    void FindShare(double* pResult, const double* pTotal, KTime pTime, int pId);
    void GiveKeylessChannels(KTime pTime, double* pValues, const GlissaLayerInfo& pInfo);
    double* SetInLayer(KTime pTime, double* pValues, const GlissaLayerInfo& pInfo, bool pResolve);
    float ShareOfTotal(KTime pTime) const;
    bool IsEulerRotation() const;
    void MakeNearest(double* pAngles, KTime pTime, int* pHint, bool pIsShare);
    void TrimLayers(const GlissaNodeCandidateState& pState);

    State* mState;
};

/// A node whose name and user name are both pName; a time warp gets the user name alone.
GLISSA_API GlissaNode* GlissaNodeCreate(const char* pName, KDataType* pType, int pLayerType,
                                        const GlissaLayerInfo& pInfo);
/// The same by the name of its type, as KDataTypeGet knows it.
GLISSA_API GlissaNode* GlissaNodeCreate(const char* pName, const char* pUserName,
                                        const char* pTypeName, int pLayerType,
                                        const GlissaLayerInfo& pInfo);
/// A node that shares the names of a template.
GLISSA_API GlissaNode* GlissaNodeCreate(GlissaNode* pTemplate);
/// A node of a type with a child for each of its members, named X, Y, Z, blank, A to Q; a type of
/// one member is a leaf. The curves are the caller's: CreateFCurve.
GLISSA_API GlissaNode* FCurveNodeCreateFromDataType(KDataType* pType, const char* pName);

/// Numbers by which a store knows time warps; the set is the host's, null for none.
GLISSA_API void Glissa_SetTWSet(KSet<int, GlissaNode*>* pSet);
/// False, and pNick untouched, when the set does not hold the node.
GLISSA_API bool Glissa_FindNickNumberFromTW(int& pNick, GlissaNode* pNode);
GLISSA_API GlissaNode* Glissa_FindTWFromNickNumber(int pNick);
