// Copyright (c) 2026 The glissa authors
// SPDX-License-Identifier: MIT

#include "apps/glissa/edit_options.h"

#include "apps/glissa/clip_nodes.h"
#include "apps/glissa/command.h"
#include "apps/glissa/file_name.h"
#include "apps/glissa/printable_text.h"
#include "apps/glissa/shared_options.h"

#include <fmt/format.h>

#include <algorithm>
#include <cstdio>

namespace
{
constexpr int kMostStages = 64;
// Of a film, in pixels.
constexpr int kStageWidth = 420;
constexpr int kStageHeight = 300;
constexpr int kHeadHeight = 70;

// The curve of a leaf of the tree in a layer.
EditedCurve CurveIn(const ClipCurves& pClip, const std::string& pName, Unit pUnit,
                    GlissaNode& pChannel, int pIndex, int pLayer)
{
    GlissaNode* const layer = pChannel.LayerGet(pLayer);
    GlissaNode* const leaf = layer ? layer->Get(pIndex) : nullptr;
    EditedCurve curve;
    curve.name = pLayer == 0 ? pName : pName + " @" + LayerName(pClip, pLayer);
    curve.unit = pUnit;
    curve.leaf = leaf;
    curve.curve = leaf ? leaf->FCurveGet() : nullptr;
    return curve;
}

}  // namespace

std::vector<EditedCurve> ChosenCurves(ClipCurves& pClip, const EditOptions& pOptions,
                                      const std::vector<int>& pLayers)
{
    std::vector<EditedCurve> curves;
    const auto add = [&](const std::string& pName, Unit pUnit, GlissaNode& pChannel, int pIndex) {
        for (const int layer : pLayers) {
            EditedCurve curve = CurveIn(pClip, pName, pUnit, pChannel, pIndex, layer);
            if (curve.curve && curve.curve->IsLocked()) {
                throw Refusal(
                    fmt::format("{}: {} is locked; 'glissa layer --unlock' unlocks a layer",
                                pClip.path, PrintableText(curve.name)));
            }
            if (curve.curve) {
                curves.push_back(std::move(curve));
            }
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

EditOutput OutputOf(const EditOptions& pOptions)
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
    EditOutput output;
    if (isFilm) {
        if (pOptions.dryRun) {
            throw WrongArguments("--film needs --output");
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

std::optional<TimeSpan> ShownSpan(const EditOptions& pOptions, double pFramesASecond)
{
    if (pOptions.shown.empty()) {
        return std::nullopt;
    }
    const SelectStep box = ParseOption("--show", &ParseBox, pOptions.shown);
    if (!box.times.low || !box.times.high || box.values.low || box.values.high) {
        throw WrongArguments("--show: give both ends of a span of time: 0.5..3");
    }
    const TimeSpan span{box.times.low->At(pFramesASecond), box.times.high->At(pFramesASecond)};
    if (span.from >= span.to) {
        throw WrongArguments("--show: the span is empty or reversed");
    }
    return span;
}

void WithPath(const ClipCurves& pClip, const std::function<void()>& pEdit)
{
    try {
        pEdit();
    } catch (const Refusal& refusal) {
        const std::string reason = refusal.what();
        throw Refusal(reason.starts_with(pClip.path) ? reason : pClip.path + ": " + reason);
    }
}

void WriteFilm(DragFilm pFilm, const ClipCurves& pClip, const EditOptions& pOptions,
               const EditOutput& pOutput)
{
    pFilm.options.title = pOptions.title.empty() ? FileName(pClip.path) : pOptions.title;
    WritePicture(pOptions.output, {pClip.path}, pOutput.picture, pOutput.size, pFilm.options.title,
                 [&](Canvas& pCanvas) { DrawFilm(pCanvas, pFilm.stages, pFilm.options); });
}

void WriteEdited(ClipCurves& pClip, bool pMovesTime, const EditOptions& pOptions,
                 ClipFormat pFormat)
{
    if (pMovesTime) {
        // Keys may be behind the last frame now. The clip does not get shorter.
        const int frames = pClip.clip.mFrameCount;
        pClip.FitFrameCount();
        pClip.clip.mFrameCount = std::max(pClip.clip.mFrameCount, frames);
    }
    pClip.DropRecordedValues();
    SaveClip(pClip, pFormat, pOptions.output);
}

void WriteEditReport(const EditOptions& pOptions, const ClipCurves& pClip, const std::string& pText)
{
    if (pOptions.output == "-") {
        std::fputs(pText.c_str(), stderr);
    } else {
        WriteReport(pClip.path, pText, false);
    }
}

void AddEditChoiceOptions(CLI::App& pCommand, EditOptions& pOptions, const char* pLayerHelp)
{
    AddClipArgument(pCommand, pOptions.path);
    AddPatternOption(pCommand, "-c,--curve", pOptions.curves, "Curve to edit: Hips/R/X");
    pCommand.add_flag("-a,--all", pOptions.all, "Edit all curves");
    AddPatternOption(pCommand, "-n,--node", pOptions.nodes, "Node whose curves to edit: Spine/R");
    AddTextOption(pCommand, "--layer", pOptions.layer, pLayerHelp, "LAYER");
}

void AddEditOutputOptions(CLI::App& pCommand, EditOptions& pOptions, const std::string& pEdit)
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
                    "Draw the " + pEdit +
                        " in this many stages, the curve as it was in grey, instead of writing "
                        "the clip")
        ->check(CLI::Range(1, kMostStages))
        ->type_name("STAGES");
    AddTextOption(pCommand, "--show", pOptions.shown,
                  "Span of time of the film: 0.5..3; default: around the selection", "TIMES");
    AddTextOption(pCommand, "--size", pOptions.size, "Size of the film in pixels", "WxH");
    AddTextOption(pCommand, "--title", pOptions.title,
                  "Title of the film; default: the file name of the clip", "TEXT");
}
