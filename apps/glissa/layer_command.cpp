// Copyright (c) 2026 The glissa authors
// SPDX-License-Identifier: MIT

// Layers of a clip: one is added, removed, or has its state changed in a run, and the clip goes to
// another file; or all are listed.

#include "apps/glissa/clip_output.h"
#include "apps/glissa/command.h"
#include "apps/glissa/picture/canvas.h"
#include "io/name_match.h"

#include <fmt/format.h>

#include <algorithm>
#include <iterator>
#include <memory>
#include <optional>

namespace
{
struct LayerOptions
{
    std::string path;
    std::string add, remove, mute, unmute, lock, unlock;
    bool list = false;
    std::string mode;
    std::string rotation;
    std::optional<double> weight;
    std::vector<std::string> nodes;
    std::string output;
    std::string format;
};

constexpr eLayerMode kModes[] = {eLayerModeAdditive, eLayerModeOverride,
                                 eLayerModeOverridePassthrough};

HostLayer& FindLayer(const ClipCurves& pClip, const std::string& pName)
{
    HostLayer* const layer = pClip.owner.GetNodes().GetLayers().Find(pName);
    if (!layer) {
        throw Refusal(fmt::format(
            "{}: there is no layer '{}' among the {} there; 'glissa layer --list' names "
            "them",
            pClip.path, pName, pClip.owner.GetNodes().GetLayers().GetAll().size()));
    }
    return *layer;
}

// The nodes that any of the patterns covers, all without one.
std::vector<GlissaNode*> ChooseNodes(const ClipCurves& pClip,
                                     const std::vector<std::string>& pPatterns)
{
    const std::vector<NodeClip::NamedNode> all = pClip.owner.GetNodes().GetTransforms(pClip.clip);
    std::vector<bool> taken(all.size(), pPatterns.empty());
    for (const std::string& pattern : pPatterns) {
        bool any = false;
        for (std::size_t i = 0; i < all.size(); ++i) {
            if (NameMatches(pattern, all[i].mName) || pattern == all[i].mName) {
                taken[i] = any = true;
            }
        }
        if (!any) {
            throw Refusal(fmt::format("{}: no node of the {} there matches '{}'; 'glissa info "
                                      "--tree' shows them",
                                      pClip.path, all.size(), pattern));
        }
    }
    std::vector<GlissaNode*> chosen;
    for (std::size_t i = 0; i < all.size(); ++i) {
        if (taken[i]) {
            chosen.push_back(all[i].mNode);
        }
    }
    return chosen;
}

void Add(ClipCurves& pClip, const LayerOptions& pOptions)
{
    HostLayers& layers = pClip.owner.GetNodes().GetLayers();
    if (pOptions.add == "base") {
        throw Refusal(fmt::format("{}: 'base' is what lies below all layers: choose another name",
                                  pClip.path));
    }
    if (layers.Find(pOptions.add)) {
        throw Refusal(fmt::format("{}: there is a layer '{}' already", pClip.path, pOptions.add));
    }
    const std::vector<GlissaNode*> nodes = ChooseNodes(pClip, pOptions.nodes);
    if (nodes.empty()) {
        throw Refusal(
            fmt::format("{}: the clip moves nothing that a layer could be on", pClip.path));
    }
    HostLayer& layer = layers.Add(pOptions.add);
    for (const eLayerMode mode : kModes) {
        if (pOptions.mode == LayerModeName(mode)) {
            layer.mMode = mode;
        }
    }
    layer.mRotationMode = pOptions.rotation == "channel" ? eRotationByChannel : eRotationByLayer;
    layer.mWeight->SetValue(static_cast<float>(pOptions.weight.value_or(1.0)));
    for (GlissaNode* const node : nodes) {
        node->CreateLayerAt(GlissaLayerInfo(layer.mId, &layer));
    }
}

void Remove(ClipCurves& pClip, const std::string& pName)
{
    const HostLayer& layer = FindLayer(pClip, pName);
    if (layer.mLocked) {
        throw Refusal(
            fmt::format("{}: the layer '{}' is locked; --unlock it first", pClip.path, pName));
    }
    const int id = layer.mId;
    NodeClip& nodes = pClip.owner.GetNodes();
    for (const NodeClip::NamedNode& each : nodes.GetTransforms(pClip.clip)) {
        each.mNode->RemoveLayer(id, true);
    }
    nodes.GetLayers().Remove(id);
}

std::int64_t CountKeys(GlissaNode& pNode)
{
    std::int64_t keys = pNode.FCurveGet() ? pNode.FCurveGet()->KeyGetCount() : 0;
    for (int i = 0; i < pNode.GetCount(); ++i) {
        keys += CountKeys(*pNode.Get(i));
    }
    return keys;
}

std::string WeightText(const HostLayer& pLayer)
{
    const int keys = pLayer.mWeight->KeyGetCount();
    return keys > 0 ? fmt::format("{} keys", keys) : fmt::format("{}", pLayer.mWeight->GetValue());
}

std::string ListText(const ClipCurves& pClip)
{
    const NodeClip& nodes = pClip.owner.GetNodes();
    if (nodes.GetLayers().GetAll().empty()) {
        return "no layers\n";
    }
    std::string text =
        fmt::format("{:>4}  {:<20}  {:<11}  {:>8}  {:<8}  {:<12}  {:>5}  {:>8}\n", "id", "layer",
                    "mode", "weight", "rotation", "state", "nodes", "keys");
    const std::vector<NodeClip::NamedNode> all = nodes.GetTransforms(pClip.clip);
    for (const auto& layer : nodes.GetLayers().GetAll()) {
        int count = 0;
        std::int64_t keys = 0;
        for (const NodeClip::NamedNode& each : all) {
            if (GlissaNode* const node = each.mNode->LayerGet(layer->mId)) {
                ++count;
                keys += CountKeys(*node);
            }
        }
        const char* const state = layer->mMuted ? (layer->mLocked ? "muted locked" : "muted")
                                                : (layer->mLocked ? "locked" : "-");
        fmt::format_to(std::back_inserter(text),
                       "{:>4}  {:<20}  {:<11}  {:>8}  {:<8}  {:<12}  {:>5}  {:>8}\n", layer->mId,
                       PrintableText(layer->mName), LayerModeName(layer->mMode), WeightText(*layer),
                       layer->mRotationMode == eRotationByChannel ? "channel" : "layer", state,
                       count, keys);
    }
    return text;
}

void CheckOptions(const LayerOptions& pOptions)
{
    const std::pair<const char*, const std::string*> actions[] = {
        {"--add", &pOptions.add},   {"--remove", &pOptions.remove},
        {"--mute", &pOptions.mute}, {"--unmute", &pOptions.unmute},
        {"--lock", &pOptions.lock}, {"--unlock", &pOptions.unlock},
    };
    int given = pOptions.list ? 1 : 0;
    for (const auto& [name, text] : actions) {
        given += text->empty() ? 0 : 1;
    }
    if (given != 1) {
        throw WrongArguments(
            "one thing at a time: --list, --add, --remove, --mute, --unmute, --lock or --unlock");
    }
    if (pOptions.add.empty() && (!pOptions.mode.empty() || !pOptions.rotation.empty() ||
                                 pOptions.weight || !pOptions.nodes.empty())) {
        throw WrongArguments("--mode, --rotation, --weight and --node go with --add");
    }
    if (pOptions.weight && !(*pOptions.weight >= 0.0 && *pOptions.weight <= 1.0)) {
        throw WrongArguments(fmt::format("--weight {}: a weight is from 0 to 1", *pOptions.weight));
    }
    if (!pOptions.list && pOptions.output.empty()) {
        throw WrongArguments("--output is missing: name the file to write");
    }
}

void RunLayer(const LayerOptions& pOptions)
{
    CheckOptions(pOptions);
    if (pOptions.list) {
        const ClipCurves clip = LoadClip(pOptions.path);
        Output output(pOptions.output, pOptions.path);
        output.Write(ListText(clip));
        output.Commit();
        return;
    }
    const ClipFormat format = ChooseClipFormat(pOptions.output, pOptions.format);
    ClipCurves clip = LoadClip(pOptions.path);
    if (!pOptions.add.empty()) {
        Add(clip, pOptions);
    } else if (!pOptions.remove.empty()) {
        Remove(clip, pOptions.remove);
    } else if (!pOptions.mute.empty() || !pOptions.unmute.empty()) {
        FindLayer(clip, pOptions.mute + pOptions.unmute).mMuted = !pOptions.mute.empty();
    } else {
        FindLayer(clip, pOptions.lock + pOptions.unlock).mLocked = !pOptions.lock.empty();
    }
    // The values of the file are no longer those of the blended curves.
    clip.clip.mValues.clear();
    WriteClip(clip, format, pOptions.output);
}
}  // namespace

