// Copyright (c) 2026 The glissa authors
// SPDX-License-Identifier: MIT

// Runs filters over the clip that ships with the project through the built command.

#include "apps/glissa/clip_nodes.h"
#include "corvekit/math/rotation_order.h"
#include "io/filter_table.h"
#include "tests/apps/command_run.h"
#include "tests/support/ref_rotation.h"

#include <nlohmann/json.hpp>

#include <sys/stat.h>
#include <thread>

namespace
{
using Json = nlohmann::json;

// A filter of the table with parameters that change the clip.
std::string Sample(const std::string& pName)
{
    const std::map<std::string, std::string> parameters = {
        {"offset", ":by=1.5"},         {"scale", ":by=1.5"},
        {"clamp", ":ceil=3,floor=-2"}, {"timeclamp", ":min=2,max=3"},
        {"constant", ":value=5"},      {"retime", ":shift=1/4"},
        {"inverse", ":top=7"},         {"transform", ":rotate=0,0,90"},
        {"smooth", ":quaternion=on"}};
    const auto found = parameters.find(pName);
    return found == parameters.end() ? pName : pName + found->second;
}

TEST_F(Command, EveryFilterKeepsTheKeysOutsideTheSpan)
{
    ClipCurves before = LoadClip(kClip);
    // Filters of orientations run on rotations too.
    std::vector<std::pair<FilterEntry, std::string>> runs;
    for (const FilterEntry& entry : FilterTable()) {
        runs.emplace_back(entry, entry.mScope == FilterScope::rotation ? "*/R" : "*/T");
        if (entry.mByOrientation) {
            runs.emplace_back(entry, "*/R");
        }
    }
    for (const auto& [entry, nodes] : runs) {
        SCOPED_TRACE(entry.mName + (' ' + nodes));
        std::vector<std::string> arguments = {"filter",   kClip,  "--apply", Sample(entry.mName),
                                              "--format", "json", "-o",      At("out.glissa"),
                                              "--node",   nodes};
        const bool spans = entry.mSpan != FilterSpan::none;
        if (spans) {
            // Between two frames at both ends.
            arguments.insert(arguments.end(), {"--from", "1.01", "--to", "1.99"});
        }
        const Result run = Run(arguments);
        ASSERT_EQ(0, run.status) << run.err;
        const Json report = Json::parse(run.out);
        ASSERT_EQ(1u, report["filters"].size());
        ClipCurves after = LoadClip(At("out.glissa"));
        std::int64_t keys = 0;
        int changed = 0;
        for (const Json& each : report["filters"][0]["curves"]) {
            const NamedCurve& old = *ChooseCurves(before, {{each["name"]}, false, {}, {}}).front();
            const NamedCurve& now = *ChooseCurves(after, {{each["name"]}, false, {}, {}}).front();
            EXPECT_EQ(each["keys_after"], now.curve->KeyGetCount());
            keys += now.curve->KeyGetCount();
            changed += each["outcome"] == "changed" ? 1 : 0;
            for (int i = 0; spans && i < old.curve->KeyGetCount(); ++i) {
                const KTime time = old.curve->KeyGetTime(i);
                if (time < KTime::FromSeconds(1.01) || time > KTime::FromSeconds(1.99)) {
                    ASSERT_EQ(old.curve->KeyGetValue(i), now.curve->Evaluate(time, nullptr))
                        << each["name"] << " at " << time.GetSecondDouble();
                    // Between keys too.
                    const KTime next = time + KTime::FromSeconds(0.001);
                    if (entry.mSpan == FilterSpan::outward) {
                        ASSERT_NEAR(old.curve->Evaluate(next, nullptr),
                                    now.curve->Evaluate(next, nullptr), 1e-3)
                            << each["name"] << " at " << next.GetSecondDouble();
                    }
                }
            }
        }
        EXPECT_EQ(report["filters"][0]["keys_after"], keys);
        EXPECT_EQ(report["filters"][0]["curves_changed"], changed);
        // Of the clip the keys are on frames, and its rotations have no jump.
        const std::string name = entry.mName;
        const bool isRotation = entry.mScope == FilterScope::rotation;
        const bool addsKeys = name == "gimbal" || name == "quaternion";
        EXPECT_EQ(name != "sync" && name != "frames" && (!isRotation || addsKeys), changed > 0);
    }
}

// A second of the clip is a whole turn off. All keys keep their orientations: what changes is the
// spin within the tick between the two keys at an end of that second.
TEST_F(Command, UnrollReportsTheTurnAndGivesTheClipBack)
{
    ASSERT_EQ(0, Run({"filter", kClip, "--apply", "offset:by=360", "--node", "*/R", "--from",
                      "1.01", "--to", "1.99", "-o", At("jump.glissa")})
                     .status);
    const Result run = Run({"filter", At("jump.glissa"), "--apply", "unroll", "--format", "json",
                            "-o", At("out.glissa")});
    ASSERT_EQ(0, run.status) << run.err;
    ClipCurves before = LoadClip(kClip);
    ClipCurves after = LoadClip(At("out.glissa"));
    const Json report = Json::parse(run.out)["filters"][0];
    EXPECT_EQ(report["curves"].size(), report["curves_changed"]);
    for (const Json& each : report["curves"]) {
        EXPECT_LT(each["largest_change"], 1e-3);
        const NamedCurve& old = *ChooseCurves(before, {{each["name"]}, false, {}, {}}).front();
        const NamedCurve& now = *ChooseCurves(after, {{each["name"]}, false, {}, {}}).front();
        EXPECT_EQ(Unit::degrees, now.unit);
        for (int i = 0; i < old.curve->KeyGetCount(); ++i) {
            EXPECT_NEAR(old.curve->KeyGetValue(i),
                        now.curve->Evaluate(old.curve->KeyGetTime(i), nullptr), 1e-4);
        }
    }
}

// The clip has 120 frames a second, rotations of several orders, and a root with a position.
TEST_F(Command, ATakeIsTurnedAndMovedInEveryOrder)
{
    WriteFile(At("turn.json"), R"({"filters": [{"filter": "transform", "scale": [2, 2, 2],
        "translate": [0, "1/2", 10], "rotate": [10, 80, -30]}]})");
    const Json report =
        Json::parse(OutputOf({"filter", kClip, "--recipe", At("turn.json"), "--node", "*",
                              "--format", "json", "-o", At("out.glissa")}));
    for (const Json& each : report["filters"][0]["curves"]) {
        if (each["unit"] == "degrees") {
            EXPECT_GT(1.0, each["largest_change"]) << each["name"];
        }
    }
    const double angles[] = {10.0, 80.0, -30.0};
    const RefRotation turn = RefRotation::OfAngles(angles, 0);
    const ClipCurves before = LoadClip(kClip);
    const ClipCurves after = LoadClip(At("out.glissa"));
    for (const NamedNode& each : ChooseNodes(before, {})) {
        GlissaNode& now = *ChooseNodes(after, {each.name}).front().node;
        EXPECT_EQ(1200, now.Get(0)->FCurveGet()->KeyGetCount());
        for (int frame = 0; frame < 1200; frame += 75) {
            const KTime time = before.clip.GetTime(frame);
            double was[3];
            double is[3];
            each.node->Evaluate(was, time);
            now.Evaluate(is, time);
            const int order = now.GetRotationOrder();
            if (each.unit == Unit::degrees) {
                EXPECT_GT(1e-4, RefDistance(turn * RefRotation::OfAngles(was, order),
                                            RefRotation::OfAngles(is, order)));
                continue;
            }
            for (int i = 0; i < 3; ++i) {
                const long double* const row = turn.m[i];
                const double sum =
                    static_cast<double>(row[0] * was[0] + row[1] * was[1] + row[2] * was[2]);
                EXPECT_NEAR((i == 0 ? 0.0 : i == 1 ? 0.5 : 10.0) + 2.0 * sum, is[i], 1e-3);
            }
        }
    }
}

