// Copyright (c) 2026 The glissa authors
// SPDX-License-Identifier: MIT
#pragma once

#include "corvekit/store/atomic_file.h"

#include <optional>
#include <string>
#include <string_view>
#include <vector>

/// Where a command writes: standard output, or a file that is replaced as a whole or not at all.
///
/// A file is a KAtomicFile, replaced by Commit(). Without Commit(), and when SIGINT, SIGTERM or
/// SIGHUP ends the program, the target keeps its content and the temporary file is removed. A
/// target that is a device or a pipe is written directly.
class Output
{
public:
    /// pPath   empty or "-" for standard output.
    /// pInput  the file that the command reads; it is refused as a target under any of its names.
    /// Throws Refusal.
    Output(const std::string& pPath, const std::string& pInput);
    /// The same with several files that are read.
    Output(const std::string& pPath, const std::vector<std::string>& pInputs);
    ~Output();
    Output(const Output&) = delete;
    Output& operator=(const Output&) = delete;

    bool IsTerminal() const;

    /// Throws Refusal, or OutputClosed when standard output is a pipe without reader.
    void Write(std::string_view pBytes);
    /// Everything written so far reaches its place. Throws as Write.
    void Commit();

private:
    [[noreturn]] void Fail(int pError) const;
    [[noreturn]] void FailFile() const;
    void Flush();

    std::string mName;                 ///< for messages
    std::optional<KAtomicFile> mFile;  ///< empty when written directly
    std::string mBuffer;
    int mDescriptor = -1;  ///< when written directly
    int mGuard = -1;       ///< of the temporary file against signals
};

/// Writes a text to a path as Output does, all of it.
void WriteOutput(const std::string& pPath, const std::string& pInput, std::string_view pText);

/// Makes a write to a pipe without reader, or beyond the limit on file sizes, an error instead of
/// the end of the program, and gives the three standard descriptors a place where they are closed,
/// so that no file opened later takes one of their numbers. First thing in main.
void PrepareStandardStreams();
