// Copyright (c) 2026 The glissa authors
// SPDX-License-Identifier: MIT
#pragma once

#include "corvekit/array.h"
#include "corvekit/bitset.h"
#include "corvekit/time.h"
#include "glissa/export.h"

#include <limits>
#include <memory>

class Glissa;
class GlissaNode;
class GlissaNodeEvent;
class GlissaEdit2;
struct GlissaKeyEdit2;

/// What a manipulation moves; BeginManipulation. "Ripple": keys that are not marked follow.
enum eFCurveManipulationMode : int
{
    eManipNone = 0,       ///< no manipulation is open
    eManipLeftEdge = 1,   ///< StretchX moves the start of the selection
    eManipRightEdge = 2,  ///< StretchX moves the end of the selection
    eManipBothAxes = 3,   ///< StretchXY; no Offset in time, no StretchX, no StretchY
    eManipRippleLeftEdge = 4,
    eManipRippleRightEdge = 5,
    eManipRippleBothAxes = 6,
};

/// What SelectKeys does with keys inside the rectangle. Only eSelectionReplace changes keys
/// outside.
enum eSelectionMode : int
{
    eSelectionReplace = 0,  ///< keys inside are selected, all others deselected
    eSelectionAdd = 1,
    eSelectionRemove = 2,
    eSelectionToggle = 3,
};

/// Interactive editing of marked keys of many curves: what a curve editor calls while the user
/// drags keys.
///
/// A host adds nodes, marks keys (MarkKeysForManip) and the nodes that take part
/// (MarkCurveNodeForManip), and calls FrameManipulation or FrameSelection, so that the range is
/// that of the keys. Then it calls BeginManipulation, an edit for each movement of the mouse, and
/// EndManipulation.
///
/// The arguments of an edit are totals since BeginManipulation, not steps since the last call. Each
/// edit computes the curve anew from its state at BeginManipulation: a drag out and back returns
/// exactly to the start, keys that a drag has overwritten come back when it retreats, and nothing
/// accumulates. Exceptions are documented at SetY, StretchXY, and at Offset for the modes 3 and 6.
/// Changes that anyone else makes to the curves meanwhile are lost with the next edit: of keys,
/// default value, colour and extrapolation.
///
/// There is no cancel. Offset(0, 0, 0) returns to the start, after StretchXY the same with deltas
/// of 0 does.
///
/// Edits change the nodes that take part: those whose bit is set, that were not locked at
/// BeginManipulation, and are not locked now. They refuse nothing and report nothing. Each edit is
/// one operation and sends one event for each curve; listeners are called at its end and may
/// destroy curves, nodes and the manipulator. A node that is destroyed is removed.
///
/// Times and spans are ticks of the host's timeline (global time, see GlissaNode::SetETI); values
/// are those of the curves. Edits are also offered with values as KTime, for curves whose value is
/// a time in seconds. Any argument is allowed: times that would leave the range of times stop
/// there.
///
/// Marks are flags of keys and remain after EndManipulation.
///
/// A copy takes over nodes, bits, flags, ranges and threshold, but no open manipulation. One thread
/// at a time uses a manipulator and the nodes that it has.
class GLISSA_API GlissaManipulator
{
public:
    GlissaManipulator();
    GlissaManipulator(const GlissaManipulator& pOther);
    /// Ends an open manipulation of this object first.
    GlissaManipulator& operator=(const GlissaManipulator& pOther);
    ~GlissaManipulator();

    // Nodes (manip/manipulator.cpp)
    //
    // Each change of the set ends an open manipulation and clears the bits of all nodes.

    /// Adds a node and all nodes below it, where they have a curve and are not in the set yet. Null
    /// adds nothing. Layers are added as nodes of their own.
    void Add(GlissaNode* pNode);
    /// Removes a node and all nodes below it.
    void Remove(GlissaNode* pNode);
    /// A bracket around several changes of the set: added nodes take part from its outermost end
    /// on. An end without a begin is ignored.
    void BeginAddRemoveCurveNode();
    void EndAddRemoveCurveNode();
    /// Removes all nodes.
    void ClearFCurveNodes();