// What has no channel and no key in the clip is transformed too.
TEST_F(Command, ATakeWithoutAllChannelsIsTurnedAsAWhole)
{
    WriteFile(At("two.bvh"),
              "HIERARCHY\nROOT A\n{\n OFFSET 1 2 3\n CHANNELS 2 Yposition Xrotation\n}\n"
              "MOTION\nFrames: 2\nFrame Time: 1\n5 10\n9 10\n");
    const auto lastOf = [this](const char* pClip, const char* pNode) {
        const ClipCurves clip = LoadClip(At(pClip));
        KgeRVector values;
        ChooseNodes(clip, {pNode}).front().node->Evaluate(values.Data(), KTime::FromSeconds(1.0));
        return values;
    };
    const Arguments turn = {
        "filter", At("two.bvh"), "--node", "A/*", "--apply", "transform:rotate=0,0,90", "-o"};
    OutputOf(turn + Arguments{At("two.glissa")});
    EXPECT_EQ(KgeRVector(-9, 1, 3), lastOf("two.glissa", "A/T"));
    EXPECT_NE(std::string::npos,
              Run(turn + Arguments{At("b.bvh")}).err.find("no channel for A/T/X, A/R/Z;"));
    OutputOf({"filter", At("two.glissa"), "--apply", "constant", "-o", At("still.glissa")});
    OutputOf({"filter", At("still.glissa"), "--node", "A/R", "--apply", "transform:rotate=0,0,-90",
              "-o", At("back.glissa")});
    EXPECT_EQ(KgeRVector(10, 0, 0), lastOf("back.glissa", "A/R"));
}

