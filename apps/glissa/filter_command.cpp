// Copyright (c) 2026 The glissa authors
// SPDX-License-Identifier: MIT

// Filters over clips: the filters of the command line or of a recipe, in their order, on the chosen
// curves of each clip. Clips are independent of each other, so that several jobs write the same
// bytes as one, and one that fails does not keep the others from being written.

#include "apps/glissa/clip_nodes.h"
#include "apps/glissa/clip_output.h"
#include "apps/glissa/clip_reading.h"
#include "apps/glissa/command.h"
#include "apps/glissa/filter_recipe.h"
#include "apps/glissa/filter_report.h"
#include "apps/glissa/name_choice.h"
#include "apps/glissa/output.h"
#include "apps/glissa/progress.h"
#include "apps/glissa/refusal.h"
#include "apps/glissa/rotation_report.h"
#include "apps/glissa/shared_options.h"
#include "apps/glissa/temporaries.h"

#include <fmt/format.h>

#include <algorithm>
#include <atomic>
#include <chrono>
#include <filesystem>
#include <functional>
#include <memory>
#include <mutex>
#include <new>
#include <optional>
#include <set>
#include <system_error>
#include <thread>

namespace
{
namespace fs = std::filesystem;

struct FilterOptions
{
    std::vector<std::string> clips;
    std::vector<std::string> filters;
    std::string recipe;
    std::vector<std::string> curves;
    std::vector<std::string> nodes;
    SpanOptions span;
    std::string output;
    std::string folder;
    std::string clipFormat;
    std::string format;
    int jobs = 1;
    bool list = false;
    bool dryRun = false;
    bool resume = false;
    bool unroll = false;
};

// A clip with where it is written; empty for a dry run.
struct Job
{
    std::string path;
    std::string output;
    ClipFormat format = ClipFormat::glissa;
};

FilterRecipe RecipeOf(const FilterOptions& pOptions)
{
    if (pOptions.filters.empty() == pOptions.recipe.empty()) {
        throw WrongArguments("filters come from --apply or from --recipe: give one of the two");
    }
    if (!pOptions.recipe.empty()) {
        return ReadRecipe(pOptions.recipe);
    }
    FilterRecipe recipe;
    for (const std::string& each : pOptions.filters) {
        recipe.push_back(ParseOption("--apply", &ParseFilter, each));
    }
    return recipe;
}

// A choice that a filter of the recipe cannot work with.
void CheckRecipe(const FilterRecipe& pRecipe, const FilterOptions& pOptions)
{
    for (const FilterSetup& each : pRecipe) {
        const FilterEntry& entry = each.GetEntry();
        if (entry.mSpan == FilterSpan::none && pOptions.span.IsGiven()) {
            throw WrongArguments(fmt::format(
                "{} works on whole curves: leave --from and --to out, or run it by itself",
                entry.mName));
        }
        if (entry.mNeedsSpan && !pOptions.span.IsGiven()) {
            throw WrongArguments(
                fmt::format("{} would remove all keys: give --from or --to", entry.mName));
        }
        if (entry.NeedsNode() && !pOptions.curves.empty()) {
            throw WrongArguments(fmt::format(
                "{} takes the curves of a node together: choose nodes with --node", entry.mName));
        }
        if (entry.mNeedsChoice && pOptions.nodes.empty()) {
            throw WrongArguments(
                fmt::format("{} changes each node within its parent: choose those of the root with "
                            "--node 'Hips/*'",
                            entry.mName));
        }
    }
}

std::vector<Job> JobsOf(const FilterOptions& pOptions)
{
    if (pOptions.clips.empty()) {
        throw WrongArguments("no clip is given");
    }
    if (!pOptions.curves.empty() && !pOptions.nodes.empty()) {
        throw WrongArguments("--node takes nodes, --curve takes curves: one or the other");
    }
    const int targets = (pOptions.output.empty() ? 0 : 1) + (pOptions.folder.empty() ? 0 : 1) +
                        (pOptions.dryRun ? 1 : 0);
    if (targets != 1) {
        throw WrongArguments("give one of --output, --out-dir and --dry-run");
    }
    if (pOptions.resume && pOptions.folder.empty()) {
        throw WrongArguments("--resume needs --out-dir");
    }
    if (!pOptions.output.empty()) {
        if (pOptions.clips.size() > 1) {
            throw WrongArguments("several clips are written to a folder: --out-dir");
        }
        return {{pOptions.clips.front(), pOptions.output,
                 ChooseClipFormat(pOptions.output, pOptions.clipFormat, "--write")}};
    }
    std::vector<Job> jobs;
    const std::string suffix = pOptions.clipFormat.empty() ? "glissa" : pOptions.clipFormat;
    for (const std::string& clip : pOptions.clips) {
        Job job{clip, "", ClipFormat::glissa};
        if (!pOptions.dryRun) {
            job.output =
                (fs::path(pOptions.folder) / fs::path(clip).stem()).string() + '.' + suffix;
            job.format = ChooseClipFormat(job.output, suffix);
        }
        for (const Job& other : jobs) {
            if (!job.output.empty() && other.output == job.output) {
                throw WrongArguments(fmt::format("{} and {} would both be written to {}",
                                                 other.path, job.path, job.output));
            }
        }
        jobs.push_back(std::move(job));
    }
    return jobs;
}

bool IsUpToDate(const Job& pJob, const std::string& pRecipe)
{
    std::error_code error;
    const fs::file_time_type written = fs::last_write_time(pJob.output, error);
    if (error) {
        return false;
    }
    const auto newerThan = [&](const std::string& pPath) {
        const fs::file_time_type changed = fs::last_write_time(pPath, error);
        return !error && written > changed;
    };
    return newerThan(pJob.path) && (pRecipe.empty() || newerThan(pRecipe));
}

// The leaf nodes of a node by their curves.
void AddChannels(GlissaNode& pNode, const std::string& pName, std::vector<FilterChannel>& pChannels)
{
    if (Glissa* const curve = pNode.FCurveGet()) {
        pChannels.push_back({pName, curve, &pNode});
    }
    for (int i = 0; i < pNode.GetCount(); ++i) {
        AddChannels(*pNode.Get(i), pName + '/' + pNode.Get(i)->GetName(), pChannels);
    }
}

std::vector<FilterTarget> NodeTargets(const ClipCurves& pClip,
                                      const std::vector<std::string>& pPatterns)
{
    std::vector<FilterTarget> targets;
    for (const NamedNode& each : ChooseNodes(pClip, pPatterns)) {
        FilterTarget target{each.name, each.node, {}};
        AddChannels(*each.node, each.name, target.mChannels);
        targets.push_back(std::move(target));
    }
    return targets;
}

// The curves that are chosen. Each curve that was named is a target of its own, but the three
// angles of a rotation are one, as with --node.
std::vector<FilterTarget> TargetsOf(ClipCurves& pClip, const FilterOptions& pOptions)
{
    if (pOptions.curves.empty()) {
        return NodeTargets(pClip, pOptions.nodes);
    }
    const std::vector<FilterTarget> all = NodeTargets(pClip, {});
    std::set<const Glissa*> chosen;
    for (const NamedCurve* const curve :
         ChooseCurves(pClip, {pOptions.curves, false, std::nullopt, std::nullopt})) {
        chosen.insert(curve->curve);
    }
    const auto isChosen = [&](const FilterChannel& pEach) { return chosen.contains(pEach.mCurve); };
    std::vector<FilterTarget> targets;
    for (const FilterTarget& node : all) {
        const auto& channels = node.mChannels;
        if (IsRotation(node) && std::all_of(channels.begin(), channels.end(), isChosen)) {
            targets.push_back(node);
            continue;
        }
        for (const FilterChannel& each : channels) {
            if (isChosen(each)) {
                targets.push_back({each.mName, nullptr, {each}});
            }
        }
    }
    return targets;
}

// A filter that every curve refused is a mistake of the caller, not a result.
void CheckStep(const StepReport& pStep, const FilterEntry& pEntry, const std::string& pPath)
{
    if (pStep.results.empty() && pEntry.mScope == FilterScope::rotation) {
        throw Refusal(
            fmt::format("{}: {} works on rotations, and none is chosen: take --node '*/R'", pPath,
                        pEntry.mName));
    }
    const bool all =
        !pStep.results.empty() &&
        std::all_of(pStep.results.begin(), pStep.results.end(), [](const FilterResult& pEach) {
            return pEach.mOutcome == FilterOutcome::refused;
        });
    if (all) {
        throw Refusal(fmt::format("{}: {}: every curve is refused: {}", pPath, pStep.filter,
                                  pStep.results.front().mMessage));
    }
}

// A rate of keys that would fill the memory.
void CheckSamples(const FilterSetup& pSetup, double pSamples, const std::string& pPath)
{
    if (pSamples > static_cast<double>(kMostValues)) {
        throw Refusal(
            fmt::format("{}: {} would make {:.0f} keys or samples, more than {}, the limit of a "
                        "run; choose a longer period or a lower rate",
                        pPath, SetupText(pSetup), pSamples, kMostValues));
    }
}

// Steps that are no motion, and that smoothing rounds off: recorded angles that pass half a turn
// jump by a whole one, and many clips begin with a reference pose.
void WarnOfSteps(const FilterEntry& pEntry, const std::vector<FilterTarget>& pTargets,
                 const FilterTimes& pTimes, KTime pFrame, ClipReport& pReport)
{
    if (!pEntry.mSignal) {
        return;
    }
    const AngleJumps jumps = FindAngleJumps(pTargets, pTimes, pFrame);
    if (jumps.mCount > 0) {
        pReport.warnings.push_back(
            fmt::format("{}: {}; {} takes them for motion, --unroll mends them", pReport.path,
                        JumpsText(jumps), pEntry.mName));
    }
    const std::vector<std::string> poses = FindReferencePose(pTargets, pTimes);
    if (!poses.empty()) {
        pReport.warnings.push_back(fmt::format(
            "{}: the first frame looks like a reference pose, which {} spreads over the motion; "
            "leave it out with --from 1f: {}",
            pReport.path, pEntry.mName, NamesText(poses)));
    }
}

class FilterRun
{
public:
    FilterRun(const FilterOptions& pOptions, const FilterRecipe& pRecipe)
        : mOptions(pOptions), mRecipe(pRecipe)
    {}

