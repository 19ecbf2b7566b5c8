// Copyright (c) 2026 The glissa authors
// SPDX-License-Identifier: MIT

// Runs the built command on the clip that ships with the project and on invalid files.

#include "apps/glissa/clip_curves.h"
#include "tests/apps/command_run.h"

#include <nlohmann/json.hpp>

#include <csignal>
#include <sys/stat.h>
#include <thread>

namespace
{
TEST_F(Command, EvalWritesTheValuesAndSlopesOfTheLibrary)
{
    // Linear segments, whose left and right slopes differ at the keys.
    const std::string path = At("linear.glissa");
    OutputOf({"key", kClip, "-c", "Hips/R/X", "--tangent", "linear@1..2", "-o", path});
    const Csv csv = ParseCsv(
        OutputOf({"eval", path, "--curve", "Hips/R/X", "--from", "-3", "--to", "25", "--rate",
                  "120", "--pre", "mirror:2", "--post", "relative:4", "--slope"}));
    EXPECT_EQ((std::vector<std::string>{"time", "Hips/R/X", "Hips/R/X left slope",
                                        "Hips/R/X right slope"}),
              csv.names);
    ASSERT_EQ(28u * 120u + 1u, csv.rows.size());
    ClipCurves clip = LoadClip(path);
    const CurveChoice choice{
        {"Hips/R/X"}, false, ParseExtrapolation("mirror:2"), ParseExtrapolation("relative:4")};
    Glissa& curve = *ChooseCurves(clip, choice).front()->curve;
    for (std::size_t i = 0; i < csv.rows.size(); ++i) {
        const KTime time(-3 * KTime::kTicksPerSecond + static_cast<std::int64_t>(i) * 1176000);
        // The shortest decimals are exact.
        const std::vector<double> expected = {
            time.GetSecondDouble(), static_cast<double>(curve.Evaluate(time, nullptr)),
            static_cast<double>(curve.EvaluateLeftDerivative(time, nullptr)),
            static_cast<double>(curve.EvaluateRightDerivative(time, nullptr))};
        ASSERT_EQ(expected.size(), csv.rows[i].size());
        ASSERT_EQ(expected[0], csv.rows[i][0]);
        for (std::size_t k = 1; k < expected.size(); ++k) {
            ASSERT_EQ(static_cast<float>(expected[k]), static_cast<float>(csv.rows[i][k]));
        }
    }
}

TEST_F(Command, EvalWritesTheSameNumbersAsJson)
{
    const Arguments eval = {"eval", kClip, "-c",     "Hips/T/?", "-c",     "Hips/*",
                            "--to", "12f", "--rate", "30",       "--slope"};
    const Csv csv = ParseCsv(OutputOf(eval));
    OutputOf(eval + Arguments{"--format", "json", "-o", At("hips.json")});
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
            EXPECT_EQ(i < 3 ? "scene units" : "degrees", curve["unit"]);
            EXPECT_EQ(csv.rows[row][1 + 3 * i], curve["values"][row].get<double>());
            EXPECT_EQ(csv.rows[row][2 + 3 * i], curve["left_slopes"][row].get<double>());
            EXPECT_EQ(csv.rows[row][3 + 3 * i], curve["right_slopes"][row].get<double>());
        }
    }
}

TEST_F(Command, InfoShowsWhatAClipHolds)
{
    const auto info =
        nlohmann::json::parse(OutputOf({"info", kClip, "--list", "--format", "json"}));
    const ClipCurves clip = LoadClip(kClip);
    EXPECT_EQ(clip.clip.mJoints.size(), info["joints"]);
    EXPECT_EQ(clip.curves.size(), info["list"].size());
    EXPECT_EQ(clip.curves.size() * static_cast<std::size_t>(clip.clip.mFrameCount), info["keys"]);
    EXPECT_EQ(120.0, info["rate"]);
    EXPECT_NEAR(25.0, info["bytes_a_key"].get<double>(), 1.0);

    const std::string text = OutputOf({"info", kClip, "--bench"});
    EXPECT_NE(std::string::npos, text.find("120 frames per second"));
    EXPECT_NE(std::string::npos, text.find("million evaluations per second"));
}

