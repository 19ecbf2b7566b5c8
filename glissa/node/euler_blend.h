// Copyright (c) 2026 The glissa authors
// SPDX-License-Identifier: MIT
// Not for hosts: the Euler conversions of the older rotation blend.
#pragma once

#include "corvekit/math/rotation_order.h"

// The conversions of Shoemake ("Euler angle conversion", Graphics Gems IV, 1994) with the number of
// the rotation order taken for his packed order code: bit 0 repeats the first axis, bit 1 is odd
// parity. Right for the order XYZ alone; kept for scenes that were blended with it, see
// GLISSA_EnableBrokenRotationBlend. Angles in degrees, in the order of the axes.

KgeRMatrix OlderEulerMatrix(const KgeRVector& pAngles, const KVdRotationOrder& pOrder);
KgeRVector OlderEulerAngles(const KgeRMatrix& pMatrix, const KVdRotationOrder& pOrder);
