// Copyright (c) 2026 The glissa authors
// SPDX-License-Identifier: MIT

#include "apps/glissa/output.h"

#include "apps/glissa/printable_text.h"
#include "apps/glissa/refusal.h"
#include "apps/glissa/temporaries.h"

#include <fmt/format.h>

#include <cerrno>
#include <csignal>
#include <cstdio>
#include <cstring>
#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

namespace
{
constexpr std::size_t kBufferSize = 1 << 16;

bool IsSameFile(const struct stat& pLeft, const struct stat& pRight)
{
    return pLeft.st_dev == pRight.st_dev && pLeft.st_ino == pRight.st_ino;
}
}  // namespace

Output::Output(const std::string& pPath, const std::string& pInput)
    : Output(pPath, std::vector<std::string>{pInput})
{}

Output::Output(const std::string& pPath, const std::vector<std::string>& pInputs)
{
    if (pPath.empty() || pPath == "-") {
        mName = "standard output";
        mDescriptor = STDOUT_FILENO;
        return;
    }
    mName = pPath;

    struct stat target = {};
    const bool exists = stat(pPath.c_str(), &target) == 0;
    if (!exists && errno != ENOENT) {
        Fail(errno);
    }
    for (const std::string& each : pInputs) {
        struct stat input = {};
        if (exists && stat(each.c_str(), &input) == 0 && IsSameFile(target, input)) {
            throw Refusal(
                fmt::format("{}: is the clip that is read; choose another output file", pPath));
        }
    }
    if (exists && S_ISDIR(target.st_mode)) {
        Fail(EISDIR);
    }
    if (exists && !S_ISREG(target.st_mode)) {
        mDescriptor = open(pPath.c_str(), O_WRONLY | O_CLOEXEC);
        if (mDescriptor < 0) {
            Fail(errno);
        }
        return;
    }
    const TemporarySection section;
    mFile.emplace(pPath.c_str());
    if (!mFile->IsOpen()) {
        FailFile();
    }
    mGuard = GuardTemporary(mFile->GetTemporary());
}

Output::~Output()
{
    if (mDescriptor > STDERR_FILENO) {
        close(mDescriptor);
    }
    if (mFile) {
        const TemporarySection section;
        mFile->Discard();
        ReleaseTemporary(mGuard);
    }
}

bool Output::IsTerminal() const
{
    return isatty(mDescriptor) != 0;
}

void Output::FailFile() const
{
    throw Refusal(fmt::format("{}: {}", mName, mFile->GetReason()));
}

void Output::Fail(int pError) const
{
    throw Refusal(fmt::format("{}: cannot write: {}", mName, std::strerror(pError)));
}

void Output::Flush()
{
    if (mFile) {
        if (!mFile->Write(mBuffer.data(), mBuffer.size())) {
            FailFile();
        }
        mBuffer.clear();
        return;
    }
    std::string_view rest = mBuffer;
    while (!rest.empty()) {
        const ssize_t written = write(mDescriptor, rest.data(), rest.size());
        if (written > 0) {
            rest.remove_prefix(static_cast<std::size_t>(written));
        } else if (written == 0) {
            Fail(EIO);
        } else if (errno == EPIPE) {
            throw OutputClosed();
        } else if (errno != EINTR) {
            Fail(errno);
        }
    }
    mBuffer.clear();
}

void Output::Write(std::string_view pBytes)
{
    mBuffer += pBytes;
    if (mBuffer.size() >= kBufferSize) {
        Flush();
    }
}

void Output::Commit()
{
    Flush();
    if (!mFile) {
        return;
    }
    // No signal between the rename and the release: another process may then have a temporary file
    // of this name.
    const TemporarySection section;
    const bool isDone = mFile->Commit();
    ReleaseTemporary(mGuard);
    if (!isDone) {
        FailFile();
    }
}

void WriteOutput(const std::string& pPath, const std::string& pInput, std::string_view pText)
{
    Output output(pPath, pInput);
    output.Write(pText);
    output.Commit();
}

void WriteReport(const std::string& pInput, std::string_view pText, bool pHasFailed)
{
    try {
        WriteOutput("-", pInput, pText);
    } catch (const OutputClosed&) {
        if (!pHasFailed) {
            throw;
        }
    }
}

void PrintMessage(std::string_view pText)
{
    std::fputs("glissa: ", stderr);
    while (!pText.empty()) {
        const std::string_view character = TakePrintable(pText);
        std::fwrite(character.data(), 1, character.size(), stderr);
    }
    std::fputc('\n', stderr);
}

void PrepareStandardStreams()
{
    signal(SIGPIPE, SIG_IGN);
    signal(SIGXFSZ, SIG_IGN);
    for (const int descriptor : {STDIN_FILENO, STDOUT_FILENO, STDERR_FILENO}) {
        if (fcntl(descriptor, F_GETFD) < 0 && errno == EBADF) {
            // In the opposite direction, so that its use is still an error. The new descriptor is
            // the lowest free number, which is this one.
            open("/dev/null", descriptor == STDIN_FILENO ? O_WRONLY : O_RDONLY);
        }
    }
}
