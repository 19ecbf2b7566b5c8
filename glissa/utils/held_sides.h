// Copyright (c) 2026 The glissa authors
// SPDX-License-Identifier: MIT
// Not for hosts: slopes of a key given back to it.
#pragma once

class Glissa;

/// Gives a key its slopes on the sides where the segment is cubic, where it has others. On an
/// automatic key the parameters find them, and a refinement that would decide otherwise goes. A TCB
/// key has no such parameters and stays.
void HoldSides(Glissa& pCurve, int pIndex, float pLeft, float pRight);

/// The same for one side; the other one keeps the slope that it has.
void HoldLeftSlope(Glissa& pCurve, int pIndex, float pSlope);
void HoldRightSlope(Glissa& pCurve, int pIndex, float pSlope);

/// Makes a key hold its own value to the next key. The slope that arrives at it stays.
void MakeConstant(Glissa& pCurve, int pIndex);
