// Copyright (c) 2026 The glissa authors
// SPDX-License-Identifier: MIT
#pragma once

#include "apps/glissa/curve_edit.h"
#include "apps/glissa/drag_request.h"
#include "apps/glissa/picture/picture.h"

#include <vector>

/// A drag of selected keys by a GlissaManipulator: the request at any fraction of its way.
///
/// One object at a time: it sets the process-wide time mode, in whose frames the manipulator
/// counts.
class Drag : public CurveEdit
{
public:
    /// Selects the keys and begins. Throws Refusal where no key is selected, or where the selection
    /// has no extent along a stretched axis, and WrongArguments for a ripple to the wrong side.
    ///
    /// pFramesASecond  for times in frames, the falloff and the snapping
    Drag(const DragRequest& pRequest, std::vector<EditedCurve> pCurves, double pFramesASecond);
    ~Drag();

    /// Drags from the start to a fraction of the way, 1 for all of it. Throws Refusal where a key
    /// would leave the range of times or of floats; the curves are then of no use.
    void To(double pFraction);
    /// Ends the drag and removes selection and marks. The curves remain.
    void Finish();

    const DragRequest& GetRequest() const { return mRequest; }
    /// The box around the selected keys, at the place to which they were dragged.
    SelectionBox GetBox();

private:
    /// A manipulation of its own. An edit in both directions takes two where one cannot do it.
    struct Step
    {
        bool times = false;
        bool values = false;
    };
    /// The edit of one axis, in ticks or in values.
    struct AxisEdit
    {
        double pivot = 0.0;
        double edge = 0.0;
        double delta = 0.0;  ///< of the edge, or of a move
    };

    void Select();
    void Begin(const Step& pStep);
    void Edit(const Step& pStep, double pFraction);
    void EditStretch(const Step& pStep, double pFraction);
    void CancelManipulation();
    void ResolveTimes(const SelectionBox& pBox);
    void ResolveValues(const SelectionBox& pBox);
    KTime SnappedMove(KTime pMove) const;
    eFCurveManipulationMode ModeOf(const Step& pStep) const;
    double FalloffRadius() const;

    DragRequest mRequest;
    double mFramesASecond;
    bool mHasTimeMode = false;  ///< whether the frames of the manipulator are those of the clip
    std::vector<Step> mSteps;
    AxisEdit mTimes;
    AxisEdit mValues;
    KTime mStart;  ///< of the selection before the drag
};
