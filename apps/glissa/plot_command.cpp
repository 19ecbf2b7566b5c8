// Copyright (c) 2026 The glissa authors
// SPDX-License-Identifier: MIT

#include "apps/glissa/clip_reading.h"
#include "apps/glissa/command.h"
#include "apps/glissa/comparison.h"
#include "apps/glissa/curve_options.h"
#include "apps/glissa/curve_picture.h"
#include "apps/glissa/file_name.h"
#include "apps/glissa/name_choice.h"
#include "apps/glissa/node_picture.h"
#include "apps/glissa/output.h"
#include "apps/glissa/picture_output.h"

#include <fmt/format.h>

#include <algorithm>
#include <array>
#include <memory>

namespace
{
struct PlotOptions
{
    CurveOptions curves;
    std::string against;
    std::string size;
    std::string title;
    std::string format;
    bool tangents = false;
    bool frames = false;
};

// Whether the picture includes the extrapolation.
bool ShowsExtrapolation(const std::optional<ExtrapolationArgument>& pArgument)
{
    return pArgument && pArgument->mode != eExtrapolationNone &&
           pArgument->mode != eExtrapolationConstant && pArgument->count > 0;
}

TimeSpan DefaultSpan(const std::optional<TimeSpan>& pKeys, const CurveChoice& pChoice)
{
    const KTime halfSecond = KTime::FromSeconds(0.5);
    TimeSpan span = pKeys.value_or(TimeSpan{KTime(), KTime()});
    if (span.from == span.to) {
        return {span.from - halfSecond, span.to + halfSecond};
    }
    const KTime length = span.to - span.from;
    if (ShowsExtrapolation(pChoice.before)) {
        span.from -= length;
    }
    if (ShowsExtrapolation(pChoice.after)) {
        span.to += length;
    }
    return span;
}

void CheckPanels(const std::vector<Unit>& pUnits, const PlotOptions& pOptions)
{
    std::array<int, 3> counts{};
    for (const Unit each : pUnits) {
        if (++counts[static_cast<std::size_t>(each)] > kMostCurvesAPanel) {
            throw Refusal(fmt::format("{}: {} curves are chosen; a picture has at most {} of one "
                                      "unit: choose fewer with {}",
                                      pOptions.curves.path, pUnits.size(), kMostCurvesAPanel,
                                      pOptions.curves.TakesNodes() ? "--node" : "--curve"));
        }
    }
}

double TimeAxisRate(const PlotOptions& pOptions, const ClipCurves& pClip)
{
    const std::optional<double> rate = pOptions.curves.span.FramesASecond();
    return pOptions.frames || rate ? rate.value_or(pClip.framesASecond) : 0.0;
}

// The curves and the span of a picture.
struct Choice
{
    std::vector<PictureCurve> curves;
    TimeSpan span;
};

TimeSpan ChooseSpan(const PlotOptions& pOptions, const std::optional<TimeSpan>& pKeys,
                    const ClipCurves& pClip)
{
    const TimeSpan span =
        pOptions.curves.span.At(DefaultSpan(pKeys, pOptions.curves.Choice()), pClip.framesASecond);
    if (span.from == span.to) {
        throw WrongArguments("a picture needs a span of time: --to must be after --from");
    }
    return span;
}

Choice ChooseCurveLines(ClipCurves& pClip, const PlotOptions& pOptions)
{
    const std::vector<NamedCurve*> curves = ChooseCurves(pClip, pOptions.curves.Choice());
    std::vector<Unit> units;
    for (const NamedCurve* const each : curves) {
        units.push_back(each->unit);
    }
    CheckPanels(units, pOptions);
    Choice choice{{}, ChooseSpan(pOptions, KeySpan(curves), pClip)};
    for (NamedCurve* const each : curves) {
        choice.curves.push_back(MakePictureCurve(*each, choice.span, pOptions.tangents));
    }
    return choice;
}

Choice ChooseNodeLines(const ClipCurves& pClip, const PlotOptions& pOptions)
{
    const CurveOptions& options = pOptions.curves;
    const std::vector<NamedNode> nodes = ChooseNodes(pClip, options.nodes, options.Choice());
    std::vector<Unit> units;
    for (const NamedNode& node : nodes) {
        for (const NodeSeries& each : MakeSeries(pClip, node, options.layers)) {
            units.insert(units.end(), static_cast<std::size_t>(each.GetCount()), node.unit);
        }
    }
    CheckPanels(units, pOptions);
    Choice choice{{}, ChooseSpan(pOptions, KeySpan(nodes), pClip)};
    for (const NamedNode& node : nodes) {
        for (PictureCurve& each : MakeNodePicture(pClip, node, choice.span, options.layers)) {
            choice.curves.push_back(std::move(each));
        }
    }
    return choice;
}

// The chosen curves or nodes of one of two clips.
struct Chosen
{
    ClipCurves* clip = nullptr;
    std::vector<NamedCurve*> curves;
    std::vector<NamedNode> nodes;
    std::vector<std::string> missing;  ///< patterns without a match