    // Marks (manip/marks.cpp)
    //
    // Both are needed: an edit changes the marked keys of the nodes whose bit is set. Key marks are
    // changed without an event.

    /// Sets or clears the bit of every node.
    void MarkAllCurveNodeForManip(bool pMark);
    /// Sets or clears the bit of a node of the set, or of every node for null.
    void MarkCurveNodeForManip(bool pMark, GlissaNode* pNode);
    /// Marks or unmarks keys of a node of the set, or of every node for null.
    ///
    /// pFirst, pLast  inclusive. Indexes that a curve does not have are left out.
    void MarkKeysForManip(bool pMark, GlissaNode* pNode, int pFirst, int pLast);
    /// Marks the selected keys of every node and unmarks all others.
    void MarkKeysForManipFromSelection();
    /// Unmarks all keys of every node.
    void ClearMarkKeysForManip();

    // The manipulation (manip/manipulation.cpp)

    /// Begins a manipulation, after the end of one that is open. Curves do not change.
    ///
    /// pMode           another value than 1 to 6 begins one in which edits do nothing.
    /// pKeepOriginals  edits by Offset in time move copies of the marked keys; unmarked, unselected
    ///                 keys remain at the old places. Other edits ignore it.
    /// pSnapThreshold  distance in value within which Offset snaps to the values of the keys next
    /// to
    ///                 the marked ones. 0 snaps to equal values only.
    void BeginManipulation(eFCurveManipulationMode pMode, bool pKeepOriginals,
                           double pSnapThreshold);
    /// Ends it. Curves, marks, selection and range remain as the last edit left them.
    void EndManipulation();

    // Moves (manip/offset.cpp)

    /// Moves the marked keys. A marked key replaces an unmarked one at the same time. A move in
    /// time begins from the keys at begin, also after StretchXY, and turns the callback for added
    /// custom keys on (Glissa::SetCallbackForCustomKeyAddEnabled).
    ///
    /// In the modes 3 and 6 keys do not move in time, and with pX other than 0 each call adds pY to
    /// what the last one left.
    /// In the modes 4 and 5, with SetRippleMoveX, the keys after the last marked one follow a move
    /// to the right and those before the first marked one a move to the left; keys of curves
    /// without marks stay. With SetRippleMoveY values of curves without a marked key follow: those
    /// at or above the range at begin for a positive pY, at or below it for a negative one, within
    /// the range of time unless SetRippleAllY.
    ///
    /// pX        span of global time; the scale factor of an ETI applies.
    /// pY        difference of value. Beyond the snap threshold it is replaced by the one that puts
    ///           the first marked key of a curve to the value of the key before it, or the last one
    ///           to that of the key after it, where that is within the threshold. The first node
    ///           that snaps decides for all.
    /// pFallOff  radius in frames of the default time mode, within which unmarked keys follow, less
    ///           and less; only where pX is 0. 0 and below is none.
    void Offset(KTime pX, double pY, double pFallOff);
    void Offset(KTime pX, KTime pY, double pFallOff);
    void OffsetX(KTime pX) { Offset(pX, 0.0, 0.0); }
    void OffsetY(double pY, double pFallOff) { Offset(KTime(), pY, pFallOff); }
    void OffsetY(KTime pY, double pFallOff) { Offset(KTime(), pY, pFallOff); }
    /// Gives all marked keys one value, in an open manipulation. The next edit drops it.
    void SetY(double pValue);

    // Stretches (manip/stretch_time.cpp, manip/stretch_value.cpp)
    //
    // A stretch moves an edge by a delta and all marked keys in proportion to their distance from a
    // pivot. Slopes of user tangents follow. StretchX and StretchXY write all curves, also those
    // without a marked key, which have their keys at begin again. They deselect tangent handles,
    // and leave out nodes whose ETI has a scale factor of 0 or below.

