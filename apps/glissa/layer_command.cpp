// Copyright (c) 2026 The glissa authors
// SPDX-License-Identifier: MIT

// Adds or removes a layer or changes its state, and writes the clip to another file; or lists all
// layers.

#include "apps/glissa/clip_nodes.h"
#include "apps/glissa/clip_output.h"
#include "apps/glissa/clip_reading.h"
#include "apps/glissa/command.h"
#include "apps/glissa/output.h"
#include "apps/glissa/shared_options.h"
#include "apps/glissa/text_table.h"

#include <fmt/format.h>

#include <memory>
#include <optional>

namespace
{
struct LayerOptions
{
    std::string path;
    bool unroll = false;
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

void Add(ClipCurves& pClip, const LayerOptions& pOptions)
{
    HostLayers& layers = pClip.owner.GetNodes().GetLayers();
    if (pOptions.add == kBaseName) {
        throw Refusal(
            fmt::format("{}: '{}' is the name of the motion below all layers: choose another name",
                        pClip.path, kBaseName));
    }
    if (layers.Find(pOptions.add)) {
        throw Refusal(fmt::format("{}: a layer '{}' exists already", pClip.path, pOptions.add));
    }
    const std::vector<NamedNode> nodes = ChooseNodes(pClip, pOptions.nodes);
    if (nodes.empty()) {
        throw Refusal(fmt::format("{}: the clip has no node for a layer", pClip.path));
    }
    HostLayer& layer = layers.Add(pOptions.add);
    for (const eLayerMode mode : kModes) {
        if (pOptions.mode == LayerModeName(mode)) {
            layer.mMode = mode;
        }
    }
    layer.mRotationMode = pOptions.rotation == "channel" ? eRotationByChannel : eRotationByLayer;
    layer.mWeight->SetValue(static_cast<float>(pOptions.weight.value_or(1.0)));
    for (const NamedNode& each : nodes) {
        if (!each.node->CreateLayerAt(GlissaLayerInfo(layer.mId, &layer))) {
            throw Refusal(fmt::format("{}: {} cannot have a further layer: a tree has at most {} "
                                      "levels",
                                      pClip.path, each.name, GlissaNode::kMaxLevels));
        }
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
    using enum TextTable::Align;
    TextTable table({{"id", right, 4},
                     {"layer", left, 20},
                     {"mode", left, 11},
                     {"weight", right, 8},
                     {"rotation", left, 8},
                     {"state", left, 12},
                     {"nodes", right, 5},
                     {"keys", right, 8}});
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
        table.AddRow({std::to_string(layer->mId), layer->mName, LayerModeName(layer->mMode),
                      WeightText(*layer),
                      layer->mRotationMode == eRotationByChannel ? "channel" : "layer", state,
                      std::to_string(count), std::to_string(keys)});
    }
    return table.GetText();
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
            "give exactly one of --list, --add, --remove, --mute, --unmute, --lock and --unlock");
    }
    if (pOptions.add.empty() && (!pOptions.mode.empty() || !pOptions.rotation.empty() ||
                                 pOptions.weight || !pOptions.nodes.empty())) {
        throw WrongArguments("--mode, --rotation, --weight and --node need --add");
    }
    if (pOptions.weight && !(*pOptions.weight >= 0.0 && *pOptions.weight <= 1.0)) {
        throw WrongArguments(
            fmt::format("--weight {}: a weight must be from 0 to 1", *pOptions.weight));
    }
    if (!pOptions.list && pOptions.output.empty()) {
        throw WrongArguments("--output is missing: give the file to write");
    }
}

void RunLayer(const LayerOptions& pOptions)
{
    CheckOptions(pOptions);
    if (pOptions.list) {
        WriteOutput(pOptions.output, pOptions.path,
                    ListText(LoadClip(pOptions.path, pOptions.unroll)));
        return;
    }
    const ClipFormat format = ChooseClipFormat(pOptions.output, pOptions.format);
    ClipCurves clip = LoadClip(pOptions.path, pOptions.unroll);
    if (!pOptions.add.empty()) {
        Add(clip, pOptions);
    } else if (!pOptions.remove.empty()) {
        Remove(clip, pOptions.remove);
    } else if (!pOptions.mute.empty() || !pOptions.unmute.empty()) {
        FindLayer(clip, pOptions.mute + pOptions.unmute).mMuted = !pOptions.mute.empty();
    } else {
        FindLayer(clip, pOptions.lock + pOptions.unlock).mLocked = !pOptions.lock.empty();
    }
    clip.DropRecordedValues();
    SaveClip(clip, format, pOptions.output);
}
}  // namespace

void AddLayerCommand(CLI::App& pApp, Action& pAction)
{
    const auto options = std::make_shared<LayerOptions>();
    CLI::App* const command =
        pApp.add_subcommand("layer", "Add, remove, mute, lock and list the layers of a clip");
    AddClipArgument(*command, options->path);
    AddUnrollOption(*command, options->unroll);
    command->add_flag("--list", options->list, "List the layers");
    AddTextOption(*command, "--add", options->add, "Add a layer without keys above the others",
                  "NAME");
    AddChoiceOption(*command, "--mode", options->mode,
                    "Blending of the new layer: additive (default), override or passthrough",
                    "MODE", {"additive", "override", "passthrough"});
    command->add_option("--weight", options->weight, "Weight of the new layer, 0 to 1; default: 1")
        ->type_name("W");
    AddChoiceOption(*command, "--rotation", options->rotation,
                    "Blend rotations as rotations (layer, default) or each angle as a number "
                    "(channel)",
                    "HOW", {"layer", "channel"});
    AddPatternOption(*command, "-n,--node", options->nodes,
                     "Node of the new layer: Hips/R, */T; default: all nodes");
    AddTextOption(*command, "--remove", options->remove,
                  "Remove a layer with its keys; a locked one is refused", "NAME");
    AddTextOption(*command, "--mute", options->mute, "Exclude a layer from the blend", "NAME");
    AddTextOption(*command, "--unmute", options->unmute, "Undo --mute", "NAME");
    AddTextOption(*command, "--lock", options->lock, "Protect a layer from edits", "NAME");
    AddTextOption(*command, "--unlock", options->unlock, "Undo --lock", "NAME");
    AddClipOutputOptions(*command, options->output, options->format, false);
    command->footer("Examples:\n"
                    "  glissa layer clip.glissa --add bow --mode additive --weight 0.5 --node "
                    "'Spine*/R' -o out.glissa\n"
                    "  glissa layer out.glissa --list\n"
                    "  glissa layer out.glissa --mute bow -o muted.glissa");
    command->callback([options, &pAction] { pAction = [options] { RunLayer(*options); }; });
}
