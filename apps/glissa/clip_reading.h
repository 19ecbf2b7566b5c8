// Copyright (c) 2026 The glissa authors
// SPDX-License-Identifier: MIT
#pragma once

#include "apps/glissa/clip_curves.h"
#include "io/clip_store.h"

#include <CLI/CLI.hpp>

#include <string>

/// --unroll, for every command that reads a clip.
void AddUnrollOption(CLI::App& pCommand, bool& pUnroll);

/// Mends the jumps of angles of a clip (UnrollRotations) and returns a line that says what was
/// done. Throws Refusal.
std::string UnrollClip(StoredClip& pClip, const std::string& pPath);
std::string UnrollClip(ClipCurves& pClip);

/// LoadClip. With pUnroll the jumps are mended and the line is printed.
ClipCurves LoadClip(const std::string& pPath, bool pUnroll);

/// The same for a command that samples between keys: without pUnroll it prints a line if there are
/// jumps.
ClipCurves LoadClipToSample(const std::string& pPath, bool pUnroll);