    /// Stretches in time; in the modes 1, 2, 4 and 5. An unmarked key between or after the marked
    /// ones replaces a marked one at the same time. In mode 4 the keys before the first marked one
    /// move by pDelta, in mode 5 those after the last one, whatever SetRippleStretchX. A span below
    /// one frame counts as one frame. Stretched beyond the pivot, the keys are reversed in time,
    /// and keys of mixed kinds change their shape.
    ///
    /// pSnapToFrame  rounds times to frames of the default time mode; the later of two keys on a
    ///               frame remains.
    void StretchX(KTime pPivot, KTime pEdge, KTime pDelta, bool pSnapToFrame);
    /// Stretches values; in the modes 1, 2, 4 and 5. The factor is never 0: its magnitude is 1e-5
    /// at least. In the modes 4 and 5 the slopes of all user tangents follow, and with
    /// SetRippleStretchY the values of curves without a marked key move by pDelta: those at or
    /// below the range at begin in mode 4, at or above it in mode 5, within the range of time
    /// unless SetRippleAllY.
    ///
    /// pAllowNegative  values may be mirrored at the pivot.
    /// pFallOff        radius in frames; unmarked keys follow the marked keys next to them.
    void StretchY(double pPivot, double pEdge, double pDelta, bool pAllowNegative, double pFallOff);
    void StretchY(KTime pPivot, KTime pEdge, KTime pDelta);
    /// Scales values about 0. A factor of 0 counts as 1e-5.
    void ScaleY(double pFactor) { StretchY(0.0, 1.0, pFactor - 1.0, true, 0.0); }
    /// Stretches time and values, in every mode, where the whole range is set. The result is the
    /// state from which the following edits of values begin. In mode 6 the keys before and after
    /// follow with SetRippleStretchX; with SetRippleStretchY values of curves without a marked key
    /// at or outside the range at begin are scaled about 0.
    ///
    /// pFallOff  as in StretchY, where pDeltaX is 0; measured from the curve at begin.
    void StretchXY(KTime pPivotX, double pPivotY, KTime pEdgeX, double pEdgeY, KTime pDeltaX,
                   double pDeltaY, bool pSnapToFrame, double pFallOff);
    /// The slopes of a user tangent under a stretch: divided by the magnitude of a factor of time,
    /// multiplied by a factor of value. Other tangents, and null, do not change.
    void StrecthTangentX(GlissaKeyEdit2* pKey, double pScale);
    void StrecthTangentY(GlissaKeyEdit2* pKey, double pScale);
    void StrecthTangentY(Glissa* pCurve, int pIndex, double pScale);

    // Frames and ease (manip/key_times.cpp)
    //
    // Both compute the times of the marked keys from those at begin, so an edit before is dropped.

    /// Moves the marked keys to the nearest frames of the default time mode. The later of two keys
    /// on a frame remains.
    void SnapKeysToFrame();
    /// Restores the keys of the nodes to their state at begin. The arguments have no effect.
    void EaseInOrOut(KTime pStart, KTime pStop, bool pEaseIn);
    /// pTime.
    KTime GetEaseInKeyTime(KTime pStart, KTime pTime, KTime pStop);
    KTime GetEaseOutKeyTime(KTime pStart, KTime pTime, KTime pStop);

    // Ripple

    /// What follows in the ripple modes, see the edits. Off at first; read by each edit.
    void SetRippleMoveX(bool pOn) { mRippleMoveX = pOn; }
    void SetRippleMoveY(bool pOn) { mRippleMoveY = pOn; }
    void SetRippleStretchX(bool pOn) { mRippleStretchX = pOn; }
    void SetRippleStretchY(bool pOn) { mRippleStretchY = pOn; }
    void SetRippleAllY(bool pOn) { mRippleAllY = pOn; }

    // Selection (manip/selection.cpp)

