// Copyright (c) 2026 The glissa authors
// SPDX-License-Identifier: MIT

#include "apps/glissa/clip_output.h"
#include "apps/glissa/command.h"
#include "apps/glissa/shared_options.h"

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
    SaveClip(LoadClip(pOptions.path), format, pOptions.output);
}
}  // namespace

void AddConvertCommand(CLI::App& pApp, Action& pAction)
{
    const auto options = std::make_shared<ConvertOptions>();
    CLI::App* const command = pApp.add_subcommand("convert", "Write a clip in another file format");
    AddClipArgument(*command, options->path);
    command
        ->add_option("OUTPUT", options->output,
                     "File to write, completely or not at all; - for standard output")
        ->required();
    AddClipFormatOption(*command, options->format);
    command->footer("Examples:\n"
                    "  glissa convert clip.bvh clip.glissa\n"
                    "  glissa convert clip.glissa clip.bvh");
    command->callback([options, &pAction] { pAction = [options] { RunConvert(*options); }; });
}
