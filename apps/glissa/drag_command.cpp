// Copyright (c) 2026 The glissa authors
// SPDX-License-Identifier: MIT

// Drags selected keys as an editor of curves does, and writes the clip, or a film of the drag.

#include "apps/glissa/clip_nodes.h"
#include "apps/glissa/command.h"
#include "apps/glissa/drag_film.h"
#include "apps/glissa/drag_report.h"
#include "apps/glissa/drag_request.h"
#include "apps/glissa/drag_run.h"
#include "apps/glissa/edit_options.h"
#include "apps/glissa/shared_options.h"

#include <map>
#include <memory>

namespace
{
struct DragOptions : EditOptions
{
    std::vector<std::string> select, add, remove, toggle;
    /// Name and text of the steps of the selection, in the order of the command line.
    std::vector<std::pair<std::string, std::string>> steps;
    std::string move, stretchTime, stretchValue, scaleTime, scaleValue, setValue;
    std::string snap, snapValues, falloff, ripple, rippleValues;
    bool keepOriginals = false;
};

DragRequest RequestOf(const DragOptions& pOptions)
{
    const std::map<std::string, eSelectionMode> modes = {{"--select", eSelectionReplace},
                                                         {"--add", eSelectionAdd},
                                                         {"--remove", eSelectionRemove},
                                                         {"--toggle", eSelectionToggle}};
    DragRequest request;
    for (const auto& [name, text] : pOptions.steps) {
        request.selection.push_back(ParseOption(name.c_str(), &ParseBox, text));
        request.selection.back().mode = modes.at(name);
    }
    const auto parse = [](const char* pName, auto* pParse, const std::string& pText, auto& pValue) {
        if (!pText.empty()) {
            pValue = ParseOption(pName, pParse, pText);
        }
    };
    if ((!pOptions.stretchTime.empty() && !pOptions.scaleTime.empty()) ||
        (!pOptions.stretchValue.empty() && !pOptions.scaleValue.empty())) {
        throw WrongArguments("an axis is stretched or scaled, not both");
    }
    parse("--move", &ParseMove, pOptions.move, request.move);
    parse("--stretch-time", &ParseTimeStretch, pOptions.stretchTime, request.time);
    parse("--scale-time", &ParseTimeScale, pOptions.scaleTime, request.time);
    parse("--stretch-value", &ParseValueStretch, pOptions.stretchValue, request.value);
    parse("--scale-value", &ParseValueScale, pOptions.scaleValue, request.value);
    parse("--set-value", &ParseValue, pOptions.setValue, request.setValue);
    parse("--snap-values", &ParseDistance, pOptions.snapValues, request.snapDistance);
    parse("--falloff", &ParseFrames, pOptions.falloff, request.falloff);
    request.snapsFrames = !pOptions.snap.empty();
    const std::map<std::string, TimeRipple> ripples = {{"left", TimeRipple::left},
                                                       {"right", TimeRipple::right},
                                                       {"both", TimeRipple::both},
                                                       {"", TimeRipple::none}};
    request.ripple = ripples.at(pOptions.ripple);
    request.rippleValues = pOptions.rippleValues.empty()    ? ValueRipple::none
                           : pOptions.rippleValues == "all" ? ValueRipple::all
                                                            : ValueRipple::box;
    request.keepsOriginals = pOptions.keepOriginals;
    request.Check();
    return request;
}

void RunDrag(const DragOptions& pOptions)
{
    const std::optional<double> givenRate = FrameRateOf(pOptions.framesASecond);
    const DragRequest request = RequestOf(pOptions);
    if (pOptions.film > 0 && !request.MovesTime() && !request.MovesValues()) {
        throw WrongArguments("--film needs a move, a stretch or a scale");
    }
    const EditOutput output = OutputOf(pOptions);

    ClipCurves clip = LoadClip(pOptions.path);
    const double rate = givenRate.value_or(clip.framesASecond);
    DragReport report{clip.path, pOptions.output, {}};
    WithPath(clip, [&] {
        const int layer = FindLayerInfo(clip, pOptions.layer).GetLayerID();
        Drag drag(request, ChosenCurves(clip, pOptions, {layer}), rate);
        if (pOptions.film > 0) {
            WriteFilm(FilmOf(drag, pOptions.film, ShownSpan(pOptions, rate), rate), clip, pOptions,
                      output);
        } else {
            drag.To(1.0);
        }
        report.results = ResultsOf(drag);
        drag.Finish();
    });
    if (pOptions.film == 0 && !pOptions.dryRun) {
        WriteEdited(clip, request.MovesTime(), pOptions, output.clip);
    }
    WriteEditReport(pOptions, clip,
                    pOptions.format == "json" ? ReportJson(report) : ReportText(report));
}

void AddSelectionOptions(CLI::App& pCommand, DragOptions& pOptions)
{
    constexpr const char* kBox = "TIMES[,VALUES]";
    AddTextOption(pCommand, "--select", pOptions.select,
                  "Select the keys of a span of time, or of a box of times and values, and no "
                  "others: 1..2, 24f..48f,80..95; an end may be left out (1..), '..' is all. The "
                  "steps of a selection are made in the order given",
                  kBox);
    AddTextOption(pCommand, "--add", pOptions.add, "Select further keys", kBox);
    AddTextOption(pCommand, "--remove", pOptions.remove, "Deselect keys", kBox);
    AddTextOption(pCommand, "--toggle", pOptions.toggle, "Turn the selection of keys over", kBox);
}

void AddEditOptions(CLI::App& pCommand, DragOptions& pOptions)
{
    AddTextOption(pCommand, "--move", pOptions.move,
                  "Move the selected keys in time, and in value: 0.1,5 or 3f,5; 0,5 in value "
                  "alone. With a sign write --move=-3f,5",
                  "TIME[,VALUE]");
    AddTextOption(pCommand, "--stretch-time", pOptions.stretchTime,
                  "Stretch in time: the edge moves by a time, the pivot stays. Both are a time, or "
                  "start, middle or end of the selection; default: pivot=start,edge=end",
                  "[pivot=P,][edge=E,]by=TIME");
    AddTextOption(pCommand, "--stretch-value", pOptions.stretchValue,
                  "Stretch in value, in the same way. Pivot and edge are a value, or low, middle "
                  "or high of the selection; default: pivot=low,edge=high",
                  "[pivot=P,][edge=E,]by=VALUE");
    AddTextOption(pCommand, "--scale-time", pOptions.scaleTime,
                  "Scale in time by a factor, about a pivot; default: start. A negative factor "
                  "reverses the keys",
                  "FACTOR[,pivot=P]");
    AddTextOption(pCommand, "--scale-value", pOptions.scaleValue,
                  "Scale values by a factor, about a pivot; default: 0", "FACTOR[,pivot=P]");
    AddTextOption(pCommand, "--set-value", pOptions.setValue, "Give all selected keys one value",
                  "VALUE");
    AddChoiceOption(pCommand, "--snap", pOptions.snap,
                    "frames: a stretch puts each key on a frame, a move the first selected key; "
                    "alone, each selected key goes to its nearest frame. The later of two keys on "
                    "a frame remains",
                    "WHAT", {"frames"});
    AddTextOption(pCommand, "--snap-values", pOptions.snapValues,
                  "A move in value that brings the first or the last selected key of a curve this "
                  "near to the value of the key next to it ends there. The first curve that snaps "
                  "decides for all; shorter moves are free",
                  "DISTANCE");
    AddTextOption(pCommand, "--falloff", pOptions.falloff,
                  "Keys around the selection follow a change of values, less and less up to this "
                  "distance from where the selection ends up",
                  "FRAMES");
    AddChoiceOption(pCommand, "--ripple", pOptions.ripple,
                    "All keys left or right of the selection move along in time, on the side to "
                    "which it moves or that is stretched; both: whichever side that is, and both "
                    "sides of a stretch",
                    "SIDE", {"left", "right", "both"});
    AddChoiceOption(pCommand, "--ripple-values", pOptions.rippleValues,
                    "Chosen curves without a selected key follow a change of value: upward their "
                    "keys at or above the selection, downward those at or below it; box: only "
                    "those within its time",
                    "KEYS", {"box", "all"});
    pCommand.add_flag("--keep-originals", pOptions.keepOriginals,
                      "A move in time leaves copies of the keys at their old places");
}
}  // namespace

