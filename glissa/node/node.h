// Copyright (c) 2026 The glissa authors
// SPDX-License-Identifier: MIT
#pragma once

#include "corvekit/array.h"
#include "corvekit/event/operation.h"
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
struct GlissaNodeState;

/// What a node animates and how its values are blended; GetLayerType and SetLayerType.
enum EGlissaLayerType : int
{
    eLayerTypeValue = 0,              ///< a plain value, such as one channel of a vector
    eLayerTypeVector = 1,             ///< numbers that are added
    eLayerTypeRotation = 2,           ///< Euler angles in degrees, composed as rotations
    eLayerTypeScaling = 3,            ///< scaling, composed by multiplication
    eLayerTypeRotationByChannel = 5,  ///< Euler angles in degrees, blended channel by channel
    eLayerTypeScalingAlt = 6,         ///< a second kind of scaling, for which no blending exists
};

/// A node of a tree of curves. A leaf owns a curve, a branch has children: a node "T" of type
/// KDataTypeLclTranslation with the children "X", "Y" and "Z" is one animated translation. Layers
/// of such a channel are nodes of the same class and structure. They are linked in a chain after
/// the base node, in ascending order of layer id, and are blended by weight and mode.
///
/// A node is made by the factories below and ended by Destroy. It owns its curve, the layers after
/// it and, unless it is a container, its children. It does not own its parent, template, data node,
/// object layer, connector and the layer objects of the host. It is handled by pointer and not
/// copied.
///
/// One thread at a time edits a tree. While no thread edits it, any number of threads may evaluate
/// it without candidates. Listeners are called on the thread that changes the node, at the end of
/// the operation that changes it; they may edit and destroy the node. docs/conventions.md has the
/// rules.
///
/// Values of a node are doubles in the order of its children, one for a leaf. Rotations are Euler
/// angles in degrees in the rotation order of the node. Masks of channels are arrays of one bool
/// for each child, or null for all channels. Times are in ticks.
///
/// A child is one level below its parent, a layer one level below the node before it in the chain.
/// A tree has at most kMaxLevels levels. No node holds itself, as child, as layer or through time
/// warps. Operations that would break this change nothing.
class GLISSA_API GlissaNode : public IZrObjectHolder, public KOperationSubject
{
public:
    /// Most levels of a tree: as many as blocks nest in a document, KTdf::kMaxNesting.
    static constexpr int kMaxLevels = 1024;

    /// Names and host data that a node shares with the nodes made from it as a template. Counted;
    /// the count may change on any thread.
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

    /// A node without curve and children.
    ///
    /// pName, pUserName  null is an empty name.
    /// pType             may be null.
    /// pLayerType        EGlissaLayerType. A rotation in a layer other than the base is by channel
    ///                   where the layer object of pInfo says so.
    GlissaNode(const char* pName, const char* pUserName, KDataType* pType, int pLayerType,
               const GlissaLayerInfo& pInfo);
    /// A node that shares the names of a template and has its layer type, rotation order and
    /// candidates; without children and curve.
    explicit GlissaNode(GlissaNode* pTemplate);
    GlissaNode(const GlissaNode&) = delete;
    GlissaNode& operator=(const GlissaNode&) = delete;

    /// This node for the ids 0, 51 and 0x29BC7B2, else null.
    IObject* IQuery(unsigned long pId, int pArgument) override;
    /// Destroys the node with all that it owns. Listeners are called with eNodeEventDestroy before.
    /// Within an operation it takes effect at the end of the operation.
    void Destroy(int pArgument = 0) override;
    KZrObjectHolder* GetZrHolder() override;
    ~GlissaNode() override;

    /// Destroys children, curve and layers and takes off the time warp; the node itself remains.
    virtual void Clear();

    // Tree (node/tree.cpp)

    /// Adds a child after the last one and, unless this node is a container, becomes its parent.
    /// Returns its index, or -1 for a node that holds this one or has an owner already (a parent,
    /// or the node before it in a chain of layers), and beyond kMaxLevels.
    virtual int Add(GlissaNode* pChild);
    /// Removes a child without destroying it. The index must be that of a child.
    virtual void Remove(int pIndex);
    /// Removes a child and destroys it. The index must be that of a child.
    virtual void Delete(int pIndex);
    /// Number of children.
    virtual int GetCount();
    /// A child, or null for an index out of range.
    virtual GlissaNode* Get(int pIndex);
    /// Whether a node is a child, or with pRecursive anywhere below.
    virtual bool IsChild(GlissaNode* pNode, bool pRecursive);
    /// First child of that type, or null.
    virtual GlissaNode* Find(KDataType* pType);
    /// Index of a child, or -1.
    virtual int Find(const GlissaNode* pNode);
    /// Index of the first child of that name without regard to case, or -1.
    virtual int Find(const char* pName);
    /// Refused for this node itself and for a node that it is an ancestor of.
    virtual void SetParent(GlissaNode* pParent);
    virtual GlissaNode* GetParent();
    /// Inserts a child before the first one whose name is not less, without regard to case. Sets no
    /// parent. Returns as Add does.
    virtual int SortedAdd(GlissaNode* pChild);

