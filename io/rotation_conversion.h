// Copyright (c) 2026 The glissa authors
// SPDX-License-Identifier: MIT
// Host side, not installed.
#pragma once

#include "io/angle_jumps.h"
#include "io/clip.h"
#include "io/curve_clip.h"
#include "io/pose_difference.h"
#include "io/result.h"

#include <array>
#include <cstddef>
#include <cstdint>
#include <functional>
#include <string>
#include <vector>

/// What a conversion did.
struct RotationConversion
{
    /// How many rotations had each order before, by its number, and now have the new one.
    std::array<int, kRotationOrderCount> mConvertedFrom = {};
    int mUnchanged = 0;       ///< rotations that had the order before
    int mAddedChannels = 0;   ///< of joints that had fewer than three rotation channels
    PoseDifference mAtKeys;   ///< at the frames, and at the keys between them
    PoseDifference mBetween;  ///< halfway between these times
    /// Of the rotations that had another order. They now take the short way there, and mBetween
    /// leaves them out.
    AngleJumps mJumps;
};

/// Expresses the rotations of some joints in another rotation order, so that the clip has the same
/// pose at each frame and at each key.
///
/// A rotation gets a key at each frame of the clip from its first to its last key, and keeps the
/// times of its keys between the frames. Cubic keys become automatic; linear and constant keys stay
/// so. The angles are unrolled: the first ones are next to 0, the following ones next to those of
/// the key before. The joint gets all three rotation channels, in the places that its rotation
/// channels have, in the channel order of the new rotation order. Recorded values of all other
/// channels stay as they are. A joint that has the order already keeps its keys.
///
/// Refused, with the node and what to do: a rotation with layers, with a locked curve, or that is
/// evaluated as a path of quaternions; more than pMostKeys keys in all. Nothing is changed then.
///
/// pJoints    indexes of joints with a rotation, each once.
/// pOrder     0 to 5, as KVdRotationOrder.
/// pFileName  for the message.
/// pProgress  called with the part of the work that is done, 0 to 1; may be empty.
IoResult<RotationConversion> ConvertRotations(Clip& pClip, CurveClip& pCurves,
                                              const std::vector<std::size_t>& pJoints, int pOrder,
                                              std::int64_t pMostKeys, const std::string& pFileName,
                                              const std::function<void(double)>& pProgress = {});
