// Copyright (c) 2026 The glissa authors
// SPDX-License-Identifier: MIT
// For tests only, not installed.
#pragma once

#include "glissa/curve/curve.h"
#include "tests/support/reference.h"

#include <memory>
#include <span>
#include <string>
#include <vector>

// The awkward curves, each named once, for tests, fuzz seeds, benchmarks and pictures. Every one
// is plain data; ToGlissa makes the curve of it.

struct MuseumPiece
{
    std::string name;
    RefCurve curve;
};

/// All pieces but the million keys, in a fixed order.
const std::vector<MuseumPiece>& Museum();
/// A piece by name. An unknown name ends the program.
RefCurve MuseumCurve(const std::string& pName);

// The pieces that take an argument.

/// A key a frame of a recording at 30 frames a second, all with the default attributes.
RefCurve MuseumRecording(int pKeyCount);
/// Three segments between kinds: each of the seven tangent modes on the middle keys.
RefCurve MuseumTangentPair(std::uint32_t pPrevious, std::uint32_t pKey);
/// The flag words of the key kinds that MuseumTangentPair is usually crossed over.
std::span<const std::uint32_t> MuseumKinds();
/// Four keys that rise in all, with the same mode and count before and after them.
RefCurve MuseumExtrapolation(std::uint32_t pMode, std::uint32_t pCount);

/// Ends a curve through Destroy.
struct DestroyCurve
{
    void operator()(Glissa* pCurve) const;
};
using CurveHandle = std::unique_ptr<Glissa, DestroyCurve>;

/// The same curve in the library. Keys with equal attributes as a neighbour share one block.
CurveHandle ToGlissa(const RefCurve& pCurve);

/// The times at which a curve is worth asking: on each key, one tick and some ticks to both sides,
/// fractions of each segment, and outside up to some spans away. At most some hundred a curve.
std::vector<std::int64_t> MuseumTimes(const RefCurve& pCurve);