    /// Removes a child and destroys it. The node must be a child.
    void Delete(GlissaNode* pChild);
    /// The child of that name, created as a plain value where it is missing, with an empty curve if
    /// pCreateCurve. Null where Add refuses it.
    GlissaNode* FindOrCreate(const char* pName, bool pCreateCurve);
    /// First node of that type below this one, depth first, each child before the nodes below it;
    /// or null.
    GlissaNode* FindRecursive(KDataType* pType);
    /// First node of that name below this one, in the same order, without regard to case; or null.
    /// The names "T", "R" and "S", in exactly this case, also match the local translation, rotation
    /// and scaling by type.
    GlissaNode* FindRecursive(const char* pName);

    // Names and types (node/node_fields.cpp)

    /// The name of the property where one is attached, else the name. Never null.
    const char* GetName() const;
    /// The name that is shown to users. Never null.
    const char* GetTimeWarpName() const;
    void SetTimeWarpName(const char* pName);
    /// Name of the data type, "" without one.
    const char* GetTypeName() const;
    KDataType* GetDataType() const;
    /// The property that this node animates. Not owned.
    KProperty* GetProperty() const;
    void SetProperty(KProperty* pProperty);
    /// The shared names. SetNameInfo releases the present ones and counts the new ones; null leaves
    /// the node without names.
    NameInfo* GetNameInfo() const;
    void SetNameInfo(NameInfo* pInfo);
    /// 1 with a curve, else the number of children.
    int GetValueCount();

    // Curve (node/node_fields.cpp)

    /// The curve, or null.
    Glissa* FCurveGet() const;
    /// Sets the curve, which the node owns from now on; a node that had it loses it. Returns the
    /// curve before, or null where it was destroyed (pDestroyOld) or is the same. Sends
    /// eNodeEventCurve, also for the node that had the curve.
    Glissa* FCurveSet(Glissa* pCurve, bool pDestroyOld);
    void FCurveReplace(Glissa* pCurve) { FCurveSet(pCurve, true); }
    /// Creates an empty curve for every leaf that has none.
    void CreateFCurve();
    /// Whether every leaf has a curve.
    bool FCurveCreated();

    // Flags (node/node_fields.cpp)

    int GetIOType() const;
    void SetIOType(int pType);
    /// Non-zero for a container: its children are referenced, not owned.
    int GetContainerType() const;
    void SetContainerType(int pType);
    int GetTakeType() const;
    void SetTakeType(int pType);
    int IsExpended() const;
    void SetExpended(bool pExpanded);
    /// Non-zero where the node may have layers.
    int IsMultiLayer() const;
    /// Sets it for this node and all below it, not for the chain.
    void SetMultiLayer(bool pMultiLayer);
    bool GetVisibility() const;
    /// Sends eNodeEventVisibility.
    ///
    /// pChildIndex  -1 for this node and, with pChildren, all below it; else for that child alone.
    /// pLayers      sets it in the layers after this node too.
    void SetVisibility(bool pVisible, bool pChildren, bool pLayers, int pChildIndex);
    /// Visible and has a curve.
    bool IsEditable() const;
    /// Colour of the curve as red, green and blue from 0 to 1; three zeros without a curve.
    const float* GetColor() const;
    void SetColor(const float* pColor);

    /// Whether all bits of pMask are set, or, in the second form, have the value pValue.
    bool GetEvaluationFlag(int pMask) const;
    bool GetEvaluationFlag(int pMask, int pValue) const;
    void SetEvaluationFlag(int pMask, int pValue);
    void SetEvaluationFlag(int pMask, bool pSet);
    int GetLayerType() const;
    /// A value that is no EGlissaLayerType changes nothing. pUnused is not used.
    void SetLayerType(int pType, GlissaNode* pUnused = nullptr);

    // Links and counters (node/node_fields.cpp)