TEST_F(Command, JumpsOfAnglesAreReportedOnReading)
{
    const std::string clip = At("wrapped.bvh");
    WriteFile(clip, "HIERARCHY\nROOT A\n{\n OFFSET 0 0 0\n CHANNELS 2 Yrotation Xrotation\n}\n"
                    "MOTION\nFrames: 4\nFrame Time: .5\n0 170\n0 178\n0 -179\n0 179\n");
    const std::string jumps =
        "2 steps of more than 180 degrees between frames in 1 curve, first in A/R/X at 1 s (frame "
        "2)";
    for (const Arguments& each : {Arguments{"eval", clip, "-a"}, Arguments{"plot", clip, "-a"},
                                  Arguments{"pose", clip, "--at", "1"}}) {
        const Result run = Run(each);
        EXPECT_EQ(0, run.status);
        EXPECT_TRUE(run.err.starts_with("glissa: " + clip + ": " + jumps + "; ")) << run.err;
    }
    EXPECT_NE(std::string::npos, OutputOf({"info", clip}).find("angle jumps       " + jumps));
    EXPECT_TRUE(OutputOf({"check", clip}).ends_with(": warning: " + jumps + "\n"));
    for (const char* const command : {"info", "check"}) {
        const auto json = nlohmann::json::parse(OutputOf({command, clip, "--format", "json"}));
        const auto first = nlohmann::json::parse(
            R"({"curve": "A/R/X", "time": 1, "frame": 2, "from": 178, "to": -179})");
        EXPECT_EQ(2, json["angle_jumps"]["count"]);
        EXPECT_EQ(first, json["angle_jumps"]["first"]);
        EXPECT_EQ(0, json["gimbal_zones"]["count"]);
        EXPECT_TRUE(json["poor_paths"]["worst"].is_null());
    }

    // Every command that reads a clip mends them where it is told to.
    for (const Arguments& each : {Arguments{"info"},
                                  {"check"},
                                  {"eval", "-a"},
                                  {"plot", "-a"},
                                  {"pose", "--at", "1"},
                                  {"dump"},
                                  {"convert", At("a.bvh")},
                                  {"key", "-a", "--insert", ".75", "-o", At("a.glissa")},
                                  {"layer", "--list"},
                                  {"filter", "--apply", "resample", "--dry-run"}}) {
        SCOPED_TRACE(each.front());
        Arguments unroll = each;
        unroll.insert(unroll.begin() + 1, {clip, "--unroll"});
        const Result run = Run(unroll);
        EXPECT_EQ(0, run.status);
        EXPECT_EQ("glissa: " + clip +
                      ": mended 2 jumps of 1 curve, the largest change of an orientation is 0 "
                      "degrees\n",
                  run.err);
    }
    OutputOf({"pose", At("a.bvh"), "--at", "1"});
    const Csv csv = ParseCsv(OutputOf({"eval", At("a.glissa"), "-c", "A/R/X", "--rate", "2"}));
    for (std::size_t i = 0; i < 4; ++i) {
        EXPECT_EQ((std::vector<double>{170, 178, 181, 179})[i], csv.rows[i][1]);
    }
}

