// Copyright (c) 2026 The glissa authors
// SPDX-License-Identifier: MIT

// Runs the built command, as a shell would, on the clip that ships with the project and on files
// that are none.

#include "apps/glissa/clip_curves.h"
#include "tests/apps/command_run.h"

#include <gtest/gtest.h>
#include <nlohmann/json.hpp>

#include <csignal>
#include <cstring>
#include <fcntl.h>
#include <spawn.h>
#include <string>
#include <sys/stat.h>
#include <sys/wait.h>
#include <thread>
#include <unistd.h>
#include <vector>

namespace
{
// The curve that the command was asked for, from the library, with its extrapolation.
struct Expected
{
    Expected()
    {
        CurveChoice choice;
        choice.patterns = {"Hips/R/X"};
        choice.before = ParseExtrapolation("mirror:2");
        choice.after = ParseExtrapolation("relative:4");
        curve = ChooseCurves(clip, choice).front()->curve;
    }
    ClipCurves clip = LoadClip(kClip);
    Glissa* curve = nullptr;
};

TEST_F(Command, EvalWritesWhatTheLibraryEvaluates)
{
    const Result run =
        Run({"eval", kClip, "--curve", "Hips/R/X", "--from", "-3", "--to", "25", "--rate", "48",
             "--pre", "mirror:2", "--post", "relative:4", "--slope"});
    ASSERT_EQ(0, run.status) << run.err;
    EXPECT_EQ("", run.err);
    const Csv csv = ParseCsv(run.out);
    EXPECT_EQ((std::vector<std::string>{"time", "Hips/R/X", "Hips/R/X left slope",
                                        "Hips/R/X right slope"}),
              csv.names);
    ASSERT_EQ(28u * 48u + 1u, csv.rows.size());
    const Expected expected;
    for (std::size_t i = 0; i < csv.rows.size(); ++i) {
        const KTime time(-3 * KTime::kTicksPerSecond + static_cast<std::int64_t>(i) * 2940000);
        ASSERT_EQ(4u, csv.rows[i].size());
        ASSERT_EQ(time.GetSecondDouble(), csv.rows[i][0]);
        // Shortest digits lose nothing.
        ASSERT_EQ(expected.curve->Evaluate(time, nullptr), static_cast<float>(csv.rows[i][1]));
        ASSERT_EQ(expected.curve->EvaluateLeftDerivative(time, nullptr),
                  static_cast<float>(csv.rows[i][2]));
        ASSERT_EQ(expected.curve->EvaluateRightDerivative(time, nullptr),
                  static_cast<float>(csv.rows[i][3]));
    }
}

TEST_F(Command, EvalWritesTheSameAsJson)
{
    const std::vector<std::string> arguments = {
        "eval", kClip, "-c", "Hips/T/?", "-c", "Hips/*", "--to", "12f", "--rate", "30", "--slope"};
    const Csv csv = ParseCsv(Run(arguments).out);
    std::vector<std::string> asJson = arguments;
    asJson.insert(asJson.end(), {"--format", "json", "-o", At("hips.json")});
    ASSERT_EQ(0, Run(asJson).status);
    const nlohmann::json json = nlohmann::json::parse(ReadFile(At("hips.json")));
    EXPECT_EQ(30.0, json["rate"]);
    ASSERT_EQ(6u, json["curves"].size());
    ASSERT_EQ(1u + 6u * 3u, csv.names.size());
    ASSERT_EQ(4u, csv.rows.size());
    for (std::size_t row = 0; row < csv.rows.size(); ++row) {
        EXPECT_EQ(csv.rows[row][0], json["times"][row].get<double>());
        for (std::size_t i = 0; i < 6; ++i) {
            const nlohmann::json& curve = json["curves"][i];
            EXPECT_EQ(csv.names[1 + 3 * i], curve["name"]);
            EXPECT_EQ(csv.rows[row][1 + 3 * i], curve["values"][row].get<double>());
            EXPECT_EQ(csv.rows[row][2 + 3 * i], curve["left_slopes"][row].get<double>());
            EXPECT_EQ(csv.rows[row][3 + 3 * i], curve["right_slopes"][row].get<double>());
        }
    }
    EXPECT_EQ("scene units", json["curves"][0]["unit"]);
    EXPECT_EQ("degrees", json["curves"][3]["unit"]);
    EXPECT_EQ((std::vector<std::string>{"hips.json"}), Files());
}

TEST_F(Command, InfoTellsWhatTheClipHolds)
{
    const Result run = Run({"info", kClip, "--list", "--format", "json"});
    ASSERT_EQ(0, run.status) << run.err;
    const nlohmann::json info = nlohmann::json::parse(run.out);
    ClipCurves clip = LoadClip(kClip);
    EXPECT_EQ(clip.clip.mJoints.size(), info["joints"]);
    EXPECT_EQ(clip.curves.size(), info["list"].size());
    EXPECT_EQ(clip.curves.size() * static_cast<std::size_t>(clip.clip.mFrameCount), info["keys"]);
    EXPECT_EQ(120.0, info["rate"]);
    EXPECT_GT(info["bytes_a_key"], 24.0);
    EXPECT_LT(info["bytes_a_key"], 26.0);

    const Result text = Run({"info", kClip, "--bench"});
    EXPECT_EQ(0, text.status);
    EXPECT_NE(std::string::npos, text.out.find("120 frames a second"));
    EXPECT_NE(std::string::npos, text.out.find("million evaluations a second"));
    EXPECT_EQ("", text.err);
}

TEST_F(Command, PlotWritesEachKindOfPicture)
{
    for (const char* const name : {"a.png", "a.svg", "a.pdf", "a.PNG"}) {
        SCOPED_TRACE(name);
        const Result run = Run({"plot", kClip, "-c", "Hips/*", "--tangents", "--to", "1", "--size",
                                "640x400", "-o", At(name)});
        ASSERT_EQ(0, run.status) << run.err;
        EXPECT_EQ("", run.out + run.err);
    }
    const std::string png = ReadFile(At("a.png"));
    ASSERT_GT(png.size(), 5000u);
    EXPECT_EQ("\x89PNG\r\n\x1a\n", png.substr(0, 8));
    EXPECT_EQ(std::string("\0\0\x02\x80\0\0\x01\x90", 8), png.substr(16, 8));
    EXPECT_EQ("IEND", png.substr(png.size() - 8, 4));
    EXPECT_EQ(png, ReadFile(At("a.PNG")));
    const std::string svg = ReadFile(At("a.svg"));
    EXPECT_NE(std::string::npos, svg.find("width=\"640px\" height=\"400px\""));
    EXPECT_EQ("</svg>\n", svg.substr(svg.size() - 7));
    EXPECT_NE(std::string::npos, ReadFile(At("a.pdf")).find("/MediaBox [ 0 0 640 400 ]"));
    EXPECT_EQ(
        svg,
        Run({"plot", kClip, "-c", "Hips/*", "--tangents", "--to", "1", "--size", "640x400"}).out);
}

TEST_F(Command, WrongArgumentsAndRefusalsAreToldApart)
{
    WriteFile(At("kept.csv"), "precious");
    WriteFile(At("broken.bvh"), "HIERARCHY\nROOT Hips\n{\n OFFSET 0 0 zero\n");
    fs::copy_file(kClip, At("clip.bvh"));
    fs::create_symlink("clip.bvh", At("link.bvh"));
    fs::create_hard_link(At("clip.bvh"), At("hard.bvh"));
    const std::vector<std::string> before = Files();
    const std::string clip = At("clip.bvh");
    const std::string kept = At("kept.csv");
    const struct
    {
        int status;
        std::vector<std::string> arguments;
        const char* says;
    } cases[] = {
        {2, {}, "subcommand"},
        {2, {"frobnicate"}, "no subcommand 'frobnicate'"},
        {2, {"eval"}, "CLIP"},
        {2, {"eval", clip, "-o", kept}, "--all"},
        {2, {"eval", clip, "-a", "--format", "xml", "-o", kept}, "xml"},
        {2, {"eval", clip, "-a", "--unknown", "-o", kept}, "--unknown"},
        {2, {"eval", clip, "-a", "--rate", "0", "-o", kept}, "--rate"},
        {2, {"eval", clip, "-a", "--from", "2", "--to", "1", "-o", kept}, "--from 2"},
        {2, {"plot", clip, "-c", "Hips/*", "-o", kept}, "kept.csv"},
        {2, {"plot", clip, "-c", "Hips/*", "--from", "1", "--to", "1"}, "--to"},
        {1, {"info", At("absent.bvh")}, "absent.bvh"},
        {1, {"info", mFolder.string()}, "irectory"},
        {1, {"eval", At("broken.bvh"), "-a", "-o", kept}, "broken.bvh:4: "},
        {1, {"eval", clip, "-c", "Hips/R/X", "-c", "Tail/*", "-o", kept}, "'Tail/*'"},
        {1, {"eval", clip, "-a", "--rate", "1e8", "--to", "6e10", "-o", kept}, "200000000 values"},
        {1, {"eval", clip, "-a", "-o", At("nowhere/x.csv")}, "nowhere/x.csv: cannot write"},
        {1, {"eval", clip, "-a", "-o", mFolder.string()}, "irectory"},
        {1, {"eval", clip, "-a", "-o", clip}, "clip that is read"},
        {1, {"eval", At("link.bvh"), "-a", "-o", At("hard.bvh")}, "clip that is read"},
        {1, {"eval", clip, "-a", "-o", "/dev/full"}, "/dev/full: cannot write"},
        {1, {"plot", clip, "-a", "-o", At("all.svg")}, "28"},
    };
    for (const auto& each : cases) {
        std::string line;
        for (const std::string& argument : each.arguments) {
            line += argument + ' ';
        }
        SCOPED_TRACE(line);
        const Result run = Run(each.arguments);
        EXPECT_EQ(each.status, run.status);
        EXPECT_EQ("", run.out);
        EXPECT_EQ(0u, run.err.find("glissa: ")) << run.err;
        EXPECT_NE(std::string::npos, run.err.find(each.says)) << run.err;
        // One line, and no colour or bar where no terminal is.
        EXPECT_EQ(run.err.size() - 1, run.err.find_first_of("\n\r\x1b")) << run.err;
        EXPECT_EQ(before, Files());
        EXPECT_EQ("precious", ReadFile(kept));
    }
    EXPECT_EQ(ReadFile(kClip), ReadFile(clip));
}

TEST_F(Command, ReplacesAFileWholeAndThroughItsLink)
{
    WriteFile(At("old.csv"), "old");
    fs::permissions(At("old.csv"), fs::perms::owner_read | fs::perms::owner_write);
    fs::create_symlink("old.csv", At("link.csv"));
    ASSERT_EQ(0, Run({"eval", kClip, "-c", "Hips/R/X", "-o", At("link.csv")}).status);
    EXPECT_TRUE(fs::is_symlink(At("link.csv")));
    EXPECT_EQ(0u, ReadFile(At("old.csv")).find("time,Hips/R/X\n"));
    EXPECT_EQ(fs::perms::owner_read | fs::perms::owner_write,
              fs::status(At("old.csv")).permissions());
    EXPECT_EQ((std::vector<std::string>{"link.csv", "old.csv"}), Files());
}

TEST_F(Command, StandardOutputFailsAloudAndItsReaderMayLeave)
{
    const Result full = Run({"eval", kClip, "-a"}, "/dev/full");
    EXPECT_EQ(1, full.status);
    EXPECT_NE(std::string::npos, full.err.find("glissa: standard output: cannot write"));

    // A pipe whose reading end closes while the command still waits for its first bytes to go.
    const std::string pipe = At("pipe");
    ASSERT_EQ(0, mkfifo(pipe.c_str(), 0600));
    const int reader = open(pipe.c_str(), O_RDONLY | O_NONBLOCK | O_CLOEXEC);
    std::thread leaver([reader] {
        char byte = 0;
        while (read(reader, &byte, 1) != 1) {
            std::this_thread::yield();
        }
        close(reader);
    });
    const Result left = Run({"eval", kClip, "-a", "--rate", "10000"}, pipe);
    leaver.join();
    EXPECT_EQ(0, left.status);
    EXPECT_EQ("", left.err);
}

TEST_F(Command, ASignalLeavesNothingBehind)
{
    WriteFile(At("kept.csv"), "precious");
    std::vector<std::string> arguments = {GLISSA_COMMAND, "eval", kClip, "-a", "--rate",
                                          "200000",       "--to", "12",  "-o", At("kept.csv")};
    std::vector<char*> pointers;
    for (std::string& each : arguments) {
        pointers.push_back(each.data());
    }
    pointers.push_back(nullptr);
    pid_t child = 0;
    ASSERT_EQ(0, posix_spawn(&child, GLISSA_COMMAND, nullptr, nullptr, pointers.data(), environ));
    // Its temporary file tells that the work has begun.
    while (Files().size() < 2 && waitpid(child, nullptr, WNOHANG) == 0) {
        std::this_thread::yield();
    }
    kill(child, SIGTERM);
    int status = 0;
    ASSERT_EQ(child, waitpid(child, &status, 0));
    EXPECT_TRUE(WIFSIGNALED(status) && WTERMSIG(status) == SIGTERM);
    EXPECT_EQ((std::vector<std::string>{"kept.csv"}), Files());
    EXPECT_EQ("precious", ReadFile(At("kept.csv")));
}

// A clip goes to its own file and back: same curves, same values, same bytes the second time.
TEST_F(Command, ClipsGoToTheirOwnFileAndBack)
{
    ASSERT_EQ(0, Run({"convert", kClip, At("a.glissa")}).status);
    ASSERT_EQ(0, Run({"convert", At("a.glissa"), At("a.bvh")}).status);
    ASSERT_EQ(0, Run({"convert", At("a.bvh"), At("b"), "--format", "glissa"}).status);
    EXPECT_EQ(ReadFile(At("a.glissa")), ReadFile(At("b")));
    const ClipCurves before = LoadClip(kClip);
    const ClipCurves after = LoadClip(At("a.bvh"));
    EXPECT_EQ(before.clip.mValues, after.clip.mValues);
    EXPECT_EQ(before.clip.mFrameTimeText, after.clip.mFrameTimeText);
    EXPECT_EQ(Run({"eval", kClip, "-a", "--rate", "77", "--to", "1", "--slope"}).out,
              Run({"eval", At("b"), "-a", "--rate", "77", "--to", "1", "--slope"}).out);

    const Result sound = Run({"check", At("b")});
    EXPECT_EQ(0, sound.status);
    EXPECT_NE(std::string::npos, sound.out.find("sound, 78 curves, 93600 keys"));
    const std::string text = Run({"dump", At("b")}).out;
    EXPECT_EQ(text, Run({"dump", kClip}).out);
    EXPECT_NE(std::string::npos,
              text.find("\n      \"Channel\" \"R\"\n        \"Channel\" \"X\"\n"
                        "          \"Default\" 0.0\n          \"KeyVer\" 4007\n"
                        "          \"KeyCount\" 1200\n          \"Key\"\n"
                        "              0t (0.000000 s) 0.45f 'U' 'a' 'n' 'n'\n"));
    const nlohmann::json json = nlohmann::json::parse(Run({"dump", At("b"), "--json"}).out);
    EXPECT_EQ("Clip", json[0]["name"]);
    EXPECT_EQ(1176000, json[0]["fields"][1]["values"][0]["ticks"]);

    std::string damaged = ReadFile(At("b"));
    damaged[damaged.size() / 2] ^= 1;
    WriteFile(At("damaged.glissa"), damaged);
    for (const char* const command : {"check", "dump", "info"}) {
        const Result run = Run({command, At("damaged.glissa")});
        EXPECT_EQ(1, run.status);
        EXPECT_NE(std::string::npos, run.err.find("damaged.glissa: byte "));
    }
}

TEST_F(Command, KeysAreEditedInTheOrderGiven)
{
    const std::string out = At("out.glissa");
    // The second edit needs the first one, the third one the second; a frame lasts 1/120 s.
    const Result run = Run({"key", kClip, "-c", "Hips/R/X", "--insert", "1.254", "--move",
                            "1.254=1.255", "--remove", "1.2545..1.2555", "--remove", "0.5..0.75",
                            "--tangent", "user", "--tangent", "progressive@2f..3f", "-o", out});
    ASSERT_EQ(0, run.status) << run.err;
    const ClipCurves clip = LoadClip(out);
    const ClipCurves before = LoadClip(kClip);
    const Glissa& curve = *clip.owner.Find("Hips/R/X")->mCurve;
    EXPECT_EQ(1200 - 31, curve.KeyGetCount());
    const unsigned progressive = eTangentAuto | eTangentProgressiveClamp;
    for (const int i : {1, 2, 3, 4}) {
        EXPECT_EQ(i == 2 || i == 3 ? progressive : eTangentUser, curve.KeyGetTangeantMode(i, true))
            << i;
    }
    // A user tangent keeps the slope that the curve had.
    EXPECT_EQ(before.owner.Find("Hips/R/X")->mCurve->KeyGetRightDerivative(30),
              clip.owner.Find("Hips/R/X")->mCurve->KeyGetRightDerivative(30));
    EXPECT_EQ(1200, clip.owner.Find("Hips/R/Y")->mCurve->KeyGetCount());

    const std::string whole = ReadFile(out);
    const struct
    {
        int status;
        std::vector<std::string> edits;
        const char* says;
    } cases[] = {
        {1,
         {"--move", "2.001=3.001"},
         "Hips/R/X: --move 2.001=3.001: no key at 2.001 s; the nearest key is at 2 s"},
        {1, {"--move", "2=3"}, "a key at 3 s blocks the move"},
        {1, {"--insert", "2"}, "a key at 2 s exists already"},
        {1, {"--remove", "99"}, "nearest key is at 9.99"},
        {1, {"--insert", "2.001", "--remove", "0.6"}, "no key at 0.6 s"},
        {2, {"--remove", "2..1"}, "backward"},
        {2, {"--move", "2"}, "FROM=TO"},
        {2, {}, "no edit is given"},
    };
    for (const auto& each : cases) {
        SCOPED_TRACE(each.says);
        fs::copy_file(out, At("in.glissa"), fs::copy_options::overwrite_existing);
        std::vector<std::string> arguments = {"key", At("in.glissa"), "-c", "Hips/R/X", "-o", out};
        arguments.insert(arguments.end(), each.edits.begin(), each.edits.end());
        const Result refused = Run(arguments);
        EXPECT_EQ(each.status, refused.status);
        EXPECT_NE(std::string::npos, refused.err.find(each.says)) << refused.err;
        EXPECT_EQ(whole, ReadFile(out));
    }
    const Result same = Run({"key", out, "-c", "Hips/R/X", "--remove", "1f", "-o", out});
    EXPECT_EQ(1, same.status);
    EXPECT_NE(std::string::npos, same.err.find("clip that is read"));
}

TEST_F(Command, LayersAreAddedShownAndRemoved)
{
    const std::string plain = At("plain.glissa"), out = At("out.glissa"), next = At("next.glissa");
    ASSERT_EQ(0, Run({"convert", kClip, plain}).status);
    const auto bvh = [&](const std::string& pClip) {
        EXPECT_EQ(0, Run({"convert", pClip, At("as.bvh")}).status);
        return ReadFile(At("as.bvh"));
    };
    const Result added = Run({"layer", plain, "--add", "bow", "--mode", "override", "--weight",
                              "0.25", "--node", "Spine/R", "--node", "*/T", "-o", out});
    ASSERT_EQ(0, added.status) << added.err;
    EXPECT_EQ(0, Run({"check", out}).status);
    const ClipCurves clip = LoadClip(out);
    const NodeClip& nodes = clip.owner.GetNodes();
    const HostLayer& bow = *nodes.GetLayers().Find("bow");
    EXPECT_EQ(eLayerModeOverride, bow.mMode);
    EXPECT_EQ(0.25, bow.GetWeight(KTime()));
    for (const NodeClip::NamedNode& each : nodes.GetTransforms(clip.clip)) {
        EXPECT_EQ(each.mName == "Spine/R" || each.mName == "Hips/T", each.mNode->HasOverrideLayer())
            << each.mName;
    }
    const std::string tree = Run({"info", out, "--tree"}).out;
    EXPECT_NE(std::string::npos,
              tree.find("\n  Spine\n    R  Lcl Rotation, YXZ\n      X  1200 keys\n"
                        "      Y  1200 keys\n      Z  1200 keys\n      layer bow  override\n"));
    const nlohmann::json json =
        nlohmann::json::parse(Run({"info", out, "--tree", "--format", "json"}).out);
    EXPECT_EQ("bow", json["tree"][0]["children"][0]["layers"][0]["name"]);
    // A layer without keys that overrides leaves nothing of the turn; muted it does nothing.
    const std::string before = bvh(plain);
    EXPECT_NE(before, bvh(out));
    ASSERT_EQ(0, Run({"layer", out, "--mute", "bow", "-o", next}).status);
    EXPECT_EQ(before, bvh(next));
    ASSERT_EQ(0, Run({"layer", next, "--lock", "bow", "-o", out}).status);
    EXPECT_NE(std::string::npos, Run({"layer", out, "--list"}).out.find("muted locked"));
    ASSERT_EQ(0, Run({"layer", out, "--unlock", "bow", "-o", next}).status);
    ASSERT_EQ(0, Run({"layer", next, "--remove", "bow", "-o", At("gone.glissa")}).status);
    EXPECT_EQ(ReadFile(plain), ReadFile(At("gone.glissa")));
    EXPECT_EQ("no layers\n", Run({"layer", plain, "--list"}).out);

    const std::string whole = ReadFile(next);
    const struct
    {
        int status;
        std::vector<std::string> arguments;
        const char* says;
    } cases[] = {
        {1, {out, "--remove", "bow", "-o", next}, "out.glissa: the layer 'bow' is locked"},
        {1, {out, "--add", "bow", "-o", next}, "a layer 'bow' exists already"},
        {1, {out, "--add", "base", "-o", next}, "below all layers"},
        {1, {out, "--mute", "Bow", "-o", next}, "no layer is named 'Bow'; there are bow"},
        {1,
         {out, "--add", "a", "--node", "Spine", "-o", next},
         "no node matches 'Spine'; there are Hips/T, Hips/R"},
        {1, {next, "--add", "a", "-o", next}, "clip that is read"},
        {2, {out, "--add", "a", "--weight", "nan", "-o", next}, "a weight must be from 0 to 1"},
        {2, {out, "--add", "a", "--mute", "bow", "-o", next}, "give exactly one of"},
        {2, {out, "--mute", "bow", "--weight", "1", "-o", next}, "need --add"},
        {2, {out, "--add", "a"}, "--output is missing"},
    };
    for (const auto& each : cases) {
        SCOPED_TRACE(each.says);
        std::vector<std::string> arguments = each.arguments;
        arguments.insert(arguments.begin(), "layer");
        const Result refused = Run(arguments);
        EXPECT_EQ(each.status, refused.status);
        EXPECT_NE(std::string::npos, refused.err.find(each.says)) << refused.err;
        EXPECT_EQ(whole, ReadFile(next));
    }
}

TEST_F(Command, HelpShowsExamples)
{
    for (const std::vector<std::string>& arguments : {std::vector<std::string>{"--help"},
                                                      {"info", "--help"},
                                                      {"eval", "-h"},
                                                      {"plot", "-h"},
                                                      {"key", "-h"},
                                                      {"layer", "-h"},
                                                      {"pose", "-h"},
                                                      {"convert", "-h"},
                                                      {"dump", "-h"},
                                                      {"check", "-h"}}) {
        const Result run = Run(arguments);
        EXPECT_EQ(0, run.status);
        EXPECT_NE(std::string::npos, run.out.find("Examples:\n  glissa "));
        EXPECT_EQ("", run.err);
    }
    EXPECT_EQ(0u, Run({"--version"}).out.find("glissa "));
}
}  // namespace