    GlissaNode* TemplateGet() const;
    /// Sets the template and shares its names, for the children as well.
    void TemplateSet(GlissaNode* pTemplate);
    /// The last node of the chain of data nodes; this node where it has none.
    GlissaNode* DataNodeGet();
    void DataNodeSet(GlissaNode* pNode, bool pRecursive);
    /// The base node of the chain that this node belongs to.
    GlissaNode* ObjectLayerGet() const;
    void ObjectLayerSet(GlissaNode* pNode);
    IConnector* GetConnector() const;
    void SetConnector(IConnector* pConnector);
    /// The connector of this node, else that of its parent.
    IConnector* GetOriginalConnector() const;

    /// Number of holders other than the owner, such as nodes that have this one as time warp. The
    /// first two return the new count.
    int IncReferenceCount();
    int DecReferenceCount();
    int GetReferenceCount() const;
    /// Sum of the update ids of the curves. It changes with every change of a curve.
    int GetUpdateId();
    /// Sum of the ids that change with every change of a value, with those of the layers.
    int GetValuesUpdateId();
    /// Number of events of this node, counted while it has listeners.
    int GetNodeUpdateId() const;

    // Events (node/node_event.cpp)

    /// Adds a listener. A null function is ignored.
    void CallbackRegister(GlissaNodeCallback pFunction, void* pData);
    /// Removes the last equal pair.
    void CallbackUnregister(GlissaNodeCallback pFunction, void* pData);
    /// False collects events; true sends the collected ones as one. Always returns true.
    bool CallbackEnable(bool pEnable);
    bool CallbackIsEnable() const;
    /// Drops the collected events.
    void CallbackClear();
    /// Posts an event of type EGlissaNodeEventType.
    void CallbackAddEvent(int pBit);

    // Copies (node/copies.cpp)

    /// A copy of this node and those below it, with deep copies of the curves and without the
    /// layers. With pKeepAttached the copies share the names and have this node as template.
    GlissaNode* Clone(bool pKeepAttached);
    /// A node of the same structure.
    ///
    /// pCloneCurves   copies the curves.
    /// pCreateCurves  creates empty curves, unless pCloneCurves.
    /// pInfo          the layer of the new nodes; GlissaLayerInfo::Invalid for that of this node.
    GlissaNode* CloneTemplate(bool pKeepAttached, bool pCloneCurves, bool pCreateCurves,
                              const GlissaLayerInfo& pInfo);
    /// A copy of the node with its layers. The span applies to the curves as in Glissa::Copy, those
    /// of the layers are copied whole.
    GlissaNode* Copy(KTime pStart = KTime::MinusInfinite(), KTime pStop = KTime::Infinite());
    /// Copies curves, candidates and layers of a node of the same structure. With pTransfer the
    /// curves themselves are moved, unless one of the two nodes holds the other: then the curves
    /// are copied. Locked nodes are left as they are.
    void CopyFrom(GlissaNode* pSource, bool pTransfer);
    /// The two for this node and those below it, without the chain.
    GlissaNode* SingleLayerCopy(KTime pStart = KTime::MinusInfinite(),
                                KTime pStop = KTime::Infinite());
    void SingleLayerCopyFrom(GlissaNode* pSource, bool pTransfer);
    /// Makes the chain after this node match that after the source. A locked layer that the source
    /// lacks is emptied and remains.
    void LayerCopyFromRecursive(GlissaNode* pSource, bool pTransfer);
    /// Copies a node into the layer pInfo, which is created where it is missing. Returns the layer;
    /// null as CreateLayerAt.
    GlissaNode* InsertOrCopyLayer(const GlissaLayerInfo& pInfo, GlissaNode* pSource);

    // The chain of layers (node/chain.cpp)

    const GlissaLayerInfo& GetLayerInfo() const;
    void SetLayerInfo(const GlissaLayerInfo& pInfo);
    int GetLayerID() const;
    bool IsRotationLayerType() const;
    bool IsScalingLayerType() const;
    /// pId on a node that may have layers, else 0.
    int GetCorrectLayerID(int pId) const;
    /// pInfo on a node that may have layers and has no ETI on itself or its first child, else Base.
    GlissaLayerInfo GetCorrectLayerInfo(const GlissaLayerInfo& pInfo);
    /// The next node of the chain, or null.
    GlissaNode* LayerGet() const;
    /// The node of that id in the chain from this node on, or null.
    GlissaNode* LayerGet(int pId);
    GlissaNode* GetCorrectLayer(int pId) { return LayerGet(GetCorrectLayerID(pId)); }
    GlissaNode* GetLayerNode(int pId) { return LayerGet(GetCorrectLayerID(pId)); }
    /// The node after which a layer of that id is, or would be inserted; null for 0.
    GlissaNode* GetPreviousLayer(int pId);
    /// Whether a node of the chain has another mode than eLayerModeAdditive.
    bool HasOverrideLayer() const;
    /// Channels of a stored layer that match none of its base. They keep their keys and are copied,
    /// stored and destroyed with the layer, but are neither children nor evaluated.
    int GetUnmatchedCount() const;
    /// Null for an index out of range.
    GlissaNode* GetUnmatched(int pIndex) const;