// The samples, every second frame, and the last key keep their angles; no order changes a pose.
TEST_F(Command, RotationsThatAreResampledAsQuaternionsKeepTheirAngles)
{
    OutputOf({"filter", kClip, "--apply", "offset:by=360", "--apply", "quaternion:period=1/60",
              "--node", "*/R", "-o", At("out.glissa")});
    const ClipCurves before = LoadClip(kClip);
    const ClipCurves after = LoadClip(At("out.glissa"));
    for (const NamedNode& each : ChooseNodes(before, {"*/R"})) {
        SCOPED_TRACE(each.name + ' ' + KVdRotationOrder(each.node->GetRotationOrder()).GetName());
        GlissaNode& now = *ChooseNodes(after, {each.name}).front().node;
        EXPECT_GE(now.Get(0)->FCurveGet()->KeyGetCount(), 601);
        for (int frame = 0; frame < 1200; frame += frame == 1198 ? 1 : 2) {
            KgeRVector was;
            KgeRVector is;
            each.node->Evaluate(was.Data(), before.clip.GetTime(frame));
            now.Evaluate(is.Data(), before.clip.GetTime(frame));
            ASSERT_GT(2e-4, (is - was - KgeRVector(360, 360, 360)).Length()) << frame;
        }
    }
}

TEST_F(Command, AnglesThatAreChosenTogetherAreSmoothedAsOrientations)
{
    const auto report = [this](const std::string& pFilter, const Arguments& pChoice) {
        return Json::parse(OutputOf(
            Arguments{"filter", kClip, "--apply", pFilter, "--dry-run", "--format", "json"} +
            pChoice))["filters"][0]["curves"];
    };
    for (const char* const filter : {"smooth:quaternion=on", "gaussian:width=0.1"}) {
        SCOPED_TRACE(filter);
        const Json node = report(filter, {"--node", "Spine/R"});
        EXPECT_EQ(node, report(filter, {"--curve", "Spine/R/*"}));
        const Json angle = report(filter, {"--curve", "Spine/R/X"});
        EXPECT_EQ("by orientation", node[0]["message"]);
        EXPECT_EQ(node[0]["largest_change"], node[1]["largest_change"]);
        EXPECT_EQ("this angle by itself", angle[0]["message"]);
        EXPECT_NE(node[0]["largest_change"], angle[0]["largest_change"]);
    }
}