TEST_F(Command, PlotWritesEachFormat)
{
    const Arguments plot = {"plot", kClip, "-c",     "Hips/*", "--tangents",
                            "--to", "1",   "--size", "640x400"};
    for (const char* const name : {"a.PNG", "a.svg", "a.pdf"}) {
        EXPECT_EQ("", OutputOf(plot + Arguments{"-o", At(name)}));
    }
    const std::string png = ReadFile(At("a.PNG"));
    ASSERT_GT(png.size(), 5000u);
    EXPECT_EQ("\x89PNG\r\n\x1a\n", png.substr(0, 8));
    EXPECT_EQ(std::string("\0\0\x02\x80\0\0\x01\x90", 8), png.substr(16, 8));
    EXPECT_EQ("IEND", png.substr(png.size() - 8, 4));
    const std::string svg = ReadFile(At("a.svg"));
    EXPECT_NE(std::string::npos, svg.find("width=\"640px\" height=\"400px\""));
    EXPECT_TRUE(svg.ends_with("</svg>\n"));
    EXPECT_EQ(svg, OutputOf(plot));
    EXPECT_NE(std::string::npos, ReadFile(At("a.pdf")).find("/MediaBox [ 0 0 640 400 ]"));
}

TEST_F(Command, WrongArgumentsAndRefusalsHaveAStatusAndAMessage)
{
    WriteFile(At("kept.csv"), "precious");
    WriteFile(At("broken.bvh"), "HIERARCHY\nROOT Hips\n{\n OFFSET 0 0 zero\n");
    const std::string clip = At("clip.bvh");
    fs::copy_file(kClip, clip);
    fs::create_symlink("clip.bvh", At("link.bvh"));
    fs::create_hard_link(clip, At("hard.bvh"));
    const std::string kept = At("kept.csv");
    ExpectFailures({
        {2, {}, "subcommand"},
        {2, {"eval"}, "CLIP"},
        {2, {"eval", clip, "-o", kept}, "--all"},
        {2, {"eval", clip, "-a", "--unknown", "-o", kept}, "--unknown"},
        {2, {"eval", clip, "-a", "--rate", "0", "-o", kept}, "--rate"},
        {2, {"eval", clip, "-a", "--from", "2", "--to", "1", "-o", kept}, "--from 2"},
        {2, {"plot", clip, "-c", "Hips/*", "-o", kept}, "kept.csv"},
        {1, {"info", At("absent.bvh")}, "absent.bvh"},
        {1, {"eval", At("broken.bvh"), "-a", "-o", kept}, "broken.bvh:4: "},
        {1, {"eval", clip, "-c", "Hips/R/X", "-c", "Tail/*", "-o", kept}, "'Tail/*'"},
        {1, {"eval", clip, "-a", "--rate", "1e8", "--to", "6e10", "-o", kept}, "200000000 values"},
        {1, {"eval", clip, "-a", "-o", At("nowhere/x.csv")}, "nowhere/x.csv: cannot write"},
        {1, {"eval", clip, "-a", "-o", clip}, "clip that is read"},
        {1, {"eval", At("link.bvh"), "-a", "-o", At("hard.bvh")}, "clip that is read"},
        {1, {"eval", clip, "-a", "-o", "/dev/full"}, "/dev/full: cannot write"},
        {1, {"plot", clip, "-a", "-o", At("all.svg")}, "28"},
    });
}

TEST_F(Command, AFailedWriteIsReportedAndAClosedPipeIsNot)
{
    const Result full = Run({"eval", kClip, "-a"}, "/dev/full");
    EXPECT_EQ(1, full.status);
    EXPECT_NE(std::string::npos, full.err.find("glissa: standard output: cannot write"));

    // A pipe that is closed while the command writes to it.
    const std::string pipe = At("pipe");
    ASSERT_EQ(0, mkfifo(pipe.c_str(), 0600));
    const int reader = open(pipe.c_str(), O_RDONLY | O_NONBLOCK | O_CLOEXEC);
    std::thread closing([reader] {
        char byte = 0;
        while (read(reader, &byte, 1) != 1) {
            std::this_thread::yield();
        }
        close(reader);
    });
    const Result closed = Run({"eval", kClip, "-a", "--rate", "10000"}, pipe);
    closing.join();
    EXPECT_EQ(0, closed.status);
    EXPECT_EQ("", closed.err);

    // A failure is a failure all the same, and is reported before.
    const Arguments filter = {"filter",  At("no\x1b\n.bvh"), At("no.bvh"),
                              "--apply", "smooth",           "--dry-run"};
    std::thread leaving([&pipe] { close(open(pipe.c_str(), O_RDONLY)); });
    for (const std::string& out : {pipe, std::string("/dev/full")}) {
        const Result failed = Run(filter, out);
        EXPECT_EQ(1, failed.status);
        EXPECT_NE(std::string::npos, failed.err.find("no\uFFFD\uFFFD.bvh: cannot")) << failed.err;
    }
    leaving.join();
}

