// Copyright (c) 2026 The glissa authors
// SPDX-License-Identifier: MIT
#pragma once

#include "corvekit/store/atomic_file.h"

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

/// The most values that one run makes: about two gigabytes of text, or five of keys. More is more
/// likely a typing error.
inline constexpr std::int64_t kMostValues = 200000000;

/// The output of a command: standard output, or a file that is replaced completely or not at all.
///
/// A file is a KAtomicFile, which Commit() completes. Without Commit(), and when SIGINT, SIGTERM or
/// SIGHUP ends the program, the target is unchanged and the temporary file is removed. A target
/// that is a device or a pipe is written directly.
class Output
{
public:
    /// pPath   empty or "-" for standard output.
    /// pInput  the file that the command reads; as target it is refused, under any of its names.
    /// Throws Refusal.
    Output(const std::string& pPath, const std::string& pInput);
    /// The same with several files that are read.
    Output(const std::string& pPath, const std::vector<std::string>& pInputs);
    ~Output();
    Output(const Output&) = delete;
    Output& operator=(const Output&) = delete;

    bool IsTerminal() const;

    /// Throws Refusal, or OutputClosed if standard output is a pipe without a reader.
    void Write(std::string_view pBytes);
    /// Writes all that is buffered and completes a file. Throws as Write.
    void Commit();

private:
    [[noreturn]] void Fail(int pError) const;
    [[noreturn]] void FailFile() const;
    void Flush();

    std::string mName;                 ///< for messages
    std::optional<KAtomicFile> mFile;  ///< empty when written directly
    std::string mBuffer;
    int mDescriptor = -1;  ///< when written directly
    int mGuard = -1;       ///< index of the temporary file for the signal handler
};

/// Writes a text to an Output and commits it.
void WriteOutput(const std::string& pPath, const std::string& pInput, std::string_view pText);

/// Writes a report to standard output. A reader that has left ends the command with status 0, but
/// not where pHasFailed: the command then goes on to its Refusal.
void WriteReport(const std::string& pInput, std::string_view pText, bool pHasFailed);

/// Writes one line to standard error: "glissa: " and the text as PrintableText. Allocates nothing.
void PrintMessage(std::string_view pText);

/// Called first in main. Makes a write to a pipe without a reader, or beyond the limit on file
/// sizes, an error instead of a signal, and opens the standard descriptors that are closed, so that
/// no other file gets their numbers.
void PrepareStandardStreams();
