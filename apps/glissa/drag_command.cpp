// Copyright (c) 2026 The glissa authors
// SPDX-License-Identifier: MIT

// Drags selected keys as an editor of curves does, and writes the clip, or a film of the drag.

#include "apps/glissa/clip_nodes.h"
#include "apps/glissa/clip_output.h"
#include "apps/glissa/command.h"
#include "apps/glissa/drag_film.h"
#include "apps/glissa/drag_report.h"
#include "apps/glissa/drag_request.h"
#include "apps/glissa/drag_run.h"
#include "apps/glissa/file_name.h"
#include "apps/glissa/picture_output.h"
#include "apps/glissa/printable_text.h"
#include "apps/glissa/shared_options.h"

#include <fmt/format.h>

#include <algorithm>
#include <cstdio>
#include <map>
#include <memory>

namespace
{
constexpr int kMostStages = 64;
// Of a film, in pixels.
constexpr int kStageWidth = 420;
constexpr int kStageHeight = 300;
constexpr int kHeadHeight = 70;

struct DragOptions
{
    std::string path;
    std::vector<std::string> curves, nodes;
    bool all = false;
    std::string layer;
    std::vector<std::string> select, add, remove, toggle;
    /// Name and text of the steps of the selection, in the order of the command line.
    std::vector<std::pair<std::string, std::string>> steps;
    std::string move, stretchTime, stretchValue, scaleTime, scaleValue, setValue;
    std::string snap, snapValues, falloff, ripple, rippleValues;
    bool keepOriginals = false;
    std::string framesASecond;
    int film = 0;
    std::string shown, size, title;
    std::string output, kind, format;
    bool dryRun = false;
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

// The curve of a leaf of the tree in a layer.
DragCurve CurveIn(const ClipCurves& pClip, const std::string& pName, Unit pUnit,
                  GlissaNode& pChannel, int pIndex, int pLayer)
{
    GlissaNode* const layer = pChannel.LayerGet(pLayer);
    GlissaNode* const leaf = layer ? layer->Get(pIndex) : nullptr;
    DragCurve curve;
    curve.name = pLayer == 0 ? pName : pName + " @" + LayerName(pClip, pLayer);
    curve.unit = pUnit;
    curve.leaf = leaf;
    curve.curve = leaf ? leaf->FCurveGet() : nullptr;
    return curve;
}

std::vector<DragCurve> CurvesOf(ClipCurves& pClip, const DragOptions& pOptions)
{
    const int layer = FindLayerInfo(pClip, pOptions.layer).GetLayerID();
    std::vector<DragCurve> curves;
    const auto add = [&](const std::string& pName, Unit pUnit, GlissaNode& pChannel, int pIndex) {
        DragCurve curve = CurveIn(pClip, pName, pUnit, pChannel, pIndex, layer);
        if (curve.curve && curve.curve->IsLocked()) {
            throw Refusal(fmt::format("{}: {} is locked; 'glissa layer --unlock' unlocks a layer",
                                      pClip.path, PrintableText(curve.name)));
        }
        if (curve.curve) {
            curves.push_back(std::move(curve));
        }
    };
    if (!pOptions.nodes.empty()) {
        for (const NamedNode& each : ChooseNodes(pClip, pOptions.nodes)) {
            for (int i = 0; i < each.node->GetCount(); ++i) {
                add(each.name + '/' + each.node->Get(i)->GetName(), each.unit, *each.node, i);
            }
        }
    } else {
        const CurveChoice choice{pOptions.curves, pOptions.all, std::nullopt, std::nullopt};
        for (const NamedCurve* const each : ChooseCurves(pClip, choice)) {
            GlissaNode* const leaf = each->curve->GetOwner();
            GlissaNode& channel = *leaf->GetParent();
            add(each->name, each->unit, channel, channel.Find(leaf));
        }
    }
    if (curves.empty()) {
        throw Refusal(fmt::format("{}: none of the chosen curves is on the layer '{}'", pClip.path,
                                  PrintableText(pOptions.layer)));
    }
    return curves;
}

// What is written, from the options alone.
struct DragOutput
{
    ClipFormat clip = ClipFormat::glissa;
    PictureFormat picture = PictureFormat::svg;
    SizeArgument size;
};

DragOutput OutputOf(const DragOptions& pOptions, const DragRequest& pRequest)
{
    if (pOptions.curves.empty() && pOptions.nodes.empty() && !pOptions.all) {
        throw WrongArguments("no curve is chosen: give --curve NAME, --node NAME or --all");
    }
    if (!pOptions.nodes.empty() && (!pOptions.curves.empty() || pOptions.all)) {
        throw WrongArguments("--node cannot be combined with --curve and --all");
    }
    if (pOptions.dryRun == !pOptions.output.empty()) {
        throw WrongArguments("give one of --output and --dry-run");
    }
    const bool isFilm = pOptions.film > 0;
    if (!isFilm && !(pOptions.shown + pOptions.size + pOptions.title).empty()) {
        throw WrongArguments("--show, --size and --title need --film");
    }
    const bool isClipKind = pOptions.kind == "glissa" || pOptions.kind == "bvh";
    if (!pOptions.kind.empty() && isFilm == isClipKind) {
        throw WrongArguments("--write: a clip is glissa or bvh, a film is svg, png or pdf");
    }
    DragOutput output;
    if (isFilm) {
        if (pOptions.dryRun) {
            throw WrongArguments("--film needs --output");
        }
        if (!pRequest.MovesTime() && !pRequest.MovesValues()) {
            throw WrongArguments("--film needs a move, a stretch or a scale");
        }
        output.picture = ChoosePictureFormat(pOptions.output, pOptions.kind, "--write");
        const FilmGrid grid = FilmGrid::For(pOptions.film);
        output.size = pOptions.size.empty() ? SizeArgument{grid.columns * kStageWidth,
                                                           grid.rows * kStageHeight + kHeadHeight}
                                            : ParseOption("--size", &ParseSize, pOptions.size);
    } else if (!pOptions.dryRun) {
        output.clip = ChooseClipFormat(pOptions.output, pOptions.kind, "--write");
    }
    return output;
}

TimeSpan ShownSpan(const std::string& pText, double pFramesASecond)
{
    const SelectStep box = ParseOption("--show", &ParseBox, pText);
    if (!box.times.low || !box.times.high || box.values.low || box.values.high) {
        throw WrongArguments("--show: give both ends of a span of time: 0.5..3");
    }
    const TimeSpan span{box.times.low->At(pFramesASecond), box.times.high->At(pFramesASecond)};
    if (span.from >= span.to) {
        throw WrongArguments("--show: the span is empty or reversed");
    }
    return span;
}

void WriteFilm(Drag& pDrag, const ClipCurves& pClip, const DragOptions& pOptions,
               const DragOutput& pOutput, double pFramesASecond)
{
    std::optional<TimeSpan> shown;
    if (!pOptions.shown.empty()) {
        shown = ShownSpan(pOptions.shown, pFramesASecond);
    }
    DragFilm film = FilmOf(pDrag, pOptions.film, shown, pFramesASecond);
    film.options.title = pOptions.title.empty() ? FileName(pClip.path) : pOptions.title;
    WritePicture(pOptions.output, {pClip.path}, pOutput.picture, pOutput.size, film.options.title,
                 [&](Canvas& pCanvas) { DrawFilm(pCanvas, film.stages, film.options); });
}

void WriteDragged(ClipCurves& pClip, const DragRequest& pRequest, const DragOptions& pOptions,
                  ClipFormat pFormat)
{
    if (pRequest.MovesTime()) {
        // Keys may be behind the last frame now. The clip does not get shorter.
        const int frames = pClip.clip.mFrameCount;
        pClip.FitFrameCount();
        pClip.clip.mFrameCount = std::max(pClip.clip.mFrameCount, frames);
    }
    pClip.DropRecordedValues();
    SaveClip(pClip, pFormat, pOptions.output);
}

void RunDrag(const DragOptions& pOptions)
{
    const std::optional<double> givenRate = FrameRateOf(pOptions.framesASecond);
    const DragRequest request = RequestOf(pOptions);
    const DragOutput output = OutputOf(pOptions, request);

    ClipCurves clip = LoadClip(pOptions.path);
    const double rate = givenRate.value_or(clip.framesASecond);
    DragReport report{clip.path, pOptions.output, {}};
    try {
        Drag drag(request, CurvesOf(clip, pOptions), rate);
        if (pOptions.film > 0) {
            WriteFilm(drag, clip, pOptions, output, rate);
        } else {
            drag.To(1.0);
        }
        report.results = ResultsOf(drag);
        drag.Finish();
    } catch (const Refusal& refusal) {
        const std::string reason = refusal.what();
        throw Refusal(reason.starts_with(clip.path) ? reason : clip.path + ": " + reason);
    }
    if (pOptions.film == 0 && !pOptions.dryRun) {
        WriteDragged(clip, request, pOptions, output.clip);
    }
    const std::string text = pOptions.format == "json" ? ReportJson(report) : ReportText(report);
    if (pOptions.output == "-") {
        std::fputs(text.c_str(), stderr);
    } else {
        WriteReport(clip.path, text, false);
    }
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
    AddFrameRateOption(pCommand, pOptions.framesASecond);
}

void AddDragOutputOptions(CLI::App& pCommand, DragOptions& pOptions)
{
    AddTextOption(pCommand, "-o,--output", pOptions.output,
                  "Clip to write, or with --film picture, not the file that is read; - for "
                  "standard output, the report then goes to standard error",
                  "FILE");
    AddChoiceOption(pCommand, "--write", pOptions.kind,
                    "Kind of the file: glissa or bvh, with --film svg, png or pdf; default: the "
                    "suffix of the file",
                    "KIND", {"glissa", "bvh", "svg", "png", "pdf"});
    pCommand.add_flag("--dry-run", pOptions.dryRun, "Report only, write nothing");
    AddJsonOptions(pCommand, pOptions.format);
    pCommand
        .add_option("--film", pOptions.film,
                    "Draw the drag in this many stages, the curve as it was in grey, instead of "
                    "writing the clip")
        ->check(CLI::Range(1, kMostStages))
        ->type_name("STAGES");
    AddTextOption(pCommand, "--show", pOptions.shown,
                  "Span of time of the film: 0.5..3; default: around the selection", "TIMES");
    AddTextOption(pCommand, "--size", pOptions.size, "Size of the film in pixels", "WxH");
    AddTextOption(pCommand, "--title", pOptions.title,
                  "Title of the film; default: the file name of the clip", "TEXT");
}

// The parser lists each option once for each of its values, in the order of the command line.
void CollectSteps(const CLI::App& pCommand, DragOptions& pOptions)
{
    std::map<const CLI::Option*, std::size_t> counts;
    for (const CLI::Option* const option : pCommand.parse_order()) {
        const std::string name = option->get_name();
        const std::size_t index = counts[option]++;
        if (name == "--select" || name == "--add" || name == "--remove" || name == "--toggle") {
            pOptions.steps.emplace_back(name, option->results().at(index));
        }
    }
}
}  // namespace

void AddDragCommand(CLI::App& pApp, Action& pAction)
{
    const auto options = std::make_shared<DragOptions>();
    CLI::App* const command = pApp.add_subcommand(
        "drag", "Select keys and move, stretch or scale them as in an editor of curves");
    AddClipArgument(*command, options->path);
    AddPatternOption(*command, "-c,--curve", options->curves, "Curve to edit: Hips/R/X");
    command->add_flag("-a,--all", options->all, "Edit all curves");
    AddPatternOption(*command, "-n,--node", options->nodes, "Node whose curves to edit: Spine/R");
    AddTextOption(*command, "--layer", options->layer,
                  "Layer whose keys to edit: its name, or base (default)", "LAYER");
    AddSelectionOptions(*command, *options);
    AddEditOptions(*command, *options);
    AddDragOutputOptions(*command, *options);
    command->footer(
        "Examples:\n"
        "  glissa drag clip.glissa --curve 'Hips/R/*' --select 1..2 --move 0.1,5 --falloff 10 -o "
        "out.glissa\n"
        "  glissa drag clip.glissa --curve 'Hips/T/Y' --select 1..2,80..95 --stretch-time "
        "pivot=1,edge=2,by=0.5 --snap frames --ripple right -o out.glissa\n"
        "  glissa drag clip.glissa --node 'Spine/*' --select 1..2 --scale-value 0.5 --film 8 -o "
        "drag.svg");
    command->callback([options, command, &pAction] {
        CollectSteps(*command, *options);
        pAction = [options] { RunDrag(*options); };
    });
}