    // pProgress is called with the part of the clip's work that is done, 0 to 1.
    ClipReport Do(const Job& pJob, const std::function<void(double)>& pProgress) const
    {
        ClipReport report;
        report.path = pJob.path;
        report.output = pJob.output;
        if (mOptions.resume && IsUpToDate(pJob, mOptions.recipe)) {
            report.skipped = true;
            return report;
        }
        ClipCurves clip = LoadClip(pJob.path);
        if (mOptions.unroll) {
            report.warnings.push_back(UnrollClip(clip));
        }
        for (const NamedNode& node : ChooseNodes(clip, {})) {
            for (int i = 0; i < node.node->GetCount(); ++i) {
                report.units[node.name + '/' + node.node->Get(i)->GetName()] = UnitName(node.unit);
            }
        }
        const std::vector<FilterTarget> targets = TargetsOf(clip, mOptions);
        const TimeSpan span =
            mOptions.span.At({KTime::MinusInfinite(), KTime::Infinite()}, clip.framesASecond);
        const FilterTimes times{span.from, span.to};
        for (std::size_t i = 0; i < mRecipe.size(); ++i) {
            const double keys = static_cast<double>(std::max<std::int64_t>(CountKeys(targets), 1));
            CheckSamples(mRecipe[i],
                         CountSamples(mRecipe[i], targets, times, clip.clip.mFramePeriod),
                         pJob.path);
            WarnOfSteps(mRecipe[i].GetEntry(), targets, times, clip.clip.mFramePeriod, report);
            const auto start = std::chrono::steady_clock::now();
            StepReport step;
            step.filter = SetupText(mRecipe[i]);
            step.results = RunFilter(
                mRecipe[i], targets, times, clip.clip.mFramePeriod, [&](std::int64_t pKeys) {
                    pProgress((static_cast<double>(i) + static_cast<double>(pKeys) / keys) /
                              static_cast<double>(mRecipe.size()));
                });
            step.seconds =
                std::chrono::duration<double>(std::chrono::steady_clock::now() - start).count();
            CheckStep(step, mRecipe[i].GetEntry(), pJob.path);
            if (mRecipe[i].MovesTime()) {
                clip.FitFrameCount();
            }
            report.steps.push_back(std::move(step));
        }
        if (!pJob.output.empty()) {
            clip.DropRecordedValues();
            for (std::string& each : WriteClip(clip, pJob.format, pJob.output)) {
                report.warnings.push_back(std::move(each));
            }
        }
        return report;
    }

private:
    const FilterOptions& mOptions;
    const FilterRecipe& mRecipe;
};

// The jobs of a run, which threads take one by one.
class JobQueue
{
public:
    JobQueue(const FilterRun& pRun, const std::vector<Job>& pJobs)
        : mRun(pRun),
          mJobs(pJobs),
          mReports(pJobs.size()),
          mParts(pJobs.size(), 0.0),
          mIsOutOfMemory(pJobs.size(), 0),
          mProgress(fmt::format("filtering {} clips", pJobs.size()),
                    static_cast<std::uint64_t>(kSteps * static_cast<double>(pJobs.size())))
    {
        for (std::size_t i = 0; i < pJobs.size(); ++i) {
            mReports[i].path = pJobs[i].path;
        }
    }