    // Layers (node/layers.cpp)

    /// The layer of GetCorrectLayerInfo, created where it is missing. Null as CreateLayerAt.
    GlissaNode* GetCorrectLayerAndCreateIfMissing(const GlissaLayerInfo& pInfo);
    /// Links a node, or none, after this one. With pDeleteOld the chain that was there is
    /// destroyed. Sends eNodeEventLayers. Refused for a node that holds this one or has an owner,
    /// and beyond kMaxLevels.
    void LayerSet(GlissaNode* pNode, bool pDeleteOld);
    /// Creates a layer right after this node, in place of the chain that was linked there. Its
    /// curves have no keys and the zero values. Null on a node that may not have layers, for
    /// GlissaLayerInfo::Invalid, beyond kMaxLevels, and where a listener has removed the layer.
    GlissaNode* LayerCreate(const GlissaLayerInfo& pInfo, bool pDeleteOld);
    /// The layer of that id, created at its place in the chain where it is missing. Null for this
    /// node's own id and ids below it, on a node that may not have layers, beyond kMaxLevels, and
    /// where a listener has removed the layer.
    GlissaNode* CreateLayerAt(const GlissaLayerInfo& pInfo);
    /// Removes a layer from the chain and returns it, or destroys it and returns null. No event. A
    /// layer that is returned keeps its base, whose property and lock query apply to it, for as
    /// long as the base exists.
    GlissaNode* RemoveLayer(int pId, bool pDestroy);
    /// Removes a layer from the chain and destroys it. The base and a locked layer are emptied
    /// instead. False where there is none of that id.
    bool RemoveLayerNode(int pId);
    /// Applies the evaluation override of the curve of the base node to the curves of this layer.
    void RegisterEvalutationOverwrite();

    /// Whether a rotation is interpolated along a path of quaternions. Set for this node and the
    /// chain after it; a change drops candidates and sends eNodeEventLayers.
    bool GetUseQuaternion() const;
    void SetUseQuaternion(bool pUse);
    /// Rotation order, numbered as in KVdRotationOrder. Set for this node and the chain after it.
    int GetRotationOrder() const;
    void SetRotationOrder(int pOrder);
    /// Kept for the host; how a rotation is blended depends on the layer type alone.
    eWeightRotationAccumulationMode GetWeightRotationAccumulationMode() const;
    void SetWeightRotationAccumulationMode(eWeightRotationAccumulationMode pMode);

    // Time warps (node/time_warp.cpp)

    GlissaNode* TimeWarpGet() const;
    /// Sets a node whose curve maps time onto time, in seconds, or none. Counted, not owned. Sends
    /// eNodeEventTimeWarp. Refused where the time would depend on itself, and for a warp of more
    /// than 4096 nodes. A warp that is destroyed is taken off the nodes that use it.
    void TimeWarpSet(GlissaNode* pWarp);
    /// Of warps of warps so many apply, from the first one on.
    static constexpr int kMaxNestedWarps = 8;

    // Place on the timeline of the host (node/eti.cpp)
    //
    // The ETIs of a node are its own, or on a branch without one that of its first child, and then
    // those of its ancestors. One that is not valid counts as none.

    /// The node's own ETI, or null.
    IGlissaETI* GetETI() const;
    void SetETI(IGlissaETI* pETI);
    /// The first value other than 0 that an ETI returns, else 0.
    KTime ETIGetSpecifiedTime(KTime (IGlissaETI::*pMember)());
    KTime ETIGetDuration();
    /// In global time, that is times the scale factor.
    KTime ETIGetTrimOffset();
    /// The sum of all offsets, plus the trim offset.
    KTime ETIGetGlobalOffset();
    /// The product of all factors.
    double ETIGetScaleFactor();
    KTime ETIGetGlobalActiveStart();
    /// From the time of the host to that of the node. A scale factor of 0 counts as 1e-6.
    KTime ETIGlobalTime2NodeTime(const KTime& pTime);
    KTime ETINodeTime2GlobalTime(const KTime& pTime);
    /// Whether a time is in the active span; true without an ETI. pInclusive: the end of the span
    /// belongs to it.
    bool ETIIsGlobalTimeInSpan(const KTime& pTime, bool pInclusive);
    bool ETIIsSelectedDuration();
    /// The colour of the first ETI. False, and pColor unchanged, where there is none.
    bool ETIGetColor(KgeRGBVector& pColor);