    /// Selects keys by a rectangle in global time and value, all bounds inclusive, on the nodes
    /// whose bit is set and whose curve is not locked. Keys outside the span of an ETI are
    /// deselected where it has a duration, else left out. Frames the selection if it has changed;
    /// otherwise the range remains as it is.
    void SelectKeys(eSelectionMode pMode, KTime pStart, KTime pStop, double pMinValue,
                    double pMaxValue);
    void SelectKeys(eSelectionMode pMode, KTime pStart, KTime pStop, KTime pMinValue,
                    KTime pMaxValue);
    /// The node, curve and index of the key that SelectKeys has selected last; null, null and -1
    /// where there is none. The index can be out of date after edits.
    void GetLastSelectedKey(GlissaNode*& pNode, Glissa*& pCurve, int& pIndex);
    /// Whether all selected keys show their tangents, as at first, or the last one only.
    void SetShowManyTangents(bool pShow) { mShowManyTangents = pShow; }
    /// Shows or hides the tangents of the selected keys of the nodes whose bit is set.
    void SetTangentVisibility(bool pOn) { SetTangentVisibility(pOn, true); }

    // Ranges (manip/selection.cpp)
    //
    // A range without keys runs from KTime::Infinite() to KTime::MinusInfinite(), and from the
    // greatest to the least double.

    /// The range of the selection, which edits move along.
    void GetSelectionRange(KTime& pStart, KTime& pStop, double& pMinValue, double& pMaxValue);
    void GetSelectionRange(KTime& pStart, KTime& pStop, KTime& pMinValue, KTime& pMaxValue);
    /// The same as it was at BeginManipulation.
    void GetOriginalSelectionRange(KTime& pStart, KTime& pStop, double& pMinValue,
                                   double& pMaxValue);
    void GetOriginalSelectionRange(KTime& pStart, KTime& pStop, KTime& pMinValue, KTime& pMaxValue);
    /// Computes the range of the selected keys, or of those both selected and marked, of the nodes
    /// whose bit is set.
    void FrameSelection();
    void FrameManipulation();
    /// The first and the last key time of all nodes, in node time. Without keys
    /// KTime::MinusInfinite(), and KTime::Infinite() for the last one.
    KTime GetFirstKeyTime();
    KTime GetLastKeyTime();

    // Retiming (manip/retime_offset.cpp)

    /// Moves the marked keys with a retime marker, in an open manipulation of any mode. The
    /// arguments are those of the move callback of KRetimeMarker (glissa/retime/retime.h). A key at
    /// the marker moves by pOffset, others by GetRetimeOffset; keys before pLeft and after pRight
    /// stay. Of a marked and an unmarked key at one time the marked one remains if the unmarked one
    /// was before all marked keys, otherwise the unmarked one. The range does not change, and a
    /// curve without a marked key is left as it is.
    ///
    /// Like every edit it begins at the state at BeginManipulation, so that two calls do not add
    /// up: for each move of a marker a host begins and ends a manipulation.
    ///
    /// A segment that gets another width keeps its shape: if one of two neighbouring keys is a user
    /// key, the slopes of both in the segment between them are divided by its change of width, and
    /// both get broken tangents, also where nothing moves. A TCB key is not broken. Neighbours that
    /// come to one time or change places keep their slopes. Unmarked keys between the marked ones
    /// do not move and are not neighbours.
    ///
    /// pLeft, pRight  KTime::MinusInfinite() and KTime::Infinite() where there is no marker.
    void OffsetXForRetiming(KTime pLeft, KTime pCenter, KTime pRight, KTime pOffset);
    /// By how much a key at pTime moves: pOffset at pCenter, 0 at pLeft and pRight, in proportion
    /// between. By pOffset on a side without a marker.
    KTime GetRetimeOffset(KTime pLeft, KTime pCenter, KTime pRight, KTime pOffset, KTime pTime);
    /// The part of it between two markers, at any time: a straight line through 0 at pLeft and
    /// pOffset at pCenter, and one through pOffset at pCenter and 0 at pRight. 0 where the two
    /// markers have the same time.
    KTime RetimeAlgorithmLeftRegion(KTime pLeft, KTime pCenter, KTime pOffset, KTime pTime);
    KTime RetimeAlgorithmRightRegion(KTime pCenter, KTime pRight, KTime pOffset, KTime pTime);

private:
    struct Part;
    struct Workspace;

    /// A box in time and value. The values are kept as times too, exact to the tick.
    struct Range
    {
        KTime mStart = KTime::Infinite();
        KTime mStop = KTime::MinusInfinite();
        double mMinValue = std::numeric_limits<double>::max();
        double mMaxValue = std::numeric_limits<double>::lowest();
        KTime mMinValueTime = KTime::Infinite();
        KTime mMaxValueTime = KTime::MinusInfinite();