    // Does jobs until there is none left. Called on several threads.
    void Work() noexcept
    {
        for (std::size_t i = mNext++; i < mJobs.size(); i = mNext++) {
            try {
                Do(i);
            } catch (...) {  // not even the report had memory
                mIsOutOfMemory[i] = 1;
            }
        }
    }

    // The reports, in the order of the jobs. A job that failed has its reason in its report.
    std::vector<ClipReport> TakeReports()
    {
        for (std::size_t i = 0; i < mReports.size(); ++i) {
            if (mIsOutOfMemory[i] != 0) {
                mReports[i].error = mReports[i].path + ": out of memory";
            }
        }
        return std::move(mReports);
    }

private:
    void Do(std::size_t pJob)
    {
        const auto advance = [&](double pPart) {
            const std::lock_guard<std::mutex> lock(mMutex);
            mParts[pJob] = pPart;
            double sum = 0.0;
            for (const double each : mParts) {
                sum += each;
            }
            mProgress.At(static_cast<std::uint64_t>(kSteps * sum));
        };
        try {
            mReports[pJob] = mRun.Do(mJobs[pJob], advance);
        } catch (const std::bad_alloc&) {
            mIsOutOfMemory[pJob] = 1;
        } catch (const OutputClosed&) {
            mReports[pJob].error =
                mJobs[pJob].output + ": cannot write: the pipe was closed by its reader";
        } catch (const std::exception& error) {
            mReports[pJob].error = error.what();
        }
        advance(1.0);
    }