TEST_F(Command, FiltersThatCannotRunWriteNothing)
{
    WriteFile(At("large.json"), "{\"filters\": [1e999]}");
    WriteFile(At("bad.json"), "{\"filters\": [\n{\"filter\": \"offset\", \"by\": }]}");
    WriteFile(At("twice.json"), R"({"filters": [{"filter": "offset", "by": 1, "by": 2}]})");
    WriteFile(At("from.json"), R"({"filters": [{"filter": "offset", "by": 1}], "from": 1})");
    WriteFile(At("true.json"), R"({"filters": [{"filter": "offset", "by": true}]})");
    WriteFile(At("unknown.json"), "{\"filters\": [{\"filter\": \"offset\", \"to\": 1}]}");
    const auto files = Files();
    const struct
    {
        int status;
        const char* text;
        std::vector<std::string> arguments;
    } rows[] = {
        {2, "there is no filter 'bogus'", {"--apply", "bogus"}},
        {2, "out of range", {"--apply", "gaussian:width=-1"}},
        {2, "a whole number", {"--apply", "butterworth:order=2.5"}},
        {2, "no value for width: write seconds", {"--apply", "gaussian:width=4f"}},
        {2, "leave --from and --to out", {"--apply", "retime:scale=2", "--from", "1"}},
        {2, "choose nodes with --node", {"--apply", "sync", "--curve", "Hips/R/X"}},
        {2, "choose nodes with --node", {"--apply", "unroll", "--curve", "Hips/R/X"}},
        {1, "works on rotations, and none is chosen", {"--apply", "roll", "--node", "*/T"}},
        {2, "is after", {"--apply", "smooth", "--from", "9f", "--to", "0.1", "--fps", "30"}},
        {1, "every curve is refused", {"--apply", "butterworth:cutoff=200"}},
        {1, "would make 7793500000 keys", {"--apply", "resample:period=1e-7"}},
        {1, "the limit of a run", {"--apply", "butterworth:rate=1e6"}},
        {1, "refused: Too many samples", {"--apply", "gaussian:width=100,rate=1e6"}},
        {1, "refused: A key would leave", {"--apply", "retime:shift=1e9,scale=1e9"}},
        {2, "offset needs by=NUMBER, the number, not 0", {"--apply", "offset"}},
        {2, "by is the factor, not 0 or 1", {"--apply", "scale:by=1"}},
        {2, "clamp needs ceil=NUMBER or floor=NUMBER", {"--apply", "clamp"}},
        {2, "inverse needs top=NUMBER", {"--apply", "inverse"}},
        {2, "transform needs translate=X,Y,Z or", {"--apply", "transform"}},
        {2, "rotate takes three numbers: rotate=X,Y,Z", {"--apply", "transform:rotate=1,2"}},
        {2, "rotate is the turn about X", {"--apply", "transform:rotate=0,0,0"}},
        {2, "'2' has no value", {"--apply", "offset:by=1,2"}},
        {2, "choose those of the root", {"--apply", "transform:rotate=1,2,3"}},
        {2, "delete would remove all keys", {"--apply", "delete"}},
        {2, "--list takes no clips", {"--list"}},
        {1, "refused: Invalid Time Span", {"--apply", "reduce", "--from", "1", "--to", "1"}},
        {1,
         "refused: Invalid Time Span",
         {"--apply", "damp", "--from", "1", "--to", "1", "-n", "*/T"}},
        {1, "bad.json:2: column 28: is not JSON: syntax error", {"--recipe", At("bad.json")}},
        {1, "by is given twice in one object", {"--recipe", At("twice.json")}},
        {1, "a recipe has no field 'from'", {"--recipe", At("from.json")}},
        {1, "filter 1 of 1: 'on' is no value for by", {"--recipe", At("true.json")}},
        {2, "'on' is no value for by", {"--apply", "offset:by=on"}},
        {2, "cut is on or off", {"--apply", "delete:cut=0.5"}},
        {1, "large.json: number overflow parsing '1e999'", {"--recipe", At("large.json")}},
        {1,
         "unknown.json: filter 1 of 1: offset has no parameter",
         {"--recipe", At("unknown.json")}},
    };
    for (const auto& row : rows) {
        SCOPED_TRACE(row.text);
        std::vector<std::string> arguments = {"filter", kClip, "-o", At("out.glissa")};
        arguments.insert(arguments.end(), row.arguments.begin(), row.arguments.end());
        const Result run = Run(arguments);
        EXPECT_EQ(row.status, run.status) << run.err;
        EXPECT_NE(std::string::npos, run.err.find(row.text)) << run.err;
        EXPECT_EQ(files, Files());
    }
}