    // Locks (node/locks.cpp)

    /// Whether the node may not be edited, by GLISSA_GetLockMode.
    bool IsNodeLocked() const;
    bool IsNodeLockedInternal(eGlissaLockMode pMode) const;
    /// Whether this node or one below it is locked; with pChain, or one of the layers.
    bool IsNodeLockedInHierarchy(bool pChain);
    void SetLockQuery(ILockQuery* pQuery);
    ILockQuery* GetLockQuery() const;
    /// Whether the layer of this node is muted.
    bool IsNodeMuted() const;
    /// Whether the property forbids plotting.
    bool IsNodePlotDisallowed() const;

    // Evaluation (node/evaluation.cpp)
    //
    // Operations that fill an array of values write in the order of the children and return the
    // place after the last value, unless stated otherwise. Nothing here allocates.
    //
    // pValues  out: room for as many values as the node has, see GetValueCount.
    // pHint    in and out, may be null: the key index hint of Glissa::Evaluate, shared by the
    //          curves.

    /// The curves as they are, without layers, weights and time warps. A muted node writes nothing.
    double* Evaluate(double* pValues, KTime pTime, int* pHint = nullptr);
    /// The values of the chain from this node on, blended by the weights and modes of the layers.
    /// Time warps apply. With pCandidate pending values are used, and the results become the
    /// pending total.
    double* GeneralEvaluate(double* pValues, KTime pTime, int* pHint = nullptr,
                            bool pCandidate = false);
    /// The same onto the values in the array: zero values, or those of the layers below.
    double* Internal_GeneralEvaluate(double* pValues, KTime pTime, int* pHint, bool pCandidate);
    /// Blends the chain onto the values in the array, with the values of the layers pFirstId to
    /// pLastId without pExcludedId. The other layers blend their zero values.
    double* Internal_GeneralEvaluateLayerExcluded(double* pValues, KTime pTime, int pExcludedId,
                                                  int pFirstId, int pLastId);
    /// The values of one layer, weighted; with pForce unweighted, muted or not. Nothing is written
    /// where the chain lacks the layer. For a rotation the answer is pValues. A layer to which a
    /// host has added children has more values than its base.
    double* EvaluateSpecificLayer(double* pValues, KTime pTime, int pId, int* pHint = nullptr,
                                  bool pForce = false);
    /// The angles of a rotation of three curves. With GetUseQuaternion, between two keys of the X
    /// curve, they are on a path of quaternions (Shoemake 1985) shaped by its tangents.
    void RotationNodeEvaluate(double* pValues, KTime pTime, int* pHint, bool pCandidate);

    // Values without keys (node/values.cpp)

    /// The neutral values of the layer type: ones for scaling, else zeros. At most 16 are written.
    double* GetZeroValues(double* pValues);
    /// The default values of the curves.
    double* GetValue(double* pValues);
    /// Sets the default values of the curves. Without pForce a locked leaf keeps its value.
    double* SetValue(double* pValues, bool pForce = false);
    /// Sets the default values to the zero values, those of locked leaves excepted; with pChain in
    /// the layers as well.
    void ResetValue(bool pChain);

    // Blending (node/blending.cpp)
    //
    // pResult  in and out: the values of the layers below, and the blended ones.
    // pValues  in and out: the values of this layer; rotations can be scaled in place.

    /// Blends by the weight and the mode of this layer. Of weight 0 in mode passthrough, the layer
    /// pExcludedId counts as of weight 1. pFirstId and pLastId are not used.
    void AccumulateValue(double* pResult, double* pValues, KTime pTime, int pExcludedId,
                         int pFirstId, int pLastId);
    /// Sums of numbers.
    void BlendSimple(double* pResult, double* pValues, double pWeight, eLayerMode pMode);
    /// Products of powers. Signs are lost.
    void BlendScaling(double* pResult, double* pValues, double pWeight, eLayerMode pMode);
    /// Products of rotations, by channel where the layer type says so. In the modes additive and
    /// override pValues are scaled by the weight.
    void BlendRotation(double* pResult, double* pValues, double pWeight, eLayerMode pMode);
    /// Applies a weight: a product, a power of a scaling, a part of a rotation.
    void ApplyWeightedValue(double* pValues, double pWeight);
    /// The same with weights above 0.99999 taken as 1 and below 1e-5 as 0.
    void AddWeightedValue(double* pValues, double pWeight);
    /// The inverse. Nothing changes where the weight is above 0.99999 or below 1e-5.
    void ResolveWeightedValue(double* pValues, double pWeight);