    static constexpr double kSteps = 1000.0;

    const FilterRun& mRun;
    const std::vector<Job>& mJobs;
    std::vector<ClipReport> mReports;
    std::vector<double> mParts;
    std::vector<char> mIsOutOfMemory;  // by job
    Progress mProgress;
    std::mutex mMutex;
    std::atomic<std::size_t> mNext = 0;
};

// Does all jobs, several at a time. Where a thread cannot be started, there are fewer.
std::vector<ClipReport> DoAll(const FilterRun& pRun, const std::vector<Job>& pJobs, int pThreads)
{
    JobQueue queue(pRun, pJobs);
    {
        std::optional<SignalThread> signals;
        std::vector<std::jthread> threads;
        threads.reserve(static_cast<std::size_t>(pThreads));
        try {
            if (pThreads > 1) {
                signals.emplace();
            }
            for (int i = 1; i < pThreads; ++i) {
                threads.emplace_back([&queue] { queue.Work(); });
            }
        } catch (const std::system_error&) {
        } catch (const std::bad_alloc&) {
        }
        queue.Work();
    }
    return queue.TakeReports();
}

// The warnings, and the reasons of the clips that failed. Returns the number of these.
int PrintProblems(const std::vector<ClipReport>& pReports)
{
    int failures = 0;
    for (const ClipReport& each : pReports) {
        for (const std::string& warning : each.warnings) {
            PrintMessage(warning);
        }
        if (!each.error.empty()) {
            PrintMessage(each.error);
            failures += 1;
        }
    }
    return failures;
}

void RunFilters(const FilterOptions& pOptions)
{
    const bool json = pOptions.format == "json";
    if (pOptions.list) {
        if (!pOptions.clips.empty() || !pOptions.filters.empty() || !pOptions.recipe.empty()) {
            throw WrongArguments("--list takes no clips and no filters");
        }
        WriteOutput(pOptions.output, "", json ? FilterTemplate() : DescribeFilters());
        return;
    }
    // Arguments that are wrong for every clip end the run before anything is read.
    const FilterRecipe recipe = RecipeOf(pOptions);
    CheckRecipe(recipe, pOptions);
    const std::vector<Job> jobs = JobsOf(pOptions);
    pOptions.span.Check();

    // Filters that read a setting of the process take one clip after the other.
    const bool isShared = std::any_of(recipe.begin(), recipe.end(), [](const FilterSetup& pEach) {
        return pEach.UsesPlotPeriod();
    });
    const int threads = isShared ? 1 : std::min<int>(pOptions.jobs, static_cast<int>(jobs.size()));
    const FilterRun run(pOptions, recipe);
    std::vector<ClipReport> reports;
    if (jobs.size() == 1) {
        Progress progress("filtering " + jobs.front().path, 1000);
        reports.push_back(run.Do(jobs.front(), [&](double pPart) {
            progress.At(static_cast<std::uint64_t>(pPart * 1000.0));
        }));
    } else {
        reports = DoAll(run, jobs, threads);
    }
    // Before the report, which may not be written: its reader may have left.
    const int failures = PrintProblems(reports);
    std::string text;
    for (const ClipReport& each : reports) {
        text += jobs.size() == 1 ? ReportText(each) : SummaryLine(each);
    }
    if (json) {
        text = ReportJson(reports);
    }
    if (pOptions.output == "-") {
        std::fputs(text.c_str(), stderr);
    } else {
        WriteReport(jobs.front().path, text, failures > 0);
    }
    if (failures > 0) {
        throw Refusal(fmt::format("{} of {} clips failed", failures, reports.size()));
    }
}
}  // namespace