TEST_F(Command, ASignalRemovesTheTemporaryFiles)
{
    WriteFile(At("kept.csv"), "precious");
    std::string clips;
    for (int i = 0; i < 9; ++i) {
        const std::string clip = At(std::to_string(i) + ".bvh");
        fs::create_symlink(kClip, clip);
        clips += " '" + clip + "'";
    }
    for (const std::string& arguments :
         {" eval '" + kClip + "' -a --rate 200000 --to 12 -o '" + At("kept.csv") + "'",
          " filter --apply smooth --jobs 3 --out-dir '" + At("") + "'" + clips}) {
        SCOPED_TRACE(arguments);
        const auto countTemporaries = [this] {
            int count = 0;
            for (const auto& entry : fs::directory_iterator(mFolder)) {
                count += entry.path().string().find(".saving-") != std::string::npos ? 1 : 0;
            }
            return count;
        };
        const pid_t child = fork();
        ASSERT_GE(child, 0);
        if (child == 0) {
            execl("/bin/sh", "sh", "-c", ("exec " GLISSA_COMMAND + arguments).c_str(), nullptr);
            _exit(127);
        }
        // The temporary file shows that the work has begun.
        while (countTemporaries() == 0 && waitpid(child, nullptr, WNOHANG) == 0) {
            std::this_thread::yield();
        }
        kill(child, SIGTERM);
        int status = 0;
        ASSERT_EQ(child, waitpid(child, &status, 0));
        EXPECT_TRUE(WIFSIGNALED(status) && WTERMSIG(status) == SIGTERM);
        EXPECT_EQ(0, countTemporaries());
        EXPECT_EQ("precious", ReadFile(At("kept.csv")));
    }
}

TEST_F(Command, ClipsAreConvertedToStoresAndBack)
{
    OutputOf({"convert", kClip, At("a.glissa")});
    OutputOf({"convert", At("a.glissa"), At("a.bvh")});
    OutputOf({"convert", At("a.bvh"), At("b"), "--format", "glissa"});
    const std::string stored = ReadFile(At("b"));
    EXPECT_EQ(ReadFile(At("a.glissa")), stored);
    EXPECT_TRUE(LoadClip(kClip).clip == LoadClip(At("a.bvh")).clip);
    EXPECT_EQ(OutputOf({"eval", kClip, "-a", "--rate", "77", "--to", "1", "--slope"}),
              OutputOf({"eval", At("b"), "-a", "--rate", "77", "--to", "1", "--slope"}));

    EXPECT_NE(std::string::npos, OutputOf({"check", At("b")}).find("78 curves, 93600 keys"));
    const std::string text = OutputOf({"dump", At("b")});
    EXPECT_EQ(text, OutputOf({"dump", kClip}));
    EXPECT_NE(std::string::npos,
              text.find("\n      \"Channel\" \"R\"\n        \"Channel\" \"X\"\n"
                        "          \"Default\" 0.0\n          \"KeyVer\" 4007\n"
                        "          \"KeyCount\" 1200\n          \"Key\"\n"
                        "              0t (0.000000 s) 0.45f 'U' 'a' 'n' 'n'\n"));
    const auto json = nlohmann::json::parse(OutputOf({"dump", At("b"), "--json"}));
    EXPECT_EQ("Clip", json[0]["name"]);
    EXPECT_EQ(1176000, json[0]["fields"][1]["values"][0]["ticks"]);

    std::string damaged = stored;
    damaged[damaged.size() / 2] ^= 1;
    WriteFile(At("damaged.glissa"), damaged);
    for (const char* const command : {"check", "dump", "info"}) {
        ExpectFailures({{1, {command, At("damaged.glissa")}, "damaged.glissa: byte "}});
    }
}