    // A layer seen from another one (node/layer_mode.cpp)
    //
    // For tools that work a layer out of its chain. pId is the layer that is looked at.

    /// The effect of this layer on a running result before, or after, the layer pId.
    enum LayerModeCase : int
    {
        eModeCaseStop = 0,   ///< this layer and those after it do not count
        eModeCaseSkip = 1,   ///< the result remains
        eModeCaseScale = 2,  ///< the result is scaled by one minus this layer's weight
        eModeCaseReset = 3,  ///< the result becomes the zero values
    };
    LayerModeCase CheckLayerMode(KTime pTime, int pId) const;
    /// Apply the effect to a result. False on eModeCaseStop.
    bool CheckLayerMode(double* pValues, KTime pTime, int pId);
    bool CheckLayerMode(KgeRMatrix& pMatrix, KTime pTime, int pId);
    /// Add the values of every layer but pId to pValues, or multiply them.
    void EvaluateCurvesExceptLayerRecursiveAdd(double* pValues, KTime pTime, int pId, int* pHint);
    void EvaluateCurvesExceptLayerRecursiveMult(double* pValues, KTime pTime, int pId, int* pHint);
    /// Multiply pMatrix by the rotations of this layer, of those below pId, and of those above it.
    bool EvaluateCurvesLayerEulerXYZ(KgeRMatrix& pMatrix, KTime pTime, int pId, int* pHint);
    void EvaluateCurvesBeforeLayerRecursiveEulerXYZ(KgeRMatrix& pMatrix, KTime pTime, int pId,
                                                    int* pHint);
    void EvaluateCurvesAfterLayerRecursiveEulerXYZ(KgeRMatrix& pMatrix, KTime pTime, int pId,
                                                   int* pHint);

    // Keys of a channel (node/keys.cpp)
    //
    // A locked node is skipped, but its values in an array are consumed.

    /// Adds a key to every curve.
    ///
    /// pSkipMask       bit i leaves child i out.
    /// pInterpolation  an interpolation of EGlissaKeyFlags.
    /// pTangentMode    other bits than 0x7F00 are ignored.
    double* KeyAdd(KTime pTime, double* pValues, unsigned int pSkipMask, int pInterpolation,
                   int pTangentMode);
    /// Glissa::KeyAppendFast on every curve. A time that is not after the last key of a curve gets
    /// its key by KeyAdd.
    double* KeyAppend(KTime pTime, double* pValues);
    /// KeyAppend for a recorded value. A constant stretch is kept as three keys.
    double* KeyRecord(KTime pTime, double* pValues);
    /// Removes the keys at a time, and the candidates of the parent's chain. Whether a key was
    /// removed.
    ///
    /// pTolerance  in key index steps; 0 for exactly at the time.
    bool DeleteKey(KTime& pTime, bool* pMask, double pTolerance, unsigned int pSkipMask);
    /// Removes the keys between two times, not those at them; with pChain in the layers as well.
    void Delete(KTime pStart, KTime pStop, bool pChain);
    /// Of a leaf that is not locked; else false.
    bool SetPreExtrapolation(unsigned int pMode);
    bool SetPostExtrapolation(unsigned int pMode);
    bool SetPreExtrapolationCount(unsigned int pCount);
    bool SetPostExtrapolationCount(unsigned int pCount);

    // Counts and times of keys (node/key_times.cpp)
    //
    // pChain  includes the layers.