void AddFilterCommand(CLI::App& pApp, Action& pAction)
{
    const auto options = std::make_shared<FilterOptions>();
    CLI::App* const command =
        pApp.add_subcommand("filter", "Clean, smooth, reduce and resample the curves of clips");
    command->add_option("CLIP", options->clips, "Clips to read (BVH or .glissa)");
    AddUnrollOption(*command, options->unroll);
    AddTextOption(*command, "-f,--apply", options->filters,
                  "Filter to run, with its parameters; several run in the order given",
                  "FILTER[:NAME=VALUE,...]");
    AddTextOption(*command, "--recipe", options->recipe,
                  "JSON file with the filters to run; --list --format json writes a template",
                  "FILE");
    command->add_flag("--list", options->list, "Describe every filter and its parameters");
    AddPatternOption(*command, "-c,--curve", options->curves,
                     "Curve to filter: Hips/R/X; all curves without it");
    AddPatternOption(*command, "-n,--node", options->nodes, "Node whose curves to filter: Hips/R");
    options->span.AddTo(*command);
    AddTextOption(*command, "-o,--output", options->output,
                  "File to write, complete or not at all; - for standard output, the report "
                  "then goes to standard error",
                  "FILE");
    AddTextOption(*command, "--out-dir", options->folder,
                  "Folder for the filtered clips, each under its own name", "FOLDER")
        ->check(CLI::ExistingDirectory);
    AddChoiceOption(*command, "--write", options->clipFormat,
                    "Kind of clip to write, glissa or bvh (sampled at the frames); without it "
                    "the suffix of --output decides, and --out-dir gets glissa",
                    "KIND", {"bvh", "glissa"});
    command->add_flag("--dry-run", options->dryRun, "Report only, write nothing");
    command->add_flag("--resume", options->resume,
                      "Skip clips whose output is newer than the clip and the recipe");
    command->add_option("-j,--jobs", options->jobs, "Clips to work on at the same time")
        ->check(CLI::Range(1, kMostGuards))
        ->type_name("N");
    AddChoiceOption(*command, "--format", options->format,
                    "Form of the report and of --list: text (the default) or json", "FORMAT",
                    {"text", "json"});
    command->footer(
        "Exit status 1 if a filter is refused by every curve, or a clip fails; the other clips are "
        "written.\n"
        "\n"
        "Examples:\n"
        "  glissa filter --list\n"
        "  glissa filter clip.bvh --apply butterworth:cutoff=6 --node '*/R' -o clean.glissa\n"
        "  glissa filter clip.bvh --apply unspike:value=4 --apply gaussian:width=0.02 --dry-run\n"
        "  glissa filter takes/*.bvh --recipe clean.json --out-dir cleaned --jobs 2");
    command->callback([options, &pAction] { pAction = [options] { RunFilters(*options); }; });
}