TEST_F(Command, TheRotationOrderIsConvertedAndReported)
{
    const std::string report =
        OutputOf({"convert", kClip, At("a.glissa"), "--rotation", "zxy", "--node", "*Arm/R"});
    EXPECT_EQ("", OutputOf({"convert", At("a.glissa"), At("a.bvh")}));
    EXPECT_NE(std::string::npos, report.find("2 rotations from ZYX to ZXY\n")) << report;
    EXPECT_NE(std::string::npos, report.find("Yrotation Xrotation Zrotation\n")) << report;
    EXPECT_NE(std::string::npos, report.find("at frames and keys: ")) << report;
    const Clip before = LoadClip(kClip).clip;
    const Clip after = LoadClip(At("a.bvh")).clip;
    for (std::size_t i = 0; i < after.mJoints.size(); ++i) {
        const bool isArm = after.mJoints[i].mName.ends_with("Arm");
        EXPECT_EQ(isArm ? 4 : before.mJoints[i].mRotationOrder, after.mJoints[i].mRotationOrder);
    }
    ExpectFailures({
        {2, {"convert", kClip, At("b.bvh"), "--rotation", "ZXX"}, "XYZ,XZY,YZX,YXZ,ZXY,ZYX"},
        {2, {"convert", kClip, At("b.bvh"), "--node", "Hips/R"}, "--rotation, which is missing"},
        {1,
         {"convert", kClip, At("b.bvh"), "--rotation", "XYZ", "-n", "Hips/*"},
         "Hips/T is no rotation"},
    });
}

TEST_F(Command, KeysAreEditedInTheOrderGiven)
{
    const std::string out = At("out.glissa");
    // The second edit needs the first one, the third one the second; a frame lasts 1/120 s.
    OutputOf({"key", kClip, "-c", "Hips/R/X", "--insert", "1.254", "--move", "1.254=1.255",
              "--remove", "1.2545..1.2555", "--remove", "60f..0.75", "--tangent", "user",
              "--tangent", "progressive@2f..3f", "-o", out});
    const ClipCurves before = LoadClip(kClip);
    const ClipCurves after = LoadClip(out);
    Glissa& curve = *after.owner.Find("Hips/R/X")->mCurve;
    EXPECT_EQ(1200 - 31, curve.KeyGetCount());
    const unsigned progressive = eTangentAuto | eTangentProgressiveClamp;
    for (const int i : {1, 2, 3, 4}) {
        EXPECT_EQ(i == 2 || i == 3 ? progressive : eTangentUser, curve.KeyGetTangeantMode(i, true));
    }
    // A user tangent keeps the slope of the curve.
    EXPECT_EQ(before.owner.Find("Hips/R/X")->mCurve->KeyGetRightDerivative(30),
              curve.KeyGetRightDerivative(30));
    EXPECT_EQ(1200, after.owner.Find("Hips/R/Y")->mCurve->KeyGetCount());

    fs::copy_file(out, At("in.glissa"));
    const Arguments key = {"key", At("in.glissa"), "-c", "Hips/R/X", "-o", out};
    ExpectFailures({
        {1, key + Arguments{"--move", "2.001=3.001"},
         "Hips/R/X: --move 2.001=3.001: no key at 2.001 s; the nearest key is at 2 s"},
        {1, key + Arguments{"--move", "2=3"}, "a key at 3 s blocks the move"},
        {1, key + Arguments{"--insert", "2"}, "a key at 2 s exists already"},
        {1, key + Arguments{"--remove", "99"}, "nearest key is at 9.99"},
        {1, key + Arguments{"--insert", "2.001", "--remove", "0.6"}, "no key at 0.6 s"},
        {2, key + Arguments{"--remove", "2..1"}, "reversed"},
        {2, key, "no edit is given"},
        {1, {"key", out, "-c", "Hips/R/X", "--remove", "1f", "-o", out}, "clip that is read"},
    });
}