    int KeyGetCount(bool pChain);
    /// Number of curves below this node, of all keys, and the fewest and most keys on a curve.
    void KeyGetCount(int& pCurves, int& pTotal, int& pMin, int& pMax);
    /// Keys of a child in all layers.
    int KeyGetCountOnChild(int pChild);
    /// 2 where every curve has a key at that time with a value from pMin to pMax, 1 where some have
    /// one, 0 where none has. pTolerance as in DeleteKey.
    int IsKey(KTime& pTime, int* pHint, bool* pMask, double pTolerance, double pMin, double pMax);
    void IsKeyRecursive(KTime& pTime, int& pCurves, int& pHits, int* pHint, bool* pMask,
                        double pTolerance, double pMin, double pMax);
    /// The first and the last key time; without keys KTime::MinusInfinite, and KTime::Infinite for
    /// the last one.
    KTime GetFirstKeyTime(bool* pMask, bool pChain);
    KTime GetLastKeyTime(bool* pMask, bool pChain);
    void InternalKeyTimeGetFirst(KTime& pTime, bool* pMask, bool pChain);
    void InternalKeyTimeGetLast(KTime& pTime, bool* pMask, bool pChain);
    /// The next key time after, or before, a time; that time itself where there is none.
    KTime GetNextKeyTime(KTime pTime, bool* pMask, bool pChain);
    KTime GetPrevKeyTime(KTime pTime, bool* pMask);
    /// Extends a span by that of all keys, layers included. False without keys.
    bool GetAnimationInterval(KTime& pStart, KTime& pStop);
    bool GetAnimationIntervalRecursive(KTime& pStart, KTime& pStop);
    /// The span of all keys; without keys from KTime::Infinite to KTime::MinusInfinite.
    void GetTimeSpan(KTime& pStart, KTime& pStop);
    /// Appends the indexes of the keys of a leaf in a span of global time and a range of values.
    void ExtractKeysIndex(KArrayTemplate<int, 16>& pArray, KTimeSpan pSpan, double pMin,
                          double pMax);
    /// The X, Y and Z curves of the local translation, rotation and scaling below this node, three
    /// each. False at the first one that is missing.
    bool GetTransformCurves(Glissa** pT, Glissa** pR, Glissa** pS);
    /// Whether a leaf looks as if it was plotted at that period or a shorter one.
    bool LookLikeSampledData(KTime pPeriod);

    // Keys of rotations (node/key_rotation.cpp)

    /// KeyAppend of the Euler angles of the same rotation that are nearest to the key before.
    void KeyAppendWithCheckForContinuousRotation(KTime pTime, double* pValues);
    /// Replaces a span on every curve, as Glissa::Replace does. Rotations join without a turn.
    void Replace(GlissaNode* pSource, KTime pStart, KTime pStop, bool pExactSpan,
                 bool pKeyEndsWhenEmpty, KTime pOffset);
    /// Whole turns in degrees that bring a rotation next to another one. True where its flipped
    /// form is nearer.
    bool GetContinuousOffset(double* pOffset, double* pSource, double* pTarget);
    /// The Euler angles of a rotation that are nearest to the key before a time.
    void GetContinuousRotation(double* pResult, double* pRotation, KTime pTime);

    // Candidates (node/candidates.cpp, node/candidate_layers.cpp)
    //
    // Pending values at a time, before there are keys: a total on the base node, or specific values
    // in the curves of a layer.

    /// Sets the total. A channel without keys takes its part of it as default value at once.
    /// Ignored on a layer and for a locked layer. pUnused is not used.
    double* CandidateSet(KTime pTime, double* pValues, const GlissaLayerInfo& pInfo,
                         int pUnused = 0);
    /// Sets the values of a layer, which is created where it is missing. With pResolve its weight
    /// is taken out of pValues, in place.
    double* CandidateSetSpecificLayer(KTime pTime, double* pValues, const GlissaLayerInfo& pInfo,
                                      bool pResolve);
    /// The total, where there is one. pUnused is not used.
    double* CandidateGet(double* pValues, int pUnused = 0);
    /// The first four values of the total and its time.
    void CandidateGetTotalCandidate(double* pValues, KTime& pTime);
    /// The pending values of the curves.
    double* CandidateGetWithTime(double* pValues, KTime& pTime);
    /// The pending values of a layer, computed from the total where necessary. Zero values and null
    /// where the chain lacks the layer.
    double* CandidateGetSpecificLayer(double* pValues, KTime& pTime, const GlissaLayerInfo& pInfo);
    /// GeneralEvaluate with candidates.
    double* CandidateEvaluate(double* pValues, KTime pTime, int* pHint = nullptr);
    /// The values of one layer, unweighted, with pending ones. Nothing of a muted layer.
    double* CandidateEvaluateSpecificLayer(double* pValues, KTime pTime, int pId,
                                           int* pHint = nullptr);
    /// Drops the candidates of a layer, with pSubLayers of those after it too. Always returns true.
    bool CandidateClear(int pId, bool pSubLayers);
    void CandidateClearSubLayers();
    /// Keys the candidate in a layer, so that the blended values become the total, and drops the
    /// candidates. A channel or a layer of more than 16 values gets no keys. Always returns true.
    ///
    /// pZeroKey  keys of zero values.
    /// The other arguments as in Glissa::CandidateKey.
    bool CandidateKey(int* pLast, const GlissaLayerInfo& pInfo, bool* pMask, bool pZeroKey,
                      int pInterpolation, int pTangentMode, int pContinuity, bool pTangentOverride,
                      KTime pTime = KTime::Infinite(), double pTolerance = 0.0);
    /// Keys the specific values of a layer.
    bool CandidateKeySpecificLayer(int* pLast, int pId, bool* pMask, int pInterpolation,
                                   int pTangentMode, int pContinuity, bool pTangentOverride,
                                   KTime pTime, double pTolerance);
    /// The values that a layer must hold for the blended values to be pTotal. Called on the base
    /// node. pUnused is not used.
    void ComputeCandidateForLayer(double* pResult, double* pTotal, KTime pTime, int pId,
                                  int* pUnused = nullptr);
    /// Computes the specific values of a layer from the total.
    void FromTotalCandidateToSpecificCandidate(const GlissaLayerInfo& pInfo);
    /// eCandidateMethod: where values are pending.
    int GetSpecificCandidateMethod() const;
    void SetSpecificCandidateMethod(int pMethod);
    eCandidateMethod GetTotalCandidateMethod() const;
    void SetTotalCandidateMethod(eCandidateMethod pMethod);
    /// Whether a total is pending.
    bool IsCandidate() const { return GetTotalCandidateMethod() == eCandidateTotal; }