TEST_F(Command, AFilterThatMovesTimeSetsTheFrames)
{
    const struct
    {
        Arguments filter;
        int frames;
        const char* warning;
    } rows[] = {
        {{"retime:scale=2"}, 2399, ""},
        {{"retime:scale=1/2"}, 601, ""},
        {{"retime:shift=-5", "--node", "Hips/R"}, 1200, "1800 keys outside the frames"},
        {{"delete:cut=on", "--from", "120f", "--to", "239f"}, 1081, ""},
        {{"delete", "--from", "600f"}, 1200, ""},
    };
    for (const auto& each : rows) {
        SCOPED_TRACE(each.filter.front());
        const Result run =
            Run(Arguments{"filter", kClip, "-o", At("a.bvh"), "--apply"} + each.filter);
        EXPECT_EQ(0, run.status);
        EXPECT_EQ(each.frames, LoadClip(At("a.bvh")).clip.mFrameCount);
        EXPECT_EQ(*each.warning == '\0', run.err.empty()) << run.err;
        EXPECT_NE(std::string::npos, run.err.find(each.warning)) << run.err;
    }
}

TEST_F(Command, JumpsInTheSpanAreReported)
{
    WriteFile(At("jump.bvh"),
              "HIERARCHY\nROOT A\n{\n OFFSET 0 0 0\n CHANNELS 2 Yposition Xrotation\n}\n"
              "MOTION\nFrames: 5\nFrame Time: 1\n0 170\n900 175\n0 178\n0 -179\n0 -170\n");
    const Arguments resample = {"filter", At("jump.bvh"), "--dry-run", "--apply", "resample"};
    EXPECT_EQ("glissa: " + At("jump.bvh") +
                  ": 1 step of more than 180 degrees between frames in 1 curve, first in A/R/X at "
                  "3 s (frame 3); resample takes them for motion, --unroll mends them\n",
              Run(resample + Arguments{"--from", "2.5"}).err);
    OutputOf(resample + Arguments{"--to", "1.5"});
    // Without the jump, and then with a reference pose.
    std::string pose = ReadFile(At("jump.bvh"));
    pose.replace(pose.find("-179"), 4, "179.");
    pose.replace(pose.find("-170"), 4, "180.");
    WriteFile(At("jump.bvh"), pose);
    OutputOf(resample);
    pose.replace(pose.find("0 170"), 5, "0 70.");
    WriteFile(At("jump.bvh"), pose);
    EXPECT_NE(std::string::npos, Run(resample).err.find("--from 1f: A/R/X\n"));
    OutputOf(resample + Arguments{"--from", "1f"});
}

TEST_F(Command, NewKeysBehindAReferencePoseDoNotFollowIt)
{
    WriteFile(At("pose.bvh"), "HIERARCHY\nROOT A\n{\n OFFSET 0 0 0\n CHANNELS 1 Xrotation\n}\n"
                              "MOTION\nFrames: 6\nFrame Time: 0.1\n80\n10\n10\n10\n10\n10\n");
    for (const char* const filter : {"resample:period=0.4", "quaternion:period=0.4"}) {
        ASSERT_EQ(0, Run({"filter", At("pose.bvh"), "--apply", filter, "--from", "1f", "-o",
                          At("out.glissa")})
                         .status);
        const ClipCurves clip = LoadClip(At("out.glissa"));
        EXPECT_EQ(3, clip.curves[0].curve->KeyGetCount());
        EXPECT_NEAR(10.0f, clip.curves[0].curve->Evaluate(KTime::FromSeconds(0.3), nullptr), 1e-3)
            << filter;
    }
}

TEST_F(Command, AFineGridIsAllowedInAShortSpan)
{
    const std::string report = OutputOf({"filter", kClip, "--dry-run", "--apply",
                                         "resample:period=1e-7", "--from", "1", "--to", "1.0001"});
    EXPECT_NE(std::string::npos, report.find("78 of 78 curves changed")) << report;
}

TEST_F(Command, AFilterWithNothingToDoIsNotRefused)
{
    for (const Arguments& each : {Arguments{"offset:by=1", "--from", "100"},
                                  {"damp", "--from", "100", "--node", "*/T"},
                                  {"reduce", "--to", "-1"},
                                  {"timeclamp:min=5,max=5"},
                                  {"sync", "--from", "37f", "--to", "1"},
                                  {"sync"}}) {
        SCOPED_TRACE(each.front());
        const std::string report =
            OutputOf(Arguments{"filter", kClip, "--dry-run", "--apply"} + each);
        EXPECT_NE(std::string::npos, report.find("nothing changed")) << report;
        EXPECT_EQ(std::string::npos, report.find("refused")) << report;
    }
}

