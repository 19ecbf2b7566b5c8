// Copyright (c) 2026 The glissa authors
// SPDX-License-Identifier: MIT
#pragma once

#include <string>
#include <string_view>

/// Where a command writes: standard output, or a file that is whole or was never there.
///
/// A file is written under a temporary name beside its target and renamed over it by Commit().
/// Until then the target keeps its old content, and without Commit(), also when a signal ends the
/// program, the temporary goes. A target that is a device or a pipe is written directly.
class Output
{
public:
    /// pPath   empty or "-" for standard output.
    /// pInput  the file that the command reads; it is refused as a target under any of its names.
    /// Throws Refusal.
    Output(const std::string& pPath, const std::string& pInput);
    ~Output();
    Output(const Output&) = delete;
    Output& operator=(const Output&) = delete;

    bool IsTerminal() const;

    /// Throws Refusal, or ReaderGone when standard output is a pipe that nobody reads any more.
    void Write(std::string_view pBytes);
    /// Everything written so far reaches its place. Throws as Write.
    void Commit();

private:
    [[noreturn]] void Fail(int pError) const;
    void Flush();

    std::string mName;    ///< for messages
    std::string mTarget;  ///< the file to replace, with links followed; empty when written directly
    std::string mTemporary;  ///< empty when there is none
    std::string mBuffer;
    int mDescriptor = -1;
};

/// Makes a write to a pipe without reader, or beyond the limit on file sizes, an error instead of
/// the end of the program, and gives the three standard descriptors a place where they are closed,
/// so that no file opened later takes one of their numbers. First thing in main.
void PrepareStandardStreams();