void AddDragCommand(CLI::App& pApp, Action& pAction)
{
    const auto options = std::make_shared<DragOptions>();
    CLI::App* const command = pApp.add_subcommand(
        "drag", "Select keys and move, stretch or scale them as in an editor of curves");
    AddEditChoiceOptions(*command, *options,
                         "Layer whose keys to edit: its name, or base (default)");
    AddSelectionOptions(*command, *options);
    AddEditOptions(*command, *options);
    AddFrameRateOption(*command, options->framesASecond);
    AddEditOutputOptions(*command, *options, "drag");
    command->footer(
        "Examples:\n"
        "  glissa drag clip.glissa --curve 'Hips/R/*' --select 1..2 --move 0.1,5 --falloff 10 -o "
        "out.glissa\n"
        "  glissa drag clip.glissa --curve 'Hips/T/Y' --select 1..2,80..95 --stretch-time "
        "pivot=1,edge=2,by=0.5 --snap frames --ripple right -o out.glissa\n"
        "  glissa drag clip.glissa --node 'Spine/*' --select 1..2 --scale-value 0.5 --film 8 -o "
        "drag.svg");
    command->callback([options, command, &pAction] {
        options->steps = OptionsInOrder(*command, {"--select", "--add", "--remove", "--toggle"});
        pAction = [options] { RunDrag(*options); };
    });
}
