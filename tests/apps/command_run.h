// Copyright (c) 2026 The glissa authors
// SPDX-License-Identifier: MIT
#pragma once

#include <gtest/gtest.h>

#include <cstdlib>
#include <fcntl.h>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <map>
#include <spawn.h>
#include <sstream>
#include <string>
#include <sys/wait.h>
#include <unistd.h>
#include <vector>

extern char** environ;

namespace fs = std::filesystem;

/// The clip that ships with the project.
inline const std::string kClip = GLISSA_SOURCE_DIR "/data/walk.bvh";

inline std::string ReadFile(const fs::path& pPath)
{
    std::ifstream stream(pPath, std::ios::binary);
    return {std::istreambuf_iterator<char>(stream), {}};
}

inline void WriteFile(const fs::path& pPath, const std::string& pText)
{
    std::ofstream(pPath, std::ios::binary) << pText;
}

struct Result
{
    int status = -1;  ///< exit status, or minus the signal that ended it
    std::string out;
    std::string err;
};

using Arguments = std::vector<std::string>;

inline Arguments operator+(Arguments pFirst, const Arguments& pSecond)
{
    pFirst.insert(pFirst.end(), pSecond.begin(), pSecond.end());
    return pFirst;
}

/// A command line that fails, with a part of its message.
struct FailingRun
{
    int status;
    Arguments arguments;
    std::string message;
};

/// Runs the built command in a temporary folder of the test.
class Command : public testing::Test
{
protected:
    void SetUp() override
    {
        std::string name = (fs::temp_directory_path() / "glissa-command-XXXXXX").string();
        ASSERT_NE(nullptr, mkdtemp(name.data()));
        mFolder = name;
    }
    void TearDown() override { fs::remove_all(mFolder); }

    std::string At(const std::string& pName) const { return (mFolder / pName).string(); }

    /// Names and contents of the files in the folder.
    std::map<std::string, std::string> Files() const
    {
        std::map<std::string, std::string> files;
        for (const auto& entry : fs::directory_iterator(mFolder)) {
            files[entry.path().filename().string()] = ReadFile(entry.path());
        }
        return files;
    }

    /// Each run ends with its status and one line of message, and changes no file of the folder.
    void ExpectFailures(const std::vector<FailingRun>& pRuns) const
    {
        const std::map<std::string, std::string> before = Files();
        for (const FailingRun& each : pRuns) {
            std::string line;
            for (const std::string& argument : each.arguments) {
                line += argument + ' ';
            }
            SCOPED_TRACE(line);
            const Result run = Run(each.arguments);
            EXPECT_EQ(each.status, run.status);
            EXPECT_EQ("", run.out);
            EXPECT_TRUE(run.err.starts_with("glissa: ")) << run.err;
            EXPECT_NE(std::string::npos, run.err.find(each.message)) << run.err;
            EXPECT_EQ(run.err.size() - 1, run.err.find_first_of("\n\r\x1b")) << run.err;
            EXPECT_TRUE(before == Files());
        }
    }

    /// Standard output of a run that succeeds without a message.
    std::string OutputOf(const Arguments& pArguments) const
    {
        const Result run = Run(pArguments);
        EXPECT_EQ(0, run.status) << run.err;
        EXPECT_EQ("", run.err);
        return run.out;
    }

    /// pOut  a file for standard output; empty for a temporary file.
    Result Run(Arguments pArguments, const std::string& pOut = "") const
    {
        char outName[] = "/tmp/glissa-out-XXXXXX";
        char errName[] = "/tmp/glissa-err-XXXXXX";
        const int out = mkstemp(outName);
        const int err = mkstemp(errName);
        pArguments.insert(pArguments.begin(), GLISSA_COMMAND);
        std::vector<char*> pointers;
        for (std::string& each : pArguments) {
            pointers.push_back(each.data());
        }
        pointers.push_back(nullptr);
        posix_spawn_file_actions_t actions;
        posix_spawn_file_actions_init(&actions);
        posix_spawn_file_actions_adddup2(&actions, out, STDOUT_FILENO);
        if (!pOut.empty()) {
            posix_spawn_file_actions_addopen(&actions, STDOUT_FILENO, pOut.c_str(), O_WRONLY, 0);
        }
        posix_spawn_file_actions_adddup2(&actions, err, STDERR_FILENO);
        pid_t child = 0;
        Result result;
        if (posix_spawn(&child, GLISSA_COMMAND, &actions, nullptr, pointers.data(), environ) == 0) {
            int status = 0;
            waitpid(child, &status, 0);
            result.status = WIFEXITED(status) ? WEXITSTATUS(status) : -WTERMSIG(status);
        }
        posix_spawn_file_actions_destroy(&actions);
        result.out = ReadFile(outName);
        result.err = ReadFile(errName);
        close(out);
        close(err);
        unlink(outName);
        unlink(errName);
        return result;
    }

    fs::path mFolder;
};

// A table of numbers below a line of names.
struct Csv
{
    std::vector<std::string> names;
    std::vector<std::vector<double>> rows;
};

inline Csv ParseCsv(const std::string& pText)
{
    Csv csv;
    std::istringstream lines(pText);
    std::string line, field;
    for (bool first = true; std::getline(lines, line); first = false) {
        std::istringstream fields(line);
        std::vector<double> row;
        while (std::getline(fields, field, ',')) {
            if (first) {
                csv.names.push_back(field);
            } else {
                row.push_back(std::strtod(field.c_str(), nullptr));
            }
        }
        if (!first) {
            csv.rows.push_back(row);
        }
    }
    return csv;
}
