// Copyright (c) 2026 The glissa authors
// SPDX-License-Identifier: MIT
#pragma once

#include <gtest/gtest.h>

#include <algorithm>
#include <cstdlib>
#include <fcntl.h>
#include <filesystem>
#include <fstream>
#include <iterator>
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

/// Runs the built command, as a shell would, in a folder of the test's own.
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

    /// Everything in the folder: a failed run leaves nothing of its own.
    std::vector<std::string> Files() const
    {
        std::vector<std::string> names;
        for (const auto& entry : fs::directory_iterator(mFolder)) {
            names.push_back(entry.path().filename().string());
        }
        std::sort(names.begin(), names.end());
        return names;
    }

    /// pOut  a file that takes standard output; empty for a pipe of the test's.
    Result Run(std::vector<std::string> pArguments, const std::string& pOut = "") const
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

// A table of numbers with a line of names above.
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