TEST_F(Command, LayersAreAddedShownAndRemoved)
{
    const std::string plain = At("plain.glissa"), out = At("out.glissa"), next = At("next.glissa");
    OutputOf({"convert", kClip, plain});
    OutputOf({"layer", plain, "--add", "bow", "--mode", "override", "--weight", "0.25", "--node",
              "Spine/R", "--node", "*/T", "-o", out});
    OutputOf({"check", out});
    const ClipCurves clip = LoadClip(out);
    const NodeClip& nodes = clip.owner.GetNodes();
    const HostLayer& bow = *nodes.GetLayers().Find("bow");
    EXPECT_EQ(eLayerModeOverride, bow.mMode);
    EXPECT_EQ(0.25, bow.GetWeight(KTime()));
    for (const NodeClip::NamedNode& each : nodes.GetTransforms(clip.clip)) {
        EXPECT_EQ(each.mName == "Spine/R" || each.mName == "Hips/T", each.mNode->HasOverrideLayer())
            << each.mName;
    }
    EXPECT_NE(std::string::npos,
              OutputOf({"info", out, "--tree"})
                  .find("\n  Spine\n    R  Lcl Rotation, YXZ\n      X  1200 keys\n"
                        "      Y  1200 keys\n      Z  1200 keys\n      layer bow  override\n"));
    // The layer overrides with zero values, unless it is muted.
    const auto values = [&](const std::string& pClip) {
        return OutputOf({"convert", pClip, "-", "--format", "bvh"});
    };
    EXPECT_NE(values(plain), values(out));
    OutputOf({"layer", out, "--mute", "bow", "-o", next});
    EXPECT_EQ(values(plain), values(next));
    OutputOf({"layer", next, "--lock", "bow", "-o", out});
    EXPECT_NE(std::string::npos, OutputOf({"layer", out, "--list"}).find("muted locked"));
    OutputOf({"layer", out, "--unlock", "bow", "-o", next});
    OutputOf({"layer", next, "--remove", "bow", "-o", At("gone.glissa")});
    EXPECT_EQ(ReadFile(plain), ReadFile(At("gone.glissa")));
    EXPECT_EQ("no layers\n", OutputOf({"layer", plain, "--list"}));

    const Arguments layer = {"layer", out, "-o", next};
    ExpectFailures({
        {1, layer + Arguments{"--remove", "bow"}, "out.glissa: the layer 'bow' is locked"},
        {1, layer + Arguments{"--add", "base"}, "below all layers"},
        {1, layer + Arguments{"--mute", "Bow"}, "no layer is named 'Bow'; the layers are bow"},
        {1, layer + Arguments{"--add", "a", "--node", "Spine"},
         "no node matches 'Spine'; the nodes are Hips/T, Hips/R"},
        {2, layer + Arguments{"--add", "a", "--weight", "nan"}, "a weight must be from 0 to 1"},
        {2, layer + Arguments{"--add", "a", "--mute", "bow"}, "give exactly one of"},
        {1, {"layer", next, "--add", "a", "-o", next}, "clip that is read"},
    });
}

TEST_F(Command, HelpShowsExamples)
{
    for (const char* const command : {"", "info", "eval", "plot", "key", "layer", "pose", "filter",
                                      "convert", "dump", "check"}) {
        const Arguments help = {"--help"};
        EXPECT_NE(
            std::string::npos,
            OutputOf(*command ? Arguments{command} + help : help).find("Examples:\n  glissa "));
    }
    EXPECT_TRUE(OutputOf({"--version"}).starts_with("glissa "));
}
}  // namespace
