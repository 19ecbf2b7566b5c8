// Copyright (c) 2026 The glissa authors
// SPDX-License-Identifier: MIT

#include "apps/glissa/command.h"
#include "apps/glissa/curve_options.h"
#include "apps/glissa/curve_picture.h"
#include "apps/glissa/node_picture.h"
#include "apps/glissa/output.h"

#include <fmt/format.h>

#include <algorithm>
#include <array>
#include <memory>

namespace
{
struct PlotOptions
{
    CurveOptions curves;
    std::string size = "1000x500";
    std::string title;
    std::string format;
    bool tangents = false;
    bool frames = false;
};

std::string FileName(const std::string& pPath)
{
    const std::size_t slash = pPath.rfind('/');
    return slash == std::string::npos ? pPath : pPath.substr(slash + 1);
}

// By --format, else by the suffix of the file; SVG on standard output.
PictureFormat ChooseFormat(const PlotOptions& pOptions)
{
    std::string name = pOptions.format;
    const std::string& path = pOptions.curves.output;
    if (name.empty() && (path.empty() || path == "-")) {
        return PictureFormat::svg;
    }
    if (name.empty()) {
        const std::string file = FileName(path);
        const std::size_t dot = file.rfind('.');
        name = dot == std::string::npos ? std::string() : file.substr(dot + 1);
        std::transform(name.begin(), name.end(), name.begin(), [](char pEach) {
            return pEach >= 'A' && pEach <= 'Z' ? static_cast<char>(pEach - 'A' + 'a') : pEach;
        });
    }
    if (name == "png") {
        return PictureFormat::png;
    }
    if (name == "svg") {
        return PictureFormat::svg;
    }
    if (name == "pdf") {
        return PictureFormat::pdf;
    }
    throw WrongArguments(fmt::format(
        "--output: '{}' does not tell the kind of picture: end it in .png, .svg or .pdf, or give "
        "--format",
        path));
}

// One repetition of what was asked for beyond the keys belongs into the picture.
bool ShowsBeyond(const std::optional<ExtrapolationArgument>& pArgument)
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
    if (ShowsBeyond(pChoice.before)) {
        span.from -= length;
    }
    if (ShowsBeyond(pChoice.after)) {
        span.to += length;
    }
    return span;
}

void CheckPanels(const std::vector<Unit>& pUnits, const PlotOptions& pOptions)
{
    std::array<int, 3> counts{};
    for (const Unit each : pUnits) {
        if (++counts[static_cast<std::size_t>(each)] > kMostCurvesAPanel) {
            throw Refusal(fmt::format(
                "{}: {} curves were chosen; more than {} of one unit cannot be told apart in a "
                "picture: choose fewer with {}",
                pOptions.curves.path, pUnits.size(), kMostCurvesAPanel,
                pOptions.curves.TakesNodes() ? "--node" : "--curve"));
        }
    }
}

// What is drawn, and the span that it is drawn over.
struct Choice
{
    std::vector<PictureCurve> curves;
    TimeSpan span;
};

TimeSpan ChooseSpan(const PlotOptions& pOptions, const std::optional<TimeSpan>& pKeys,
                    const ClipCurves& pClip)
{
    const TimeSpan span =
        pOptions.curves.Span(DefaultSpan(pKeys, pOptions.curves.Choice()), pClip.framesASecond);
    if (span.from == span.to) {
        throw WrongArguments("a picture needs a span of time: --to has to lie after --from");
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

void RunPlot(const PlotOptions& pOptions)
{
    pOptions.curves.Check();
    const SizeArgument size = ParseOption("--size", &ParseSize, pOptions.size);
    const PictureFormat format = ChooseFormat(pOptions);
    if (pOptions.tangents && pOptions.curves.TakesNodes()) {
        throw WrongArguments("--tangents goes with --curve: a blend of layers has no handles");
    }

    ClipCurves clip = LoadClip(pOptions.curves.path);
    const Choice choice = pOptions.curves.TakesNodes() ? ChooseNodeLines(clip, pOptions)
                                                       : ChooseCurveLines(clip, pOptions);

    PictureOptions picture;
    picture.title = pOptions.title.empty() ? FileName(clip.path) : pOptions.title;
    picture.from = choice.span.from;
    picture.to = choice.span.to;
    picture.tangents = pOptions.tangents;
    const std::optional<double> framesASecond = pOptions.curves.FramesASecond();
    if (pOptions.frames || framesASecond) {
        picture.framesASecond = framesASecond.value_or(clip.framesASecond);
    }

    Output output(pOptions.curves.output, clip.path);
    if (output.IsTerminal() && format != PictureFormat::svg) {
        throw WrongArguments("a picture is no text for a terminal: name a file with --output");
    }
    Canvas canvas(format, size.width, size.height, picture.title,
                  [&output](std::string_view pBytes) { output.Write(pBytes); });
    DrawPicture(canvas, choice.curves, picture);
    canvas.Finish();
    output.Commit();
}
}  // namespace

void AddPlotCommand(CLI::App& pApp, Action& pAction)
{
    const auto options = std::make_shared<PlotOptions>();
    CLI::App* const command =
        pApp.add_subcommand("plot", "Draw curves or nodes over time, as PNG, SVG or PDF");
    options->curves.AddTo(*command);
    command->add_flag("--tangents", options->tangents, "Draw the handles of the tangents");
    command->add_option("--size", options->size, "Size in pixels, 1000x500 without it")
        ->type_name("WxH");
    command->add_option("--title", options->title, "Title; the name of the clip without it")
        ->type_name("TEXT");
    command->add_flag("--frames", options->frames,
                      "Count frames on the time axis, as --fps does, at the clip's rate");
    command
        ->add_option("--format", options->format,
                     "png, svg or pdf; without it the suffix of the file tells, and standard "
                     "output takes svg")
        ->check(CLI::IsMember({"png", "svg", "pdf"}))
        ->type_name("FORMAT");
    command->footer("Examples:\n"
                    "  glissa plot clip.bvh --curve 'Hips/*' --tangents -o hips.svg\n"
                    "  glissa plot clip.bvh --curve '*Knee/R/X' --frames --from 24f --to 48f -o "
                    "knees.png\n"
                    "  glissa plot layered.glissa --node 'Spine/R' --layers -o spine.svg\n"
                    "  glissa plot clip.bvh --curve 'Hips/T/?' --post relative:3 --to 12 --size "
                    "1600x800 -o path.pdf");
    command->callback([options, &pAction] { pAction = [options] { RunPlot(*options); }; });
}