    std::optional<TimeSpan> Keys() const
    {
        return nodes.empty() ? KeySpan(curves) : KeySpan(nodes);
    }

    std::vector<PictureCurve> Draw(const TimeSpan& pSpan, bool pTangents) const
    {
        std::vector<PictureCurve> drawn;
        for (NamedCurve* const each : curves) {
            drawn.push_back(MakePictureCurve(*each, pSpan, pTangents));
        }
        for (const NamedNode& node : nodes) {
            for (PictureCurve& each : MakeNodePicture(*clip, node, pSpan, false)) {
                drawn.push_back(std::move(each));
            }
        }
        return drawn;
    }
};

Chosen ChooseIn(ClipCurves& pClip, const CurveOptions& pOptions)
{
    Chosen chosen;
    chosen.clip = &pClip;
    if (pOptions.TakesNodes()) {
        chosen.nodes = ChooseNodes(pClip, pOptions.nodes, pOptions.Choice(), &chosen.missing);
    } else {
        chosen.curves = ChooseCurves(pClip, pOptions.Choice(), &chosen.missing);
    }
    return chosen;
}

void ReportLeftOut(const std::vector<std::string>& pNames, const std::string& pPath)
{
    if (!pNames.empty()) {
        PrintMessage(fmt::format("only in {} and left out: {}", pPath, NamesText(pNames)));
    }
}

Choice ChoosePairs(ClipCurves& pClip, ClipCurves& pOther, const PlotOptions& pOptions)
{
    const Chosen first = ChooseIn(pClip, pOptions.curves);
    const Chosen second = ChooseIn(pOther, pOptions.curves);
    for (const std::string& each : first.missing) {
        if (std::count(second.missing.begin(), second.missing.end(), each) > 0) {
            throw Refusal(fmt::format("{} and {}: neither clip has a {} that matches '{}'",
                                      pClip.path, pOther.path,
                                      pOptions.curves.TakesNodes() ? "node" : "curve", each));
        }
    }
    const TimeSpan span = ChooseSpan(pOptions, SpanOfBoth(first.Keys(), second.Keys()), pClip);
    Comparison compared =
        CompareCurves(first.Draw(span, pOptions.tangents), second.Draw(span, pOptions.tangents),
                      span, TimeAxisRate(pOptions, pClip));
    ReportLeftOut(compared.onlyFirst, pClip.path);
    ReportLeftOut(compared.onlySecond, pOther.path);
    std::vector<Unit> units;
    for (const PictureCurve& each : compared.curves) {
        if (each.isDifference) {
            units.push_back(each.unit);
        }
    }
    if (units.empty()) {
        throw Refusal(fmt::format("{} and {}: none of the chosen curves is in both clips",
                                  pClip.path, pOther.path));
    }
    CheckPanels(units, pOptions);
    return {std::move(compared.curves), span};
}

void RunPlot(const PlotOptions& pOptions)
{
    pOptions.curves.Check();
    const bool isComparison = !pOptions.against.empty();
    const SizeArgument size =
        ParseOption("--size", &ParseSize,
                    !pOptions.size.empty() ? pOptions.size
                                           : std::string(isComparison ? "1000x700" : "1000x500"));
    const PictureFormat format = ChoosePictureFormat(pOptions.curves.output, pOptions.format);
    if (pOptions.tangents && pOptions.curves.TakesNodes()) {
        throw WrongArguments("--tangents needs --curve: a blend has no handles");
    }

    if (isComparison && pOptions.curves.layers) {
        throw WrongArguments("--against cannot be combined with --layers");
    }

    ClipCurves clip = LoadClipToSample(pOptions.curves.path, pOptions.curves.unroll);
    std::optional<ClipCurves> other;
    std::vector<std::string> inputs = {clip.path};
    PictureOptions picture;
    picture.title = FileName(clip.path);
    if (isComparison) {
        other = LoadClipToSample(pOptions.against, pOptions.curves.unroll);
        inputs.push_back(other->path);
        // The clips may have the same file name in two folders.
        const bool needsPaths =
            FileName(clip.path) == FileName(other->path) && clip.path != other->path;
        picture.firstClip = needsPaths ? clip.path : FileName(clip.path);
        picture.secondClip = needsPaths ? other->path : FileName(other->path);
        picture.title = picture.firstClip + " and " + picture.secondClip;
    }
    const Choice choice = isComparison                   ? ChoosePairs(clip, *other, pOptions)
                          : pOptions.curves.TakesNodes() ? ChooseNodeLines(clip, pOptions)
                                                         : ChooseCurveLines(clip, pOptions);
    if (!pOptions.title.empty()) {
        picture.title = pOptions.title;
    }
    picture.from = choice.span.from;
    picture.to = choice.span.to;
    picture.tangents = pOptions.tangents;
    picture.framesASecond = TimeAxisRate(pOptions, clip);

    WritePicture(pOptions.curves.output, inputs, format, size, picture.title,
                 [&](Canvas& pCanvas) { DrawPicture(pCanvas, choice.curves, picture); });
}
}  // namespace

