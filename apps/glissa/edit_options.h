// Copyright (c) 2026 The glissa authors
// SPDX-License-Identifier: MIT
#pragma once

#include "apps/glissa/clip_curves.h"
#include "apps/glissa/clip_output.h"
#include "apps/glissa/drag_film.h"
#include "apps/glissa/picture_output.h"

#include <CLI/CLI.hpp>

#include <functional>
#include <optional>
#include <string>
#include <vector>

// What the commands share that edit keys as an editor of curves does, and write the clip or a film.

struct EditOptions
{
    std::string path;
    std::vector<std::string> curves, nodes;
    bool all = false;
    std::string layer;
    std::string framesASecond;
    int film = 0;  ///< stages; 0 writes the clip
    std::string shown, size, title;
    std::string output, kind, format;
    bool dryRun = false;
};

/// The clip, and which curves to edit. pLayerHelp  the help text of --layer.
void AddEditChoiceOptions(CLI::App& pCommand, EditOptions& pOptions, const char* pLayerHelp);
/// Output, report and film. pEdit  the word for the edit in the help text: "drag".
void AddEditOutputOptions(CLI::App& pCommand, EditOptions& pOptions, const std::string& pEdit);

/// What is written, from the options alone.
struct EditOutput
{
    ClipFormat clip = ClipFormat::glissa;
    PictureFormat picture = PictureFormat::svg;
    SizeArgument size;
};

/// Throws WrongArguments for options that contradict each other.
EditOutput OutputOf(const EditOptions& pOptions);

/// The chosen curves in the order of the choice, and for each one the layers in the order of
/// pLayers. Throws Refusal for a locked curve, and where there is no curve.
std::vector<EditedCurve> ChosenCurves(ClipCurves& pClip, const EditOptions& pOptions,
                                      const std::vector<int>& pLayers);

/// The span of --show; nullopt without it. Throws WrongArguments.
std::optional<TimeSpan> ShownSpan(const EditOptions& pOptions, double pFramesASecond);

/// Runs an edit. A Refusal gets the path of the clip.
void WithPath(const ClipCurves& pClip, const std::function<void()>& pEdit);

void WriteFilm(DragFilm pFilm, const ClipCurves& pClip, const EditOptions& pOptions,
               const EditOutput& pOutput);
/// pMovesTime  whether keys moved in time: the clip gets the frames that they take.
void WriteEdited(ClipCurves& pClip, bool pMovesTime, const EditOptions& pOptions,
                 ClipFormat pFormat);
/// Writes the report to standard output, or to standard error if that has the clip or the film.
void WriteEditReport(const EditOptions& pOptions, const ClipCurves& pClip,
                     const std::string& pText);