        void Include(KTime pTime, double pValue);
        /// The values as times; after the last Include.
        void SetValueTimes();
        void Get(KTime& pStart, KTime& pStop, double& pMinValue, double& pMaxValue) const;
        void Get(KTime& pStart, KTime& pStop, KTime& pMinValue, KTime& pMaxValue) const;
    };

    // Nodes
    void InternalAdd(GlissaNode* pNode);
    void InternalRemove(GlissaNode* pNode);
    void GetRelatedNodes();
    void NodeSetChanged();
    void AddNode(GlissaNode* pNode);
    void Forget(const GlissaNode* pNode);
    void LeaveNodes();
    void CopySettings(const GlissaManipulator& pOther);
    static void OnNodeEvent(GlissaNode* pNode, GlissaNodeEvent* pEvent, void* pManipulator);
    /// The curve of a related node; null where it has none, or where the node was destroyed.
    Glissa* RelatedCurve(int pRelated) const;

    // Edits: workspace.h. Each calls pEdit(node, curve, part) within a bracket of the curve, for
    // each node that takes part.
    template <typename Edit>
    void EditCurves(const Edit& pEdit);
    template <typename Edit>
    void EditRecords(const Edit& pEdit);
    void Restore(Glissa& pCurve, Part& pPart);
    void SetBase(Glissa& pCurve, Part& pPart);
    void ApplyToNode(const GlissaEdit2& pEdit, Glissa& pCurve, Part& pPart);
    template <typename Move>
    void MoveMarkedKeys(const Move& pMove);
    double AdjustYOffsetToSnapOnNeighbor(double pY) const;
    /// Whether values of unmarked keys follow an edit: none is marked, and the ripple is on.
    bool RipplesValues(const Glissa& pCurve, bool pRipple) const;
    /// Whether a key is in the range of time of the start, or the ripple is not limited to it.
    bool IsInRippleTime(const Glissa& pCurve, int pIndex, const Part& pPart) const;
    /// Whether keys of this mode move by Offset in time, StretchX and StretchY.
    bool HasEdge() const { return mMode != eManipNone && mMode % 3 != 0; }
    bool HasRippleEdge() const
    {
        return mMode == eManipRippleLeftEdge || mMode == eManipRippleRightEdge;
    }
    bool MovesLeftEdge() const { return mMode == eManipLeftEdge || mMode == eManipRippleLeftEdge; }
    void FallOff(Glissa* pCurve, double pValue, double pRadius, Glissa* pOriginal);

    // Range
    template <typename Limit>
    void SetLimit(Limit Range::*pLimit, Limit pValue);
    void OrderTimes();
    void OrderValues();
    void StretchValues(double pPivot, double pScale);

    // Selection
    void Frame(unsigned pFlags);
    void IncludeKeys(Range& pRange, int pRelated, unsigned pFlags) const;
    void SetTangentVisibility(bool pOn, bool pOnlyNodesForManip);
    void SetTangentVisibility(bool pOn, Glissa* pCurve, int pIndex);

    int mAddRemoveDepth = 0;
    KArrayTemplate<GlissaNode*, 16> mNodes;
    // What mNodes was at the last change of the set. Bits and parts have these indexes, so that a
    // node that is destroyed leaves a null.
    KArrayTemplate<GlissaNode*, 16> mRelatedNodes;
    KBitSet mNodesForManip;
    Range mSelection;
    Range mOriginal;  // the range at BeginManipulation
    eFCurveManipulationMode mMode = eManipNone;
    double mSnapThreshold = 0.0;
    GlissaNode* mLastSelectedNode = nullptr;
    int mLastSelectedKey = -1;
    bool mShowManyTangents = true;
    bool mRippleMoveX = false;
    bool mRippleMoveY = false;
    bool mRippleStretchX = false;
    bool mRippleStretchY = false;
    bool mRippleAllY = false;
    std::unique_ptr<Workspace> mWork;  // of the open manipulation, and memory for the next one
};