TEST_F(Command, AFolderOfClipsIsFilteredByARecipe)
{
    // What is left of the template is a recipe.
    OutputOf({"filter", "--list", "--format", "json", "-o", At("template.json")});
    Json recipe = Json::parse(ReadFile(At("template.json")));
    ASSERT_EQ(FilterTable().size(), recipe["filters"].size());
    Json kept = Json::array();
    for (const Json& each : recipe["filters"]) {
        if (each["filter"] == "gaussian" || each["filter"] == "reduce" ||
            each["filter"] == "timeclamp") {
            kept.push_back(each);
        }
    }
    kept.back()["max"] = 0.5;
    recipe["filters"] = kept;
    WriteFile(At("recipe.json"), recipe.dump());
    fs::copy_file(kClip, At("a.bvh"));
    fs::copy_file(kClip, At("b.bvh"));
    WriteFile(At("broken.bvh"), "HIERARCHY\n");
    for (const char* const folder : {"one", "two"}) {
        fs::create_directory(At(folder));
        const Result run = Run({"filter", At("a.bvh"), At("broken.bvh"), At("b.bvh"), "--recipe",
                                At("recipe.json"), "--out-dir", At(folder), "--jobs",
                                folder[0] == 'o' ? "1" : "3"});
        EXPECT_EQ(1, run.status);
        EXPECT_NE(std::string::npos, run.err.find("broken.bvh:")) << run.err;
        EXPECT_NE(std::string::npos, run.err.find("1 of 3 clips failed")) << run.err;
        EXPECT_FALSE(fs::exists(At(folder) + "/broken.glissa"));
    }
    EXPECT_EQ(ReadFile(At("one/a.glissa")), ReadFile(At("two/a.glissa")));
    EXPECT_EQ(ReadFile(At("one/a.glissa")), ReadFile(At("one/b.glissa")));

    // A pipe whose reader leaves fails its own clip only. The file is larger than a pipe holds.
    fs::remove(At("two/a.glissa"));
    ASSERT_EQ(0, mkfifo(At("two/a.glissa").c_str(), 0600));
    std::thread reader([this] { close(open(At("two/a.glissa").c_str(), O_RDONLY)); });
    const Result closed = Run({"filter", At("a.bvh"), At("b.bvh"), "--apply", "offset:by=1",
                               "--out-dir", At("two"), "--jobs", "2"});
    reader.join();
    EXPECT_EQ(1, closed.status);
    EXPECT_NE(std::string::npos, closed.err.find("two/a.glissa: cannot write")) << closed.err;
    EXPECT_NE(std::string::npos, closed.err.find("1 of 2 clips failed")) << closed.err;
    fs::remove(At("two/a.glissa"));
    fs::copy_file(At("one/a.glissa"), At("two/a.glissa"));

    // An output that is older than its clip is written again, a newer one is not.
    WriteFile(At("one/b.glissa"), "kept");
    fs::last_write_time(At("b.bvh"), fs::last_write_time(At("a.bvh")) - std::chrono::hours(1));
    fs::last_write_time(At("one/a.glissa"),
                        fs::last_write_time(At("a.bvh")) - std::chrono::hours(1));
    const Result run = Run({"filter", At("a.bvh"), At("b.bvh"), "--recipe", At("recipe.json"),
                            "--out-dir", At("one"), "--resume"});
    EXPECT_EQ(0, run.status) << run.err;
    EXPECT_EQ("kept", ReadFile(At("one/b.glissa")));
    EXPECT_EQ(At("b.bvh") + ": skipped, " + At("one/b.glissa") + " is newer\n",
              OutputOf({"filter", At("b.bvh"), "--recipe", At("recipe.json"), "--out-dir",
                        At("one"), "--resume"}));
    EXPECT_EQ(ReadFile(At("two/a.glissa")), ReadFile(At("one/a.glissa")));
    EXPECT_EQ(2, Run({"filter", At("a.bvh"), At("one/a.glissa"), "--apply", "smooth", "--out-dir",
                      At("two")})
                     .status);
}
}  // namespace