void AddPlotCommand(CLI::App& pApp, Action& pAction)
{
    const auto options = std::make_shared<PlotOptions>();
    CLI::App* const command =
        pApp.add_subcommand("plot", "Draw curves or nodes over time, as PNG, SVG or PDF");
    options->curves.AddTo(*command);
    command->add_flag("--tangents", options->tangents, "Draw the handles of the tangents");
    AddTextOption(*command, "--against", options->against,
                  "A second clip: draws both, the first one pale, and the differences below",
                  "CLIP");
    AddTextOption(*command, "--size", options->size,
                  "Size in pixels; default: 1000x500, with --against 1000x700", "WxH");
    AddTextOption(*command, "--title", options->title, "Title; default: the file name of the clip",
                  "TEXT");
    command->add_flag("--frames", options->frames,
                      "Time axis in frames, at the rate of the clip or of --fps");
    AddChoiceOption(*command, "--format", options->format,
                    "png, svg or pdf; default: the suffix of the file, svg for standard output",
                    "FORMAT", {"png", "svg", "pdf"});
    command->footer("Examples:\n"
                    "  glissa plot clip.bvh --curve 'Hips/*' --tangents -o hips.svg\n"
                    "  glissa plot clip.bvh --curve '*Leg/R/X' --frames --from 24f --to 48f -o "
                    "knees.png\n"
                    "  glissa plot walk.bvh --against clean.glissa --curve 'Hips/R/X' -o "
                    "before-after.svg\n"
                    "  glissa plot layered.glissa --node 'Spine/R' --layers -o spine.svg\n"
                    "  glissa plot clip.bvh --curve 'Hips/T/?' --post relative:3 --to 12 --size "
                    "1600x800 -o path.pdf");
    command->callback([options, &pAction] { pAction = [options] { RunPlot(*options); }; });
}
