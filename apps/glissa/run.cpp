// Copyright (c) 2026 The glissa authors
// SPDX-License-Identifier: MIT

#include "apps/glissa/run.h"

#include "apps/glissa/command.h"
#include "apps/glissa/output.h"

#include <fmt/format.h>

#include <exception>
#include <new>
#include <string_view>

namespace
{
constexpr int kSuccess = 0;
constexpr int kRefused = 1;
constexpr int kWrongArguments = 2;

// Allocates nothing, as it also reports that memory has run out.
int Fail(int pStatus, std::string_view pReason)
{
    PrintMessage(pReason);
    return pStatus;
}

// The subcommand on the command line, for its help.
const CLI::App& ChosenCommand(const CLI::App& pApp)
{
    const std::vector<CLI::App*> chosen = pApp.get_subcommands();
    return chosen.empty() ? pApp : *chosen.front();
}

std::string FullName(const CLI::App& pApp)
{
    const CLI::App& command = ChosenCommand(pApp);
    return &command == &pApp ? "glissa" : "glissa " + command.get_name();
}

int Run(int pCount, char** pArguments)
{
    CLI::App app("Works on the animation curves of motion clips.", "glissa");
    app.set_version_flag("--version", "glissa " GLISSA_VERSION);
    app.require_subcommand(1);
    app.footer(
        "Examples:\n"
        "  glissa info clip.bvh\n"
        "  glissa eval clip.bvh --curve 'Hips/R/X' --from 0 --to 3 --rate 240 -o hips.csv\n"
        "  glissa plot clip.bvh --curve 'Hips/*' --tangents -o hips.svg\n"
        "  glissa key clip.bvh --curve 'Hips/R/X' --insert 1.254 -o clip.glissa\n"
        "  glissa drag clip.glissa --curve 'Hips/R/X' --select 1..2 --move 0.1,5 -o out.glissa\n"
        "  glissa retime clip.glissa --marker 1 --marker 2=2.4 --marker 4 -o out.glissa\n"
        "  glissa pose clip.bvh --at 1.5\n"
        "  glissa layer clip.glissa --add bow --mode override --node 'Spine/R' -o out.glissa\n"
        "  glissa convert clip.glissa clip.bvh\n"
        "\n"
        "See 'glissa SUBCOMMAND --help'. Exit status: 0 success, 1 refused, 2 wrong arguments.");
    Action action;
    AddInfoCommand(app, action);
    AddEvalCommand(app, action);
    AddPoseCommand(app, action);
    AddPlotCommand(app, action);
    AddFilterCommand(app, action);
    AddKeyCommand(app, action);
    AddDragCommand(app, action);
    AddRetimeCommand(app, action);
    AddLayerCommand(app, action);
    AddConvertCommand(app, action);
    AddDumpCommand(app, action);
    AddCheckCommand(app, action);
    // The parser would report only that a subcommand is missing.
    if (pCount > 1 && pArguments[1][0] != '-') {
        const std::vector<CLI::App*> known =
            app.get_subcommands([&](CLI::App* pEach) { return pEach->check_name(pArguments[1]); });
        if (known.empty()) {
            return Fail(
                kWrongArguments,
                fmt::format("there is no subcommand '{}'; see 'glissa --help'", pArguments[1]));
        }
    }
    try {
        app.parse(pCount, pArguments);
    } catch (const CLI::CallForVersion& version) {
        WriteOutput("-", "", std::string(version.what()) + '\n');
        return kSuccess;
    } catch (const CLI::CallForHelp&) {
        WriteOutput("-", "", app.help());
        return kSuccess;
    } catch (const CLI::ParseError& error) {
        return Fail(kWrongArguments,
                    fmt::format("{}; see '{} --help'", error.what(), FullName(app)));
    }
    try {
        action();
    } catch (const WrongArguments& error) {
        return Fail(kWrongArguments,
                    fmt::format("{}; see '{} --help'", error.what(), FullName(app)));
    }
    return kSuccess;
}
}  // namespace

int RunCommand(int pCount, char** pArguments)
{
    try {
        return Run(pCount, pArguments);
    } catch (const OutputClosed&) {
        return kSuccess;
    } catch (const Refusal& refusal) {
        return Fail(kRefused, refusal.what());
    } catch (const std::bad_alloc&) {
        return Fail(kRefused, "out of memory");
    } catch (const std::exception& error) {
        return Fail(kRefused, error.what());
    }
}
