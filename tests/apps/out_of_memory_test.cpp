// Copyright (c) 2026 The glissa authors
// SPDX-License-Identifier: MIT

// Each allocation of a conversion fails once: the command ends with a message, and the old file is
// unchanged.

#include "apps/glissa/run.h"
#include "tests/apps/command_run.h"
#include "tests/support/allocation_count.h"

#include <cstdio>

namespace
{
// Two joints with positions and rotations and two frames.
constexpr const char* kSmallClip = "HIERARCHY\nROOT Hips\n{\n OFFSET 0 1 0\n"
                                   " CHANNELS 6 Xposition Yposition Zposition Yrotation Xrotation "
                                   "Zrotation\n JOINT Leg\n {\n  OFFSET 1 0 0\n"
                                   "  CHANNELS 3 Zrotation Xrotation Yrotation\n"
                                   "  End Site\n  {\n   OFFSET 0 2 0\n  }\n }\n}\n"
                                   "MOTION\nFrames: 2\nFrame Time: 0.04\n"
                                   "0 0 0 1 2 3 4 5 6\n0.5 0 0 2 3 4 5 6 7\n";

constexpr std::size_t kAllSucceed = std::size_t{1} << 40;

class OutOfMemory : public Command
{
protected:
    /// Runs the command within this process. pBefore is the number of allocations that succeed.
    Result RunHere(Arguments pArguments, std::size_t pBefore, bool pAndAllAfter)
    {
        std::vector<char*> pointers;
        for (std::string& each : pArguments) {
            pointers.push_back(each.data());
        }
        const std::string name = At("messages");
        const int kept = dup(STDERR_FILENO);
        const int file = open(name.c_str(), O_RDWR | O_CREAT | O_TRUNC, 0600);
        dup2(file, STDERR_FILENO);
        close(file);
        Result result;
        FailAllocationAfter(pBefore, pAndAllAfter);
        result.status = RunCommand(static_cast<int>(pointers.size()), pointers.data());
        StopFailing();
        dup2(kept, STDERR_FILENO);
        close(kept);
        result.err = ReadFile(name);
        return result;
    }
};

TEST_F(OutOfMemory, ConvertFailsAndKeepsTheOldFile)
{
    WriteFile(At("a.bvh"), kSmallClip);
    for (const char* const way : {"a.bvh b.glissa", "b.glissa c.bvh"}) {
        const std::string names = way;
        const std::string output = At(names.substr(names.find(' ') + 1));
        const Arguments convert = {"glissa", "convert", At(names.substr(0, names.find(' '))),
                                   output};
        const auto allocations = [&](const Arguments& pArguments, int pStatus) {
            const std::size_t start = AllocationCount();
            EXPECT_EQ(pStatus, RunHere(pArguments, kAllSucceed, false).status);
            return AllocationCount() - start;
        };
        const std::size_t count = allocations(convert, 0);
        // Most are those of the options of all subcommands, of which a part is enough.
        const std::size_t parsing = allocations({"glissa", "convert", At("no.bvh"), output}, 1);
        const std::string complete = ReadFile(output);
        const std::size_t files = Files().size();
        std::size_t tries = 0;
        std::size_t refused = 0;
        for (std::size_t i = 0; i < 2 * count; i += i < 2 * parsing ? 15 : 1) {
            ++tries;
            SCOPED_TRACE(std::string(way) + ", failure " + std::to_string(i));
            WriteFile(output, "precious");
            const Result run = RunHere(convert, i / 2, i % 2 != 0);
            ASSERT_EQ(files, Files().size());
            // The C library can do without some of its buffers.
            ASSERT_EQ(run.status == 0 ? complete : "precious", ReadFile(output));
            if (run.status != 0) {
                ++refused;
                ASSERT_EQ(1, run.status);
                ASSERT_TRUE(run.err.starts_with("glissa: ") && run.err.ends_with("\n")) << run.err;
            }
        }
        EXPECT_GT(refused, tries * 9 / 10);
        WriteFile(output, complete);
    }
}
}  // namespace
