// Copyright (c) 2026 The glissa authors
// SPDX-License-Identifier: MIT

// Temporary beside the target, fsync, rename, fsync of the directory: rename replaces the name in
// one step, and the two flushes keep the device from seeing the new name before the bytes.

#include "corvekit/store/atomic_file.h"

#include <atomic>
#include <cerrno>
#include <cstdlib>
#include <cstring>

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

namespace
{
// Beyond this many temporaries of the same process and target something else is wrong.
constexpr int kMostAttempts = 100;

std::string DirectoryOf(const std::string& pPath)
{
    const std::size_t slash = pPath.rfind('/');
    if (slash == std::string::npos) {
        return ".";
    }
    return slash == 0 ? "/" : pPath.substr(0, slash);
}

// A file system that cannot flush a directory says so by these, and there is nothing to wait for.
bool MeansNotSupported(int pError)
{
    return pError == EINVAL || pError == ENOTSUP || pError == ENOSYS;
}
}  // namespace

AtomicFile::AtomicFile(const char* pPath)
{
    if (ResolveTarget(pPath)) {
        OpenTemporary();
    }
}

AtomicFile::~AtomicFile()
{
    Discard();
}

bool AtomicFile::Write(const void* pBytes, std::size_t pSize)
{
    const char* at = static_cast<const char*>(pBytes);
    while (mFile >= 0 && pSize > 0) {
        const ssize_t written = write(mFile, at, pSize);
        if (written < 0 && errno == EINTR) {
            continue;
        }
        if (written < 0) {
            return Fail("write", mTemporary);
        }
        at += written;
        pSize -= static_cast<std::size_t>(written);
    }
    return mFile >= 0;
}

bool AtomicFile::Commit()
{
    if (mFile < 0) {
        return false;
    }
    if (fsync(mFile) != 0 && !MeansNotSupported(errno)) {
        return Fail("flush", mTemporary);
    }
    const int file = mFile;
    mFile = -1;
    if (close(file) != 0) {
        return Fail("close", mTemporary);
    }
    if (rename(mTemporary.c_str(), mTarget.c_str()) != 0) {
        return Fail("replace", mTarget);
    }
    mTemporary.clear();

    // A directory that may be entered but not read cannot be flushed; the file itself is whole.
    const std::string directory = DirectoryOf(mTarget);
    const int handle = open(directory.c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC);
    if (handle < 0) {
        return true;
    }
    if (fsync(handle) != 0 && !MeansNotSupported(errno)) {
        Fail("flush", directory);
        close(handle);
        return false;
    }
    close(handle);
    return true;
}

bool AtomicFile::ResolveTarget(const char* pPath)
{
    mTarget = pPath ? pPath : "";
    struct stat status = {};
    if (lstat(mTarget.c_str(), &status) != 0) {
        // A target that does not exist yet is the usual case, an empty path is none.
        return (errno == ENOENT && !mTarget.empty()) || Fail("save to", mTarget);
    }
    if (S_ISLNK(status.st_mode)) {
        char* const resolved = realpath(mTarget.c_str(), nullptr);
        if (!resolved) {
            return Fail("follow", mTarget);
        }
        mTarget = resolved;
        std::free(resolved);
        if (lstat(mTarget.c_str(), &status) != 0) {
            return Fail("save to", mTarget);
        }
    }
    if (!S_ISREG(status.st_mode)) {
        errno = S_ISDIR(status.st_mode) ? EISDIR : EINVAL;
        return Fail("save to", mTarget);
    }
    mMode = static_cast<int>(status.st_mode & 07777);
    return true;
}

bool AtomicFile::OpenTemporary()
{
    static std::atomic<unsigned> sNumber{0};
    const std::string stem = mTarget + ".saving-" + std::to_string(getpid()) + "-";
    for (int attempt = 0; attempt < kMostAttempts; ++attempt) {
        const std::string name = stem + std::to_string(sNumber.fetch_add(1));
        mFile = open(name.c_str(), O_WRONLY | O_CREAT | O_EXCL | O_CLOEXEC, 0666);
        if (mFile >= 0) {
            mTemporary = name;
            break;
        }
        if (errno != EEXIST) {
            break;
        }
    }
    if (mFile < 0) {
        return Fail("create a file beside", mTarget);
    }
    if (mMode >= 0 && fchmod(mFile, static_cast<mode_t>(mMode)) != 0) {
        return Fail("keep the permissions of", mTarget);
    }
    return true;
}

bool AtomicFile::Fail(const char* pDoing, const std::string& pPath)
{
    const char* const cause = std::strerror(errno);
    mReason = std::string("cannot ") + pDoing + " '" + pPath + "': " + cause;
    Discard();
    return false;
}

void AtomicFile::Discard()
{
    if (mFile >= 0) {
        close(mFile);
        mFile = -1;
    }
    if (!mTemporary.empty()) {
        unlink(mTemporary.c_str());
        mTemporary.clear();
    }
}