void AddLayerCommand(CLI::App& pApp, Action& pAction)
{
    const auto options = std::make_shared<LayerOptions>();
    CLI::App* const command =
        pApp.add_subcommand("layer", "Add, remove, mute, lock and list the layers of a clip");
    command->add_option("CLIP", options->path, "Clip to read (BVH or .glissa)")->required();
    command->add_flag("--list", options->list, "Show the layers");
    command->add_option("--add", options->add, "Add a layer, without keys, above the others")
        ->type_name("NAME");
    command
        ->add_option("--mode", options->mode,
                     "How it combines with what lies below: additive (as it is without), override "
                     "or passthrough")
        ->check(CLI::IsMember({"additive", "override", "passthrough"}))
        ->type_name("MODE");
    command->add_option("--weight", options->weight, "Its weight, 0 to 1; 1 without it")
        ->type_name("W");
    command
        ->add_option(
            "--rotation", options->rotation,
            "Blend rotations as rotations (layer, as it is without) or as numbers (channel)")
        ->check(CLI::IsMember({"layer", "channel"}))
        ->type_name("HOW");
    command
        ->add_option(
            "--node", options->nodes,
            "Node that it is on: Hips/R, */T; all of them without it. May be given several "
            "times")
        ->allow_extra_args(false)
        ->type_name("NODE");
    const auto named = [&](const char* pName, std::string& pText, const char* pHelp) {
        command->add_option(pName, pText, pHelp)->type_name("NAME");
    };
    named("--remove", options->remove, "Remove a layer with its keys; a locked one is refused");
    named("--mute", options->mute, "Let a layer have no effect");
    named("--unmute", options->unmute, "Let it have its effect again");
    named("--lock", options->lock, "Keep a layer from being edited");
    named("--unlock", options->unlock, "Let it be edited again");
    command
        ->add_option("-o,--output", options->output,
                     "File to write, never the one that is read; - for standard output")
        ->type_name("FILE");
    command
        ->add_option("--format", options->format,
                     "glissa or bvh (the blended values); without it the suffix of the file tells")
        ->check(CLI::IsMember({"bvh", "glissa"}))
        ->type_name("FORMAT");
    command->footer("Examples:\n"
                    "  glissa layer clip.glissa --add bow --mode additive --weight 0.5 --node "
                    "'Spine*/R' -o out.glissa\n"
                    "  glissa layer out.glissa --list\n"
                    "  glissa layer out.glissa --mute bow -o muted.glissa");
    command->callback([options, &pAction] { pAction = [options] { RunLayer(*options); }; });
}
