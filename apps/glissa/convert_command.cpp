// Copyright (c) 2026 The glissa authors
// SPDX-License-Identifier: MIT

#include "apps/glissa/clip_output.h"
#include "apps/glissa/command.h"

#include <memory>

namespace
{
struct ConvertOptions
{
    std::string path;
    std::string output;
    std::string format;
};

void RunConvert(const ConvertOptions& pOptions)
{
    const ClipFormat format = ChooseClipFormat(pOptions.output, pOptions.format);
    WriteClip(LoadClip(pOptions.path), format, pOptions.output);
}
}  // namespace

void AddConvertCommand(CLI::App& pApp, Action& pAction)
{
    const auto options = std::make_shared<ConvertOptions>();
    CLI::App* const command =
        pApp.add_subcommand("convert", "Write a clip as a file of another kind");
    command->add_option("CLIP", options->path, "Clip to read (BVH or .glissa)")->required();
    command
        ->add_option("OUTPUT", options->output,
                     "File to write, complete or not at all; - for standard output")
        ->required();
    command
        ->add_option("--format", options->format,
                     "bvh or glissa; without it the suffix of the file tells")
        ->check(CLI::IsMember({"bvh", "glissa"}))
        ->type_name("FORMAT");
    command->footer("Examples:\n"
                    "  glissa convert clip.bvh clip.glissa\n"
                    "  glissa convert clip.glissa clip.bvh");
    command->callback([options, &pAction] { pAction = [options] { RunConvert(*options); }; });
}