    // Saved candidates (node/candidate_state.cpp)

    /// Saves the candidates of this node, its children and its layers.
    void GetCandidateState(GlissaNodeCandidateState& pState);
    /// Restores them. pTrimLayers removes the layers that the state lacks.
    void SetCandidateState(const GlissaNodeCandidateState& pState, bool pTrimLayers);

    // Store (node/store.cpp, node/store_read.cpp)
    //
    // The node as a field of a document, with its tree and its layers: docs/node-format.md.

    /// Writes the node as a field. Always returns true; the document reports a refused write, and a
    /// tree whose blocks nest deeper than KTdf::kMaxNesting, in its error.
    ///
    /// pOnlyDefaults  default values without keys and layers.
    /// pShortNames    the local transforms as "T", "R" and "S".
    /// pNoUserName    without user names.
    /// pWithColor, pOlderKeyForm  as in Glissa::TdfStore; layers are written without colours.
    bool TdfStore(KTdf* pTdf, bool pOnlyDefaults, bool pShortNames, bool pNoUserName,
                  const char* pFieldName, bool pWithColor, bool pOlderKeyForm);
    /// Reads the next "Channel" field into this node, which takes its name. Channels are matched by
    /// name. The layers of the document replace those of the node, where it has any; the host sets
    /// their layer objects afterwards (SetLayerInfo). False where there is no such field.
    ///
    /// pCreateMissing  creates children for channels that match none; else these are left out.
    /// pFaults         out, may be null: what did not fit is appended, in the order of reading.
    bool TdfRetrieve(KTdf* pTdf, bool pOnlyDefaults, bool pCreateMissing, bool pWithColor,
                     std::vector<GlissaStoreFault>* pFaults = nullptr);
    /// The same where the caller has opened the field and read its name. Always returns true.
    bool TdfInternalRetrieve(KTdf* pTdf, bool pOnlyDefaults, bool pCreateMissing, bool pWithColor,
                             std::vector<GlissaStoreFault>* pFaults = nullptr);

private:
    using State = GlissaNodeState;
    friend struct GlissaNodeState;
    class StoreReader;

    bool MustCallsWait() const;
    void SendCollected(const GlissaNodeEvent& pEvent, bool pEnableAfter);

    void DeleteSubject() override { delete this; }

    State* mState;
};

/// A node whose name and user name are both pName; a time warp has the user name only.
GLISSA_API GlissaNode* GlissaNodeCreate(const char* pName, KDataType* pType, int pLayerType,
                                        const GlissaLayerInfo& pInfo);
/// The same by the name of its type, as in KDataTypeGet.
GLISSA_API GlissaNode* GlissaNodeCreate(const char* pName, const char* pUserName,
                                        const char* pTypeName, int pLayerType,
                                        const GlissaLayerInfo& pInfo);
/// A node that shares the names of a template.
GLISSA_API GlissaNode* GlissaNodeCreate(GlissaNode* pTemplate);
/// A node of a type with a child for each of its members, named X, Y, Z, blank, A to Q. A type of
/// one member is a leaf. It has no curves: CreateFCurve creates them.
GLISSA_API GlissaNode* FCurveNodeCreateFromDataType(KDataType* pType, const char* pName);

/// The numbers of time warps in stored documents. The set belongs to the host; null for none.
GLISSA_API void Glissa_SetTWSet(KSet<int, GlissaNode*>* pSet);
/// The number of a node. False, and pNick unchanged, where the set lacks the node.
GLISSA_API bool Glissa_FindNickNumberFromTW(int& pNick, GlissaNode* pNode);
/// The node of a number, or null.
GLISSA_API GlissaNode* Glissa_FindTWFromNickNumber(int pNick);
